// log: writes one message to the phone's main log.

#include <log/log.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "host/system/LogSink.h"

int main(int argc, char** argv) {
    const char* tag = "log";
    int option = 0;
    while ((option = getopt(argc, argv, "+t:")) == 't') tag = optarg;
    if (option != -1 || optind == argc) {
        fputs("usage: log [-t TAG] MESSAGE...\n", stderr);
        return 1;
    }
    const std::string folder = android::kavel::host::logDirectory();
    if (access(folder.c_str(), W_OK) != 0) {
        fprintf(stderr, "log: %s: %s\n", folder.c_str(), strerror(errno));
        return 1;
    }
    std::string message = argv[optind];
    for (int i = optind + 1; i < argc; ++i) message.append(" ").append(argv[i]);
    __android_log_write(ANDROID_LOG_INFO, tag, message.c_str());
    return 0;
}
