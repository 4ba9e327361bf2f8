#pragma once

#include <filesystem>
#include <string>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"
#include "desk/model/Verdict.h"
#include "desk/store/Rows.h"

namespace kaveldesk {

/**
 * What the index has of one archive, but for hash, path and size. Bounded: long texts are cut, and
 * of very many files or events the first are taken.
 */
CatchRow catchRowOf(const Evidence& evidence, const Timeline& timeline, const Verdict& verdict);

/**
 * Reads the archive @p path. Does not throw for what it holds: a broken archive is a row that says
 * why. Throws std::runtime_error if the file cannot be opened.
 */
CatchRow readCatch(const std::filesystem::path& path);

}  // namespace kaveldesk
