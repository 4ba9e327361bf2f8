#include "tools/StatisticFile.h"

#include <fcntl.h>
#include <json/value.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "tools/JsonLine.h"

namespace android::kavel::tools {
namespace {

base::unique_fd openFile(const std::filesystem::path& path) {
    return base::unique_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

bool isSameFile(const base::unique_fd& one, const base::unique_fd& other) {
    struct stat first {};
    struct stat second {};
    return one.ok() && other.ok() && fstat(one.get(), &first) == 0 &&
           fstat(other.get(), &second) == 0 && first.st_ino == second.st_ino &&
           first.st_dev == second.st_dev;
}

bool isPair(const Json::Value& json) {
    return json.isArray() && json.size() == 2 && json[0].isString() && json[1].isString();
}

}  // namespace

std::optional<Statistic> parseStatistic(const std::string& line) {
    const std::optional<Json::Value> json = parseJsonObject(line);
    if (!json) return std::nullopt;
    const Json::Value& data = (*json)["data"];
    for (const char* const key : {"time", "tag", "event"}) {
        if (!(*json)[key].isString()) return std::nullopt;
    }
    if (!data.isArray() || !std::all_of(data.begin(), data.end(), isPair)) return std::nullopt;

    Statistic statistic{
            (*json)["time"].asString(), (*json)["tag"].asString(), (*json)["event"].asString(), {}};
    for (const Json::Value& pair : data) {
        statistic.data.emplace_back(pair[0].asString(), pair[1].asString());
    }
    return statistic;
}

bool StatisticFile::exists() const {
    return openFile(mPath).ok() || openFile(olderPath()).ok();
}

std::vector<std::string> StatisticFile::readNew() {
    std::vector<std::string> lines;
    if (!mHasBegun) {
        // Opened before the older file: if the files are rotated in between, the same file is
        // opened twice, and nothing is missed.
        mCurrent.fd = openFile(mPath);
        Generation older{openFile(olderPath()), {}};
        if (!isSameFile(older.fd, mCurrent.fd)) drain(older, lines);
        mHasBegun = true;
    }
    drain(mCurrent, lines);
    while (true) {
        base::unique_fd next = openFile(mPath);
        if (!next.ok() || isSameFile(next, mCurrent.fd)) return lines;
        drain(mCurrent, lines);  // lines may have been added before the rotation
        mCurrent = {std::move(next), {}};
        drain(mCurrent, lines);
    }
}

void StatisticFile::drain(Generation& generation, std::vector<std::string>& lines) {
    if (!generation.fd.ok()) return;
    std::array<char, size_t{64} * 1024> chunk;
    while (true) {
        const ssize_t count =
                TEMP_FAILURE_RETRY(read(generation.fd.get(), chunk.data(), chunk.size()));
        if (count <= 0) return;
        std::string_view text(chunk.data(), static_cast<size_t>(count));
        for (size_t end; (end = text.find('\n')) != std::string_view::npos;) {
            lines.push_back(std::move(generation.unfinished.append(text.substr(0, end))));
            generation.unfinished.clear();
            text.remove_prefix(end + 1);
        }
        generation.unfinished.append(text);
    }
}

}  // namespace android::kavel::tools
