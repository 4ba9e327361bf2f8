#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace android {

/**
 * The tokens of @p text between characters of @p separators, as strtok_r() finds them: a run of
 * separators counts as one, and there are no empty tokens. @p text is not changed.
 */
std::vector<std::string> split(char* text, std::string separators);

namespace kavel {

enum class RecordFault { None, TooFewFields, NotANumber };

/** What a record "id:name:time" says; the values hold only where there is no fault. */
struct RawRecord {
    RecordFault fault = RecordFault::None;
    int64_t id = 0;
    int64_t time = 0;
    std::string name;
};

/** Fields beyond the third are ignored, as is what follows the digits of a number. */
RawRecord parseRawRecord(const char* text);

}  // namespace kavel
}  // namespace android
