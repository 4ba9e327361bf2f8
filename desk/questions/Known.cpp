#include "desk/questions/Known.h"

#include <algorithm>

#include "desk/questions/Filter.h"

namespace kaveldesk {

std::map<std::string, KnownFingerprint> knownFingerprints(
        Store& store, const std::vector<std::string>& fingerprints) {
    constexpr size_t kAtOnce = 500;  // engines limit the parameters of a query
    std::map<std::string, KnownFingerprint> known;
    for (size_t start = 0; start < fingerprints.size(); start += kAtOnce) {
        const size_t end = std::min(start + kAtOnce, fingerprints.size());
        SqlPart part;
        // An engine may have several rows of a fingerprint.
        part.add(
                "SELECT fingerprint, min(kind) AS k, min(signature) AS s, min(headline) AS h "
                "FROM fingerprints WHERE fingerprint IN ");
        part.addList({fingerprints.begin() + static_cast<ptrdiff_t>(start),
                      fingerprints.begin() + static_cast<ptrdiff_t>(end)});
        part.add(" GROUP BY fingerprint");
        const Table table =
                readTable(store, {part.sql,
                                  part.parameters,
                                  {{"fingerprint"}, {"kind"}, {"signature"}, {"headline"}}});
        for (const Row& row : table.rows) {
            known[textOf(row[0])] = {textOf(row[1]), textOf(row[2]), textOf(row[3])};
        }
    }
    return known;
}

std::string textOf(const Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr ? *text : std::string();
}

int64_t integerOf(const Value& value) {
    const auto* integer = std::get_if<int64_t>(&value);
    return integer != nullptr ? *integer : 0;
}

}  // namespace kaveldesk
