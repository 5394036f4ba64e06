#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "engine/derived/expression/functions.h"
#include "engine/derived/expression/program.h"

namespace zervane {

// Makes a program of the parts of an expression, which come in the order in which they are
// computed. What has constant inputs is computed here, once.
class ProgramBuilder {
 public:
  void AddConstant(double constant);
  void AddOperand(std::uint16_t operand);
  void AddUnary(UnaryFunction function);
  void AddBinary(BinaryFunction function);
  void AddChoice();

  // REQUIRES: one value is left.
  Program Finish() && { return Program(std::move(instructions_)); }

 private:
  bool EndsWithConstants(std::size_t count) const;
  // The constant that the last instruction pushes, which it does no longer.
  double RemoveConstant();

  std::vector<Instruction> instructions_;
};

}  // namespace zervane
