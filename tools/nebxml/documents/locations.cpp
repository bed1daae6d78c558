#include "documents/locations.h"

#include "command_error.h"

namespace nebxml {

std::vector<NEB_XML_LOCATION> locationsOf(const Document &document,
                                          const std::vector<const XmlNode *> &nodes) {
  std::vector<NEB_XML_LOCATION> locations(nodes.size());
  for (size_t index = 0; index < nodes.size(); ++index) {
    const uint32_t result = NEB_XML_Locate(nodes[index], document.bytes().data(),
                                           document.bytes().size(), &locations[index]);
    if (result == NEB_XML_ERR_NO_MEMORY) throw noMemory(document.fileName());
    if (result != NEB_XML_OK) return {};
  }
  return locations;
}

}  // namespace nebxml
