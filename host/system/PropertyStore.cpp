#include "host/system/PropertyStore.h"

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <dirent.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <memory>

#include "host/system/PropertyRules.h"

namespace android::kavel::host {

namespace {

constexpr char kSerialName[] = ".serial";
constexpr char kUnfinishedName[] = ".unfinished";
constexpr mode_t kFileMode = 0644;  // everyone reads, whatever init's umask is
constexpr int64_t kNanosPerSecond = 1'000'000'000;

std::map<std::string, std::string> entriesOf(const std::string& path) {
    std::map<std::string, std::string> entries;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
    if (folder == nullptr) return entries;
    while (const dirent* entry = readdir(folder.get())) {
        entries.emplace(entry->d_name, path + "/" + entry->d_name);
    }
    return entries;
}

}  // namespace

std::optional<std::string> PropertyFolder::read(const std::string& name) const {
    std::string value;
    if (!isLegalPropertyName(name) || !base::ReadFileToString(mPath + "/" + name, &value)) {
        return std::nullopt;
    }
    return value;
}

std::map<std::string, std::string> PropertyFolder::readAll() const {
    std::map<std::string, std::string> properties;
    for (const auto& [name, path] : entriesOf(mPath)) {
        if (auto value = read(name)) properties.emplace(name, std::move(*value));
    }
    return properties;
}

bool PropertyFolder::write(const std::string& name, const std::string& value, bool durable) const {
    const std::string unfinished = mPath + "/" + kUnfinishedName;
    const base::unique_fd fd(
            open(unfinished.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode));
    const bool written = fd.ok() && fchmod(fd.get(), kFileMode) == 0 &&
                         base::WriteStringToFd(value, fd.get()) &&
                         (!durable || fsync(fd.get()) == 0) &&
                         rename(unfinished.c_str(), (mPath + "/" + name).c_str()) == 0;
    if (!written || !durable) return written;
    const base::unique_fd folder(open(mPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.ok() && fsync(folder.get()) == 0;
}

bool PropertyFolder::create() const {
    if (mkdir(mPath.c_str(), 0755) == 0) return chmod(mPath.c_str(), 0755) == 0;
    return errno == EEXIST;
}

void PropertyFolder::clear() const {
    for (const auto& [name, path] : entriesOf(mPath)) {
        if (isLegalPropertyName(name) || name == kUnfinishedName) unlink(path.c_str());
    }
}

PropertySerial::~PropertySerial() {
    if (std::atomic<uint32_t>* number = mNumber.load()) munmap(number, sizeof(*number));
}

bool PropertySerial::attach(const std::string& folder, Access access) {
    static_assert(std::atomic<uint32_t>::is_always_lock_free);
    if (attached()) return true;
    const bool writes = access == Access::kWrite;
    const std::string path = folder + "/" + kSerialName;
    const base::unique_fd fd(
            open(path.c_str(), (writes ? O_RDWR | O_CREAT : O_RDONLY) | O_CLOEXEC, kFileMode));
    if (!fd.ok()) return false;
    if (writes && (fchmod(fd.get(), kFileMode) != 0 ||
                   ftruncate(fd.get(), sizeof(std::atomic<uint32_t>)) != 0)) {
        return false;
    }
    struct stat info {};
    if (fstat(fd.get(), &info) != 0) return false;
    if (info.st_size < static_cast<off_t>(sizeof(std::atomic<uint32_t>))) {
        errno = ENODATA;  // the writer is about to give it its size
        return false;
    }
    void* memory = mmap(nullptr, sizeof(std::atomic<uint32_t>),
                        writes ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, fd.get(), 0);
    if (memory == MAP_FAILED) return false;
    std::atomic<uint32_t>* expected = nullptr;
    if (!mNumber.compare_exchange_strong(expected, static_cast<std::atomic<uint32_t>*>(memory))) {
        munmap(memory, sizeof(std::atomic<uint32_t>));  // another thread was faster
    }
    return true;
}

uint32_t PropertySerial::load() const {
    return mNumber.load(std::memory_order_acquire)->load(std::memory_order_acquire);
}

void PropertySerial::bump() {
    std::atomic<uint32_t>* number = mNumber.load(std::memory_order_acquire);
    number->fetch_add(1, std::memory_order_release);
    // Not the private kind: the waiters are other processes.
    syscall(SYS_futex, number, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

bool PropertySerial::waitWhile(uint32_t seen, int64_t deadlineNs) const {
    timespec deadline{};
    deadline.tv_sec = deadlineNs / kNanosPerSecond;
    deadline.tv_nsec = deadlineNs % kNanosPerSecond;
    const long result =
            syscall(SYS_futex, mNumber.load(std::memory_order_acquire), FUTEX_WAIT_BITSET, seen,
                    deadlineNs == INT64_MAX ? nullptr : &deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 || errno != ETIMEDOUT;
}

bool PropertyStore::reset() {
    if (!mFolder.create() || !mSerial.attach(mFolder.path(), PropertySerial::Access::kWrite)) {
        return false;
    }
    mFolder.clear();
    mSerial.bump();
    return true;
}

bool PropertyStore::write(const std::string& name, const std::string& value) {
    if (!mFolder.write(name, value, false)) return false;
    mSerial.bump();
    return true;
}

}  // namespace android::kavel::host
