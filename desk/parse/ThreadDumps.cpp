#include "desk/parse/ThreadDumps.h"

#include <algorithm>
#include <string>

#include "desk/parse/FrameText.h"
#include "desk/parse/Text.h"
#include "desk/parse/ThreadLines.h"
#include "desk/parse/Time.h"

namespace kaveldesk {
namespace {

/** What the kernel says a thread waits in. */
struct Channel {
    int32_t pid;
    int32_t sysTid;
    std::string name;
    std::string process;
    uint32_t line;
};

class Parser {
  public:
    Parser(uint32_t file, int32_t utcOffsetSeconds, size_t& room)
          : mFile(file), mUtcOffsetSeconds(utcOffsetSeconds), mRoom(room) {}

    void line(std::string_view raw, uint32_t number) {
        const std::string_view text = trim(raw);
        if (startsWith(text, "-----")) return rule(text, number);
        if (mRoom == 0) {
            if (mInDump) mIsCut = true;
            return;
        }
        if (mInChannels && channel(text, number)) return;
        if (mInThread && threadLine(text, number)) return;
        if (auto head = parseThreadHead(text)) return begin(std::move(*head), number);
        outside(text, number);
    }

    std::vector<ThreadDump> finish() {
        if (mInDump && !mHasRule) mDumps.back().isComplete = !mInThread && !mIsCut;
        addChannels();
        return std::move(mDumps);
    }

  private:
    /** A line of dashes: begins or ends a dump or a block of waiting channels. */
    void rule(std::string_view text, uint32_t number) {
        if (startsWith(text, "----- Waiting Channels: pid ")) {
            close();
            mInChannels = true;
            mProcess.clear();
            mPid = numberAfter(text, "pid ").value_or(0);
        } else if (startsWith(text, "----- pid ")) {
            close();
            mProcess.clear();
            mPid = numberAfter(text, "pid ").value_or(0);
            open(number);
            mHasRule = true;
            mDumps.back().isComplete = false;
            if (const auto time = after(text, " at ")) {
                mDumps.back().utcNs = parseUtc(*time, mUtcOffsetSeconds);
            }
        } else if (startsWith(text, "----- end ")) {
            // The same words end both kinds of block: the open one is meant.
            if (mInDump && !mInChannels) {
                mDumps.back().isComplete = !mIsCut;
                mDumps.back().lastLine = number;
            }
            close();
        }
    }

    bool channel(std::string_view text, uint32_t number) {
        const auto sysTid =
                startsWith(text, "sysTid=") ? numberAfter(text, "sysTid=") : std::nullopt;
        if (!sysTid) return false;
        takeWord(text);
        --mRoom;
        mChannels.push_back({mPid, *sysTid, std::string(trim(text)), mProcess, number});
        return true;
    }

    bool threadLine(std::string_view text, uint32_t number) {
        Thread& thread = mDumps.back().threads.back();
        if (text.empty()) {
            mInThread = false;
            return true;
        }
        if (parseThreadHead(text)) return false;
        thread.lastLine = mDumps.back().lastLine = number;
        if (auto frame = parseFrame(text, number)) {
            thread.frames.push_back(std::move(*frame));
            --mRoom;
        } else if (auto lock = parseLock(text, number)) {
            thread.locks.push_back(std::move(*lock));
            --mRoom;
        } else if (startsWith(text, "|")) {
            if (const auto sysTid = numberAfter(text, "sysTid=")) thread.sysTid = *sysTid;
        }
        return true;
    }

    void begin(Thread head, uint32_t number) {
        mInChannels = false;
        if (!mInDump) open(number);
        head.firstLine = head.lastLine = number;
        mDumps.back().lastLine = number;
        mDumps.back().threads.push_back(std::move(head));
        --mRoom;
        mInThread = true;
    }

    /** Lines around the threads that name the process or give a reason. */
    void outside(std::string_view text, uint32_t number) {
        if (startsWith(text, "Cmd line:") || startsWith(text, "Cmdline:")) {
            text = trim(*after(text, ":"));
            text = trim(text.substr(0, text.find("Original command line:")));
            mProcess = text;
            if (mInDump && mDumps.back().process.empty()) mDumps.back().process = mProcess;
        } else if (startsWith(text, "pid: ") && contains(text, ">>> ")) {
            mPid = numberAfter(text, "pid: ").value_or(0);
            mProcess = between(text, ">>> ", " <<<");
        } else if (startsWith(text, "Subject: ")) {
            mSubject = trim(text.substr(9));
            mSubjectLine = number;
        }
    }

    void open(uint32_t number) {
        ThreadDump dump;
        dump.process = mProcess;
        dump.pid = mPid;
        dump.subject = std::move(mSubject);
        dump.subjectLine = mSubjectLine;
        dump.file = mFile;
        dump.firstLine = dump.lastLine = number;
        mDumps.push_back(std::move(dump));
        mSubject.clear();
        mSubjectLine = 0;
        mInDump = true;
        mHasRule = false;
    }

    void close() { mInDump = mInThread = mInChannels = false; }

    /** The blocks are before the stacks of their process, after them, or alone. */
    void addChannels() {
        for (const Channel& channel : mChannels) {
            const auto hasPid = [&](const ThreadDump& dump) { return dump.pid == channel.pid; };
            if (std::none_of(mDumps.begin(), mDumps.end(), hasPid)) {
                ThreadDump alone;
                alone.pid = channel.pid;
                alone.process = channel.process;
                alone.file = mFile;
                alone.firstLine = channel.line;
                mDumps.push_back(std::move(alone));
                mOnlyChannels = mDumps.size();
            }
            if (mOnlyChannels == mDumps.size() && mDumps.back().pid == channel.pid) {
                Thread thread;
                thread.sysTid = channel.sysTid;
                thread.waitChannel = channel.name;
                thread.firstLine = thread.lastLine = mDumps.back().lastLine = channel.line;
                mDumps.back().threads.push_back(std::move(thread));
                continue;
            }
            for (ThreadDump& dump : mDumps) {
                if (dump.pid != channel.pid) continue;
                for (Thread& thread : dump.threads) {
                    const bool isThis = thread.sysTid == channel.sysTid;
                    if (isThis && thread.waitChannel.empty()) thread.waitChannel = channel.name;
                }
            }
        }
    }

    const uint32_t mFile;
    const int32_t mUtcOffsetSeconds;
    size_t& mRoom;
    std::vector<ThreadDump> mDumps;
    std::vector<Channel> mChannels;
    std::string mProcess;
    std::string mSubject;
    uint32_t mSubjectLine = 0;
    int32_t mPid = 0;
    size_t mOnlyChannels = 0;  // number of dumps when the last is made of channels only
    bool mIsCut = false;       // there was no room for all lines
    bool mInDump = false;
    bool mHasRule = false;
    bool mInThread = false;
    bool mInChannels = false;
};

}  // namespace

std::vector<ThreadDump> parseThreadDumps(std::string_view text, uint32_t file,
                                         int32_t utcOffsetSeconds, size_t& room) {
    Parser parser(file, utcOffsetSeconds, room);
    Lines lines(text);
    for (std::string_view line; lines.next(line);) parser.line(line, lines.number());
    return parser.finish();
}

}  // namespace kaveldesk
