#include "desk/mask/MaskText.h"

#include "desk/mask/FindValues.h"

namespace kaveldesk {

void learnValues(std::string_view text, Pseudonyms* pseudonyms) {
    for (const MaskSpan& span : findValues(text)) {
        pseudonyms->number(span.kind, text.substr(span.at, span.size));
    }
}

std::string maskText(std::string_view text, const KnownValues& known, Pseudonyms* pseudonyms,
                     MaskCounts* counts) {
    const std::vector<MaskSpan> by_rule = findValues(text);
    const std::vector<MaskSpan> by_value = known.find(text);
    std::string masked;
    masked.reserve(text.size());
    size_t done = 0;
    const auto replace = [&](const MaskSpan& span) {
        const size_t number = pseudonyms->number(span.kind, text.substr(span.at, span.size));
        MaskCount& count = (*counts)[static_cast<size_t>(span.kind)];
        count.values.insert(number);
        ++count.places;
        masked += text.substr(done, span.at - done);
        masked += pseudonym(span.kind, number);
        done = span.at + span.size;
    };
    auto value = by_value.begin();
    const auto replace_values_up_to = [&](size_t end) {
        for (; value != by_value.end() && value->at < end; ++value) {
            if (value->at >= done && value->at + value->size <= end) replace(*value);
        }
    };
    for (const MaskSpan& span : by_rule) {
        replace_values_up_to(span.at);
        replace(span);
    }
    replace_values_up_to(text.size());
    masked += text.substr(done);
    return masked;
}

}  // namespace kaveldesk
