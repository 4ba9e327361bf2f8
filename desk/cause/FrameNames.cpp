#include "desk/cause/FrameNames.h"

#include <algorithm>
#include <iterator>

#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

// The platform below any process. Symbols that start like this say how a thread waits, aborts or
// was started, not why. com.android.server is not here: it is system_server's own code.
constexpr std::string_view kPlatformSymbols[] = {"android.",
                                                 "androidx.",
                                                 "com.android.internal.",
                                                 "com.google.android.material.",
                                                 "dalvik.",
                                                 "java.",
                                                 "javax.",
                                                 "jdk.",
                                                 "kotlin.",
                                                 "kotlinx.",
                                                 "libcore.",
                                                 "sun.",
                                                 "android::base::",
                                                 "android::IPCThreadState",
                                                 "android::Looper::",
                                                 "android::BpBinder",
                                                 "android::BBinder",
                                                 "android::AndroidRuntime",
                                                 "android::Thread::",
                                                 "android::PoolThread",
                                                 "android::os_MessageQueue",
                                                 "android::NativeMessageQueue",
                                                 "art::",
                                                 "art_",
                                                 "artQuick",

                                                 "std::",
                                                 "__gnu_cxx::",
                                                 "__cxxabiv1::",
                                                 "_JNIEnv::",
                                                 "JNI",
                                                 "Mterp",
                                                 "Execute",
                                                 "mterp_",
                                                 "nterp_"};

// Symbols of the C library and of the loader, whole.
constexpr std::string_view kPlatformFunctions[] = {"__clock_nanosleep",
                                                   "__cfi_slowpath",
                                                   "__epoll_pwait",
                                                   "__futex_wait_ex",
                                                   "__ioctl",
                                                   "__kernel_rt_sigreturn",
                                                   "__kernel_vsyscall",
                                                   "__libc_init",
                                                   "__ppoll",
                                                   "__pthread_cond_timedwait",
                                                   "__pthread_start",
                                                   "__restore",
                                                   "__rt_sigreturn",
                                                   "__rt_sigtimedwait",
                                                   "__start_thread",
                                                   "abort",
                                                   "clock_nanosleep",
                                                   "fdatasync",
                                                   "fsync",
                                                   "epoll_wait",
                                                   "ioctl",
                                                   "nanosleep",
                                                   "poll",
                                                   "pthread_cond_wait",
                                                   "pthread_kill",
                                                   "pthread_mutex_lock",
                                                   "raise",
                                                   "read",
                                                   "sleep",
                                                   "syscall",
                                                   "tgkill",
                                                   "usleep",
                                                   "write",
                                                   "__assert2",
                                                   "__android_log_assert",
                                                   "__fortify_fatal",
                                                   "__stack_chk_fail",
                                                   "abort_message",
                                                   "demangling_terminate_handler",
                                                   "memcpy",
                                                   "memmove",
                                                   "memset",
                                                   "strlen"};

constexpr std::string_view kPlatformModules[] = {
        "/libc.so",       "/libart.so",     "[vdso]",
        "/linker64",      "/linker",        "/libandroid_runtime.so",
        "/app_process64", "/app_process32", "boot.oat"};

/** Removes what is between pairs of @p open and @p close, except for "operator<" and the like. */
std::string withoutPairs(std::string_view text, char open, char close) {
    std::string out;
    int depth = 0;
    for (const char c : text) {
        const bool isOperator = depth == 0 && endsWith(out, "operator");
        if (c == open && !isOperator) {
            ++depth;
        } else if (c == close && depth > 0) {
            --depth;
        } else if (depth == 0) {
            out.push_back(c);
        }
    }
    return out;
}

/** Removes the digits that follow any of @p marks directly. */
void dropNumbersAfter(std::string& text, std::string_view mark) {
    for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
        at += mark.size();
        size_t end = at;
        while (end < text.size() && isDigit(text[end])) ++end;
        text.erase(at, end - at);
    }
}

bool isHex(std::string_view text) {
    return text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

void dropSuffixes(std::string& text) {
    for (const std::string_view mark : {".llvm.", ".cfi", ".cold", " [clone ", ".__uniq."}) {
        text.resize(std::min(text.find(mark), text.size()));
    }
    // Rust ends its symbols with a hash.
    const size_t hash = text.rfind("::h");
    if (hash != std::string::npos && text.size() - hash == 19 && isHex(text.substr(hash + 3))) {
        text.resize(hash);
    }
}

/** A lambda's name without what changes from build to build: "lambda$save$0$com-example" becomes
 * "lambda$save", "-$$Lambda$Screen$q1W_x.run" becomes "-$$Lambda$Screen.run". */
void dropLambdaTail(std::string& text) {
    for (const std::string_view mark : {"lambda$", "-$$Lambda$"}) {
        const size_t at = text.find(mark);
        if (at == std::string::npos) continue;
        const size_t tail = text.find('$', at + mark.size());
        if (tail == std::string::npos) continue;
        text.erase(tail, std::min(text.find('.', tail), text.size()) - tail);
    }
}

/** The file name without its version, or one word for memory that has a name per process only. */
std::string moduleName(const std::string& module) {
    if (contains(module, "jit-cache") || contains(module, "jit-code-cache")) return "jit-cache";
    if (startsWith(module, "<anonymous") || startsWith(module, "[anon:")) return "anonymous";
    std::string name(lastPart(until(module, " !"), "/"));
    const size_t end = name.rfind(".so");
    if (end == std::string::npos || end == 0) return name;
    const size_t dash = name.find_last_not_of("0123456789.", end - 1);
    if (dash != std::string::npos && name[dash] == '-') name.erase(dash, end - dash);
    return name;
}

}  // namespace

std::string frameName(const Frame& frame) {
    if (frame.symbol.empty()) return moduleName(frame.module);
    std::string name = frame.symbol;
    dropSuffixes(name);
    if (frame.isNative) {
        name = withoutPairs(withoutPairs(name, '<', '>'), '(', ')');
        name.resize(std::min(name.find(" const"), name.size()));
        // A template function has its return type in front.
        const size_t blank = name.rfind(' ');
        if (blank != std::string::npos && !contains(name, "operator ")) name.erase(0, blank + 1);
        if (name.empty()) name = frame.symbol;  // such as "(anonymous class)"
    }
    dropLambdaTail(name);
    for (const std::string_view mark : {"ExternalSyntheticLambda", "ExternalSyntheticOutline", "$",
                                        "$Proxy", "#", "-wrap", "$_"}) {
        dropNumbersAfter(name, mark);
    }
    return name;
}

namespace {

bool isPlatform(const Frame& frame) {
    const std::string name = frameName(frame);
    const auto isPrefix = [&](std::string_view prefix) { return startsWith(name, prefix); };
    const auto isSuffix = [&](std::string_view suffix) { return endsWith(frame.module, suffix); };
    if (frame.symbol.empty()) {
        return std::any_of(std::begin(kPlatformModules), std::end(kPlatformModules), isSuffix);
    }
    if (std::any_of(std::begin(kPlatformSymbols), std::end(kPlatformSymbols), isPrefix))
        return true;
    return frame.isNative && std::find(std::begin(kPlatformFunctions), std::end(kPlatformFunctions),
                                       name) != std::end(kPlatformFunctions);
}

}  // namespace

std::string shownName(const Frame& frame) {
    std::string name = frame.isNative ? frameName(frame) : frame.symbol;
    shorten(name, kLongestName);
    return name;
}

std::string processName(std::string_view process) {
    std::string name(until(trim(process), " \t"));
    if (startsWith(name, "/") || startsWith(name, "./")) name = std::string(lastPart(name, "/"));
    const size_t part = name.find(':');
    if (part == std::string::npos) return name;
    name.erase(
            std::remove_if(name.begin() + static_cast<std::ptrdiff_t>(part), name.end(), isDigit),
            name.end());
    return name;
}

const Frame* ownFrame(const std::vector<Frame>& frames) {
    const auto isOwn = [](const Frame& frame) { return !isPlatform(frame); };
    const auto own = std::find_if(frames.begin(), frames.end(), isOwn);
    if (own != frames.end()) return &*own;
    return frames.empty() ? nullptr : &frames.front();
}

std::vector<std::string> groupFrames(const std::vector<Frame>& frames, size_t count) {
    const bool hasOwn = !frames.empty() && !isPlatform(*ownFrame(frames));
    std::vector<std::string> names;
    for (const Frame& frame : frames) {
        if (names.size() == count) break;
        if (hasOwn && isPlatform(frame)) continue;
        std::string name = frameName(frame);
        if (names.empty() || names.back() != name) names.push_back(std::move(name));
    }
    return names;
}

}  // namespace kaveldesk
