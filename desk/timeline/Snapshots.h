#pragma once

#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"

namespace kaveldesk {

/**
 * Appends records for the files that are not logs: one for each line of the history and the events
 * file, one for each head of a thread dump or tombstone that has a time, and for other output of
 * commands its first line, at the time of collection.
 */
void appendSnapshots(const Evidence& evidence, std::vector<Record>& records);

/** Marks of the events, the rounds of collection and the windows. */
std::vector<Mark> findMarks(const Evidence& evidence);

/** Whether the file is a log, each line of which is in the timeline. */
constexpr bool isLog(FileKind kind) {
    return kind == FileKind::MainLog || kind == FileKind::EventsLog || kind == FileKind::RadioLog ||
           kind == FileKind::KernelLog;
}

}  // namespace kaveldesk
