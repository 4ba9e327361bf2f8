#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dump/LogCommands.h"

namespace android::kavel::tools {

/** A command as the daemon runs it, FOLDER and TIME standing for what only a catch knows. */
struct ExplainedCommand {
    std::string text;
    size_t order;  ///< place in the order of submission, from 1
    const LogCommand* row;
};

/** What one bit makes a catch do. */
struct ExplainedBit {
    uint32_t bit;
    bool addedByEvent;  ///< not in the mask; the event type adds it
    std::vector<ExplainedCommand> commands;
    std::string capture;  ///< what is taken without a shell command; empty for most bits
    bool taken;           ///< false where nothing is started for the bit in this mask
};

/** What an event is to the archives of a commercial build. */
enum class CommercialPart {
    Unknown,    ///< no event type is given
    Action,     ///< an abnormal action, which has an archive of its own
    Neighbour,  ///< goes into the archive of the abnormal action next to it
    None,       ///< goes into no archive
};

/** What a log-info mask makes a catch do, from the daemon's own tables. */
struct Explanation {
    uint32_t mask;
    std::optional<int64_t> eventId;
    const TraceEvent* frameworkTrace;  ///< row of the event type, or null
    const TraceEvent* nativeTrace;     ///< row of the event type, or null
    std::vector<ExplainedBit> bits;    ///< lowest first
    uint32_t secondRound;              ///< bits that are taken again after the time window
    uint32_t collected;                ///< bits recorded once all commands have ended
    uint32_t neverCollected;           ///< bits of the mask that no command records
    uint32_t notAskedFor;              ///< bits recorded that are not in the mask
    bool hasHeavy;
    CommercialPart commercial;

    /** The pack waits until the recorded bits equal the mask; where they cannot, its full time. */
    bool waitsFullTime() const { return collected != mask; }
};

/** Seconds that the pack of a field-trial build waits if the recorded bits never equal the mask: 15
 * checks and 2 s. */
inline constexpr int kFullPackWaitSeconds = 17;

/** The same for the pack of a commercial build, for each event beside the abnormal action. */
inline constexpr int kCommercialWaitSeconds = 15;

Explanation explainMask(uint32_t mask, std::optional<int64_t> eventId);

}  // namespace android::kavel::tools
