#include "tools/FlatNames.h"

#include "platform/TerminalText.h"
#include "platform/Utf8.h"

namespace android::kavel::tools {
namespace {

/** Leaves room within NAME_MAX for a number. */
constexpr size_t kMaxLength = 240;

std::string safeName(std::string_view text) {
    std::string name;
    while (!text.empty()) {
        const CodePoint front = decodeUtf8(text);
        const size_t length = front.length == 0 ? 1 : front.length;
        if (front.length == 0 || isTerminalControl(front.value) || front.value == '/') {
            name += '_';
        } else {
            name += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    if (name.size() > kMaxLength) {
        size_t start = name.size() - kMaxLength;
        while (start < name.size() && (static_cast<unsigned char>(name[start]) & 0xC0) == 0x80) {
            ++start;  // not within a character
        }
        name.erase(0, start);
    }
    if (name.empty() || name[0] == '.' || name[0] == '-') name.insert(0, "_");
    return name;
}

}  // namespace

std::string FlatNames::nameFor(std::string_view archived) {
    const std::string base = safeName(archived);
    std::string name = base;
    unsigned& number = mLastNumber.try_emplace(base, 1).first->second;
    while (!mUsed.insert(name).second) name = base + "." + std::to_string(++number);
    return name;
}

}  // namespace android::kavel::tools
