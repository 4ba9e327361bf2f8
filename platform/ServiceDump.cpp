#include "platform/ServiceDump.h"

#include <cerrno>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <android-base/unique_fd.h>

namespace android::kavel {

ServiceDump dumpService(const sp<IBinder>& service, const std::vector<std::string>& args,
                        std::chrono::milliseconds patience) {
    using Clock = std::chrono::steady_clock;
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "no pipe");
    }
    const base::unique_fd readEnd(ends[0]);
    base::unique_fd writeEnd(ends[1]);
    std::packaged_task<status_t()> task([service, args, fd = std::move(writeEnd)]() mutable {
        Vector<String16> words;
        for (const std::string& arg : args) words.add(String16(arg.c_str()));
        const status_t status = service->dump(fd.get(), words);
        fd.reset();  // so that the reader sees the end of the file
        return status;
    });
    std::future<status_t> status = task.get_future();
    std::thread(std::move(task)).detach();

    ServiceDump dump;
    const Clock::time_point end = Clock::now() + patience;
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        pollfd readable = {readEnd.get(), POLLIN, 0};
        const int ready =
                left.count() <= 0 ? 0 : poll(&readable, 1, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) {
            dump.status = TIMED_OUT;
            return dump;
        }
        char part[4096];
        const ssize_t count = read(readEnd.get(), part, sizeof(part));
        if (count <= 0) break;
        dump.text.append(part, static_cast<size_t>(count));
    }
    const bool hasEnded = status.wait_until(end) == std::future_status::ready;
    dump.status = hasEnded ? status.get() : TIMED_OUT;
    return dump;
}

}  // namespace android::kavel
