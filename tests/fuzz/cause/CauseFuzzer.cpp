// Any texts as evidence, in the form of the golden file of verdicts. Would catch a crash, a line
// that is cited but is another one or not there, a thread outside of its file, and a verdict that
// changes.

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "desk/cause/FindCause.h"
#include "desk/parse/Text.h"
#include "desk/timeline/BuildTimeline.h"
#include "tests/desk/cause/Cases.h"
#include "tests/fuzz/Require.h"

using namespace kaveldesk;  // NOLINT(google-build-using-namespace): its own program

namespace {

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> all;
    Lines lines(text);
    for (std::string_view line; lines.next(line);) all.emplace_back(line);
    return all;
}

void checkCitations(const Evidence& evidence, const Verdict& verdict) {
    for (const Finding& finding : verdict.findings) {
        require(!finding.sentence.empty() && !finding.kind.empty(), "a finding says something");
        for (const Citation& citation : finding.citations) {
            require(citation.place.file < evidence.files.size(), "the file is there");
            const auto lines = linesOf(evidence.files[citation.place.file].text);
            require(citation.place.line > 0 && citation.place.line <= lines.size(),
                    "the line is there");
            std::string line = lines[citation.place.line - 1];
            shorten(line, 4096);
            require(citation.text == line, "the text is that line");
        }
    }
}

void checkDumps(const Evidence& evidence, const Verdict& verdict) {
    for (const ThreadDump& dump : verdict.dumps) {
        const size_t count = linesOf(evidence.files.at(dump.file).text).size();
        for (const Thread& thread : dump.threads) {
            require(thread.firstLine > 0 && thread.firstLine <= thread.lastLine, "lines in order");
            require(thread.lastLine <= count, "a thread is inside its file");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (const VerdictCase& c : readCases(text)) {
        const Timeline timeline = buildTimeline(c.evidence);
        const Verdict verdict = findCause(c.evidence, timeline);
        checkCitations(c.evidence, verdict);
        checkDumps(c.evidence, verdict);
        const Verdict again = findCause(c.evidence, timeline);
        require(verdictText(c.evidence, again) == verdictText(c.evidence, verdict),
                "the same again");
        for (const Series& series : usageSeries(c.evidence, timeline)) {
            require(!series.points.empty(), "a series has values");
        }
    }
    return 0;
}
