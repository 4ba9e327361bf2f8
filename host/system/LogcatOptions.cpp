#include "host/system/LogcatOptions.h"

#include <android-base/parseint.h>
#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <android/log.h>

#include <algorithm>

#include "host/system/LogSink.h"

namespace android::kavel::host {

const char kLogcatHelp[] =
        "usage: logcat [OPTION]... [TAG[:PRIORITY]]...\n\n"
        "Shows the log, then goes on with what comes.\n\n"
        "  -d           show what is there, then end\n"
        "  -t N         the newest N lines, then end\n"
        "  -T N         the newest N lines, then go on\n"
        "  -b BUFFER    main, system, radio, events, crash, default (main, system, crash) or all;\n"
        "               may be given more than once, or with commas\n"
        "  -v FORMAT    threadtime (the default), time, brief, process, tag, thread or raw\n"
        "  -s           show no tags but those that are named\n"
        "  --pid=PID    only lines of this process\n"
        "  -c           empty the buffers, then end\n\n"
        "PRIORITY is V, D, I, W, E, F or S (none); the TAG \"*\" means all others.\n"
        "Exit codes: 0 done, 1 wrong usage or no log.\n";

namespace {

using base::StringPrintf;

int width(std::string_view text) {
    return static_cast<int>(text.size());
}

std::string brief(const LogLine& line) {
    return StringPrintf("%c/%-8.*s(%5d): %.*s", line.priority, width(line.tag), line.tag.data(),
                        line.pid, width(line.message), line.message.data());
}

std::string withTime(const LogLine& line) {
    return std::string(line.time) + " " + brief(line);
}

std::string process(const LogLine& line) {
    return StringPrintf("%c(%5d) %.*s  (%.*s)", line.priority, line.pid, width(line.message),
                        line.message.data(), width(line.tag), line.tag.data());
}

std::string withTag(const LogLine& line) {
    return StringPrintf("%c/%-8.*s: %.*s", line.priority, width(line.tag), line.tag.data(),
                        width(line.message), line.message.data());
}

std::string thread(const LogLine& line) {
    return StringPrintf("%c(%5d:%5d) %.*s", line.priority, line.pid, line.tid, width(line.message),
                        line.message.data());
}

std::string raw(const LogLine& line) {
    return std::string(line.message);
}

const std::map<std::string, LineFormat, std::less<>>& formats() {
    static const std::map<std::string, LineFormat, std::less<>> table = {
            {"threadtime", nullptr}, {"time", withTime}, {"brief", brief}, {"process", process},
            {"tag", withTag},        {"thread", thread}, {"raw", raw},
    };
    return table;
}

bool addBuffers(const std::string& names, LogcatOptions* options) {
    for (const std::string& name : base::Split(names, ",")) {
        std::vector<std::string> meant = {name};
        if (name == "default") meant = {"main", "system", "crash"};
        if (name == "all") meant.assign(kLogBuffers.begin(), kLogBuffers.end());
        for (const std::string& buffer : meant) {
            const auto isIt = [&buffer](const auto& each) { return buffer == each; };
            if (std::none_of(kLogBuffers.begin(), kLogBuffers.end(), isIt)) return false;
            if (std::none_of(options->buffers.begin(), options->buffers.end(), isIt)) {
                options->buffers.push_back(buffer);
            }
        }
    }
    return true;
}

bool addFilter(const std::string& text, LogcatOptions* options) {
    const size_t colon = text.rfind(':');
    const std::string tag = text.substr(0, colon);
    int priority = tag == "*" ? ANDROID_LOG_DEBUG : ANDROID_LOG_VERBOSE;
    if (colon != std::string::npos) {
        const std::string letter = text.substr(colon + 1);
        priority = letter.size() == 1 ? priorityOf(static_cast<char>(toupper(letter[0]))) : 0;
    }
    if (tag == "*") {
        options->otherPriority = priority;
    } else {
        options->tagPriority[tag] = priority;
    }
    return priority != 0 && !tag.empty();
}

/** One option and its value; false if the value does not fit. */
bool apply(char option, const std::string& value, LogcatOptions* options) {
    switch (option) {
        case 't':
            options->follow = false;
            [[fallthrough]];
        case 'T':
            options->newest = 0;
            return base::ParseUint(value, &*options->newest) && *options->newest > 0;
        case 'b':
            return addBuffers(value, options);
        case 'v': {
            const auto found = formats().find(value);
            if (found == formats().end()) return false;
            options->format = found->second;
            return true;
        }
        default:
            options->pid = 0;
            return base::ParseInt(value, &*options->pid, 1);
    }
}

/** An option without a value; false for others. */
bool applyFlag(const std::string& argument, LogcatOptions* options) {
    if (argument == "-d") {
        options->follow = false;
    } else if (argument == "-c") {
        options->clear = true;
    } else if (argument == "-s") {
        options->otherPriority = ANDROID_LOG_SILENT;
    } else if (argument == "-h" || argument == "--help") {
        options->help = true;
    } else {
        return false;
    }
    return true;
}

}  // namespace

bool LogcatOptions::shows(const LogLine& line) const {
    if (pid && *pid != line.pid) return false;
    const auto found = tagPriority.find(line.tag);
    const int lowest = found != tagPriority.end() ? found->second : otherPriority;
    return lowest != ANDROID_LOG_SILENT && priorityOf(line.priority) >= lowest;
}

std::optional<LogcatOptions> parseLogcatOptions(const std::vector<std::string>& arguments,
                                                std::string* error) {
    LogcatOptions options;
    constexpr std::string_view kPid = "--pid";
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument.empty() || argument[0] != '-') {
            if (addFilter(argument, &options)) continue;
            *error = "'" + argument + "' is not TAG or TAG:PRIORITY";
            return std::nullopt;
        }
        if (applyFlag(argument, &options)) continue;
        const bool isPid = argument == kPid || base::StartsWith(argument, "--pid=");
        const bool isShort = argument.size() >= 2 &&
                             std::string_view("tTbv").find(argument[1]) != std::string_view::npos;
        if (!isPid && !isShort) {
            *error = "unknown option '" + argument + "'";
            return std::nullopt;
        }
        // The value stands behind the option in the same word or in the next one.
        std::string value = argument.substr(isPid ? kPid.size() : 2);
        if (isPid && !value.empty()) value.erase(0, 1);
        if (value.empty()) {
            if (++i == arguments.size()) {
                *error = "option '" + argument + "' needs a value";
                return std::nullopt;
            }
            value = arguments[i];
        }
        if (!apply(isPid ? 'p' : argument[1], value, &options)) {
            *error = StringPrintf("'%s' is no value for option '%s'", value.c_str(),
                                  argument.c_str());
            return std::nullopt;
        }
    }
    if (options.buffers.empty()) addBuffers("default", &options);
    return options;
}

}  // namespace android::kavel::host
