// setprop: asks the property service to set a property.

#include <cstdio>
#include <cstring>

#include "host/system/PropertyClient.h"

namespace {

constexpr char kHelp[] =
        "usage: setprop NAME VALUE\n\n"
        "Sets the property NAME. \"ctl.start\", \"ctl.stop\" and \"ctl.restart\" are requests to\n"
        "init; VALUE is then the name of a service.\n\n"
        "Exit codes: 0 done, 1 refused or wrong usage.\n";

}  // namespace

int main(int argc, char** argv) {
    namespace host = android::kavel::host;
    if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        fputs(kHelp, stdout);
        return 0;
    }
    if (argc != 3) {
        fputs(kHelp, stderr);
        return 1;
    }
    const host::PropertyStatus status =
            host::requestSet(host::propertySocketPath(), argv[1], argv[2]);
    if (status == host::PropertyStatus::kSuccess) return 0;
    fprintf(stderr, "setprop: cannot set %s: %s\n", argv[1], host::describe(status));
    return 1;
}
