#include "documents/edits.h"

#include <algorithm>
#include <new>
#include <numeric>

#include "documents/edit_names.h"
#include "documents/printing.h"
#include "documents/tree_edits.h"

namespace nebxml {
namespace {

uint32_t editBytes(const Document &document, const Edits &edits, size_t count, NEB_XML_SINK sink,
                   void *context) {
  const std::string &bytes = document.bytes();
  return NEB_XML_EditBytes(bytes.data(), bytes.size(), edits.records().data(), count, sink,
                           context);
}

uint32_t appendPart(void *text, const char *bytes, size_t length) noexcept try {
  static_cast<std::string *>(text)->append(bytes, length);
  return NEB_XML_OK;
} catch (const std::bad_alloc &) {
  return NEB_XML_ERR_NO_MEMORY;
}

uint32_t ignorePart(void * /*context*/, const char * /*bytes*/, size_t /*length*/) noexcept {
  return NEB_XML_OK;
}

}  // namespace

NEB_XML_EDIT &Edits::append(uint32_t kind, const XmlNode *node) {
  NEB_XML_EDIT &edit = records_.emplace_back();
  edit.kind = kind;
  edit.node = node;
  return edit;
}

void Edits::setValue(const XmlNode *node, const std::string &value) {
  append(NEB_XML_EDIT_SET_VALUE, node).value = keep(value);
}

void Edits::setAttribute(const XmlNode *element, const AttributeName &name,
                         const std::string &value) {
  NEB_XML_EDIT &edit = append(NEB_XML_EDIT_SET_ATTR, element);
  if (name.prefix() != nullptr) edit.prefix = keep(name.prefix());
  edit.name = keep(name.name());
  edit.value = keep(value);
}

void Edits::removeAttribute(const XmlNode *element, const AttributeName &name) {
  NEB_XML_EDIT &edit = append(NEB_XML_EDIT_REMOVE_ATTR, element);
  if (name.prefix() != nullptr) edit.prefix = keep(name.prefix());
  edit.name = keep(name.name());
}

void Edits::remove(const XmlNode *node) { append(NEB_XML_EDIT_REMOVE, node); }

void Edits::rename(const XmlNode *node, const std::string &qualifiedName) {
  NEB_XML_EDIT &edit = append(NEB_XML_EDIT_RENAME, node);
  const AttributeName name(qualifiedName);
  edit.prefix = keep(name.prefix() == nullptr ? "" : name.prefix());
  edit.name = keep(name.name());
}

void Edits::insert(Position position, const XmlNode *node, const XmlNode *content) {
  append(static_cast<uint32_t>(position), node).content = content;
}

uint32_t applyEdits(const Document &document, const Edits &edits, std::string &bytes) {
  bytes.clear();
  for (const NEB_XML_EDIT &edit : edits.records()) {
    if (!canEncodeNames(document.encoding(), edit)) return NEB_XML_ERR_UNWRITABLE;
  }
  if (document.reading() == Reading::strict) {
    return editBytes(document, edits, edits.count(), appendPart, &bytes);
  }
  for (const NEB_XML_EDIT &edit : edits.records()) {
    const uint32_t result = editTree(edit);
    if (result != NEB_XML_OK) return result;
  }
  bytes = printTree(document, 0);
  return NEB_XML_OK;
}

size_t firstRefused(const Document &document, const Edits &edits) {
  size_t accepted = 0;
  size_t refused = edits.count();
  // Each edit more can only add a reason to refuse.
  while (refused - accepted > 1) {
    const size_t middle = std::midpoint(accepted, refused);
    const bool isAccepted = editBytes(document, edits, middle, ignorePart, nullptr) == NEB_XML_OK;
    (isAccepted ? accepted : refused) = middle;
  }
  return accepted;
}

}  // namespace nebxml
