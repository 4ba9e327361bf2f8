#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <json/value.h>
#include <json/writer.h>
#include <CLI/App.hpp>
#include <CLI/Validators.hpp>

#include "desk/cli/Commands.h"
#include "desk/cli/FilterOptions.h"
#include "desk/index/IndexArchives.h"
#include "desk/parse/Printable.h"

namespace kaveldesk {
namespace {

using Clock = std::chrono::steady_clock;

struct IndexCommandOptions {
    std::vector<std::string> paths;
    std::string db;
    unsigned jobs = 0;
    bool isJson = false;
};

std::atomic<bool> gStop = false;

/** While it exists, the first Ctrl-C sets gStop. The second ends the program: the database is good
 * at any time. */
class StopOnSignal {
  public:
    StopOnSignal() {
        struct sigaction action = {};
        action.sa_handler = [](int) { gStop = true; };
        action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
        for (size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &action, &mOld[i]);
    }
    ~StopOnSignal() {
        for (size_t i = 0; i < std::size(kSignals); ++i) {
            sigaction(kSignals[i], &mOld[i], nullptr);
        }
    }
    StopOnSignal(const StopOnSignal&) = delete;
    StopOnSignal& operator=(const StopOnSignal&) = delete;

  private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM};
    struct sigaction mOld[std::size(kSignals)] = {};
};

std::string leftText(double seconds) {
    const auto whole = static_cast<int64_t>(seconds);
    if (whole < 60) return fmt::format("{} s", whole);
    if (whole < 3600) return fmt::format("{} min {} s", whole / 60, whole % 60);
    return fmt::format("{} h {} min", whole / 3600, whole % 3600 / 60);
}

/** One line on a terminal: how much is done, how fast, how long it takes yet. */
class ProgressLine {
  public:
    ~ProgressLine() { clear(); }
    void clear() {
        if (mIsShown) fmt::print(stderr, "\r\033[K");
        mIsShown = false;
    }
    void show(const IndexCounts& counts, const IndexTotals& totals) {
        // What was known is passed over quickly: it says nothing about the time for the others.
        const double seconds = std::chrono::duration<double>(Clock::now() - mStart).count();
        const auto read = static_cast<double>(counts.files() - counts.unchanged);
        const double rate = read / std::max(seconds, 0.001);
        const uint64_t left = totals.files - std::min(counts.files(), totals.files);
        fmt::print(stderr, "\r{} of {} archives, {:.0f}/s, {} broken{}\033[K", counts.files(),
                   totals.files, rate, counts.broken,
                   read == 0 ? "" : ", " + leftText(static_cast<double>(left) / rate) + " left");
        mIsShown = true;
    }

  private:
    const Clock::time_point mStart = Clock::now();
    bool mIsShown = false;
};

void print(const IndexCounts& counts, const std::string& db, double seconds, bool isJson) {
    if (isJson) {
        Json::Value json;
        json["format"] = 1;
        json["index"] = db;
        json["indexed"] = Json::UInt64{counts.indexed};
        json["broken"] = Json::UInt64{counts.broken};
        json["unchanged"] = Json::UInt64{counts.unchanged};
        json["duplicates"] = Json::UInt64{counts.duplicates};
        json["failed"] = Json::UInt64{counts.failed};
        json["bytes"] = Json::UInt64{counts.bytes};
        json["seconds"] = seconds;
        json["stopped"] = gStop.load();
        fmt::print("{}\n", Json::writeString(Json::StreamWriterBuilder(), json));
        return;
    }
    fmt::print(
            "{}: {} archives indexed, {} of them broken; {} unchanged, {} duplicates, {} not "
            "read; {:.1f} s\n",
            printable(db), counts.indexed, counts.broken, counts.unchanged, counts.duplicates,
            counts.failed, seconds);
}

void runIndex(const IndexCommandOptions& options) {
    const auto start = Clock::now();
    const std::string db = placeOf(options.db, Access::Write);
    const auto store = openStore(db, Access::Write);
    IndexCounts counts;
    {
        gStop = false;
        const StopOnSignal stopOnSignal;
        ProgressLine line;
        IndexOptions index;
        index.threads = options.jobs != 0 ? options.jobs
                                          : std::max(1U, std::thread::hardware_concurrency());
        index.stop = &gStop;
        if (isatty(STDERR_FILENO) != 0) {
            index.progress = [&](const auto& done, const auto& all) { line.show(done, all); };
        }
        index.failed = [&](const auto& path, const auto& reason) {
            line.clear();
            fmt::print(stderr, "kaveldesk: {}: {}\n", printable(path.string()), printable(reason));
        };
        counts = indexArchives(*store, options.paths, index);
    }
    print(counts, db, std::chrono::duration<double>(Clock::now() - start).count(), options.isJson);
    if (gStop) throw std::runtime_error("stopped; the same command continues where it stopped");
    if (counts.failed > 0) throw std::runtime_error("not all archives could be read");
}

}  // namespace

void addIndex(CLI::App& app) {
    const auto options = std::make_shared<IndexCommandOptions>();
    CLI::App* const command = app.add_subcommand(
            "index",
            "Reads archives into an index, about which top, trend, compare, similar, show and sql "
            "answer questions.\n"
            "Each archive is read once, by its content. A run that was stopped continues "
            "where it stopped.");
    command->add_option("PATH", options->paths, "Archives, and folders with archives at any depth")
            ->required();
    addPlaceOption(*command, options->db);
    command->add_option("-j,--jobs", options->jobs,
                        "Archives that are read at the same time. Without it: the number of cores")
            ->check(CLI::Range(1U, 1024U));
    command->add_flag("--json", options->isJson, "Print the result as JSON");
    command->callback([options] { runIndex(*options); });
}

}  // namespace kaveldesk
