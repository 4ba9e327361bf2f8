#include "platform/TraceNativeUtils.h"

#include <dlfcn.h>

#include "platform/Log.h"

namespace android {
namespace {

// The maker's adapter, loaded at run time like the data-collection client's.
constexpr const char* kLibrary = "libkavel_trace_client.so";
constexpr const char* kFunction = "kavel_stop_tracing";
using StopFunction = void (*)(const char* session, int stop, int restart);

class AdapterUtils : public TraceNativeUtils {
  public:
    explicit AdapterUtils(StopFunction stop) : mStop(stop) {}

  private:
    void flush(const std::string& session, bool stop, bool restart) override {
        mStop(session.c_str(), stop, restart);
    }

    const StopFunction mStop;
};

TraceNativeUtils* loadAdapter() {
    void* const library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
    void* const function = library == nullptr ? nullptr : dlsym(library, kFunction);
    if (function == nullptr) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel]: no native trace utility: %s\n", dlerror());
        return nullptr;
    }
    return new AdapterUtils(reinterpret_cast<StopFunction>(function));
}

}  // namespace

TraceNativeUtils* TraceNativeUtils::getInstance() {
    static TraceNativeUtils* const utils = loadAdapter();
    return utils;
}

}  // namespace android
