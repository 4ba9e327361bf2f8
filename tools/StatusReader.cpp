#include "tools/StatusReader.h"

#include <chrono>
#include <optional>
#include <system_error>

#include <android-base/strings.h>
#include <binder/IServiceManager.h>

#include "event/IKavelBinder.h"
#include "platform/ServiceDump.h"
#include "tools/CommandLine.h"
#include "tools/JsonLine.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr std::chrono::seconds kPatience(10);
constexpr int kFormat = 1;

}  // namespace

std::string askDaemon(bool isJson) {
    const sp<IServiceManager> services = defaultServiceManager();
    const sp<IBinder> daemon =
            services == nullptr ? nullptr
                                : services->checkService(String16(KAVEL_BINDER_SERVICE_NAME));
    if (daemon == nullptr) {
        throw CommandError(std::string(KAVEL_BINDER_SERVICE_NAME) +
                           " is not running (is dravo_kavel started, and may this user reach it?)");
    }
    ServiceDump dump;
    try {
        dump = dumpService(daemon,
                           isJson ? std::vector<std::string>{"--json"} : std::vector<std::string>(),
                           kPatience);
    } catch (const std::system_error& error) {
        throw CommandError(error.what());
    }
    if (dump.status == TIMED_OUT) {
        throw CommandError("the daemon does not answer within " +
                           std::to_string(kPatience.count()) + " s");
    }
    if (dump.status == WOULD_BLOCK) {
        throw CommandError("the daemon answers too many others at the moment");
    }
    if (dump.status != NO_ERROR) {
        throw CommandError("the daemon's answer failed with status " + std::to_string(dump.status));
    }
    if (base::StartsWith(dump.text, "Permission Denial")) {
        throw CommandError(printable(base::Trim(dump.text)));
    }
    return dump.text;
}

Json::Value readStatus() {
    const std::optional<Json::Value> status = parseJsonObject(askDaemon(true));
    if (!status || !(*status)["format"].isInt() || (*status)["format"].asInt() != kFormat) {
        throw CommandError("the daemon's answer is not of format " + std::to_string(kFormat) +
                           ": do the daemon and kavelctl have the same version?");
    }
    return *status;
}

}  // namespace android::kavel::tools
