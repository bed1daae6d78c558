#include "document.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "command_error.h"
#include "file_output.h"
#include "node_reading.h"

namespace nebxml {
namespace {

constexpr std::size_t readSize = 65536;
constexpr char ampersand = '&';

std::string withSystemCause(const std::string &cause, int errorNumber) {
  return errorNumber == 0 ? cause : cause + ": " + std::generic_category().message(errorNumber);
}

CommandError failure(const std::string &fileName, std::uint32_t result, int errorNumber) {
  switch (result) {
    case NEB_XML_ERR_FILE_OPEN:
      return {ExitStatus::fileTrouble, fileName, withSystemCause("cannot open", errorNumber)};
    case NEB_XML_ERR_FILE_READ:
      return {ExitStatus::fileTrouble, fileName, withSystemCause("cannot read", errorNumber)};
    case NEB_XML_ERR_NO_MEMORY:
      return {ExitStatus::fileTrouble, fileName, "does not fit into memory"};
    default:
      return {ExitStatus::notFound, fileName, "not well-formed"};
  }
}

std::string readStandardInput() {
  std::string text;
  std::array<char, readSize> piece{};
  for (;;) {
    const ssize_t count = ::read(STDIN_FILENO, piece.data(), piece.size());
    if (count == 0) {
      return text;
    }
    if (count > 0) {
      text.append(piece.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throw failure(std::string(standardStream), NEB_XML_ERR_FILE_READ, errno);
    }
  }
}

/**
 * The printer leaves an ampersand alone that begins a reference. Where it stands for itself it is
 * made a reference here, so that the value reads back as it was. The storage is taken from the
 * root: to look for it from each node would cost the depth of each.
 */
void protectAmpersands(XmlNode *root, XmlNode *node, const std::string &fileName) {
  const std::string_view value = nodeStrings(node).value;
  if (value.find(ampersand) == std::string_view::npos) {
    return;
  }
  std::string written;
  for (const char character : value) {
    written.append(1, character).append(character == ampersand ? "amp;" : "");
  }
  if (XML_SetNode(root, node, nullptr, nullptr, written.c_str()) != NEB_XML_OK) {
    throw failure(fileName, NEB_XML_ERR_NO_MEMORY, 0);
  }
}

XmlNode *load(const std::string &fileName) {
  XmlNode *root = nullptr;
  if (fileName == standardStream) {
    const std::string text = readStandardInput();
    const std::uint32_t result = NEB_XML_ParseEx(text.c_str(), &root);
    return result == NEB_XML_OK ? root : throw failure(fileName, result, 0);
  }
  errno = 0;
  const std::uint32_t result = NEB_XML_ParseFileEx(fileName.c_str(), &root);
  return result == NEB_XML_OK ? root : throw failure(fileName, result, errno);
}

}  // namespace

Document::Document(std::string fileName)
    : fileName_(std::move(fileName)), root_(load(fileName_)), topLevelNodes_{root_.get()} {
  // A document with siblings is the topmost node of nothing, and no attribute could be added in
  // it. The further top-level elements are therefore taken out of the chain and kept beside it.
  while (XmlNode *further = NEB_XML_GetNodeNextSibling(root())) {
    topLevelNodes_.push_back(further);
    NEB_XML_RemoveNode(further);
  }
}

XmlNode *Document::find(const std::string &path) const {
  XmlNode *node = nullptr;
  switch (NEB_XML_GetNodeByUrl(root(), path.c_str(), &node)) {
    case NEB_XML_OK:
      return node;
    case NEB_XML_ERR_NOT_FOUND:
      throw CommandError(ExitStatus::notFound, fileName_, "no node at path '" + path + "'");
    default:
      throw CommandError(ExitStatus::wrongUsage, fileName_, "malformed path '" + path + "'");
  }
}

void Document::protectTree(XmlNode *top) {
  std::size_t depth = 0;
  for (XmlNode *node = top; node != nullptr; node = nextInSubtree(node, top, depth)) {
    protectAmpersands(root(), node, fileName_);
    XmlNode *attribute = nullptr;
    while ((attribute = nextAttribute(node, attribute)) != nullptr) {
      protectAmpersands(root(), attribute, fileName_);
    }
  }
}

std::string Document::print() {
  std::string whole;
  for (XmlNode *top : topLevelNodes_) {
    protectTree(top);
    char *part = nullptr;
    if (NEB_XML_Transform(top, &part) != NEB_XML_OK) {
      throw failure(fileName_, NEB_XML_ERR_NO_MEMORY, 0);
    }
    const std::unique_ptr<char, decltype(&NEB_XML_FreeMem)> owner(part, &NEB_XML_FreeMem);
    whole += part;
  }
  return whole;
}

void Document::save(const Destination &destination) && {
  const std::string whole = print();
  if (destination.inPlace) {
    replaceFile(fileName_, whole);
  } else if (destination.fileName == standardStream) {
    writeStandardOutput(whole);
  } else {
    writeFile(destination.fileName, whole);
  }
}

}  // namespace nebxml
