#include "layout/dropped_markup.h"

#include <algorithm>
#include <set>

#include "layout/markup.h"

namespace nebxml {
namespace {

std::string_view nameOf(MarkupKind kind) {
  switch (kind) {
    case MarkupKind::declaration:
      return "the XML declaration";
    case MarkupKind::doctype:
      return "the document type";
    case MarkupKind::comment:
      return "comments";
    default:
      return "processing instructions";
  }
}

// Behind a markup. A tag is not read as a whole: lenient reading drops comments in it too.
std::string_view behindMarkup(MarkupKind kind, std::string_view rest) {
  if (isTag(kind)) return rest.substr(1);
  MarkupReader reader(rest);
  reader.next();
  return reader.rest();
}

std::set<MarkupKind> droppedKinds(std::string_view document) {
  std::set<MarkupKind> kinds;
  for (std::string_view rest = document;;) {
    rest.remove_prefix(std::min(rest.find('<'), rest.size()));
    if (rest.empty()) return kinds;
    const MarkupKind kind = markupKindOf(rest);
    rest = behindMarkup(kind, rest);
    if (!isTag(kind) && kind != MarkupKind::section) kinds.insert(kind);
  }
}

}  // namespace

std::string droppedMarkup(std::string_view document) {
  const std::set<MarkupKind> kinds = droppedKinds(document);
  std::string names;
  size_t leftCount = kinds.size();
  for (const MarkupKind kind : kinds) {
    names += nameOf(kind);
    --leftCount;
    if (leftCount > 0) names += leftCount > 1 ? ", " : " and ";
  }
  return names;
}

}  // namespace nebxml
