// Writes archives of a fleet: SampleArchives FOLDER COUNT. The first has a hostile process name.
// The last is not in FOLDER but beside it, as FOLDER.next.tar.gz: it comes while the server runs.
#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/desk/index/Fleet.h"

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::string folder = argv[1];
    const size_t count = std::strtoul(argv[2], nullptr, 10);
    kaveldesk::test::FleetOptions options;
    options.catches = count;
    options.fingerprints = 5;
    kaveldesk::test::Fleet fleet(options);
    kaveldesk::CatchRow row;
    size_t written = 0;
    for (size_t given = 0; fleet.next(row);) {
        if (fleet.given() == given) continue;  // a duplicate
        given = fleet.given();
        if (++written == 1) row.process = "<img src=x onerror=document.title='taken'>&amp;";
        const auto archive = fleet.archive(row, 1'000'000);
        const std::string path =
                written == count ? folder + ".next.tar.gz" : folder + "/" + archive.name;
        std::ofstream(path, std::ios::binary) << archive.bytes;
    }
    return written == count ? 0 : 1;
}
