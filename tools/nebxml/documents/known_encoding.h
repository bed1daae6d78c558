// What is known of an encoding by its name.
#pragma once

#include <string>

namespace nebxml {

// Whether the system knows it.
bool isKnownEncoding(const std::string &name);

// Whether markup in it has NUL bytes.
bool hasNulBytes(const std::string &encoding);

}  // namespace nebxml
