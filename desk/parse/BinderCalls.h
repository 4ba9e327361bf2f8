#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "desk/model/Evidence.h"

namespace kaveldesk {

/** A binder call that has no answer yet. Thread 0: no thread has taken it. */
struct BinderCall {
    int32_t fromPid = 0;
    int32_t fromTid = 0;
    int32_t toPid = 0;
    int32_t toTid = 0;
    Place place;
};

/** Reads the outgoing calls of the kernel's list of binder transactions. */
std::vector<BinderCall> parseBinderCalls(std::string_view text, uint32_t file);

}  // namespace kaveldesk
