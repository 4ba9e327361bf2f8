#include "desk/mask/MemberWalk.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <memory>
#include <stdexcept>

#include <fmt/core.h>

#include "desk/read/PackedSource.h"

namespace kaveldesk {
namespace {

constexpr size_t kBlock = 256 << 10;
constexpr size_t kHead = 64 << 10;  // decides whether a file is text

std::string errorText(archive* reader) {
    const char* text = archive_error_string(reader);
    return text != nullptr ? text : "unknown error";
}

[[noreturn]] void fail(const std::filesystem::path& path, const std::string& error) {
    throw std::runtime_error(fmt::format("{} is not an archive: {}", path.string(), error));
}

/** A tar archive, as a stream. */
class TarReader {
  public:
    explicit TarReader(const std::filesystem::path& path)
          : mFile(path, std::ios::binary),
            mSource([this](char* buffer, size_t size) {
                mFile.read(buffer, static_cast<std::streamsize>(size));
                return mFile.bad() ? std::ptrdiff_t{-1} : mFile.gcount();
            }),
            mReader(archive_read_new(), archive_read_free) {
        archive_read_support_format_tar(mReader.get());
        if (archive_read_open(mReader.get(), &mSource, nullptr, giveBytes, nullptr) != ARCHIVE_OK) {
            fail(path, errorText(mReader.get()));
        }
    }

    archive* get() const { return mReader.get(); }

  private:
    static la_ssize_t giveBytes(archive*, void* source, const void** buffer) {
        const std::string_view bytes = static_cast<PackedSource*>(source)->next();
        *buffer = bytes.data();
        return static_cast<la_ssize_t>(bytes.size());
    }

    std::ifstream mFile;
    PackedSource mSource;
    std::unique_ptr<archive, int (*)(archive*)> mReader;
};

bool leadsOut(const std::filesystem::path& name) {
    return name.empty() || name.is_absolute() ||
           std::find(name.begin(), name.end(), std::filesystem::path("..")) != name.end();
}

/** The content of one member, within the limits. */
class Content {
  public:
    Content(archive* reader, uint64_t limit)
          : mReader(reader), mLimit(limit), mBlock(kBlock, '\0') {
        while (mHead.size() < kHead) {
            const std::string_view block = next();
            if (block.empty()) break;
            mHead += block;
        }
    }

    std::string_view head() const { return std::string_view(mHead).substr(0, kHead); }
    uint64_t bytes() const { return mBytes; }
    /** Why the content ends too early; empty if it does not. */
    const std::string& problem() const { return mProblem; }

    void read(const std::function<void(std::string_view)>& sink) {
        sink(mHead);
        for (std::string_view block = next(); !block.empty(); block = next()) sink(block);
    }

  private:
    std::string_view next() {
        if (!mProblem.empty()) return {};
        const la_ssize_t size = archive_read_data(mReader, mBlock.data(), mBlock.size());
        if (size < 0) mProblem = errorText(mReader);
        if (size <= 0) return {};
        mBytes += static_cast<uint64_t>(size);
        if (mBytes > mLimit) {
            mProblem = "it is too large";
            return {};
        }
        return std::string_view(mBlock).substr(0, static_cast<size_t>(size));
    }

    archive* mReader;
    uint64_t mLimit;
    uint64_t mBytes = 0;
    std::string mBlock;
    std::string mHead;
    std::string mProblem;
};

/** Why a member is left out; empty if it is not. */
std::string reasonToLeaveOut(archive_entry* entry, const std::string& name) {
    if (leadsOut(name)) return "its name leads out of the archive";
    const auto type = archive_entry_filetype(entry);
    if ((type != AE_IFREG && type != AE_IFDIR) || archive_entry_hardlink(entry) != nullptr) {
        return "it is a link or a device";
    }
    return "";
}

}  // namespace

bool isMaskable(std::string_view head) {
    using namespace std::string_view_literals;
    constexpr std::array kBinaryStarts = {"\x1f\x8b"sv,
                                          "PK\x03\x04"sv,
                                          "\x7f"
                                          "ELF"sv,
                                          "\x28\xb5\x2f\xfd"sv,
                                          "\xfd"
                                          "7zXZ"sv,
                                          "BZh"sv,
                                          "SQLite format 3"sv};
    for (const std::string_view start : kBinaryStarts) {
        if (head.substr(0, start.size()) == start) return false;
    }
    constexpr size_t kTarMagic = 257;
    if (head.size() > kTarMagic && head.substr(kTarMagic, 5) == "ustar") return false;
    const auto control =
            static_cast<size_t>(std::count_if(head.begin(), head.end(), [](unsigned char c) {
                return c < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\f' && c != 0x1b;
            }));
    return control * 20 <= head.size();  // logs can have some bytes of a crash in them
}

WalkResult walkMembers(const std::filesystem::path& path, const ReadLimits& limits,
                       bool keep_binary, const std::function<void(const WalkedMember&)>& visit) {
    WalkResult result;
    const TarReader reader(path);
    for (size_t members = 0;; ++members) {
        archive_entry* entry = nullptr;
        const int status = archive_read_next_header(reader.get(), &entry);
        if (status == ARCHIVE_EOF) return result;
        if (status != ARCHIVE_OK && status != ARCHIVE_WARN) {
            const std::string error = errorText(reader.get());
            if (members == 0) {
                fail(path, error);
            }
            result.problems.push_back(fmt::format("The archive ends early: {}.", error));
            return result;
        }
        if (members >= limits.members || result.bytes >= limits.unpackedBytes) {
            result.problems.emplace_back("The archive is too large; the rest is left out.");
            return result;
        }
        const char* raw_name = archive_entry_pathname(entry);
        WalkedMember member{entry, raw_name != nullptr ? raw_name : "", false, true, nullptr};
        member.isFolder = archive_entry_filetype(entry) == AE_IFDIR;
        if (std::string reason = reasonToLeaveOut(entry, member.name); !reason.empty()) {
            result.leftOut.push_back({member.name, std::move(reason)});
            continue;
        }
        Content content(reader.get(),
                        std::min(limits.memberBytes, limits.unpackedBytes - result.bytes));
        member.isText = isMaskable(content.head());
        member.read = [&content](const auto& sink) { content.read(sink); };
        if (member.isText || keep_binary) {
            visit(member);
        } else {
            result.leftOut.push_back({member.name, "it is no text"});
        }
        result.bytes += content.bytes();
        if (!content.problem().empty()) {
            result.problems.push_back(
                    fmt::format("The rest of {} is left out: {}.", member.name, content.problem()));
        }
    }
}

}  // namespace kaveldesk
