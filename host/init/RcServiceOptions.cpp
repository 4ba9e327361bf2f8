#include "host/init/RcServiceOptions.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <utility>

namespace android::kavel::host {
namespace {

using Words = std::vector<std::string>;

/** A handler's answer: what is wrong with the line, or nothing. */
using Complaint = std::string;

Complaint optionClass(RcService* service, const Words& words) {
    service->classes.assign(words.begin() + 1, words.end());
    return {};
}

Complaint optionUser(RcService* service, const Words& words) {
    service->user = words[1];
    return {};
}

Complaint optionGroup(RcService* service, const Words& words) {
    service->groups.assign(words.begin() + 1, words.end());
    return {};
}

Complaint optionCapabilities(RcService* service, const Words& words) {
    service->capabilities.emplace(words.begin() + 1, words.end());
    for (auto& name : *service->capabilities) {
        std::transform(name.begin(), name.end(), name.begin(), [](char c) {
            return static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
        });
        if (name.rfind("CAP_", 0) == 0) name.erase(0, 4);
    }
    return {};
}

Complaint optionSocket(RcService* service, const Words& words) {
    static constexpr std::array<std::pair<std::string_view, int>, 3> kTypes{{
            {"stream", SOCK_STREAM},
            {"dgram", SOCK_DGRAM},
            {"seqpacket", SOCK_SEQPACKET},
    }};
    const auto* type = std::find_if(kTypes.begin(), kTypes.end(),
                                    [&](const auto& row) { return row.first == words[2]; });
    if (type == kTypes.end()) return "socket type must be stream, dgram or seqpacket";
    const auto mode = parseMode(words[3]);
    if (!mode) return "'" + words[3] + "' is not an octal mode";
    if (words[1].empty() || words[1].find('/') != std::string::npos) {
        return "'" + words[1] + "' is not a socket name";
    }
    RcSocket socket{words[1], type->second, *mode};
    if (words.size() > 4) socket.user = words[4];
    if (words.size() > 5) socket.group = words[5];
    service->sockets.push_back(std::move(socket));
    return {};
}

Complaint optionSetenv(RcService* service, const Words& words) {
    service->environment.emplace_back(words[1], words[2]);
    return {};
}

Complaint optionRestartPeriod(RcService* service, const Words& words) {
    uint32_t seconds = 0;
    const char* end = words[1].data() + words[1].size();
    const auto result = std::from_chars(words[1].data(), end, seconds);
    if (result.ec != std::errc{} || result.ptr != end || seconds == 0) {
        return "restart_period must be a number of seconds, 1 or more";
    }
    service->restartPeriod = std::chrono::seconds(seconds);
    return {};
}

Complaint optionOneshot(RcService* service, const Words&) {
    service->oneshot = true;
    return {};
}

Complaint optionDisabled(RcService* service, const Words&) {
    service->disabled = true;
    return {};
}

/** What a phone's init does with these has no counterpart on a desktop. */
Complaint optionWithoutMeaningHere(RcService*, const Words&) {
    return {};
}

struct OptionRow {
    std::string_view name;
    size_t minArgs;
    size_t maxArgs;
    Complaint (*apply)(RcService* service, const Words& words);
};

constexpr size_t kMany = SIZE_MAX;

constexpr std::array kOptions{
        OptionRow{"capabilities", 0, kMany, optionCapabilities},
        OptionRow{"class", 1, kMany, optionClass},
        OptionRow{"disabled", 0, 0, optionDisabled},
        OptionRow{"group", 1, kMany, optionGroup},
        OptionRow{"ioprio", 2, 2, optionWithoutMeaningHere},
        OptionRow{"oneshot", 0, 0, optionOneshot},
        OptionRow{"priority", 1, 1, optionWithoutMeaningHere},
        OptionRow{"restart_period", 1, 1, optionRestartPeriod},
        OptionRow{"rlimit", 3, 3, optionWithoutMeaningHere},
        OptionRow{"seclabel", 1, 1, optionWithoutMeaningHere},
        OptionRow{"setenv", 2, 2, optionSetenv},
        OptionRow{"socket", 3, 6, optionSocket},
        OptionRow{"task_profiles", 1, kMany, optionWithoutMeaningHere},
        OptionRow{"user", 1, 1, optionUser},
        OptionRow{"writepid", 1, kMany, optionWithoutMeaningHere},
};

}  // namespace

std::string applyServiceOption(const Words& words, RcService* service) {
    const auto* row = std::find_if(kOptions.begin(), kOptions.end(),
                                   [&](const auto& one) { return one.name == words[0]; });
    if (row == kOptions.end()) return "unknown service option '" + words[0] + "'";
    const size_t args = words.size() - 1;
    if (args < row->minArgs || args > row->maxArgs) {
        return "service option '" + words[0] + "' with " + std::to_string(args) + " arguments";
    }
    return row->apply(service, words);
}

}  // namespace android::kavel::host
