#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace android::kavel::tools {

/** Exit codes, the same for every command. */
inline constexpr int kExitOk = 0;
inline constexpr int kExitRefused = 1;  ///< not found, broken, or refused by the daemon
inline constexpr int kExitUsage = 2;    ///< the command line is wrong; the command was not run

/** The command line is wrong; ends the program with kExitUsage. */
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * The requested object does not exist, or the request was refused; ends the program with
 * kExitRefused.
 */
class CommandError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** Output streams of a command: results go to @c out, notes to the user to @c err. */
struct Output {
    std::ostream& out;
    std::ostream& err;

    /** Starts a line on @c err with the program's name. Returns the stream. */
    std::ostream& note() const { return err << "kavelctl: "; }
};

/** A long option. It may be given at most once. */
struct Option {
    std::string_view name;  ///< without the dashes
    bool takesValue;
    bool valueOptional = false;  ///< without one, the value is empty
};

/** The words after the command's name. */
struct Arguments {
    bool wantsHelp = false;  ///< --help was given; the words after it were not read
    std::vector<std::string> operands;
    std::map<std::string, std::string, std::less<>> options;

    bool has(std::string_view option) const { return options.find(option) != options.end(); }
    std::optional<std::string> value(std::string_view option) const;
    /** @throws UsageError if the value is not an integer from @p min to @p max */
    int64_t number(std::string_view option, int64_t min, int64_t max, int64_t fallback) const;
    /** Returns a text for the daemon; empty if absent. @throws UsageError if it is not UTF-8 */
    std::string text(std::string_view option) const;
};

/** One row of the command table: the command's name, its help text and its function. */
struct Command {
    std::string_view name;
    std::string_view summary;
    std::string_view help;     ///< full text for --help, the usage line first
    std::string_view operand;  ///< name of the first operand; empty if the command takes none
    const Option* options;
    size_t optionCount;
    int (*run)(const Arguments& arguments, const Output& output);
    bool takesMore = false;        ///< more operands are allowed; the command checks their number
    bool operandOptional = false;  ///< the command checks if it is missing
};

/**
 * Parses the words after the command's name. A word like "-1" is an operand, not an option.
 *
 * @throws UsageError for an unknown or repeated option, a missing value or a wrong operand count
 */
Arguments parseArguments(const Command& command, const std::vector<std::string>& words);

}  // namespace android::kavel::tools
