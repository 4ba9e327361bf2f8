#include "tests/fake/FakeCallLine.h"

#include <atomic>

namespace android::kavel {

using Outcome = CallLine::Outcome;

static std::atomic<Outcome> sOutcome{Outcome::Returned};

void fake::setCallOutcome(Outcome outcome) {
    sOutcome = outcome;
}

Outcome CallLine::call(std::function<void()> body, std::chrono::milliseconds /*patience*/) {
    const Outcome outcome = sOutcome;
    if (outcome != Outcome::Full && outcome != Outcome::NoThread) body();
    return outcome;
}

}  // namespace android::kavel
