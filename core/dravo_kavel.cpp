// The daemon: start-up order, then a life as a binder thread.

#include <cutils/properties.h>

#include <android-base/properties.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "dump/LeftoverFolders.h"
#include "event/KavelBinderService.h"
#include "platform/Log.h"

using namespace android;  // NOLINT(google-build-using-namespace): the program's own main

namespace {

/** A system dump that was cut short by a reboot is packed from what it had already written. */
void restartInterruptedDump() {
    if (base::GetProperty("persist.sys.kvl.dumping", "false") != "true") return;
    property_set("sys.kavel.repackonly", "true");
    property_set("ctl.restart", "dumpstate_kavel");
}

}  // namespace

int main() {
    KAVEL_LOGI(KAVEL_TAG_BINDER, "[main]:dravo_kavel init start");

    restartInterruptedDump();
    kavel::packLeftoverFolders();

    // The line stands before the registration: that is where its readers expect it.
    KAVEL_LOGI(KAVEL_TAG_BINDER,
               "[addService]: KavelBinderService service added to defaultServiceManager.\n");
    defaultServiceManager()->addService(String16(KAVEL_BINDER_SERVICE_NAME),
                                        new KavelBinderService(), false,
                                        IServiceManager::DUMP_FLAG_PRIORITY_DEFAULT);

    ProcessState::self()->setThreadPoolMaxThreadCount(16);
    ProcessState::self()->startThreadPool();
    IPCThreadState::self()->joinThreadPool(true);
    return 0;
}
