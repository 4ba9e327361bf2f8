#include "tests/fake/FakeProperties.h"

#include <map>

#include <android-base/properties.h>
#include <android-base/strings.h>
#include <cutils/properties.h>

#include "platform/Mutex.h"

namespace android::kavel::fake {
namespace {

struct Properties {
    Mutex lock;
    std::map<std::string, std::string> values GUARDED_BY(lock);
    std::vector<std::pair<std::string, std::string>> sets GUARDED_BY(lock);
};

Properties& properties() {
    static auto* instance = new Properties;
    return *instance;
}

}  // namespace

void setProperty(const std::string& name, const std::string& value) {
    MutexLock lock(properties().lock);
    properties().values[name] = value;
}

std::vector<std::pair<std::string, std::string>> takePropertySets() {
    MutexLock lock(properties().lock);
    return std::exchange(properties().sets, {});
}

}  // namespace android::kavel::fake

namespace android::base {

std::string GetProperty(const std::string& name, const std::string& default_value) {
    auto& properties = kavel::fake::properties();
    kavel::MutexLock lock(properties.lock);
    const std::string& value = properties.values[name];
    return value.empty() ? default_value : value;
}

bool SetProperty(const std::string& name, const std::string& value) {
    auto& properties = kavel::fake::properties();
    kavel::MutexLock lock(properties.lock);
    std::string& current = properties.values[name];
    if (StartsWith(name, "ro.") && !current.empty()) return false;
    current = value;
    return true;
}

}  // namespace android::base

int property_set(const char* key, const char* value) {
    auto& properties = android::kavel::fake::properties();
    {
        android::kavel::MutexLock lock(properties.lock);
        properties.sets.emplace_back(key, value);
    }
    return android::base::SetProperty(key, value) ? 0 : -1;
}
