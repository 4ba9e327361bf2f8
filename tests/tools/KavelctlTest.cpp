// Would catch options that reach the daemon in the wrong field or not at all, texts from which it
// would read other fields than the user gave, wrong command lines that do something, a failed call
// that passes for a sent one, an explanation that promises or denies a log or a wait wrongly;
// archives in a wrong order, broken or foreign ones that hide or end the list, events, texts or
// fields of the JSON documents that are lost or named otherwise, and control characters that get
// to a terminal; files that an archive puts elsewhere or over others, a lacking file that nobody
// misses, and a prune that takes too many, too few or unfinished archives.

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <gtest/gtest.h>
#include <json/reader.h>
#include <utils/String8.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <iostream>
#include <regex>
#include <set>
#include <sstream>
#include <utility>

#include "dump/LogFolderName.h"
#include "event/ExtraInfo.h"
#include "event/IKavelBinder.h"
#include "tests/fake/Script.h"
#include "tests/fake/Series.h"
#include "tests/fake/TempDir.h"
#include "tests/tools/TestArchive.h"
#include "tools/Commands.h"
#include "tools/JsonLine.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

using test::replaced;

struct Result {
    int exitCode;
    std::string out;
    std::string err;
};

/** Runs the whole program in this process. */
Result run(const std::vector<std::string>& words) {
    std::ostringstream out;
    std::ostringstream err;
    return {runKavelctl(words, {out, err}), out.str(), err.str()};
}

/** The daemon's side of the interface: answers with a given status, or writes the call down. */
class RecordingService : public BnKavelBinder {
  public:
    status_t status = NO_ERROR;
    std::ostringstream calls;
    int known = 0;  ///< recover id of the event type that it knows
    int types = 1;  ///< number of event types that it has
    int stored = 0;
    int shown = 0;  ///< of these, in its answers
    int lag = 0;    ///< number of answers in which this does not change

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        EXPECT_NE(flags & FLAG_ONEWAY, 0U);
        if (status != NO_ERROR) return status;
        return BnKavelBinder::onTransact(code, data, reply, flags);
    }

    /** Knows one event type. */
    status_t dump(int fd, const Vector<String16>&) override {
        lag > 0 ? --lag : shown = stored;
        const std::string text =
                R"({"format":1,"eventTypes":[{"id":"0x1f","name":"old","enabled":true,)"
                R"("frequency":5,"windowMs":7000,"recoverId":)" +
                std::to_string(known) + R"(}],"eventTypeCount":)" + std::to_string(types) +
                R"(,"counts":{"settings":)" + std::to_string(shown) +
                R"(},"recent":[{"id":"0x1f","time":"t1","fate":"packed"},)"
                R"({"id":"0x3","time":"t2","fate":"packed"}]})";
        return base::WriteStringToFd(text, fd) ? NO_ERROR : UNKNOWN_ERROR;
    }

    void sendFrameworkEvent(long eventId, long, long logInfo, int pid, int uid,
                            String16 extraInfo) override {
        const std::string text = String8(extraInfo).c_str();
        calls << base::StringPrintf("event %ld %ld %d %d [%s] read as ", eventId, logInfo, pid, uid,
                                    text.c_str());
        try {
            const KavelExtraInfo read = parseExtraInfo(text, eventId);
            calls << '[' << read.processName << "] [" << read.packageVersion << "] ["
                  << read.eventType << "]\n";
        } catch (const std::exception& error) {
            calls << "nothing: " << error.what() << '\n';
        }
    }

    void updateEventParams(long eventId, String16 eventName, bool isEnable, long reportFreq,
                           long logInfo, long timeWindow, long recoverId) override {
        calls << base::StringPrintf("settings %ld [%s] %d %ld %ld %ld %ld\n", eventId,
                                    String8(eventName).c_str(), isEnable, reportFreq, logInfo,
                                    timeWindow, recoverId);
        ++stored;
    }
};

/** What a JSON document holds: its short members in one line, and each element of a list in its. */
std::string folded(const Json::Value& document) {
    std::ostringstream members;
    std::string lists;
    for (auto each = document.begin(); each != document.end(); ++each) {
        const std::string name = document.isObject() ? each.name() + ": " : "";
        if (each->isArray() && !each->empty()) {
            lists += name + "\n" + folded(*each);
        } else {
            writeJsonLine(members << name, *each);
        }
    }
    return (document.isObject() ? replaced(members.str(), "\n", "; ") + "\n" : members.str()) +
           lists;
}

/** A line of kavel_events.txt and one of the statistics, by their names in the golden files. */
const std::pair<const char*, const char*> kLines[] = {
        {"EVENT\\((.*?),(.*?)\\)",
         R"({"utc":"u","local":"2024-03-07T09:05:01.007+01:00","recordId":77,"eventId":"0x101",)"
         R"("name":"$2","pid":12,"uid":34,"process":"$1","version":"1.0","type":"t","mask":"0x13"})"
         "\n"},
        {"CRASH",
         R"({"utc":"u","local":"l","recordId":77,"eventId":"0x3","name":"c","pid":12,"uid":34,)"
         R"("process":"p","version":"1.0","type":"t","mask":"0x10000000"})"},
        {"STATISTIC\\((.*?)\\)",
         R"({"time":"2024-03-07T09:05:02.007","tag":"t","event":"$1","data":[["a","1"],["b","2"]]})"
         "\n"},
};

/** A report that is sent: a short form for lines of the golden files. */
const test::Series kShort[] = {
        {"sent(%1, %2, %3, %4, %5)",
         "%1 -> event type %2, log-info %3; queued for the daemon; event %4 read as %5", 1},
};

/** The text with short forms, and short neighbouring lines behind each other. */
std::string joined(const std::string& text) {
    constexpr size_t kWidth = 180;
    std::vector<std::string> rows = {""};
    for (std::string line : base::Split(text, "\n")) {
        if (line.empty()) continue;
        for (const test::Series& form : kShort) {
            const std::string shorter = test::shortFor(line, form);
            if (!shorter.empty()) line = shorter;
        }
        if (rows.back().size() + line.size() > kWidth) rows.emplace_back();
        rows.back() += (rows.back().empty() ? "" : " | ") + line;
    }
    return base::Join(rows, "\n") + "\n";
}

class Kavelctl : public testing::Test {
  protected:
    Kavelctl() {
        setenv("KAVEL_HOST_BINDER_DIR", (folder / "binder").c_str(), 1);
        setenv("TZ", "UTC", 1);  // for times without an offset
    }

    /** The bytes of a word: "~" is a blank, "\xNN" a byte, DIR the test's folder. */
    std::string plain(const std::string& word) const {
        std::string text = replaced(replaced(word, "~", " "), "DIR/", folder / "");
        for (const auto& [name, line] : kLines) {
            text = std::regex_replace(text, std::regex(name), line);
        }
        for (size_t at = 0; (at = text.find("\\x", at)) != std::string::npos; ++at) {
            text.replace(at, 4, 1, static_cast<char>(std::stoi(text.substr(at + 2, 2), {}, 16)));
        }
        return text;
    }

    void pack(const std::vector<std::string>& words) const {
        const std::filesystem::path path = folder / (words[1] + ".tar.gz");
        FileTexts files;
        for (size_t i = 2; i < words.size(); ++i) {
            const size_t equals = words[i].find('=');
            std::string text = words[i].substr(equals + 1);
            if (text[0] == '@') text = std::string(std::stoul(text.substr(1)), 'x');
            files.emplace_back(words[i].substr(0, equals), text);
        }
        std::string name = std::filesystem::path(words[1]).filename();
        if (base::EndsWith(name, ".2")) name.resize(name.size() - 2);
        std::filesystem::create_directories(path.parent_path());
        folder.write(words[1] + ".tar.gz", gzipBytes(tarBytes(name, files), 0));
    }

    /** Does what a line says that is no command line. Returns false if it is one. */
    bool prepares(const std::vector<std::string>& words) {
        if (words[0] == "archive") {
            pack(words);
        } else if (words[0] == "rename") {
            std::filesystem::rename(folder / words[1], folder / words[2]);
        } else if (words[0] == "file") {
            folder.write(words[1], words.at(2));
        } else if (words[0] == "cut") {
            const auto size = std::filesystem::file_size(folder / words[1]);
            std::filesystem::resize_file(folder / words[1], size - std::stoul(words[2]));
        } else if (words[0] == "stage") {
            std::filesystem::create_directories(std::filesystem::path(kLogFolderRoot) / words[1]);
        } else if (words[0] == "stdin") {
            mInput.str(words[1]);
        } else if (words[0] == "daemon" && words[1] == "starts") {
            mService = new RecordingService;
            defaultServiceManager()->addService(String16(KAVEL_BINDER_SERVICE_NAME), mService);
        } else if (words[0] == "daemon" && words[1] == "recovers") {
            mService->known = std::stoi(words[2]);
        } else if (words[0] == "daemon" && words[1] == "lags") {
            mService->lag = std::stoi(words[2]);
        } else if (words[0] == "daemon" && words[1] == "types") {
            mService->types = std::stoi(words[2]);
        } else if (words[0] == "daemon") {
            mService->status = std::stoi(words[1]);
        } else {
            return false;
        }
        return true;
    }

    /** The files of a folder and their texts. */
    static std::string filesBelow(const std::string& path) {
        std::set<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            files.insert(entry.path().filename().string() + "=" + test::contentOf(entry.path()));
        }
        return base::Join(files, "\n");
    }

    /** What comes of a line: what the command prints, and the call that reaches the daemon. */
    std::string outcome(const std::string& line) {
        std::vector<std::string> words;
        for (const std::string& word : base::Split(line, " ")) words.push_back(plain(word));
        if (prepares(words)) return "";
        if (words[0] == "ls") return filesBelow(folder / words[1]);
        std::streambuf* const before = std::cin.rdbuf(mInput.rdbuf());
        Result result = run(words);
        std::cin.rdbuf(before);
        if (words.back() == "--json") {
            Json::Value document;
            std::istringstream(result.out) >> document;
            result.out = folded(document);
        } else if (words[0] == "explain") {  // what is indented belongs to the line before
            result.out = replaced(replaced(result.out, "\n        ", ": "), "\n    ", "; ");
        }
        std::string code = "exit " + std::to_string(result.exitCode) + ": ";
        const std::string hint = "; see 'kavelctl " + words[0] + " --help'\n";
        if (result.exitCode == kExitOk) code = "";
        if (result.exitCode == kExitUsage && base::EndsWith(result.err, hint)) {
            code = "usage: ";
            result.err = result.err.substr(strlen("kavelctl: "));
            result.err.resize(result.err.size() - hint.size());
        }
        if (mService != nullptr) {
            result.err += std::exchange(mService->calls, std::ostringstream()).str();
            if (mService->lag > 0) result.err += "not awaited\n";
        }
        return replaced(code + result.out + result.err, folder / "", "DIR/");
    }

    /** The same for each of the lines of "<A | B>"; each outcome once, with '%' in place of 'A'. */
    std::string outcomes(const std::string& line) {
        std::smatch found;
        if (!std::regex_match(line, found, std::regex("(.*)<(.*)>(.*)")))
            return joined(outcome(line));
        std::vector<std::pair<std::string, std::string>> different;  // outcome, texts
        for (const std::string& text : base::Split(replaced(found[2], " | ", "\n"), "\n")) {
            const std::string one = replaced(outcome(found.str(1) + text + found.str(3)),
                                             "'" + base::Split(text, " ").back() + "'", "'%'");
            const auto same = std::find_if(different.begin(), different.end(),
                                           [&](const auto& each) { return each.first == one; });
            if (same == different.end()) {
                different.emplace_back(one, text);
            } else {
                same->second += " | " + text;
            }
        }
        if (different.size() == 1) return joined(different[0].first);
        std::string each;
        for (const auto& [one, texts] : different) {
            each += texts + " -> " + replaced(base::Trim(one), "\n", "; ") + "\n";
        }
        return joined(each);
    }

    const test::TempDir folder;

  private:
    sp<RecordingService> mService;
    std::istringstream mInput;
};

TEST_F(Kavelctl, DoesWhatTheGoldenFilesSay) {
    for (const char* path : {KAVEL_GOLDEN_DIR "/archives.txt", KAVEL_GOLDEN_DIR "/commands.txt"}) {
        test::expectScript(path, [this](const auto& line) { return outcomes(line.rest(0)); });
    }
}

// What a script cannot hold: an empty line, and a version that changes with each release.
TEST_F(Kavelctl, HelpAndVersion) {
    EXPECT_EQ(run({}).exitCode, kExitUsage);
    EXPECT_EQ(run({}).err, run({"--help"}).out);
    EXPECT_EQ(run({"-h"}).out, run({"help"}).out);
    EXPECT_EQ(run({"set", "1", "-h"}).out, run({"help", "set"}).out);
    EXPECT_EQ(run({"--version"}).out, "kavelctl " KAVELCTL_VERSION "\n");
}

}  // namespace
}  // namespace android::kavel::tools
