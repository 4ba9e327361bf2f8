// Any bytes as an archive or a log. Would catch a crash, a hang, text beyond the limits, a record
// outside of its file, a line that is lost, and lines that are not in the order of their times.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "desk/read/Read.h"
#include "desk/timeline/BuildTimeline.h"
#include "tests/desk/DeskTexts.h"
#include "tests/fuzz/Require.h"
#include "tests/tools/TestArchive.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

/** Corrects the checksums of what looks like headers: few inputs would get past the first one. */
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed) {
    size = LLVMFuzzerMutate(data, size, maxSize);
    char* const bytes = reinterpret_cast<char*>(data);
    for (size_t start = 0; seed % 8 != 0 && start + 512 <= size; start += 512) {
        if (std::string(bytes + start + 257, 5) == "ustar") {
            android::kavel::tools::setTarChecksum(bytes + start);
        }
    }
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const int file = memfd_create("archive", MFD_CLOEXEC);
    require(write(file, data, size) == static_cast<ssize_t>(size), "the input is written");
    kaveldesk::ReadLimits limits;
    limits.members = 20;
    limits.memberBytes = 16 << 10;
    limits.keptBytes = 64 << 10;
    limits.unpackedBytes = 4 << 20;
    const kaveldesk::Evidence evidence =
            kaveldesk::readEvidence("/proc/self/fd/" + std::to_string(file), limits);
    close(file);
    require(evidence.files.size() <= limits.members, "the members have a limit");
    size_t kept = 0;
    for (const kaveldesk::EvidenceFile& member : evidence.files) {
        require(member.text.size() <= limits.memberBytes, "a member has a limit");
        require(member.text.size() <= member.size, "a text is not longer than its file");
        kept += member.text.size();
    }
    require(kept <= limits.keptBytes, "all texts have a limit");

    const kaveldesk::Timeline timeline = kaveldesk::buildTimeline(evidence);
    const auto isEarlier = [](const auto& a, const auto& b) { return a.utcNs < b.utcNs; };
    require(std::is_sorted(timeline.records.begin(), timeline.records.end(), isEarlier),
            "the lines are in the order of their times");
    for (const kaveldesk::Record& record : timeline.records) {
        require(uint64_t{record.begin} + record.length <=
                        evidence.files[record.place.file].text.size(),
                "a record is in its file");
        require(record.messageAt <= record.length &&
                        uint64_t{record.tagAt} + record.tagLength <= record.length,
                "tag and message are in the record");
    }
    require(kaveldesk::test::lostLine(evidence, timeline).empty(), "no line is lost");
    return 0;
}
