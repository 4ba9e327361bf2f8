#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dump/LogCommands.h"
#include "event/EventTypes.h"

namespace android::kavel::tools {

/** A command of the daemon. FOLDER and TIME stand for values that only a catch has. */
struct ExplainedCommand {
    std::string text;
    size_t order;  ///< position in the order of submission, from 1
    const LogCommand* row;
};

/** Actions that one bit causes in a catch. */
struct ExplainedBit {
    uint32_t bit;
    bool addedByEvent;  ///< not in the mask; the event type adds it
    std::vector<ExplainedCommand> commands;
    std::string capture;  ///< capture without a shell command; empty for most bits
    bool taken;           ///< false if nothing is started for the bit in this mask
};

/** Actions that a log-info mask causes in a catch, from the daemon's own tables. */
struct Explanation {
    uint32_t mask;
    std::optional<int64_t> eventId;
    SystemTrace trace;               ///< that the event type adds
    std::vector<ExplainedBit> bits;  ///< lowest first
    uint32_t secondRound;            ///< bits that are collected again after the time window
    uint32_t collected;              ///< bits that are confirmed when all commands have ended
    uint32_t neverCollected;         ///< bits of the mask that no command confirms
    uint32_t notAskedFor;            ///< confirmed bits that are not in the mask
    bool hasHeavy;
    std::optional<CommercialPart> commercial;  ///< nullopt if no event type was given

    /** Whether the pack waits its full time, because the confirmed bits can never equal the mask.
     */
    bool waitsFullTime() const { return collected != mask; }
};

/**
 * Seconds for which the pack of a trail build waits if the confirmed bits never equal the mask: 15
 * checks and 2 s.
 */
inline constexpr int kFullPackWaitSeconds = 17;

/** Seconds for which the pack of a commercial build waits for each technical event. */
inline constexpr int kCommercialWaitSeconds = 15;

Explanation explainMask(uint32_t mask, std::optional<int64_t> eventId);

}  // namespace android::kavel::tools
