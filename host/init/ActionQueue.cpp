#include "host/init/ActionQueue.h"

#include <algorithm>

#include "host/init/InitLog.h"

namespace android::kavel::host {

void ActionQueue::trigger(std::string_view event) {
    for (const RcAction& action : mActions) {
        if (action.event == event) mQueue.push_back(&action);
    }
}

void ActionQueue::propertyChanged(const std::string& changed) {
    for (const RcAction& action : mActions) {
        const auto& wanted = action.properties;
        const bool names = std::any_of(wanted.begin(), wanted.end(),
                                       [&](const auto& one) { return one.first == changed; });
        if (action.event.empty() && names) mQueue.push_back(&action);
    }
}

void ActionQueue::propertiesReady() {
    trigger("");
}

void ActionQueue::run() {
    while (!mQueue.empty()) {
        const RcAction& action = *mQueue.front();
        mQueue.pop_front();
        if (!holds(action)) continue;
        for (const RcCommand& command : action.commands) {
            const std::string failure = runCommand(command, mContext);
            if (failure.empty()) continue;
            logWarning("%s: %s: %s", command.where.c_str(), command.words[0].c_str(),
                       failure.c_str());
        }
    }
}

bool ActionQueue::holds(const RcAction& action) const {
    return std::all_of(action.properties.begin(), action.properties.end(), [&](const auto& one) {
        const std::string value = mContext.getProperty(one.first);
        return value == one.second || (one.second == "*" && !value.empty());
    });
}

}  // namespace android::kavel::host
