#include "editing/edits.h"

#include <algorithm>
#include <numeric>

#include "documents/printing.h"
#include "documents/string_sink.h"
#include "editing/edit_names.h"
#include "editing/tree_edits.h"

namespace nebxml {
namespace {

uint32_t editBytes(const Document &document, const Edits &edits, size_t count, NEB_XML_SINK sink,
                   void *context) {
  const std::string &bytes = document.bytes();
  return NEB_XML_EditBytes(bytes.data(), bytes.size(), edits.records().data(), count, sink,
                           context);
}

uint32_t ignorePart(void * /*context*/, const char * /*bytes*/, size_t /*length*/) noexcept {
  return NEB_XML_OK;
}

// The first edit with which the library refuses the edits as it refuses all of them. Fewer edits
// may be refused for another reason: two attributes that exchange their names need each other.
size_t firstRefused(const Document &document, const Edits &edits, uint32_t code) {
  size_t allowed = 0;
  size_t refused = edits.count();
  while (refused - allowed > 1) {
    const size_t middle = std::midpoint(allowed, refused);
    const bool isRefused = editBytes(document, edits, middle, ignorePart, nullptr) == code;
    (isRefused ? refused : allowed) = middle;
  }
  return allowed;
}

std::optional<Refusal> applyToTree(const Document &document, const Edits &edits,
                                   std::string &bytes) {
  for (size_t index = 0; index < edits.count(); ++index) {
    const uint32_t result = editTree(edits.records()[index]);
    if (result != NEB_XML_OK) return Refusal{result, index};
  }
  bytes = printTree(document, 0);
  return std::nullopt;
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

void Edits::addAttribute(const XmlNode *element, const QualifiedName &name,
                         const std::string &value) {
  NEB_XML_EDIT &edit = append(NEB_XML_EDIT_SET_ATTR, element);
  if (name.prefix() != nullptr) edit.prefix = keep(name.prefix());
  edit.name = keep(name.name());
  edit.value = keep(value);
}

void Edits::remove(const XmlNode *node) { append(NEB_XML_EDIT_REMOVE, node); }

void Edits::rename(const XmlNode *node, const std::string &qualifiedName) {
  NEB_XML_EDIT &edit = append(NEB_XML_EDIT_RENAME, node);
  const QualifiedName name(qualifiedName);
  edit.prefix = keep(name.prefix() == nullptr ? "" : name.prefix());
  edit.name = keep(name.name());
}

void Edits::insert(Position position, const XmlNode *node, const XmlNode *content) {
  append(static_cast<uint32_t>(position), node).content = content;
}

std::optional<Refusal> applyEdits(const Document &document, const Edits &edits,
                                  std::string &bytes) {
  bytes.clear();
  const auto refused = std::find_if_not(
      edits.records().begin(), edits.records().end(),
      [&](const NEB_XML_EDIT &edit) { return canEncodeNames(document.encoding(), edit); });
  if (refused != edits.records().end()) {
    return Refusal{NEB_XML_ERR_UNWRITABLE, static_cast<size_t>(refused - edits.records().begin())};
  }
  if (document.reading() == Reading::lenient) return applyToTree(document, edits, bytes);
  const uint32_t result = editBytes(document, edits, edits.count(), appendToString, &bytes);
  if (result == NEB_XML_OK) return std::nullopt;
  return Refusal{result, firstRefused(document, edits, result)};
}

}  // namespace nebxml
