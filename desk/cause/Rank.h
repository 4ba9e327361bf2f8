#pragma once

#include <string_view>
#include <vector>

#include "desk/cause/Case.h"

namespace kaveldesk {

/** A kind of verdict. */
struct CauseKind {
    std::string_view name;
    bool isResource;   // a shortage: a cause of its own only where nothing else is found
    bool isPhoneWide;  // does not belong to one process
};

const CauseKind& kindOf(const Candidate& candidate);

/** The kinds that the event asks for, by the most exact word in its names. */
std::vector<std::string_view> wantedKinds(const Incident& incident);

/** How a candidate compares with the incident. Unknown: nothing rules it out. */
enum class Match : uint8_t { Other, Unknown, Same };

Match matchProcess(const Incident& incident, const Candidate& candidate);
Match matchTime(const Incident& incident, const Candidate& candidate);

/** How good a candidate is; a larger value is better. */
struct Rank {
    bool isPossible = false;  // neither of another process nor far from the event
    int score = 0;
    int64_t nearness = 0;

    bool operator<(const Rank& other) const;
};

Rank rankOf(const Incident& incident, const std::vector<std::string_view>& wanted,
            const Candidate& candidate);

}  // namespace kaveldesk
