#include <utility>

#include <fmt/core.h>

#include "desk/cause/Facts.h"
#include "desk/parse/CpuUsage.h"
#include "desk/parse/MemInfo.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

Fact factOf(FactKind kind, const EvidenceFile& file, Place place) {
    Fact fact;
    fact.kind = kind;
    fact.utcNs = file.collectedUtcNs;
    fact.place = fact.detailPlace = place;
    return fact;
}

Fact factOf(const CpuTotal& total, const EvidenceFile& file, Place place) {
    Fact fact = factOf(FactKind::CpuTotal, file, place);
    fact.value = total.percent;
    fact.ioWait = total.ioWait;
    fact.detail = fmt::format("{:.0f}% in total, {:.0f}% iowait", total.percent, total.ioWait);
    return fact;
}

void addMemory(const EvidenceFile& file, uint32_t index, std::vector<Fact>& facts) {
    int64_t total = 0;
    for (const MemorySize& size : parseProcMemInfo(file.text)) {
        if (size.name == "MemTotal") total = size.kiloBytes;
        if (size.name != "MemAvailable" || total <= 0) continue;
        Fact fact = factOf(FactKind::MemAvailable, file, {index, size.line});
        fact.value = 100.0 * static_cast<double>(size.kiloBytes) / static_cast<double>(total);
        fact.detail = fmt::format("{} kB of {} kB are available", size.kiloBytes, total);
        facts.push_back(std::move(fact));
    }
}

void addCpuInfo(const EvidenceFile& file, uint32_t index, std::vector<Fact>& facts) {
    Lines lines(file.text);
    for (std::string_view line; lines.next(line);) {
        const auto total = parseCpuTotal(line);
        if (total) facts.push_back(factOf(*total, file, {index, lines.number()}));
    }
}

void addTop(const EvidenceFile& file, uint32_t index, std::vector<Fact>& facts) {
    const TopTable top = parseTop(file.text);
    if (top.total) facts.push_back(factOf(*top.total, file, {index, top.total->line}));
}

}  // namespace

void addMeasurements(const Evidence& evidence, std::vector<Fact>& facts) {
    for (uint32_t i = 0; i < evidence.files.size(); ++i) {
        const EvidenceFile& file = evidence.files[i];
        if (file.kind == FileKind::CpuInfo) addCpuInfo(file, i, facts);
        if (file.kind == FileKind::Top) addTop(file, i, facts);
        if (file.kind == FileKind::ProcMemInfo) addMemory(file, i, facts);
    }
}

}  // namespace kaveldesk
