// log: writes one message to the phone's log.

#include <log/log.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "host/system/LogLine.h"
#include "host/system/LogSink.h"

namespace {

namespace host = android::kavel::host;

constexpr char kHelp[] =
        "usage: log [-p PRIORITY] [-t TAG] [-b BUFFER] MESSAGE...\n\n"
        "Writes the words of MESSAGE to the log.\n\n"
        "  -p PRIORITY  v, d, i (the default), w, e or f\n"
        "  -t TAG       otherwise \"log\"\n"
        "  -b BUFFER    main (the default), radio, events, system or crash\n\n"
        "Exit codes: 0 done, 1 wrong usage or no log.\n";

int fail(const std::string& why) {
    fprintf(stderr, "log: %s\n", why.c_str());
    return 1;
}

int priorityNamed(const char* text) {
    const int priority =
            strlen(text) == 1 ? host::priorityOf(static_cast<char>(toupper(*text))) : 0;
    return priority == ANDROID_LOG_SILENT ? 0 : priority;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        fputs(kHelp, stdout);
        return 0;
    }
    int priority = ANDROID_LOG_INFO;
    const char* tag = "log";
    const auto* buffer = host::kLogBuffers.begin();
    for (int option = 0; (option = getopt(argc, argv, "+p:t:b:")) != -1;) {
        if (option == '?') return 1;  // getopt has said why
        if (option == 'p') priority = priorityNamed(optarg);
        if (option == 't') tag = optarg;
        if (option == 'b') {
            buffer = std::find_if(host::kLogBuffers.begin(), host::kLogBuffers.end(),
                                  [](const char* name) { return strcmp(name, optarg) == 0; });
        }
        if (priority == 0) return fail(std::string("unknown priority '") + optarg + "'");
        if (buffer == host::kLogBuffers.end()) {
            return fail(std::string("unknown buffer '") + optarg + "'");
        }
    }
    if (optind == argc) return fail("no message; see log --help");
    const std::string folder = host::logDirectory();
    if (access(folder.c_str(), W_OK) != 0) return fail(folder + ": " + strerror(errno));

    std::string message = argv[optind];
    for (int i = optind + 1; i < argc; ++i) message.append(" ").append(argv[i]);
    __android_log_buf_write(static_cast<int>(buffer - host::kLogBuffers.begin()), priority, tag,
                            message.c_str());
    return 0;
}
