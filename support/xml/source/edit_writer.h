// Turns edits into splices of the document.
#pragma once

#include "source/edit_set.h"
#include "source/new_text.h"
#include "source/source_document.h"
#include "source/splices.h"

namespace neb::xml::internal {

class EditWriter {
 public:
  EditWriter(EditSet *edits, const SourceDocument &document)
      : edits_(*edits), document_(document) {}
  ~EditWriter() { XML_Free(nullptr, written_); }
  EditWriter(const EditWriter &) = delete;
  EditWriter &operator=(const EditWriter &) = delete;

  // Everything that can fail but the sink. The edits are in the order of the document.
  uint32_t prepare();

  uint32_t write(NEB_XML_SINK sink, void *context);

 private:
  // Between the tags of an element: where children are inserted, and how.
  struct Inside {
    const Target *element = nullptr;
    Layout layout;
    const char *first = nullptr;
    const char *last = nullptr;
  };
  // The same behind an element.
  struct Behind {
    const Target *element = nullptr;
    Layout layout;
    const char *position = nullptr;
  };

  bool addAll();
  bool addEdit(const PlannedEdit &edit);
  bool addValue(const Target &target);
  bool addElementValue(const Target &element);
  bool addNewAttribute(const PlannedEdit &edit);
  bool addRename(const Target &target);
  bool addRenamed(const WholeName &name, const char *begin, const char *end);
  bool addRemoval(const Target &target);
  bool addFirst(const PlannedEdit &edit);
  bool addLast(const PlannedEdit &edit);
  bool addBefore(const PlannedEdit &edit);
  bool addBehind(const PlannedEdit &edit);
  bool addRemains(const Target &element);
  bool addComments(const char *begin, const char *end);
  bool beginInside(const Target &element);
  bool openEmptyTag(const Target &element);
  bool closeInside(const Target &element, const Layout &layout);
  Layout layoutOfOnlyChild(const Target &element) const;
  Layout layoutBeside(const Target &element) const;
  std::string_view indentationOf(const XmlNode *node) const;

  // What has been written since then replaces the bytes.
  bool splice(const char *begin, const char *end, size_t since, SpliceRank rank = SpliceRank::other,
              size_t order = 0) {
    splices_.add({begin, end, rank, order, since, text_.length()});
    return text_.result() == NEB_XML_OK;
  }

  EditSet &edits_;
  const SourceDocument &document_;
  NewText text_;
  Splices splices_;
  Inside inside_;
  Behind behind_;
  char *written_ = nullptr;
};

}  // namespace neb::xml::internal
