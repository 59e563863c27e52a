#pragma once

// xcb's header for XKB has a member whose name C++ keeps for itself. Compilers warn of the way around that, except in system headers.
#pragma GCC system_header

#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
