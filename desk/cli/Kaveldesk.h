#pragma once

namespace kaveldesk {

/** Runs kaveldesk with the arguments of main(). Returns the exit status: 0, 1 (failed) or 2
 * (usage). */
int run(int argc, const char* const* argv);

}  // namespace kaveldesk
