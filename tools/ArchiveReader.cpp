#include "tools/ArchiveReader.h"

#include <algorithm>
#include <string_view>

#include "tools/ArchiveStream.h"

namespace android::kavel::tools {
namespace {

/** Fills an ArchiveContents from the members of a tar stream. */
class MemberCollector {
  public:
    MemberCollector(ArchiveStream& stream, ArchiveContents& contents)
          : mStream(stream), mContents(contents) {}

    void add(const TarMember& member) {
        ++mContents.fileCount;
        if (mContents.files.size() < kMaxListedFiles) {
            mContents.files.push_back({member.name, member.size});
        }
        // The archive of an abnormal action contains other catches in sub-folders, with files of
        // the same names. The files in the uppermost folder are its own.
        const std::filesystem::path path(member.name);
        const auto depth = static_cast<size_t>(std::distance(path.begin(), path.end()));
        if (path.filename() == "kavel_history.txt" && depth < mHistoryDepth) {
            mHistoryDepth = depth;
            mContents.history = readText(kMaxText);
        } else if (path.filename() == "extraInfo.txt" && depth < mExtraInfoDepth) {
            mExtraInfoDepth = depth;
            mContents.extraInfo = readText(kMaxText);
            mContents.hasExtraInfo = true;
        } else if (path.filename() == "kavel_events.txt") {
            addEvents(member.size, depth);
        }
    }

  private:
    void addEvents(uint64_t size, size_t depth) {
        std::string text =
                readText(kMaxEventText - std::min(kMaxEventText, mContents.events.size()));
        if (text.size() < size) {
            mContents.hasMoreEvents = true;
            const size_t lastEnd = text.rfind('\n');
            text.resize(lastEnd == std::string::npos ? 0 : lastEnd + 1);
        } else if (!text.empty() && text.back() != '\n') {
            text += '\n';
        }
        const bool isOwn = depth < mEventsDepth;
        mContents.events.insert(isOwn ? 0 : mContents.events.size(), text);
        if (isOwn) mEventsDepth = depth;
    }

    std::string readText(size_t limit) {
        std::string text(limit, '\0');
        text.resize(mStream.read(text.data(), text.size()));
        return text;
    }

    ArchiveStream& mStream;
    ArchiveContents& mContents;
    size_t mHistoryDepth = SIZE_MAX;
    size_t mExtraInfoDepth = SIZE_MAX;
    size_t mEventsDepth = SIZE_MAX;
};

}  // namespace

ArchiveContents readArchive(const std::filesystem::path& path, uint64_t limit) {
    ArchiveContents contents;
    ArchiveStream stream(path, limit);
    contents.archiveSize = stream.archiveSize();
    MemberCollector collector(stream, contents);
    while (const auto member = stream.next()) collector.add(*member);
    contents.broken = stream.finish();
    contents.isPartial = stream.isPartial();
    return contents;
}

}  // namespace android::kavel::tools
