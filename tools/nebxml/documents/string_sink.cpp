#include "documents/string_sink.h"

#include <new>
#include <string>

#include "neb_xml.h"

namespace nebxml {

uint32_t appendToString(void *string, const char *bytes, size_t length) noexcept try {
  static_cast<std::string *>(string)->append(bytes, length);
  return NEB_XML_OK;
} catch (const std::bad_alloc &) {
  return NEB_XML_ERR_NO_MEMORY;
}

}  // namespace nebxml
