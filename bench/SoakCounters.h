#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace android::kavel::bench {

/** What soak_daemon has logged; shared with the sender. */
struct SoakCounters {
    std::atomic<uint64_t> reports;
    std::atomic<uint64_t> packets;
};

inline SoakCounters& soakCounters() {
    static void* const memory = [] {
        const int fd = open("/data/local/soak", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0 || ftruncate(fd, sizeof(SoakCounters)) != 0) abort();
        void* const mapped =
                mmap(nullptr, sizeof(SoakCounters), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        close(fd);
        return mapped == MAP_FAILED ? abort(), mapped : mapped;
    }();
    return *static_cast<SoakCounters*>(memory);
}

}  // namespace android::kavel::bench
