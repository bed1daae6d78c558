// Edits of a document that keep the rest of it.
#include "source/edit_writer.h"

namespace neb::xml::internal {

namespace {

uint32_t edit(SourceDocument *document, const NEB_XML_EDIT *edits, size_t count, NEB_XML_SINK sink,
              void *context) {
  EditSet set;
  uint32_t result = set.make(edits, count);
  if (result == NEB_XML_OK) result = document->match(set.root(), &set.targets());
  if (result == NEB_XML_OK) result = set.sortByLocation();
  if (result != NEB_XML_OK) return result;
  EditWriter writer(&set, *document);
  result = writer.prepare();
  return result == NEB_XML_OK ? writer.write(sink, context) : result;
}

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_EditBytes(const char *bytes, size_t length, const NEB_XML_EDIT *edits,
                           size_t count, NEB_XML_SINK sink, void *context) {
  const bool isMissing = bytes == nullptr || length == 0 || sink == nullptr;
  if (isMissing || (edits == nullptr && count != 0)) return NEB_XML_ERR_INVALID_PARAM;
  if (count == 0) return passOn(bytes, bytes + length, sink, context);
  SourceDocument document(bytes, length);
  return edit(&document, edits, count, sink, context);
}
