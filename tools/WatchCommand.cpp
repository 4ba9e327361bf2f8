#include "tools/ArchiveArrivals.h"
#include "tools/ArchiveReport.h"
#include "tools/ArchiveTime.h"
#include "tools/Commands.h"
#include "tools/StatisticReport.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr Option kOptions[] = {
        kDirOption, kFileOption, {"json", "", "print a JSON document on each line"}};

constexpr std::string_view kDescription =
        "Prints archives when they are complete, and statistics when they are uploaded, until "
        "Ctrl-C: the time of the event, what it is, the event, and for an archive its processes, "
        "its size and its name. Only the simulated phone has a file of statistics.";

constexpr std::string_view kDetails =
        "JSON, one of these on each line:\n"
        "  {archive: the keys of an archive in 'kavelctl list --check --json' without index}\n"
        "  {statistic: the keys of a statistic in 'kavelctl stats --json'}\n";

class Printer {
  public:
    Printer(const Arguments& arguments, const Output& output)
          : mOutput(output), mIsJson(arguments.has("json")) {}

    void print(const Archive& archive) const {
        if (mIsJson) return printJson("archive", archiveSummary(archive));
        mOutput.out << isoTime(*archive.name, 'T') << "  archive    "
                    << printable(archive.subject.event) << "  " << printable(processesText(archive))
                    << "  " << sizeText(archive.size) << "  "
                    << printable(archive.path.filename().string()) << std::endl;
    }

    void print(const Statistic& statistic) const {
        if (mIsJson) return printJson("statistic", statisticJson(statistic));
        mOutput.out << printable(statistic.time) << "  statistic  " << printable(statistic.event)
                    << "  " << dataText(statistic) << std::endl;
    }

  private:
    void printJson(const char* kind, const Json::Value& value) const {
        Json::Value document;
        document[kind] = value;
        writeJsonLine(mOutput.out, withFormat(document));
        mOutput.out.flush();
    }

    const Output& mOutput;
    const bool mIsJson;
};

int runWatch(const Arguments& arguments, const Output& output) {
    const Printer printer(arguments, output);
    FolderWatch watch;
    const ArchiveArrivals arrivals(watch, directoryOf(arguments));
    const std::filesystem::path path = statisticPath(arguments);
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    StatisticFile file(path);
    std::error_code error;
    if (std::filesystem::is_directory(folder, error)) watch.add(folder, kStatisticEvents);
    file.readNew();  // only later ones are new
    output.note() << "watching " << printable(directoryOf(arguments).string())
                  << "; end with Ctrl-C" << std::endl;

    std::vector<FolderChange> changes;
    while (output.out && watch.wait(changes) == FolderWatch::Result::Changed) {
        size_t bad = 0;
        for (const Statistic& each : parseStatistics(file.readNew(), bad)) printer.print(each);
        if (bad != 0) output.note() << "ignored " << bad << " lines that are not statistics\n";
        for (const Archive& archive : arrivals.among(changes, output)) printer.print(archive);
        changes.clear();
    }
    return kExitOk;
}

}  // namespace

const Command kWatchCommand{"watch",      "",       "show archives and statistics as they come",
                            kDescription, kOptions, runWatch,
                            kDetails};

}  // namespace android::kavel::tools
