// Checks that a statement fails with a certain exception class, id and text.
#pragma once

#include <gtest/gtest.h>
#include <kandrel/misc/exception.h>

#include <cstdint>
#include <string>

namespace tests {

/// `action` throws exactly class `E` with this id, and with this text unless it is left out: the
/// texts that belong to ids are checked where the tables of the class are.
template <class E, class Action>
testing::AssertionResult ThrowsId(Action&& action, std::uint32_t id,
                                  const std::wstring& text = {}) {
  try {
    action();
  } catch (const E& e) {
    if (typeid(e) != typeid(E))
      return testing::AssertionFailure() << "thrown class is " << typeid(e).name();
    if (e.GetId() != id || (!text.empty() && e.GetMessage() != text))
      return testing::AssertionFailure() << "thrown is " << e.GetId() << ": " << e.what();
    return testing::AssertionSuccess();
  } catch (const std::exception& e) {
    return testing::AssertionFailure() << "thrown is a " << typeid(e).name() << ": " << e.what();
  }
  return testing::AssertionFailure() << "nothing thrown";
}

/// `action` meets a null pointer.
template <class Action>
testing::AssertionResult ThrowsNull(Action&& action) {
  return ThrowsId<misc::zvException>(action, 0, L"Accessing NULL pointer");
}

}  // namespace tests
