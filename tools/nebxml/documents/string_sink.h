// Receives what the library writes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace nebxml {

// A NEB_XML_SINK that appends to a std::string.
uint32_t appendToString(void *string, const char *bytes, size_t length) noexcept;

}  // namespace nebxml
