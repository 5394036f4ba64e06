// How a Java class is described: an ordered table of its fields. The rows stand in the order in
// which fields are looked up; nothing else decides it.
#ifndef ZERVANE_BRIDGE_CLASS_TABLE_H
#define ZERVANE_BRIDGE_CLASS_TABLE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zervane::bridge {

// How a field's value travels. The first group has the same width on both sides.
enum class Conv : uint8_t {
  kNone,  // the field is looked up and does not travel in this direction
  kBool,
  kByte,
  kShort,
  kInt,
  kLong,  // out only
  kFloat,
  kDouble,
  kEnum,           // Java byte, 32-bit record member: sign-extended in, low byte out
  kUnsignedEnum,   // in only: Java byte zero-extended to 32 bits
  kMask,           // in only: Java byte sign-extended to 64 bits
  kQuality,        // Java int, unsigned 16-bit member: low half in, zero-extended out
  kIntOfByte,      // in only: a byte field read as an int, its low byte stored in one byte
  kByteOfInt,      // in only: an int field read as a byte, sign-extended to 32 bits
  kText,           // Java string, character array; the copy in has no bound
  kTextLeakedIn,   // kText, but the converted string is never freed
  kTextBuffer,     // Java string, ZR3StrBlob whose buffer is new on the way in
  kBytesBuffer,    // Java byte array, ZR3StrBlob whose buffer is new on the way in
  kTextIsNotEmpty  // out only: Java byte, 1 when the character array holds a text
};

inline constexpr const char* kString = "Ljava/lang/String;";

inline constexpr int8_t kOwnField = -1;

// Java to record: the conversion, and the row whose field is read when it is not the row's own.
struct InRule {
  Conv conv;
  int8_t from_row = kOwnField;
};

struct FieldRow {
  const char* name;       // Java field, exactly as declared
  const char* signature;  // JNI signature handed to GetFieldID
  InRule in;              // Java to record
  Conv out;               // record to Java
  uint16_t offset;        // byte offset of the member in the API record
};

// A field that travels both ways in the same manner.
constexpr FieldRow Row(const char* name, const char* signature, Conv conv, size_t offset) {
  return {name, signature, {conv}, conv, static_cast<uint16_t>(offset)};
}

// A field that is only read.
constexpr FieldRow InRow(const char* name, const char* signature, Conv conv, size_t offset) {
  return {name, signature, {conv}, Conv::kNone, static_cast<uint16_t>(offset)};
}

// A field that is only written.
constexpr FieldRow OutRow(const char* name, const char* signature, Conv conv, size_t offset) {
  return {name, signature, {Conv::kNone}, conv, static_cast<uint16_t>(offset)};
}

// A field that is looked up and does not travel at all.
constexpr FieldRow LookedUpRow(const char* name, const char* signature) {
  return {name, signature, {Conv::kNone}, Conv::kNone, 0};
}

// A field that travels both ways, but is read from the field of another row.
constexpr FieldRow CrossedRow(const char* name, const char* signature, Conv conv, int8_t from_row,
                              size_t offset) {
  return {name, signature, {conv, from_row}, conv, static_cast<uint16_t>(offset)};
}

// A Java string in a character array, both ways.
constexpr FieldRow TextRow(const char* name, size_t offset) {
  return Row(name, kString, Conv::kText, offset);
}

struct ClassTable {
  const char* path;  // binary name handed to FindClass
  std::span<const FieldRow> rows;
  std::span<const uint8_t> write_order = {};  // row numbers; empty: the order of the rows
};

inline constexpr size_t kMaxRows = 52;

// Joins groups of rows into the rows of one class.
template <size_t... kSizes>
constexpr auto JoinRows(const std::array<FieldRow, kSizes>&... groups) {
  std::array<FieldRow, (kSizes + ...)> rows{};
  size_t next = 0;
  const auto append = [&](const auto& group) {
    for (const FieldRow& row : group) rows[next++] = row;
  };
  (append(groups), ...);
  static_assert(rows.size() <= kMaxRows);
  return rows;
}

}  // namespace zervane::bridge

#endif
