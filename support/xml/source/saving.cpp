// Saving a document that was edited as bytes.
#include "neb_xml.h"
#include "platform/replaced_file.h"
#include "printer/entry.h"

using namespace neb::xml::internal;

uint32_t NEB_XML_SaveBytes(const char *path, const char *bytes, size_t length) {
  if (path == nullptr || bytes == nullptr || length == 0) return NEB_XML_ERR_INVALID_PARAM;
  return resultOf(neb::platform::replaceWholeFile(path, bytes, length));
}
