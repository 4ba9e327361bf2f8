#include "desk/report/WriteReport.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <numeric>
#include <string>
#include <thread>

#include "desk/report/Pack.h"
#include "desk/report/Page.h"
#include "desk/report/Summary.h"

namespace kaveldesk {
namespace {

/** The packed texts of all files. Files are packed on all cores, large ones first. */
std::vector<std::string> packedTexts(const std::vector<EvidenceFile>& files) {
    std::vector<size_t> order(files.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](size_t left, size_t right) {
        return files[left].text.size() > files[right].text.size();
    });
    std::vector<std::string> texts(files.size());
    std::atomic<size_t> next = 0;
    std::vector<std::future<void>> workers(std::max(1u, std::thread::hardware_concurrency()));
    for (auto& worker : workers) {
        worker = std::async(std::launch::async, [&] {
            for (size_t i = next++; i < order.size(); i = next++) {
                texts[order[i]] = packed(files[order[i]].text);
            }
        });
    }
    for (auto& worker : workers) worker.get();  // throws what a worker threw
    return texts;
}

void writePart(std::ostream& out, const std::string& id, const std::string& text) {
    out << "<script type=\"application/gzip\" id=\"" << id << "\">" << text << "</script>\n";
}

}  // namespace

void writeReport(std::ostream& out, const Evidence& evidence, const Timeline& timeline,
                 const Verdict& verdict, const std::vector<Series>& usage) {
    out << kPageBegin;
    writePart(out, "summary", packed(summaryJson(evidence, timeline, verdict, usage)));
    out << kPageMiddle;
    writePart(out, "records", packed(recordTable(timeline, evidence.files.size())));
    const auto texts = packedTexts(evidence.files);
    for (size_t i = 0; i < texts.size(); ++i) {
        if (!evidence.files[i].text.empty()) writePart(out, "file-" + std::to_string(i), texts[i]);
    }
    out << kPageEnd;
}

}  // namespace kaveldesk
