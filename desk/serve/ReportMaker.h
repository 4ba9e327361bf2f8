#pragma once

#include <atomic>
#include <string>

#include "desk/store/Store.h"
#include "platform/Mutex.h"

namespace kaveldesk {

/** Makes reports one at a time: one needs several hundred megabytes at most. For all threads. */
class ReportMaker {
  public:
    struct Result {
        enum class Status : uint8_t { Made, NotFound, Busy };
        Status status = Status::NotFound;
        std::string text;  // the page of a report, or a sentence
    };

    /**
     * The report of the archive with @p hash. Opens only the path that @p store has for it, and
     * only a file with that hash. Does not wait if several others wait already.
     */
    Result make(Store& store, const std::string& hash) EXCLUDES(mMutex);

  private:
    android::kavel::Mutex mMutex;
    std::atomic<int> mAsked = 0;
};

}  // namespace kaveldesk
