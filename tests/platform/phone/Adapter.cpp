// Both of the maker's adapters: each prints its arguments and ends the process.

#include <cstddef>
#include <cstdio>

#include <unistd.h>

extern "C" int kavel_plx_send(const char* tag, const char* event, const char* const* keys,
                              const char* const* values, size_t count) {
    fprintf(stderr, "send %s %s", tag, event);
    for (size_t i = 0; i < count; ++i) fprintf(stderr, " %s=%s", keys[i], values[i]);
    fprintf(stderr, ";\n");
    _exit(0);
}

extern "C" void kavel_stop_tracing(const char* session, int stop, int restart) {
    fprintf(stderr, "stop %s %d %d;\n", session, stop, restart);
    _exit(0);
}
