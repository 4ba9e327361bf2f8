#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/core.h>

#include "desk/cause/Facts.h"
#include "desk/cause/LineRules.h"
#include "desk/parse/CpuUsage.h"
#include "desk/parse/FrameText.h"
#include "desk/parse/LogLine.h"
#include "desk/parse/Text.h"
#include "desk/parse/Time.h"

namespace kaveldesk {
namespace {

/** Most threads whose messages can be open at a time; more than a log of the phone can hold. */
constexpr size_t kMaxOpen = 4096;

/** A log of the phone has some hundreds. Each is compared with the others. */
constexpr size_t kMaxFacts = 20'000;

constexpr bool isLog(FileKind kind) {
    return kind == FileKind::MainLog || kind == FileKind::EventsLog || kind == FileKind::KernelLog;
}

constexpr bool canHoldLog(FileKind kind) {
    return kind == FileKind::Other || kind == FileKind::AnrTrace ||
           kind == FileKind::NativeBacktrace || kind == FileKind::Tombstone;
}

/** The kernel's clock begins near 1970; as long as nothing matches it, its time is unknown. */
int64_t timeOf(const Record& record) {
    constexpr int64_t kOneYear = 365 * kNsPerDay;
    return record.utcNs < kOneYear ? 0 : record.utcNs;
}

/** Follows messages that go on over several lines of one thread. */
class Scan {
  public:
    explicit Scan(const Evidence& evidence) : mEvidence(evidence) {}

    void record(const Record& record) {
        if (!isLog(record.source)) return;
        const std::string_view text = textOf(mEvidence, record);
        const bool isKernel = record.source == FileKind::KernelLog;
        const size_t tagAt = std::min<size_t>(record.tagAt, text.size());
        const std::string_view tag =
                isKernel ? "kernel" : trim(text.substr(tagAt, record.tagLength));
        if (!isWanted(tag)) return;
        // What comes before the first colon of a kernel line is a tag by name only.
        const size_t messageAt = isKernel && record.tagLength != 0
                                         ? tagAt
                                         : std::min<size_t>(record.messageAt, text.size());
        Lines lines(text.substr(messageAt));
        for (std::string_view line; lines.next(line);) {
            message(record, tag, line, {record.place.file, record.place.line + lines.number() - 1});
        }
    }

    /** A text of unknown kind can hold parts of logs, with or without what comes before a message.
     */
    void otherText(const EvidenceFile& file, uint32_t index) {
        Record record;
        Lines lines(file.text);
        for (std::string_view line; lines.next(line);) {
            const Place place{index, lines.number()};
            record.pid = record.tid = 0;
            record.utcNs = file.collectedUtcNs;
            const auto head = parseLogcatLine(line);
            if (!head) {
                if (file.kind == FileKind::Other) message(record, {}, line, place);
                continue;
            }
            record.pid = head->head.pid;
            record.tid = head->head.tid;
            record.level = head->head.level;
            if (head->stamp.year >= 0)
                record.utcNs = utcOf(head->stamp, mEvidence.incident.utcOffsetSeconds);
            const std::string_view tag = trim(line.substr(head->head.tagAt, head->head.tagLength));
            if (isWanted(tag)) message(record, tag, line.substr(head->head.messageAt), place);
        }
    }

    Facts finish() {
        for (auto& [tid, parser] : mParsers) {
            for (Tombstone& tombstone : parser.take()) {
                mFacts.tombstones.push_back(std::move(tombstone));
            }
        }
        return std::move(mFacts);
    }

  private:
    void message(const Record& record, std::string_view tag, std::string_view text, Place place) {
        if (tag == "DEBUG") return crashLine(record, text, place);
        if (const auto resource = after(text, "/proc/pressure/")) mResource = until(*resource, " ");
        Fact fact;
        fact.utcNs = timeOf(record);
        fact.place = fact.detailPlace = place;
        if (readFact(tag, text, fact)) {
            if (fact.kind == FactKind::JavaCrash && fact.pid == 0) fact.pid = record.pid;
            if (fact.kind == FactKind::Pressure) fact.thread = mResource;
            if (fact.kind == FactKind::CpuTotal) fact.detail += mostBusy();
            // Lines of the events log say all at once.
            const bool goesOn = fact.detail.empty() &&
                                (fact.kind == FactKind::Anr || fact.kind == FactKind::JavaCrash);
            if (!add(std::move(fact))) return;
            if (goesOn && mOpen.size() < kMaxOpen) mOpen[record.tid] = mFacts.facts.size() - 1;
            return;
        }
        noteShare(text);
        const auto open = mOpen.find(record.tid);
        if (open != mOpen.end()) {
            if (!goOn(mFacts.facts[open->second], tag, text, place)) mOpen.erase(open);
        } else if (tag == "AndroidRuntime") {
            oldCrash(record, text, place);
        }
    }

    /** "Killed process" does not say that it was a memory cgroup; the line before it does. */
    bool isMemcgKill(const Fact& fact) const {
        const auto isIt = [&](const Fact& other) {
            return other.kind == FactKind::MemcgKill && other.pid == fact.pid;
        };
        const auto& facts = mFacts.facts;
        const size_t recent = std::min<size_t>(facts.size(), 8);
        return fact.kind == FactKind::OomKill &&
               std::any_of(facts.end() - static_cast<std::ptrdiff_t>(recent), facts.end(), isIt);
    }

    bool add(Fact fact) {
        if (isMemcgKill(fact)) fact.kind = FactKind::MemcgKill;
        mFacts.isCut = mFacts.facts.size() >= kMaxFacts;
        if (mFacts.isCut) return false;
        mFacts.facts.push_back(std::move(fact));
        return true;
    }

    void noteShare(std::string_view text) {
        const auto share = parseCpuShare(text);
        if (!share || share->isThread) return;
        if (!mMostBusy || share->percent > mMostBusy->percent) mMostBusy = share;
    }

    /** Names the process with the largest share of the block that ends. */
    std::string mostBusy() {
        const auto most = std::exchange(mMostBusy, std::nullopt);
        if (!most) return {};
        return fmt::format(", most by {} ({:.0f}% of one CPU)", most->name, most->percent);
    }

    /** A line after the first one of a fact. Returns false when the fact is over. */
    static bool goOn(Fact& fact, std::string_view tag, std::string_view text, Place place) {
        if (fact.kind == FactKind::JavaCrash) {
            if (!tag.empty() && tag != "AndroidRuntime") return true;
            return crashGoesOn(fact, text, place);
        }
        if (!tag.empty() && tag != "ActivityManager") return true;
        if (startsWith(text, "PID: ")) fact.pid = numberAfter(text, "PID: ").value_or(0);
        if (startsWith(text, "Reason: ")) {
            fact.detail = trim(text.substr(8));
            fact.detailPlace = place;
        }
        return !contains(text, "% TOTAL:");
    }

    static bool crashGoesOn(Fact& fact, std::string_view text, Place place) {
        if (startsWith(text, "Process: ")) {
            fact.process = until(text.substr(9), ",");
            fact.pid = numberAfter(text, "PID: ").value_or(fact.pid);
            return true;
        }
        if (auto frame = parseFrame(text, place.line)) {
            fact.frames.push_back(std::move(*frame));
            fact.framePlaces.push_back(place);
            return true;
        }
        const std::string_view line = trim(text);
        if (startsWith(line, "Caused by: ")) {
            // The last cause is the one that happened first.
            fact.detail = line.substr(11);
            fact.detailPlace = place;
            fact.frames.clear();
            fact.framePlaces.clear();
            return true;
        }
        if (startsWith(line, "... ") || startsWith(line, "Suppressed: ")) return true;
        if (!fact.detail.empty()) return fact.frames.empty();  // a message of several lines
        fact.detail = line;
        fact.detailPlace = place;
        return true;
    }

    /** Before Android 4.1 a crash had no line in front of its exception. */
    void oldCrash(const Record& record, std::string_view text, Place place) {
        const std::string_view name = until(text, ": ");
        const bool isException = record.level == Level::Error && contains(name, ".") &&
                                 (endsWith(name, "Exception") || endsWith(name, "Error"));
        if (!isException || mOpen.size() >= kMaxOpen) return;
        Fact fact;
        fact.kind = FactKind::JavaCrash;
        fact.utcNs = timeOf(record);
        fact.place = fact.detailPlace = place;
        fact.pid = record.pid;
        fact.detail = trim(text);
        if (!add(std::move(fact))) return;
        mOpen[record.tid] = mFacts.facts.size() - 1;
    }

    void crashLine(const Record& record, std::string_view text, Place place) {
        if (mParsers.size() >= kMaxOpen) return;
        const auto parser = mParsers.try_emplace(record.tid, 0, mRoom).first;
        parser->second.line(text, place);
        parser->second.setTime(record.utcNs);
    }

    const Evidence& mEvidence;
    Facts mFacts;
    std::map<int32_t, size_t> mOpen;  // by thread: index of the fact that its lines continue
    size_t mRoom = 100'000;           // for the frames of crashes in the log
    std::map<int32_t, TombstoneParser> mParsers;
    std::optional<CpuShare> mMostBusy;  // of the block of CPU usage that is read
    std::string mResource;              // whose pressure the next lines give
};

}  // namespace

Facts scanEvidence(const Evidence& evidence, const Timeline& timeline) {
    Scan scan(evidence);
    for (const Record& record : timeline.records) scan.record(record);
    for (uint32_t i = 0; i < evidence.files.size(); ++i) {
        if (canHoldLog(evidence.files[i].kind)) scan.otherText(evidence.files[i], i);
    }
    Facts facts = scan.finish();
    addMeasurements(evidence, facts.facts);
    return facts;
}

}  // namespace kaveldesk
