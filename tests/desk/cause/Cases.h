#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Verdict.h"

namespace kaveldesk {

/** A case of the golden file: its text up to "@expect", and what it gives to findCause(). */
struct VerdictCase {
    std::string text;
    Evidence evidence;
};

std::vector<VerdictCase> readCases(std::string_view text);

/** The verdict as the golden file has it. */
std::string verdictText(const Evidence& evidence, const Verdict& verdict);

}  // namespace kaveldesk
