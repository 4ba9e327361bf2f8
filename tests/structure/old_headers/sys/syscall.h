// Linux 3.8 knows none of these numbers.
#pragma once
#include_next <sys/syscall.h>
#undef SYS_close_range
#undef SYS_getrandom
#undef SYS_memfd_create
#undef SYS_pidfd_open
#undef SYS_pidfd_send_signal
