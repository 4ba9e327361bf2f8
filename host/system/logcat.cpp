// logcat: shows the phone's log from the files that all its programs write.

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "host/system/LogSink.h"
#include "host/system/LogTail.h"
#include "host/system/LogcatOptions.h"

namespace {

namespace host = android::kavel::host;

std::string pathOf(const std::string& folder, const std::string& buffer) {
    return std::string(folder).append("/").append(buffer);
}

struct Entry {
    size_t buffer;
    std::string text;
};

class Logcat {
  public:
    Logcat(const host::LogcatOptions& options, const std::string& folder)
          : mOptions(options), mBegun(options.buffers.size(), false) {
        for (const std::string& buffer : options.buffers)
            mTails.emplace_back(pathOf(folder, buffer));
    }

    /** What is new in all buffers, in the order of time. */
    std::vector<Entry> readNew() {
        std::vector<Entry> all;
        for (size_t i = 0; i < mTails.size(); ++i) {
            const auto middle = static_cast<std::ptrdiff_t>(all.size());
            for (std::string& line : mTails[i].readNew()) all.push_back({i, std::move(line)});
            // Keeps the order within a buffer even where its times do not.
            std::inplace_merge(all.begin(), all.begin() + middle, all.end(),
                               [](const Entry& one, const Entry& other) {
                                   return host::timeOf(one.text) < host::timeOf(other.text);
                               });
        }
        return all;
    }

    void print(const std::vector<Entry>& entries, size_t from) {
        for (size_t i = from; i < entries.size(); ++i) {
            const Entry& entry = entries[i];
            std::string text = entry.text;
            if (mOptions.format != nullptr || !mOptions.showsAll()) {
                const auto line = host::parseThreadtime(entry.text);
                if (line && !mOptions.shows(*line)) continue;
                if (line && mOptions.format != nullptr) text = mOptions.format(*line);
            }
            if (!mBegun[entry.buffer]) {
                printf("--------- beginning of %s\n", mOptions.buffers[entry.buffer].c_str());
                mBegun[entry.buffer] = true;
            }
            text.push_back('\n');
            fwrite(text.data(), 1, text.size(), stdout);
        }
    }

  private:
    const host::LogcatOptions& mOptions;
    std::vector<host::LogTail> mTails;
    std::vector<bool> mBegun;
};

int fail(const std::string& why) {
    fprintf(stderr, "logcat: %s\n", why.c_str());
    return 1;
}

int clearBuffers(const host::LogcatOptions& options, const std::string& folder) {
    for (const std::string& buffer : options.buffers) {
        const std::string path = pathOf(folder, buffer);
        const bool olderStays = unlink((path + ".1").c_str()) != 0 && errno != ENOENT;
        if (olderStays || (truncate(path.c_str(), 0) != 0 && errno != ENOENT)) {
            return fail(path + ": " + strerror(errno));
        }
    }
    return 0;
}

int show(const host::LogcatOptions& options, const std::string& folder) {
    // Before the first look, so that nothing comes in between unseen.
    const int changes = inotify_init1(IN_CLOEXEC);
    if (changes < 0 || inotify_add_watch(changes, folder.c_str(),
                                         IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_ONLYDIR) < 0) {
        return fail(folder + ": " + strerror(errno));
    }
    Logcat logcat(options, folder);
    std::vector<Entry> entries = logcat.readNew();
    const size_t count = std::min(options.newest.value_or(entries.size()), entries.size());
    logcat.print(entries, entries.size() - count);
    std::array<char, 4096> events;
    while (fflush(stdout) == 0 && options.follow) {
        if (read(changes, events.data(), events.size()) < 0) return fail(strerror(errno));
        logcat.print(logcat.readNew(), 0);
    }
    return ferror(stdout) != 0 ? fail("cannot write the output") : 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::string error;
    const auto options = host::parseLogcatOptions({argv + 1, argv + argc}, &error);
    if (!options) return fail(error + "; see logcat --help");
    if (options->help) {
        fputs(host::kLogcatHelp, stdout);
        return 0;
    }
    const std::string folder = host::logDirectory();
    return options->clear ? clearBuffers(*options, folder) : show(*options, folder);
}
