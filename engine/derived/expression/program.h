#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zervane {

using UnaryFunction = double (*)(double);
using BinaryFunction = double (*)(double, double);

// What an instruction does with the values on the stack.
enum class Operation : std::uint8_t {
  kConstant,            // pushes the constant
  kOperand,             // pushes the operand
  kUnary,               // the topmost value becomes what the function makes of it
  kBinary,              // the topmost two become what the function makes of them
  kBinaryWithConstant,  // the topmost one becomes what the function makes of it and the constant
  kChoose,              // of a condition and two values above it the one that the condition chooses
};

struct Instruction {
  Operation operation = Operation::kConstant;
  std::uint16_t operand = 0;
  double constant = 0;
  UnaryFunction unary = nullptr;
  BinaryFunction binary = nullptr;

  // The same, to the last bit of the constant.
  friend bool operator==(const Instruction& a, const Instruction& b) {
    return a.operation == b.operation && a.operand == b.operand && a.unary == b.unary &&
           a.binary == b.binary &&
           std::bit_cast<std::uint64_t>(a.constant) == std::bit_cast<std::uint64_t>(b.constant);
  }
};

// How many values an operation has from the stack, where it leaves one.
constexpr std::size_t InputsOf(Operation operation) {
  switch (operation) {
    case Operation::kConstant:
    case Operation::kOperand:
      return 0;
    case Operation::kUnary:
    case Operation::kBinaryWithConstant:
      return 1;
    case Operation::kBinary:
      return 2;
    case Operation::kChoose:
      return 3;
  }
  return 0;
}

// An expression as instructions that are carried out one behind the other, each of them once: there
// are no jumps. So all parts of an expression are computed, and a choice is one between results.
//
// Threads: any, at the same time.
class Program {
 public:
  // How many values wait on the stack at the most. The text of an expression has up to 511 bytes,
  // and a value that waits is a byte of it at least, with an operator or a comma behind it.
  static constexpr std::size_t kMostValues = 256;

  // REQUIRES: the instructions leave one value and have up to kMostValues at any time.
  explicit Program(std::vector<Instruction> instructions);

  // The value, which may be NaN or infinite. Nothing is allocated.
  // REQUIRES: there is an operand wherever an instruction asks for one.
  double Evaluate(std::span<const double> operands) const;

  // Whether they compute the same by the same instructions.
  friend bool operator==(const Program&, const Program&) = default;

 private:
  std::vector<Instruction> instructions_;
};

}  // namespace zervane
