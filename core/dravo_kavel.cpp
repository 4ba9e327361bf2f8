// The daemon: start-up order, then a life as a binder thread.

#include <thread>

#include <cutils/properties.h>

#include <android-base/properties.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "core/KavelKeventThread.h"
#include "core/KavelRecvKeventFunc.h"
#include "dig/ControlSocket.h"
#include "dig/dig.h"
#include "dump/LeftoverFolders.h"
#include "event/KavelBinderService.h"
#include "platform/Log.h"

using namespace android;  // NOLINT(google-build-using-namespace): the program's own main

namespace {

/** Held for the life of the process; nobody else reads it. */
sp<KavelKeventThread> sKeventThread;

/** A set-up that fails ends the thread, not the daemon. */
void startKeventThread() {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel]: startKavelKeventThread\n");
    sKeventThread = new KavelKeventThread(KavelRecvKeventFunc);
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel]: run dravo_kavel_kevent\n");
    sKeventThread->run("dravo_kavel_kevent", 0, 0);
}

/** A system dump that was cut short by a reboot is packed from what it had already written. */
void restartInterruptedDump() {
    if (base::GetProperty("persist.sys.kvl.dumping", "false") != "true") return;
    property_set("sys.kavel.repackonly", "true");
    property_set("ctl.restart", "dumpstate_kavel");
}

}  // namespace

int main() {
    KAVEL_LOGI(KAVEL_TAG_BINDER, "[main]:dravo_kavel init start");

    digInit();
    // Before anything can come in: a folder made later is nobody's leftover.
    kavel::packLeftoverFolders();
    startKeventThread();
    restartInterruptedDump();
    std::thread(kavel_socketLoop).detach();

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
