// The phone's implementation. Desktop builds do not link it: see CMakeLists.txt.

#include "platform/SysrqTrigger.h"

#include <fcntl.h>
#include <unistd.h>

#include <android-base/unique_fd.h>

namespace android::kavel {

bool triggerKernelPanic() {
    const base::unique_fd trigger(open("/proc/sysrq-trigger", O_WRONLY | O_CLOEXEC));
    if (!trigger.ok()) return false;
    // "c" means crash (Documentation/admin-guide/sysrq.rst). If it fails, there is no alternative.
    static_cast<void>(!write(trigger.get(), "c", 1));
    return true;
}

}  // namespace android::kavel
