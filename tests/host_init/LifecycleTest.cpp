// Would catch services that come back although they were stopped, stay away although asked for, or
// start while the phone goes down, and a wait that is not counted from the last start.

#include "host/init/Lifecycle.h"

#include <gtest/gtest.h>

namespace android::kavel::host {

using Step = Lifecycle::Step;

TEST(Lifecycle, EndLeavesWhatWasAskedFor) {
    const auto stop = &Lifecycle::requestStop;
    const auto start = &Lifecycle::requestStart;
    const auto restart = &Lifecycle::requestRestart;
    const struct {
        const char* name;
        std::vector<Step (Lifecycle::*)()> requests;
        bool comesBack;
        bool oneshot;
    } rows[] = {
            {"crash", {}, true, false},
            {"oneshot", {}, false, true},
            {"stop", {stop}, false, false},
            {"restart", {restart}, true, true},
            {"stop, start", {stop, start}, true, false},
            {"restart, stop", {restart, stop}, false, false},
            {"start", {start}, true, false},
    };
    for (const auto& row : rows) {
        Lifecycle life(row.oneshot, BootTime(5000));
        EXPECT_EQ(life.requestStart(), Step::Start);
        life.started(BootTime(1000));
        for (const auto request : row.requests) (life.*request)();
        life.ended();
        EXPECT_EQ(life.tick(BootTime(5999)), Step::Nothing) << row.name;
        EXPECT_EQ(life.tick(BootTime(6000)) == Step::Start, row.comesBack) << row.name;
        life.shutDown();
        EXPECT_EQ(life.tick(BootTime(99999)), Step::Nothing) << row.name;
        EXPECT_EQ(life.requestStart(), Step::Nothing) << row.name;
    }
}

}  // namespace android::kavel::host
