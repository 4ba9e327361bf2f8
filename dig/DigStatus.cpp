#include "dig/DigStatus.h"

namespace android::kavel {

const char* socketText(SocketState state) {
    static constexpr const char* kTexts[] = {
            "waiting for init's socket",
            "waiting for a connection",
            "connected",
            "ended: it serves one connection",
    };
    return kTexts[static_cast<size_t>(state)];
}

DigStatus& digStatus() {
    static auto* const status = new DigStatus;
    return *status;
}

}  // namespace android::kavel
