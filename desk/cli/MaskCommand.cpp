#include <unistd.h>

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
#include "desk/cli/Printable.h"
#include "desk/mask/MapFile.h"
#include "desk/mask/MaskArchive.h"

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
};

/** The copies to write. Throws std::runtime_error if one of them would replace a file. */
std::vector<Job> plan(const MaskArguments& arguments) {
    const bool into_folder = arguments.archives.size() > 1 || fs::is_directory(arguments.output);
    std::vector<Job> jobs;
    std::set<fs::path> outputs;
    for (const fs::path in : arguments.archives) {
        const fs::path given = fs::absolute(arguments.output);
        const fs::path out = into_folder ? given / in.filename() : given;
        if (!fs::is_regular_file(in)) {
            throw std::runtime_error(in.string() + " is not an archive file");
        }
        std::error_code ignored;
        if (fs::equivalent(in, out, ignored)) {
            throw std::runtime_error(out.string() +
                                     " is the archive itself; masking writes a copy");
        }
        if (fs::exists(fs::symlink_status(out))) throw std::runtime_error(out.string() + " exists");
        if (!outputs.insert(out).second) {
            throw std::runtime_error("two of the archives have the name " + in.filename().string());
        }
        jobs.push_back({in, out});
    }
    return jobs;
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

Json::Value toJson(const Job& job, const MaskReport& report) {
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

void print(const Job& job, const MaskReport& report) {
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

void mask(const MaskArguments& arguments) {
    const auto start = Clock::now();
    const std::vector<Job> jobs = plan(arguments);
    std::optional<MapFile> map;
    if (!arguments.map.empty()) map.emplace(fs::absolute(arguments.map));
    Pseudonyms pseudonyms = map ? map->load() : Pseudonyms();

    std::vector<MaskReport> reports;
    uint64_t bytes = 0;
    {
        Progress progress;
        MaskOptions options;
        options.keepBinary = arguments.keepBinary;
        options.progress = [&](size_t size) { progress.add(size); };
        for (const Job& job : jobs) bytes += learnArchive(job.in, options, &pseudonyms);
        // Before the first copy: no pseudonym may be in a copy and not in the map.
        if (map) map->save(pseudonyms);
        const KnownValues known(pseudonyms);
        if (jobs.size() > 1) fs::create_directory(jobs[0].out.parent_path());
        for (const Job& job : jobs) {
            reports.push_back(maskArchive(job.in, job.out, options, known, &pseudonyms));
        }
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const double megabytes = static_cast<double>(bytes) / 1e6;
    if (arguments.json) {
        Json::Value json;
        json["format"] = 1;
        for (size_t i = 0; i < jobs.size(); ++i) {
            json["archives"].append(toJson(jobs[i], reports[i]));
        }
        json["bytes"] = Json::UInt64{bytes};
        json["seconds"] = seconds;
        fmt::print("{}\n", Json::writeString(Json::StreamWriterBuilder(), json));
        return;
    }
    for (size_t i = 0; i < jobs.size(); ++i) print(jobs[i], reports[i]);
    fmt::print("{:.1f} MB of content in {:.1f} s ({:.0f} MB/s)\n", megabytes, seconds,
               megabytes / seconds);
}

// Lines break where a terminal of 80 columns has room.
constexpr const char* kPseudonymHelp =
        R"(Masked values become KIND-NUMBER, for example mail-1. The same value always
becomes the same text, in all archives of one run, and of all runs with the
same map. Times, versions, packages, addresses of memory and builds stay.

Kinds:
)";
constexpr const char* kLimitsHelp = R"(
Files that are no text (system traces, archives in the archive) cannot be
masked. They are left out and listed. The file names of archives stay: they
name a process and a build. No rule finds everything: look at a copy before
you give it away.)";

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
    command->add_option("ARCHIVE", arguments->archives, "Archives of the daemon, .tar.gz")
            ->required()
            ->type_name("FILE");
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
