// Checks that a statement fails with a certain exception class, id and text.
#pragma once

#include <gtest/gtest.h>
#include <kandrel/misc/exception.h>

#include <cstdint>
#include <exception>
#include <string>
#include <typeinfo>

namespace tests {

// Out of line, since every statement that is checked has a ThrowsId of its own.
namespace throws_id {
testing::AssertionResult IsThat(const misc::zvException& thrown, const std::type_info& type,
                                std::uint32_t id, const std::wstring& text);
testing::AssertionResult IsAnother(const std::exception& thrown);
testing::AssertionResult IsNothing();
}  // namespace throws_id

/// `action` throws exactly class `E` with this id, and with this text unless it is left out: the
/// texts that belong to ids are checked where the tables of the class are.
template <class E, class Action>
testing::AssertionResult ThrowsId(Action&& action, std::uint32_t id,
                                  const std::wstring& text = {}) {
  try {
    action();
  } catch (const E& e) {
    return throws_id::IsThat(e, typeid(E), id, text);
  } catch (const std::exception& e) {
    return throws_id::IsAnother(e);
  }
  return throws_id::IsNothing();
}

/// `action` meets a null pointer.
template <class Action>
testing::AssertionResult ThrowsNull(Action&& action) {
  return ThrowsId<misc::zvException>(action, 0, L"Accessing NULL pointer");
}

}  // namespace tests
