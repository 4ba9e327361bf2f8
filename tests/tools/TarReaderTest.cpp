// Would catch members that one of the tar formats names or measures in its own way being misread,
// which loses all behind them; damage that is taken for the end; a reader that goes on in the wrong
// place, follows a length beyond its bounds, or stays for ever in a stream of headers.

#include "tools/TarReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tests/tools/TestArchive.h"

namespace android::kavel::tools {
namespace {

const std::string kEnd(1024, '\0');

/** What a reader finds in @p bytes, @p step at a time: "NAME [DATA], ..." and the error. */
std::string listing(const std::string& bytes, size_t step = 512) {
    size_t position = 0;
    TarReader reader([&](char* buffer, size_t size) {
        const size_t count = bytes.copy(buffer, std::min(size, step), position);
        position += count;
        return count;
    });
    std::string text;
    while (const auto member = reader.next()) {
        std::string data(member->size < 100 ? member->size : 0, '\0');
        EXPECT_EQ(reader.read(data.data(), data.size()), data.size());
        const char* const kinds[] = {"", " dir", " other"};
        text += member->name + kinds[static_cast<int>(member->kind)];
        text += member->kind == TarMember::Kind::Directory ? ", " : " [" + data + "], ";
    }
    return text + reader.error();
}

/** tarMember() with @p bytes at @p offset of its header. */
std::string patched(std::string member, size_t offset, const std::string& bytes) {
    member.replace(offset, bytes.size(), bytes);
    setTarChecksum(member.data());
    return member;
}

std::string pax(const std::string& records, char type = 'x') {
    return tarMember("pax", records, type);
}

TEST(TarReader, ReadsEveryFormat) {
    const std::string name(150, 'n');
    const std::string member = tarMember("a", "1");
    const std::string posix("ustar\0\60\60", 8);
    const std::string old(8, '\0');
    const std::string noData = std::string("\x80\0\0\0\0\0\0\0\0\0\0\1", 12);
    const struct {
        std::string bytes;
        std::string expected;
    } cases[] = {
            {member + tarMember("b", "") + tarMember("c", std::string(512, 'x')),
             "a [1], b [], c [], "},
            {patched(member, 257, old), "a [1], "},
            {patched(tarMember("d/", "", '0'), 257, old), "d/ dir, "},
            {patched(tarMember("d", "", '5'), 257, posix), "d dir, "},
            {patched(patched(member, 257, posix), 345, "pre/fix"), "pre/fix/a [1], "},
            {patched(member, 345, "times"), "a [1], "},
            {patched(member, 124, noData), "a [1], "},
            {patched(member, 124, "         1 "), "a [1], "},
            {patched(tarMember("link", "", '1'), 124, "00000000777"), "link other [], "},
            {tarMember("L", std::string(150, 't'), 'K') + tarMember(name, "1"), name + " [1], "},
            {pax("8 path=\n12 path=b c\n9 other=\n9 size=2\n") +
                     patched(tarMember("a", "12"), 124, "0"),
             "b c [12], "},
            {pax("9 path=x\n", 'g') + member + pax("9 path=y\n") + member + member,
             "x [1], y [1], x [1], "},
            {"", ""},
    };
    for (const auto& each : cases) {
        for (const size_t step : {size_t{1}, size_t{512}, size_t{4096}}) {
            const std::string bytes = each.bytes + member + kEnd;
            const bool common = each.bytes.find("path=x") != std::string::npos;
            EXPECT_EQ(listing(bytes, step), each.expected + (common ? "x" : "a") + " [1], ");
        }
    }
}

TEST(TarReader, TellsWhatIsWrong) {
    const std::string member = tarMember("a", "1");
    const std::string tooLarge("\x80\0\0\0\x80\0\0\0\0\0\0\0", 12);
    const std::string huge("\x80\0\0\0\x40\0\0\0\0\0\0\0", 12);
    const std::pair<std::string, std::string> cases[] = {
            {member, "it has no end mark"},
            {member + member.substr(0, 100), "it ends within a header"},
            {member + tarHeader("b", 1000) + "data", "b [], it ends within a member"},
            {member + patched(member, 124, "00000000009"), "a header is damaged"},
            {member + patched(member, 124, tooLarge), "a header is damaged"},
            {member + patched(member, 124, huge), "a [], it ends within a member"},
            {member + patched(member, 124, "\xff"), "a header is damaged"},
            {member + std::string(member).replace(3, 1, "x"), "a header is damaged"},
            {member + tarMember("s", "", 'S'), "it has a sparse member, which cannot be read"},
            {member + tarHeader("L", kMaxTarText + 1, 'L'), "an extended header is too long"},
            {member + tarHeader("L", 600, 'L') + "name", "it ends within a member"},
    };
    for (const auto& [bytes, expected] : cases) {
        const std::string end = expected == "it has no end mark" ? "" : kEnd;
        const bool isCut = expected.find("it ends") != std::string::npos;
        EXPECT_EQ(listing(bytes + (isCut ? "" : end)), "a [1], " + expected);
    }
    const std::string tooLong = "1010 path=" + std::string(990, 'x');
    for (const std::string records :
         {tooLong.c_str(), "8 path=x\n", "3 x\n", "-9 path=x\n", "2 ", "0", "11 size=-1\n"}) {
        EXPECT_EQ(listing(pax(records) + kEnd), "a pax header is damaged") << records;
    }
    const std::string longName = tarMember(std::string(kMaxTarName + 9, 'x'), "");
    EXPECT_EQ(listing(longName + kEnd), std::string(kMaxTarName, 'x') + " [], ");
}

TEST(TarReader, EndsInAStreamThatDoesNot) {
    const std::string header = tarHeader("a", 0);
    TarReader reader([&](char* buffer, size_t size) { return header.copy(buffer, size); });
    size_t members = 0;
    while (reader.next()) ++members;
    EXPECT_EQ(members, kMaxTarHeaders);
    EXPECT_EQ(reader.error(), "it has too many members");
}

}  // namespace
}  // namespace android::kavel::tools
