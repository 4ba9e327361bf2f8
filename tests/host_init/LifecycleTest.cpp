#include "host/init/Lifecycle.h"

#include <gtest/gtest.h>

namespace android::kavel::host {
namespace {

using State = Lifecycle::State;
using Step = Lifecycle::Step;

constexpr BootTime kPeriod(5000);

Lifecycle running(bool oneshot, BootTime since) {
    Lifecycle life(oneshot, kPeriod);
    EXPECT_EQ(life.requestStart(), Step::Start);
    life.started(since);
    return life;
}

// Catches a wait counted from the crash instead of from the last start: a service that had run
// for long must come back at once.
TEST(Lifecycle, RestartsOnePeriodAfterTheLastStart) {
    struct Row {
        BootTime tick;
        Step step;
    };
    Lifecycle life = running(false, BootTime(1000));
    EXPECT_FALSE(life.dueAt());
    life.ended();
    EXPECT_EQ(life.state(), State::Restarting);
    EXPECT_EQ(life.dueAt(), BootTime(6000));
    for (const Row& row : {Row{BootTime(1001), Step::Nothing}, Row{BootTime(5999), Step::Nothing},
                           Row{BootTime(6000), Step::Start}, Row{BootTime(90000), Step::Start}}) {
        EXPECT_EQ(life.tick(row.tick), row.step) << row.tick.count();
    }
    life.started(BootTime(6000));
    EXPECT_EQ(life.state(), State::Running);
    EXPECT_FALSE(life.dueAt());
}

// Catches services that come back although they were stopped, or stay away although asked for.
TEST(Lifecycle, WhatIsLeftAfterTheEnd) {
    struct Row {
        const char* name;
        Step (Lifecycle::*first)();
        Step (Lifecycle::*second)();
        Step firstStep;
        State left;
        bool oneshot;
    };
    const Row rows[] = {
            {"crash", nullptr, nullptr, Step::Nothing, State::Restarting, false},
            {"oneshot", nullptr, nullptr, Step::Nothing, State::Stopped, true},
            {"stop", &Lifecycle::requestStop, nullptr, Step::Kill, State::Stopped, false},
            {"restart", &Lifecycle::requestRestart, nullptr, Step::Kill, State::Restarting, true},
            {"stop, start", &Lifecycle::requestStop, &Lifecycle::requestStart, Step::Kill,
             State::Restarting, false},
            {"restart, stop", &Lifecycle::requestRestart, &Lifecycle::requestStop, Step::Kill,
             State::Stopped, false},
            {"start", &Lifecycle::requestStart, nullptr, Step::Nothing, State::Restarting, false},
    };
    for (const Row& row : rows) {
        Lifecycle life = running(row.oneshot, BootTime(0));
        if (row.first != nullptr) {
            EXPECT_EQ((life.*row.first)(), row.firstStep) << row.name;
        }
        if (row.second != nullptr) {
            EXPECT_EQ((life.*row.second)(), Step::Nothing) << row.name;
        }
        life.ended();
        EXPECT_EQ(life.state(), row.left) << row.name;
    }
}

// Catches a phone that starts services while it goes down.
TEST(Lifecycle, NothingStartsAfterShutDown) {
    Lifecycle life = running(false, BootTime(0));
    life.shutDown();
    EXPECT_EQ(life.requestRestart(), Step::Nothing);
    life.ended();
    EXPECT_EQ(life.state(), State::Stopped);
    EXPECT_EQ(life.requestStart(), Step::Nothing);

    Lifecycle waiting = running(false, BootTime(0));
    waiting.ended();
    waiting.shutDown();
    EXPECT_EQ(waiting.tick(BootTime(99999)), Step::Nothing);
}

// Catches a missing program that is tried again and again.
TEST(Lifecycle, FailedStartIsFinal) {
    Lifecycle life(false, kPeriod);
    EXPECT_EQ(life.requestStart(), Step::Start);
    life.startFailed();
    EXPECT_EQ(life.state(), State::Stopped);
    EXPECT_FALSE(life.dueAt());
}

}  // namespace
}  // namespace android::kavel::host
