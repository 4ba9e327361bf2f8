#include "dump/LogPath.h"

#include <log/log.h>

#include <android-base/properties.h>

#include "dump/LogFolderName.h"
#include "event/KavelTimestamp.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/Shell.h"
#include "platform/ShellQuote.h"

namespace android::kavel {
namespace {

/** Returns the process part of the log folder's name. */
std::string processPart(const KavelEvent& event) {
    if (event.type.subject == FolderSubject::System) return "system";
    return event.extraInfo.processName.empty() ? "empty" : event.extraInfo.processName;
}

void makeDirectory(const std::string& path) {
    runShell("mkdir " + shellQuote(path) + "\n", kIntakeDeadline);
}

}  // namespace

std::string buildLogPathFolderName(EventParameters& parameters, const KavelEvent* event) {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel buildLogPathFolderName]: buildLogPathFolderName start.\n");
    if (event == nullptr) return "KavelEventIsNullPtr";
    const std::string name = logFolderName({
            parameters.eventName(event->eventId),
            processPart(*event),
            event->timestamp.realtimeNs,
            base::GetProperty("ro.build.version.ota", ""),
            kavelTimeStampToString(event->timestamp),
    });
    std::string folder = std::string(kLogFolderRoot) + "/" + name;

    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel buildLogPathFolderName]: mkdir %s\n", kLogFolderRoot);
    makeDirectory(kLogFolderRoot);  // fails if it exists, as it usually does
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "[dravo_kavel buildLogPathFolderName]: mkdir %s\n",
                folder.c_str());
    makeDirectory(folder);  // whoever uses the folder notices if it is missing
    return folder;
}

}  // namespace android::kavel
