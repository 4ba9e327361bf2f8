#include "desk/parse/LogLine.h"

#include <fmt/core.h>
#include <gtest/gtest.h>

#include <string>

namespace kaveldesk {
namespace {

std::string headText(std::string_view line, const LineHead& head) {
    return fmt::format("{} {}/{} {}|{}", static_cast<int>(head.level), head.pid, head.tid,
                       line.substr(head.tagAt, head.tagLength), line.substr(head.messageAt));
}

std::string logcatText(std::string_view line) {
    const auto parsed = parseLogcatLine(line);
    if (!parsed) return "-";
    const Stamp& stamp = parsed->stamp;
    return fmt::format("{}-{}-{} {}{} ", stamp.year, stamp.month, stamp.day, stamp.nsOfDay,
                       stamp.hasZone ? fmt::format("{:+}", stamp.zoneSeconds) : "") +
           headText(line, parsed->head);
}

TEST(LogLine, Logcat) {
    const struct {
        const char* line;
        const char* expected;
    } kRows[] = {
            {"01-02 00:00:01.5  1234  1235 D tag     : text: more",
             "-1-1-2 1500000000 2 1234/1235 tag|text: more"},
            {"2022-01-02 00:00:00.171997 +1030  9346  9347 E AppTag : text",
             "2022-1-2 171997000+37800 5 9346/9347 AppTag|text"},
            {"2022-01-02 00:00:00.1 -0800  1000  1885  3066 F App  : text",
             "2022-1-2 100000000-28800 6 1885/3066 App|text"},
            {"12-26 00:00:00.000  lmkd   155   156 I lowmemorykiller: text",
             "-1-12-26 0 3 155/156 lowmemorykiller|text"},
            {"01-13 00:00:00.000  1542  1542 W /system/bin/x: y: z",
             "-1-1-13 0 4 1542/1542 /system/bin/x|y: z"},
            {"01-02 00:00:00.000 I/some tag(  190): text", "-1-1-2 0 3 190/0 some tag|text"},
            {"2022-01-02 00:00:00.0 +0000 V/A (b)    ( 1080: 1179): text",
             "2022-1-2 0+0 1 1080/1179 A (b)|text"},
            {"02-29 00:00:00.000     1     2 A t: ", "-1-2-29 0 6 1/2 t|"},
            {"01-02 00:00:00.000     1     2 I tag     :", "-1-1-2 0 3 1/2 tag|"},
            {"01-02 00:00:00.000     1     2 I no tag", "-1-1-2 0 3 1/2 |no tag"},
            {"--------- beginning of main", "-"},
            {"02-30 00:00:00.000     1     2 I t: no such day", "-"},
            {"2023-02-29 00:00:00.000     1     2 I t: no such day", "-"},
            {"1013-11-21 00:00:00.000     1     2 I t: no such year", "-"},
            {"01-02 24:00:00.000     1     2 I t: no such hour", "-"},
            {"01-02 00:00:00.000     1 99999999999 I t: no such thread", "-"},
            {"01-02 00:00:00.000", "-"},
            {"\tat java.lang.Object.wait(Native Method)", "-"},
    };
    for (const auto& row : kRows) EXPECT_EQ(logcatText(row.line), row.expected) << row.line;
}

TEST(LogLine, Kernel) {
    const struct {
        const char* line;
        const char* expected;
    } kRows[] = {
            {"[   12.345678] text", "12345678000 0 0/0 |text"},
            {"<6>[   12.5] binder: 1:2 text", "12500000000 3 0/0 binder|1:2 text"},
            {"<14>[    0.000001][    T1] init: text", "1000 3 0/1 init|text"},
            {"<2>[ 1.0][   C0] a b: c", "1000000000 6 0/0 a b|c"},
            {"[  610.334229][ T1478]  __switch_to+0x210/0x450",
             "610334229000 0 0/1478 | __switch_to+0x210/0x450"},
            {"[ BUG: bad unlock balance detected! ]", "-"},
            {"<6>text", "-"},
            {"<99999>[ 1.0] text", "-"},
            {"[ 12.5 text", "-"},
    };
    for (const auto& row : kRows) {
        const auto parsed = parseKernelLine(row.line);
        const std::string text =
                parsed ? fmt::format("{} ", parsed->bootNs) + headText(row.line, parsed->head)
                       : "-";
        EXPECT_EQ(text, row.expected) << row.line;
    }
}

TEST(LogLine, WallClockInKernelLine) {
    const struct {
        const char* line;
        const char* expected;
    } kRows[] = {
            {"PM: suspend exit 2015-08-28 01:32:45.111006517 UTC", "2015-08-28 01:32:45.111"},
            {"rtc: setting system clock to 2022-01-02T01:20:03 UTC (1641086403)",
             "2022-01-02 01:20:03.000"},
            {"audit: type=1400 audit(1641086403.123:4): avc:", "2022-01-02 01:20:03.123"},
            {"audit: type=2000 audit(0.0:1): state=initialized", "-"},
            {"rtc: setting system clock to 1970-01-02T01:20:03 UTC", "-"},
            {"audit: type=1400 audit(9999999999.0:1): no such time", "-"},
            {"the zone is UTC", "-"},
    };
    for (const auto& row : kRows) {
        const auto ns = wallClockInKernelLine(row.line);
        EXPECT_EQ(ns ? timeText(*ns, 0) : "-", row.expected) << row.line;
    }
}

}  // namespace
}  // namespace kaveldesk
