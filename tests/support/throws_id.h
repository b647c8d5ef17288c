// Checks that a statement fails with a certain exception class, id and text.
#pragma once

#include <gtest/gtest.h>
#include <kandrel/misc/exception.h>

#include <cstdint>
#include <string>

namespace tests {

/// What `action` throws, as class `E`; a test failure when it throws nothing or something else.
template <class E, class Action>
testing::AssertionResult ThrowsId(Action&& action, std::uint32_t id, const std::wstring& text) {
  try {
    action();
  } catch (const E& e) {
    if (typeid(e) != typeid(E))
      return testing::AssertionFailure() << "thrown class is " << typeid(e).name();
    if (e.GetId() != id || e.GetMessage() != text)
      return testing::AssertionFailure() << "thrown is " << e.GetId() << ": " << e.what();
    return testing::AssertionSuccess();
  } catch (const std::exception& e) {
    return testing::AssertionFailure() << "thrown is a " << typeid(e).name() << ": " << e.what();
  }
  return testing::AssertionFailure() << "nothing thrown";
}

}  // namespace tests
