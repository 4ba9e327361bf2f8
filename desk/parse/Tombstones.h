#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/ThreadDump.h"

namespace kaveldesk {

/** A native crash as debuggerd writes it, into a file of its own or into the log. */
struct Tombstone {
    std::string process;  // command line, or the name between ">>>" and "<<<"
    std::string thread;   // name of the thread that crashed; empty in old forms
    int32_t pid = 0;
    int32_t tid = 0;
    std::string signal;     // "SIGSEGV"; the number if it has no name
    std::string code;       // "SEGV_MAPERR"
    std::string faultAddr;  // as written; may be "--------"
    std::string abortMessage;
    std::string cause;  // what debuggerd itself suspects: "null pointer dereference"
    int64_t utcNs = 0;  // 0 if it does not say
    Place place;        // line with the process
    Place signalPlace;
    Place abortPlace;  // line 0 if there is no abort message
    Place causePlace;  // line 0 if there is no cause
    std::vector<Frame> frames;
    std::vector<Place> framePlaces;  // of each frame: of a log, they can be in two files
    std::vector<Thread> otherThreads;
};

/** Reads tombstones line by line. Lines that it does not know are passed over. */
class TombstoneParser {
  public:
    /** @p room as in parseThreadDumps(); lines without room are passed over. It must outlive this.
     */
    TombstoneParser(int32_t utcOffsetSeconds, size_t& room)
          : mUtcOffsetSeconds(utcOffsetSeconds), mRoom(room) {}

    /** @p line without what a log puts before it. */
    void line(std::string_view line, Place place);
    /** Time of the line just read, for a tombstone that does not say when it was made. */
    void setTime(int64_t utcNs);
    /** Those with a signal: without one it is no crash. The parser is empty afterwards. */
    std::vector<Tombstone> take();

  private:
    void head(std::string_view text, Place place);
    void signal(std::string_view text, Place place);

    int32_t mUtcOffsetSeconds;
    size_t& mRoom;
    std::vector<Tombstone> mTombstones;
    std::string mCmdline;
    int64_t mUtcNs = 0;
    bool mIsOther = false;  // after the rule that separates the other threads
    bool mIsOpen = false;   // the last tombstone still takes lines
};

/** Reads the tombstones of a file. */
std::vector<Tombstone> parseTombstones(std::string_view text, uint32_t file,
                                       int32_t utcOffsetSeconds, size_t& room);

}  // namespace kaveldesk
