#include "desk/mask/MapFile.h"

#include <fcntl.h>
#include <json/json.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <system_error>

#include <fmt/core.h>

#include "desk/mask/NewFile.h"

namespace kaveldesk {
namespace {

constexpr const char* kFormat = "kaveldesk mask map";
constexpr int kVersion = 1;
// JSON needs up to six characters for a byte of a value.
constexpr size_t kMaxFileBytes = 8 * Pseudonyms::kMaxBytes;

[[noreturn]] void fail(const std::filesystem::path& path, const std::string& why) {
    throw std::runtime_error(fmt::format("map {}: {}", path.string(), why));
}

std::string errorText(int error) {
    return std::generic_category().message(error);
}

int openLocked(const std::filesystem::path& path) {
    for (;;) {
        const int fd =
                ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600);
        if (fd < 0) fail(path, errno == ELOOP ? "it is a symbolic link" : errorText(errno));
        struct stat opened {};
        struct stat named {};
        const char* why = nullptr;
        if (::fstat(fd, &opened) != 0 || !S_ISREG(opened.st_mode)) {
            why = "it is not a file";
        } else if ((opened.st_mode & 077U) != 0) {
            why = "other users may read it; chmod 600 it first";
        } else if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            why = "another run uses it";
        }
        if (why != nullptr) {
            ::close(fd);
            fail(path, why);
        }
        // A run that has just ended may have replaced the file.
        if (::lstat(path.c_str(), &named) == 0 && named.st_ino == opened.st_ino &&
            named.st_dev == opened.st_dev) {
            return fd;
        }
        ::close(fd);
    }
}

std::string readAll(const std::filesystem::path& path, int fd) {
    std::string text;
    std::string block(1 << 16, '\0');
    for (;;) {
        const ssize_t size =
                ::pread(fd, block.data(), block.size(), static_cast<off_t>(text.size()));
        if (size < 0) fail(path, errorText(errno));
        if (size == 0) return text;
        text.append(block, 0, static_cast<size_t>(size));
        if (text.size() > kMaxFileBytes) fail(path, "it is too large");
    }
}

}  // namespace

MapFile::MapFile(std::filesystem::path path) : mPath(std::move(path)), mFd(openLocked(mPath)) {}

MapFile::~MapFile() {
    ::close(mFd);
}

Pseudonyms MapFile::load() const {
    Pseudonyms pseudonyms;
    const std::string text = readAll(mPath, mFd);
    if (text.empty()) return pseudonyms;  // just created
    Json::Value map;
    std::string error;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &map, &error) || !map.isObject() ||
        map["format"] != kFormat) {
        fail(mPath, "it is not a map of kaveldesk");
    }
    if (map["version"] != kVersion) fail(mPath, "it is of another version of kaveldesk");
    for (const MaskKindRow& row : kMaskKinds) {
        const Json::Value& values = map["values"][row.name];
        if (!values.isNull() && !values.isObject()) fail(mPath, "its values are broken");
        for (Json::ArrayIndex i = 1; i <= values.size(); ++i) {
            const Json::Value& value = values[pseudonym(row.kind, i)];
            // A missing number or a value twice would give one pseudonym to two values.
            if (!value.isString() || pseudonyms.number(row.kind, value.asString()) != i) {
                fail(mPath, "its values are broken");
            }
        }
    }
    return pseudonyms;
}

void MapFile::save(const Pseudonyms& pseudonyms) const {
    Json::Value map;
    map["format"] = kFormat;
    map["version"] = kVersion;
    map["values"] = Json::Value(Json::objectValue);
    for (const MaskKindRow& row : kMaskKinds) {
        size_t number = 0;
        for (const std::string* value : pseudonyms.values(row.kind)) {
            map["values"][row.name][pseudonym(row.kind, ++number)] = *value;
        }
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["emitUTF8"] = true;  // network names can be any bytes; they come back as they are
    NewFile file(mPath);
    file.write(Json::writeString(builder, map) + "\n");
    file.publish(NewFile::IfExists::Replace);
}

}  // namespace kaveldesk
