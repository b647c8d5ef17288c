#include <kandrel/misc/detail/failures.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/text.h>

namespace misc {

zvException::zvException(std::uint32_t id, std::wstring text, const zvException* previous,
                         int detail)
    : m_id(id), m_detail(detail) {
  SetMessage(std::move(text));
  if (previous == nullptr) return;
  m_causes.reserve(previous->m_causes.size() + 1);
  m_causes.emplace_back(previous->m_id, previous->m_message);
  m_causes.insert(m_causes.end(), previous->m_causes.begin(), previous->m_causes.end());
}

zvException::~zvException() = default;

void zvException::Raise() const {
  throw zvException(*this);
}

zvAutoPointer<zvException> zvException::Clone() const {
  return zvAutoPointer<zvException>(new zvException(*this));
}

void zvException::SetMessage(std::wstring text) {
  m_message = std::move(text);
  m_what = ToUtf8(m_message);
}

namespace detail {

void ThrowFailure(const wchar_t* text) {
  throw zvException(0, text);
}

void ThrowOutOfMemory() {
  throw zvOutOfMemory();
}

}  // namespace detail

}  // namespace misc
