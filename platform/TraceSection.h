#pragma once

// All sections of the daemon are in one category, so that one switch enables them all.
#define ATRACE_TAG ATRACE_TAG_VIEW

// Must come before <cutils/trace.h>: on a build machine, Android 14's version includes clang's
// <stdatomic.h>, whose macros break the parts of <atomic> that this header needs.
#include <utils/LightRefBase.h>

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
