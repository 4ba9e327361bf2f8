// Every program that links this file logs into the phone's shared files instead of stderr.

#include "host/system/LogSink.h"

#include <android/log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "host/system/LogFile.h"

namespace android::kavel::host {

namespace {

/** Log buffers that have a file; the index is their log_id_t. */
constexpr std::array<const char*, 5> kBuffers = {"main", "radio", "events", "system", "crash"};
constexpr off_t kFileLimit = off_t{8} << 20;
/** Maximum length of a message, at which the phone's liblog cuts (LOGGER_ENTRY_MAX_PAYLOAD). */
constexpr size_t kMaxMessage = 4068;
constexpr char kDirectoryVariable[] = "KAVEL_HOST_LOG_DIR";

class Sink {
  public:
    explicit Sink(const std::string& folder)
          : mFiles{{{folder + "/" + kBuffers[0], kFileLimit},
                    {folder + "/" + kBuffers[1], kFileLimit},
                    {folder + "/" + kBuffers[2], kFileLimit},
                    {folder + "/" + kBuffers[3], kFileLimit},
                    {folder + "/" + kBuffers[4], kFileLimit}}} {}

    /** Returns the file of the main buffer for an unknown number, as on the phone. */
    LogFile& file(int buffer) {
        const auto index = static_cast<size_t>(buffer);
        return mFiles[buffer < 0 || index >= mFiles.size() ? 0 : index];
    }

  private:
    std::array<LogFile, kBuffers.size()> mFiles;
};

/** Never destroyed: static destructors and late threads log too. */
Sink* sSink = nullptr;

/** Returns the text before each line of a message in logcat's format "threadtime". */
std::string linePrefix(int priority, std::string_view tag) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm time{};
    localtime_r(&now.tv_sec, &time);
    constexpr long kNanosPerMilli = 1'000'000;
    constexpr std::string_view kLetters = "??VDIWEFS";  // by android_LogPriority
    char head[64];
    const int length = snprintf(head, sizeof(head), "%02d-%02d %02d:%02d:%02d.%03ld %5d %5d %c ",
                                time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min,
                                time.tm_sec, now.tv_nsec / kNanosPerMilli, getpid(), gettid(),
                                kLetters[static_cast<size_t>(std::clamp(priority, 0, 8))]);
    constexpr size_t kTagWidth = 8;
    std::string prefix;
    prefix.reserve(sizeof(head) + tag.size());
    prefix.append(head, static_cast<size_t>(length))
            .append(tag)
            .append(kTagWidth - std::min(tag.size(), kTagWidth), ' ')
            .append(": ");
    return prefix;
}

void logToFile(const __android_logger_data* data, const char* message) {
    const int savedErrno = errno;
    const std::string prefix = linePrefix(
            data->priority, data->tag != nullptr ? data->tag : program_invocation_short_name);
    std::string_view text = message != nullptr ? message : "";
    text = text.substr(0, kMaxMessage);
    if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
    std::string lines;
    lines.reserve(prefix.size() + text.size() + 1);
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        lines.append(prefix).append(text.substr(begin, end - begin)).push_back('\n');
        begin = end + 1;
    }
    if (!sSink->file(data->buffer_id).append(lines) && data->priority >= ANDROID_LOG_WARN) {
        __android_log_stderr_logger(data, message);
    }
    errno = savedErrno;
}

/** Runs before all C++ static constructors, which may log. */
__attribute__((constructor(101))) void install() {
    const std::string folder = logDirectory();
    // The launcher creates the phone's folder, but not a folder from the variable.
    if (getenv(kDirectoryVariable) != nullptr) mkdir(folder.c_str(), 0777);
    sSink = new Sink(folder);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    // Ahead of all threads: the library's own first use looks like a race to ThreadSanitizer,
    // which does not see the library's guard.
    __android_log_set_default_tag(program_invocation_short_name);
    __android_log_set_logger(logToFile);
}

}  // namespace

std::string logDirectory() {
    const char* folder = getenv(kDirectoryVariable);
    return folder != nullptr && *folder != '\0' ? folder : "/dev/log";
}

}  // namespace android::kavel::host
