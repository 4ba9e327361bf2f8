#include "host/init/Lifecycle.h"

#include <gtest/gtest.h>

#include <vector>

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

// Would catch a wait counted from the crash instead of from the last start: a service that had run
// for long must come back at once.
TEST(Lifecycle, RestartsOnePeriodAfterTheLastStart) {
    Lifecycle life = running(false, BootTime(1000));
    EXPECT_FALSE(life.dueAt());
    life.ended();
    EXPECT_EQ(life.state(), State::Restarting);
    EXPECT_EQ(life.dueAt(), BootTime(6000));
    EXPECT_EQ(life.tick(BootTime(5999)), Step::Nothing);
    EXPECT_EQ(life.tick(BootTime(6000)), Step::Start);
    EXPECT_EQ(life.tick(BootTime(90000)), Step::Start);
    life.started(BootTime(6000));
    EXPECT_EQ(life.state(), State::Running);
    EXPECT_FALSE(life.dueAt());
}

// Would catch services that come back although they were stopped, or stay away although asked for.
TEST(Lifecycle, WhatIsLeftAfterTheEnd) {
    const auto stop = &Lifecycle::requestStop;
    const auto start = &Lifecycle::requestStart;
    const auto restart = &Lifecycle::requestRestart;
    const struct {
        const char* name;
        std::vector<Step (Lifecycle::*)()> requests;
        std::vector<Step> steps;
        State left;
        bool oneshot;
    } rows[] = {
            {"crash", {}, {}, State::Restarting, false},
            {"oneshot", {}, {}, State::Stopped, true},
            {"stop", {stop}, {Step::Kill}, State::Stopped, false},
            {"restart", {restart}, {Step::Kill}, State::Restarting, true},
            {"stop, start", {stop, start}, {Step::Kill, Step::Nothing}, State::Restarting, false},
            {"restart, stop", {restart, stop}, {Step::Kill, Step::Nothing}, State::Stopped, false},
            {"start", {start}, {Step::Nothing}, State::Restarting, false},
    };
    for (const auto& row : rows) {
        Lifecycle life = running(row.oneshot, BootTime(0));
        std::vector<Step> steps;
        for (const auto request : row.requests) steps.push_back((life.*request)());
        life.ended();
        EXPECT_EQ(steps, row.steps) << row.name;
        EXPECT_EQ(life.state(), row.left) << row.name;
    }
}

// Would catch a phone that starts services while it goes down.
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

}  // namespace
}  // namespace android::kavel::host
