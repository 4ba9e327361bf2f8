#include <fmt/core.h>
#include <CLI/App.hpp>
#include <CLI/Option.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "desk/cause/FindCause.h"
#include "desk/cli/Commands.h"
#include "desk/cli/Incidents.h"
#include "desk/report/WriteReport.h"

namespace kaveldesk {
namespace {

namespace fs = std::filesystem;

struct ReportOptions {
    std::vector<std::string> paths;
    std::string out;
};

/** The archive's name in the current folder, with ".html" in place of ".tar.gz". */
fs::path pageOf(const std::string& archive) {
    std::string_view name = archive;
    for (const std::string_view end : {".tar.gz", ".tgz", ".tar"}) {
        if (name.size() > end.size() && name.substr(name.size() - end.size()) == end) {
            name.remove_suffix(end.size());
            break;
        }
    }
    return std::string(name) + ".html";
}

/** Writes beside @p path and renames, so that a full disk leaves no half page. */
void writePage(const fs::path& path, const IncidentData& incident) {
    const Verdict verdict = findCause(incident.evidence, incident.timeline);
    const auto usage = usageSeries(incident.evidence, incident.timeline);
    fs::path part = path;
    part += ".part";
    std::ofstream out(part, std::ios::binary);
    writeReport(out, incident.evidence, incident.timeline, verdict, usage);
    out.close();
    std::error_code error;
    if (out) fs::rename(part, path, error);
    if (out && !error) return;
    std::error_code ignored;
    fs::remove(part, ignored);
    throw std::runtime_error(fmt::format("{} cannot be written", path.string()));
}

void runReport(const ReportOptions& options) {
    const std::vector<IncidentData> incidents = readIncidents(options.paths);
    if (!options.out.empty() && incidents.size() != 1) {
        throw std::runtime_error(fmt::format("--output names one page, but there are {} archives",
                                             incidents.size()));
    }
    for (const IncidentData& incident : incidents) printProblems(incident);
    requireText(incidents);
    for (const IncidentData& incident : incidents) {
        const fs::path page = options.out.empty() ? pageOf(incident.evidence.incident.archive)
                                                  : fs::path(options.out);
        std::error_code error;
        if (fs::equivalent(page, incident.evidence.path, error)) {
            throw std::runtime_error(fmt::format("{} is the archive itself", page.string()));
        }
        writePage(page, incident);
        fmt::print("{}\n", fs::absolute(page).lexically_normal().string());
    }
}

}  // namespace

void addReport(CLI::App& app) {
    const auto options = std::make_shared<ReportOptions>();
    CLI::App* command = app.add_subcommand(
            "report",
            "Writes one HTML page about each archive: the cause, the timeline, all logs and "
            "files.\n"
            "The page needs no network and no other file. Prints the path of each page.");
    addPaths(*command, options->paths);
    command->add_option("-o,--output", options->out,
                        "The page of a single archive. Without it: the archive's name with .html, "
                        "in the current folder");
    command->callback([options] { runReport(*options); });
}

}  // namespace kaveldesk
