#include "desk/serve/ReportMaker.h"

#include <fmt/core.h>

#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "desk/cause/FindCause.h"
#include "desk/index/HashFile.h"
#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"
#include "desk/read/Read.h"
#include "desk/report/WriteReport.h"
#include "desk/timeline/BuildTimeline.h"

namespace kaveldesk {
namespace {

// With the threads that wait, others are left for the quick pages.
constexpr int kMostAsked = 3;

class Counted {
  public:
    explicit Counted(std::atomic<int>& count) : mCount(count), mNumber(++count) {}
    ~Counted() { --mCount; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    int number() const { return mNumber; }

  private:
    std::atomic<int>& mCount;
    const int mNumber;
};

/** Where the archive with @p hash was indexed; empty if the index does not have it. */
std::filesystem::path pathOf(Store& store, const std::string& hash) {
    const Table table = catchOf(store, hash);
    for (size_t i = 0; i < table.columns.size() && !table.rows.empty(); ++i) {
        if (table.columns[i].name == "path") return textOf(table.rows.front()[i]);
    }
    return {};
}

std::string reportOf(const std::filesystem::path& path) {
    const Evidence evidence = readEvidence(path);
    const Timeline timeline = buildTimeline(evidence);
    const Verdict verdict = findCause(evidence, timeline);
    std::ostringstream page;
    writeReport(page, evidence, timeline, verdict, usageSeries(evidence, timeline));
    return page.str();
}

}  // namespace

ReportMaker::Result ReportMaker::make(Store& store, const std::string& hash) {
    const std::filesystem::path path = pathOf(store, hash);
    if (path.empty()) return {Result::Status::NotFound, "The index has no such archive."};
    const Counted asked(mAsked);
    if (asked.number() > kMostAsked) {
        return {Result::Status::Busy, "Other reports are being made. This page tries again."};
    }
    android::kavel::MutexLock lock(mMutex);
    std::error_code error;
    try {
        // What is no file now, such as a pipe, could be read for ever.
        if (std::filesystem::is_regular_file(path, error) && hashFile(path) == hash) {
            return {Result::Status::Made, reportOf(path)};
        }
    } catch (const std::runtime_error& failure) {
        return {Result::Status::NotFound, fmt::format("{}: {}", path.string(), failure.what())};
    }
    return {Result::Status::NotFound,
            fmt::format("{} is not there any more, or has changed.", path.string())};
}

}  // namespace kaveldesk
