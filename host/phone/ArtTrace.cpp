#include "host/phone/ArtTrace.h"

#include <cstdlib>

namespace android::kavel::host {

bool writeArtTrace(const std::string& path, const std::string& processes) {
    // The daemon moves any trace that it finds, so a file gets its name when it is complete.
    const std::string command = "new=/data/anr/new.$$; art_trace " + processes +
                                " > $new && mv $new '" + path + "' || { rm -f $new; exit 1; }";
    // NOLINTNEXTLINE(bugprone-command-processor,cert-env33-c): a script of the phone
    return system(command.c_str()) == 0;
}

}  // namespace android::kavel::host
