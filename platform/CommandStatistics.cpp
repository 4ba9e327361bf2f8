#include "platform/CommandStatistics.h"

#include <algorithm>
#include <iterator>

namespace android::kavel {
namespace {

std::chrono::milliseconds since(CommandStatistics::Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(CommandStatistics::Clock::now() -
                                                                 start);
}

}  // namespace

CommandStatistics& CommandStatistics::instance() {
    static auto* const statistics = new CommandStatistics;
    return *statistics;
}

CommandStatistics::Ticket CommandStatistics::begin(const std::string& command) {
    // Some commands end in a newline.
    Started started{command.substr(0, std::min(kMaxText, command.find('\n'))), Clock::now()};
    MutexLock lock(mLock);
    return mRunning.insert(mRunning.end(), std::move(started));
}

void CommandStatistics::end(Ticket ticket, int status, bool isLate) {
    MutexLock lock(mLock);
    CommandRun ended{std::move(ticket->command), since(ticket->since), status};
    mRunning.erase(ticket);
    ++mEnded.run;
    if (status != 0) ++mEnded.failed;
    if (isLate) ++mEnded.late;
    std::vector<CommandRun>& slowest = mEnded.slowest;
    const auto place = std::find_if(slowest.begin(), slowest.end(), [&](const CommandRun& other) {
        return other.took < ended.took;
    });
    slowest.insert(place, std::move(ended));
    if (slowest.size() > kSlowest) slowest.pop_back();
}

CommandStatus CommandStatistics::status() const {
    MutexLock lock(mLock);
    CommandStatus status = mEnded;
    std::transform(mRunning.begin(), mRunning.end(), std::back_inserter(status.running),
                   [](const Started& one) {
                       return CommandRun{one.command, since(one.since)};
                   });
    return status;
}

}  // namespace android::kavel
