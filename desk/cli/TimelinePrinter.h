#pragma once

#include <cstdint>

#include "desk/cli/Incidents.h"

namespace kaveldesk {

/** One line of the timeline command: a mark or a record of an archive. */
struct TimelineEntry {
    const IncidentData* incident = nullptr;
    const Record* record = nullptr;  // null: a mark
    const Mark* mark = nullptr;
    bool isEnd = false;  // of a mark that is a span
    int64_t utcNs = 0;
};

/** Writes a line for people to standard output. */
void printAsText(const TimelineEntry& entry, bool withArchive);

/** Writes a JSON object on one line to standard output. */
void printAsJson(const TimelineEntry& entry);

/** Writes the problems of @p incident as JSON objects to standard output. */
void printProblemsAsJson(const IncidentData& incident);

}  // namespace kaveldesk
