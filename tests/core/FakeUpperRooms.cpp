#include "tests/core/FakeUpperRooms.h"

#include <utility>

#include "event/EventIntake.h"

namespace android {
namespace kavel {
namespace fake {
namespace {

std::vector<Upload> sUploads;
std::vector<Intake> sIntakes;
bool sHasService = true;

class Client : public CommonPlxServiceManager {
  public:
    int sendToPlxFromCommonPlx(std::string tag, std::string eventId, const Pairs& data) override {
        sUploads.push_back({std::move(tag), std::move(eventId), data});
        return 0;
    }
};

}  // namespace

std::vector<Upload> takeUploads() {
    return std::exchange(sUploads, {});
}

std::vector<Intake> takeIntakes() {
    return std::exchange(sIntakes, {});
}

void setStatisticService(bool isThere) {
    sHasService = isThere;
}

}  // namespace fake

bool intakeKavelEvent(long eventId, long logInfo, int pid, int uid, const std::string& extraInfo) {
    fake::sIntakes.push_back({eventId, logInfo, pid, uid, extraInfo});
    return true;
}

}  // namespace kavel

CommonPlxServiceManager* CommonPlxServiceManager::getDefaultCommonPlxServiceManager() {
    static kavel::fake::Client client;
    return kavel::fake::sHasService ? &client : nullptr;
}

}  // namespace android
