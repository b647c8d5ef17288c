// zvFinal: marks a class from which nothing may derive.
#pragma once

namespace misc {

/// Its constructors are reached by zvFinal and by the one class named, and by no other.
template <class T>
class zvFinalBase {
  friend T;
  template <class U>
  friend class zvFinal;
  zvFinalBase() = default;
  zvFinalBase(const zvFinalBase&) = default;
  zvFinalBase& operator=(const zvFinalBase&) = default;
};

/// `class X : zvFinal<X>` can be instantiated, a class derived from X can't: the most derived class
/// constructs the virtual base, and only X may.
template <class T>
class zvFinal : virtual zvFinalBase<T> {
 protected:
  zvFinal() = default;
};

}  // namespace misc
