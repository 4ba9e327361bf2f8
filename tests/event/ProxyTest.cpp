// Would catch a field that a client writes in another place or width than the daemon reads it, a
// log line with another text, and a report that is lost without one.

#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <utils/String8.h>

#include "event/IKavelBinder.h"
#include "tests/fake/FakeLog.h"

namespace android {
namespace {

/** Keeps what a client has written. */
class Wire : public BBinder {
  public:
    std::string text;

  private:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* /*reply*/,
                        uint32_t flags) override {
        std::ostringstream out;
        out << code << ' ' << flags << ' ' << data.enforceInterface(String16("KavelBinder")) << ' ';
        out << data.readInt64() << ' ';
        if (code == 2) {
            out << String8(data.readString16()).c_str() << ' ' << data.readBool();
            for (int i = 0; i < 4; ++i) out << ' ' << data.readInt64();
        } else {
            for (int i = 0; i < 2; ++i) out << data.readInt64() << ' ';
            for (int i = 0; i < 2; ++i) out << data.readInt32() << ' ';
            out << String8(data.readString16()).c_str();
        }
        out << ' ' << data.dataAvail();
        text = out.str();
        return code == 1 ? FAILED_TRANSACTION : NO_ERROR;
    }
};

std::string takeLog() {
    std::string log;
    for (const std::string& line : kavel::fake::takeLog()) log += line + "\n";
    return log;
}

TEST(KavelBinderProxy, WritesAndLogsEachField) {
    kavel::fake::captureLog();
    kavel::fake::clearLog();
    const sp<Wire> wire = new Wire;
    const sp<IKavelBinder> proxy = IKavelBinder::asInterface(wire);
    proxy->sendFrameworkEvent(1L << 40, -2, 3, 4, 5, String16("text"));
    EXPECT_EQ(wire->text, "1 1 1 1099511627776 -2 3 4 5 text 0");
    EXPECT_EQ(takeLog(), R"(I KavelBinder: send FrameworkEvent called
I KavelBinder: Bp sendFramworkEvent eventId: 1099511627776
I KavelBinder: Bp sendFramworkEvent timestamp: -2
I KavelBinder: Bp sendFramworkEvent logInfo: 3
I KavelBinder: Bp sendFramworkEvent pid: 4
I KavelBinder: Bp sendFramworkEvent uid: 5
I KavelBinder: Bp sendFramworkEvent extraInfo: text
E KavelBinder: sendFramworkEvent failed
)");
    proxy->updateEventParams(6, String16("name"), true, 7, 8, 9, 1L << 41);
    EXPECT_EQ(wire->text, "2 1 1 6 name 1 7 8 9 2199023255552 0");
    EXPECT_EQ(takeLog(), R"(I KavelBinder: send updateEventParams called
I KavelBinder: Bp updateEventParams eventId: 6
I KavelBinder: Bp updateEventParams eventName: name
I KavelBinder: Bp updateEventParams isEnable: 1
I KavelBinder: Bp updateEventParams reportFreq: 7
I KavelBinder: Bp updateEventParams logInfo: 8
I KavelBinder: Bp updateEventParams timeWindow: 9
I KavelBinder: Bp updateEventParams recoverId: 2199023255552
)");
}

}  // namespace
}  // namespace android
