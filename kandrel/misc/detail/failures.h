// Failures of what the exceptions themselves are built on.
#pragma once

namespace misc::detail {

/// Throws zvException with id 0. The exceptions hold shared pointers, whose blocks come from pools:
/// both throw by these, and exception.cpp knows the classes.
[[noreturn]] void ThrowFailure(const wchar_t* text);

/// Throws zvOutOfMemory.
[[noreturn]] void ThrowOutOfMemory();

}  // namespace misc::detail
