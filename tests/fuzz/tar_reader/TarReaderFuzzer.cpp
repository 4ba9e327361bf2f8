// Any bytes as a tar stream: the reader must neither stumble nor hand out more than came in, and
// must find the same however the bytes are cut into pieces.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/tools/TestArchive.h"
#include "tools/TarReader.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

using android::kavel::tools::TarReader;

constexpr size_t kBlock = 512;

void require(bool holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "%s\n", what);
    abort();
}

struct Found {
    std::string members;  ///< with the error behind them
    std::string data;     ///< of all members
};

/** What a reader finds in @p bytes; at most @p step of them come at a time. */
Found readAll(const std::string& bytes, size_t step, bool readsData) {
    size_t position = 0;
    TarReader reader([&](char* buffer, size_t size) {
        const size_t count = bytes.copy(buffer, std::min(size, step), position);
        position += count;
        return count;
    });
    Found found;
    while (const auto member = reader.next()) {
        require(member->name.size() <= android::kavel::tools::kMaxTarName, "the name is too long");
        found.members += member->name + ' ' + std::to_string(member->size) +
                         (member->isDirectory ? "/\n" : "\n");
        std::string buffer(readsData ? 1000 : 0, '\0');
        while (const size_t count = reader.read(buffer.data(), buffer.size())) {
            found.data.append(buffer, 0, count);
        }
    }
    require(found.data.size() <= bytes.size(), "there is more data than bytes");
    found.members += reader.error();
    return found;
}

}  // namespace

/** Mends the checksums of what looks like headers: else hardly an input gets beyond its first one.
 */
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed) {
    size = LLVMFuzzerMutate(data, size, maxSize);
    if (seed % 8 == 0) return size;
    char* const bytes = reinterpret_cast<char*>(data);
    for (size_t start = 0; start + kBlock <= size; start += kBlock) {
        if (std::string(bytes + start + 257, 5) == "ustar") {
            android::kavel::tools::setTarChecksum(bytes + start);
        }
    }
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const Found whole = readAll(bytes, bytes.size() + 1, true);
    const Found pieces = readAll(bytes, 100, true);
    require(pieces.members == whole.members && pieces.data == whole.data,
            "small pieces are read otherwise");
    require(readAll(bytes, bytes.size() + 1, false).members == whole.members,
            "the members are others if their data is skipped");
    return 0;
}
