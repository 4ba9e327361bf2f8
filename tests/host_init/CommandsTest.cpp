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
        mContext.control = [this](std::string_view action, const std::string& service) {
            mControls.push_back(std::string(action) + " " + service);
            return service != "missing";
        };
        mContext.setProperty = [this](const std::string& name, const std::string& value) {
            mProperties[name] = value;
            return name == "ro.fixed" ? "read-only" : "";
        };
        mContext.getProperty = [this](const std::string& name) {
            const auto found = mProperties.find(name);
            return found == mProperties.end() ? std::string() : found->second;
        };
    }

    std::string run(std::vector<std::string> words) {
        return runCommand({std::move(words), "t.rc:1"}, mContext);
    }
    std::string path(const std::string& name) const { return std::string(mDir.path) + "/" + name; }
    mode_t mode(const std::string& name) const {
        struct stat status {};
        return stat(path(name).c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }

    TemporaryDir mDir;
    CommandContext mContext;
    std::vector<std::string> mControls;
    std::map<std::string, std::string> mProperties{{"a", "one"}, {"b", "two"}};
};

// Catches modes cut by the umask, and a second boot that fails on, or leaves alone, old folders.
TEST_F(RcCommands, MkdirSetsTheModeOfNewAndOldFolders) {
    EXPECT_EQ(run({"mkdir", path("d"), "0777", "root", "root", "encryption=Require"}), "");
    EXPECT_EQ(mode("d"), 0777U);
    EXPECT_EQ(run({"mkdir", path("d"), "0751", "root", "root"}), "");
    EXPECT_EQ(mode("d"), 0751U);
    EXPECT_EQ(run({"mkdir", path("e")}), "");
    EXPECT_EQ(mode("e"), 0755U);
}

// Catches file commands that do nothing, or that truncate through a link out of the phone.
TEST_F(RcCommands, Files) {
    EXPECT_EQ(run({"write", path("f"), "text ${a}"}), "");
    EXPECT_EQ(run({"copy", path("f"), path("g")}), "");
    EXPECT_EQ(run({"chmod", "0604", path("g")}), "");
    EXPECT_EQ(run({"chown", "0", path("g")}), "");
    EXPECT_EQ(run({"symlink", "f", path("l")}), "");
    EXPECT_EQ(run({"symlink", "f", path("l")}), "") << "a second boot finds its own link";
    EXPECT_NE(run({"symlink", "g", path("l")}), "");
    EXPECT_NE(run({"write", path("l"), "through the link"}), "");
    std::string content;
    EXPECT_TRUE(base::ReadFileToString(path("g"), &content));
    EXPECT_EQ(content, "text one");
    EXPECT_EQ(mode("g"), 0604U);
}

// Catches requests that never leave the file, and refusals that go unseen.
TEST_F(RcCommands, ServicesAndProperties) {
    EXPECT_EQ(run({"start", "x"}), "");
    EXPECT_EQ(run({"stop", "x"}), "");
    EXPECT_EQ(run({"restart", "${b}"}), "");
    EXPECT_NE(run({"start", "missing"}), "");
    EXPECT_EQ(mControls,
              (std::vector<std::string>{"start x", "stop x", "restart two", "start missing"}));
    EXPECT_EQ(run({"setprop", "k", "v"}), "");
    EXPECT_EQ(mProperties["k"], "v");
    EXPECT_EQ(run({"setprop", "ro.fixed", "v"}), "read-only");
}

// Catches bad commands that pass in silence.
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

// Catches expansions that eat text around them or invent values.
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
