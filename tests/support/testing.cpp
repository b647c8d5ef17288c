// The header that all tests share is compiled with this source.
#include <tests/support/testing.h>
