#pragma once

#include <string>
#include <utility>
#include <vector>

namespace android::kavel::tools {

using FileTexts = std::vector<std::pair<std::string, std::string>>;

/** A block of 512 bytes: the header of a tar member in GNU's form, its checksum included. */
std::string tarHeader(const std::string& name, size_t size, char type = '0');

/** Writes the checksum of the tar header @p block into it. */
void setTarChecksum(char* block);

/** A whole member: header, data, padding. */
std::string tarMember(const std::string& name, const std::string& data, char type = '0');

/** A tar archive of @p files, named as the daemon's tar names them below @p folder. */
std::string tarBytes(const std::string& folder, const FileTexts& files);

std::string gzipBytes(const std::string& bytes);

}  // namespace android::kavel::tools
