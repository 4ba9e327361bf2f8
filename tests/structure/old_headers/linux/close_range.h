#ifndef KAVEL_IN_UNISTD_H
#error "Linux 3.8 has no <linux/close_range.h>"
#endif
