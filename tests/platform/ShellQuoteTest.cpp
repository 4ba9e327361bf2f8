// Would catch a value that the shell splits, expands or runs, at the start of a word or inside,
// that echo expands or takes for an option, and quotes around an ordinary value.

#include "platform/ShellQuote.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace android::kavel {
namespace {

std::string output(const std::string& shell, const std::string& text) {
    setenv("TEXT", text.c_str(), 1);
    FILE* const pipe = popen(("cd / && exec " + shell + " \"$TEXT\" 2>&1").c_str(), "re");
    std::string all;
    for (int byte; (byte = fgetc(pipe)) != EOF;) all.push_back(static_cast<char>(byte));
    EXPECT_EQ(pclose(pipe), 0);
    return all;
}

std::vector<std::string> hostileValues() {
    // clang-format off
    std::vector<std::string> values = {
            "a;touch /tmp/pwned;b", "$(touch /tmp/pwned)", "`id`", "$HOME ${PATH}", "a b  c", " a ",
            "'; id; '", "''", "end\\", "a\\nb\\tc\\0101\\c gone", "\"double\"", "a\nb\n", "/et[c]/*",
            "{a,b}", "{1..3}", "~root", "#comment", "a#b", "!x", "!(a)", "@(a|b)", "a&b",
            "a>/tmp/pwned", "%s%n", "-n", "-e", "-neE", "-e \\t", "a=~", "x:~", "a=~+", "k=~root",
            "1=~/x", "a=b:~root", "h\xc3\xa4nd \xe2\x82\xac", "broken \xc3", std::string(500, '\'')};
    // clang-format on
    for (int byte = 1; byte < 256; ++byte) {
        values.push_back(std::string(1, static_cast<char>(byte)));
        values.push_back("x" + values.back() + values.back() + "y");
    }
    return values;
}

TEST(ShellQuote, EveryValueComesBackFromTheShell) {
    // mksh is the phone's shell, dash this machine's.
    for (const char* const shell : {"mksh -c", "dash -c", "bash -B -O xpg_echo -c"}) {
        std::string command;
        std::string expected;
        for (const std::string& value : hostileValues()) {
            command += "printf '%s|' " + shellQuote(value) + " /x/kavel_" + shellQuote(value) +
                       "_y/*\necho [key]:" + shellQuoteForEcho(value) + ":" +
                       singleQuoteForEcho(value) + "\necho " + singleQuoteForEcho(value) + "\n";
            expected += value + "|/x/kavel_" + value + "_y/*|[key]:" + value + ":" + value + "\n" +
                        value + "\n";
        }
        EXPECT_EQ(output(shell, command), expected) << shell;
    }
}

// Readers know the commands as they are.
TEST(ShellQuote, OrdinaryValuesStayAsTheyAre) {
    for (const std::string value :
         {"", "com.example:remote_1", "1.2.3-beta+7", "a~b#c!d^e%f,g=h", "\xe4\xb8\xad\xe6\x96\x87",
          "/data/persist_log/kavel30/kavel_anr_com.a@831be687eb45bbc0@PX_11.A_09@2024-03-07"}) {
        EXPECT_EQ(shellQuote(value), value);
        EXPECT_EQ(shellQuoteForEcho(value), value);
    }
}

}  // namespace
}  // namespace android::kavel
