#pragma once

#include <cstdio>
#include <cstdlib>

/** Ends the fuzzer with @p what unless @p holds. */
inline void require(bool holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
}
