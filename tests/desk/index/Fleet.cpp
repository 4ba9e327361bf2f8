#include "tests/desk/index/Fleet.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

#include "desk/cause/Fingerprint.h"
#include "desk/parse/Time.h"
#include "tests/tools/TestArchive.h"

namespace kaveldesk::test {
namespace {

constexpr int64_t kFirstDay = 1'767'225'600'000;  // 2026-01-01 UTC, ms
constexpr int64_t kNsPerMs = 1'000'000;
constexpr size_t kPerDuplicate = 50;
constexpr size_t kCommon = 30;  // the bugs in which changes are planted

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : " | ") + part;
    return text;
}

/** 2026-01-01T00:00:00.000 with @p between in place of the T. */
std::string timeOf(int64_t utc, char between) {
    std::string text = timeText(utc * kNsPerMs, 0);
    text[10] = between;
    return text;
}

}  // namespace

Fleet::Fleet(const FleetOptions& options) : mOptions(options), mRandom(options.seed) {
    for (size_t i = 0; i < options.fingerprints; ++i) {
        Bug bug;
        bug.process = fmt::format("com.example.app{}", i % options.processes);
        bug.signature = {"anr", bug.process, fmt::format("{}.Screen{}.show", bug.process, i),
                         fmt::format("holder {}.Store{}.write", bug.process, i / 3)};
        bug.fingerprint = fingerprintOf(bug.signature);
        mBugs.push_back(std::move(bug));
    }
    plant();
    for (const std::vector<double>& weights : mWeights) {
        mDraws.emplace_back(weights.begin(), weights.end());
    }
}

void Fleet::plant() {
    std::vector<double> weights;
    for (size_t i = 0; i < mBugs.size(); ++i) {
        weights.push_back(1 / std::pow(static_cast<double>(i) + 5, 1.1));
    }
    std::vector<size_t> common;
    for (size_t i = 0; i < std::min(kCommon, mBugs.size()); ++i) common.push_back(i);
    std::shuffle(common.begin(), common.end(), mRandom);
    mWeights.assign(mOptions.builds, weights);
    for (size_t b = 1; b < mOptions.builds && 4 * b <= common.size(); ++b) {
        const size_t* const bugs = &common[4 * (b - 1)];
        for (size_t older = 0; older < b; ++older) mWeights[older][bugs[0]] = 0;
        for (size_t newer = b; newer < mOptions.builds; ++newer) {
            mWeights[newer][bugs[1]] = 0;
            mWeights[newer][bugs[2]] *= 3;
            mWeights[newer][bugs[3]] /= 4;
        }
    }
}

bool Fleet::next(CatchRow& row) {
    if (mGiven > 0 && mRandom() % kPerDuplicate == 0) {
        row = mLast;
        return true;
    }
    if (mGiven == mOptions.catches) return false;
    ++mGiven;
    // Each build is in use for three spans of time, most in the middle.
    const auto days = static_cast<double>(mOptions.days);
    // Archives arrive about in the order of their times.
    const double day = days * static_cast<double>(mGiven) / static_cast<double>(mOptions.catches) +
                       std::exponential_distribution<>(2)(mRandom);
    const auto builds = static_cast<double>(mOptions.builds);
    const double at = day / days * builds + std::normal_distribution<>(0, 0.7)(mRandom);
    const auto build = static_cast<size_t>(std::clamp(at, 0.0, builds - 1));
    const Bug& bug = mBugs[mDraws[build](mRandom)];

    row = {};
    for (int i = 0; i < 4; ++i) row.hash += fmt::format("{:016x}", mRandom());
    row.event = "anr";
    row.eventId = 0x101;
    row.process = bug.process;
    row.version = fmt::format("{}.0", build + 1);
    row.build = Fleet::build(build);
    row.utc = kFirstDay + static_cast<int64_t>(day * 86'400'000);
    row.mask = 0x101003;
    row.size = 100'000 + static_cast<int64_t>(mRandom() % 1'000'000);
    row.archive = fmt::format("kavel_anr_{}@{}@{}@{:.10}-{:.2}-{:.2}-{:.2}-{:.3}.tar.gz",
                              bug.process, row.hash.substr(0, 16), row.build, timeOf(row.utc, ' '),
                              timeOf(row.utc, ' ').substr(11), timeOf(row.utc, ' ').substr(14),
                              timeOf(row.utc, ' ').substr(17), timeOf(row.utc, ' ').substr(20));
    row.path = "/srv/archives/" + row.archive;
    row.kind = "anr";
    row.headline =
            fmt::format("{} did not respond: its main thread waits for a lock.", bug.process);
    row.isEnough = true;
    row.fingerprint = bug.fingerprint;
    row.signature = joined(bug.signature);
    row.events = {{row.event, row.eventId, row.utc, row.mask, row.process, row.version, "", 1234,
                   10'001}};
    if (mOptions.withChildren) {
        row.files = {{"trace_1.txt", "anr-trace", 30'000, 1}, {"android.txt", "main", 900'000, 1}};
        row.findings = {{"anr.lock", "cause", "The main thread waits for a lock."},
                        {"anr.report", "observation", "The system says so."}};
        row.statistics = {{"files", 2}, {"log_lines", 8'000}};
    }
    mLast = row;
    return true;
}

std::string Fleet::build(size_t number) {
    return fmt::format("PHX110_14.0.0.{}", 100 + number);
}

std::map<std::string, std::string> Fleet::changes(size_t buildA, size_t buildB) const {
    std::map<std::string, std::string> changes;
    for (size_t i = 0; i < mBugs.size(); ++i) {
        const double a = mWeights[buildA][i];
        const double b = mWeights[buildB][i];
        if (a == b) continue;
        changes[mBugs[i].fingerprint] = a == 0 ? "new" : b == 0 ? "gone" : b > a ? "up" : "down";
    }
    return changes;
}

Fleet::Archive Fleet::archive(const CatchRow& row, size_t logBytes) {
    const std::string name = row.archive.substr(0, row.archive.size() - 7);
    const auto bug = std::find_if(mBugs.begin(), mBugs.end(), [&](const Bug& each) {
        return each.fingerprint == row.fingerprint;
    });
    const std::string time = timeOf(row.utc, ' ');
    const std::string event = fmt::format(
            R"({{"utc":"{0}Z","local":"{0}+00:00","eventId":"0x{1:x}","mask":"0x{2:x}",)"
            R"("name":"{3}","process":"{4}","version":"{5}","type":"","pid":1234,"uid":10001}})"
            "\n",
            timeOf(row.utc, 'T'), row.eventId, row.mask, row.event, row.process, row.version);
    std::string trace = fmt::format(
            "----- pid 1234 at {} -----\nCmd line: {}\n\n"
            "\"main\" prio=5 tid=1 Blocked\n  | sysTid=1234\n  at {}(Screen.java:10)\n"
            "  - waiting to lock <0x0a1b> (a java.lang.Object) held by thread 12\n\n"
            "\"writer\" prio=5 tid=12 Sleeping\n  at java.lang.Thread.sleep(Native method)\n"
            "  at {}(Store.java:20)\n  - locked <0x0a1b> (a java.lang.Object)\n\n",
            time.substr(0, 19), row.process, bug->signature[2], bug->signature[3].substr(7));
    for (int tid = 20; tid < 80; ++tid) {
        trace += fmt::format(
                "\"pool-{0}\" prio=5 tid={0} Waiting\n  | sysTid={1} nice=0 cgrp=default\n"
                "  at java.lang.Object.wait(Native method)\n  - waiting on <0x{2:08x}> (a "
                "java.lang.Object)\n  at java.lang.Thread.run(Thread.java:919)\n\n",
                tid, 1300 + tid, mRandom() % 0xffffffff);
    }
    trace += "----- end 1234 -----\n";
    std::string log;
    while (log.size() < logBytes) {
        log += fmt::format("{} {:5} {:5} {} {}: event {} of {} took {} ms in state 0x{:x}\n",
                           time.substr(5), 1000 + mRandom() % 200, 1000 + mRandom() % 4000,
                           "VDIWE"[mRandom() % 5], "ActivityManager", mRandom() % 10'000,
                           row.process, mRandom() % 900, mRandom());
    }
    log += fmt::format("{} 1234 1240 E ActivityManager: ANR in {}\n", time.substr(5), row.process);
    return {row.archive,
            android::kavel::tools::gzipBytes(android::kavel::tools::tarBytes(
                    name, {{"kavel_events.txt", event},
                           {"trace_1.txt", trace},
                           {"android-" + name.substr(name.rfind('@') + 1) + ".txt", log}}))};
}

}  // namespace kaveldesk::test
