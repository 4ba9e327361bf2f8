// glibc has these from 2.25, 2.27, 2.30 and 2.34 on.
#pragma once
#define KAVEL_IN_UNISTD_H  // this machine's includes <linux/close_range.h>
#include_next <unistd.h>
#undef KAVEL_IN_UNISTD_H
#pragma GCC poison getentropy copy_file_range gettid close_range
