#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "host/init/Commands.h"
#include "host/init/RcScript.h"

namespace android::kavel::host {

/** The actions of the .rc files and which of them are about to run. */
class ActionQueue {
  public:
    ActionQueue(std::vector<RcAction> actions, const CommandContext& context)
          : mActions(std::move(actions)), mContext(context) {}

    /** Queues the actions on @p event, such as "boot". */
    void trigger(std::string_view event);
    /** Queues the actions that only properties trigger and that name @p changed. */
    void propertyChanged(const std::string& changed);
    /** Queues all actions that only properties trigger: those that hold already run now. */
    void propertiesReady();
    /** Runs what is queued, and what that queues in turn. Failures are logged. */
    void run();

  private:
    bool holds(const RcAction& action) const;

    const std::vector<RcAction> mActions;
    const CommandContext& mContext;
    std::deque<const RcAction*> mQueue;
};

}  // namespace android::kavel::host
