#include <android-base/unique_fd.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "tools/Commands.h"
#include "tools/StatisticFile.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr std::string_view kStatisticFile = "/data/persist_log/PLX/statistics.jsonl";
constexpr Option kOptions[] = {
        kJsonOption,
        {"follow", "",
         "also show new statistics, until Ctrl-C; with --json one object on each line"},
        {"file", "PATH", "the file (default: /data/persist_log/PLX/statistics.jsonl)"},
};

constexpr std::string_view kDescription =
        "Shows the statistics that the daemon uploaded, oldest first: time, event, pairs. Only the "
        "simulated phone has a file of them, PATH, and an older one, PATH.1. Lines that are not "
        "statistics are only counted; they do not change the exit code.";

constexpr std::string_view kDetails =
        "JSON: {statistics: list}, or with --follow each of these objects on a line:\n"
        "  time   ISO 8601\n"
        "  tag    text\n"
        "  event  text\n"
        "  data   {key: value, ...}: texts; a list of texts if a key comes several times\n";

/** Waits for changes of a file or for a signal to end. */
class Watch {
  public:
    explicit Watch(const std::filesystem::path& file) {
        sigemptyset(&mEndSignals);
        sigaddset(&mEndSignals, SIGINT);
        sigaddset(&mEndSignals, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &mEndSignals, &mOldMask);
        mSignals.reset(signalfd(-1, &mEndSignals, SFD_CLOEXEC));
        mChanges.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
        // Watch the folder, not the file: the file is replaced when it is too long.
        const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
        if (!mSignals.ok() || !mChanges.ok() ||
            inotify_add_watch(mChanges.get(), folder.c_str(), IN_MODIFY | IN_CREATE | IN_MOVED_TO) <
                    0) {
            pthread_sigmask(SIG_SETMASK, &mOldMask, nullptr);
            throw CommandError("cannot watch " + printable(folder.string()) + ": " +
                               strerror(errno));
        }
    }
    ~Watch() {
        // Remove pending signals before they are unblocked: they have already been handled.
        signalfd_siginfo info{};
        pollfd pending{mSignals.get(), POLLIN, 0};
        while (poll(&pending, 1, 0) > 0 && read(mSignals.get(), &info, sizeof(info)) > 0) {
        }
        pthread_sigmask(SIG_SETMASK, &mOldMask, nullptr);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    /** Blocks until the next change. Returns false if the user wants to end. */
    bool wait() const {
        std::array<pollfd, 2> sources{{{mSignals.get(), POLLIN, 0}, {mChanges.get(), POLLIN, 0}}};
        if (TEMP_FAILURE_RETRY(poll(sources.data(), sources.size(), -1)) < 0) return false;
        std::array<char, 4096> events;
        while (read(mChanges.get(), events.data(), events.size()) > 0) {
        }
        return (sources[0].revents & POLLIN) == 0;
    }

  private:
    sigset_t mEndSignals{};
    sigset_t mOldMask{};
    base::unique_fd mSignals;
    base::unique_fd mChanges;
};

Json::Value toJson(const Statistic& statistic) {
    Json::Value json;
    json["time"] = statistic.time;
    json["tag"] = statistic.tag;
    json["event"] = statistic.event;
    Json::Value& data = json["data"] = Json::objectValue;
    for (const auto& [key, value] : statistic.data) {
        Json::Value& member = data[key];
        if (member.isString()) {
            const Json::Value first = member;
            member = Json::arrayValue;
            member.append(first);
        }
        member.isArray() ? member.append(value) : member = value;
    }
    return json;
}

std::string dataText(const Statistic& statistic) {
    std::string text;
    for (const auto& [key, value] : statistic.data) {
        text += (text.empty() ? "" : " ") + printable(key) + "=" + printable(value);
    }
    return text;
}

void printStatistics(std::ostream& out, const std::vector<Statistic>& statistics) {
    std::vector<TableColumn> columns(3);
    for (const Statistic& statistic : statistics) {
        columns[0].cells.push_back(printable(statistic.time));
        columns[1].cells.push_back(printable(statistic.event));
        columns[2].cells.push_back(dataText(statistic));
    }
    printTable(out, columns);
}

class Printer {
  public:
    Printer(const Arguments& arguments, const Output& output)
          : mOutput(output), mIsJson(arguments.has("json")), mFollows(arguments.has("follow")) {}

    void print(const std::vector<std::string>& lines) const {
        std::vector<Statistic> statistics;
        size_t bad = 0;
        for (const std::string& line : lines) {
            if (auto statistic = parseStatistic(line)) {
                statistics.push_back(std::move(*statistic));
            } else {
                ++bad;
            }
        }
        if (!mIsJson) {
            printStatistics(mOutput.out, statistics);
        } else if (mFollows) {
            for (const Statistic& one : statistics)
                writeJsonLine(mOutput.out, withFormat(toJson(one)));
        } else {
            Json::Value json;
            Json::Value& list = json["statistics"] = Json::arrayValue;
            for (const Statistic& one : statistics) list.append(toJson(one));
            writeJson(mOutput.out, json);
        }
        mOutput.out.flush();
        if (bad == 0) return;
        mOutput.note() << "ignored " << bad
                       << (bad == 1 ? " line that is not a statistic\n"
                                    : " lines that are not statistics\n");
    }

  private:
    const Output& mOutput;
    const bool mIsJson;
    const bool mFollows;
};

int runStats(const Arguments& arguments, const Output& output) {
    const std::filesystem::path path =
            arguments.value("file").value_or(std::string(kStatisticFile));
    StatisticFile file(path);
    if (!file.exists()) {
        throw CommandError("no statistics: cannot read " + printable(path.string()) + ": " +
                           strerror(errno));
    }
    const Printer printer(arguments, output);
    if (arguments.has("follow")) {
        const Watch watch(path);
        do {
            printer.print(file.readNew());
        } while (output.out && watch.wait());
        return kExitOk;
    }
    std::vector<std::string> lines = file.readNew();
    if (file.isCutOff()) lines.emplace_back();  // counts as a line that is not a statistic
    printer.print(lines);
    return kExitOk;
}

}  // namespace

const Command kStatsCommand{"stats",      "",       "show the statistics that were uploaded",
                            kDescription, kOptions, runStats,
                            kDetails};

}  // namespace android::kavel::tools
