#include "parser/declaration.h"

#include <algorithm>
#include <string_view>

#include "characters/digits.h"
#include "parser/reasons.h"

namespace neb::xml::internal {

namespace {

constexpr std::string_view kUtf8Name = "utf-8";
constexpr std::string_view kAsciiNames[] = {"us-ascii", "ascii"};

constexpr char lowerCase(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

constexpr bool isLetter(char byte) { return lowerCase(byte) >= 'a' && lowerCase(byte) <= 'z'; }

std::string_view viewOf(const Run &run) { return {run.begin, run.length}; }

// The VersionNum production of the fifth edition.
bool isVersion(std::string_view version) {
  return version.size() > 2 && version[0] == '1' && version[1] == '.' &&
         std::all_of(version.begin() + 2, version.end(), isDigit);
}

// The EncName production.
bool isEncodingName(std::string_view name) {
  return !name.empty() && isLetter(name.front()) &&
         std::all_of(name.begin(), name.end(), [](char byte) {
           return isLetter(byte) || isDigit(byte) || byte == '.' || byte == '_' || byte == '-';
         });
}

bool isSameName(std::string_view name, std::string_view lowerCaseName) {
  return std::equal(name.begin(), name.end(), lowerCaseName.begin(), lowerCaseName.end(),
                    [](char byte, char lower) { return lowerCase(byte) == lower; });
}

}  // namespace

bool DeclarationReader::fail(const char *reason, const char *at) {
  if (reason_ == nullptr) {
    reason_ = reason;
    at_ = at;
  }
  return false;
}

bool DeclarationReader::read() {
  if (!readVersion() || !readEncoding() || !readStandalone()) return false;
  cursor_ = skipWhitespace(cursor_);
  if (!begins(cursor_, kInstructionEnd)) return fail(reasons::kDeclarationWrong, declaration_);
  cursor_ += lengthOf(kInstructionEnd);
  return true;
}

// White space, the name, '=' and a quoted value. False if they are not there: the cursor then
// stays.
bool DeclarationReader::readParameter(const char *name, Run *value) {
  const char *next = skipWhitespace(cursor_);
  if (next == cursor_) return false;
  while (*name != '\0') {
    if (*next++ != *name++) return false;
  }
  next = skipWhitespace(next);
  if (*next != '=') return false;
  next = skipWhitespace(next + 1);
  if (*next != '"' && *next != '\'') return false;
  const char *close = std::strchr(next + 1, *next);
  if (close == nullptr) return false;
  *value = {next + 1, static_cast<size_t>(close - next - 1), true};
  cursor_ = close + 1;
  return true;
}

bool DeclarationReader::readVersion() {
  Run version = {};
  if (!readParameter("version", &version)) return fail(reasons::kDeclarationWrong, declaration_);
  return isVersion(viewOf(version)) || fail(reasons::kDeclarationVersion, version.begin);
}

bool DeclarationReader::readEncoding() {
  if (!readParameter("encoding", &encoding_)) return true;
  if (!isEncodingName(viewOf(encoding_))) {
    return fail(reasons::kDeclarationWrong, declaration_);
  }
  const bool isOwn = isSameName(viewOf(encoding_), kUtf8Name) || namesAscii();
  return isOwn || fail(reasons::kEncoding, encoding_.begin);
}

bool DeclarationReader::namesAscii() const {
  return std::any_of(std::begin(kAsciiNames), std::end(kAsciiNames),
                     [this](std::string_view name) { return isSameName(viewOf(encoding_), name); });
}

bool DeclarationReader::readStandalone() {
  Run standalone = {};
  if (!readParameter("standalone", &standalone)) return true;
  const std::string_view value = viewOf(standalone);
  return value == "yes" || value == "no" || fail(reasons::kDeclarationWrong, declaration_);
}

}  // namespace neb::xml::internal
