#include <fcntl.h>
#include <gmock/gmock.h>
#include <json/json.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "desk/cli/Kaveldesk.h"
#include "desk/mask/NewFile.h"
#include "tests/fake/TempDir.h"
#include "tests/tools/TestArchive.h"

namespace kaveldesk {
namespace {

namespace fs = std::filesystem;
using android::kavel::test::TempDir;
using android::kavel::tools::gzipBytes;
using android::kavel::tools::tarMember;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

std::string read(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

class MaskArchive : public testing::Test {
  protected:
    struct Result {
        int status;
        std::string out;
        std::string err;
    };

    std::string path(const std::string& name) const { return mDir / name; }

    void write(const std::string& name, const std::string& bytes) const {
        fs::create_directories(fs::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary) << bytes;
    }

    /** Names of the arguments that contain "/" are below the folder of the test. */
    Result mask(std::vector<std::string> arguments) const {
        std::vector<const char*> argv{"kaveldesk", "mask"};
        for (std::string& argument : arguments) {
            if (argument.find('/') != std::string::npos) argument = path(argument);
            argv.push_back(argument.c_str());
        }
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = run(static_cast<int>(argv.size()), argv.data());
        std::fflush(stdout);
        return {status, testing::internal::GetCapturedStdout(),
                testing::internal::GetCapturedStderr()};
    }

    std::string unpacked(const std::string& name, const std::string& how = "xzOf") const {
        std::string bytes;
        FILE* pipe = popen(("tar " + how + " " + path(name)).c_str(), "r");
        for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) bytes += static_cast<char>(c);
        EXPECT_EQ(pclose(pipe), 0);
        return bytes;
    }

    /** What the folder of the test has, without its subfolders' content. */
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(path("")))
            names.push_back(entry.path().filename());
        return names;
    }

  private:
    TempDir mDir;
};

std::string archive(const std::string& members) {
    return gzipBytes(members + std::string(1024, '\0'));
}

/** Text that gzip cannot make much smaller. */
std::string noise() {
    std::string text;
    uint64_t value = 1;
    for (int i = 0; i < 300'000; ++i) {
        value = value * 48271 % 2147483647;
        text += std::to_string(value) + "\n";
    }
    return text;
}

TEST_F(MaskArchive, ReportsWhatItReplacesAndLeavesOut) {
    const std::string trace =
            "\x7f"
            "ELF trace 10.0.0.1";
    write("in/a.tar.gz",
          archive(tarMember("log/a.txt", "R58M123ABC early\nip 10.0.0.1 a@example.org\n") +
                  tarMember("log/192.168.0.2.txt", "[ro.serialno]: [R58M123ABC]\nip 10.0.0.1") +
                  tarMember("log/trace 10.0.0.9", trace) + tarMember("log/link", "", '2') +
                  tarMember("../out.txt", "x") + tarMember("log/empty", "")));
    const Result result = mask({"in/a.tar.gz", "-o", "/out.tar.gz", "--json"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(unpacked("out.tar.gz"),
              "serial-1 early\nip ip-1 mail-1\n[ro.serialno]: [serial-1]\nip ip-1");
    Json::Value report;
    std::istringstream(result.out) >> report;
    const Json::Value& one = report["archives"][0];
    EXPECT_EQ(one["files"].asInt(), 3);
    EXPECT_EQ(one["replaced"]["ip"]["values"].asInt(), 2);
    EXPECT_EQ(one["replaced"]["ip"]["places"].asInt(), 3);
    EXPECT_EQ(one["replaced"]["ip"]["files"].asInt(), 2);
    EXPECT_EQ(one["replaced"]["serial"]["places"].asInt(), 2);
    EXPECT_THAT(one["left_out"], SizeIs(3));
    EXPECT_EQ(one["left_out"][1]["reason"].asString(), "it is a link or a device");
    for (const char* value : {"R58M123ABC", "10.0.0", "192.168", "a@example"}) {
        EXPECT_THAT(result.out + result.err, Not(HasSubstr(value)));
    }

    ASSERT_EQ(mask({"in/a.tar.gz", "-o", "/kept.tar.gz", "--keep-binary"}).status, 0);
    EXPECT_THAT(unpacked("kept.tar.gz"), HasSubstr(trace));
}

TEST_F(MaskArchive, KeepsPseudonymsOverArchivesAndRuns) {
    write("in/a.tar.gz", archive(tarMember("a", "10.0.0.1 ssid=\xff\"x\n")));
    write("in/b.tar.gz", archive(tarMember("b", "10.0.0.2 10.0.0.1 R58M123ABC\n")));
    write("in/c.tar.gz",
          archive(tarMember("c", "10.0.0.3 10.0.0.2 serialno=R58M123ABC ssid=\xff\n")));
    ASSERT_EQ(mask({"in/a.tar.gz", "in/b.tar.gz", "-o", "/out", "--map", "/map"}).status, 0);
    EXPECT_EQ(unpacked("out/b.tar.gz"), "ip-2 ip-1 R58M123ABC\n");
    ASSERT_EQ(mask({"in/c.tar.gz", "-o", "/out", "--map", "/map"}).status, 0);
    EXPECT_EQ(unpacked("out/c.tar.gz"), "ip-3 ip-2 serialno=serial-1 ssid=ssid-1\n");
    // A value is known from another archive.
    ASSERT_EQ(mask({"in/b.tar.gz", "-o", "/b2", "--map", "/map"}).status, 0);
    EXPECT_EQ(unpacked("b2"), "ip-2 ip-1 serial-1\n");
    struct stat map {};
    ASSERT_EQ(stat(path("map").c_str(), &map), 0);
    EXPECT_EQ(map.st_mode & 0777U, 0600U);
}

TEST_F(MaskArchive, RefusesAndLeavesNothing) {
    write("in/a.tar.gz", archive(tarMember("a", "10.0.0.1\n")));
    write("in/other/a.tar.gz", archive(tarMember("a", "x\n")));
    write("in/noise", std::string(600, '\1'));
    write("in/empty.tar.gz", archive(""));
    write("in/map_open", "");
    write("in/map_other", R"({"format": "kaveldesk mask map", "version": 2, "values": {}})");
    write("in/map_gap",
          R"({"format": "kaveldesk mask map", "version": 1, "values": {"ip": {"ip-2": "10.0.0.1"}}})");
    write("in/map_twice",
          R"({"format": "kaveldesk mask map", "version": 1, "values": {"ip": {"ip-1": "a", "ip-2": "a"}}})");
    for (const char* map : {"in/map_other", "in/map_gap", "in/map_twice"})
        fs::permissions(path(map), fs::perms(0600));
    fs::create_symlink("map_other", path("in/map_link"));
    write("in/map_busy", "");
    fs::permissions(path("in/map_busy"), fs::perms(0600));
    const int busy = open(path("in/map_busy").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(busy, LOCK_EX), 0);
    const std::string before = read(path("in/a.tar.gz"));
    const std::string in = "in/a.tar.gz";
    const struct {
        std::vector<std::string> arguments;
        int status;
        const char* error;
    } kRows[] = {
            {{in}, 2, "--output"},
            {{in, "-o", in}, 1, "is the archive itself"},
            {{in, "-o", "in/noise"}, 1, "exists"},
            {{in, "-o", "in/map_link"}, 1, "exists"},
            {{"in/none", "-o", "/out"}, 1, "does not exist"},
            {{"in/other", "-o", "in/other/../other/out"}, 1, "is inside the folder"},
            {{"in/noise", "-o", "/out"}, 1, "noise is left out: it is no text"},
            {{"in/empty.tar.gz", "-o", "/out"}, 1, "it has no files"},
            {{"/dev/null", "-o", "/out"}, 1, "does not exist"},
            {{in, "-o", "none/out"}, 1, "cannot write"},
            {{in, "-o", "/out", "--map", "in/map_open"}, 1, "other users"},
            {{in, "-o", "/out", "--map", "in/map_other"}, 1, "another version"},
            {{in, "-o", "/out", "--map", "in/map_gap"}, 1, "broken"},
            {{in, "-o", "/out", "--map", "in/map_twice"}, 1, "broken"},
            {{in, "-o", "/out", "--map", "in/map_link"}, 1, "symbolic link"},
            {{in, "-o", "/out", "--map", "in/map_busy"}, 1, "another run"},
            {{in, "-o", "/out", "--map", in}, 1, "other users"},
    };
    for (const auto& row : kRows) {
        const Result result = mask(row.arguments);
        EXPECT_EQ(result.status, row.status) << row.error;
        EXPECT_THAT(result.err, HasSubstr(row.error));
        EXPECT_THAT(names(), testing::ElementsAre("in")) << row.error;
    }
    EXPECT_EQ(read(path(in)), before);
    close(busy);
}

TEST_F(MaskArchive, MasksFoldersLogsAndArchivesInArchives) {
    const std::string end(1024, '\0');
    const std::string text = "10.0.0.1\n";
    write("in/folder/sub/a.txt", text);
    write("in/folder/b.tar", tarMember("b", text) + end);
    fs::create_symlink("/etc/passwd", path("in/folder/link"));
    write("in/a.log", text);
    write("in/b.tar", tarMember("x/in.tar.gz", archive(tarMember("a", text))) +
                              tarMember("c.log.gz", gzipBytes(text)) + end);
    const struct {
        const char* in;
        const char* names;
    } kRows[] = {
            {"in/folder", "folder/\nfolder/b.tar/b\nfolder/sub/\nfolder/sub/a.txt\n"},
            {"in/a.log", "a.log\n"},
            {"in/b.tar", "x/in.tar.gz/a\nc.log\n"},
    };
    for (const auto& row : kRows) {
        const Result result = mask({row.in, "-o", "/out"});
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(unpacked("out", "tzf"), row.names);
        EXPECT_EQ(unpacked("out").substr(0, 5), "ip-1\n");
        fs::remove(path("out"));
    }
}

TEST_F(MaskArchive, GoesOnAfterABadInput) {
    write("in/a.tar.gz", archive(tarMember("a", "10.0.0.1\n")));
    write("in/other/a.tar.gz", archive(tarMember("a", "x\n")));
    const Result result = mask({"in/none", "in/a.tar.gz", "in/other/a.tar.gz", "-o", "/out"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("none does not exist"));
    EXPECT_THAT(result.err, HasSubstr("have the name a.tar.gz"));
    EXPECT_THAT(result.err, HasSubstr("2 of 3 archives are not masked"));
    EXPECT_EQ(unpacked("out/a.tar.gz"), "ip-1\n");
}

TEST_F(MaskArchive, KeepsWhatCanBeReadOfABrokenArchive) {
    const std::string whole = archive(tarMember("a", "10.0.0.1\n" + noise()));
    write("in/a.tar.gz", whole.substr(0, whole.size() - 60));
    const Result result = mask({"in/a.tar.gz", "-o", "/out"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("left out"));
    EXPECT_THAT(unpacked("out"), testing::StartsWith("ip-1\n48271\n"));
}

// Where nothing more can be written: here a limit of the process takes the place of a full disk.
TEST_F(MaskArchive, LeavesNothingOfACopyThatDoesNotFit) {
    write("in/a.tar.gz", archive(tarMember("a", noise())));
    const auto mask_without_space = [&] {
        const rlimit limit{1 << 20, 1 << 20};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        const std::string in = path("in/a.tar.gz");
        const std::string out = path("out");
        const char* argv[] = {"kaveldesk", "mask", in.c_str(), "-o", out.c_str()};
        _exit(run(5, argv));
    };
    EXPECT_EXIT(mask_without_space(), testing::ExitedWithCode(1), "cannot write .*out");
    EXPECT_THAT(names(), testing::ElementsAre("in"));
}

// Another program can write the file after the check of the command.
TEST_F(MaskArchive, DoesNotReplaceAFileThatCameMeanwhile) {
    NewFile copy(path("out"));
    write("out", "theirs");
    EXPECT_THROW(copy.publish(NewFile::IfExists::Fail), std::runtime_error);
    EXPECT_EQ(read(path("out")), "theirs");
}

}  // namespace
}  // namespace kaveldesk
