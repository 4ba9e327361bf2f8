#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"

namespace kaveldesk {

/**
 * Finds the lines of a log that an earlier dump of the same log has. Both dumps have the lines in
 * one order, so each line of the earlier one is found once: a message that the phone logged twice
 * stays twice. Either dump may lack lines that the phone has dropped in the meantime.
 */
class RepeatFinder {
  public:
    /**
     * The earlier dump is the records from @p begin to @p end of a vector that outlives the finder.
     */
    RepeatFinder(const Evidence& evidence, const std::vector<Record>& records, size_t begin,
                 size_t end)
          : mEvidence(evidence), mRecords(records), mNext(begin), mEnd(end) {}

    /** To be asked for all lines of the later dump, in their order. */
    bool isRepeat(const Record& record);

  private:
    void buildIndex();

    const Evidence& mEvidence;
    const std::vector<Record>& mRecords;
    size_t mNext;  // behind the last line that was found
    size_t mEnd;
    std::vector<std::pair<size_t, size_t>> mIndex;  // hash of a line, its place in mRecords
};

}  // namespace kaveldesk
