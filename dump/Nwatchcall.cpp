#include "dump/Nwatchcall.h"

#include <memory>

#include <dirent.h>
#include <log/log.h>

#include "dump/LogFolder.h"
#include "dump/LogFolderName.h"
#include "dump/NearestFile.h"
#include "dump/Pack.h"
#include "event/ReportJournal.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"
#include "platform/Sleep.h"
#include "platform/TraceSection.h"

namespace android::kavel {
namespace {

constexpr const char* kSource = "/data/persist_log/PLX/de/kjb_multimedia_perf";
constexpr const char* kPrefix = "[dravo_kavel copyNwatchcallLog]: ";

bool isNwatchcallFile(const std::string& name) {
    return name.find("watchcall_sf_hang") != std::string::npos ||
           name.find("watchcall_app_hang") != std::string::npos;
}

void copyFile(const std::string& name, const std::string& folder) {
    struct stat status = {};
    if (!statListed(kPrefix, kSource, name, &status)) return;
    collectAndCheck(
            folder, kPrefix,
            "cp " + shellQuote(std::string(kSource) + "/" + name) + " " + shellQuote(folder));
}

}  // namespace

bool copyNwatchcallLog(const std::string& folder) {
    const TraceSection trace("copyNwatchcallLog");
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel copyNwatchcallLog]: copyNwatchcallLog start. wait 5 min to generate "
               "nwatchcall log.\n");
    sleepSeconds(kHangFilesTime.count());
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(kSource), closedir);
    if (directory == nullptr) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel copyNwatchcallLog]: nwatchcallPath not found.\n");
        return false;
    }
    bool found = false;
    while (const dirent* entry = readdir(directory.get())) {
        const std::string name = entry->d_name;
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s%s scanned.\n", kPrefix, name.c_str());
        if (!isNwatchcallFile(name)) continue;
        copyFile(name, folder);
        found = true;
    }
    return found;
}

void packNwatchcallLog(bool found, const std::string& folder, const std::string& subject) {
    constexpr const char* kPack = "[dravo_kavel packNwatchcallLog]: ";
    if (!isUsableFolder(folder)) {
        KAVEL_LOGE(KAVEL_NO_TAG, "%sno folder '%s' for %s.\n", kPack, folder.c_str(),
                   subject.c_str());
        ReportJournal::instance().noteFolder(Fate::NoFolder, folder);
    } else if (found) {
        packFolder({kPack, subject}, LogFolder(folder));
    } else {
        ReportJournal::instance().noteFolder(Fate::NoHangFiles, folder);
        removeFolder(kPack, folder);
    }
}

}  // namespace android::kavel
