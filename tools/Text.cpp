#include "tools/Text.h"

#include <android-base/stringprintf.h>
#include <json/writer.h>

#include <array>
#include <cinttypes>

namespace android::kavel::tools {
namespace {

struct CodePoint {
    uint32_t value;
    size_t length;  ///< in bytes; 0 if the text does not start with valid UTF-8
};

/** Decodes the first character of a non-empty text by RFC 3629. */
CodePoint decodeFront(std::string_view text) {
    const auto byte = [&](size_t i) { return uint32_t{static_cast<unsigned char>(text[i])}; };
    const uint32_t lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {0, 0};
    uint32_t value = lead & (0xFFU >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {0, 0};
        value = (value << 6) | (byte(i) & 0x3F);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (overlong || surrogate || value > 0x10FFFF) return {0, 0};
    return {value, length};
}

/** Whether @p value is a control character (C0, DEL or C1), which a terminal might act on. */
bool isControl(uint32_t value) {
    return value < 0x20 || (value >= 0x7F && value <= 0x9F);
}

void writeIndented(std::ostream& out, const Json::Value& document, const char* indentation) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = indentation;
    builder["enableYAMLCompatibility"] = true;  // writes "key": value, as most programs do
    out << Json::writeString(builder, document) << '\n';
}

}  // namespace

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const size_t length = decodeFront(text).length;
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const CodePoint front = decodeFront(text);
        const size_t length = front.length == 0 ? 1 : front.length;
        if (front.length == 0 || isControl(front.value)) {
            for (const char c : text.substr(0, length)) {
                result += base::StringPrintf("\\x%02x", unsigned{static_cast<unsigned char>(c)});
            }
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return result;
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

void writeJson(std::ostream& out, const Json::Value& document) {
    writeIndented(out, document, "  ");
}

void writeJsonLine(std::ostream& out, const Json::Value& document) {
    writeIndented(out, document, "");
}

}  // namespace android::kavel::tools
