#pragma once

#include <filesystem>
#include <string>

namespace kaveldesk {

/** SHA-256 of a file, as 64 hexadecimal digits. Throws std::runtime_error if it cannot be read. */
std::string hashFile(const std::filesystem::path& path);

}  // namespace kaveldesk
