#include "host/system/TimeScale.h"

#include <cmath>
#include <cstdlib>

namespace android::kavel::host {

double timeScale() {
    const char* text = getenv("KAVEL_HOST_TIME_SCALE");
    if (text == nullptr) return 1;
    char* end = nullptr;
    const double scale = strtod(text, &end);
    return end != text && *end == '\0' && std::isfinite(scale) && scale > 0 ? scale : 1;
}

}  // namespace android::kavel::host
