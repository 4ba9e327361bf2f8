#include <array>

#include "tools/ArchiveStream.h"
#include "tools/Collection.h"
#include "tools/Commands.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr Option kOptions[] = {kDirOption};

constexpr std::string_view kDescription =
        "Prints the file FILE of an archive. FILE is a name as 'kavelctl show' prints it, or its "
        "start, if only one file starts so. On a terminal, control characters become \\xNN; to a "
        "file or another program, the bytes are unchanged. ARCHIVE is as for 'kavelctl show'.";

/** Maximum number of file names that an error lists. */
constexpr size_t kMaxNames = 10;

/** Prints @p text, of which the last line may be incomplete. */
void printSafely(std::ostream& out, std::string_view text) {
    while (!text.empty()) {
        const size_t end = std::min(text.find_first_of("\n\t"), text.size());
        out << printable(text.substr(0, end));
        if (end < text.size()) out << text[end];
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void copyData(ArchiveStream& stream, const Output& output) {
    std::array<char, size_t{64} * 1024> buffer;
    size_t kept = 0;
    while (const size_t got = stream.read(buffer.data() + kept, buffer.size() - kept)) {
        const std::string_view text(buffer.data(), kept + got);
        if (!output.isOutTerminal) {
            output.out.write(buffer.data(), static_cast<std::streamsize>(got));
            continue;
        }
        // A character must not be split. A line that fills the buffer may be.
        const size_t lastLine = text.rfind('\n');
        const bool isFull = lastLine == std::string_view::npos && text.size() == buffer.size();
        const size_t end = isFull ? text.size() : lastLine + 1;  // npos + 1 is 0
        printSafely(output.out, text.substr(0, end));
        kept = text.size() - end;
        std::copy(text.begin() + static_cast<std::ptrdiff_t>(end), text.end(), buffer.begin());
    }
    printSafely(output.out, {buffer.data(), kept});
}

CommandError brokenArchive(const std::string& reason) {
    return CommandError("the archive is broken: " + printable(reason));
}

/** Returns the whole name of the file that the user means. @throws CommandError */
std::string findFile(const std::filesystem::path& archive, const std::string& wanted) {
    ArchiveStream stream(archive, kArchiveLimit);
    std::vector<std::string> names;
    size_t count = 0;
    while (const auto member = stream.next()) {
        if (member->name == wanted) return wanted;
        if (member->name.rfind(wanted, 0) != 0) continue;
        if (++count <= kMaxNames) names.push_back(member->name);
    }
    if (count == 1) return names.front();
    const std::string broken = stream.finish();
    if (count == 0 && !broken.empty()) throw brokenArchive(broken);
    std::string text = count == 0 ? "no file starts with '" : "several files start with '";
    text += printable(wanted) + "' in " + printable(archive.filename().string());
    for (const std::string& name : names) text += "\n  " + printable(name);
    if (count > names.size()) text += "\n  and " + std::to_string(count - names.size()) + " more";
    throw CommandError(text);
}

int runCat(const Arguments& arguments, const Output& output) {
    const auto path = findArchive(arguments.operands[0], directoryOf(arguments));
    const std::string name = findFile(path, arguments.operands[1]);
    ArchiveStream stream(path, kArchiveLimit);
    auto member = stream.next();
    while (member && member->name != name) member = stream.next();
    if (!member) throw CommandError("the archive has changed: " + printable(name) + " is gone");
    copyData(stream, output);
    const std::string broken = stream.finish();
    if (!broken.empty()) throw brokenArchive(broken);
    return kExitOk;
}

}  // namespace

const Command kCatCommand{"cat",        "ARCHIVE|-N FILE", "print a file of an archive",
                          kDescription, kOptions,          runCat};

}  // namespace android::kavel::tools
