// glibc has these from 2.29 and 2.34 on.
#pragma once
#include_next <spawn.h>
#pragma GCC poison posix_spawn_file_actions_addchdir_np posix_spawn_file_actions_addclosefrom_np
