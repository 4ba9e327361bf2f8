#pragma once

#include <binder/IBinder.h>

namespace android::kavel::host {

/** Word that the system partition's libbinder writes before the interface name of a call. */
inline constexpr int32_t kTokenMark = B_PACK_CHARS('S', 'Y', 'S', 'T');

}  // namespace android::kavel::host
