// Would catch a phone whose trigger does not crash the kernel. CMake compiles this, and only
// tests/kernel/tree.sh links it, into the test machine's file system. It refuses on a kernel that
// was not started with the word below.

#include <cstdio>
#include <fstream>
#include <string>

#include "platform/SysrqTrigger.h"

int main() {
    std::ifstream commandLine("/proc/cmdline");
    for (std::string word; commandLine >> word;) {
        if (word != "kavel.may_panic") continue;
        puts(android::kavel::triggerKernelPanic() ? "panic: the kernel goes on"
                                                  : "panic: the kernel refuses");
        return 1;
    }
    fputs("panic: this is not the test machine\n", stderr);
    return 2;
}
