#pragma once

#include <gtest/gtest.h>
#include <json/reader.h>

#include <sstream>
#include <string>
#include <vector>

#include "tools/Commands.h"

namespace android::kavel::tools {

struct Result {
    int exitCode;
    std::string out;
    std::string err;
};

/** Runs the whole program in this process. */
inline Result run(const std::vector<std::string>& words) {
    std::ostringstream out;
    std::ostringstream err;
    const int exitCode = runKavelctl(words, {out, err});
    return {exitCode, out.str(), err.str()};
}

inline Json::Value parseJson(const std::string& text) {
    Json::Value json;
    std::istringstream stream(text);
    EXPECT_NO_THROW(stream >> json) << text;
    return json;
}

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace android::kavel::tools
