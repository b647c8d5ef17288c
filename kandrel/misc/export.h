// KANDREL_API marks what the shared library lets out; everything else stays hidden.
#pragma once

#if defined(KANDREL_STATIC)
#define KANDREL_API
#else
#define KANDREL_API __attribute__((visibility("default")))
#endif
