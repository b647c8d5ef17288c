// KANDREL_API: what the shared library lets out.
#pragma once

#if defined(KANDREL_STATIC)
#define KANDREL_API
#else
/// Marks a class or function that the shared library lets out; everything else stays hidden.
/// Nothing in the static library.
#define KANDREL_API __attribute__((visibility("default")))
#endif
