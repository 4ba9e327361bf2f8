#include "desk/cli/Incidents.h"

#include <fmt/core.h>
#include <unistd.h>

#include <cstdio>

#include "desk/cli/Printable.h"
#include "desk/read/Read.h"
#include "desk/timeline/BuildTimeline.h"

namespace kaveldesk {

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

void printProblems(const IncidentData& incident) {
    for (const auto* problems : {&incident.evidence.problems, &incident.timeline.problems}) {
        for (const Problem& problem : *problems) {
            const std::string& name =
                    problem.file.empty() ? incident.evidence.incident.archive : problem.file;
            fmt::print(stderr, "kaveldesk: {}: {}\n", printable(name), printable(problem.sentence));
        }
    }
}

}  // namespace kaveldesk
