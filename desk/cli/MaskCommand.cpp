#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/core.h>
#include <json/json.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "desk/cli/Commands.h"
#include "desk/cli/Incidents.h"
#include "desk/mask/MapFile.h"
#include "desk/mask/MaskArchive.h"
#include "desk/parse/Printable.h"
#include "desk/read/Read.h"

namespace kaveldesk {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct MaskArguments {
    std::vector<std::string> archives;
    std::string output;
    std::string map;
    bool keepBinary = false;
    bool json = false;
};

struct Job {
    fs::path in;
    fs::path out;
    MaskReport report;
    std::string error;  // why there is no copy; empty if there is one
};

/** Why @p job cannot be done; empty if it can. */
std::string reasonAgainst(const Job& job) {
    std::error_code ignored;
    if (!fs::exists(job.in)) return job.in.string() + " does not exist";
    if (!fs::is_regular_file(job.in) && !fs::is_directory(job.in)) {
        return job.in.string() + " is neither a file nor a folder";
    }
    if (fs::equivalent(job.in, job.out, ignored)) {
        return job.out.string() + " is the archive itself; masking writes a copy";
    }
    // The copy would be a part of what is read.
    for (fs::path folder = job.out.parent_path(); folder != folder.parent_path();
         folder = folder.parent_path()) {
        if (!fs::equivalent(job.in, folder, ignored)) continue;
        return job.out.string() + " is inside the folder that is masked";
    }
    if (fs::exists(fs::symlink_status(job.out))) return job.out.string() + " exists";
    return "";
}

/** The copies to write. */
std::vector<Job> plan(const MaskArguments& arguments) {
    std::vector<fs::path> inputs;
    for (const fs::path path : arguments.archives) {
        for (const fs::path& in : evidencePaths(path)) inputs.push_back(in);
    }
    const fs::path given = fs::absolute(arguments.output);
    const bool into_folder = inputs.size() > 1 || fs::is_directory(given);
    std::vector<Job> jobs;
    std::set<fs::path> outputs;
    for (const fs::path& in : inputs) {
        const std::string name = evidenceName(in) + (fs::is_directory(in) ? ".tar.gz" : "");
        Job job{in, into_folder ? given / name : given, {}, {}};
        job.error = reasonAgainst(job);
        if (job.error.empty() && !outputs.insert(job.out).second) {
            job.error = "two of the archives have the name " + name;
        }
        jobs.push_back(std::move(job));
    }
    return jobs;
}

/** Does @p step for each job that has not failed. */
template <typename Step>
void forEachJob(std::vector<Job>& jobs, Step step) {
    for (Job& job : jobs) {
        if (!job.error.empty()) continue;
        try {
            step(job);
        } catch (const std::runtime_error& error) {
            job.error = error.what();
        }
    }
}

/** Throws the only error, or after all of them how many there are. */
void reportErrors(const std::vector<Job>& jobs) {
    size_t failed = 0;
    for (const Job& job : jobs) {
        if (job.error.empty()) continue;
        if (jobs.size() == 1) throw std::runtime_error(job.error);
        fmt::print(stderr, "kaveldesk: {}\n", printable(job.error));
        ++failed;
    }
    if (failed == 0) return;
    throw std::runtime_error(fmt::format("{} of {} archives are not masked", failed, jobs.size()));
}

/** Shows on a terminal how much has been read. */
class Progress {
  public:
    ~Progress() {
        if (mShown) fmt::print(stderr, "\r{:30}\r", "");
    }
    void add(size_t bytes) {
        mBytes += bytes;
        if (!mTerminal || Clock::now() < mNext) return;
        fmt::print(stderr, "\r{} MB read ", mBytes >> 20U);
        mShown = true;
        mNext = Clock::now() + std::chrono::milliseconds(200);
    }

  private:
    const bool mTerminal = isatty(STDERR_FILENO) != 0;
    bool mShown = false;
    uint64_t mBytes = 0;
    Clock::time_point mNext = Clock::now() + std::chrono::seconds(1);
};

Json::Value toJson(const Job& job) {
    const MaskReport& report = job.report;
    Json::Value json;
    json["archive"] = job.in.string();
    json["output"] = job.out.string();
    json["files"] = Json::UInt64{report.files};
    json["replaced"] = Json::Value(Json::objectValue);
    for (const MaskKindRow& row : kMaskKinds) {
        const MaskCount& count = report.counts[static_cast<size_t>(row.kind)];
        if (count.places == 0) continue;
        Json::Value& replaced = json["replaced"][row.name];
        replaced["values"] = Json::UInt64{count.values.size()};
        replaced["places"] = Json::UInt64{count.places};
        replaced["files"] = Json::UInt64{count.files};
    }
    json["left_out"] = Json::Value(Json::arrayValue);
    for (const LeftOutMember& member : report.walk.leftOut) {
        Json::Value left_out;
        left_out["file"] = member.name;
        left_out["reason"] = member.reason;
        json["left_out"].append(left_out);
    }
    json["problems"] = Json::Value(Json::arrayValue);
    for (const std::string& problem : report.walk.problems) json["problems"].append(problem);
    return json;
}

void print(const Job& job) {
    const MaskReport& report = job.report;
    fmt::print("{}: {} files\n", job.out.string(), report.files);
    for (const MaskKindRow& row : kMaskKinds) {
        const MaskCount& count = report.counts[static_cast<size_t>(row.kind)];
        if (count.places == 0) continue;
        fmt::print("  {:<9} values {:>6}, places {:>8}, files {:>4}\n", row.name,
                   count.values.size(), count.places, count.files);
    }
    for (const LeftOutMember& member : report.walk.leftOut) {
        fmt::print("  left out: {}: {}\n", printable(member.name), member.reason);
    }
    for (const std::string& problem : report.walk.problems) {
        fmt::print("  {}\n", printable(problem));
    }
}

/** Returns how many bytes of content there are. */
uint64_t maskAll(const MaskArguments& arguments, std::vector<Job>& jobs) {
    std::optional<MapFile> map;
    if (!arguments.map.empty()) map.emplace(fs::absolute(arguments.map));
    Pseudonyms pseudonyms = map ? map->load() : Pseudonyms();
    Progress progress;
    MaskOptions options;
    options.keepBinary = arguments.keepBinary;
    options.progress = [&](size_t size) { progress.add(size); };
    uint64_t bytes = 0;
    forEachJob(jobs, [&](Job& job) { bytes += learnArchive(job.in, options, &pseudonyms); });
    // Before the first copy: no pseudonym may be in a copy and not in the map.
    if (map) map->save(pseudonyms);
    const KnownValues known(pseudonyms);
    if (jobs.size() > 1) fs::create_directory(jobs[0].out.parent_path());
    forEachJob(jobs, [&](Job& job) {
        job.report = maskArchive(job.in, job.out, options, known, &pseudonyms);
    });
    return bytes;
}

void mask(const MaskArguments& arguments) {
    const auto start = Clock::now();
    std::vector<Job> jobs = plan(arguments);
    const auto isPossible = [](const Job& job) { return job.error.empty(); };
    if (std::none_of(jobs.begin(), jobs.end(), isPossible)) return reportErrors(jobs);
    const uint64_t bytes = maskAll(arguments, jobs);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const double megabytes = static_cast<double>(bytes) / 1e6;
    if (arguments.json) {
        Json::Value json;
        json["format"] = 1;
        json["archives"] = json["failed"] = Json::Value(Json::arrayValue);
        for (const Job& job : jobs) {
            if (job.error.empty()) {
                json["archives"].append(toJson(job));
            } else {
                Json::Value& failed = json["failed"].append({});
                failed["archive"] = job.in.string();
                failed["error"] = job.error;
            }
        }
        json["bytes"] = Json::UInt64{bytes};
        json["seconds"] = seconds;
        fmt::print("{}\n", Json::writeString(Json::StreamWriterBuilder(), json));
    } else if (std::any_of(jobs.begin(), jobs.end(), isPossible)) {
        for (const Job& job : jobs) {
            if (job.error.empty()) print(job);
        }
        fmt::print("{:.1f} MB of content in {:.1f} s ({:.0f} MB/s)\n", megabytes, seconds,
                   megabytes / seconds);
    }
    reportErrors(jobs);
}

// Lines break where a terminal of 80 columns has room.
constexpr const char* kPseudonymHelp =
        R"(Masked values become KIND-NUMBER, for example mail-1. The same value always
becomes the same text, in all archives of one run, and of all runs with the
same map. Times, versions, packages, addresses of memory and builds stay.

Kinds:
)";
constexpr const char* kLimitsHelp = R"(
Files that are no text, such as system traces, cannot be masked. They are left
out and listed. Archives in the archive become folders. The file names of
archives stay: they name a process and a build. No rule finds everything: look
at a copy before you give it away.)";

std::string helpText() {
    std::string text = kPseudonymHelp;
    for (const MaskKindRow& row : kMaskKinds) {
        text += fmt::format("  {:<10}{}\n", row.name, row.what);
    }
    return text + kLimitsHelp;
}

}  // namespace

void addMask(CLI::App& app) {
    CLI::App* command =
            app.add_subcommand("mask", "Writes copies of archives without personal values.");
    const auto arguments = std::make_shared<MaskArguments>();
    addPaths(*command, arguments->archives);
    command->add_option("-o,--output", arguments->output,
                        "The copy, or for several archives a folder for them; nothing is replaced")
            ->required()
            ->type_name("PATH");
    command->add_option(
                   "--map", arguments->map,
                   "Keep the pseudonyms for further runs. The file has the values themselves: it "
                   "is readable by you only, do not give it away")
            ->type_name("FILE");
    command->add_flag("--keep-binary", arguments->keepBinary,
                      "Copy files that are no text, unmasked, instead of leaving them out");
    command->add_flag("--json", arguments->json, "Print the report as JSON");
    command->footer(helpText());
    command->callback([arguments] { mask(*arguments); });
}

}  // namespace kaveldesk
