#pragma once

#include <gtest/gtest.h>
#include <json/reader.h>

#include <sstream>

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
    return {runKavelctl(words, {out, err}), out.str(), err.str()};
}

inline Json::Value parseJson(const std::string& text) {
    Json::Value json;
    std::istringstream stream(text);
    EXPECT_NO_THROW(stream >> json) << text;
    return json;
}

}  // namespace android::kavel::tools
