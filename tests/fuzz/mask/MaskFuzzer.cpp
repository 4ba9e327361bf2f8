// Any text through the rules of masking. Would catch a crash, a line that is lost or joined with
// another one, a value of the text that is still in the copy by the same rules, and a change
// to a text without values.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "desk/mask/LineFeed.h"
#include "desk/mask/MaskText.h"
#include "tests/fuzz/Require.h"

using namespace kaveldesk;  // NOLINT(google-build-using-namespace): its own program

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string fed;
    LineFeed lines([&](std::string_view piece) { fed += piece; });
    for (size_t at = 0; at < size; at += 7) lines.add(std::string_view(text).substr(at, 7));
    lines.end();
    require(fed == text, "the blocks have the text");

    size_t end = 0;
    for (const MaskSpan& span : findValues(text)) {
        require(span.size > 0 && span.at >= end, "values in order");
        end = span.at + span.size;
        require(end <= size, "values in the text");
        const std::string_view value = std::string_view(text).substr(span.at, span.size);
        require(value.find('\n') == std::string_view::npos, "values in one line");
    }

    Pseudonyms pseudonyms;
    learnValues(text, &pseudonyms);
    const size_t learned = pseudonyms.size();
    MaskCounts counts;
    const KnownValues known(pseudonyms);
    const std::string masked = maskText(text, known, &pseudonyms, &counts);
    require(pseudonyms.size() == learned, "the copy has no value that was not learned");
    require(std::count(masked.begin(), masked.end(), '\n') ==
                    std::count(text.begin(), text.end(), '\n'),
            "as many lines");
    if (learned == 0) require(masked == text, "nothing else changes");
    MaskCounts again;
    Pseudonyms same;
    learnValues(text, &same);
    require(maskText(text, KnownValues(same), &same, &again) == masked, "the same again");
    return 0;
}
