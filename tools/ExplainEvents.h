#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "event/EventTypes.h"

namespace android::kavel::tools {

/** Returns a text like "0x3", "0xf01 to 0xf05", "from 0x10000002" or "any other". */
std::string idsText(const EventIds& ids);

/** Returns "action", "neighbour" or "none". */
std::string commercialPartText(CommercialPart part);

/** Prints what is special about @p eventId, with the meaning of each column. */
void printEventType(std::ostream& out, int64_t eventId);

/** Prints the table of event types, one line for each row. */
void printEventTypes(std::ostream& out);

/** Prints the page docs/event-types.md. */
void printEventTypesPage(std::ostream& out);

/** Prints a JSON document with the row of @p eventId, or with all rows. */
void writeEventTypesJson(std::ostream& out, std::optional<int64_t> eventId);

}  // namespace android::kavel::tools
