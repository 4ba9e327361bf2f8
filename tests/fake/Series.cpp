#include "tests/fake/Series.h"

#include <array>
#include <cinttypes>
#include <fstream>
#include <map>
#include <regex>
#include <utility>

#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <gtest/gtest.h>

namespace android::kavel::test {
namespace {

constexpr size_t kWidth = 180;

constexpr std::array<std::pair<const char*, const char*>, 4> kPlaces = {{
        {"{logs}", "/data/persist_log/kavel30"},
        {"{archives}", "/data/persist_log/PLX/de/kavel"},
        {"{hangs}", "/data/persist_log/PLX/de/kjb_multimedia_perf"},
        {"{@0}", "@831be687eb45bbc0@@2024-03-07-09-05-02-007"},
}};

/**
 * {+N} for the time text of N seconds after the start, {at+N} for that time in a log line, {@N} for
 * what a folder's name has behind the process.
 */
std::string withTimes(std::string text) {
    static const std::regex time(R"(2024-03-07([- ])(\d\d)[-:](\d\d)[-:](\d\d)[- ]007)");
    for (std::smatch found; std::regex_search(text, found, time);) {
        const int64_t second = std::stoi(found[2]) * 3600 + std::stoi(found[3]) * 60 +
                               std::stoi(found[4]) - (9 * 3600 + 5 * 60 + 2);
        text = found.prefix().str() + (found[1] == "-" ? "{+" : "{at+") + std::to_string(second) +
               "}" + found.suffix().str();
        const int64_t ns = kScriptStartUs * 1000 + second * 1'000'000'000;
        text = replaced(text,
                        base::StringPrintf("@%" PRIx64 "@@{+%" PRId64 "}",
                                           0x6B6176656C000000 + static_cast<uint64_t>(ns), second),
                        base::StringPrintf("{@%" PRId64 "}", second));
    }
    return text;
}

using Parts = std::map<char, std::string>;

/** Whether @p text is @p form with a part of a line for each %N; @p parts then has those. */
bool matches(const std::string& form, const std::string& text, Parts& parts) {
    const size_t mark = form.find('%');
    if (mark == std::string::npos) return form == text;
    if (text.compare(0, mark, form, 0, mark) != 0) return false;
    const size_t end = std::min(text.find('\n', mark), text.size());
    for (size_t length = 0; mark + length <= end; ++length) {
        Parts attempt = parts;
        const auto part = attempt.emplace(form[mark + 1], text.substr(mark, length)).first;
        if (text.compare(mark, length, part->second) != 0 ||
            !matches(form.substr(mark + 2), text.substr(mark + length), attempt)) {
            continue;
        }
        parts = attempt;
        return true;
    }
    return false;
}

void replaceSeries(std::vector<std::string>& lines, const Series& series) {
    for (size_t i = 0; i + series.size <= lines.size(); ++i) {
        const auto first = lines.begin() + static_cast<long>(i);
        const auto last = first + static_cast<long>(series.size);
        const std::string name = shortFor(base::Join(std::vector(first, last), "\n"), series);
        if (name.empty()) continue;
        *first = name;
        lines.erase(first + 1, last);
    }
}

}  // namespace

std::string shortFor(const std::string& text, const Series& series) {
    Parts parts;
    if (!matches(series.body, text, parts)) return "";
    std::string name = series.name;
    for (const auto& [mark, part] : parts) name = replaced(name, {'%', mark}, part);
    return name;
}

std::vector<Series> readSeries(const std::string& path) {
    std::vector<Series> all;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (line[0] != ' ') {
            all.push_back({line, "", 0});
        } else {
            all.back().body += (all.back().size++ == 0 ? "" : "\n") + line.substr(4);
        }
    }
    for (const Series& each : all) {
        for (const char* part : {"%1", "%2", "%3", "%4", "%5", "%6"}) {
            EXPECT_EQ(each.body.find(part) == std::string::npos,
                      each.name.find(part) == std::string::npos)
                    << each.name << " does not say all";
        }
    }
    return all;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
        text.replace(at, from.size(), to);
        at += to.size();
    }
    return text;
}

std::string withPlaces(std::string text) {
    for (const auto& [name, place] : kPlaces) text = replaced(text, name, place);
    return text;
}

std::string folded(const std::string& transcript, const std::vector<Series>& series) {
    std::string text = withTimes(transcript);
    for (const auto& [name, place] : kPlaces) text = replaced(text, place, name);
    std::vector<std::string> lines = base::Split(text, "\n");
    lines.pop_back();  // behind the last newline
    for (const Series& each : series) replaceSeries(lines, each);

    std::vector<std::string> result;
    std::string begun;
    size_t count = 1;
    for (size_t i = 0; i < lines.size(); ++i, ++count) {
        const std::string& line = lines[i];
        if (line == "}" && begun.empty() && !result.empty()) {
            result.back() += " }";
        } else if (line == "}" || line[0] == '{') {
            begun += line + " ";
        } else if (i + 1 == lines.size() || lines[i + 1] != line) {
            const std::string times = count > 1 ? " x" + std::to_string(count) : "";
            const std::string next = std::exchange(begun, "") + line + times;
            if (!result.empty() && result.back().size() + next.size() <= kWidth) {
                result.back() += " | " + next;
            } else {
                result.push_back(next);
            }
            count = 0;
        }
        if (line == "}" || line[0] == '{') count = 0;
    }
    if (!begun.empty()) result.push_back(base::Trim(begun));
    return base::Join(result, "\n") + "\n";
}

}  // namespace android::kavel::test
