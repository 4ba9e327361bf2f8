#include "tests/desk/cause/Cases.h"

#include <fmt/format.h>

#include "desk/parse/Text.h"
#include "desk/parse/Time.h"

namespace kaveldesk {
namespace {

FileKind kindOf(std::string_view word) {
    int kind = 0;
    while (kind <= static_cast<int>(FileKind::Dumpsys)) {
        if (word == kindName(static_cast<FileKind>(kind++))) return static_cast<FileKind>(kind - 1);
    }
    return FileKind::Other;
}

std::string valueOf(std::string_view text, std::string_view key) {
    return std::string(until(after(text, key).value_or(""), " "));
}

Incident incidentOf(std::string_view text) {
    Incident incident;
    incident.hasUtcOffset = true;
    if (!startsWith(text, "process=") && !startsWith(text, "time="))
        incident.event = takeWord(text);
    incident.process = valueOf(text, "process=");
    incident.type = valueOf(text, "type=");
    incident.pid = numberAfter(text, "pid=").value_or(0);
    incident.mask = static_cast<uint32_t>(std::strtoul(valueOf(text, "mask=").c_str(), nullptr, 0));
    if (const auto time = after(text, "time=")) incident.utcNs = parseUtc(*time, 0);
    return incident;
}

}  // namespace

std::vector<VerdictCase> readCases(std::string_view text) {
    std::vector<VerdictCase> cases;
    bool isExpectation = false;
    Lines lines(text);
    for (std::string_view line; lines.next(line);) {
        if (startsWith(line, "=== ")) {
            cases.emplace_back();
            isExpectation = false;
        }
        isExpectation |= line == "@expect";
        if (isExpectation || cases.empty()) continue;
        VerdictCase& c = cases.back();
        c.text.append(line).append("\n");
        if (startsWith(line, "@event")) {
            c.evidence.incident = incidentOf(trim(line.substr(6)));
        } else if (startsWith(line, "@file ")) {
            line.remove_prefix(6);
            EvidenceFile& file = c.evidence.files.emplace_back();
            file.name = takeWord(line);
            file.kind = kindOf(trim(line));
            file.collectedUtcNs = c.evidence.incident.utcNs;
        } else if (!startsWith(line, "=== ") && !c.evidence.files.empty()) {
            std::string& file = c.evidence.files.back().text;
            file.append(line).append("\n");
            c.evidence.files.back().size = file.size();
        }
    }
    return cases;
}

std::string verdictText(const Evidence& evidence, const Verdict& verdict) {
    constexpr std::string_view kWeights[] = {"cause", "contributing", "observation"};
    std::string text = fmt::format("{}{}: {}\n", verdict.kind,
                                   verdict.isEnough ? "" : " (not enough)", verdict.headline);
    for (const Finding& finding : verdict.findings) {
        text += fmt::format("{} {}: {}", kWeights[static_cast<size_t>(finding.weight)],
                            finding.kind, finding.sentence);
        for (const Citation& citation : finding.citations) {
            const auto& [file, line] = citation.place;
            // A citation shows the line itself, so a wrong number shows too.
            text += fmt::format(" [{}:{} {}]", evidence.files[file].name, line,
                                trim(citation.text).substr(0, 24));
        }
        text += "\n";
    }
    for (const std::string& missing : verdict.missing) text += "missing: " + missing + "\n";
    return text + fmt::format("{} {}\n", verdict.fingerprint, fmt::join(verdict.signature, " | "));
}

}  // namespace kaveldesk
