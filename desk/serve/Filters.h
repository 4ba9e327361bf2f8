#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "desk/questions/Filter.h"

namespace kaveldesk {

/** The parts of a filter as a request has them, by name. None is empty. */
using FilterTexts = std::map<std::string, std::string>;

struct FilterField {
    const char* name;
    const char* title;
    const char* hint;
};
inline constexpr FilterField kFilterFields[] = {{"since", "Since", "7d, 24h or 2026-11-21"},
                                                {"until", "Until", "2026-11-21 07:33"},
                                                {"event", "Event", "all"},
                                                {"process", "Process", "all"},
                                                {"build", "Build", "all"},
                                                {"fingerprint", "Fingerprint", "all"}};

/** Throws std::invalid_argument with a sentence for a time that is none. */
Filter filterOf(const FilterTexts& texts, int64_t nowUtc);

/** "/catches?build=..." for @p path, with @p other in place of parts of @p texts. */
std::string linkTo(const std::string& path, FilterTexts texts, const FilterTexts& other = {});

/** "2026-11-21 07:33:31"; "unknown" for a time that is not known. */
std::string shownTime(int64_t utc);
/** "2026-11-21" */
std::string shownDay(int64_t utc);

}  // namespace kaveldesk
