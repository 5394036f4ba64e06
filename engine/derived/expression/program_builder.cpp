#include "engine/derived/expression/program_builder.h"

#include <algorithm>
#include <cstddef>

#include "engine/assert.h"

namespace zervane {

void ProgramBuilder::AddConstant(double constant) {
  instructions_.push_back({.operation = Operation::kConstant, .constant = constant});
}

void ProgramBuilder::AddOperand(std::uint16_t operand) {
  instructions_.push_back({.operation = Operation::kOperand, .operand = operand});
}

void ProgramBuilder::AddUnary(UnaryFunction function) {
  if (EndsWithConstants(1)) {
    AddConstant(function(RemoveConstant()));
  } else {
    instructions_.push_back({.operation = Operation::kUnary, .unary = function});
  }
}

void ProgramBuilder::AddBinary(BinaryFunction function) {
  if (EndsWithConstants(2)) {
    const double right = RemoveConstant();
    AddConstant(function(RemoveConstant(), right));
  } else if (EndsWithConstants(1)) {
    const double right = RemoveConstant();
    instructions_.push_back(
        {.operation = Operation::kBinaryWithConstant, .constant = right, .binary = function});
  } else {
    instructions_.push_back({.operation = Operation::kBinary, .binary = function});
  }
}

void ProgramBuilder::AddChoice() { instructions_.push_back({.operation = Operation::kChoose}); }

// Each of the last so many instructions pushes a constant, so these are the topmost values.
bool ProgramBuilder::EndsWithConstants(std::size_t count) const {
  return instructions_.size() >= count &&
         std::all_of(instructions_.end() - static_cast<std::ptrdiff_t>(count), instructions_.end(),
                     [](const Instruction& instruction) {
                       return instruction.operation == Operation::kConstant;
                     });
}

double ProgramBuilder::RemoveConstant() {
  ZERVANE_ASSERT(EndsWithConstants(1));
  const double constant = instructions_.back().constant;
  instructions_.pop_back();
  return constant;
}

}  // namespace zervane
