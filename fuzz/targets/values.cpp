// Path lookup, typed values, escaping, the text buffer and sessions, each against a model of its
// own. The first byte chooses.
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "neb_xml.h"
#include "support/bytes.h"
#include "support/hooks.h"
#include "support/require.h"
#include "support/trees.h"

namespace {

constexpr uint32_t kOk = NEB_XML_OK;
constexpr uint32_t kInvalid = NEB_XML_ERR_INVALID_PARAM;
constexpr uint32_t kNotFound = NEB_XML_ERR_NOT_FOUND;
constexpr uint32_t kNoMemory = NEB_XML_ERR_NO_MEMORY;

// Paths.

constexpr size_t kLongestPath = 511;
constexpr size_t kLongestIndex = 9;

bool matches(const XmlNode *node, const std::string &segment) {
  const char *prefix = nullptr;
  const char *name = nullptr;
  NEB_XML_GetNodeValue(node, nullptr, &prefix, &name, nullptr);
  if (name == nullptr) return false;
  const bool isQualified = prefix != nullptr && segment.find(':') != std::string::npos;
  return segment == (isQualified ? std::string(prefix) + ":" + name : name);
}

std::vector<std::string> segmentsOf(const std::string &path) {
  std::vector<std::string> segments(1);
  for (size_t i = 0; i < path.size(); ++i) {
    if (path[i] == '.') {
      segments.emplace_back();
    } else {
      if (path[i] == '\\' && i + 1 < path.size() && path[i + 1] == '.') ++i;
      segments.back() += path[i];
    }
  }
  std::erase(segments, "");
  return segments;
}

uint32_t find(const XmlNode *start, const std::string &path, const XmlNode **found) {
  if (path.empty() || path.size() > kLongestPath) return kInvalid;
  const auto segments = segmentsOf(path);
  if (segments.empty() || !matches(start, segments[0])) return kNotFound;
  std::vector<const XmlNode *> candidates;  // that the index after a name chooses from
  *found = start;
  for (size_t i = 1; i < segments.size(); ++i) {
    const bool isIndex = segments[i].find_first_not_of("0123456789") == std::string::npos;
    if (isIndex) {
      if (candidates.empty()) return NEB_XML_ERR_BAD_PATH;
      if (segments[i].size() > kLongestIndex) return kNotFound;
      const size_t index = std::stoul(segments[i]);
      if (index == 0) return NEB_XML_ERR_BAD_PATH;
      if (index > candidates.size()) return kNotFound;
      *found = candidates[index - 1];
      candidates.clear();
      continue;
    }
    candidates.clear();
    for (const XmlNode *child = NEB_XML_GetNodeFirstChild(*found); child != nullptr;
         child = NEB_XML_GetNodeNextSibling(child)) {
      if (matches(child, segments[i])) candidates.push_back(child);
    }
    if (candidates.empty()) return kNotFound;
    *found = candidates[0];
  }
  return kOk;
}

void lookUp(Bytes &bytes) {
  constexpr const char *kNames[] = {"a", "b", "a.b", "1", "p:a", "", "\\", "a", "b"};
  constexpr const char *kPieces[] = {"a",  "b",   "a\\.b", "1",  "2",          "3",  ".",  ".",
                                     "..", "\\.", "p:",    "\\", "0123456789", "0b", "a.", ".b."};
  std::vector<XmlNode *> nodes(1);
  for (size_t count = 1 + bytes.pick(24); count > 0; --count) {
    XmlNode *parent = bytes.pickFrom(nodes);
    XmlNode *node = nullptr;
    const char *prefix = bytes.pick(4) == 0 ? "p" : nullptr;
    NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, prefix, bytes.pickFrom(kNames), nullptr, &node);
    if (parent == nullptr) parent = nodes[0];
    if (parent != nullptr) NEB_XML_AppendChildNode(parent, node);
    if (nodes[0] == nullptr) nodes.clear();
    nodes.push_back(node);
  }
  const XmlNode *start = bytes.pickFrom(nodes);
  std::string path(bytes.pick(8) == 0 ? kLongestPath - bytes.pick(16) : 0, '.');
  while (!bytes.isEmpty()) path += bytes.pickFrom(kPieces);
  XmlNode *const untouched = reinterpret_cast<XmlNode *>(&path);
  XmlNode *node = untouched;
  const XmlNode *expected = nullptr;
  const uint32_t result = NEB_XML_GetNodeByUrl(start, path.c_str(), &node);
  require(result == find(start, path, &expected));
  require(node == (result == kOk ? expected : untouched));
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

void readAndWriteTyped(Bytes &bytes) {
  constexpr const char *kTexts[] = {"true",       "false",      "-",  "+",          "0",
                                    "2147483647", "2147483648", "1",  "4294967295", "4294967296",
                                    "65535",      "65536",      "00", "127",        "128",
                                    "255",        "256",        " ",  "32767",      "32768"};
  XmlNode *node = nullptr;
  NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, nullptr, "n", nullptr, &node);
  const size_t type = bytes.pick(std::size(kTypes) + 1);
  const bool isAttribute = bytes.pick(2) == 0;
  unsigned char variable[kWidest + 1] = {};  // stands at an odd address, with a byte to spare
  unsigned char *const place = variable + 1;
  for (unsigned char &byte : variable) byte = bytes.take();
  const auto set = [&] {
    const auto code = static_cast<uint32_t>(type);
    return isAttribute ? NEB_XML_SetAttrValueEx(node, nullptr, "a", code, place)
                       : NEB_XML_SetNodeValueEx(node, code, place);
  };
  const auto get = [&] {
    const auto code = static_cast<uint32_t>(type);
    return isAttribute ? NEB_XML_GetAttrValueEx(node, nullptr, "a", code, place)
                       : NEB_XML_GetNodeValueEx(node, code, place);
  };
  if (type == std::size(kTypes)) {
    require(set() == kInvalid && get() == (isAttribute ? kNotFound : kInvalid));
    return NEB_XML_FreeNode(node);
  }
  const size_t width = kTypes[type].width;
  long long expected = 0;  // sign or zeros above the variable's bytes
  std::memcpy(&expected, place, width);
  if (expected > kTypes[type].most) expected -= 2 * (kTypes[type].most + 1);
  const bool isBool = type == NEB_XML_VALUE_BOOL;
  uint32_t truth = 0;
  std::memcpy(&truth, place, sizeof truth);
  if (isBool) expected = truth != 0 ? 1 : 0;
  require(set() == kOk);
  const char *written = nullptr;
  if (isAttribute) {
    NEB_XML_GetAttr(node, nullptr, "a", &written);
  } else {
    NEB_XML_GetNodeValue(node, nullptr, nullptr, nullptr, &written);
  }
  require(written == (isBool ? (truth != 0 ? "true" : "false") : std::to_string(expected)));

  std::string text;
  while (!bytes.isEmpty()) {
    text += bytes.pick(3) != 0 ? bytes.pickFrom(kTexts) : bytes.takeText(2);
  }
  if (isAttribute) {
    NEB_XML_SetAttr(node, nullptr, "a", text.c_str());
  } else {
    NEB_XML_SetNode(node, nullptr, nullptr, text.c_str());
  }
  const std::string before(variable, std::end(variable));
  const auto value = valueOf(text, type);
  require(get() == (value ? kOk : kInvalid));
  std::string after = before;
  if (value) after.replace(1, width, reinterpret_cast<const char *>(&*value), width);
  require(std::string(variable, std::end(variable)) == after);
  NEB_XML_FreeNode(node);
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
  require(printed == trees::printed(node, trees::Half::both, 0));
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
    const size_t operation = bytes.pick(7);
    const std::string text(bytes.pick(8) == 0 ? bytes.take() * size_t{16} : bytes.pick(40), 'x');
    const auto count = static_cast<uint32_t>(text.size());
    const size_t position = bytes.take() * (model.text.size() + 2) / UINT8_MAX;
    uint32_t result = kOk;
    uint32_t expected = kOk;
    if (operation == 0) {
      XML_MembufDestroy(&buffer);
      model = {};
    } else if (operation <= 2) {
      result = operation == 1 ? XML_MemBufAssign(&buffer, text.data(), count)
                              : XML_MemBufAssignStr(&buffer, text.c_str());
      if (!model.resize(count, failures)) expected = kNoMemory;
      if (expected == kOk) model.text = text;
    } else if (operation == 3) {
      result = XML_MemBufAssign(&buffer, nullptr, count);
      model = {};
    } else {
      const bool isByte = operation == 4;
      const size_t place = operation == 6 ? position : model.text.size();
      const std::string added = isByte ? "y" : text;
      result = isByte ? XML_MemBufAppend(&buffer, "yz")
               : operation == 5
                   ? XML_MemBufAppendStr(&buffer, text.c_str())
                   : XML_MemBufInsert(&buffer, text.data(), count, static_cast<uint32_t>(position));
      if (place > model.text.size()) {
        expected = kInvalid;
      } else if (!added.empty()) {
        if (!model.resize(model.text.size() + added.size(), failures)) expected = kNoMemory;
        if (expected == kOk) model.text.insert(place, added);
      }
    }
    require(result == expected);
    require(buffer.length == model.text.size() && buffer.capacity == model.capacity);
    require(buffer.growStep == kGrowStep && (buffer.data != nullptr) == model.hasStorage);
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

void *carve(Session &session, int32_t size, Bytes &bytes) {
  hooks::failNth(bytes.pick(6) == 0 ? 1 : 0);
  auto *piece = static_cast<char *>(XML_MemSpecialMalloc(session.handle, size));
  if (size <= 0) return require(piece == nullptr), nullptr;
  auto &blocks = session.blocks;
  auto block = std::find_if(blocks.begin(), blocks.end(), [size](const Block &each) {
    return each.capacity - each.used >= size;
  });
  if (block == blocks.end()) {
    int64_t capacity = blocks.back().capacity;
    while (capacity < size) capacity *= 2;
    if (capacity > INT32_MAX || hooks::hasFailed()) return require(piece == nullptr), nullptr;
    blocks.push_back({capacity, 0, nullptr});
    block = blocks.end() - 1;
  }
  require(piece != nullptr);
  if (block->start == nullptr) block->start = piece - block->used;
  require(piece == block->start + block->used);
  block->used += size;
  require(std::all_of(piece, piece + size, [](char byte) { return byte == 0; }));
  std::memset(piece, -1, static_cast<size_t>(size));
  return piece;
}

void useSessions(Bytes &bytes) {
  constexpr int32_t kSizes[] = {0, -1, INT32_MIN, 1, 12, 88, 208, 250, 8192, 8193, 40000};
  constexpr int32_t kLargest = 1 << 16;
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
      if (size <= kLargest) carve(session, size, bytes);
    }
    require(hooks::outstanding() >= sessions.size());
  }
  while (!sessions.empty()) end(sessions.size() - 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  constexpr void (*kParts[])(Bytes &) = {lookUp, readAndWriteTyped, escape, useBuffer, useSessions};
  constexpr size_t kLongestProgram = 4096;
  if (size > kLongestProgram) return 0;
  hooks::begin();
  Bytes bytes(data, size);
  bytes.pickFrom(kParts)(bytes);
  hooks::failNth(0);
  require(hooks::outstanding() == 0);
  return 0;
}
