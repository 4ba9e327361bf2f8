#include <fmt/core.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>

#include "desk/cli/Commands.h"
#include "desk/cli/FilterOptions.h"
#include "desk/cli/TableWriter.h"
#include "desk/index/ReadCatch.h"
#include "desk/questions/Questions.h"

namespace kaveldesk {
namespace {

struct QuestionOptions {
    FilterOptions filter;
    TableFormat format;
    size_t limit = 20;
    std::string by = "process";
    std::string per = "day";
    std::string subject;
    std::string other;
    double confidence = 95;
    bool isAll = false;
};

Filter filterNow(const QuestionOptions& options) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return filterOf(options.filter,
                    std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

std::unique_ptr<Store> openIndex(const QuestionOptions& options) {
    return openStore(placeOf(options.filter.db, Access::Read), Access::Read);
}

void runTop(const QuestionOptions& options) {
    const TopBy by = options.by == "event"         ? TopBy::Event
                     : options.by == "fingerprint" ? TopBy::Fingerprint
                     : options.by == "build"       ? TopBy::Build
                                                   : TopBy::Process;
    const Filter filter = filterNow(options);
    printAnswer(top(*openIndex(options), filter, by, options.limit), options.format);
}

void runTrend(const QuestionOptions& options) {
    const Filter filter = filterNow(options);
    const TrendPer per = options.per == "hour" ? TrendPer::Hour : TrendPer::Day;
    printAnswer(trend(*openIndex(options), filter, per), options.format);
}

void runCompare(const QuestionOptions& options) {
    const Filter filter = filterNow(options);
    Comparison comparison = compare(*openIndex(options), filter, options.subject, options.other);
    for (const auto& [build, catches] : {std::pair(options.subject, comparison.catchesA),
                                         std::pair(options.other, comparison.catchesB)}) {
        if (catches == 0) {
            throw std::runtime_error(fmt::format("there is no catch of the build '{}'", build));
        }
    }
    auto& rows = comparison.fingerprints.rows;
    const size_t pColumn = 6;
    const double mostP = 1 - options.confidence / 100;
    const size_t compared = rows.size();
    if (!options.isAll) {
        while (!rows.empty() && std::get<double>(rows.back()[pColumn]) > mostP) rows.pop_back();
    }
    if (options.format.isJson) {
        fmt::print(
                "{{\"format\": 1, \"catchesA\": {}, \"catchesB\": {}, \"scale\": {:.6g}, "
                "\"compared\": {}, \"rows\": ",
                comparison.catchesA, comparison.catchesB, comparison.scale, compared);
        printTable(comparison.fingerprints, *makeTableWriter(options.format));
        fmt::print("}}\n");
        return;
    }
    printTable(comparison.fingerprints, *makeTableWriter(options.format));
    if (options.format.isCsv) return;
    fmt::print(
            "\n{} catches of {}, {} of {}. Without a change, {:.3g} of the second are expected "
            "for each one of the first.\n{} fingerprints compared, {} listed.\n",
            comparison.catchesA, options.subject, comparison.catchesB, options.other,
            comparison.scale, compared, rows.size());
}

void runSimilar(const QuestionOptions& options) {
    const Filter filter = filterNow(options);
    const auto store = openIndex(options);
    const CatchRow row = readCatch(options.subject);
    if (row.fingerprint.empty()) {
        throw std::runtime_error(
                fmt::format("{} has no fingerprint: {}", options.subject, row.headline));
    }
    printAnswer(similar(*store, filter, row.kind, row.signature, options.limit), options.format);
}

void runShow(const QuestionOptions& options) {
    const Filter filter = filterNow(options);
    const auto tables = show(*openIndex(options), filter, options.subject);
    if (tables.front().table.rows.empty()) {
        throw std::runtime_error(
                fmt::format("there is no catch with the fingerprint '{}'", options.subject));
    }
    if (options.format.isJson) fmt::print("{{\"format\": 1");
    for (const NamedTable& part : tables) {
        if (options.format.isJson) {
            fmt::print(",\n\"{}\": ", part.name);
        } else {
            fmt::print("{}{}\n", &part == &tables.front() ? "" : "\n", part.name);
        }
        printTable(part.table, *makeTableWriter(options.format));
    }
    if (options.format.isJson) fmt::print("}}\n");
}

void runSql(const QuestionOptions& options) {
    const auto writer = makeAnswerWriter(options.format);
    openIndex(options)->read({options.subject, {}, {}}, *writer);
    writer->end();
}

/** Adds a command with its format, limit and the options of a filter. */
CLI::App* addQuestion(CLI::App& app, const char* name, const char* about,
                      const std::shared_ptr<QuestionOptions>& options,
                      void (*run)(const QuestionOptions&), bool withBuild = true) {
    CLI::App* const command = app.add_subcommand(name, about);
    addFilterOptions(*command, options->filter, withBuild);
    addFormatOptions(*command, options->format);
    command->callback([options, run] { run(*options); });
    return command;
}

void addLimit(CLI::App& command, QuestionOptions& options) {
    command.add_option("--limit", options.limit, "Most rows")
            ->check(CLI::Range(1, 1'000'000))
            ->capture_default_str();
}

}  // namespace

void addTop(CLI::App& app) {
    const auto options = std::make_shared<QuestionOptions>();
    CLI::App* const command = addQuestion(
            app, "top", "Lists what has the most catches in the index.", options, runTop);
    command->add_option("--by", options->by, "What is counted")
            ->check(CLI::IsMember({"process", "event", "fingerprint", "build"}))
            ->capture_default_str();
    addLimit(*command, *options);
}

void addTrend(CLI::App& app) {
    const auto options = std::make_shared<QuestionOptions>();
    CLI::App* const command =
            addQuestion(app, "trend", "Counts the catches of each day or hour (UTC) that has any.",
                        options, runTrend);
    command->add_option("--per", options->per, "Length of a step")
            ->check(CLI::IsMember({"day", "hour"}))
            ->capture_default_str();
}

void addCompare(CLI::App& app) {
    const auto options = std::make_shared<QuestionOptions>();
    CLI::App* const command = addQuestion(
            app, "compare",
            "Lists fingerprints that are new, gone, up or down between two builds, with counts.\n"
            "Column p is the chance that any of the fingerprints would differ so if none had "
            "changed.",
            options, runCompare, false);
    command->add_option("BUILD-A", options->subject, "The build to compare with")->required();
    command->add_option("BUILD-B", options->other, "The build to look at")->required();
    command->add_option("--confidence", options->confidence,
                        "Percent: lists changes with p up to 100 minus this")
            ->check(CLI::Range(0.0, 100.0))
            ->capture_default_str();
    command->add_flag("--all", options->isAll, "List all fingerprints, the surest changes first");
}

void addSimilar(CLI::App& app) {
    const auto options = std::make_shared<QuestionOptions>();
    CLI::App* const command = addQuestion(
            app, "similar",
            "Lists the fingerprints in the index whose signature is like that of an archive.",
            options, runSimilar);
    command->add_option("ARCHIVE", options->subject, "Archive or extracted folder")
            ->required()
            ->type_name("FILE");
    addLimit(*command, *options);
}

void addShow(CLI::App& app) {
    const auto options = std::make_shared<QuestionOptions>();
    CLI::App* const command = addQuestion(
            app, "show",
            "Shows all about a fingerprint: builds, processes, days, findings, latest archives.",
            options, runShow);
    command->add_option("FINGERPRINT", options->subject, "16 hexadecimal digits")->required();
}

void addSql(CLI::App& app) {
    const auto options = std::make_shared<QuestionOptions>();
    CLI::App* const command =
            app.add_subcommand("sql",
                               "Answers a SELECT about the tables of the index. It can change "
                               "nothing. docs/index.md has the tables.");
    command->add_option("QUERY", options->subject, "The statement")->required();
    addPlaceOption(*command, options->filter.db);
    addFormatOptions(*command, options->format);
    command->callback([options] { runSql(*options); });
}

}  // namespace kaveldesk
