#include "platform/CommonPlxServiceManager.h"

#include <dlfcn.h>

#include "platform/Log.h"

namespace android {
namespace {

// The maker's adapter. It is a C function, because a C++ class depends on the compiler version of
// both sides. Keys and values are parallel arrays of @p count texts.
constexpr const char* kLibrary = "libkavel_plx_client.so";
constexpr const char* kFunction = "kavel_plx_send";
using SendFunction = int (*)(const char* tag, const char* eventId, const char* const* keys,
                             const char* const* values, size_t count);

class AdapterClient : public CommonPlxServiceManager {
  public:
    explicit AdapterClient(SendFunction send) : mSend(send) {}

  private:
    void upload(const std::string& tag, const std::string& eventId, const Pairs& data) override {
        std::vector<const char*> keys;
        std::vector<const char*> values;
        for (const auto& [key, value] : data) {
            keys.push_back(key.c_str());
            values.push_back(value.c_str());
        }
        mSend(tag.c_str(), eventId.c_str(), keys.data(), values.data(), data.size());
    }

    const SendFunction mSend;
};

CommonPlxServiceManager* loadAdapter() {
    void* const library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
    void* const function = library == nullptr ? nullptr : dlsym(library, kFunction);
    if (function == nullptr) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel]: no data-collection client: %s\n", dlerror());
        return nullptr;
    }
    return new AdapterClient(reinterpret_cast<SendFunction>(function));
}

}  // namespace

CommonPlxServiceManager* CommonPlxServiceManager::getDefaultCommonPlxServiceManager() {
    static CommonPlxServiceManager* const client = loadAdapter();
    return client;
}

}  // namespace android
