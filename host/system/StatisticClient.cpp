// Stand-in for the maker's data-collection service: each statistic becomes one JSON line of a file.

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "host/system/LogFile.h"
#include "platform/CommonPlxServiceManager.h"
#include "platform/Utf8.h"

namespace android {
namespace {

constexpr char kFile[] = "/data/persist_log/PLX/statistics.jsonl";
constexpr char kFileVariable[] = "KAVEL_HOST_STATISTICS";
/** Maximum size of the file in bytes (see LogFile). */
constexpr off_t kFileLimit = off_t{4} << 20;

std::string timeNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    constexpr long kNanosPerMilli = 1'000'000;
    const long offset = std::abs(local.tm_gmtoff) / 60;
    return base::StringPrintf("%04d-%02d-%02dT%02d:%02d:%02d.%03ld%c%02ld:%02ld",
                              local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                              local.tm_min, local.tm_sec, now.tv_nsec / kNanosPerMilli,
                              local.tm_gmtoff < 0 ? '-' : '+', offset / 60, offset % 60);
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
        using kavel::jsonString;
        std::string pairs;
        for (const auto& [key, value] : data) {
            pairs += (pairs.empty() ? "[" : ",[") + jsonString(key) + "," + jsonString(value) + "]";
        }
        mFile.append("{\"time\":\"" + timeNow() + "\",\"tag\":" + jsonString(tag) +
                     ",\"event\":" + jsonString(eventId) + ",\"data\":[" + pairs + "]}\n");
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
