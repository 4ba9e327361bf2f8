#include "host/init/ActionQueue.h"

#include <android-base/properties.h>
#include <android-base/strings.h>

#include <string_view>

#include "host/init/InitLog.h"

namespace android::kavel::host {

void ActionQueue::trigger(const std::string& trigger) {
    for (const RcAction& action : mActions) {
        if (action.trigger == trigger) mQueue.push_back(&action);
    }
}

void ActionQueue::propertiesReady() {
    constexpr std::string_view kProperty = "property:";
    for (const RcAction& action : mActions) {
        const std::string& text = action.trigger;
        const size_t equals = text.find('=');
        if (!base::StartsWith(text, kProperty) || equals == std::string::npos) continue;
        const std::string name = text.substr(kProperty.size(), equals - kProperty.size());
        if (base::GetProperty(name, "") == text.substr(equals + 1)) mQueue.push_back(&action);
    }
}

void ActionQueue::run() {
    while (!mQueue.empty()) {
        const RcAction& action = *mQueue.front();
        mQueue.pop_front();
        for (const RcCommand& command : action.commands) {
            const std::string failure = runCommand(command, mContext);
            if (failure.empty()) continue;
            initLog(ANDROID_LOG_WARN, "%s: %s: %s", command.where.c_str(), command.words[0].c_str(),
                    failure.c_str());
        }
    }
}

}  // namespace android::kavel::host
