#include <cerrno>
#include <cstring>

#include "tools/Commands.h"
#include "tools/FolderWatch.h"
#include "tools/StatisticReport.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr Option kOptions[] = {
        kJsonOption,
        {"follow", "",
         "also show new statistics, until Ctrl-C; with --json one object on each line"},
        kFileOption,
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
        size_t bad = 0;
        const std::vector<Statistic> statistics = parseStatistics(lines, bad);
        if (!mIsJson) {
            printStatistics(mOutput.out, statistics);
        } else if (mFollows) {
            for (const Statistic& one : statistics)
                writeJsonLine(mOutput.out, withFormat(statisticJson(one)));
        } else {
            Json::Value json;
            Json::Value& list = json["statistics"] = Json::arrayValue;
            for (const Statistic& one : statistics) list.append(statisticJson(one));
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
    const std::filesystem::path path = statisticPath(arguments);
    StatisticFile file(path);
    if (!file.exists()) {
        throw CommandError("no statistics: cannot read " + printable(path.string()) + ": " +
                           strerror(errno));
    }
    const Printer printer(arguments, output);
    if (arguments.has("follow")) {
        FolderWatch watch;
        // The folder, not the file: the file is replaced when it is too long.
        watch.add(path.has_parent_path() ? path.parent_path() : ".", kStatisticEvents);
        std::vector<FolderChange> changes;
        do {
            printer.print(file.readNew());
            changes.clear();
        } while (output.out && watch.wait(changes) == FolderWatch::Result::Changed);
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
