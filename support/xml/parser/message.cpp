#include "parser/message.h"

#include <algorithm>
#include <cstring>

#include "characters/utf8.h"
#include "parser/reasons.h"

namespace neb::xml::internal {

namespace {

// '%' stands for the name that the reason is about, '$' for the name of the open element.
struct Sentence {
  const char *reason;
  const char *sentence;
};

constexpr Sentence kSentences[] = {
    {reasons::kMixedChild, "mixed content is not supported: <%> after text in <$>"},
    {reasons::kMixedText, "mixed content is not supported: text beside elements in <$>"},
    {reasons::kEntity,
     "entity '%' is declared or used, but only the five predefined ones are supported"},
    {reasons::kAttributeTwice, "duplicate attribute '%'"},
    {reasons::kAttributeNameColon, "attribute name '%' begins or ends with ':'"},
    {reasons::kElementNameColon, "element name '%' begins or ends with ':'"},
    {reasons::kElementOpen, "element <%> is not closed"},
    {reasons::kEndTagOther, "end tag </%> does not match its start tag <$>"},
    {reasons::kEncoding, "the declared encoding '%' is not supported, but UTF-8 is"},
};

const char *sentenceOf(const CheckingBuilder::Failure &failure) {
  for (const Sentence &candidate : kSentences) {
    if (candidate.reason == failure.reason && failure.about.length != 0) return candidate.sentence;
  }
  return nullptr;
}

// Text of bounded size. What does not fit is cut before the character that does not.
class Message {
 public:
  Message(char *message, size_t size) : next_(message), end_(message + size - 1) {}

  void append(const char *text, size_t length) {
    const char *last = text + length;
    while (text < last && !isFull_) {
      const size_t count = std::max(characterAt(text, last).length, size_t{1});
      isFull_ = count > static_cast<size_t>(end_ - next_);
      if (isFull_) return;
      std::memcpy(next_, text, count);
      next_ += count;
      text += count;
    }
  }
  void append(const Run &name) { append(name.begin, name.length); }

  void terminate() { *next_ = '\0'; }

 private:
  char *next_;
  char *end_;
  bool isFull_ = false;
};

}  // namespace

void writeMessage(const CheckingBuilder::Failure &failure, char *message, size_t size) {
  if (message == nullptr || size == 0) return;
  Message written(message, size);
  const char *sentence = sentenceOf(failure);
  if (sentence == nullptr) {
    written.append(failure.reason, std::strlen(failure.reason));
    return written.terminate();
  }
  while (*sentence != '\0') {
    const size_t length = std::strcspn(sentence, "%$");
    written.append(sentence, length);
    sentence += length;
    if (*sentence == '\0') break;
    written.append(*sentence == '%' ? failure.about : failure.startTag.name);
    ++sentence;
  }
  written.terminate();
}

}  // namespace neb::xml::internal
