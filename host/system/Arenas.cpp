// Limits the allocator of every program that links this file, so that its memory resembles that on
// a phone.

#include <malloc.h>

namespace {

/** Android's allocator has two arenas by default, glibc's has one for each thread. */
constexpr int kArenas = 2;

__attribute__((constructor)) void limitArenas() {
    mallopt(M_ARENA_MAX, kArenas);
}

}  // namespace
