// The daemon: starts its inputs in order, then serves binder calls. Reports arrive in two ways: the
// framework calls KavelBinderService on a binder thread; the kernel's packets reach
// KavelRecvKeventFunc on the thread of KavelKeventThread. Both call KavelEventHandler, which is
// built on first use. Raw records arrive over the control socket and go only to the matcher
// (sendRawEvent()).

#include <thread>

#include <cutils/properties.h>

#include <android-base/properties.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "core/KavelBinderService.h"
#include "core/KavelKeventThread.h"
#include "core/KavelRecvKeventFunc.h"
#include "dig/ControlSocket.h"
#include "dig/dig.h"
#include "dump/LeftoverFolders.h"
#include "platform/Log.h"

using namespace android;  // NOLINT(google-build-using-namespace): the program's own main

namespace {

/** Keeps the thread alive as long as the process; not read. */
sp<KavelKeventThread> sKeventThread;

/** If the set-up fails, the thread ends and the daemon continues. */
void startKeventThread() {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel]: startKavelKeventThread\n");
    sKeventThread = new KavelKeventThread(KavelRecvKeventFunc);
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel]: run dravo_kavel_kevent\n");
    sKeventThread->run("dravo_kavel_kevent", 0, 0);
}

/**
 * If a reboot interrupted a system dump, asks for a pack of the files that it has already written.
 */
void restartInterruptedDump() {
    if (base::GetProperty("persist.sys.kvl.dumping", "false") != "true") return;
    property_set("sys.kavel.repackonly", "true");
    property_set("ctl.restart", "dumpstate_kavel");
}

}  // namespace

int main() {
    KAVEL_LOGI(KAVEL_TAG_BINDER, "[main]:dravo_kavel init start");

    digInit();
    // Before anything can be reported: a folder that is made later is not a leftover.
    kavel::packLeftoverFolders();
    startKeventThread();
    restartInterruptedDump();
    std::thread(kavel_socketLoop).detach();

    // Logged before the registration, because readers of the log expect this order.
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
