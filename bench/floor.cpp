#include "floor.h"

#include <cstdlib>
#include <cstring>

#include "neb_xml.h"
#include "xml/record/node.h"

using namespace neb::xml::internal;

namespace bench {
namespace {

struct Block {
  Block *next;
  char *cursor;
  size_t room;
};

constexpr size_t kFirstRoom = 8192;

Block *addBlock(Block *last, size_t *room, size_t size) {
  while (*room < size) *room *= 2;
  void *memory = std::calloc(1, sizeof(Block) + *room);
  if (!memory) std::abort();
  auto *block = static_cast<Block *>(memory);
  block->cursor = static_cast<char *>(memory) + sizeof(Block);
  block->room = *room;
  if (last) last->next = block;
  return block;
}

}  // namespace

void Floor::addString(const char *text) {
  const size_t size = std::strlen(text) + 1;
  pieces_.push_back({static_cast<uint32_t>(size), true});
  strings_.append(text, size);
}

Floor::Floor(const std::string &text) {
  XmlNode *document = nullptr;
  if (NEB_XML_ParseEx(text.c_str(), &document) != NEB_XML_OK) return;
  const auto addRecord = [this](const XmlNode *node) {
    pieces_.push_back(
        {static_cast<uint32_t>(recordSize(static_cast<uint32_t>(node->type))), false});
    if (node->prefix) addString(node->prefix);
    // A name that is not owned lies in the document's record.
    if (node->name && node->nameOwned) addString(node->name);
    if (node->value) addString(node->value);
  };
  for (const XmlNode *node = document; node; node = NEB_XML_Iterator(node)) {
    addRecord(node);
    for (const XmlNode *attribute = node->firstAttr; attribute; attribute = attribute->next) {
      addRecord(attribute);
    }
  }
  NEB_XML_FreeNode(document);
}

size_t Floor::carve() const {
  static const char record[kDocumentRecordSize] = {1};
  size_t room = kFirstRoom;
  Block *const first = addBlock(nullptr, &room, 1);
  Block *last = first;
  const char *source = strings_.data();
  size_t carved = 0;
  for (const Piece piece : pieces_) {
    if (last->room < piece.size) last = addBlock(last, &room, piece.size);
    std::memcpy(last->cursor, piece.isString ? source : record, piece.size);
    if (piece.isString) source += piece.size;
    last->cursor += piece.size;
    last->room -= piece.size;
    carved += piece.size;
  }
  for (Block *block = first; block;) {
    Block *const next = block->next;
    std::free(block);
    block = next;
  }
  return carved;
}

}  // namespace bench
