// Writes a page with a made-up deadlock for page_test.mjs: SamplePage OUT LINES. LINES is the
// length of its main log. Some of its texts try to be more than text.
#include <cstdlib>
#include <fstream>
#include <string>

#include <fmt/core.h>

#include "desk/report/WriteReport.h"

namespace kaveldesk {
namespace {

constexpr int64_t kEventNs = 1'780'000'000'000'000'000;
constexpr int64_t kSecond = 1'000'000'000;
constexpr uint32_t kTrace = 3;
constexpr const char* kHostile[] = {
        "<script>document.title='taken'</script>", "</script><img src=x onerror=alert(1)>",
        "\"quotes' & <b>entities</b> &lt;", "control \x01\x1b[31m\x7f bytes \xff\xfe end",
        // NOLINTNEXTLINE(misc-misleading-bidirectional): the page has to show it
        "direction \xe2\x80\xae override"};

/** Collects the lines of files and their records, in time order. */
struct Page {
    Evidence evidence;
    Timeline timeline;

    uint32_t addFile(const std::string& name, FileKind kind, int round, std::string text = {}) {
        evidence.files.push_back({name, text, text.size(), kind, round});
        return static_cast<uint32_t>(evidence.files.size() - 1);
    }
    void addLine(uint32_t index, int64_t utcNs, Level level, const std::string& tag,
                 const std::string& message) {
        auto& file = evidence.files[index];
        const auto at = (utcNs + evidence.incident.utcOffsetSeconds * kSecond) / 1'000'000;
        const auto head = fmt::format("05-28 {:02}:{:02}:{:02}.{:03}  1873  1901 {} ",
                                      at / 3'600'000 % 24, at / 60'000 % 60, at / 1000 % 60,
                                      at % 1000, "?VDIWEF"[static_cast<size_t>(level)]);
        Record record;
        record.utcNs = utcNs;
        record.place = {index, 0};
        record.begin = static_cast<uint32_t>(file.text.size());
        record.tagAt = static_cast<uint32_t>(head.size());
        record.tagLength = static_cast<uint16_t>(tag.size());
        record.messageAt = static_cast<uint32_t>(head.size() + tag.size() + 2);
        record.length = record.messageAt + static_cast<uint32_t>(message.size());
        record.level = level;
        record.source = file.kind;
        record.pid = 1873;
        record.tid = 1901;
        file.text += head + tag + ": " + message + "\n";
        file.size = file.text.size();
        timeline.records.push_back(record);
    }
};

void addLogs(Page& page, size_t lines) {
    static constexpr struct {
        Level level;
        const char* tag;
        const char* message;
    } kSayings[] = {
            {Level::Debug, "Choreographer", "frame {} drawn in {} us"},
            {Level::Info, "SyncWorker", "page {} stored, {} rows"},
            {Level::Verbose, "Cache", "hit {} of {}"},
            {Level::Debug, "NetworkQueue", "request {} done after {} ms"},
            {Level::Info, "PowerMeter", "step {}, {} mA"},
            {Level::Warn, "NotesStore", "transaction {} open for {} ms"},
            {Level::Error, "NotesStore", "cannot lock row {} after {} ms"},
    };
    uint32_t seed = 7;
    const auto random = [&seed](uint32_t below) {
        seed = static_cast<uint32_t>((uint64_t{seed} * 1103515245 + 12345) & 0x7fffffff);
        return seed / 64 % below;
    };
    const int64_t step = 200 * kSecond / static_cast<int64_t>(lines);
    for (size_t i = 0; i < lines; ++i) {
        const auto utcNs = kEventNs - 180 * kSecond + step * static_cast<int64_t>(i);
        const bool isLate = utcNs > kEventNs - 8 * kSecond && utcNs < kEventNs;
        const auto pick = random(isLate ? 40 : 400);
        const auto& saying = kSayings[pick < 2 ? 6 : pick < 6 ? 5 : random(5)];
        page.addLine(0, utcNs, saying.level, saying.tag,
                     fmt::format(fmt::runtime(saying.message), random(9000), random(90)));
        if (i % 16 == 3)
            page.addLine(1, utcNs, Level::Info, "am_pss", fmt::format("[{},10123]", i));
        if (i % 40 == 7) page.addLine(2, utcNs, isLate ? Level::Warn : Level::Info, "cpu", "idle");
    }
    for (const char* text : kHostile)
        page.addLine(0, kEventNs + 21 * kSecond, Level::Error, "Hostile", text);
    page.addLine(0, kEventNs + 22 * kSecond, Level::Fatal, "Hostile",
                 std::string(1 << 20, 'x') + " tail");
    page.addLine(1, kEventNs + 23 * kSecond, Level::Info, "am_anr", "needle-in-events");
}

Thread thread(const std::string& name, int tid, uint32_t line, const std::string& waitsFor,
              int heldBy, const std::string& holds) {
    Thread out;
    out.name = name;
    out.state = waitsFor.empty() ? "Native" : "Blocked";
    out.tid = tid;
    out.sysTid = 1870 + tid;
    out.firstLine = line;
    if (!waitsFor.empty()) {
        out.locks.push_back({Lock::Relation::WaitsToLock, waitsFor, "com.example.notes.Store",
                             heldBy, line + 2});
    }
    if (!holds.empty()) {
        out.locks.push_back(
                {Lock::Relation::Holds, holds, "com.example.notes.Session", 0, line + 4});
    }
    const auto frame = [&](const std::string& text, uint32_t at, bool isNative) {
        out.frames.push_back({text, text, "", isNative, at});
    };
    frame("com.example.notes.Store.read(Store.java:214)", line + 1, false);
    frame("com.example.notes.Session.load(Session.java:88)", line + 3, false);
    frame("android.os.Handler.handleCallback(Handler.java:958)", line + 5, false);
    frame("/system/lib64/libc.so (syscall+28)", line + 6, true);
    return out;
}

Verdict verdict(Page& page) {
    Verdict out;
    out.kind = "anr";
    out.headline =
            "The main thread of com.example.notes waits for a lock of thread SyncWorker, which "
            "waits for a lock of the main thread.";
    out.isEnough = true;
    out.findings = {
            {"anr.lock-cycle",
             Finding::Weight::Cause,
             "Threads main and SyncWorker wait for each other's locks.",
             {{{kTrace, 3},
               "  - waiting to lock <0x0a1> (a com.example.notes.Store) held by thread 18"},
              {{kTrace, 11},
               "  - waiting to lock <0x0b2> (a com.example.notes.Session) held by thread 1"}}},
            {"cpu.starvation",
             Finding::Weight::Contributing,
             "The CPU was 93 % busy in the minute before the event.",
             {{{4, 2}, "93% TOTAL: 61% user + 32% kernel"}}},
            {"log.hostile", Finding::Weight::Observation, kHostile[0], {{{0, 1}, kHostile[1]}}},
    };
    out.missing = {"Round 2 of the kernel log is empty.",
                   "The mask asks for binder transactions; the archive has none."};
    out.signature = {"anr", "com.example.notes", "Store.read", "Session.load", "SyncWorker"};
    out.fingerprint = "5f0c9a3be1774d20";
    ThreadDump dump;
    dump.process = "com.example.notes";
    dump.pid = 1873;
    dump.utcNs = kEventNs + kSecond;
    dump.subject = "Input dispatching timed out";
    dump.file = kTrace;
    dump.firstLine = 1;
    dump.threads = {thread("main", 1, 1, "0x0a1", 18, "0x0b2"),
                    thread("SyncWorker", 18, 9, "0x0b2", 1, "0x0a1"),
                    thread("AutoSave", 21, 17, "0x0a1", 18, ""),
                    thread("Indexer", 22, 25, "0x0c3", 0, ""),
                    thread("WidgetUpdate", 23, 33, "0x0d4", 21, ""),
                    thread("Binder:1873_1", 9, 41, "", 0, ""),
                    thread("HeapTaskDaemon", 7, 49, "", 0, ""),
                    thread("</script><b>x", 30, 57, "", 0, "")};
    std::string trace;
    for (int i = 1; i <= 70; ++i) trace += fmt::format("trace line {}\n", i);
    page.evidence.files[kTrace].text = trace;
    page.evidence.files[kTrace].size = trace.size();
    out.dumps.push_back(dump);
    dump.process = "system_server";
    dump.threads.erase(dump.threads.begin(), dump.threads.begin() + 3);
    out.dumps.push_back(dump);
    return out;
}

std::vector<Series> usage() {
    std::vector<Series> out;
    int number = 3;
    for (const char* name :
         {"com.example.notes", "system_server", "surfaceflinger", "kswapd0", "lmkd"}) {
        Series series{name, Series::Unit::Percent, {}};
        for (int i = 0; i < 12; ++i) {
            number = (number * 37 + 11) % 101;
            series.points.push_back(
                    {kEventNs + (i * 15 - 160) * kSecond, number * (i + 2) / 14.0, {4, 2}});
        }
        out.push_back(series);
    }
    for (const char* name : {"MemAvailable", "SwapFree"}) {
        Series series{name, Series::Unit::KiloBytes, {}};
        for (int i = 0; i < 12; ++i) {
            series.points.push_back({kEventNs + (i * 15 - 160) * kSecond,
                                     2.1e6 - i * 1.4e5 - 3e5 * (name[0] == 'S'),
                                     {4, 3}});
        }
        out.push_back(series);
    }
    return out;
}

void writeSample(const char* path, size_t lines) {
    Page page;
    auto& incident = page.evidence.incident;
    incident = {"kavel_anr_com.example.notes@0x101@OTA7@20260528-223640.tar.gz",
                "anr",
                0x101,
                "com.example.notes",
                "4.2.0",
                "",
                "OTA7",
                1873,
                10123,
                0x1b,
                kEventNs,
                7200,
                true};
    // Only this name is absolute: the names have no folder in common.
    page.addFile("/log/main_log.txt", FileKind::MainLog, 1);
    page.addFile("events_log.txt", FileKind::EventsLog, 1);
    page.addFile("kernel_log.txt", FileKind::KernelLog, 1);
    page.addFile("anr/anr_1873.txt", FileKind::AnrTrace, 1);
    page.addFile("top.txt", FileKind::Top, 1,
                 "Tasks\n93% TOTAL: 61% user + 32% kernel\nMemAvailable\n");
    page.addFile("systrace.perfetto", FileKind::SystemTrace, 0);
    page.evidence.files.back().size = 4'200'000;
    page.evidence.problems = {{"systrace.perfetto", "A system trace is not text."}};
    addLogs(page, lines);
    page.timeline.marks = {{kEventNs, kEventNs, "event"},
                           {kEventNs + 2 * kSecond, kEventNs + 2 * kSecond, "round 1"},
                           {kEventNs, kEventNs + 15 * kSecond, "window"},
                           {kEventNs + 15 * kSecond, kEventNs + 15 * kSecond, "round 2"}};
    const auto found = verdict(page);
    std::ofstream out(path, std::ios::binary);
    writeReport(out, page.evidence, page.timeline, found, usage());
}

}  // namespace
}  // namespace kaveldesk

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    kaveldesk::writeSample(argv[1], std::strtoul(argv[2], nullptr, 10));
    return 0;
}
