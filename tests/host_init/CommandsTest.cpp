#include "host/init/Commands.h"

#include <android-base/file.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>

namespace android::kavel::host {
namespace {

class RcCommands : public testing::Test {
  protected:
    RcCommands() {
        mContext.getProperty = [this](const std::string& name) { return mProperties[name]; };
    }

    std::string run(std::vector<std::string> words) {
        return runCommand({std::move(words), "t.rc:1"}, mContext);
    }
    std::string path(const std::string& name) const { return std::string(mDir.path) + "/" + name; }

    TemporaryDir mDir;
    CommandContext mContext;
    std::map<std::string, std::string> mProperties{{"a", "one"}, {"b", "two"}};
};

// Would catch a second boot that fails on, or leaves alone, what the first one made, modes cut by
// the umask, and a write that truncates through a link out of the phone.
TEST_F(RcCommands, SecondBootFindsItsOwn) {
    for (const auto& [word, mode] : {std::pair{"0777", 0777U}, {"0751", 0751U}}) {
        EXPECT_EQ(run({"mkdir", path("d"), word, "root", "root", "encryption=Require"}), "");
        struct stat status {};
        EXPECT_EQ(stat(path("d").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
        EXPECT_EQ(run({"symlink", "d", path("l")}), "");
    }
    EXPECT_NE(run({"symlink", "other", path("l")}), "");
    EXPECT_EQ(run({"write", path("f"), "text"}), "");
    EXPECT_EQ(run({"symlink", "f", path("out")}), "");
    EXPECT_NE(run({"write", path("out"), "through the link"}), "");
}

// Would catch bad commands that pass in silence.
TEST_F(RcCommands, BadOnesSaySo) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows{
            {{"frobnicate"}, "unknown command"},
            {{"start"}, "number of arguments"},
            {{"mkdir"}, "number of arguments"},
            {{"mkdir", path("x"), "08"}, "octal"},
            {{"mkdir", path("x"), "0755", "nosuchuser"}, "unknown user"},
            {{"mkdir", path("none/x")}, "No such file"},
            {{"chmod", "9", path("x")}, "octal"},
            {{"chown", "0", "nosuchgroup", path("x")}, "unknown group"},
            {{"copy", path("none"), path("x")}, "No such file"},
            {{"write", path("x"), "${unset}"}, "not set"},
    };
    for (const auto& [words, part] : rows) {
        const std::string failure = run(words);
        EXPECT_NE(failure.find(part), std::string::npos) << words[0] << ": " << failure;
    }
}

// Would catch expansions that eat text around them or invent values.
TEST_F(RcCommands, ExpandsProperties) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> rows{
            {"plain", "plain"},     {"${a}", "one"},       {"x${a}y${b}z", "xoneytwoz"},
            {"${c:-dflt}", "dflt"}, {"${a:-dflt}", "one"}, {"${c:-}", ""},
            {"$$ $x $", "$ $x $"},  {"${a", std::nullopt}, {"${c}", std::nullopt},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(expandProperties(text, mContext), expected) << text;
    }
}

}  // namespace
}  // namespace android::kavel::host
