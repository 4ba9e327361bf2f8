#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace android::kavel::tools {

/** Names for the files of one folder, made from the names in an archive. */
class FlatNames {
  public:
    /**
     * Returns a file name that is safe in any folder and was not returned before: no "/", no
     * control character, no leading dot or dash, valid UTF-8, not empty, and within NAME_MAX. Of a
     * long name, the end is kept.
     */
    std::string nameFor(std::string_view archived);

  private:
    std::set<std::string> mUsed;
    std::map<std::string, unsigned> mLastNumber;  ///< so that many files of a name take linear time
};

}  // namespace android::kavel::tools
