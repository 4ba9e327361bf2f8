// Android 14's googletest has no such macro.
#pragma once
#include_next <gtest/gtest.h>
#undef GTEST_FLAG_SET
