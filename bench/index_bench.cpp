// Measures the index of many archives.
//
// index_bench archives DIRECTORY COUNT KILOBYTES   makes archives with logs of that size
// index_bench rows PLACE COUNT                     fills an index with rows, and says the rate
// index_bench questions PLACE [SERVER]             the seconds that each question takes, and of
// processor time, with that of the process SERVER

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"
#include "desk/store/Store.h"
#include "tests/desk/index/Fleet.h"

namespace {

using namespace kaveldesk;  // NOLINT(google-build-using-namespace): its own program
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/** Seconds of processor time of this process and of @p server, unless that is 0. */
double processorSeconds(pid_t server) {
    std::vector<clockid_t> clocks = {CLOCK_PROCESS_CPUTIME_ID};
    if (server != 0 && clock_getcpuclockid(server, &clocks.emplace_back()) != 0) {
        throw std::runtime_error("there is no such server");
    }
    double seconds = 0;
    for (const clockid_t clock : clocks) {
        timespec time{};
        clock_gettime(clock, &time);
        seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    }
    return seconds;
}

test::FleetOptions fleetOf(size_t catches) {
    test::FleetOptions options;
    options.catches = catches;
    options.builds = 12;
    options.fingerprints = 1000;
    options.days = 90;
    return options;
}

void makeArchives(const std::string& folder, size_t count, size_t kilobytes) {
    test::Fleet fleet(fleetOf(count));
    CatchRow row;
    while (fleet.next(row)) {
        const auto archive = fleet.archive(row, kilobytes * 1000);
        std::ofstream(folder + "/" + archive.name, std::ios::binary) << archive.bytes;
    }
}

void fill(const std::string& place, size_t count) {
    const auto store = openStore(place, Access::Write);
    test::Fleet fleet(fleetOf(count));
    CatchRow row;
    Batch batch;
    double seconds = 0;
    for (bool hasMore = true; hasMore;) {
        batch = {};
        while (batch.catches.size() < 5000 && (hasMore = fleet.next(row))) {
            batch.catches.push_back(row);
        }
        const auto start = Clock::now();
        store->insert(batch);
        seconds += secondsSince(start);
    }
    fmt::print("measure rows_per_second {:.0f}\n", static_cast<double>(count) / seconds);
}

void ask(const std::string& place, pid_t server) {
    const auto store = openStore(place, Access::Read);
    const Table fingerprints = top(*store, {}, TopBy::Fingerprint, 1);
    const std::string fingerprint = textOf(fingerprints.rows.at(0)[0]);
    const std::string signature = textOf(fingerprints.rows.at(0)[6]);
    const int64_t last = integerOf(fingerprints.rows.at(0)[3]);
    Filter filter;  // with ends within a day
    filter.sinceUtc = last - 30 * kMsPerDay;
    filter.untilUtc = last - kMsPerHour;
    Filter process;
    process.process = "com.example.app7";
    const struct {
        const char* name;
        std::function<void()> ask;
    } questions[] = {
            {"top_process", [&] { top(*store, {}, TopBy::Process, 20); }},
            {"top_fingerprint", [&] { top(*store, {}, TopBy::Fingerprint, 20); }},
            {"top_filtered", [&] { top(*store, filter, TopBy::Fingerprint, 20); }},
            {"trend_day", [&] { trend(*store, {}, TrendPer::Day); }},
            {"trend_hour", [&] { trend(*store, {}, TrendPer::Hour); }},
            {"trend_hour_process", [&] { trend(*store, process, TrendPer::Hour); }},
            {"compare", [&] { compare(*store, {}, test::Fleet::build(5), test::Fleet::build(6)); }},
            {"similar", [&] { similar(*store, {}, "anr", signature, 20); }},
            {"show", [&] { show(*store, {}, fingerprint); }},
            {"show_filtered", [&] { show(*store, filter, fingerprint); }},
            {"list", [&] { listCatches(*store, {}, 50); }},
            {"list_process", [&] { listCatches(*store, process, 50); }},
    };
    double slowest = 0;
    double slowest_cpu = 0;
    for (const auto& question : questions) {
        // The best of several: what others do on the machine is no part of the question.
        double best = 0;
        double best_cpu = 0;
        for (int i = 0; i < 15; ++i) {
            const auto start = Clock::now();
            const double start_cpu = processorSeconds(server);
            question.ask();
            const double cpu = processorSeconds(server) - start_cpu;
            const double seconds = secondsSince(start);
            best = i == 0 ? seconds : std::min(best, seconds);
            best_cpu = i == 0 ? cpu : std::min(best_cpu, cpu);
        }
        fmt::print("measure {} {:.4f}\nmeasure {}_cpu {:.4f}\n", question.name, best, question.name,
                   best_cpu);
        slowest = std::max(slowest, best);
        slowest_cpu = std::max(slowest_cpu, best_cpu);
    }
    fmt::print("measure slowest {:.4f}\nmeasure slowest_cpu {:.4f}\n", slowest, slowest_cpu);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 4 && arguments[0] == "archives") {
        makeArchives(arguments[1], std::stoul(arguments[2]), std::stoul(arguments[3]));
    } else if (arguments.size() == 3 && arguments[0] == "rows") {
        fill(arguments[1], std::stoul(arguments[2]));
    } else if (arguments.size() >= 2 && arguments.size() <= 3 && arguments[0] == "questions") {
        ask(arguments[1], arguments.size() == 3 ? std::stoi(arguments[2]) : 0);
    } else {
        fmt::print(stderr,
                   "usage: index_bench archives DIRECTORY COUNT KILOBYTES | rows PLACE COUNT | "
                   "questions PLACE [SERVER]\n");
        return 2;
    }
    return 0;
}
