#pragma once

#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

// The fields of words and operations, listed once in each: messages, the lines of the log and the
// samples of the tests are made from the list. Its order is that of the message's field numbers,
// from 1: new fields go to the end, and one that is given up leaves its place.
//
//   struct DeleteTag {
//     TagId id = 0;
//     static auto Fields(auto& self) { return FieldList(Field{"id", self.id}); }
//   };
namespace zervane {

template <typename T>
struct Field {
  const char* name;
  T& value;
};
template <typename T>
Field(const char*, T&) -> Field<T>;

template <typename... T>
constexpr auto FieldList(Field<T>... fields) {
  return std::tuple<Field<T>...>(fields...);
}

template <typename T>
concept HasFields = requires(T& value) {
  T::Fields(value);
};

template <HasFields T>
constexpr std::size_t kFieldCount =
    std::tuple_size_v<decltype(std::remove_const_t<T>::Fields(std::declval<T&>()))>;

// visit(name, value) for every field in order.
template <typename T, typename Visit>
void ForEachField(T& of, Visit&& visit) {
  std::apply([&](auto... field) { (visit(field.name, field.value), ...); },
             std::remove_const_t<T>::Fields(of));
}

}  // namespace zervane
