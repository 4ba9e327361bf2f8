#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "desk/read/FileSink.h"

namespace kaveldesk {

/** Whether @p bytes begin like a packed file that readArchive() unpacks. */
bool isPacked(std::string_view bytes);

/**
 * Reads all members of the file @p path into @p sink: tar, zip, each of them or a single text
 * packed with gzip. Their names get @p prefix in front. Archives in it are read as well.
 */
void readArchive(const std::filesystem::path& path, const std::string& prefix, FileSink& sink);

/** The same for an archive in memory, whose name is @p name, inside @p depth others. */
void readArchiveInMemory(std::string_view bytes, const std::string& name, size_t depth,
                         FileSink& sink);

}  // namespace kaveldesk
