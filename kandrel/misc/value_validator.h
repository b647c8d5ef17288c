// zvValueValidator and its kinds: which values a variable takes besides its bounds.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/tolerances.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace misc {

template <class T>
class zvValueValidator;
template <class T>
class zvSteppingBasedDiscreteValueValidator;
template <class T>
class zvListBasedDiscreteValueValidator;

/// Tells the kinds of validators apart.
template <class T>
class KANDREL_API zvValueValidatorVisitor {
 public:
  virtual ~zvValueValidatorVisitor() = default;
  /// The slots of the two kinds that there are.
  virtual void Visit(const zvSteppingBasedDiscreteValueValidator<T>& validator) = 0;
  virtual void Visit(const zvListBasedDiscreteValueValidator<T>& validator) = 0;
  /// Any other kind.
  virtual void Visit(const zvValueValidator<T>& validator) = 0;
};

/// Says whether a value is admissible. Values and steps are in the variable's own unit.
template <class T>
class KANDREL_API zvValueValidator {
 public:
  virtual ~zvValueValidator() = default;
  /// Whether the value is admissible.
  virtual bool IsValid(const T& value) const = 0;
  /// By default the visitor's slot of other kinds.
  virtual void AcceptVisitor(zvValueValidatorVisitor<T>& visitor) { visitor.Visit(*this); }

 protected:
  zvValueValidator() = default;
  zvValueValidator(const zvValueValidator&) = default;
  zvValueValidator& operator=(const zvValueValidator&) = default;
};

/// Takes what lies between its bounds, to 1e-12, and a whole number of steps above the minimum, to
/// 1e-5. A step of 0, and whatever is not a number, has no values.
template <class T>
class KANDREL_API zvSteppingBasedDiscreteValueValidator final : public zvValueValidator<T> {
 public:
  /// Nothing is checked: bounds in the wrong order, or a step of 0, leave no admissible value.
  zvSteppingBasedDiscreteValueValidator(T minimum, T maximum, T step)
      : m_minimum(minimum), m_maximum(maximum), m_step(step) {}

  /// As given to the constructor.
  T GetMinimum() const noexcept { return m_minimum; }
  T GetMaximum() const noexcept { return m_maximum; }
  T GetStep() const noexcept { return m_step; }

  bool IsValid(const T& value) const override {
    if (!(value >= m_minimum - kEqual && value <= m_maximum + kEqual)) return false;
    const T rest = std::fabs(std::fmod(value - m_minimum, m_step));
    return rest <= kValueStep || std::fabs(rest - std::fabs(m_step)) <= kValueStep;
  }
  void AcceptVisitor(zvValueValidatorVisitor<T>& visitor) override { visitor.Visit(*this); }

 private:
  T m_minimum;
  T m_maximum;
  T m_step;
};

/// Takes the values of a list, to 1e-12; an empty list takes everything.
template <class T>
class KANDREL_API zvListBasedDiscreteValueValidator final : public zvValueValidator<T> {
 public:
  /// The values need no order.
  explicit zvListBasedDiscreteValueValidator(std::vector<T> values) : m_values(std::move(values)) {}

  /// As given to the constructor.
  const std::vector<T>& GetValues() const noexcept { return m_values; }

  bool IsValid(const T& value) const override {
    return m_values.empty() || std::any_of(m_values.begin(), m_values.end(), [&](const T& entry) {
             return std::fabs(value - entry) <= kEqual;
           });
  }
  void AcceptVisitor(zvValueValidatorVisitor<T>& visitor) override { visitor.Visit(*this); }

 private:
  std::vector<T> m_values;
};

}  // namespace misc
