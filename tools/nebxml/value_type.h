/*
 * Values of a type, as --type names it.
 */
#ifndef NEBXML_VALUE_TYPE_H
#define NEBXML_VALUE_TYPE_H

#include <optional>
#include <string>
#include <vector>

namespace nebxml {

std::vector<std::string> valueTypeNames();

/** The values of a type, for a complaint. */
std::string rangeOf(const std::string &typeName);

/** The form in which the library writes the value that a text stands for, if it is of the type. */
std::optional<std::string> typedText(const std::string &typeName, const std::string &text);

}  // namespace nebxml

#endif
