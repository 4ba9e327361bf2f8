#include "desk/mask/MaskArchive.h"

#include <archive.h>
#include <archive_entry.h>

#include <memory>
#include <stdexcept>

#include <fmt/core.h>

#include "desk/mask/LineFeed.h"
#include "desk/mask/NewFile.h"
#include "desk/mask/Spool.h"

namespace kaveldesk {
namespace {

class TarWriter {
  public:
    explicit TarWriter(const std::filesystem::path& path)
          : mPath(path), mFile(path), mWriter(archive_write_new(), archive_write_free) {
        archive_write_add_filter_gzip(mWriter.get());
        archive_write_set_format_gnutar(mWriter.get());  // names are bytes, whatever the locale
        // Most of the time goes into packing: this level is twice as fast as the usual one and its
        // archives are a tenth larger.
        archive_write_set_options(mWriter.get(), "gzip:!timestamp,gzip:compression-level=4");
        check(archive_write_open_fd(mWriter.get(), mFile.fd()));
    }

    /** @param content of a file; nullptr for a folder. */
    void add(archive_entry* like, const std::string& name, const Spool* content) {
        const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(),
                                                                             archive_entry_free);
        archive_entry_set_pathname(entry.get(), name.c_str());
        archive_entry_set_mtime(entry.get(), archive_entry_mtime(like), 0);
        archive_entry_set_uid(entry.get(), archive_entry_uid(like));
        archive_entry_set_gid(entry.get(), archive_entry_gid(like));
        archive_entry_set_perm(entry.get(), archive_entry_perm(like));
        archive_entry_set_filetype(entry.get(), content != nullptr ? AE_IFREG : AE_IFDIR);
        archive_entry_set_size(entry.get(),
                               content != nullptr ? static_cast<la_int64_t>(content->size()) : 0);
        check(archive_write_header(mWriter.get(), entry.get()));
        if (content == nullptr) return;
        content->read([this](std::string_view block) {
            const la_ssize_t size = archive_write_data(mWriter.get(), block.data(), block.size());
            check(size < 0 ? static_cast<int>(size) : ARCHIVE_OK);
        });
    }

    void publish() {
        check(archive_write_close(mWriter.get()));
        mFile.publish(NewFile::IfExists::Fail);
    }

  private:
    void check(int status) const {
        if (status == ARCHIVE_OK || status == ARCHIVE_WARN) return;
        const char* error = archive_error_string(mWriter.get());
        throw std::runtime_error(fmt::format("cannot write {}: {}", mPath.string(),
                                             error != nullptr ? error : "unknown error"));
    }

    std::filesystem::path mPath;
    NewFile mFile;
    std::unique_ptr<archive, int (*)(archive*)> mWriter;
};

/** Counts @p once, the counts of one file, into those of the archive. */
void addCounts(const MaskCounts& once, MaskCounts* all) {
    for (size_t i = 0; i < once.size(); ++i) {
        (*all)[i].values.insert(once[i].values.begin(), once[i].values.end());
        (*all)[i].places += once[i].places;
        if (once[i].places > 0) ++(*all)[i].files;
    }
}

std::string whyNothing(const std::filesystem::path& in, const WalkResult& walk) {
    std::string why = "it has no files";
    if (!walk.leftOut.empty()) {
        why = fmt::format("{} is left out: {}", walk.leftOut[0].name, walk.leftOut[0].reason);
    } else if (!walk.problems.empty()) {
        why = walk.problems[0];
    }
    return fmt::format("{} has nothing that can be masked: {}", in.string(), why);
}

}  // namespace

uint64_t learnArchive(const std::filesystem::path& in, const MaskOptions& options,
                      Pseudonyms* pseudonyms) {
    const WalkResult walk =
            walkMembers(in, options.limits, options.keepBinary, [&](const WalkedMember& member) {
                learnValues(member.name, pseudonyms);
                if (!member.isText) return;
                LineFeed lines([&](std::string_view piece) { learnValues(piece, pseudonyms); });
                member.read([&](std::string_view block) {
                    lines.add(block);
                    options.progress(block.size());
                });
                lines.end();
            });
    // They are in the report.
    for (const LeftOutMember& member : walk.leftOut) learnValues(member.name, pseudonyms);
    for (const std::string& problem : walk.problems) learnValues(problem, pseudonyms);
    return walk.bytes;
}

MaskReport maskArchive(const std::filesystem::path& in, const std::filesystem::path& out,
                       const MaskOptions& options, const KnownValues& known,
                       Pseudonyms* pseudonyms) {
    MaskReport report;
    const size_t learned = pseudonyms->size();
    TarWriter writer(out);
    std::vector<std::string> long_lines;
    const auto mask = [&](std::string_view text, MaskCounts* counts) {
        return maskText(text, known, pseudonyms, counts);
    };
    report.walk =
            walkMembers(in, options.limits, options.keepBinary, [&](const WalkedMember& member) {
                MaskCounts counts;
                const std::string name = mask(member.name, &counts);
                if (member.isFolder) {
                    writer.add(member.entry, name, nullptr);
                    return;
                }
                Spool content(out.parent_path());
                LineFeed lines([&](std::string_view piece) { content.add(mask(piece, &counts)); });
                member.read([&](std::string_view block) {
                    options.progress(block.size());
                    if (member.isText) {
                        lines.add(block);
                    } else {
                        content.add(block);
                    }
                });
                lines.end();
                writer.add(member.entry, name, &content);
                addCounts(counts, &report.counts);
                ++report.files;
                if (lines.leftOut() > 0) {
                    long_lines.push_back(fmt::format("{} bytes of long lines of {} are left out.",
                                                     lines.leftOut(), member.name));
                }
            });
    report.walk.problems.insert(report.walk.problems.end(), long_lines.begin(), long_lines.end());
    // Names and sentences can have values; they are shown, so they are masked as well.
    MaskCounts ignored;
    for (LeftOutMember& member : report.walk.leftOut) member.name = mask(member.name, &ignored);
    for (std::string& problem : report.walk.problems) problem = mask(problem, &ignored);
    if (report.files == 0) throw std::runtime_error(whyNothing(in, report.walk));
    if (pseudonyms->size() != learned) {
        throw std::runtime_error(fmt::format("{} has changed while it was read", in.string()));
    }
    writer.publish();
    return report;
}

}  // namespace kaveldesk
