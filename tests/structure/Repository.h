#pragma once

#include <string>
#include <vector>

namespace android::kavel::test {

/** The content of @p path, which counts from the repository's root. Fails the test without it. */
std::string contentOf(const std::string& path);

/** Paths from the root of what CMake compiles into @p target, sorted. */
std::vector<std::string> sourcesOf(const std::string& target);

/** The files that @p pattern stands for, sorted: a path from the root, perhaps with "*" in its
 * last part. */
std::vector<std::string> filesOf(const std::string& pattern);

}  // namespace android::kavel::test
