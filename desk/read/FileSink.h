#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "desk/model/Evidence.h"
#include "desk/read/Read.h"

namespace kaveldesk {

/** Takes the files of an archive or folder within the limits. For one thread. */
class FileSink {
  public:
    FileSink(Evidence& evidence, const ReadLimits& limits)
          : mEvidence(evidence), mLimits(limits), mRoom(limits.keptBytes) {}

    const ReadLimits& limits() const { return mLimits; }

    /** Bytes that one more file may have in memory. */
    uint64_t room() const {
        const uint64_t shared = mRoom - std::min(mRoom, mLimits.reservedBytes);
        const uint64_t small = std::min(mRoom, mLimits.smallBytes);
        return std::min(std::max(shared, small), mLimits.memberBytes);
    }

    /** Counts @p bytes as unpacked. Returns false, with a problem, if that is too many. */
    bool countUnpacked(uint64_t bytes);

    /** Counts a member. Returns false, with a problem, if there are too many. */
    bool countMember();

    /** Adds a file with what was read of it. Bytes that are not text are dropped. */
    void add(std::string name, uint64_t size, std::string text);

    /** Adds a file whose bytes are not kept. */
    void addUnread(std::string name, uint64_t size);

    void addProblem(std::string file, std::string sentence);

    /** Adds a problem with the bytes of an archive inside @p depth others. */
    void addDamage(std::string file, std::string sentence, size_t depth);

    /** Whether a limit of the whole archive is reached, so that reading has to end. */
    bool isFull() const { return mIsFull; }

    /** Takes @p bytes from the room as long as it exists. */
    class Hold {
      public:
        Hold(FileSink& sink, uint64_t bytes) : mSink(sink), mBytes(std::min(bytes, sink.mRoom)) {
            mSink.mRoom -= mBytes;
        }
        ~Hold() { mSink.mRoom += mBytes; }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

      private:
        FileSink& mSink;
        uint64_t mBytes;
    };

  private:
    Evidence& mEvidence;
    const ReadLimits& mLimits;
    uint64_t mRoom;
    uint64_t mUnpacked = 0;
    size_t mMembers = 0;
    bool mIsFull = false;
};

/** Whether @p bytes begin like text: few control characters, in any encoding. */
bool isText(std::string_view bytes);

}  // namespace kaveldesk
