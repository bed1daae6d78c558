#include "ownership/strings.h"

namespace neb::xml::internal {

void dropStrings(XmlNode *node, const Storage &storage) {
  dropString(node, StringField::name, storage);
  dropString(node, StringField::value, storage);
  dropString(node, StringField::prefix, storage);
}

}  // namespace neb::xml::internal
