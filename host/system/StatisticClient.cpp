// Stand-in for the maker's data-collection service: each statistic becomes one JSON line of a file.

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <string_view>

#include "host/system/LogFile.h"
#include "platform/CommonPlxServiceManager.h"

namespace android {
namespace {

constexpr char kFile[] = "/data/persist_log/PLX/statistics.jsonl";
constexpr char kFileVariable[] = "KAVEL_HOST_STATISTICS";
/** Maximum size of the file in bytes (see LogFile). */
constexpr off_t kFileLimit = off_t{4} << 20;

/** Length of the UTF-8 character (RFC 3629) at the start of @p text; 0 if there is none. */
size_t characterLength(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) return 1;
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) return 0;
    }
    // The second byte tells overlong forms, surrogates and code points above U+10FFFF.
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
    explicit FileClient(const std::string& path)
          : mFolder(base::Dirname(path)), mFile(path, kFileLimit, 0644) {}

    bool hasDirectory() const {
        struct stat info {};
        return stat(mFolder.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
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
        mFile.append(line + "]}\n");
    }

    const std::string mFolder;
    kavel::host::LogFile mFile;
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
