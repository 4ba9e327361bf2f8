#pragma once

#include <set>
#include <string>

namespace android::kavel::test {

/**
 * The system properties that the C++ text @p source reads or writes: those it passes to property
 * functions, by literal or by a constant of the same text, and every other literal that has the
 * form of a property's name. A control request is NAME=SERVICE.
 *
 * @throws std::runtime_error where a name that is passed cannot be found in the text
 */
std::set<std::string> propertiesUsed(const std::string& source);

/** The names that open the rows of the tables in the page @p markdown, without their backquotes.
 * A name that occurs twice fails the test. */
std::set<std::string> namesInTables(const std::string& markdown);

}  // namespace android::kavel::test
