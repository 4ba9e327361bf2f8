#include "desk/read/FileSink.h"

#include <fmt/core.h>

#include <utility>

namespace kaveldesk {

bool FileSink::countUnpacked(uint64_t bytes) {
    mUnpacked += bytes;
    if (mUnpacked <= mLimits.unpackedBytes) return true;
    if (!mIsFull) {
        addProblem({}, fmt::format("The archive unpacks to more than {} bytes: the rest is not "
                                   "read.",
                                   mLimits.unpackedBytes));
    }
    mIsFull = true;
    return false;
}

bool FileSink::countMember() {
    if (mMembers < mLimits.members) {
        ++mMembers;
        return true;
    }
    if (!mIsFull) {
        addProblem({}, fmt::format("The archive has more than {} files: the rest is not read.",
                                   mLimits.members));
    }
    mIsFull = true;
    return false;
}

void FileSink::add(std::string name, uint64_t size, std::string text) {
    if (!isText(text)) {
        addUnread(std::move(name), size);
        return;
    }
    if (text.size() < size) {
        addProblem(name,
                   fmt::format("Only the first {} of {} bytes are read: the text is too long.",
                               text.size(), size));
    }
    text.shrink_to_fit();
    mRoom -= std::min<uint64_t>(mRoom, name.size() + text.size());
    EvidenceFile file;
    file.name = std::move(name);
    file.text = std::move(text);
    file.size = size;
    mEvidence.files.push_back(std::move(file));
}

void FileSink::addUnread(std::string name, uint64_t size) {
    mRoom -= std::min<uint64_t>(mRoom, name.size());
    EvidenceFile file;
    file.name = std::move(name);
    file.size = size;
    mEvidence.files.push_back(std::move(file));
}

void FileSink::addProblem(std::string file, std::string sentence) {
    mEvidence.problems.push_back({std::move(file), std::move(sentence)});
}

void FileSink::addDamage(std::string file, std::string sentence, size_t depth) {
    mEvidence.problems.push_back({std::move(file), std::move(sentence), false, depth == 0});
}

bool isText(std::string_view bytes) {
    constexpr size_t kLooksAt = 8192;
    constexpr size_t kMostControlPercent = 5;
    bytes = bytes.substr(0, kLooksAt);
    const auto control = std::count_if(bytes.begin(), bytes.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\x1b';
    });
    return static_cast<size_t>(control) * 100 <= bytes.size() * kMostControlPercent;
}

}  // namespace kaveldesk
