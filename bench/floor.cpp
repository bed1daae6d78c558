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

void Floor::addString(const char *string) {
  const size_t size = std::strlen(string) + 1;
  allocations_.push_back({static_cast<uint32_t>(size), true});
  strings_.append(string, size);
}

Floor::Floor(const std::string &input) {
  XmlNode *document = nullptr;
  if (NEB_XML_ParseEx(input.c_str(), &document) != NEB_XML_OK) return;
  const auto addRecord = [this](const XmlNode *node) {
    allocations_.push_back(
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

size_t Floor::allocate() const {
  static const char record[kDocumentRecordSize] = {1};
  size_t room = kFirstRoom;
  Block *const first = addBlock(nullptr, &room, 1);
  Block *last = first;
  const char *source = strings_.data();
  size_t allocated = 0;
  for (const Allocation each : allocations_) {
    if (last->room < each.size) last = addBlock(last, &room, each.size);
    std::memcpy(last->cursor, each.isString ? source : record, each.size);
    if (each.isString) source += each.size;
    last->cursor += each.size;
    last->room -= each.size;
    allocated += each.size;
  }
  for (Block *block = first; block;) {
    Block *const next = block->next;
    std::free(block);
    block = next;
  }
  return allocated;
}

}  // namespace bench
