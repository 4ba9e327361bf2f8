// Any bytes as a tar stream. Would catch a crash, more data than came in, and a result that depends
// on how the bytes are cut into pieces or on whether the data is read.

#include <algorithm>
#include <cstdint>
#include <string>

#include "tests/fuzz/Require.h"
#include "tests/tools/TestArchive.h"
#include "tools/TarReader.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

using namespace android::kavel::tools;  // NOLINT(google-build-using-namespace): its own program

namespace {

/** All members and the error after them; @p data gets what they hold, if it is not null. */
std::string readAll(const std::string& bytes, size_t step, std::string* data) {
    size_t position = 0;
    TarReader reader([&](char* buffer, size_t size) {
        const size_t count = bytes.copy(buffer, std::min(size, step), position);
        position += count;
        return count;
    });
    std::string members;
    while (const auto member = reader.next()) {
        require(member->name.size() <= kMaxTarName, "a name has a bound");
        members += member->name + ' ' + std::to_string(member->size) +
                   (member->kind == TarMember::Kind::Directory ? "/\n" : "\n");
        char buffer[1000];
        while (const size_t count = data == nullptr ? 0 : reader.read(buffer, sizeof(buffer))) {
            data->append(buffer, count);
        }
    }
    return members + reader.error();
}

}  // namespace

/** Corrects the checksums of what looks like headers: few inputs would get past the first one. */
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed) {
    size = LLVMFuzzerMutate(data, size, maxSize);
    char* const bytes = reinterpret_cast<char*>(data);
    for (size_t start = 0; seed % 8 != 0 && start + 512 <= size; start += 512) {
        if (std::string(bytes + start + 257, 5) == "ustar") setTarChecksum(bytes + start);
    }
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    std::string whole;
    std::string pieces;
    const std::string members = readAll(bytes, size + 1, &whole);
    require(whole.size() <= size, "there is no more data than bytes");
    require(readAll(bytes, 100, &pieces) == members && pieces == whole, "the same in pieces");
    require(readAll(bytes, size + 1, nullptr) == members, "the same without the data");
    return 0;
}
