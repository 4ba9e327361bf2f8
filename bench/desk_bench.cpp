// Makes an archive with the logs of a busy phone, and measures how kaveldesk reads it.
//
// desk_bench make DIRECTORY SEED MEGABYTES   prints the path of the archive
// desk_bench read ARCHIVE                    prints the time of each step and the most memory

#include <archive.h>
#include <archive_entry.h>
#include <fmt/core.h>
#include <sys/resource.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "desk/parse/Time.h"
#include "desk/read/Read.h"
#include "desk/timeline/BuildTimeline.h"

namespace {

using namespace kaveldesk;  // NOLINT(google-build-using-namespace): its own program

constexpr const char* kFolder =
        "kavel_bench_com.example.app@844b757f0199c080@V1@2026-11-21-08-33-31-583";
constexpr int64_t kEventNs = 1'795'246'411'583'000'000;  // 2026-11-21 07:33:31.583 UTC
constexpr int32_t kOffset = 3600;

constexpr std::string_view kWords[] = {
        "ActivityManager",
        "start",
        "proc",
        "com.example.app",
        "finished",
        "in",
        "ms",
        "binder",
        "thread",
        "waiting",
        "for",
        "lock",
        "held",
        "by",
        "WindowManager",
        "focus",
        "changed",
        "display",
        "frame",
        "skipped",
        "GC",
        "freed",
        "objects",
        "paused",
        "wakelock",
        "released",
        "sensor",
        "0x7f3a2b",
};

class Writer {
  public:
    Writer(const std::string& path, uint32_t seed) : mRandom(seed), mHandle(archive_write_new()) {
        archive_write_set_format_gnutar(mHandle);
        archive_write_add_filter_gzip(mHandle);
        archive_write_set_options(mHandle, "gzip:compression-level=3");
        if (archive_write_open_filename(mHandle, path.c_str()) != ARCHIVE_OK) std::abort();
    }
    ~Writer() { archive_write_free(mHandle); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /** Two dumps of one log. The second lacks a quarter of the first and has as much new. */
    void addLog(const std::string& stem, size_t bytes) {
        const size_t whole = bytes / 8 * 5;  // of the log over both dumps: two dumps are 8/5 of it
        std::string text;
        std::vector<size_t> starts;
        const auto lines = static_cast<int64_t>(whole / 110);
        for (int64_t i = 0; text.size() < whole; ++i) {
            starts.push_back(text.size());
            appendLine(stem, (i - lines) * 2 * (kNsPerSecond / 1000), text);
        }
        const size_t fifth = starts.size() / 5;
        add(stem + "-2026-11-21-08-33-31-700.txt", text.substr(0, starts[starts.size() - fifth]));
        add(stem + "-2026-11-21-08-33-41-700.txt", text.substr(starts[fifth]));
    }

    void add(const std::string& name, const std::string& text) {
        archive_entry* const entry = archive_entry_new();
        const std::string path = std::string("data/persist_log/kavel30/") + kFolder + "/" + name;
        archive_entry_set_pathname(entry, path.c_str());
        archive_entry_set_size(entry, static_cast<int64_t>(text.size()));
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_perm(entry, 0644);
        if (archive_write_header(mHandle, entry) != ARCHIVE_OK ||
            archive_write_data(mHandle, text.data(), text.size()) < 0) {
            std::abort();
        }
        archive_entry_free(entry);
    }

  private:
    void appendLine(const std::string& stem, int64_t beforeNs, std::string& text) {
        const size_t begin = text.size();
        if (stem == "kernel") {
            text += fmt::format("<6>[{:5}.{:06}] ",
                                (500'000 * kNsPerSecond + beforeNs) / kNsPerSecond,
                                mRandom() % 1'000'000);
        } else {
            text += timeText(kEventNs + beforeNs, kOffset).substr(5);
            text += fmt::format(" {:5} {:5} {} {:<8}: ", 1000 + mRandom() % 200,
                                1000 + mRandom() % 4000, "VDIWE"[mRandom() % 5],
                                kWords[mRandom() % std::size(kWords)]);
        }
        while (text.size() - begin < 109) {
            text += kWords[mRandom() % std::size(kWords)];
            text += fmt::format(" {} ", mRandom() % 10'000);
        }
        text += '\n';
    }

    std::minstd_rand mRandom;
    archive* mHandle;
};

double cpuSeconds() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void make(const std::string& directory, uint32_t seed, size_t megabytes) {
    const std::string path = directory + "/" + kFolder + ".tar.gz";
    Writer writer(path, seed);
    const size_t twentieth = megabytes * 1'000'000 / 20;
    writer.addLog("android", twentieth * 12);
    writer.addLog("events", twentieth * 3);
    writer.addLog("radio", twentieth * 2);
    writer.addLog("kernel", twentieth * 3);
    writer.add("kavel_history.txt",
               "EventType:bench,Timestamp:2026-11-21-08-33-31-583,loginfo:101003,eventID:1\n");
    fmt::print("{}\n", path);
}

void read(const std::string& path) {
    const double started = cpuSeconds();
    const Evidence evidence = readEvidence(path);
    const double unpacked = cpuSeconds();
    const Timeline timeline = buildTimeline(evidence);
    const double merged = cpuSeconds();
    uint64_t bytes = 0;
    for (const EvidenceFile& file : evidence.files) bytes += file.text.size();
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    fmt::print("text_mb={:.1f} records={} unpack_s={:.2f} merge_s={:.2f} rss_mb={:.0f}\n",
               static_cast<double>(bytes) / 1e6, timeline.records.size(), unpacked - started,
               merged - unpacked, static_cast<double>(usage.ru_maxrss) * 1024 / 1e6);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 4 && arguments[0] == "make") {
        make(arguments[1], static_cast<uint32_t>(std::stoul(arguments[2])),
             std::stoul(arguments[3]));
    } else if (arguments.size() == 2 && arguments[0] == "read") {
        read(arguments[1]);
    } else {
        fmt::print(stderr, "usage: desk_bench make DIRECTORY SEED MEGABYTES | read ARCHIVE\n");
        return 2;
    }
    return 0;
}
