#pragma once

#include <string>
#include <utility>
#include <vector>

namespace android::kavel::tools {

using FileTexts = std::vector<std::pair<std::string, std::string>>;

/** A tar archive of @p files, named as the daemon's tar names them below @p folder. */
std::string tarBytes(const std::string& folder, const FileTexts& files);

std::string gzipBytes(const std::string& bytes);

}  // namespace android::kavel::tools
