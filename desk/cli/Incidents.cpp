#include "desk/cli/Incidents.h"

#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "desk/parse/Printable.h"
#include "desk/read/Read.h"
#include "desk/timeline/BuildTimeline.h"

namespace kaveldesk {

void addPaths(CLI::App& command, std::vector<std::string>& paths) {
    command.add_option("ARCHIVE", paths, "Archive, extracted folder, folder of archives, or log")
            ->required()
            ->type_name("PATH");
}

std::vector<IncidentData> readIncidents(const std::vector<std::string>& paths) {
    const bool isTerminal = isatty(STDERR_FILENO) != 0;
    std::vector<IncidentData> incidents;
    for (const std::string& path : paths) {
        for (const auto& found : evidencePaths(path)) {
            if (isTerminal) fmt::print(stderr, "reading {}\n", printable(found.string()));
            IncidentData incident;
            incident.evidence = readEvidence(found);
            incident.timeline = buildTimeline(incident.evidence);
            incidents.push_back(std::move(incident));
        }
    }
    return incidents;
}

std::vector<Problem> problemsOf(const IncidentData& incident) {
    std::vector<Problem> problems = incident.evidence.problems;
    problems.insert(problems.end(), incident.timeline.problems.begin(),
                    incident.timeline.problems.end());
    return problems;
}

void requireText(const std::vector<IncidentData>& incidents) {
    const auto hasText = [](const IncidentData& incident) {
        const std::vector<EvidenceFile>& files = incident.evidence.files;
        return std::any_of(files.begin(), files.end(),
                           [](const EvidenceFile& file) { return !file.text.empty(); });
    };
    if (std::any_of(incidents.begin(), incidents.end(), hasText)) return;
    throw std::runtime_error("There is no text that can be read.");
}

void printProblems(const IncidentData& incident) {
    for (const Problem& problem : problemsOf(incident)) {
        if (problem.isNote) continue;
        const std::string& name =
                problem.file.empty() ? incident.evidence.incident.archive : problem.file;
        fmt::print(stderr, "kaveldesk: {}: {}\n", printable(name), printable(problem.sentence));
    }
}

void printNotes(const IncidentData& incident) {
    for (const Problem& note : problemsOf(incident)) {
        if (!note.isNote) continue;
        fmt::print(stderr, "note: {}: {}\n", printable(note.file), printable(note.sentence));
    }
}

}  // namespace kaveldesk
