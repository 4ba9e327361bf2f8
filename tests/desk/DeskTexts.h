#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"
#include "desk/parse/LogLine.h"
#include "desk/parse/Time.h"

namespace kaveldesk::test {

/** Folder of an event at 08:33:31.583, one hour east of UTC. */
inline constexpr const char* kFolder =
        "kavel_my_anr_com.example.app@844b757f0199c080@V1@2026-11-21-08-33-31-583";
/** What follows "STEM-" in the names of the files of two rounds. */
inline constexpr const char* kFirstRound = "2026-11-21-08-33-31-700.txt";
inline constexpr const char* kSecondRound = "2026-11-21-08-33-41-700.txt";

/**
 * A line of a log that the timeline lost, or empty. Each file's lines must be there as often as the
 * file has them; other dumps of the same log may have the same lines.
 */
inline std::string lostLine(const Evidence& evidence, const Timeline& timeline) {
    std::map<std::pair<FileKind, std::string_view>, size_t> shown;
    for (const Record& record : timeline.records) {
        ++shown[{record.source, textOf(evidence, record)}];
    }
    for (const EvidenceFile& file : evidence.files) {
        if (file.kind < FileKind::MainLog || file.kind > FileKind::KernelLog) continue;
        std::map<std::string_view, size_t> lines;
        for (size_t position = 0; position < file.text.size();) {
            const std::string_view line = takeLine(file.text, position);
            if (!line.empty() && ++lines[line] > shown[{file.kind, line}]) {
                return file.name + ": " + std::string(line);
            }
        }
    }
    return {};
}

/** The records as "HH:MM:SS.mmm text", UTC. */
inline std::vector<std::string> linesOf(const Evidence& evidence, const Timeline& timeline) {
    std::vector<std::string> lines;
    for (const Record& record : timeline.records) {
        lines.push_back(timeText(record.utcNs, 0).substr(11) + " " +
                        std::string(textOf(evidence, record).substr(record.messageAt)));
    }
    return lines;
}

}  // namespace kaveldesk::test
