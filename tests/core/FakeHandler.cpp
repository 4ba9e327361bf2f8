#include "tests/core/FakeHandler.h"

#include <utility>

namespace android {
namespace {

std::vector<kavel::fake::Upload> sUploads;
std::vector<KavelReport> sReports;
bool sHasService = true;

class Client : public CommonPlxServiceManager {
    void upload(const std::string& tag, const std::string& eventId, const Pairs& data) override {
        sUploads.push_back({tag, eventId, data});
    }
};

}  // namespace

std::vector<kavel::fake::Upload> kavel::fake::takeUploads() {
    return std::exchange(sUploads, {});
}

std::vector<KavelReport> kavel::fake::takeReports() {
    return std::exchange(sReports, {});
}

void kavel::fake::setStatisticService(bool isThere) {
    sHasService = isThere;
}

ANDROID_SINGLETON_STATIC_INSTANCE(KavelEventHandler)

KavelEventHandler::KavelEventHandler() = default;

void KavelEventHandler::report(const KavelReport& report) {
    sReports.push_back(report);
}

CommonPlxServiceManager* CommonPlxServiceManager::getDefaultCommonPlxServiceManager() {
    static Client client;
    return sHasService ? &client : nullptr;
}

}  // namespace android
