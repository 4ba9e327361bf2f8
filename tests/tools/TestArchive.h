#pragma once

#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace android::kavel::tools {

using FileTexts = std::vector<std::pair<std::string, std::string>>;

/** Writes the checksum of the tar header @p block into it. */
inline void setTarChecksum(char* block) {
    std::fill_n(block + 148, 8, ' ');
    const unsigned sum = std::accumulate(block, block + 512, 0U, [](unsigned all, char c) {
        return all + static_cast<unsigned char>(c);
    });
    snprintf(block + 148, 8, "%06o", sum);
}

/** A block of 512 bytes: the header of a tar member in GNU's form, its checksum included. */
inline std::string tarHeader(const std::string& name, size_t size, char type = '0') {
    std::string block(512, '\0');
    name.copy(&block[0], 100);
    snprintf(&block[124], 12, "%011zo", size);
    block[156] = type;
    block.replace(257, 8, "ustar  ", 8);
    setTarChecksum(block.data());
    return block;
}

/** A whole member: header, data, padding. */
inline std::string tarMember(const std::string& name, const std::string& data, char type = '0') {
    std::string bytes;
    if (name.size() > 100) bytes = tarMember("././@LongLink", name + '\0', 'L');
    return bytes + tarHeader(name, data.size(), type) + data +
           std::string((512 - data.size() % 512) % 512, '\0');
}

/** A tar archive of @p files, named as the daemon's tar names them below @p folder. "NAME%T" has
 * type T. */
inline std::string tarBytes(const std::string& folder, const FileTexts& files) {
    std::string bytes;
    for (const auto& [name, text] : files) {
        const size_t mark = std::min(name.find('%'), name.size());
        bytes += tarMember("data/persist_log/kavel30/" + folder + "/" + name.substr(0, mark), text,
                           mark == name.size() ? '0' : name[mark + 1]);
    }
    return bytes + std::string(1024, '\0');
}

/** @param level  of compression; with 0 the length does not depend on the version of zlib */
inline std::string gzipBytes(std::string bytes, int level = 1) {
    constexpr int kGzipWindow = 15 + 16;  // zlib.h: 16 asks for a gzip header
    z_stream stream = {};
    deflateInit2(&stream, level, Z_DEFLATED, kGzipWindow, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, bytes.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END) std::abort();
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

}  // namespace android::kavel::tools
