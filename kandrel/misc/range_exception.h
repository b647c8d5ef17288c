// Exceptions of value checks: a value outside its bounds, an index, a value between the steps.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <charconv>
#include <optional>
#include <string>

namespace misc {

namespace detail {

/// The shortest text of a number, whatever the locale.
template <class T>
std::wstring NumberText(T value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::wstring(buffer, result.ptr);  // digits, signs and letters are the same in both
}

}  // namespace detail

/// A value outside its bounds. The text says which bound was missed: "Given value (5) is out of
/// range (1, 3)", or for a range with one end "... is less than allowed min value (1)" and "... is
/// greater than allowed max value (3)". Its id is 0: the class says what failed.
template <class T>
class KANDREL_API zvRangeException : public zvExceptionOf<zvRangeException<T>> {
 public:
  /// A bound that isn't there is std::nullopt; at least one is.
  zvRangeException(std::optional<T> minimum, std::optional<T> maximum, T value,
                   const zvException* previous = nullptr)
      : zvExceptionOf<zvRangeException<T>>(0, Text(minimum, maximum, value), previous),
        m_minimum(minimum),
        m_maximum(maximum),
        m_value(value) {}

  /// What the constructor was given.
  std::optional<T> GetMinimum() const noexcept { return m_minimum; }
  std::optional<T> GetMaximum() const noexcept { return m_maximum; }
  T GetValue() const noexcept { return m_value; }

 private:
  static std::wstring Text(std::optional<T> minimum, std::optional<T> maximum, T value) {
    std::wstring text = L"Given value (" + detail::NumberText(value);
    if (minimum && maximum)
      text += L") is out of range (" + detail::NumberText(*minimum) + L", " +
              detail::NumberText(*maximum);
    else if (minimum)
      text += L") is less than allowed min value (" + detail::NumberText(*minimum);
    else if (maximum)
      text += L") is greater than allowed max value (" + detail::NumberText(*maximum);
    return text + L")";
  }

  std::optional<T> m_minimum;
  std::optional<T> m_maximum;
  T m_value;
};

/// An index above the largest that is accepted. Its id is 0.
template <class T>
class KANDREL_API zvIdxRangeException : public zvExceptionOf<zvIdxRangeException<T>> {
 public:
  /// Its text names both; `previous` is the cause, or null.
  zvIdxRangeException(T maximum, T index, const zvException* previous = nullptr)
      : zvExceptionOf<zvIdxRangeException<T>>(0,
                                              L"Index out of bounds. Max index accepted: " +
                                                  detail::NumberText(maximum) + L", index given: " +
                                                  detail::NumberText(index),
                                              previous),
        m_maximum(maximum),
        m_index(index) {}

  /// The largest index that would have been accepted, and the one given.
  T GetMaximum() const noexcept { return m_maximum; }
  T GetIndex() const noexcept { return m_index; }

 private:
  T m_maximum;
  T m_index;
};

/// A value that a discrete variable's validator refuses. Its id is 0.
template <class T>
class KANDREL_API zvDiscreteValueException : public zvExceptionOf<zvDiscreteValueException<T>> {
 public:
  /// `previous` is the cause, or null.
  explicit zvDiscreteValueException(T value, const zvException* previous = nullptr)
      : zvExceptionOf<zvDiscreteValueException<T>>(
            0, L"Discrete variable doesn't support passed value", previous),
        m_value(value) {}

  /// The value that was refused.
  T GetValue() const noexcept { return m_value; }

 private:
  T m_value;
};

}  // namespace misc
