#include "core/KernelChannel.h"

#include <cstddef>

namespace android::kavel {

const char* channelText(ChannelState state) {
    static constexpr const char* kTexts[] = {
            "starting",
            "registered",
            "not registered: no memory",
            "not registered: no netlink socket",
            "not registered: the socket could not be bound",
            "not registered: the kernel has no family kavel_monitor",
            "not registered: the registration could not be sent",
    };
    return kTexts[static_cast<size_t>(state)];
}

KernelChannel& kernelChannel() {
    static auto* const channel = new KernelChannel;
    return *channel;
}

}  // namespace android::kavel
