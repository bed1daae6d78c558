#include "editing/edit_rules.h"

#include <new>

#include "documents/tree.h"
#include "neb_xml.h"
#include "terminal/command_error.h"

namespace nebxml {
namespace {

// An element on which the library tries names and values.
Tree makeCarrier() { return createElement(nullptr, "carrier", nullptr); }

bool isAllowed(uint32_t result) {
  if (result == NEB_XML_ERR_NO_MEMORY) throw std::bad_alloc();
  return result == NEB_XML_OK;
}

// Names of elements and attributes follow the same rules.
void requireName(const std::string &heading, const char *kind, const std::string &name) {
  const Tree carrier = makeCarrier();
  if (isAllowed(NEB_XML_PutAttr(carrier.get(), name.data(), name.size(), nullptr, 0, nullptr))) {
    return;
  }
  throw CommandError(ExitStatus::wrongUsage,
                     printable(heading + ": not an " + kind + " name: '" + name + "'"));
}

}  // namespace

void requireElementName(const std::string &heading, const std::string &name) {
  requireName(heading, "element", name);
}

void requireAttributeName(const std::string &heading, const std::string &name) {
  requireName(heading, "attribute", name);
}

void requireCharacters(const std::string &heading, const std::string &value) {
  const Tree carrier = makeCarrier();
  if (isAllowed(
          NEB_XML_SetString(carrier.get(), NEB_XML_STRING_VALUE, value.data(), value.size()))) {
    return;
  }
  throw CommandError(ExitStatus::notFound,
                     printable(heading + ": the value holds a character that XML does not allow"));
}

}  // namespace nebxml
