#pragma once

#include <re2/re2.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "desk/cli/Incidents.h"

namespace kaveldesk {

/** The options of the timeline command, as the user wrote them. */
struct TimelineOptions {
    std::vector<std::string> paths;
    std::string around;
    std::string from;
    std::string to;
    std::vector<std::string> sources;
    std::string level;
    std::string grep;
    bool isJson = false;
};

/** Which records of one archive are shown. */
class TimelineFilter {
  public:
    /**
     * Throws CLI::ValidationError for a bad value of an option, and std::runtime_error if the
     * archive does not say what an option needs.
     */
    TimelineFilter(const TimelineOptions& options, const Incident& incident);

    bool hasTime(int64_t utcNs) const { return mFromNs <= utcNs && utcNs <= mToNs; }
    bool shows(const Evidence& evidence, const Record& record) const;

  private:
    int64_t mFromNs;
    int64_t mToNs;
    Level mLevel = Level::Unknown;
    std::vector<FileKind> mSources;
    std::unique_ptr<const RE2> mPattern;
};

/** All names that --source takes. */
std::vector<std::string> sourceNames();

}  // namespace kaveldesk
