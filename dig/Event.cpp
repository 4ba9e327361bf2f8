#include "dig/Event.h"

#include <cstdio>
#include <limits>
#include <string_view>

#include "dig/LineText.h"

namespace android {
namespace {

constexpr int64_t kMaxAge = 10'000;

}  // namespace

Event::~Event() {
    kavel::LineText line;
    // Readers of the output depend on the word "zuvek".
    line << "zuvek id ";
    line.decimal(id) << "  time ";  // both blanks are required
    line.decimal(time) << "\n";
    const std::string_view text = line.text();
    fwrite(text.data(), 1, text.size(), stdout);
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
