#include <algorithm>
#include <map>
#include <optional>

#include "desk/cause/Facts.h"
#include "desk/cause/LineRules.h"
#include "desk/parse/FrameText.h"
#include "desk/parse/Text.h"
#include "desk/parse/Time.h"

namespace kaveldesk {
namespace {

/** Most threads whose messages can be open at a time; more than a log of the phone can hold. */
constexpr size_t kMaxOpen = 4096;

constexpr bool isLog(FileKind kind) {
    return kind == FileKind::MainLog || kind == FileKind::EventsLog || kind == FileKind::KernelLog;
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
            const bool goesOn = fact.kind == FactKind::Anr || fact.kind == FactKind::JavaCrash;
            mFacts.facts.push_back(std::move(fact));
            if (goesOn && mOpen.size() < kMaxOpen) mOpen[record.tid] = mFacts.facts.size() - 1;
            return;
        }
        const auto open = mOpen.find(record.tid);
        if (open != mOpen.end()) {
            if (!goOn(mFacts.facts[open->second], tag, text, place)) mOpen.erase(open);
        } else if (tag == "AndroidRuntime") {
            oldCrash(record, text, place);
        }
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
            return true;
        }
        const std::string_view line = trim(text);
        if (startsWith(line, "Caused by: ")) {
            // The last cause is the one that happened first.
            fact.detail = line.substr(11);
            fact.detailPlace = place;
            fact.frames.clear();
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
        mFacts.facts.push_back(std::move(fact));
        mOpen[record.tid] = mFacts.facts.size() - 1;
    }

    void crashLine(const Record& record, std::string_view text, Place place) {
        if (mParsers.size() >= kMaxOpen) return;
        const auto parser = mParsers.try_emplace(record.tid, 0).first;
        parser->second.line(text, place);
        parser->second.setTime(record.utcNs);
    }

    const Evidence& mEvidence;
    Facts mFacts;
    std::map<int32_t, size_t> mOpen;  // by thread: index of the fact that its lines continue
    std::map<int32_t, TombstoneParser> mParsers;
    std::string mResource;  // whose pressure the next lines give
};

}  // namespace

Facts scanLogs(const Evidence& evidence, const Timeline& timeline) {
    Scan scan(evidence);
    for (const Record& record : timeline.records) scan.record(record);
    return scan.finish();
}

}  // namespace kaveldesk
