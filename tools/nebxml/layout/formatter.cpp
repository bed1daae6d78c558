#include "layout/formatter.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "documents/byte_order.h"
#include "layout/markup.h"

namespace nebxml {
namespace {

constexpr std::string_view kLineFeed = "\n";
constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kEmptyComment = "<!---->";
// Deeper lines are not indented further, so the output stays linear in the size of the document.
constexpr size_t kWidestIndent = 128;

// Whether two texts that a comment separates would be "]]>" or a single line end without it.
bool wouldJoin(std::string_view before, std::string_view after) {
  return (before.ends_with("]]") && after.starts_with(">")) ||
         (before.ends_with("]") && after.starts_with("]>")) ||
         (before.ends_with("\r") && after.starts_with("\n"));
}

bool preservesSpace(const Markup &startTag) {
  TagReader reader(startTag);
  while (const auto attribute = reader.next()) {
    if (attribute->name != "xml:space") continue;
    return attribute->quotedValue == "\"preserve\"" || attribute->quotedValue == "'preserve'";
  }
  return false;
}

class Formatter {
 public:
  // document  without its byte order mark
  Formatter(std::string_view document, const Layout &layout)
      : layout_(layout), reader_(document), lineEnd_(findLineEnd()) {
    out_.reserve(document.size());
  }

  std::string format(std::string_view mark, bool addsDeclaration) {
    out_ += mark;
    if (addsDeclaration) out_.append(layout_.declaration).append(lineEnd_);
    while (const auto markup = reader_.next()) append(*markup);
    return std::move(out_);
  }

 private:
  bool isDropped(const Markup &markup) const {
    return markup.kind == MarkupKind::comment && layout_.dropsComments;
  }

  // That of the first line which stays a line. A line end in a tag, or before all markup, may go:
  // if it decided, laying out the result again could change it.
  std::string_view findLineEnd() const {
    MarkupReader reader = reader_;
    bool isBegun = false;
    while (const auto markup = reader.next()) {
      const bool isText = markup->kind == MarkupKind::text;
      if (isDropped(*markup) || (isText && !isBegun)) continue;
      isBegun = true;
      if (isTag(markup->kind)) continue;
      const size_t at = markup->bytes.find('\n');
      if (at == std::string_view::npos) continue;
      return markup->bytes.substr(0, at).ends_with('\r') ? kCrLf : kLineFeed;
    }
    return kLineFeed;
  }

  // The text here is white space between elements, or around the document element.
  void append(const Markup &markup) {
    if (markup.kind == MarkupKind::text || isDropped(markup)) return;
    if (markup.kind == MarkupKind::endTag) --depth_;
    beginLine();
    if (!isTag(markup.kind)) {
      out_ += markup.bytes;
    } else {
      appendTag(markup);
    }
    if (markup.kind == MarkupKind::startTag) openElement(markup);
    out_ += lineEnd_;
  }

  void beginLine() {
    const size_t width = layout_.usesTabs ? depth_ : depth_ * layout_.indent;
    out_.append(std::min(width, kWidestIndent), layout_.usesTabs ? '\t' : ' ');
  }

  // Behind its start tag.
  void openElement(const Markup &startTag) {
    if (preservesSpace(startTag) || !hasChild()) {
      copyContent();
    } else {
      ++depth_;
    }
  }

  // Whether the element whose start tag was read has a child element. Looks as far as the next tag.
  bool hasChild() const {
    MarkupReader reader = reader_;
    std::optional<Markup> markup = reader.next();
    while (markup && !isTag(markup->kind)) markup = reader.next();
    return markup && markup->kind != MarkupKind::endTag;
  }

  // Up to the end tag of the element whose start tag was read.
  void copyContent() {
    size_t openCount = 1;
    while (const auto markup = reader_.next()) {
      if (markup->kind == MarkupKind::startTag) ++openCount;
      if (markup->kind == MarkupKind::endTag && --openCount == 0) return appendTag(*markup);
      if (!isDropped(*markup)) appendContent(*markup);
    }
  }

  // An empty comment stays if the texts around a dropped one would otherwise change.
  void appendContent(const Markup &markup) {
    const bool isText = markup.kind == MarkupKind::text;
    if (isText && wouldJoin(out_, markup.bytes)) out_ += kEmptyComment;
    out_ += markup.bytes;
  }

  void appendTag(const Markup &tag) {
    TagReader reader(tag);
    out_ += reader.name();
    while (const auto attribute = reader.next()) {
      out_.append(" ").append(attribute->name).append("=").append(attribute->quotedValue);
    }
    out_ += tag.kind == MarkupKind::emptyTag ? "/>" : ">";
  }

  const Layout &layout_;
  MarkupReader reader_;
  std::string_view lineEnd_;
  std::string out_;
  size_t depth_ = 0;
};

}  // namespace

std::string laidOut(std::string_view document, const Layout &layout) {
  const std::string_view mark = document.starts_with(kByteOrderMark) ? kByteOrderMark : "";
  document.remove_prefix(mark.size());
  const bool hasDeclaration = markupKindOf(document) == MarkupKind::declaration;
  return Formatter(document, layout).format(mark, !layout.declaration.empty() && !hasDeclaration);
}

}  // namespace nebxml
