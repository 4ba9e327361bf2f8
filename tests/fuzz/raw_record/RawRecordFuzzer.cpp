// Any sequence of records, one in each line. Would catch a crash, a text that is changed, and an
// answer that differs from that of the plain lists.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>

#include "dig/ControlSocket.h"
#include "dig/RawRecord.h"
#include "dig/dig.h"
#include "tests/dig/PlainLists.h"
#include "tests/fake/FakeLog.h"
#include "tests/fuzz/Require.h"

using namespace android::kavel;  // NOLINT(google-build-using-namespace): a program of its own

namespace {

std::string sFreeze;

void keepFreeze(int /*priority*/, const char* /*tag*/, const char* text) {
    if (strncmp(text, "Kavel found", strlen("Kavel found")) == 0) sFreeze = text;
}

/** The line that the plain lists lead to; empty for none. */
std::string expectedFreeze(const RawRecord& record, test::PlainLists& plain) {
    if (record.fault != RecordFault::None) return "";
    const std::optional<int64_t> before = plain.send(record.id, record.time);
    std::ostringstream line;
    line << std::hex << "Kavel found freezen event0 " << record.id << " event1 ";
    if (before) line << *before << ' ';
    return before ? line.str() : "";
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(fake::LogFunction<keepFreeze>::log);
    return freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;  // a line for each event
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    android::digInit();
    test::PlainLists plain;
    std::istringstream text(std::string(reinterpret_cast<const char*>(data), size));
    for (std::string line; std::getline(text, line);) {
        line.resize(std::min(line.size(), kMaxRawRecord));
        std::string record = line;
        sFreeze.clear();
        android::sendRawEvent(record.data());
        require(record == line, "the text is as it was");
        require(sFreeze == expectedFreeze(parseRawRecord(line.c_str()), plain), "the same freeze");
    }
    android::digExit();
    return 0;
}
