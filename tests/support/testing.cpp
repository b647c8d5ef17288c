// The source for which the headers of all tests are compiled: the others of its library are
// compiled in a way of their own.
#include <tests/support/testing.h>
