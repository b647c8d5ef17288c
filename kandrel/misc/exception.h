// zvException: base of all failures of the library, and what its family shares.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/message_table.h>

#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace misc {

/// A failure: a stable numeric id with a text, and the failures that caused it.
///
/// A thrower gives the id; the constructor of the subsystem's class finds the text in its table.
/// Callers may compare ids together with the class: ids are not unique across classes. Copying is
/// deep. The family is caught as zvException or as std::exception.
class KANDREL_API zvException : public std::exception {
 public:
  using Cause = std::pair<std::uint32_t, std::wstring>;

  /// A plain text failure has the id 0. With `previous`, its id and text go to the front of the
  /// causes, followed by its own causes. `detail` is carried and not interpreted.
  zvException(std::uint32_t id, std::wstring text, const zvException* previous = nullptr,
              int detail = 0);
  zvException(const zvException&) = default;
  zvException(zvException&&) = default;
  zvException& operator=(const zvException&) = default;
  zvException& operator=(zvException&&) = default;
  ~zvException() override;

  /// Throws a copy of this object as its own most derived type.
  [[noreturn]] virtual void Raise() const;
  /// Returns a new copy of this object as its own most derived type.
  virtual zvAutoPointer<zvException> Clone() const;

  /// What the constructor was given.
  std::uint32_t GetId() const noexcept { return m_id; }
  const std::wstring& GetMessage() const noexcept { return m_message; }
  /// The chain of causes, outermost first.
  const std::vector<Cause>& GetCauses() const noexcept { return m_causes; }
  /// The thrower's own number, 0 where it gives none.
  int GetDetail() const noexcept { return m_detail; }

  /// The message in UTF-8.
  const char* what() const noexcept override { return m_what.c_str(); }

 protected:
  /// Replaces the message, and what() with it.
  void SetMessage(std::wstring text);

 private:
  std::wstring m_message;
  std::uint32_t m_id;
  std::vector<Cause> m_causes;
  int m_detail;
  std::string m_what;
};

/// Gives `Derived` the two operations that must know the most derived type. A class of the family
/// is declared `class zvX : public zvExceptionOf<zvX>`.
template <class Derived, class Base = zvException>
class KANDREL_API zvExceptionOf : public Base {
 public:
  using Base::Base;

  [[noreturn]] void Raise() const override { throw static_cast<const Derived&>(*this); }
  zvAutoPointer<zvException> Clone() const override {
    return zvAutoPointer<zvException>(new Derived(static_cast<const Derived&>(*this)));
  }
};

/// Want of pages in a memory pool: id 0, "Failed to allocate memory". What tries again after other
/// failures doesn't after this one.
class KANDREL_API zvOutOfMemory final : public zvExceptionOf<zvOutOfMemory> {
 public:
  zvOutOfMemory() : zvExceptionOf(0, L"Failed to allocate memory") {}
};

}  // namespace misc
