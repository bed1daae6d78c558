#include "documents/encoding.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "documents/byte_order.h"
#include "documents/syntax_report.h"
#include "terminal/command_error.h"

namespace nebxml {
namespace {

// The library reads them itself.
constexpr std::string_view kOwnEncodings[] = {kUtf8, "US-ASCII", "ASCII"};

bool isOwnEncoding(std::string_view name) {
  return std::any_of(std::begin(kOwnEncodings), std::end(kOwnEncodings),
                     [name](std::string_view own) { return isSameEncodingName(own, name); });
}

CommandError unknown(const std::string &fileName, const DeclaredEncoding &declared,
                     const std::string &text) {
  return syntaxReportAt(fileName, declared.nameBegin, NEB_XML_ERR_UNSUPPORTED,
                        "the declared encoding '" + declared.name + "' is not known to the system",
                        text);
}

CommandError untrue(const std::string &fileName, const DeclaredEncoding &declared,
                    const std::string &text) {
  return syntaxReportAt(
      fileName, declared.nameBegin, NEB_XML_ERR_SYNTAX,
      "the declared encoding '" + declared.name + "' is not that of the bytes (see --encoding)",
      text);
}

// Bytes of eight bits each must contain the declaration also in the encoding that it names.
void requireTrue(const std::string &fileName, const DeclaredEncoding &declared,
                 const std::string &bytes) {
  auto reader = Converter::between(inByteOrder(declared.name, bytes), kUtf8);
  if (!reader) throw unknown(fileName, declared, bytes);
  const std::string_view head = std::string_view(bytes).substr(0, declared.end);
  std::string decoded;
  reader->append(head, decoded);
  if (decoded != head) throw untrue(fileName, declared, bytes);
}

}  // namespace

Encoding::Encoding(const std::string &fileName, const std::string &wanted, std::string &bytes) {
  const std::string shown(wideEncodingOf(bytes));
  if (!wanted.empty()) {
    decode(fileName, wanted, bytes);
    hide(findDeclaredEncoding(bytes), bytes);
  } else if (!shown.empty()) {
    decodeAsShown(fileName, shown, bytes);
  } else {
    decodeAsDeclared(fileName, bytes);
  }
}

void Encoding::decodeAsShown(const std::string &fileName, const std::string &shown,
                             std::string &bytes) {
  decode(fileName, shown, bytes);
  const auto declared = findDeclaredEncoding(bytes);
  const bool isTrue = !declared || !declared->isWellFormed ||
                      isSameEncodingName(inByteOrder(declared->name, fileBytes_), shown);
  if (!isTrue) throw untrue(fileName, *declared, bytes);
  hide(declared, bytes);
}

void Encoding::decodeAsDeclared(const std::string &fileName, std::string &bytes) {
  const auto declared = findDeclaredEncoding(bytes);
  if (!declared || isOwnEncoding(declared->name)) return;
  if (declared->isWellFormed) {
    requireTrue(fileName, *declared, bytes);
    decode(fileName, declared->name, bytes);
  }
  hide(declared, bytes);
}

void Encoding::decode(const std::string &fileName, const std::string &encoding,
                      std::string &bytes) {
  name_ = encoding;
  if (isSameEncodingName(encoding, kUtf8)) return;
  const std::string systemName = inByteOrder(encoding, bytes);
  auto reader = Converter::between(systemName, kUtf8);
  if (!reader) {
    throw CommandError(ExitStatus::wrongUsage, fileName,
                       "the encoding '" + encoding + "' is not known to the system");
  }
  std::string text;
  text.reserve(bytes.size());
  const bool isWhole = reader->append(bytes, text) == bytes.size();
  // The library goes no further than to a NUL.
  if (!isWhole && text.find('\0') == std::string::npos) {
    const size_t offset = text.size();
    throw syntaxReportAt(fileName, offset, NEB_XML_ERR_SYNTAX, "bytes that are not " + encoding,
                         text.append(kReplacementCharacter));
  }
  fileBytes_ = std::exchange(bytes, std::move(text));
  if (auto encoder = Encoder::to(systemName)) {
    encoder_ = std::make_unique<Encoder>(std::move(*encoder));
  }
}

// A mark is a part of the head too: the library skips it. A declaration that is malformed stays so
// without the name, of which the library would else report that it does not support it.
void Encoding::hide(const std::optional<DeclaredEncoding> &declared, std::string &text) {
  const size_t markLength = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  fileHead_ = text.substr(0, declared ? declared->end : markLength);
  if (declared && declared->isWellFormed) {
    std::fill(text.data() + declared->begin, text.data() + declared->end, ' ');
  } else if (declared) {
    std::fill_n(text.data() + declared->nameBegin, declared->name.size(), ' ');
  }
  head_ = text.substr(0, fileHead_.size());
}

std::string Encoding::nameToDeclare() const {
  constexpr size_t kOrderLength = 2;
  const bool hasOrder = name_.ends_with("BE") || name_.ends_with("LE");
  const bool isMarked = fileHead_.starts_with(kByteOrderMark);
  return hasOrder && isMarked ? name_.substr(0, name_.size() - kOrderLength) : name_;
}

bool Encoding::canEncode(std::string_view text) const {
  return fileBytes_.empty() || (encoder_ && encoder_->has(text));
}

std::string Encoding::asInFile(std::string text) const {
  if (text.starts_with(head_)) text.replace(0, head_.size(), fileHead_);
  return text;
}

std::string Encoding::encode(const std::string &fileName, std::string_view original,
                             std::string text) const {
  const bool isEdited = text.starts_with(head_);
  if (fileBytes_.empty() || !isEdited) return asInFile(std::move(text));
  std::optional<std::string> bytes;
  if (encoder_ && encoder_->writesAs(asInFile(std::string(original)), fileBytes_)) {
    bytes = encoder_->encode(asInFile(std::move(text)));
  }
  if (!bytes) {
    throw CommandError(ExitStatus::unsupported, fileName,
                       "cannot be written back byte for byte in " + name_);
  }
  return *std::move(bytes);
}

}  // namespace nebxml
