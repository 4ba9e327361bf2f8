// Makes binder start all its threads in the daemon: fill_binder_pool PID.

#include <string>

#include "bench/BinderPool.h"

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    android::kavel::bench::fillBinderPool(std::stoi(argv[1]));
    return 0;
}
