#include "tools/Text.h"

#include <android-base/stringprintf.h>
#include <json/writer.h>

#include <algorithm>
#include <array>
#include <cinttypes>

#include "platform/Utf8.h"

namespace android::kavel::tools {
namespace {

void writeIndented(std::ostream& out, const Json::Value& document, const char* indentation) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = indentation;
    builder["enableYAMLCompatibility"] = true;  // writes "key": value, as most programs do
    out << Json::writeString(builder, document) << '\n';
}

}  // namespace

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const size_t length = decodeUtf8(text).length;
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string hexText(uint64_t value) {
    return base::StringPrintf("0x%" PRIx64, value);
}

std::string sizeText(uint64_t bytes) {
    constexpr std::array kUnits{"KiB", "MiB", "GiB", "TiB"};
    if (bytes < 1024) return std::to_string(bytes) + " B";
    double value = static_cast<double>(bytes) / 1024;
    size_t unit = 0;
    for (; value >= 1024 && unit + 1 < kUnits.size(); ++unit) value /= 1024;
    return base::StringPrintf("%.1f %s", value, kUnits.at(unit));
}

void printTable(std::ostream& out, const std::vector<TableColumn>& columns) {
    std::vector<std::string> rows(columns.empty() ? 0 : columns.front().cells.size());
    for (const TableColumn& column : columns) {
        size_t width = 0;
        for (const std::string& cell : column.cells) width = std::max(width, displayWidth(cell));
        for (size_t i = 0; i < rows.size(); ++i) {
            rows[i] += "  " + padded(column.cells[i], width, column.align);
        }
    }
    for (const std::string& row : rows) {
        out << row.substr(0, row.find_last_not_of(' ') + 1) << '\n';
    }
}

Json::Value jsonList(const std::vector<std::string>& texts) {
    Json::Value list(Json::arrayValue);
    for (const std::string& text : texts) list.append(text);
    return list;
}

Json::Value withFormat(Json::Value document) {
    document["format"] = kJsonFormat;
    return document;
}

void writeJson(std::ostream& out, const Json::Value& document) {
    writeIndented(out, withFormat(document), "  ");
}

void writeJsonLine(std::ostream& out, const Json::Value& value) {
    writeIndented(out, value, "");
}

}  // namespace android::kavel::tools
