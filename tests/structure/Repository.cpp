#include "tests/structure/Repository.h"

#include <glob.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

namespace android::kavel::test {
namespace {

const std::string kRoot = KAVEL_ROOT "/";

std::string readFile(const std::string& path) {
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

std::string contentOf(const std::string& path) {
    return readFile(kRoot + path);
}

std::vector<std::string> sourcesOf(const std::string& target) {
    std::vector<std::string> sources;
    std::istringstream lines(readFile(KAVEL_CMAKE_SOURCES));
    for (std::string name, source; lines >> name >> source;) {
        if (name == target) sources.push_back(source);
    }
    EXPECT_FALSE(sources.empty()) << target;
    std::sort(sources.begin(), sources.end());
    return sources;
}

std::vector<std::string> filesOf(const std::string& pattern) {
    glob_t found = {};
    glob((kRoot + pattern).c_str(), 0, nullptr, &found);
    std::vector<std::string> files;
    for (size_t i = 0; i < found.gl_pathc; ++i) {
        files.emplace_back(found.gl_pathv[i] + kRoot.size());
    }
    globfree(&found);
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace android::kavel::test
