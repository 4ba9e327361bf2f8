#include "tests/fake/FakeThreads.h"

#include <atomic>
#include <cerrno>

#include <dlfcn.h>
#include <pthread.h>

namespace {

std::atomic<bool> sRefuses{false};

using Create = int(pthread_t*, const pthread_attr_t*, void* (*) (void*), void*);

}  // namespace

void android::kavel::fake::refuseThreads(bool refuse) {
    sRefuses = refuse;
}

// The sanitizers have a function of their own in front of the C library's.
extern "C" __attribute__((weak)) Create __interceptor_pthread_create;

// Comes before the C library's: std::thread calls it from wherever it is.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*start)(void*), void* argument) {
    if (sRefuses) return EAGAIN;
    static auto* const create =
            __interceptor_pthread_create != nullptr
                    ? &__interceptor_pthread_create
                    : reinterpret_cast<Create*>(dlsym(RTLD_NEXT, "pthread_create"));
    return create(thread, attributes, start, argument);
}
