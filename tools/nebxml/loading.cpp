#include "loading.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "command_error.h"
#include "document.h"
#include "malformed_text.h"
#include "progress_note.h"

namespace nebxml {
namespace {

constexpr std::size_t readSize = 65536;

/** Reads up to the first NUL byte, where a text ends; false with errno set after a failure. */
bool readText(int descriptor, std::string &text) {
  std::array<char, readSize> piece{};
  for (;;) {
    const ssize_t count = ::read(descriptor, piece.data(), piece.size());
    if (count > 0) {
      text.append(piece.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      text.resize(std::min(text.find('\0'), text.size()));
      return count == 0;
    }
  }
}

/** What a file holds, as far as it can be read: only for showing it. */
std::string readAgain(const std::string &fileName) {
  std::string text;
  const int descriptor = ::open(fileName.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor >= 0) {
    readText(descriptor, text);
    ::close(descriptor);
  }
  return text;
}

CommandError fileTrouble(const std::string &fileName, std::uint32_t result, int errorNumber) {
  std::string cause = "does not fit into memory";
  if (result != NEB_XML_ERR_NO_MEMORY) {
    const bool isOpen = result != NEB_XML_ERR_FILE_OPEN;
    cause = withSystemCause(isOpen ? "cannot read" : "cannot open", errorNumber);
  }
  return {ExitStatus::fileTrouble, fileName, cause};
}

XmlNode *parseStandardInput() {
  const std::string fileName(standardStream);
  std::string text;
  if (!readText(STDIN_FILENO, text)) {
    throw fileTrouble(fileName, NEB_XML_ERR_FILE_READ, errno);
  }
  XmlNode *root = nullptr;
  NEB_XML_PARSE_ERROR error{NEB_XML_ERR_SYNTAX, "the file is empty", 0, 0, 0, 0, 0, 0, 0, 0};
  if (!text.empty() && NEB_XML_ParseBuffer(text.data(), text.size(), NEB_XML_PARSE_SESSION, &root,
                                           &error) == NEB_XML_OK) {
    return root;
  }
  throw error.code == NEB_XML_ERR_SYNTAX ? malformedText(fileName, error, text)
                                         : fileTrouble(fileName, error.code, 0);
}

XmlNode *parseFile(const std::string &fileName) {
  XmlNode *root = nullptr;
  NEB_XML_PARSE_ERROR error{};
  errno = 0;
  const std::uint32_t result =
      NEB_XML_ParseFileInfo(fileName.c_str(), NEB_XML_PARSE_SESSION, &root, &error);
  if (result == NEB_XML_OK) {
    return root;
  }
  throw result == NEB_XML_ERR_SYNTAX ? malformedText(fileName, error, readAgain(fileName))
                                     : fileTrouble(fileName, result, errno);
}

}  // namespace

XmlNode *loadDocument(const std::string &fileName) {
  const ProgressNote note(fileName);
  return fileName == standardStream ? parseStandardInput() : parseFile(fileName);
}

}  // namespace nebxml
