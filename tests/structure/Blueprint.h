#pragma once

#include <map>
#include <string>
#include <vector>

namespace android::kavel::test {

/** A value of an Android.bp file: exactly one of the three is used. */
struct BlueprintValue {
    std::string text;                           ///< a string, or a word such as true
    std::vector<std::string> list;              ///< of strings
    std::map<std::string, BlueprintValue> map;  ///< by property

    /** The property at @p path ("target.android.srcs"); an empty value where there is none. */
    const BlueprintValue& at(const std::string& path) const;
};

struct BlueprintModule {
    std::string type;
    BlueprintValue properties;
};

/**
 * The modules of an Android.bp file by name; one without a name goes by its type. Understands what
 * this repository's file consists of: no variables, no operators.
 *
 * @throws std::runtime_error naming the line of a syntax error, or a name that occurs twice
 */
std::map<std::string, BlueprintModule> parseBlueprint(const std::string& text);

}  // namespace android::kavel::test
