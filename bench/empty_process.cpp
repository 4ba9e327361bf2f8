// The measure for what the daemon costs while idle: a process with the same libraries and as many
// threads, all asleep.

#include <cstdlib>
#include <thread>

#include <unistd.h>

#include <android/log.h>
#include <utils/RefBase.h>

int main(int argc, char** argv) {
    const int threads = argc > 1 ? atoi(argv[1]) : 1;
    for (int i = 1; i < threads; ++i) std::thread([] { pause(); }).detach();
    const android::sp<android::RefBase> linked;
    pause();
    return 0;
}
