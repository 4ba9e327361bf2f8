#pragma once

#include <deque>
#include <string>
#include <vector>

#include "host/init/Commands.h"
#include "host/init/RcScript.h"

namespace android::kavel::host {

/** The actions of the .rc files, and the queue of those that run next. */
class ActionQueue {
  public:
    ActionQueue(std::vector<RcAction> actions, const CommandContext& context)
          : mActions(std::move(actions)), mContext(context) {}

    /** Queues the actions on @p trigger: an event such as "boot", or "property:NAME=VALUE". */
    void trigger(const std::string& trigger);
    /** Queues the actions on properties that already have the value. */
    void propertiesReady();
    /** Runs the queued actions, and those that they queue. Failures are logged. */
    void run();

  private:
    const std::vector<RcAction> mActions;
    const CommandContext& mContext;
    std::deque<const RcAction*> mQueue;
};

}  // namespace android::kavel::host
