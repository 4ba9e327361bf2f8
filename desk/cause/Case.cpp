#include "desk/cause/Case.h"

#include <algorithm>
#include <iterator>

#include "desk/cause/FrameNames.h"
#include "desk/parse/Text.h"
#include "desk/parse/ThreadDumps.h"

namespace kaveldesk {
namespace {

/** A log can be a part of a bug report, with stacks behind it. */
bool canHaveDumps(const EvidenceFile& file) {
    switch (file.kind) {
        case FileKind::AnrTrace:
        case FileKind::NativeBacktrace:
        case FileKind::Tombstone:
        case FileKind::Dumpsys:
        case FileKind::Other:
            return true;
        default:
            return contains(file.text, "DALVIK THREADS");
    }
}

bool canHaveTombstones(FileKind kind) {
    return kind == FileKind::Tombstone || kind == FileKind::Dumpsys || kind == FileKind::Other;
}

template <typename T>
void append(std::vector<T>& to, std::vector<T> more) {
    to.insert(to.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

}  // namespace

Case::Case(const Evidence& all, const Timeline& timeline)
      : evidence(all), facts(scanEvidence(all, timeline)) {
    const int32_t offset = evidence.incident.utcOffsetSeconds;
    // Forty times what the stacks of all processes of a phone have; a part takes about 150 bytes.
    size_t room = 1'000'000;
    for (uint32_t i = 0; i < evidence.files.size(); ++i) {
        const EvidenceFile& file = evidence.files[i];
        if (canHaveDumps(file)) append(dumps, parseThreadDumps(file.text, i, offset, room));
        if (canHaveTombstones(file.kind))
            append(tombstones, parseTombstones(file.text, i, offset, room));
        if (file.kind == FileKind::Binder) append(binderCalls, parseBinderCalls(file.text, i));
    }
    append(tombstones, std::move(facts.tombstones));
    shortenNames();
}

void Case::shortenNames() {
    const auto shortenName = [](std::string& name) { shorten(name, kLongestName); };
    for (Fact& fact : facts.facts) {
        shortenName(fact.process);
        shortenName(fact.thread);
    }
    for (Tombstone& tombstone : tombstones) {
        shortenName(tombstone.process);
        shortenName(tombstone.thread);
    }
    for (ThreadDump& dump : dumps) {
        shortenName(dump.process);
        for (Thread& thread : dump.threads) {
            shortenName(thread.name);
            for (Lock& lock : thread.locks) shortenName(lock.className);
        }
    }
}

std::string Case::processOf(int32_t pid) const {
    if (pid == 0) return {};
    for (const ThreadDump& dump : dumps) {
        if (dump.pid == pid && !dump.process.empty()) return dump.process;
    }
    for (const EvidenceFile& file : evidence.files) {
        if (file.kind != FileKind::ThreadList) continue;
        Lines lines(file.text);
        for (std::string_view line; lines.next(line);) {
            // LABEL USER PID TID ... CMD: a process is the row whose two numbers are the same.
            std::string_view rest = line;
            takeWord(rest);
            takeWord(rest);
            std::string_view first = takeWord(rest);
            std::string_view second = takeWord(rest);
            if (first != second || takeInteger<int32_t>(first) != pid) continue;
            return std::string(lastPart(trim(line), " \t"));
        }
    }
    return {};
}

}  // namespace kaveldesk
