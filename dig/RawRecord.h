#pragma once

#include <cstdint>
#include <string>

namespace android::kavel {

enum class RecordFault { None, TooFewFields, NotANumber };

/** Contents of a raw event "id:name:time"; the values are set only if there is no fault. */
struct RawRecord {
    RecordFault fault = RecordFault::None;
    int64_t id = 0;
    int64_t time = 0;
    std::string name;
};

/**
 * The fields are separated by ":"; a run of separators counts as one. Ignores fields after the
 * third, and text after the digits of a number.
 */
RawRecord parseRawRecord(const char* text);

}  // namespace android::kavel
