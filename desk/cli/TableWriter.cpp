#include "desk/cli/TableWriter.h"

#include <fmt/core.h>
#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "desk/parse/Printable.h"
#include "desk/parse/Time.h"

namespace kaveldesk {
namespace {

constexpr int64_t kNsPerMs = 1'000'000;
constexpr int64_t kMostMs = kTimeLimitNs / kNsPerMs;

/** "2026-11-21T07:33:31.583Z"; empty if the time is not known. */
std::string isoTime(int64_t utc) {
    if (utc == 0 || utc < -kMostMs || utc > kMostMs) return {};
    std::string text = timeText(utc * kNsPerMs, 0) + "Z";
    text[text.find(' ')] = 'T';
    return text;
}

std::string realText(double value) {
    return fmt::format("{:.6g}", value);
}

/** @p value as plain text; of an unknown time, @p noTime. */
std::string textOf(const Value& value, ValueType type, const char* noTime) {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    if (const auto* real = std::get_if<double>(&value)) return realText(*real);
    const auto* integer = std::get_if<int64_t>(&value);
    if (integer == nullptr) return {};
    if (type != ValueType::Time) return fmt::format("{}", *integer);
    const std::string time = isoTime(*integer);
    return time.empty() ? noTime : time;
}

class TextWriter : public TableWriter {
  public:
    void begin(const std::vector<Column>& columns) override {
        mColumns = columns;
        mWidths.assign(columns.size(), 0);
        std::vector<std::string> head;
        head.reserve(columns.size());
        for (const Column& column : columns) head.push_back(printable(column.name));
        keep(std::move(head));
    }
    void add(const Row& row) override {
        std::vector<std::string> texts;
        for (size_t i = 0; i < row.size(); ++i) {
            std::string text = textOf(row[i], mColumns[i].type, "unknown");
            if (mColumns[i].type == ValueType::Time && text.size() > kTimeWidth) {
                text[text.find('T')] = ' ';
                text.resize(kTimeWidth);
            }
            texts.push_back(printable(text));
        }
        keep(std::move(texts));
    }
    void end() override { flush(); }

  private:
    static constexpr size_t kKept = 1000;     // rows that decide about the widths
    static constexpr size_t kTimeWidth = 19;  // whole seconds

    void keep(std::vector<std::string> texts) {
        if (mIsStarted) {
            print(texts);
            return;
        }
        for (size_t i = 0; i < texts.size(); ++i)
            mWidths[i] = std::max(mWidths[i], widthOf(texts[i]));
        mKept.push_back(std::move(texts));
        if (mKept.size() > kKept) flush();
    }
    void flush() {
        mIsStarted = true;
        for (const auto& texts : mKept) print(texts);
        mKept.clear();
    }
    /** Characters of UTF-8. */
    static size_t widthOf(const std::string& text) {
        return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
            return (static_cast<unsigned char>(c) & 0xc0U) != 0x80U;
        }));
    }
    void print(const std::vector<std::string>& texts) const {
        std::string line;
        for (size_t i = 0; i < texts.size(); ++i) {
            const size_t width = widthOf(texts[i]);
            const std::string blanks(mWidths[i] > width ? mWidths[i] - width : 0, ' ');
            const bool isNumber =
                    mColumns[i].type == ValueType::Integer || mColumns[i].type == ValueType::Real;
            if (i > 0) line += "  ";
            line += isNumber ? blanks + texts[i] : texts[i] + blanks;
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        fmt::print("{}\n", line);
    }

    std::vector<Column> mColumns;
    std::vector<size_t> mWidths;
    std::vector<std::vector<std::string>> mKept;
    bool mIsStarted = false;
};

class CsvWriter : public TableWriter {
  public:
    void begin(const std::vector<Column>& columns) override {
        mColumns = columns;
        std::string line;
        for (const Column& column : columns) line += (line.empty() ? "" : ",") + field(column.name);
        fmt::print("{}\n", line);
    }
    void add(const Row& row) override {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            line += (i == 0 ? "" : ",") + field(textOf(row[i], mColumns[i].type, ""));
        }
        fmt::print("{}\n", line);
    }
    void end() override {}

  private:
    static std::string field(const std::string& text) {
        if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
        std::string quoted = "\"";
        for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
        return quoted + "\"";
    }
    std::vector<Column> mColumns;
};

class JsonWriter : public TableWriter {
  public:
    JsonWriter(const char* before, const char* after) : mBefore(before), mAfter(after) {}

    void begin(const std::vector<Column>& columns) override {
        mColumns = columns;
        fmt::print("{}[", mBefore);
    }
    void add(const Row& row) override {
        Json::Value object(Json::objectValue);
        for (size_t i = 0; i < row.size(); ++i) {
            object[mColumns[i].name] = jsonOf(row[i], mColumns[i].type);
        }
        static const Json::StreamWriterBuilder kSettings = [] {
            Json::StreamWriterBuilder settings;
            settings["indentation"] = "";
            return settings;
        }();
        fmt::print("{}\n{}", mIsFirst ? "" : ",", Json::writeString(kSettings, object));
        mIsFirst = false;
    }
    void end() override { fmt::print("\n]{}", mAfter); }

  private:
    static Json::Value jsonOf(const Value& value, ValueType type) {
        if (type == ValueType::Time) {
            const std::string time = textOf(value, type, "");
            return time.empty() ? Json::Value() : Json::Value(time);
        }
        if (const auto* text = std::get_if<std::string>(&value)) return *text;
        if (const auto* real = std::get_if<double>(&value)) return *real;
        if (const auto* integer = std::get_if<int64_t>(&value)) return Json::Int64{*integer};
        return {};
    }
    const char* const mBefore;
    const char* const mAfter;
    std::vector<Column> mColumns;
    bool mIsFirst = true;
};

}  // namespace

void addFormatOptions(CLI::App& command, TableFormat& format) {
    CLI::Option* const json = command.add_flag("--json", format.isJson, "One JSON document");
    command.add_flag("--csv", format.isCsv, "Values between commas, with a line of names")
            ->excludes(json);
}

std::unique_ptr<TableWriter> makeTableWriter(const TableFormat& format) {
    if (format.isJson) return std::make_unique<JsonWriter>("", "");
    if (format.isCsv) return std::make_unique<CsvWriter>();
    return std::make_unique<TextWriter>();
}

std::unique_ptr<TableWriter> makeAnswerWriter(const TableFormat& format) {
    if (!format.isJson) return makeTableWriter(format);
    return std::make_unique<JsonWriter>("{\"format\": 1, \"rows\": ", "}\n");
}

void printTable(const Table& table, TableWriter& writer) {
    writer.begin(table.columns);
    for (const Row& row : table.rows) writer.add(row);
    writer.end();
}

void printAnswer(const Table& table, const TableFormat& format) {
    printTable(table, *makeAnswerWriter(format));
}

}  // namespace kaveldesk
