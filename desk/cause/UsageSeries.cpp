#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "desk/cause/FindCause.h"
#include "desk/parse/CpuUsage.h"
#include "desk/parse/MemInfo.h"
#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

/** More processes than a phone has; what is beyond is text that only looks like measurements. */
constexpr size_t kMaxSeries = 5000;

class Collector {
  public:
    void add(const std::string& name, Series::Unit unit, Series::Point point) {
        const auto key = std::make_pair(unit, name);
        const auto known = mSeries.find(key);
        if (known != mSeries.end()) {
            known->second.points.push_back(point);
        } else if (mSeries.size() < kMaxSeries) {
            mSeries.emplace(key, Series{name, unit, {point}});
        }
    }

    /** By unit; in a unit, those with the largest value first. */
    std::vector<Series> take() {
        std::vector<Series> all;
        for (auto& [key, series] : mSeries) {
            std::stable_sort(series.points.begin(), series.points.end(),
                             [](const auto& a, const auto& b) { return a.utcNs < b.utcNs; });
            all.push_back(std::move(series));
        }
        const auto peak = [](const Series& series) {
            double value = 0;
            for (const Series::Point& point : series.points) value = std::max(value, point.value);
            return value;
        };
        std::stable_sort(all.begin(), all.end(), [&](const Series& a, const Series& b) {
            return a.unit != b.unit ? a.unit < b.unit : peak(a) > peak(b);
        });
        return all;
    }

  private:
    std::map<std::pair<Series::Unit, std::string>, Series> mSeries;
};

/** Follows blocks "CPU usage from A to B ago": their lines count for the end of that span. */
class CpuBlock {
  public:
    explicit CpuBlock(Collector& collector) : mCollector(collector) {}

    void line(std::string_view text, int64_t utcNs, Place place) {
        if (const auto end = parseCpuSpanEnd(text)) {
            mOffsetNs = *end > kMaxSpanMs || *end < -kMaxSpanMs ? 0 : *end * 1'000'000;
            return;
        }
        if (const auto share = parseCpuShare(text)) {
            if (!share->isThread) add(share->name, share->percent, utcNs, place);
        } else if (const auto total = parseCpuTotal(text)) {
            add("TOTAL", total->percent, utcNs, place);
            add("TOTAL iowait", total->ioWait, utcNs, place);
        }
    }

  private:
    static constexpr int64_t kMaxSpanMs = 86'400'000;

    void add(const std::string& name, double percent, int64_t utcNs, Place place) {
        mCollector.add(name, Series::Unit::Percent, {utcNs + mOffsetNs, percent, place});
    }

    Collector& mCollector;
    int64_t mOffsetNs = 0;
};

void addFile(const EvidenceFile& file, uint32_t index, Collector& collector) {
    const int64_t utcNs = file.collectedUtcNs;
    const auto addMemory = [&](const std::vector<MemorySize>& sizes) {
        for (const MemorySize& size : sizes) {
            collector.add(size.name, Series::Unit::KiloBytes,
                          {utcNs, static_cast<double>(size.kiloBytes), {index, size.line}});
        }
    };
    if (file.kind == FileKind::CpuInfo) {
        CpuBlock block(collector);
        Lines lines(file.text);
        for (std::string_view line; lines.next(line);)
            block.line(line, utcNs, {index, lines.number()});
    } else if (file.kind == FileKind::Top) {
        const TopTable top = parseTop(file.text);
        for (const CpuShare& share : top.shares) {
            collector.add(share.name, Series::Unit::Percent,
                          {utcNs, share.percent, {index, share.line}});
        }
        if (!top.total) return;
        const Place place{index, top.total->line};
        collector.add("TOTAL", Series::Unit::Percent, {utcNs, top.total->percent, place});
        collector.add("TOTAL iowait", Series::Unit::Percent, {utcNs, top.total->ioWait, place});
    } else if (file.kind == FileKind::ProcMemInfo) {
        addMemory(parseProcMemInfo(file.text));
    } else if (file.kind == FileKind::MemInfo) {
        addMemory(parseMemInfo(file.text));
    }
}

}  // namespace

std::vector<Series> usageSeries(const Evidence& evidence, const Timeline& timeline) {
    Collector collector;
    CpuBlock block(collector);
    for (const Record& record : timeline.records) {
        if (record.source != FileKind::MainLog) continue;
        const std::string_view text = textOf(evidence, record);
        const std::string_view tag =
                text.substr(std::min<size_t>(record.tagAt, text.size()), record.tagLength);
        // Lines without a head are of logs that were kept as messages only.
        if (!tag.empty() && trim(tag) != "ActivityManager") continue;
        block.line(text.substr(std::min<size_t>(record.messageAt, text.size())), record.utcNs,
                   record.place);
    }
    for (uint32_t i = 0; i < evidence.files.size(); ++i) addFile(evidence.files[i], i, collector);
    return collector.take();
}

}  // namespace kaveldesk
