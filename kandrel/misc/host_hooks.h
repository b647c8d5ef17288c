// What the library asks of the program around it: a debug line, a message to the user, texts.
#pragma once

#include <kandrel/misc/export.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace misc {

/// Plain functions that the host may set, at best before it starts any thread; setting one while
/// another thread calls it is safe, the old one may then run once more. They mustn't throw.
using zvDebugLineHook = void (*)(std::wstring_view line) noexcept;
using zvUserMessageHook = void (*)(std::wstring_view text) noexcept;
/// Sets `text` to message `id` of `section` and returns true, or returns false when it has none.
using zvMessageTextHook = bool (*)(std::wstring_view section, std::uint32_t id,
                                   std::wstring& text) noexcept;

/// Each returns the hook set before; null brings the default back.
KANDREL_API zvDebugLineHook SetDebugLineHook(zvDebugLineHook hook) noexcept;
KANDREL_API zvUserMessageHook SetUserMessageHook(zvUserMessageHook hook) noexcept;
KANDREL_API zvMessageTextHook SetMessageTextHook(zvMessageTextHook hook) noexcept;

/// A line for whoever debugs the program. By default it goes nowhere: without a debugger nobody
/// waits for it, and the output of a program is no place for it.
KANDREL_API void DebugLine(std::wstring_view line) noexcept;

/// A report that the user should see though the work goes on. By default it goes to standard error
/// in UTF-8, with a line end.
KANDREL_API void TellUser(std::wstring_view text) noexcept;

/// The host's text for message `id` of `section`, so that it can bring its own language; `fallback`
/// when it has none, which is the default.
KANDREL_API std::wstring MessageText(std::wstring_view section, std::uint32_t id,
                                     std::wstring_view fallback);

}  // namespace misc
