#include "desk/store/ClickHouseText.h"

#include <fmt/core.h>

#include <charconv>
#include <stdexcept>

namespace kaveldesk {
namespace {

// In literals and in rows alike. A quote is escaped in literals only.
constexpr struct {
    char plain;
    char escaped;
} kEscapes[] = {{'\\', '\\'}, {'\t', 't'}, {'\n', 'n'}, {'\r', 'r'},
                {'\0', '0'},  {'\b', 'b'}, {'\f', 'f'}};

void appendEscaped(std::string& text, std::string_view plain, char quote) {
    for (const char c : plain) {
        char escaped = c == quote ? c : '\0';
        for (const auto& row : kEscapes) {
            if (row.plain == c) escaped = row.escaped;
        }
        if (escaped != '\0') text += '\\';
        text += escaped != '\0' ? escaped : c;
    }
}

std::string unescaped(std::string_view text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '\\' && i + 1 < text.size()) {
            c = text[++i];
            for (const auto& row : kEscapes) {
                if (row.escaped == c) {
                    c = row.plain;
                    break;
                }
            }
        }
        plain += c;
    }
    return plain;
}

std::string literalOf(const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        std::string literal = "'";
        appendEscaped(literal, *text, '\'');
        return literal + "'";
    }
    if (const auto* integer = std::get_if<int64_t>(&value)) return fmt::format("({})", *integer);
    if (const auto* real = std::get_if<double>(&value)) return fmt::format("({})", *real);
    return "NULL";
}

char kindOf(std::string_view type) {
    for (const std::string_view around : {"LowCardinality(", "Nullable("}) {
        if (type.substr(0, around.size()) == around) type.remove_prefix(around.size());
    }
    const auto startsWith = [&](std::string_view start) {
        return type.substr(0, start.size()) == start;
    };
    if (startsWith("Int") || startsWith("UInt")) return 'i';
    return startsWith("Float") ? 'f' : 't';
}

template <typename T>
bool parse(std::string_view text, T& value) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return stop == end && error == std::errc();
}

Value valueOf(std::string_view field, char kind) {
    int64_t integer = 0;
    double real = 0;
    if (field == "\\N") return {};
    if (kind == 'i' && parse(field, integer)) return integer;
    if (kind == 'f' && parse(field, real)) return real;
    return unescaped(field);  // an integer beyond 63 bits, too
}

/** Calls @p take with each field of @p line. */
template <typename Take>
void forEachField(std::string_view line, Take take) {
    for (;;) {
        const size_t end = line.find('\t');
        take(line.substr(0, end));
        if (end == std::string_view::npos) return;
        line.remove_prefix(end + 1);
    }
}

}  // namespace

std::string withLiterals(const std::string& sql, const std::vector<Value>& values) {
    if (values.empty()) return sql;  // perhaps a user's, with "?" in a text
    std::string bound;
    size_t used = 0;
    for (const char c : sql) {
        if (c != '?') {
            bound += c;
        } else if (used < values.size()) {
            bound += literalOf(values[used++]);
        } else {
            throw std::runtime_error("a parameter has no value");
        }
    }
    if (used < values.size()) throw std::runtime_error("a value has no parameter");
    return bound;
}

void appendTabSeparated(std::string& text, const Row& row) {
    for (size_t i = 0; i < row.size(); ++i) {
        if (i > 0) text += '\t';
        if (const auto* plain = std::get_if<std::string>(&row[i])) {
            appendEscaped(text, *plain, '\\');
        } else if (const auto* integer = std::get_if<int64_t>(&row[i])) {
            text += fmt::format("{}", *integer);
        } else if (const auto* real = std::get_if<double>(&row[i])) {
            text += fmt::format("{}", *real);
        } else {
            text += "\\N";
        }
    }
}

void TabSeparatedReader::add(std::string_view piece) {
    constexpr size_t kLongestLine = 64U << 20U;
    for (size_t end = piece.find('\n'); end != std::string_view::npos; end = piece.find('\n')) {
        if (mRest.empty()) {
            addLine(piece.substr(0, end));
        } else {
            mRest += piece.substr(0, end);
            addLine(mRest);
            mRest.clear();
        }
        piece.remove_prefix(end + 1);
    }
    if (piece.size() > kLongestLine - mRest.size()) {
        throw std::runtime_error("a row of the answer is longer than 64 MB");
    }
    mRest += piece;
}

void TabSeparatedReader::addLine(std::string_view line) {
    if (mNames.empty()) {
        forEachField(line, [&](std::string_view name) { mNames.push_back(unescaped(name)); });
        return;
    }
    if (mKinds.empty()) {
        forEachField(line, [&](std::string_view type) { mKinds.push_back(kindOf(type)); });
        if (mColumns.empty()) {
            for (const std::string& name : mNames) mColumns.push_back({name, ValueType::Text});
        }
        mSink.begin(mColumns);
        return;
    }
    mRow.clear();
    forEachField(line, [&](std::string_view field) {
        mRow.push_back(valueOf(field, mRow.size() < mKinds.size() ? mKinds[mRow.size()] : 't'));
    });
    if (mRow.size() != mColumns.size()) throw std::runtime_error("the answer has an odd row");
    mSink.add(mRow);
}

void TabSeparatedReader::end() const {
    if (mKinds.empty() || !mRest.empty()) throw std::runtime_error("the answer ends early");
}

}  // namespace kaveldesk
