#pragma once

#include <binder/IBinder.h>

namespace android::kavel::host {

/** The word before the interface's name in a call of the system partition's libbinder. */
inline constexpr int32_t kTokenMark = B_PACK_CHARS('S', 'Y', 'S', 'T');

}  // namespace android::kavel::host
