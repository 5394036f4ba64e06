#include "engine/derived/expression/program.h"

#include <array>
#include <utility>

#include "engine/assert.h"
#include "engine/derived/expression/functions.h"

namespace zervane {
namespace {

// Whether no instruction lacks an input, the stack has room for all of them, and one value is left.
[[maybe_unused]] bool LeaveOneValue(std::span<const Instruction> instructions) {
  std::size_t values = 0;
  for (const Instruction& instruction : instructions) {
    const std::size_t inputs = InputsOf(instruction.operation);
    if (values < inputs) return false;
    values += 1 - inputs;
    if (values > Program::kMostValues) return false;
  }
  return values == 1;
}

}  // namespace

Program::Program(std::vector<Instruction> instructions) : instructions_(std::move(instructions)) {
  ZERVANE_ASSERT(LeaveOneValue(instructions_));
}

double Program::Evaluate(std::span<const double> operands) const {
  std::array<double, kMostValues> stack;  // NOLINT: what is read of it was written before
  double* top = stack.data();             // behind the topmost value
  for (const Instruction& instruction : instructions_) {
    switch (instruction.operation) {
      case Operation::kConstant:
        *top++ = instruction.constant;
        break;
      case Operation::kOperand:
        ZERVANE_ASSERT(instruction.operand < operands.size());
        *top++ = operands[instruction.operand];
        break;
      case Operation::kUnary:
        top[-1] = instruction.unary(top[-1]);
        break;
      case Operation::kBinary:
        --top;
        top[-1] = instruction.binary(top[-1], *top);
        break;
      case Operation::kBinaryWithConstant:
        top[-1] = instruction.binary(top[-1], instruction.constant);
        break;
      case Operation::kChoose:
        top -= 2;
        top[-1] = Choose(top[-1], top[0], top[1]);
        break;
    }
  }
  return stack[0];
}

}  // namespace zervane
