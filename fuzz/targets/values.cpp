// Path lookup, typed values, escaping, the text buffer and sessions, each against a model of its
// own. The first byte chooses.
#include <algorithm>
#include <cstring>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/hooks.h"
#include "support/require.h"
#include "support/trees.h"
#include "xml/xml_node.h"

namespace {

// Paths, with a line feed for a dot that belongs to a name.

constexpr size_t kLongestPath = 511;
constexpr size_t kLongestIndex = 9;

bool matches(const XmlNode *node, const std::string &segment) {
  if (node->name == nullptr) return false;
  const bool isQualified = node->prefix != nullptr && segment.find(':') != std::string::npos;
  return segment == (isQualified ? std::string(node->prefix) + ":" : "") + node->name;
}

uint32_t find(const XmlNode *start, std::string path, const XmlNode **node) {
  if (path.empty() || path.size() > kLongestPath) return kInvalid;
  for (size_t at = 0; (at = path.find("\\.")) != std::string::npos;) path.replace(at, 2, "\n");
  std::istringstream segments(path);
  std::vector<const XmlNode *> found;  // what the segment before matches
  bool mayIndex = false;
  for (std::string segment; std::getline(segments, segment, '.');) {
    std::replace(segment.begin(), segment.end(), '\n', '.');
    if (segment.empty()) continue;
    if (!found.empty() && segment.find_first_not_of("0123456789") == std::string::npos) {
      if (!mayIndex) return NEB_XML_ERR_BAD_PATH;
      const size_t index = segment.size() > kLongestIndex ? SIZE_MAX : std::stoul(segment);
      if (index == 0) return NEB_XML_ERR_BAD_PATH;
      if (index > found.size()) return kNotFound;
      found = {found[index - 1]};
      mayIndex = false;
    } else {
      mayIndex = !found.empty();
      const bool isFirst = found.empty();
      const XmlNode *each = isFirst ? start : found[0]->firstChild;
      for (found.clear(); each != nullptr; each = isFirst ? nullptr : +each->next) {
        if (matches(each, segment)) found.push_back(each);
      }
      if (found.empty()) return kNotFound;
    }
  }
  if (found.empty()) return kNotFound;
  *node = found[0];
  return kOk;
}

void lookUp(Bytes &bytes) {
  constexpr const char *kNames[] = {"a", "b", "a.b", "1", "p:a", "", "\\", "a", "b"};
  constexpr const char *kPieces[] = {"a",  "b",   "a\\.b", "1",  "2",           "3",  ".",  ".",
                                     "..", "\\.", "p:",    "\\", ".0000000001", "0b", "a.", ".b."};
  std::vector<XmlNode *> nodes;
  for (size_t left = 1 + bytes.pick(24); left > 0; --left) {
    XmlNode *node = nullptr;
    const char *prefix = bytes.pick(4) == 0 ? "p" : nullptr;
    NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, prefix, bytes.pickFrom(kNames), nullptr, &node);
    if (!nodes.empty()) NEB_XML_AppendChildNode(bytes.pickFrom(nodes), node);
    nodes.push_back(node);
  }
  while (!bytes.isEmpty()) {
    const XmlNode *start = nodes[bytes.pick(4) == 0 ? bytes.pick(nodes.size()) : 0];
    std::string path(bytes.pick(16) == 0 ? kLongestPath - bytes.pick(16) : 0, '.');
    if (start->name != nullptr && bytes.pick(8) != 0) path += start->name;
    for (size_t left = bytes.pick(12); left > 0; --left) path += bytes.pickFrom(kPieces);
    XmlNode *const untouched = reinterpret_cast<XmlNode *>(&path);
    XmlNode *node = untouched;
    const XmlNode *expected = nullptr;
    const uint32_t result = NEB_XML_GetNodeByUrl(start, path.c_str(), &node);
    require(result == find(start, path, &expected));
    require(node == (result == kOk ? expected : untouched));
  }
  NEB_XML_FreeNode(nodes[0]);
}

// Typed values.

struct IntegerType {
  long long least;
  long long most;
  size_t width;
};

constexpr size_t kWidest = 4;
constexpr IntegerType kTypes[] = {
    {0, 1, 4},          {INT32_MIN, INT32_MAX, 4}, {0, UINT32_MAX, 4}, {INT16_MIN, INT16_MAX, 2},
    {0, UINT16_MAX, 2}, {INT8_MIN, INT8_MAX, 1},   {0, UINT8_MAX, 1}};

std::optional<long long> valueOf(std::string text, size_t type) {
  if (type == NEB_XML_VALUE_BOOL) {
    if (text == "1" || text == "true") return 1;
    if (text == "0" || text == "false") return 0;
    return {};
  }
  const bool isSigned = kTypes[type].least < 0;
  const bool isNegative = isSigned && text.starts_with('-');
  if (isNegative || (isSigned && text.starts_with('+'))) text.erase(0, 1);
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return {};
  text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
  constexpr size_t kMostDigits = 10;
  if (text.size() > kMostDigits) return {};
  const long long value = isNegative ? -std::stoll(text) : std::stoll(text);
  if (value < kTypes[type].least || value > kTypes[type].most) return {};
  return value;
}

struct TypedPlace {
  XmlNode *node;
  bool isAttribute;
  uint32_t type;

  uint32_t set(const void *variable) const {
    return isAttribute ? NEB_XML_SetAttrValueEx(node, nullptr, "a", type, variable)
                       : NEB_XML_SetNodeValueEx(node, type, variable);
  }
  uint32_t get(void *variable) const {
    return isAttribute ? NEB_XML_GetAttrValueEx(node, nullptr, "a", type, variable)
                       : NEB_XML_GetNodeValueEx(node, type, variable);
  }
  void setText(const char *text) const {
    require((isAttribute ? NEB_XML_SetAttr(node, nullptr, "a", text)
                         : NEB_XML_SetNode(node, nullptr, nullptr, text)) == kOk);
  }
  std::string text() const {
    const XmlNode *holder = isAttribute ? node->firstAttr : node;
    return holder->value;
  }
};

void readAndWriteTyped(Bytes &bytes) {
  constexpr const char *kTexts[] = {"true",       "false",      "-",  "+",          "0",
                                    "2147483647", "2147483648", "1",  "4294967295", "4294967296",
                                    "65535",      "65536",      "00", "127",        "128",
                                    "255",        "256",        " ",  "32767",      "32768"};
  const auto type = static_cast<uint32_t>(bytes.pick(std::size(kTypes)));
  const TypedPlace place = {XML_NewNode(0, NEB_XML_NODE_ELEMENT), bytes.pick(2) == 0, type};
  const auto &[least, most, width] = kTypes[type];
  std::string variable;  // at an odd address, with a byte to spare at either end
  while (variable.size() < kWidest + 2) variable += static_cast<char>(bytes.take());
  long long number = 0;
  std::memcpy(&number, variable.data() + 1, width);
  const bool isBool = type == NEB_XML_VALUE_BOOL;
  if (!isBool && number > most) number -= 2 * (most + 1);
  require(place.set(variable.data() + 1) == kOk);
  require(place.text() == (isBool ? (number != 0 ? "true" : "false") : std::to_string(number)));

  while (!bytes.isEmpty()) {
    std::string text = bytes.pick(4) == 0 ? "-" : "";
    for (size_t left = 1 + bytes.pick(2); left > 0; --left) {
      text += bytes.pick(8) != 0 ? bytes.pickFrom(kTexts) : bytes.takeText(2);
    }
    place.setText(text.c_str());
    const auto value = valueOf(text, type);
    std::string expected = variable;
    if (value) expected.replace(1, width, reinterpret_cast<const char *>(&*value), width);
    require(place.get(variable.data() + 1) == (value ? kOk : kInvalid) && variable == expected);
  }
  NEB_XML_FreeNode(place.node);
}

// Escaping of texts that no parse may give.
void escape(Bytes &bytes) {
  constexpr const char *kPieces[] = {"&",          "#",      "x",  ";", "&amp;",
                                     "&#1114111;", "10FFFF", "lt", "\""};
  std::string text;
  while (!bytes.isEmpty()) text += bytes.pick(2) != 0 ? bytes.pickFrom(kPieces) : bytes.takeText(3);
  XmlNode *node = nullptr;
  char *printed = nullptr;
  NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "n", text.c_str(), &node);
  NEB_XML_AddAttr(node, "p", "a", text.c_str());
  require(NEB_XML_Transform(node, &printed) == kOk);
  require(printed == trees::printed(node, trees::Half::both));
  NEB_XML_FreeMem(printed);
  NEB_XML_FreeNode(node);
}

// The buffer.

constexpr uint32_t kGrowStep = 1024;

struct BufferModel {
  std::string text;
  size_t capacity = 0;
  bool hasStorage = false;

  // With how many of the next allocations failing.
  bool resize(size_t wanted, size_t failures) {
    size_t roomy = wanted + kGrowStep;
    if (wanted >= text.size()) {
      if (capacity >= wanted) return true;
      roomy = capacity + std::max<size_t>(wanted - text.size(), kGrowStep);
    } else if (capacity - wanted <= kGrowStep) {
      return true;
    }
    if (failures > 1) return false;
    capacity = failures == 1 ? wanted : roomy;
    hasStorage = true;
    return true;
  }
};

void useBuffer(Bytes &bytes) {
  XmlMemBuf buffer;
  XML_MembufInit(&buffer);
  BufferModel model;
  while (!bytes.isEmpty()) {
    const size_t failures = bytes.pick(8) < 6 ? 0 : 1 + bytes.pick(2);
    hooks::failNth(failures == 0 ? 0 : 1, failures > 1);
    const char operation = "d0=s1+i"[bytes.pick(7)];
    std::string text(bytes.pick(8) == 0 ? bytes.take() * size_t{16} : bytes.pick(40), 'x');
    const auto count = static_cast<uint32_t>(text.size());
    const size_t held = model.text.size();
    const auto position = static_cast<uint32_t>(bytes.take() * (held + 2) / UINT8_MAX);
    uint32_t result = kOk;
    if (operation == 'd') XML_MembufDestroy(&buffer);
    if (operation == '0') result = XML_MemBufAssign(&buffer, nullptr, count);
    if (operation == '=') result = XML_MemBufAssign(&buffer, text.data(), count);
    if (operation == 's') result = XML_MemBufAssignStr(&buffer, text.c_str());
    if (operation == '1') result = XML_MemBufAppend(&buffer, "yz");
    if (operation == '+') result = XML_MemBufAppendStr(&buffer, text.c_str());
    if (operation == 'i') result = XML_MemBufInsert(&buffer, text.data(), count, position);

    uint32_t expected = kOk;
    if (operation == '1') text = "y";
    if (operation == 'd' || operation == '0') {
      model = {};
    } else if (operation == '=' || operation == 's') {
      if (!model.resize(count, failures)) expected = kNoMemory;
      if (expected == kOk) model.text = text;
    } else if (operation == 'i' && position > held) {
      expected = kInvalid;
    } else if (!text.empty()) {
      if (!model.resize(held + text.size(), failures)) expected = kNoMemory;
      if (expected == kOk) model.text.insert(operation == 'i' ? position : held, text);
    }
    require(result == expected && buffer.growStep == kGrowStep);
    require(buffer.length == model.text.size() && buffer.capacity == model.capacity);
    require((buffer.data != nullptr) == model.hasStorage);
    require(hooks::outstanding() == (model.hasStorage ? 1 : 0));
    if (model.hasStorage) {
      require(std::memcmp(buffer.data, model.text.c_str(), model.text.size() + 1) == 0);
    }
  }
  XML_MembufDestroy(&buffer);
}

// Sessions.

struct Block {
  int64_t capacity;
  int64_t used;
  char *start;  // null until something has been carved
};

struct Session {
  uint32_t handle;
  std::vector<Block> blocks;
};

void carve(Session &session, int32_t size, bool fails) {
  hooks::failNth(fails ? 1 : 0);
  auto *piece = static_cast<char *>(XML_MemSpecialMalloc(session.handle, size));
  if (size <= 0) return require(piece == nullptr);
  auto &blocks = session.blocks;
  auto block = std::find_if(blocks.begin(), blocks.end(), [size](const Block &each) {
    return each.capacity - each.used >= size;
  });
  if (block == blocks.end()) {
    int64_t capacity = blocks.back().capacity;
    while (capacity < size) capacity *= 2;
    if (capacity > INT32_MAX || hooks::hasFailed()) return require(piece == nullptr);
    blocks.push_back({capacity, 0, nullptr});
    block = blocks.end() - 1;
  }
  require(piece != nullptr);
  if (block->start == nullptr) block->start = piece - block->used;
  require(piece == block->start + block->used);
  block->used += size;
  require(std::all_of(piece, piece + size, [](char byte) { return byte == 0; }));
  std::memset(piece, -1, static_cast<size_t>(size));
}

void useSessions(Bytes &bytes) {
  constexpr int32_t kSizes[] = {0, -1, INT32_MIN, 1, 12, 88, 208, 250, 8192, 8193, 40000};
  constexpr int32_t kLargest = 1 << 16;
  constexpr size_t kMostBlocks = 300;
  std::vector<Session> sessions;
  std::vector<uint32_t> ended = {0, UINT32_MAX};
  const auto end = [&](size_t at) {
    require(XML_MemSessionEnd(sessions[at].handle) == 1);
    ended.push_back(sessions[at].handle);
    sessions.erase(sessions.begin() + static_cast<ptrdiff_t>(at));
  };
  while (!bytes.isEmpty()) {
    const size_t operation = bytes.pick(16);
    int32_t size = bytes.pick(2) == 0 ? bytes.pickFrom(kSizes) : bytes.take();
    if (operation == 0) {
      hooks::failNth(bytes.pick(8) == 0 ? 1 : 0);
      const uint32_t handle = XML_MemSessionBegin(size);
      require((handle != 0) == (size > 0 && !hooks::hasFailed()));
      for (const Session &other : sessions) require(other.handle != handle);
      if (handle != 0) sessions.push_back({handle, {{size, 0, nullptr}}});
      std::erase(ended, handle);
    } else if (operation == 1 || sessions.empty()) {
      const uint32_t handle = bytes.pickFrom(ended);
      require(handle == 0 || XML_MemSpecialMalloc(handle, 1) == nullptr);
      require(XML_MemSessionEnd(handle) == 0);
    } else if (operation == 2) {
      end(bytes.pick(sessions.size()));
    } else {
      Session &session = bytes.pickFrom(sessions);
      const Block &block = bytes.pickFrom(session.blocks);
      if (operation < 6) size = static_cast<int32_t>(block.capacity - block.used) + (size & 1);
      const bool fails = bytes.pick(6) == 0;
      for (size_t left = operation > 12 && size <= UINT8_MAX ? bytes.take() : 1;
           left > 0 && size <= kLargest && session.blocks.size() < kMostBlocks; --left) {
        carve(session, size, fails);
      }
    }
    require(hooks::outstanding() >= sessions.size());
  }
  while (!sessions.empty()) end(sessions.size() - 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  constexpr void (*kParts[])(Bytes &) = {lookUp, readAndWriteTyped, escape, useBuffer, useSessions};
  constexpr size_t kLongestProgram = 1024;
  if (size > kLongestProgram) return 0;
  hooks::begin();
  Bytes bytes(data, size);
  bytes.pickFrom(kParts)(bytes);
  hooks::failNth(0);
  require(hooks::outstanding() == 0);
  return 0;
}
