#pragma once

#include <functional>
#include <string>

namespace android::kavel::test {

/**
 * Follows the script at @p path: what comes of each line, as @p follow tells it, has to be what
 * stands indented below that line. Blank lines and those with "#" are for the reader; "{x*511}" is
 * 511 times x, and "\t" and "\n" in a line to follow are themselves.
 *
 * With KAVEL_WRITE_GOLDEN in the environment the file is rewritten, to be looked through.
 */
void expectScript(const std::string& path,
                  const std::function<std::string(const std::string& line)>& follow);

}  // namespace android::kavel::test
