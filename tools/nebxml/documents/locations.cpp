#include "documents/locations.h"

#include "terminal/command_error.h"

namespace nebxml {

std::vector<NEB_XML_LOCATION> locationsOf(const Document &document,
                                          const std::vector<const XmlNode *> &nodes) {
  std::vector<NEB_XML_LOCATION> locations(nodes.size());
  const uint32_t result = NEB_XML_LocateNodes(nodes.data(), nodes.size(), document.bytes().data(),
                                              document.bytes().size(), locations.data());
  if (result == NEB_XML_ERR_NO_MEMORY) throw noMemory(document.fileName());
  if (result != NEB_XML_OK) locations.clear();
  return locations;
}

}  // namespace nebxml
