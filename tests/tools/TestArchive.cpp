#include "tests/tools/TestArchive.h"

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>
#include <zlib.h>

namespace android::kavel::tools {

std::string tarBytes(const std::string& folder, const FileTexts& files) {
    std::string bytes(1 << 20, '\0');
    size_t used = 0;
    archive* writer = archive_write_new();
    archive_write_set_format_gnutar(writer);
    archive_write_open_memory(writer, bytes.data(), bytes.size(), &used);
    const std::string root = "data/persist_log/kavel30/" + folder + "/";
    for (const auto& [name, text] : files) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, std::string(root).append(name).c_str());
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_size(entry, static_cast<la_int64_t>(text.size()));
        archive_write_header(writer, entry);
        archive_write_data(writer, text.data(), text.size());
        archive_entry_free(entry);
    }
    EXPECT_EQ(archive_write_close(writer), ARCHIVE_OK);
    archive_write_free(writer);
    bytes.resize(used);
    return bytes;
}

std::string gzipBytes(const std::string& bytes) {
    constexpr int kGzipWindow = 15 + 16;  // zlib.h: 16 asks for a gzip header
    z_stream stream = {};
    deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, kGzipWindow, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, bytes.size()), '\0');
    std::string input = bytes;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

}  // namespace android::kavel::tools
