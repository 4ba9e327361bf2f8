// Takes the place of the maker's data-collection service: each statistic becomes one JSON line of a
// file.

#include <android-base/stringprintf.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string_view>

#include "platform/CommonPlxServiceManager.h"

namespace android {
namespace {

constexpr char kFile[] = "/data/persist_log/PLX/statistics.jsonl";
constexpr char kFileVariable[] = "KAVEL_HOST_STATISTICS";
/** A file of that size becomes NAME.1, and the one before it goes. */
constexpr off_t kFileLimit = off_t{4} << 20;
constexpr mode_t kFileMode = 0644;

/** Length of the UTF-8 character (RFC 3629) that @p text starts with; 0 where it does not. */
size_t characterLength(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) return 1;
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) return 0;
    }
    // The second byte shows overlong forms, surrogates and what lies beyond U+10FFFF.
    const unsigned second = byte(1);
    const bool isBad = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                       (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
    return isBad ? 0 : length;
}

void appendJsonString(std::string& out, std::string_view text) {
    out += '"';
    while (!text.empty()) {
        const size_t length = characterLength(text);
        const char first = text.front();
        if (length == 0) {
            out += "\xEF\xBF\xBD";  // U+FFFD, in the place of one byte
        } else if (first == '"' || first == '\\') {
            out += {'\\', first};
        } else if (length == 1 && (static_cast<unsigned char>(first) < 0x20 || first == 0x7F)) {
            out += base::StringPrintf("\\u%04x", static_cast<unsigned>(first));
        } else {
            out += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    out += '"';
}

std::string timeNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    constexpr long kNanosPerMilli = 1'000'000;
    return base::StringPrintf("%04d-%02d-%02dT%02d:%02d:%02d.%03ld", local.tm_year + 1900,
                              local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                              local.tm_sec, now.tv_nsec / kNanosPerMilli);
}

class FileClient : public CommonPlxServiceManager {
  public:
    explicit FileClient(std::string path) : mPath(std::move(path)) {}

    bool hasDirectory() const {
        const size_t slash = mPath.rfind('/');
        const std::string directory = slash == std::string::npos ? "." : mPath.substr(0, slash + 1);
        struct stat info {};
        return stat(directory.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
    }

  private:
    void upload(const std::string& tag, const std::string& eventId, const Pairs& data) override {
        std::string line = "{\"time\":\"" + timeNow() + "\",\"tag\":";
        appendJsonString(line, tag);
        line += ",\"event\":";
        appendJsonString(line, eventId);
        line += ",\"data\":[";
        for (const auto& [key, value] : data) {
            line += &key == &data.front().first ? "[" : ",[";
            appendJsonString(line, key);
            line += ',';
            appendJsonString(line, value);
            line += ']';
        }
        line += "]}\n";
        append(line);
    }

    void append(const std::string& line) {
        const std::lock_guard<std::mutex> lock(mLock);
        constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC;
        const base::unique_fd fd(open(mPath.c_str(), kFlags, kFileMode));
        // One write: a reader never sees half a line, and a second writer none of it.
        if (!fd.ok() ||
            write(fd.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
            return;
        }
        struct stat info {};
        if (fstat(fd.get(), &info) != 0 || info.st_size < kFileLimit) return;
        static_cast<void>(rename(mPath.c_str(), (mPath + ".1").c_str()));
    }

    const std::string mPath;
    std::mutex mLock;
};

}  // namespace

CommonPlxServiceManager* CommonPlxServiceManager::getDefaultCommonPlxServiceManager() {
    static auto* const client = [] {
        const char* const path = getenv(kFileVariable);
        return new FileClient(path == nullptr ? kFile : path);
    }();
    return client->hasDirectory() ? client : nullptr;
}

}  // namespace android
