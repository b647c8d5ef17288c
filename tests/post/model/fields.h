// What a class holds as one table, a row a field: how it is read and set, and what it is at first.
#pragma once

#include <tests/support/numbers.h>
#include <tests/support/testing.h>

namespace tests {

/// `role` is what the test of the class makes of the field.
template <class T>
struct Field {
  std::function<Numbers(const T&)> get;
  std::function<void(T&, const Numbers&)> set;
  Numbers initial;
  int role;
  bool isFlag;
};
template <class T>
using FieldTable = std::vector<Field<T>>;

/// `get` and `set` are members of T, or callables that take a T first.
template <class T, class Get, class Set>
Field<T> FieldOf(Get get, Set set, Numbers initial, int role = 0) {
  using Value = std::remove_cvref_t<std::invoke_result_t<Get, const T&>>;
  return {[get](const T& object) { return Flat(std::invoke(get, object)); },
          [set](T& object, const Numbers& n) {
            if constexpr (std::is_same_v<Value, Point>)
              std::invoke(set, object, Point(n[0], n[1], n[2]));
            else
              std::invoke(set, object, static_cast<Value>(n[0]));
          },
          std::move(initial), role, std::is_same_v<Value, bool>};
}

template <class T>
Numbers Values(const FieldTable<T>& table, const T& object) {
  Numbers all;
  for (const auto& field : table) Append(all, field.get(object));
  return all;
}

/// `fresh` has the initial values; in `object` each field takes what is put in, every number of it
/// another one, and no other field changes.
template <class T>
void ExpectFields(const FieldTable<T>& table, const T& fresh, T object) {
  Numbers initial, expected = Values(table, object);
  std::size_t at = 0;
  for (const auto& field : table) {
    Append(initial, field.initial);
    Numbers value = field.get(object);
    for (std::size_t i = 0; i < value.size(); ++i, ++at)
      expected[at] = value[i] = field.isFlag ? 1 - value[i] : value[i] + 1 + double(i);
    field.set(object, value);
    EXPECT_EQ(Values(table, object), expected) << "set before " << at;
  }
  EXPECT_EQ(Values(table, fresh), initial);
}

}  // namespace tests

// clang-format off
/// A row of the table of T for the members GetName and SetName.
#define TESTS_FIELD(T, Name, ...) tests::FieldOf<T>(&T::Get##Name, &T::Set##Name, __VA_ARGS__)
// clang-format on
