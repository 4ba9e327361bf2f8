#include "platform/FrameworkCall.h"

#include <memory>
#include <optional>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>

#include "platform/Mutex.h"

namespace android::kavel {
namespace {

using Clock = std::chrono::steady_clock;
using Outcome = FrameworkReply::Outcome;

/** The request codes that are on their way. */
struct Lines {
    Mutex lock;
    std::condition_variable freed;
    std::set<uint32_t> taken GUARDED_BY(lock);
};

Lines& lines() {
    static auto* const instance = new Lines;  // calls that hang may outlive any owner
    return *instance;
}

bool takeLine(uint32_t code, Clock::time_point end) {
    Lines& all = lines();
    MutexLock lock(all.lock);
    bool isInTime = true;
    while (!all.taken.insert(code).second) {
        if (!isInTime) return false;
        isInTime = lock.waitUntil(all.freed, end);
    }
    return true;
}

void freeLine(uint32_t code) {
    Lines& all = lines();
    MutexLock lock(all.lock);
    all.taken.erase(code);
    all.freed.notify_all();
}

/** What the thread of a call leaves for its caller, who may have gone. */
struct Answer {
    Mutex lock;
    std::condition_variable given;
    std::optional<FrameworkReply> reply GUARDED_BY(lock);
};

/** The framework's service; null where it is not there after five seconds. */
sp<IBinder> frameworkService() {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    // The calls that replace it either give up at once, while the framework restarts, or wait for
    // ever where there is none.
    return defaultServiceManager()->getService(String16("kavel"));
#pragma GCC diagnostic pop
}

void write(Parcel* data, int32_t argument) {
    data->writeInt32(argument);
}

void write(Parcel* data, int64_t argument) {
    data->writeInt64(argument);
}

FrameworkReply ask(uint32_t code, const std::vector<FrameworkArgument>& arguments) {
    static const auto* const token = new String16("android.os.IKavelManager");
    const sp<IBinder> service = frameworkService();
    if (service == nullptr) return {Outcome::NoService, OK, 0};
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(*token);
    for (const FrameworkArgument& argument : arguments) {
        std::visit([&data](auto value) { write(&data, value); }, argument);
    }
    const status_t status = service->transact(code, data, &reply, 0);
    return {Outcome::Answered, status, reply.readInt32()};
}

}  // namespace

FrameworkReply callFramework(uint32_t code, std::vector<FrameworkArgument> arguments,
                             std::chrono::milliseconds patience) {
    const Clock::time_point end = Clock::now() + patience;
    if (!takeLine(code, end)) return {Outcome::Busy, OK, 0};
    const auto answer = std::make_shared<Answer>();
    try {
        std::thread([code, arguments = std::move(arguments), answer] {
            const FrameworkReply reply = ask(code, arguments);
            freeLine(code);
            MutexLock lock(answer->lock);
            answer->reply = reply;
            answer->given.notify_all();
        }).detach();
    } catch (const std::system_error&) {
        freeLine(code);
        return {Outcome::NoThread, OK, 0};
    }
    MutexLock lock(answer->lock);
    while (!answer->reply && lock.waitUntil(answer->given, end)) {
    }
    return answer->reply.value_or(FrameworkReply{Outcome::Late, OK, 0});
}

}  // namespace android::kavel
