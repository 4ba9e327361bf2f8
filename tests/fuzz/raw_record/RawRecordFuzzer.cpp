// Any sequence of records, one to a line: split, parse and match must neither stumble nor answer
// otherwise than the plain lists do.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "dig/RawRecord.h"
#include "dig/dig.h"
#include "tests/dig/PlainLists.h"
#include "tests/fake/LogFunction.h"

namespace {

using android::kavel::RawRecord;
using android::kavel::RecordFault;
using android::kavel::test::PlainLists;

// As long as the socket's reader can hand on.
constexpr size_t kMaxRecord = 255;

std::string sFreeze;

void keepFreeze(const android::kavel::fake::PassingLine& line) {
    if (strncmp(line.text, "Kavel found", strlen("Kavel found")) == 0) sFreeze = line.text;
}

std::string freezeLine(int64_t id, std::optional<int64_t> before) {
    if (!before) return "";
    char line[100];
    snprintf(line, sizeof(line), "Kavel found freezen event0 %llx event1 %llx ",
             static_cast<unsigned long long>(id), static_cast<unsigned long long>(*before));
    return line;
}

void require(bool holds, const char* what, const std::string& record) {
    if (holds) return;
    fprintf(stderr, "%s: %s\n", what, record.c_str());
    abort();
}

void sendBoth(std::string record, PlainLists& plain) {
    const std::string original = record;
    const RawRecord parsed = android::kavel::parseRawRecord(record.data());
    sFreeze.clear();
    android::sendRawEvent(record.data());
    require(record == original, "the text was changed", original);
    const std::string expected = parsed.fault == RecordFault::None
                                         ? freezeLine(parsed.id, plain.send(parsed.id, parsed.time))
                                         : "";
    require(sFreeze == expected, "the plain lists answer otherwise", original);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(android::kavel::fake::LogFunction<keepFreeze>::log);
    return freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;  // a line for each event
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    android::digInit();
    PlainLists plain;
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        sendBoth(text.substr(start, std::min(end - start, kMaxRecord)), plain);
        start = end + 1;
    }
    android::digExit();
    return 0;
}
