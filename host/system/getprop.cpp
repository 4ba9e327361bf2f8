// getprop: prints one property or all of them.

#include <android-base/properties.h>

#include <cstdio>
#include <cstring>

#include "host/system/PropertyRules.h"
#include "host/system/PropertyStore.h"

namespace {

constexpr char kHelp[] =
        "usage: getprop [NAME [DEFAULT]]\n\n"
        "Prints the property NAME, or DEFAULT if it is empty or not set; without NAME all\n"
        "properties as \"[NAME]: [VALUE]\".\n\n"
        "Exit codes: 0 done, 1 wrong usage.\n";

void printAll() {
    const android::kavel::host::PropertyFolder folder(android::kavel::host::propertyDirectory());
    for (const auto& [name, value] : folder.readAll()) {
        printf("[%s]: [%s]\n", name.c_str(), value.c_str());
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && strcmp(argv[1], "--help") == 0) {
        fputs(kHelp, stdout);
        return 0;
    }
    if (argc > 3 || (argc > 1 && argv[1][0] == '-')) {
        fputs(kHelp, stderr);
        return 1;
    }
    if (argc == 1) {
        printAll();
    } else {
        puts(android::base::GetProperty(argv[1], argc > 2 ? argv[2] : "").c_str());
    }
    return 0;
}
