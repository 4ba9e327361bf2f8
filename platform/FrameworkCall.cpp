#include "platform/FrameworkCall.h"

#include <map>
#include <string>
#include <utility>

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>

#include "platform/CallLine.h"
#include "platform/Log.h"
#include "platform/Mutex.h"

namespace android::kavel {
namespace {

constexpr size_t kMaxOutstanding = 8;  // requests with the same code; each has its own thread

struct Lines {
    Mutex lock;
    std::map<uint32_t, CallLine*> byCode GUARDED_BY(lock);
};

CallLine& lineOf(uint32_t code) {
    static auto* const lines = new Lines;
    MutexLock lock(lines->lock);
    CallLine*& line = lines->byCode[code];
    if (line == nullptr) line = new CallLine(kMaxOutstanding, kMaxOutstanding);
    return *line;
}

/** Returns the framework's service; null if it is not available within five seconds. */
sp<IBinder> frameworkService() {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    // The newer functions either return at once while the framework restarts, or wait forever if
    // there is no service.
    return defaultServiceManager()->getService(String16("kavel"));
#pragma GCC diagnostic pop
}

void write(Parcel* data, int32_t argument) {
    data->writeInt32(argument);
}

void write(Parcel* data, int64_t argument) {
    data->writeInt64(argument);
}

/** Result of a request. */
struct FrameworkReply {
    bool hasService;  ///< if false, the other members are not set
    status_t status;
    int32_t value;  ///< 0 if the reply contains no value
};

FrameworkReply ask(uint32_t code, const std::vector<FrameworkArgument>& arguments) {
    static const auto* const token = new String16("android.os.IKavelManager");
    const sp<IBinder> service = frameworkService();
    if (service == nullptr) return {false, OK, 0};
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(*token);
    for (const FrameworkArgument& argument : arguments) {
        std::visit([&data](auto value) { write(&data, value); }, argument);
    }
    const status_t status = service->transact(code, data, &reply, 0);
    return {true, status, reply.readInt32()};
}

/** Logs @p reply; at @p priority if the service does not exist or returns an error. */
void logFrameworkReply(const char* step, android_LogPriority priority,
                       const FrameworkReply& reply) {
    if (!reply.hasService) {
        __android_log_print(priority, KAVEL_NO_TAG,
                            "[dravo_kavel %s]: binder service kavel does not exist.\n", step);
        return;
    }
    if (reply.status != OK) {
        __android_log_print(priority, KAVEL_NO_TAG,
                            "[dravo_kavel %s]: binder service kavel failed with error.\n", step);
    }
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel %s]: binder service kavel replied: %d.\n", step,
               reply.value);
}

/** Returns the request as text for a log line: its code and its arguments. */
std::string nameOf(uint32_t code, const std::vector<FrameworkArgument>& arguments) {
    std::string name = std::to_string(code);
    for (const FrameworkArgument& argument : arguments) {
        std::visit([&name](auto value) { name += " " + std::to_string(value); }, argument);
    }
    return name;
}

}  // namespace

void callFramework(const char* step, android_LogPriority priority, uint32_t code,
                   std::vector<FrameworkArgument> arguments, std::chrono::milliseconds patience) {
    const std::string name = nameOf(code, arguments);
    const auto request = [step, priority, code, arguments = std::move(arguments)] {
        logFrameworkReply(step, priority, ask(code, arguments));
    };
    const CallLine::Outcome outcome = lineOf(code).call(request, patience);
    if (outcome == CallLine::Outcome::Returned) return;
    KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel %s]: request %s to binder service kavel: %s.\n", step,
               name.c_str(), outcomeText(outcome));
}

}  // namespace android::kavel
