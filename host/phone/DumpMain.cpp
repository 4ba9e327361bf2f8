// Part of the stand-in for dumpsys: prints the dump of a service of the simulated phone.
// usage: phone_dump SECONDS SERVICE [ARGS...]

#include <binder/IServiceManager.h>

#include <cstdio>
#include <cstdlib>

#include "platform/ServiceDump.h"

int main(int argc, char** argv) {
    using namespace android;  // NOLINT(google-build-using-namespace): the program's own main
    if (argc < 3) {
        fprintf(stderr, "usage: phone_dump SECONDS SERVICE [ARGS...]\n");
        return 2;
    }
    const char* const name = argv[2];
    const sp<IBinder> service = defaultServiceManager()->checkService(String16(name));
    if (service == nullptr) {
        fprintf(stderr, "Can't find service: %s\n", name);
        return 1;
    }
    const std::chrono::seconds patience(strtoul(argv[1], nullptr, 10));
    const kavel::ServiceDump dump =
            kavel::dumpService(service, std::vector<std::string>(argv + 3, argv + argc), patience);
    fwrite(dump.text.data(), 1, dump.text.size(), stdout);
    if (dump.status == NO_ERROR) return 0;
    fprintf(stderr,
            dump.status == TIMED_OUT ? "*** SERVICE '%s' DUMP TIMEOUT EXPIRED ***\n"
                                     : "Error dumping service %s\n",
            name);
    return 1;
}
