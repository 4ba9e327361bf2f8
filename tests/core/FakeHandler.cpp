#include "tests/core/FakeHandler.h"

#include <utility>

namespace android {
namespace kavel {
namespace fake {
namespace {

std::vector<Upload> sUploads;
std::vector<KavelReport> sReports;
bool sHasService = true;

class Client : public CommonPlxServiceManager {
    void upload(const std::string& tag, const std::string& eventId, const Pairs& data) override {
        sUploads.push_back({tag, eventId, data});
    }
};

}  // namespace

std::vector<Upload> takeUploads() {
    return std::exchange(sUploads, {});
}

std::vector<KavelReport> takeReports() {
    return std::exchange(sReports, {});
}

void setStatisticService(bool isThere) {
    sHasService = isThere;
}

}  // namespace fake

}  // namespace kavel

ANDROID_SINGLETON_STATIC_INSTANCE(KavelEventHandler)

KavelEventHandler::KavelEventHandler() = default;

void KavelEventHandler::report(const KavelReport& report) {
    kavel::fake::sReports.push_back(report);
}

CommonPlxServiceManager* CommonPlxServiceManager::getDefaultCommonPlxServiceManager() {
    static kavel::fake::Client client;
    return kavel::fake::sHasService ? &client : nullptr;
}

}  // namespace android
