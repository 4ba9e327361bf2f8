// glibc has these from 2.27 on.
#pragma once
#include_next <sys/mman.h>
#pragma GCC poison MFD_CLOEXEC memfd_create
