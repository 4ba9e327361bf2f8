// Android 14's includes <stdatomic.h>, which in clang's version makes macros of what <atomic> has
// in std.
#pragma once
#include_next <cutils/trace.h>
#define atomic_thread_fence(order) __c11_atomic_thread_fence(order)
