#include "desk/read/Classify.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "desk/parse/LogLine.h"
#include "desk/parse/Text.h"
#include "dump/LogCommands.h"

namespace kaveldesk {
namespace {

struct KindRow {
    std::string_view text;
    FileKind kind;
};

/** Kinds by the start of the command; the first row that matches applies. */
constexpr KindRow kByCommand[] = {
        {"logcat -d -b events", FileKind::EventsLog},
        {"logcat -d -b radio", FileKind::RadioLog},
        {"logcat ", FileKind::MainLog},
        {"dmesg", FileKind::KernelLog},
        {"dumpsys -t 60 meminfo", FileKind::MemInfo},
        {"dumpsys cpuinfo", FileKind::CpuInfo},
        {"dumpsys ", FileKind::Dumpsys},
        {"top ", FileKind::Top},
        {"ps ", FileKind::ThreadList},
        {"cat /proc/meminfo", FileKind::ProcMemInfo},
        {"cat /sys/kernel/debug/binder/transactions", FileKind::Binder},
        {"debuggerd -b", FileKind::NativeBacktrace},
};

/** Kinds by a part of the file's own name; the first row that matches applies. */
constexpr KindRow kByName[] = {
        {"kavel_history.txt", FileKind::History},  {"kavel_events.txt", FileKind::Events},
        {"extraInfo.txt", FileKind::ExtraInfo},    {"dravo-trace", FileKind::SystemTrace},
        {"perfetto-trace", FileKind::SystemTrace}, {".pftrace", FileKind::SystemTrace},
        {"systrace", FileKind::SystemTrace},
};

/** Kinds by a part of the file's own name if its lines do not say what it is. */
constexpr KindRow kByNameOnly[] = {
        {"tombstone", FileKind::Tombstone},
        {"kavel_DumpTraces", FileKind::AnrTrace},
};

template <size_t N>
std::optional<FileKind> find(const KindRow (&rows)[N],
                             bool (*matches)(std::string_view, std::string_view),
                             std::string_view text) {
    for (const KindRow& row : rows) {
        if (matches(text, row.text)) return row.kind;
    }
    return std::nullopt;
}

/** "STEM-TIME.txt", the output of a command. */
struct OutputName {
    std::string_view stem;  // with its "-"
    Stamp time;
};

std::optional<OutputName> parseOutputName(std::string_view base) {
    constexpr std::string_view kTime = "YYYY-MM-DD-HH-MM-SS-mmm";
    constexpr std::string_view kSuffix = ".txt";
    if (base.size() <= kTime.size() + kSuffix.size()) return std::nullopt;
    const size_t suffixAt = base.size() - kSuffix.size();
    const size_t timeAt = suffixAt - kTime.size();
    const std::optional<Stamp> time = parseNameTime(base.substr(timeAt, kTime.size()));
    if (!time || base.substr(suffixAt) != kSuffix) return std::nullopt;
    return OutputName{base.substr(0, timeAt), *time};
}

FileKind kindOfCommand(std::string_view stem) {
    for (const auto& command : android::kavel::kLogCommands) {
        if (std::string_view(command.stem).substr(1) != stem) continue;
        return find(kByCommand, startsWith, command.head).value_or(FileKind::Other);
    }
    return FileKind::Other;
}

bool isEventsMessage(std::string_view message) {
    return !message.empty() && (message[0] == '[' || (message[0] >= '0' && message[0] <= '9'));
}

FileKind kindOfLines(std::string_view text) {
    constexpr size_t kLooksAt = 65'536;
    constexpr int kLines = 200;
    text = text.substr(0, kLooksAt);
    int lines = 0;
    int logcat = 0;
    int events = 0;
    int kernel = 0;
    bool isArt = false;
    bool isDump = false;
    for (size_t position = 0; position < text.size() && lines < kLines;) {
        const std::string_view line = takeLine(text, position);
        if (line.empty()) continue;
        ++lines;
        if (startsWith(line, "*** *** ***") || startsWith(line, "Tombstone written")) {
            return FileKind::Tombstone;
        }
        isArt |= startsWith(line, "DALVIK THREADS") || contains(line, " prio=");
        isDump |= startsWith(line, "----- pid ") || contains(line, "\" sysTid=");
        if (const auto head = parseLogcatLine(line)) {
            ++logcat;
            if (isEventsMessage(line.substr(head->head.messageAt))) ++events;
        } else if (parseKernelLine(line)) {
            ++kernel;
        }
    }
    if (isArt) return FileKind::AnrTrace;
    if (isDump) return FileKind::NativeBacktrace;
    // A log can begin with many lines of other kinds, such as the head of a bug report.
    if (logcat * 4 > lines) {
        return events * 5 > logcat * 4 ? FileKind::EventsLog : FileKind::MainLog;
    }
    return kernel * 2 > lines ? FileKind::KernelLog : FileKind::Other;
}

}  // namespace

bool isSystemTraceName(std::string_view name) {
    return find(kByName, contains, baseName(name)) == FileKind::SystemTrace;
}

FileKind kindOf(std::string_view name, std::string_view text) {
    const std::string_view base = baseName(name);
    if (const auto output = parseOutputName(base)) {
        const FileKind kind = kindOfCommand(output->stem);
        if (kind != FileKind::Other) return kind;
    }
    if (const auto kind = find(kByName, contains, base)) return *kind;
    const FileKind kind = kindOfLines(text);
    if (kind != FileKind::Other) return kind;
    if (startsWith(base, "trace_")) return FileKind::AnrTrace;
    return find(kByNameOnly, contains, base).value_or(FileKind::Other);
}

void classifyFiles(Evidence& evidence) {
    std::map<std::string_view, std::vector<std::pair<int64_t, EvidenceFile*>>> rounds;
    for (EvidenceFile& file : evidence.files) {
        file.kind = kindOf(file.name, file.text);
        const std::string_view base = baseName(file.name);
        const auto output = parseOutputName(base);
        if (!output) continue;
        file.collectedUtcNs = utcOf(output->time, evidence.incident.utcOffsetSeconds);
        const std::string_view folderAndStem(file.name.data(),
                                             file.name.size() - base.size() + output->stem.size());
        rounds[folderAndStem].emplace_back(file.collectedUtcNs, &file);
    }
    for (auto& [stem, files] : rounds) {
        std::stable_sort(files.begin(), files.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (size_t i = 0; i < files.size(); ++i) files[i].second->round = static_cast<int>(i + 1);
    }
}

}  // namespace kaveldesk
