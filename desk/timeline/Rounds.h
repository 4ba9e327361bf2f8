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
    /** The records of the earlier dump must outlive the finder. */
    RepeatFinder(const Evidence& evidence, const Record* records, size_t count)
          : mEvidence(evidence), mRecords(records), mCount(count) {}

    /** To be asked for all lines of the later dump, in their order. */
    bool isRepeat(const Record& record);

  private:
    void buildIndex();

    const Evidence& mEvidence;
    const Record* mRecords;
    size_t mCount;
    size_t mNext = 0;                               // behind the last line that was found
    std::vector<std::pair<size_t, size_t>> mIndex;  // hash of a line, its number
};

}  // namespace kaveldesk
