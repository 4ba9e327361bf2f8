// Catches measurements that are read from the wrong column, or lost.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "desk/cause/FindCause.h"
#include "desk/parse/CpuUsage.h"
#include "desk/parse/MemInfo.h"

namespace kaveldesk {
namespace {

std::string textOf(const TopTable& top) {
    std::string text =
            top.total ? fmt::format("{:.1f}/{:.1f}", top.total->percent, top.total->ioWait) : "-";
    for (const CpuShare& share : top.shares) {
        text += fmt::format(" {}:{}={:g}@{}", share.pid, share.name, share.percent, share.line);
    }
    return text;
}

TEST(Usage, TopOfAllForms) {
    const struct {
        const char* text;
        const char* expected;
    } kRows[] = {
            {"400%cpu  17%user   0%nice  43%sys 300%idle  40%iow   0%irq\n"
             "  PID USER         PR  NI VIRT  RES  SHR S[%CPU] %MEM     TIME+ ARGS\n"
             " 1234 u0_a123      10 -10 5.1G 171M 105M S 26.6   2.2   0:12.34 com.example.app --x\n"
             "   77 system       -2   0  10M   1M   1M R100.0   0.1   9:12.34 hog\n"
             " unknown line\n",
             "25.0/10.0 1234:com.example.app=26.6@3 77:hog=100@4"},
            {"  PID   TID USER         PR  NI[%CPU]S VIRT  RES PCY CMD             NAME\n"
             "  916   916 rootabcdefghij 18  -2  1.5 S 4.6G 404M  fg system_server   "
             "system_server\n"
             "  916   920 system       18  -2  2.0 R 4.6G 404M  fg a thread   system_server\n",
             "- 916:system_server=3.5@2"},
            {"User 3%, System 3%, IOW 0%, IRQ 0%\n"
             "  PID PR CPU% S  #THR     VSS     RSS PCY UID      Name\n"
             "  381  0  24% S    11 178192K  81684K  fg drm      drmserver\n",
             "- 381:drmserver=24@3"},
    };
    for (const auto& row : kRows) EXPECT_EQ(textOf(parseTop(row.text)), row.expected) << row.text;
}

TEST(Usage, SeriesOfFilesAndBlocks) {
    Evidence evidence;
    const auto add = [&](FileKind kind, const char* text) {
        EvidenceFile& file = evidence.files.emplace_back();
        file.kind = kind;
        file.text = text;
        file.collectedUtcNs = 5'000'000'000;
    };
    add(FileKind::CpuInfo,
        "CPU usage from 9000ms to 2000ms ago (x):\n  12% 900/system_server: 8% user + 4% kernel\n"
        "    3% 901/Thread: 3% user\n 80% TOTAL: 40% user + 10% kernel + 30% iowait + 0% "
        "softirq\n");
    add(FileKind::ProcMemInfo,
        "MemTotal:  353332 kB\nMemAvailable:    65420 kB\nHugePages_Total:  0\n");
    add(FileKind::MemInfo,
        "Total PSS by process:\n    231,345K: com.example.app (pid 2001 / activities)\n\nTotal PSS "
        "by OOM adjustment:\n    99K: System\n");
    std::string text;
    for (const Series& series : usageSeries(evidence, {})) {
        for (const auto& [utcNs, value, place] : series.points) {
            text += fmt::format("{}={:g}@{}s {}:{}\n", series.name, value, utcNs / 1'000'000'000,
                                place.file, place.line);
        }
    }
    EXPECT_EQ(text,
              "TOTAL=80@3s 0:4\nTOTAL iowait=30@3s 0:4\nsystem_server=12@3s "
              "0:2\nMemTotal=353332@5s 1:1\n"
              "com.example.app=231345@5s 2:2\nMemAvailable=65420@5s 1:2\n");
}

}  // namespace
}  // namespace kaveldesk
