#pragma once

// Every section of the daemon belongs to one category, so that one switch shows them all.
#define ATRACE_TAG ATRACE_TAG_VIEW

#include <cutils/trace.h>

namespace android::kavel {

/** A system trace section from construction to the end of the scope. */
class TraceSection {
  public:
    explicit TraceSection(const char* name) { atrace_begin(ATRACE_TAG, name); }
    ~TraceSection() { atrace_end(ATRACE_TAG); }
    TraceSection(const TraceSection&) = delete;
    TraceSection& operator=(const TraceSection&) = delete;
};

}  // namespace android::kavel
