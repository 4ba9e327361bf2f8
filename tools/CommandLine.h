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
    bool isOutTerminal = false;
    bool isErrTerminal = false;

    /** Starts a line on @c err with the program's name. Returns the stream. */
    std::ostream& note() const { return err << "kavelctl: "; }
};

/**
 * A long option, with a letter as short form if it has one. It may be given at most once.
 *
 * The name of a value says what it is, here and in Command::operands. Completion knows DIR, PATH,
 * ARCHIVE, EVENT, MASK and COMMAND.
 */
struct Option {
    std::string_view name;   ///< without the dashes
    std::string_view value;  ///< name of the value; "[NAME]" if it may be left out, "" if none
    std::string_view help;   ///< one paragraph, without line breaks
    char letter = '\0';

    bool takesValue() const { return !value.empty(); }
    bool isValueOptional() const { return takesValue() && value.front() == '['; }
};

/** The options of a command: a view of a constant array. */
struct OptionList {
    constexpr OptionList() = default;
    template <size_t count>
    // NOLINTNEXTLINE(google-explicit-constructor): rows of tables name the array only
    constexpr OptionList(const Option (&options)[count]) : first(options), last(options + count) {}

    const Option* begin() const { return first; }
    const Option* end() const { return last; }

    const Option* first = nullptr;
    const Option* last = nullptr;
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

/**
 * One row of the command table. Parsing, the help, completion and the man page are made from it.
 */
struct Command {
    std::string_view name;
    /** As in the usage line: "ARCHIVE", "[ARCHIVE...]" or "ID NAME TIME...". */
    std::string_view operands;
    std::string_view summary;
    std::string_view description;  ///< paragraphs, one on each line
    OptionList options;
    int (*run)(const Arguments& arguments, const Output& output);
    std::string_view details = {};  ///< lines that the help shows as they are
};

/**
 * Parses the words after the command's name. A word like "-1" is an operand, not an option.
 *
 * @throws UsageError for an unknown or repeated option, a missing value or a wrong operand count
 */
Arguments parseArguments(const Command& command, const std::vector<std::string>& words);

}  // namespace android::kavel::tools
