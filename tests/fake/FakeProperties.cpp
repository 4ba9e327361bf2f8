#include "tests/fake/FakeProperties.h"

#include <android-base/properties.h>
#include <cutils/properties.h>

#include "platform/Mutex.h"

namespace android::kavel::fake {
namespace {

struct Sets {
    Mutex lock;
    std::vector<std::pair<std::string, std::string>> values GUARDED_BY(lock);
};

Sets& sets() {
    static auto* instance = new Sets;
    return *instance;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> takePropertySets() {
    MutexLock lock(sets().lock);
    return std::exchange(sets().values, {});
}

}  // namespace android::kavel::fake

int property_set(const char* key, const char* value) {
    using android::kavel::MutexLock;
    auto& sets = android::kavel::fake::sets();
    MutexLock lock(sets.lock);
    sets.values.emplace_back(key, value);
    android::base::SetProperty(key, value);
    return 0;
}
