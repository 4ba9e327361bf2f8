// Would catch a step of the start that is missing, in another place or with other values: a folder
// that is packed after the first report could be made, a kernel thread that does not run, a dump
// that a reboot interrupted and that nobody packs, or any other value taken for that, and a service
// with another name or for isolated processes.

#include <string>
#include <vector>

#include <binder/IServiceManager.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/String8.h>

#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"

int daemonMain();  // the daemon's main()

namespace android::kavel {
namespace {

using testing::ElementsAre;

/** Logs what it is asked to add. */
class Manager : public IServiceManager {
    sp<IBinder> getService(const String16& /*name*/) const override { return nullptr; }
    sp<IBinder> checkService(const String16& /*name*/) const override { return nullptr; }
    status_t addService(const String16& name, const sp<IBinder>& service, bool allowIsolated,
                        int dumpsysFlags) override {
        fake::note(std::string("service ") + String8(name).string() + ", " +
                   String8(service->getInterfaceDescriptor()).string() + ", " +
                   std::to_string(allowIsolated) + ", " + std::to_string(dumpsysFlags));
        return OK;
    }
    Vector<String16> listServices(int /*dumpsysFlags*/) override { return {}; }
    sp<IBinder> waitForService(const String16& /*name*/) override { return nullptr; }
    bool isDeclared(const String16& /*name*/) override { return false; }
    IBinder* onAsBinder() override { return nullptr; }
};

}  // namespace

// These take the places of what main() calls: the linker wraps the symbols.
sp<IServiceManager> manager() asm("__wrap__ZN7android21defaultServiceManagerEv");
sp<IServiceManager> manager() {
    return new Manager;
}
extern "C" {
void __wrap__ZN7android7digInitEv() {
    fake::note("digInit");
}
void __wrap__ZN7android5kavel19packLeftoverFoldersEv() {
    fake::note("packLeftoverFolders");
}
status_t __wrap__ZN7android6Thread3runEPKcim(void* /*self*/, const char* name, int32_t priority,
                                             size_t stack) {
    fake::note(std::string("run ") + name + ", " + std::to_string(priority) + ", " +
               std::to_string(stack));
    return OK;
}
int __wrap_property_set(const char* name, const char* value) {
    fake::note(std::string(name) + "=" + value);
    return 0;
}
int __wrap__ZN7android16kavel_socketLoopEv() {
    fake::note("kavel_socketLoop");
    return 0;
}
status_t __wrap__ZN7android12ProcessState27setThreadPoolMaxThreadCountEm(void* /*self*/,
                                                                         size_t count) {
    fake::note("threads " + std::to_string(count));
    return OK;
}
void __wrap__ZN7android12ProcessState15startThreadPoolEv(void* /*self*/) {
    fake::note("startThreadPool");
}
void __wrap__ZN7android14IPCThreadState14joinThreadPoolEb(void* /*self*/, bool isMain) {
    EXPECT_TRUE(fake::awaitLog("kavel_socketLoop"));
    fake::note("joinThreadPool " + std::to_string(isMain));
}
}

namespace {

TEST(Start, TakesItsStepsInOrder) {
    fake::captureLog();
    for (const char* const dumping : {"", "TRUE", "1", "true ", "true"}) {
        fake::setProperty("persist.sys.kvl.dumping", dumping);
        EXPECT_EQ(daemonMain(), 0);
        EXPECT_EQ(fake::logCount("kavel_socketLoop"), 1U);
        std::vector<std::string> lines = fake::takeLog();  // without that one, of another thread
        if (dumping == std::string("true")) {
            EXPECT_EQ(lines.at(6), "V sys.kavel.repackonly=true");
            EXPECT_EQ(lines.at(7), "V ctl.restart=dumpstate_kavel");
            lines.erase(lines.begin() + 6, lines.begin() + 8);
        }
        EXPECT_THAT(lines,
                    ElementsAre("I KavelBinder: [main]:dravo_kavel init start", "V digInit",
                                "V packLeftoverFolders", "I [dravo_kavel]: startKavelKeventThread",
                                "I [dravo_kavel]: run dravo_kavel_kevent",
                                "V run dravo_kavel_kevent, 0, 0",
                                "I KavelBinder: [addService]: KavelBinderService service added to "
                                "defaultServiceManager.",
                                "V service KavelBinderService, KavelBinder, 0, 8", "V threads 16",
                                "V startThreadPool", "V joinThreadPool 1"))
                << dumping;
    }
}

}  // namespace
}  // namespace android::kavel
