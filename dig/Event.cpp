#include "dig/Event.h"

#include <charconv>
#include <cstdio>
#include <limits>
#include <string_view>

namespace android {
namespace {

constexpr int64_t kMaxAge = 10'000;

}  // namespace

// Put together by hand: two lines for each record would otherwise cost as much as the matching.
Event::~Event() {
    constexpr std::string_view kId = "zuvek id ";
    constexpr std::string_view kTime = "  time ";  // both blanks on purpose
    constexpr size_t kMaxDigits = 20;              // of an int64, with its sign
    char line[kId.size() + kTime.size() + 2 * kMaxDigits + 1];
    char* const limit = line + sizeof(line);
    char* end = line + kId.copy(line, kId.size());
    end = std::to_chars(end, limit, id).ptr;
    end += kTime.copy(end, kTime.size());
    end = std::to_chars(end, limit, time).ptr;
    *end++ = '\n';
    fwrite(line, 1, static_cast<size_t>(end - line), stdout);
}

namespace kavel {

int64_t elapsed(int64_t now, int64_t then) {
    int64_t difference = 0;
    if (!__builtin_sub_overflow(now, then, &difference)) return difference;
    using Limits = std::numeric_limits<int64_t>;
    return now < then ? Limits::min() : Limits::max();
}

bool isAged(int64_t now, int64_t then) {
    return elapsed(now, then) > kMaxAge;
}

}  // namespace kavel
}  // namespace android
