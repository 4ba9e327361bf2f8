// Every program that links this file logs into the phone's shared files instead of stderr.

#include "host/system/LogSink.h"

#include <android/log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

#include "host/system/LogFile.h"
#include "host/system/LogLine.h"

namespace android::kavel::host {

namespace {

constexpr off_t kFileLimit = off_t{8} << 20;
/** liblog on the phone cuts longer messages (LOGGER_ENTRY_MAX_PAYLOAD). */
constexpr size_t kMaxMessage = 4068;
constexpr char kDirectoryVariable[] = "KAVEL_HOST_LOG_DIR";

class Sink {
  public:
    explicit Sink(const std::string& folder)
          : mFiles{{{folder + "/" + kLogBuffers[0], kFileLimit},
                    {folder + "/" + kLogBuffers[1], kFileLimit},
                    {folder + "/" + kLogBuffers[2], kFileLimit},
                    {folder + "/" + kLogBuffers[3], kFileLimit},
                    {folder + "/" + kLogBuffers[4], kFileLimit}}} {}

    /** Negative and unknown buffers are the main one, as on the phone. */
    LogFile& file(int buffer) {
        const auto index = static_cast<size_t>(buffer);
        return mFiles[buffer < 0 || index >= mFiles.size() ? 0 : index];
    }

  private:
    std::array<LogFile, kLogBuffers.size()> mFiles;
};

/** Never destroyed: static destructors and late threads log too. */
Sink* sSink = nullptr;

LogOrigin originNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    constexpr long kNanosPerMilli = 1'000'000;
    LogOrigin origin{{}, static_cast<int>(now.tv_nsec / kNanosPerMilli), getpid(), gettid()};
    localtime_r(&now.tv_sec, &origin.time);
    return origin;
}

void logToFile(const __android_logger_data* data, const char* message) {
    const int savedErrno = errno;
    const std::string_view text = message != nullptr ? message : "";
    const std::string lines =
            formatThreadtime(originNow(), data->priority,
                             data->tag != nullptr ? data->tag : program_invocation_short_name,
                             text.substr(0, kMaxMessage));
    if (!sSink->file(data->buffer_id).append(lines) && data->priority >= ANDROID_LOG_WARN) {
        __android_log_stderr_logger(data, message);
    }
    errno = savedErrno;
}

/** Ahead of all C++ static constructors, which may log. */
__attribute__((constructor(101))) void install() {
    const std::string folder = logDirectory();
    // The phone's own folder is init's to make; one that was asked for is made here.
    if (getenv(kDirectoryVariable) != nullptr) mkdir(folder.c_str(), 0777);
    sSink = new Sink(folder);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(logToFile);
}

}  // namespace

std::string logDirectory() {
    const char* folder = getenv(kDirectoryVariable);
    return folder != nullptr && *folder != '\0' ? folder : "/dev/log";
}

}  // namespace android::kavel::host
