#include "desk/mask/FindValues.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include <re2/re2.h>

#include "desk/mask/Rules.h"

namespace kaveldesk {
namespace {

re2::StringPiece piece(std::string_view text) {
    return {text.data(), text.size()};
}

/** The patterns of the rules, compiled once. */
class Patterns {
  public:
    Patterns() {
        std::string any;
        for (const MaskRule& rule : maskRules()) {
            const std::string pattern = rule.before + '(' + rule.value + ')' + rule.behind;
            mEach.push_back(compile(pattern, false));
            mNext.push_back(rule.next.empty() ? nullptr : compile(rule.next, false));
            any += (any.empty() ? "(?:" : "|(?:") + pattern + ')';
        }
        mAny = compile(any, true);
    }

    const re2::RE2& each(size_t rule) const { return *mEach[rule]; }
    /** Null if the rule has none. */
    const re2::RE2* next(size_t rule) const { return mNext[rule].get(); }
    /** Matches where the pattern of any rule does. */
    const re2::RE2& any() const { return *mAny; }

  private:
    static std::unique_ptr<re2::RE2> compile(const std::string& pattern, bool never_capture) {
        re2::RE2::Options options;
        options.set_encoding(re2::RE2::Options::EncodingLatin1);  // any bytes
        options.set_never_nl(true);
        options.set_never_capture(never_capture);
        options.set_log_errors(false);
        options.set_max_mem(64 << 20);
        auto compiled = std::make_unique<re2::RE2>(pattern, options);
        if (!compiled->ok()) throw std::logic_error(pattern + ": " + compiled->error());
        return compiled;
    }

    std::vector<std::unique_ptr<re2::RE2>> mEach;
    std::vector<std::unique_ptr<re2::RE2>> mNext;
    std::unique_ptr<re2::RE2> mAny;
};

const Patterns& patterns() {
    static const Patterns kPatterns;
    return kPatterns;
}

bool overlaps(const MaskSpan& a, const MaskSpan& b) {
    return a.at < b.at + b.size && b.at < a.at + a.size;
}

void findInLine(std::string_view line, std::vector<MaskSpan>* spans) {
    const std::vector<MaskRule>& rules = maskRules();
    std::vector<MaskSpan> found;
    for (size_t i = 0; i < rules.size(); ++i) {
        std::vector<MaskSpan> ofRule;
        const auto add = [&](size_t at, size_t size) {
            if (size == 0 || !rules[i].accept({line, at, size})) return;
            ofRule.push_back({at, size, rules[i].kind});
        };
        size_t from = 0;
        re2::StringPiece groups[2];
        while (from < line.size() && patterns().each(i).Match(piece(line), from, line.size(),
                                                              re2::RE2::UNANCHORED, groups, 2)) {
            const size_t at = static_cast<size_t>(groups[1].data() - line.data());
            const size_t size = groups[1].size();
            add(at, size);
            // What is behind the value can be what is before the next one.
            from = std::max(at + size, from + 1);
            while (patterns().next(i) != nullptr &&
                   patterns().next(i)->Match(piece(line), from, line.size(), re2::RE2::ANCHOR_START,
                                             groups, 2)) {
                const size_t nextAt = static_cast<size_t>(groups[1].data() - line.data());
                add(nextAt, groups[1].size());
                from = nextAt + groups[1].size();
            }
        }
        // Both are sorted, so each overlap is between neighbours.
        std::vector<MaskSpan> both;
        auto old = found.begin();
        for (const MaskSpan& span : ofRule) {
            while (old != found.end() && old->at + old->size <= span.at) both.push_back(*old++);
            if (old == found.end() || !overlaps(*old, span)) both.push_back(span);
        }
        both.insert(both.end(), old, found.end());
        found = std::move(both);
    }
    spans->insert(spans->end(), found.begin(), found.end());
}

}  // namespace

std::vector<MaskSpan> findValues(std::string_view text) {
    std::vector<MaskSpan> spans;
    size_t from = 0;
    re2::StringPiece hit;
    // Most lines have no value: one search finds those that can have one.
    while (from < text.size() &&
           patterns().any().Match(piece(text), from, text.size(), re2::RE2::UNANCHORED, &hit, 1)) {
        const size_t at = static_cast<size_t>(hit.data() - text.data());
        const size_t newline = text.rfind('\n', at);
        const size_t begin = newline == std::string_view::npos ? 0 : newline + 1;
        const size_t end = std::min(text.find('\n', at), text.size());
        const size_t first = spans.size();
        findInLine(text.substr(begin, end - begin), &spans);
        for (size_t i = first; i < spans.size(); ++i) spans[i].at += begin;
        from = end + 1;
    }
    return spans;
}

}  // namespace kaveldesk
