// What reading and writing machine files reports to the user though it goes on.
#pragma once

#include <kandrel/misc/export.h>

#include <string>

namespace kintree {

/// Takes a report. It may throw: the reading or writing then ends with what it throws.
using MessageHook = void (*)(const std::wstring& text);

/// Sets the hook of the process and returns the one before. Without one, null, reports go to
/// misc::TellUser, by default a line in UTF-8 on standard error. Safe while other threads read
/// and write.
KANDREL_API MessageHook SetMessageHook(MessageHook hook) noexcept;

/// Hands a report to the hook.
KANDREL_API void TellUser(const std::wstring& text);

}  // namespace kintree
