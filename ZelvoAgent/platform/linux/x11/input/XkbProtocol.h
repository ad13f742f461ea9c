#pragma once
// The header of the X keyboard extension names a field `explicit`, which C++ keeps for itself. For .cpp files
// only.

#include <xcb/xcb.h>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wkeyword-macro"
#define explicit explicitField
#include <xcb/xkb.h>
#undef explicit
#pragma GCC diagnostic pop
