// As much of libbase as the daemon's code and its tests call: Debian's has the interface of
// libstdc++. The calls that it must not have are caught by the linker.

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

#include <android-base/file.h>
#include <android-base/macros.h>
#include <android-base/parseint.h>
#include <android-base/properties.h>
#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <android-base/unique_fd.h>

namespace android::base {

std::string StringPrintf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char* text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    std::string result(text, static_cast<size_t>(length));
    free(text);
    return result;
}

std::vector<std::string> Split(const std::string& text, const std::string& delimiters) {
    std::vector<std::string> parts;
    for (size_t begin = 0;;) {
        const size_t end = text.find_first_of(delimiters, begin);
        parts.push_back(text.substr(begin, end - begin));
        if (end == std::string::npos) return parts;
        begin = end + 1;
    }
}

std::string Trim(const std::string& text) {
    constexpr char kBlanks[] = " \t\n\v\f\r";
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string::npos) return "";
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

template std::string Join(const std::vector<std::string>&, char);

std::string StringReplace(std::string_view text, std::string_view from, std::string_view to,
                          bool all) {
    std::string result;
    size_t begin = 0;
    for (size_t at = text.find(from); at != std::string_view::npos; at = text.find(from, begin)) {
        result.append(text.substr(begin, at - begin)).append(to);
        begin = at + from.size();
        if (!all) break;
    }
    return result.append(text.substr(begin));
}

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool EndsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

bool WriteStringToFile(const std::string& text, const std::string& path, bool follow_symlinks) {
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | (follow_symlinks ? 0 : O_NOFOLLOW);
    const unique_fd file(open(path.c_str(), flags, 0666));
    return file.ok() && WriteStringToFd(text, file);
}

bool WriteStringToFd(const std::string& text, borrowed_fd fd) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t count =
                TEMP_FAILURE_RETRY(write(fd.get(), text.data() + done, text.size() - done));
        if (count <= 0) return false;
        done += static_cast<size_t>(count);
    }
    return true;
}

/** No property is set, unless the test has its own function. */
__attribute__((weak)) std::string GetProperty(const std::string& /*key*/,
                                              const std::string& default_value) {
    return default_value;
}

template <typename T>
T GetIntProperty(const std::string& key, T default_value, T min, T max) {
    T result;
    return ParseInt(GetProperty(key, ""), &result, min, max) ? result : default_value;
}
template int32_t GetIntProperty(const std::string&, int32_t, int32_t, int32_t);
template int64_t GetIntProperty(const std::string&, int64_t, int64_t, int64_t);

template <typename T>
T GetUintProperty(const std::string& key, T default_value, T max) {
    T result;
    return ParseUint(GetProperty(key, ""), &result, max) ? result : default_value;
}
template uint64_t GetUintProperty(const std::string&, uint64_t, uint64_t);

}  // namespace android::base
