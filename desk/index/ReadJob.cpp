#include "desk/index/ReadJob.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "desk/index/HashFile.h"
#include "desk/index/ReadCatch.h"

namespace kaveldesk {
namespace {

CatchRow readOrBroken(const FoundFile& file) {
    try {
        return readCatch(file.path);
    } catch (const std::exception& error) {
        CatchRow row;
        row.archive = file.path.filename().string();
        row.isBroken = true;
        row.why = error.what();
        return row;
    }
}

}  // namespace

ReadResult doJob(ReadJob job) {
    ReadResult result{std::move(job.file), std::move(job.hash), {}, {}};
    const FoundFile& file = result.file;
    try {
        if (result.hash.empty()) {
            result.hash = hashFile(file.path);
            return result;
        }
        CatchRow row = readOrBroken(file);
        const FoundFile now = lookAt(file.path);
        if (now.size != file.size || now.modifiedNs != file.modifiedNs) {
            throw std::runtime_error("The file changed while it was read; index it again.");
        }
        row.hash = result.hash;
        row.path = file.path.string();
        row.size = file.size;
        result.row = std::move(row);
    } catch (const std::exception& error) {
        result.failure = error.what();
    }
    return result;
}

}  // namespace kaveldesk
