#include "desk/parse/Tombstones.h"

#include <algorithm>
#include <utility>

#include "desk/parse/FrameText.h"
#include "desk/parse/Text.h"
#include "desk/parse/Time.h"

namespace kaveldesk {

void TombstoneParser::line(std::string_view line, Place place) {
    const std::string_view text = trim(line);
    if (startsWith(text, "*** ***")) {
        mIsOpen = mIsOther = false;
        mCmdline.clear();
        mUtcNs = 0;
    } else if (startsWith(text, "--- ---")) {
        mIsOther = true;
    } else if (startsWith(text, "Timestamp: ")) {
        mUtcNs = parseUtc(text.substr(11), mUtcOffsetSeconds);
    } else if (startsWith(text, "Cmdline: ")) {
        mCmdline = text.substr(9);
    } else if (const bool isHead = startsWith(text, "pid: ") && contains(text, ">>> ");
               mRoom == 0 || (!mIsOpen && !isHead)) {
        return;
    } else if (isHead) {
        --mRoom;
        head(text, place);
    } else if (startsWith(text, "signal ") && contains(text, " (") && !mIsOther) {
        signal(text, place);
    } else if (auto frame = isNativeFrame(text) ? parseFrame(text, place.line) : std::nullopt) {
        Tombstone& tombstone = mTombstones.back();
        auto& others = tombstone.otherThreads;
        if (mIsOther && others.empty()) return;
        --mRoom;
        if (mIsOther) {
            others.back().frames.push_back(std::move(*frame));
            others.back().lastLine = place.line;
        } else {
            tombstone.frames.push_back(std::move(*frame));
            tombstone.framePlaces.push_back(place);
        }
    } else if (startsWith(text, "Abort message: ")) {
        std::string_view message = text.substr(15);
        if (startsWith(message, "'")) message.remove_prefix(1);
        if (endsWith(message, "'")) message.remove_suffix(1);
        mTombstones.back().abortMessage = message;
        mTombstones.back().abortPlace = place;
    } else if (startsWith(text, "Cause: ")) {
        mTombstones.back().cause = text.substr(7);
        mTombstones.back().causePlace = place;
    }
}

void TombstoneParser::head(std::string_view text, Place place) {
    const int32_t pid = numberAfter(text, "pid: ").value_or(0);
    const int32_t tid = numberAfter(text, " tid: ").value_or(0);
    const std::string_view name = trim(until(between(text, "name: ", ">>>"), "\t"));
    const bool isOther = mIsOther && mIsOpen && mTombstones.back().pid == pid;
    if (isOther) {
        Thread thread;
        thread.name = name;
        thread.sysTid = tid;
        thread.firstLine = thread.lastLine = place.line;
        mTombstones.back().otherThreads.push_back(std::move(thread));
        return;
    }
    Tombstone tombstone;
    tombstone.pid = pid;
    tombstone.tid = tid;
    tombstone.thread = name;
    tombstone.process =
            mCmdline.empty() ? between(text, ">>> ", " <<<") : std::string_view(mCmdline);
    tombstone.utcNs = mUtcNs;
    tombstone.place = place;
    mTombstones.push_back(std::move(tombstone));
    mIsOther = false;
    mIsOpen = true;
}

void TombstoneParser::signal(std::string_view text, Place place) {
    Tombstone& tombstone = mTombstones.back();
    if (tombstone.signalPlace.line != 0) return;
    tombstone.signalPlace = place;
    tombstone.signal = between(text, "(", ")");
    if (const auto code = after(text, " code "))
        tombstone.code = until(between(*code, "(", ")"), " ");
    if (const auto address = after(text, "fault addr ")) tombstone.faultAddr = until(*address, " ");
}

void TombstoneParser::setTime(int64_t utcNs) {
    if (mIsOpen && mTombstones.back().utcNs == 0) mTombstones.back().utcNs = utcNs;
}

std::vector<Tombstone> TombstoneParser::take() {
    mIsOpen = mIsOther = false;
    std::vector<Tombstone> tombstones = std::exchange(mTombstones, {});
    const auto hasNoSignal = [](const Tombstone& t) { return t.signalPlace.line == 0; };
    tombstones.erase(std::remove_if(tombstones.begin(), tombstones.end(), hasNoSignal),
                     tombstones.end());
    return tombstones;
}

std::vector<Tombstone> parseTombstones(std::string_view text, uint32_t file,
                                       int32_t utcOffsetSeconds, size_t& room) {
    TombstoneParser parser(utcOffsetSeconds, room);
    Lines lines(text);
    for (std::string_view line; lines.next(line);) parser.line(line, {file, lines.number()});
    return parser.take();
}

}  // namespace kaveldesk
