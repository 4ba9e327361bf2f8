#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace android {

/**
 * Returns the tokens of @p text between characters of @p separators, like strtok_r(): a run of
 * separators counts as one, and there are no empty tokens. Does not change @p text.
 */
std::vector<std::string> split(char* text, std::string separators);

namespace kavel {

enum class RecordFault { None, TooFewFields, NotANumber };

/** Contents of a record "id:name:time"; the values are set only if there is no fault. */
struct RawRecord {
    RecordFault fault = RecordFault::None;
    int64_t id = 0;
    int64_t time = 0;
    std::string name;
};

/** Ignores fields after the third, and text after the digits of a number. */
RawRecord parseRawRecord(const char* text);

}  // namespace kavel
}  // namespace android
