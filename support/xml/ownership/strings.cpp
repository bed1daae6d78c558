#include "ownership/strings.h"

namespace neb::xml::internal {

void dropStrings(XmlNode *node, const Storage &storage) {
  dropString<StringField::name>(node, storage);
  dropString<StringField::value>(node, storage);
  dropString<StringField::prefix>(node, storage);
}

}  // namespace neb::xml::internal
