#include "tests/fake/FakeFiles.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <vector>

namespace fs = std::filesystem;

namespace android::kavel::fake {
namespace {

constexpr int kFailed = 1 << 8;

/** Splits a command into words, without the quotes of shellQuote(). */
std::vector<std::string> wordsOf(const std::string& command) {
    std::vector<std::string> words(1);
    bool isQuoted = false;
    for (const char c : command) {
        if (c == '\'') {
            isQuoted = !isQuoted;
        } else if (!isQuoted && (c == ' ' || c == '\n')) {
            if (!words.back().empty()) words.emplace_back();
        } else {
            words.back().push_back(c);
        }
    }
    if (words.back().empty()) words.pop_back();
    return words;
}

int pack(const fs::path& archive, const fs::path& members) {
    const bool isPattern = members.filename() == "*";
    std::error_code error;
    std::set<std::string> names;
    for (const auto& entry :
         fs::directory_iterator(isPattern ? members.parent_path() : members, error)) {
        const std::string name = entry.path().filename();
        if (!isPattern || name[0] != '.') names.insert(name);
    }
    std::ofstream file(archive);
    for (const std::string& name : names) file << name << "\n";
    // The end of a gzip file of one block of tar.
    file << std::string(20, ' ') << std::string("\0\2\0\0", 4);
    return names.empty() || !file ? kFailed : 0;
}

}  // namespace

int carryOut(const std::string& command) {
    const std::vector<std::string> words = wordsOf(command);
    std::error_code error;
    if (words[0] == "mkdir") {
        if (words[1] == "/data/persist_log/kavel30") fs::create_directories("/data/persist_log");
        return fs::create_directory(words[1], error) ? 0 : kFailed;
    }
    if (words[0] == "tar") return pack(words[2], words[3]);
    if (words[0] == "mv") {
        fs::path to = words[2];
        if (fs::is_directory(to, error)) to /= fs::path(words[1]).filename();
        fs::rename(words[1], to, error);
        return error ? kFailed : 0;
    }
    if (words[0] == "cp") return fs::copy(words[1], words[2], error), 0;
    if (words[0] == "rm") return fs::remove_all(words[2], error), 0;
    const bool isRedirected = words.size() > 2 && words[words.size() - 2].find('>') == 0;
    if (isRedirected) std::ofstream(words.back(), std::ios::app) << "x\n";
    return !isRedirected || fs::exists(words.back()) ? 0 : kFailed;
}

}  // namespace android::kavel::fake
