#include <cutils/sockets.h>

#include <iostream>
#include <limits>

#include "dig/ControlSocket.h"
#include "tools/Commands.h"
#include "tools/RawEventSender.h"
#include "tools/Text.h"
#include "tools/Values.h"

namespace android::kavel::tools {
namespace {

constexpr std::chrono::seconds kPatience{10};

constexpr std::string_view kDescription =
        "Sends raw events to the daemon's control socket: one for each TIME, or, with \"-\" in "
        "place of all words, one for each line ID:NAME:TIME of standard input. Reports invalid "
        "lines and skips them and empty lines.\n"
        "The daemon serves exactly one connection in its life: when this command has ended, it "
        "takes no more raw events until it is restarted. A second connection may succeed although "
        "the daemon does not read from it; this command then gives up after 10 s. Matches are in "
        "the log with the tag kavel_socket; 'accept from fd' means that a connection is served.\n"
        "Exit code 0 means that the daemon has read all records; 1 that it has not, or that a line "
        "was refused.";

constexpr std::string_view kDetails =
        "ID    raw event id; 0x100300001, 0x100300003 and 0x100300006 are matched against the\n"
        "      events before them\n"
        "NAME  any text without \":\"\n"
        "TIME  time stamp, in the reporter's unit\n";

int64_t number(std::string_view what, std::string_view text) {
    using Limits = std::numeric_limits<int64_t>;
    return integerInRange(what, text, Limits::min(), Limits::max());
}

/** Returns the record in the daemon's form, in decimal. @throws UsageError naming the field */
std::string makeRecord(std::string_view id, std::string_view name, std::string_view time) {
    constexpr std::string_view kEnds(":\0", 2);
    if (name.empty()) throw UsageError("NAME is empty");
    if (name.find_first_of(kEnds) != std::string_view::npos) {
        throw UsageError("NAME '" + printable(name) + "' contains ':' or NUL, which would end it");
    }
    std::string record = std::to_string(number("ID", id)) + ":" + std::string(name) + ":" +
                         std::to_string(number("TIME", time));
    if (record.size() <= kMaxRawRecord) return record;
    throw UsageError("the record has " + std::to_string(record.size()) + " bytes, more than " +
                     std::to_string(kMaxRawRecord));
}

std::vector<std::string> recordsOf(const std::vector<std::string>& operands) {
    constexpr std::string_view kNames[] = {"ID", "NAME", "TIME"};
    if (operands.size() < std::size(kNames)) {
        throw UsageError(std::string(kNames[operands.size()]) + " is missing");
    }
    std::vector<std::string> records;
    for (size_t i = 2; i < operands.size(); ++i) {
        records.push_back(makeRecord(operands[0], operands[1], operands[i]));
    }
    return records;
}

std::string recordOf(std::string_view line) {
    const size_t first = line.find(':');
    const size_t last = line.rfind(':');
    if (first == last) throw UsageError("not ID:NAME:TIME");
    return makeRecord(line.substr(0, first), line.substr(first + 1, last - first - 1),
                      line.substr(last + 1));
}

/** Sends the valid lines. @return number of invalid lines */
size_t sendLines(RawEventSender& sender, const Output& output) {
    size_t number = 0;
    size_t bad = 0;
    for (std::string line; std::getline(std::cin, line);) {
        ++number;
        if (line.empty()) continue;
        try {
            sender.send(recordOf(line));
        } catch (const UsageError& error) {
            output.note() << "line " << number << ": " << error.what() << '\n';
            ++bad;
        }
    }
    return bad;
}

void warn(const Output& output) {
    output.note() << "the daemon serves exactly one connection in its life: when this command "
                     "has ended, it takes no more raw events until it is restarted\n";
}

int runRaw(const Arguments& arguments, const Output& output) {
    RawEventSender sender(std::string(ANDROID_SOCKET_DIR "/") + kControlSocketName, kPatience);
    size_t bad = 0;
    if (arguments.operands == std::vector<std::string>{"-"}) {
        warn(output);
        bad = sendLines(sender, output);
    } else {
        const std::vector<std::string> records = recordsOf(arguments.operands);
        warn(output);
        for (const std::string& record : records) sender.send(record);
    }
    output.out << sender.sent() << (sender.sent() == 1 ? " record" : " records")
               << " read by the daemon\n";
    return bad == 0 ? kExitOk : kExitRefused;
}

}  // namespace

const Command kRawCommand{"raw",
                          "ID|- [NAME TIME...]",
                          "send raw events to the control socket",
                          kDescription,
                          {},
                          runRaw,
                          kDetails};

}  // namespace android::kavel::tools
