#include <algorithm>
#include <iterator>
#include <map>

#include "desk/parse/CpuUsage.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

std::vector<std::string> wordsOf(std::string_view line) {
    std::vector<std::string> words;
    for (auto word = takeWord(line); !word.empty(); word = takeWord(line)) words.emplace_back(word);
    return words;
}

/** Where the columns are, counted in words of the heading. */
struct Columns {
    size_t pid = 0;
    size_t cpu = 0;
    size_t name = 0;
    bool isNameLast = false;
    bool isStateAfter = false;  // the state is the word after the CPU, else the one before
};

/** Reads "  PID USER  PR  NI VIRT  RES  SHR S[%CPU] %MEM  TIME+ ARGS" and its older forms. */
std::optional<Columns> parseHeading(std::string_view line) {
    std::string text(line);
    std::replace(text.begin(), text.end(), '[', ' ');  // the sign of the column that sorts
    std::replace(text.begin(), text.end(), ']', ' ');
    const std::vector<std::string> words = wordsOf(text);
    const auto find = [&](std::initializer_list<std::string_view> names) {
        const auto isName = [&](const std::string& word) {
            return std::find(names.begin(), names.end(), word) != names.end();
        };
        const auto found = std::find_if(words.begin(), words.end(), isName);
        return static_cast<size_t>(std::distance(words.begin(), found));
    };
    Columns columns;
    columns.pid = find({"PID"});
    columns.cpu = find({"%CPU", "CPU%"});
    if (columns.pid == words.size() || columns.cpu == words.size()) return std::nullopt;
    columns.name = find({"NAME", "Name", "ARGS", "CMDLINE", "COMMAND"});
    if (columns.name == words.size()) columns.name = words.size() - 1;
    columns.isNameLast = words[columns.name] == "NAME" || words[columns.name] == "Name";
    columns.isStateAfter = columns.cpu + 1 < words.size() && words[columns.cpu + 1] == "S";
    return columns;
}

bool isState(std::string_view word) {
    return !word.empty() && contains("RSDTtZXIW", word.substr(0, 1));
}

/** A state that the CPU is glued to, "S100", becomes two words. */
void unglue(std::vector<std::string>& words) {
    for (size_t i = 1; i < words.size(); ++i) {
        const std::string& word = words[i];
        const bool isGlued = word.size() > 1 && isState(word) && isDigit(word[1]) &&
                             word.find_first_not_of("0123456789.", 1) == std::string::npos;
        if (!isGlued) continue;
        std::string number = word.substr(1);
        words[i].resize(1);
        words.insert(words.begin() + static_cast<std::ptrdiff_t>(i) + 1, std::move(number));
        return;
    }
}

/** Index of the CPU in a row: next to the state, wherever the columns before it are shifted to. */
size_t cpuIndex(const Columns& columns, const std::vector<std::string>& words) {
    for (size_t i = 1; i + 1 < words.size(); ++i) {
        const std::string& number = columns.isStateAfter ? words[i] : words[i + 1];
        const std::string& state = columns.isStateAfter ? words[i + 1] : words[i];
        const bool isNumber = number.find_first_not_of("0123456789.%") == std::string::npos;
        if (isNumber && state.size() == 1 && isState(state))
            return columns.isStateAfter ? i : i + 1;
    }
    return columns.cpu;
}

std::optional<CpuShare> parseRow(const Columns& columns, std::string_view line) {
    std::vector<std::string> words = wordsOf(line);
    if (!columns.isStateAfter) unglue(words);
    if (words.size() <= columns.pid) return std::nullopt;
    if (columns.name <= columns.cpu) return std::nullopt;
    const size_t cpu = cpuIndex(columns, words);
    const size_t name = columns.isNameLast ? words.size() - 1 : cpu + (columns.name - columns.cpu);
    if (cpu >= words.size() || name >= words.size()) return std::nullopt;
    CpuShare share;
    std::string_view pid = words[columns.pid];
    std::string_view percent = words[cpu];
    const auto pidValue = takeInteger<int32_t>(pid);
    const auto value = takeDecimal(percent);
    if (!pidValue || !pid.empty() || !value) return std::nullopt;
    share.pid = *pidValue;
    share.percent = *value;
    share.name = words[name];
    return share;
}

/** Reads "400%cpu  17%user   0%nice  43%sys 338%idle   0%iow   0%irq   1%sirq   0%host". */
std::optional<CpuTotal> parseHead(std::string_view line) {
    const auto value = [&](std::string_view name) {
        const size_t end = line.find(name);
        if (end == std::string_view::npos) return -1.0;
        std::string_view number = lastPart(line.substr(0, end), " ");
        return takeDecimal(number).value_or(-1);
    };
    const double all = value("%cpu");
    const double idle = value("%idle");
    if (all <= 0 || idle < 0) return std::nullopt;
    return CpuTotal{100 * (all - idle) / all, 100 * std::max(0.0, value("%iow")) / all, 0};
}

}  // namespace

TopTable parseTop(std::string_view text) {
    TopTable table;
    std::optional<Columns> columns;
    std::map<int32_t, size_t> byPid;
    Lines lines(text);
    for (std::string_view line; lines.next(line);) {
        if (auto heading = parseHeading(line)) {
            columns = heading;
        } else if (auto total = columns ? std::nullopt : parseHead(line)) {
            table.total = total;
            table.total->line = lines.number();
        } else if (auto share = columns ? parseRow(*columns, line) : std::nullopt) {
            const auto [known, isNew] = byPid.emplace(share->pid, table.shares.size());
            share->line = lines.number();
            if (isNew) {
                table.shares.push_back(std::move(*share));
            } else {
                table.shares[known->second].percent += share->percent;
            }
        }
    }
    return table;
}

}  // namespace kaveldesk
