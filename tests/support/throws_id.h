// Checks that a statement fails with a certain exception class, id and text.
#pragma once

#include <kandrel/misc/exception.h>
#include <tests/support/testing.h>

#include <exception>

namespace tests {

/// In the place of the id of "Accessing NULL pointer", which has none.
inline constexpr std::uint32_t kNullPointer = 1;

/// The id of what `action` throws, 0 for nothing.
template <class Action>
std::uint32_t IdOf(Action&& action) {
  try {
    action();
  } catch (const misc::zvException& e) {
    return e.GetId() == 0 ? kNullPointer : e.GetId();
  }
  return 0;
}

/// The text of the innermost cause of what `action` throws; empty where there is none.
template <class Action>
std::wstring LastCauseOf(Action&& action) {
  try {
    action();
  } catch (const misc::zvException& e) {
    return e.GetCauses().empty() ? std::wstring() : e.GetCauses().back().second;
  }
  return {};
}

// Of no class of action or exception, since every statement that is checked has classes of its own.
inline testing::AssertionResult ThrowsId(const std::type_info& type,
                                         const std::function<void()>& action, std::uint32_t id,
                                         const std::wstring& text) {
  try {
    action();
  } catch (const misc::zvException& e) {
    if (typeid(e) == type && e.GetId() == id && (text.empty() || e.GetMessage() == text))
      return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "thrown is " << typeid(e).name() << ' ' << e.GetId() << ": " << e.what();
  } catch (const std::exception& e) {
    return testing::AssertionFailure() << "thrown is " << typeid(e).name() << ": " << e.what();
  }
  return testing::AssertionFailure() << "nothing thrown";
}

/// `action` throws exactly class `E` with this id, and with this text unless it is left out: the
/// texts that belong to ids are checked where the tables of the class are.
template <class E, class Action>
testing::AssertionResult ThrowsId(Action&& action, std::uint32_t id,
                                  const std::wstring& text = {}) {
  return ThrowsId(typeid(E), std::ref(action), id, text);
}

/// `action` meets a null pointer.
template <class Action>
testing::AssertionResult ThrowsNull(Action&& action) {
  return ThrowsId<misc::zvException>(action, 0, L"Accessing NULL pointer");
}

}  // namespace tests
