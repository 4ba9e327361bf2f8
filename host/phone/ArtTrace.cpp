#include "host/phone/ArtTrace.h"

#include <cstdlib>

namespace android::kavel::host {

bool writeArtTrace(const std::string& path, const std::string& processes) {
    // Complete as soon as it is there: the daemon moves what it finds.
    const std::string command =
            "new=/data/anr/new.$$; art_trace " + processes + " > $new && mv $new '" + path + "'";
    // NOLINTNEXTLINE(bugprone-command-processor,cert-env33-c): a script of the phone
    return system(command.c_str()) == 0;
}

}  // namespace android::kavel::host
