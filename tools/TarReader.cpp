#include "tools/TarReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace android::kavel::tools {
namespace {

constexpr size_t kBlock = 512;

/** A field of the member header: POSIX.1-1988 "ustar", IEEE Std 1003.1, pax. */
struct Field {
    size_t offset;
    size_t length;
};
constexpr Field kName{0, 100};
constexpr Field kSize{124, 12};
constexpr Field kChecksum{148, 8};
constexpr Field kType{156, 1};
constexpr Field kMagic{257, 6};
constexpr Field kPrefix{345, 155};

constexpr std::string_view kPosixMagic("ustar\0", 6);  // GNU has "ustar " and no prefix

/** Types of extended headers: GNU long name, GNU long link target, pax, Solaris pax, global pax. */
constexpr std::string_view kExtensions = "LKxXg";

using Header = std::array<char, kBlock>;

std::string_view bytesOf(const Header& header, Field field) {
    return {header.data() + field.offset, field.length};
}

/** Returns the text up to the first NUL. */
std::string_view textOf(std::string_view bytes) {
    return bytes.substr(0, bytes.find('\0'));
}

/**
 * Parses decimal or octal digits. Returns nullopt for any other text, or if the number exceeds
 * int64.
 */
std::optional<uint64_t> parseDigits(std::string_view text, int base) {
    int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end || number < 0) return std::nullopt;
    return static_cast<uint64_t>(number);
}

/**
 * Parses a number of a header: octal digits, or GNU's big-endian bytes after a first byte of 0x80.
 */
std::optional<uint64_t> parseNumber(std::string_view bytes) {
    if (bytes[0] == '\x80') {
        uint64_t number = 0;
        for (const char byte : bytes.substr(1)) {
            if (number > (uint64_t{INT64_MAX} >> 8)) return std::nullopt;
            number = (number << 8) | static_cast<unsigned char>(byte);
        }
        return number;
    }
    const size_t start = std::min(bytes.find_first_not_of(' '), bytes.size());
    const size_t end =
            std::min(bytes.find_first_of(std::string_view(" \0", 2), start), bytes.size());
    return start == end ? 0 : parseDigits(bytes.substr(start, end - start), 8);
}

bool hasValidChecksum(const Header& header) {
    const auto wanted = parseNumber(bytesOf(header, kChecksum));
    uint64_t sum = 0;
    int64_t signedSum = 0;  // some old programs add the bytes as signed
    for (size_t i = 0; i < header.size(); ++i) {
        const bool isSum = i >= kChecksum.offset && i < kChecksum.offset + kChecksum.length;
        const char byte = isSum ? ' ' : header.at(i);
        sum += static_cast<unsigned char>(byte);
        signedSum += static_cast<signed char>(byte);
    }
    return wanted && (*wanted == sum || static_cast<int64_t>(*wanted) == signedSum);
}

std::string nameOf(const Header& header) {
    const std::string_view name = textOf(bytesOf(header, kName));
    const std::string_view prefix = textOf(bytesOf(header, kPrefix));
    if (bytesOf(header, kMagic) != kPosixMagic || prefix.empty()) return std::string(name);
    return std::string(prefix).append("/").append(name);
}

/** Whether a member of this type has data after its header. If not, its size field is ignored. */
bool hasData(char type) {
    return type < '1' || type > '6';  // links, devices, directories, FIFOs
}

TarMember::Kind kindOf(char type) {
    if (type == '5') return TarMember::Kind::Directory;
    // '7' is a file that is stored in one piece. Before POSIX, files had a NUL.
    const bool isFile = type == '0' || type == '\0' || type == '7';
    return isFile ? TarMember::Kind::File : TarMember::Kind::Other;
}

}  // namespace

std::optional<TarMember> TarReader::next() {
    if (mIsAtEnd || !skipData()) return std::nullopt;
    Extension own;
    Header header;
    while (true) {
        const size_t got = fill(header.data(), header.size());
        if (got == 0) return fail("it has no end mark");
        if (got < header.size()) return fail("it ends within a header");
        if (std::all_of(header.begin(), header.end(), [](char c) { return c == '\0'; })) {
            mIsAtEnd = true;
            return std::nullopt;
        }
        if (++mHeaders > kMaxTarHeaders) return fail("it has too many members");
        const auto size = parseNumber(bytesOf(header, kSize));
        if (!hasValidChecksum(header) || !size) return fail("a header is damaged");

        const char type = header[kType.offset];
        if (kExtensions.find(type) != std::string_view::npos) {
            if (!readExtension(type, *size, own)) return std::nullopt;
            continue;
        }
        if (type == 'S') return fail("it has a sparse member, which cannot be read");
        TarMember member{own.path       ? *own.path
                         : mCommon.path ? *mCommon.path
                                        : nameOf(header),
                         0, kindOf(type)};
        if (hasData(type)) member.size = own.size.value_or(mCommon.size.value_or(*size));
        if (!member.name.empty() && member.name.back() == '/') {
            member.kind = TarMember::Kind::Directory;
        }
        member.name.resize(std::min(member.name.size(), kMaxTarName));
        mDataLeft = member.size;
        mPaddingLeft = (kBlock - member.size % kBlock) % kBlock;
        return member;
    }
}

size_t TarReader::read(char* buffer, size_t size) {
    const auto wanted = static_cast<size_t>(std::min<uint64_t>(size, mDataLeft));
    const size_t got = fill(buffer, wanted);
    mDataLeft -= got;
    if (got < wanted) fail("it ends within a member");
    return got;
}

std::nullopt_t TarReader::fail(std::string reason) {
    if (mError.empty()) mError = std::move(reason);
    mIsAtEnd = true;
    return std::nullopt;
}

size_t TarReader::fill(char* buffer, size_t size) {
    size_t length = 0;
    while (length < size) {
        const size_t got = mSource(buffer + length, size - length);
        if (got == 0) break;
        length += got;
    }
    return length;
}

bool TarReader::skipData() {
    std::array<char, size_t{16} * 1024> buffer;
    mDataLeft += std::exchange(mPaddingLeft, 0);
    while (mDataLeft > 0 && read(buffer.data(), buffer.size()) > 0) {
    }
    return mDataLeft == 0;
}

bool TarReader::readText(uint64_t size, std::string& text) {
    if (size > kMaxTarText) {
        fail("an extended header is too long");
        return false;
    }
    text.resize(static_cast<size_t>(size));
    mDataLeft = size;
    mPaddingLeft = (kBlock - size % kBlock) % kBlock;
    return read(text.data(), text.size()) == text.size() && skipData();
}

bool TarReader::readExtension(char type, uint64_t size, Extension& own) {
    std::string text;
    if (!readText(size, text)) return false;
    if (type == 'L') {
        own.path = textOf(text);
    } else if (type != 'K' && !readPax(text, type == 'g' ? mCommon : own)) {  // K: target of a link
        fail("a pax header is damaged");
        return false;
    }
    return true;
}

/** Parses records "LENGTH KEY=VALUE\n"; LENGTH is the size of the whole record. */
bool TarReader::readPax(std::string_view text, Extension& extension) {
    while (!text.empty()) {
        const size_t blank = std::min(text.find(' '), text.size());
        const auto length = parseDigits(text.substr(0, blank), 10);
        if (!length || *length > text.size() || *length <= blank + 1) return false;
        const auto end = static_cast<size_t>(*length) - 1;
        const std::string_view record = text.substr(blank + 1, end - blank - 1);
        const size_t equals = record.find('=');
        if (text[end] != '\n' || equals == std::string_view::npos) return false;
        const std::string_view key = record.substr(0, equals);
        const std::string_view value = record.substr(equals + 1);
        if (key == "path") extension.path = value;
        if (key == "size") {
            extension.size = parseDigits(value, 10);
            if (!extension.size) return false;
        }
        text.remove_prefix(end + 1);
    }
    return true;
}

}  // namespace android::kavel::tools
