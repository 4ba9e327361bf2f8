#include "platform/ShellQuote.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace android::kavel {
namespace {

// mksh is the phone's shell, dash this machine's.
const char* const kShells[] = {"mksh -c", "dash -c", "bash -B -O xpg_echo -c"};

std::string output(const char* shell, const std::string& text) {
    setenv("TEXT", text.c_str(), 1);
    FILE* const pipe =
            popen(("cd / && exec " + std::string(shell) + " \"$TEXT\" 2>&1").c_str(), "re");
    std::string all;
    std::array<char, 4096> part;
    for (size_t count; (count = fread(part.data(), 1, part.size(), pipe)) > 0;) {
        all.append(part.data(), count);
    }
    EXPECT_EQ(pclose(pipe), 0) << text;
    return all;
}

std::vector<std::string> hostileValues() {
    // clang-format off
    std::vector<std::string> values = {
            "a;touch /tmp/pwned;b", "$(touch /tmp/pwned)", "`id`", "$HOME ${PATH}", "a b  c", " a ",
            "it's", "'; id; '", "'", "''", "\\", "end\\", "a\\nb\\tc\\0101\\c gone", "\"double\"",
            "a\nb\n", "*", "/et[c]/*", "{a,b}", "{1..3}", "~", "~root", "#comment", "a#b", "!x",
            "!(a)", "@(a|b)", "a&b", "a>/tmp/pwned", "%s%n", "-n", "-e", "-neE", "-e \\t", "a=~", "x:~",
            "a=~+", "k=~root", "1=~/x", "a=b:~root", "a=b=~",
            "h\xc3\xa4nd \xe2\x82\xac", "broken \xc3", std::string(5000, '\'')};
    // clang-format on
    for (int byte = 1; byte < 256; ++byte) {
        values.push_back(std::string(1, static_cast<char>(byte)));
        values.push_back("x" + values.back() + values.back() + "y");
    }
    return values;
}

// Would catch any value that the shell splits, expands or runs, at the start of a word or inside.
TEST(ShellQuote, EveryValueComesBackFromTheShell) {
    for (const char* const shell : kShells) {
        std::string command = "printf '%s|'";
        std::string expected;
        for (const std::string& value : hostileValues()) {
            command += " " + shellQuote(value) + " /x/kavel_" + shellQuote(value) + "_y/*";
            expected += value + "|/x/kavel_" + value + "_y/*|";
        }
        EXPECT_EQ(output(shell, command), expected) << shell;
    }
}

// Would catch a backslash sequence that echo expands once the quotes are gone, and a value that it
// takes for an option.
TEST(ShellQuote, EveryValueComesBackFromEcho) {
    for (const char* const shell : kShells) {
        std::string command;
        std::string expected;
        for (const std::string& value : hostileValues()) {
            command += "echo [key]:" + shellQuoteForEcho(value) + ":" + singleQuoteForEcho(value) +
                       "\necho " + singleQuoteForEcho(value) + "\n";
            expected += "[key]:" + value + ":" + value + "\n" + value + "\n";
        }
        EXPECT_EQ(output(shell, command), expected) << shell;
    }
}

// Would catch quotes around an ordinary value: commands must stay what their readers know.
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
