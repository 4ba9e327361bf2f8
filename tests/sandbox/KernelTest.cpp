// The whole path of a kernel's report, in this process: the daemon's own thread, decoder and
// handler, with a kernel of the test and the files of the phone.

#include <gtest/gtest.h>

#include "core/KavelRecvKeventFunc.h"
#include "handler/KavelEventHandler.h"
#include "tests/core/Messages.h"
#include "tests/core/TestKernel.h"
#include "tests/sandbox/PhoneSession.h"

namespace android::kavel::test {
namespace {

// Would catch a report that gets lost on any part of the path to its archive.
TEST(KernelTest, EventBecomesAnArchive) {
    constexpr int64_t kEvent = 257;
    EventParameters& parameters = KavelEventHandler::getInstance().parameters();
    parameters.updateEventParams(kEvent, true, 0);
    parameters.setTimeWindow(kEvent, 60'000);
    parameters.setEventIdMap(0, kEvent, "kernel");

    TestKernel kernel;
    kernel.messages = {familyReply(0x1c),
                       genlMessage(KEVENT_TYPE_EVENT,
                                   packet(0, "CriticalLog", "Kavel",
                                          "event_id: 257.loginfo: 524288.pid: 1.extrainfo: boot"))};
    const sp<KavelKeventThread> thread = new KavelKeventThread(KavelRecvKeventFunc);
    kernel.run(*thread);

    const tools::ArchiveContents archive = awaitArchive("kavel_kernel_boot@");
    EXPECT_EQ(archive.broken, "");
    EXPECT_TRUE(holds(archive, "prop-"));
    EXPECT_NE(archive.history.find("EventType:kernel,"), std::string::npos) << archive.history;
}

}  // namespace
}  // namespace android::kavel::test
