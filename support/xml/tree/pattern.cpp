#include "tree/pattern.h"

#include <cstring>
#include <string_view>

#include "characters/digits.h"
#include "platform/bounded_memory.h"
#include "record/node_strings.h"

namespace neb::xml::internal {

namespace {

constexpr size_t kLongestPosition = 9;  // digits; so many always fit a number
constexpr size_t kUnreachable = SIZE_MAX;
constexpr const char kDigits[] = "0123456789";
constexpr const char kWhiteSpace[] = " \t\r\n";

bool isOneOf(char character, const char *characters) {
  return character != '\0' && std::strchr(characters, character) != nullptr;
}

// Where a name stands decides which bytes end it and which it cannot hold.
struct NameContext {
  const char *ends;
  const char *refused;
};
constexpr NameContext kInPath = {".[", "*]@"};
constexpr NameContext kInBrackets = {"=]", "*[@.'\" \t\r\n"};
constexpr const char kEscapable[] = ".*[]@";

// Every function that returns false leaves from_ at the byte that is wrong.
class PatternParser {
 public:
  PatternParser(const char *text, Pattern *pattern)
      : from_(text), to_(pattern->text), pattern_(*pattern) {}

  // Returns the byte that is wrong; null if there is none.
  const char *parse() {
    pattern_.stepCount = 0;
    pattern_.predicateCount = 0;
    pattern_.groupCount = 1;
    pattern_.groups[0] = {};
    pattern_.findsAttributes = false;
    bool isFirst = true;
    for (skipDots(); *from_ != '\0'; skipDots()) {
      if (pattern_.findsAttributes || !readSegment(isFirst)) return from_;
      isFirst = false;
    }
    return isFirst ? from_ : nullptr;
  }

 private:
  void skipDots() { from_ += std::strspn(from_, "."); }
  Group &group() { return pattern_.groups[pattern_.groupCount - 1]; }
  bool isAtSegmentEnd() const { return *from_ == '.' || *from_ == '\0'; }

  bool readSegment(bool isFirst) {
    const char next = from_[std::strspn(from_, kDigits)];
    const bool isIndex = isOneOf(*from_, kDigits) && (next == '\0' || isOneOf(next, ".["));
    if (isIndex && !isFirst) return readPosition() && isAtSegmentEnd();
    mayIndex_ = false;
    if (*from_ == '@') return !isFirst && readAttribute();
    if (from_[0] == '*' && from_[1] == '*') return readAnyDepth();
    return readStep(isFirst);
  }

  bool readAttribute() {
    ++from_;
    pattern_.findsAttributes = true;
    return readName(kInPath, &pattern_.attribute) && isAtSegmentEnd();
  }

  // One "**" after another adds nothing.
  bool readAnyDepth() {
    const bool isRepeated = pattern_.groupCount > 1 && group().stepCount == 0;
    if (!isRepeated) {
      if (pattern_.groupCount > kMostLaterGroups) return false;
      pattern_.groups[pattern_.groupCount++] = {pattern_.stepCount, 0, 0};
    }
    from_ += 2;
    return isAtSegmentEnd();
  }

  bool readStep(bool isFirst) {
    if (pattern_.groupCount > 1 && group().stepCount == kMostStepsOfLaterGroup) return false;
    Step &step = pattern_.parts[pattern_.stepCount].step;
    step = {{}, kNoPosition, pattern_.predicateCount, 0};
    if (!readName(kInPath, &step.name)) return false;
    ++pattern_.stepCount;
    ++group().stepCount;
    mayIndex_ = !isFirst;
    while (*from_ == '[') {
      ++from_;
      if (!readBrackets(&step)) return false;
    }
    return isAtSegmentEnd();
  }

  bool readBrackets(Step *step) {
    const bool isPosition = isOneOf(*from_, kDigits);
    if (!(isPosition ? readPosition() : readPredicate())) return false;
    if (*from_ != ']') return false;
    ++from_;
    mayIndex_ = false;
    if (!isPosition) ++step->predicateCount;
    return true;
  }

  // Of the step before, right after its name.
  bool readPosition() {
    if (!mayIndex_) return false;
    mayIndex_ = false;
    const size_t length = std::strspn(from_, kDigits);
    size_t position = 0;
    for (size_t i = 0; i < length && length <= kLongestPosition; ++i) {
      position = position * kDecimalBase + static_cast<size_t>(from_[i] - '0');
    }
    if (length > kLongestPosition) position = kUnreachable;
    if (position == 0) return false;
    from_ += length;
    pattern_.parts[pattern_.stepCount - 1].step.position = position;
    if (pattern_.groupCount > 1) group().positions |= StepSet{1} << (group().stepCount - 1);
    return true;
  }

  bool readPredicate() {
    Predicate &predicate = pattern_.parts[kMostSteps - ++pattern_.predicateCount].predicate;
    predicate = {};
    if (*from_ == '.') {
      predicate.subject = Subject::self;
      ++from_;
      return *from_ == '=' && readValue(&predicate);
    }
    predicate.subject = *from_ == '@' ? Subject::attribute : Subject::child;
    if (*from_ == '@') ++from_;
    if (!readName(kInBrackets, &predicate.name)) return false;
    return *from_ != '=' || readValue(&predicate);
  }

  // The byte that ends the name is left, and so is one that is wrong.
  bool readName(const NameContext &context, NameTest *name) {
    name->text = to_;
    name->hasColon = false;
    name->isAny = *from_ == '*';
    if (name->isAny) ++from_;
    while (!name->isAny && *from_ != '\0' && !isOneOf(*from_, context.ends)) {
      if (isOneOf(*from_, context.refused)) return false;
      if (*from_ == '\\' && isOneOf(from_[1], kEscapable)) ++from_;
      if (*from_ == ':') name->hasColon = true;
      *to_++ = *from_++;
    }
    name->length = static_cast<uint16_t>(to_ - name->text);
    *to_++ = '\0';
    return name->isAny ? *from_ == '\0' || isOneOf(*from_, context.ends) : name->length != 0;
  }

  bool readValue(Predicate *predicate) {
    ++from_;
    predicate->value = to_;
    const bool isQuoted = isOneOf(*from_, "'\"");
    return isQuoted ? readQuoted() : readUnquoted();
  }

  bool readQuoted() {
    const char quote = *from_++;
    if (!copyUntil(quote)) return false;
    ++from_;
    return true;
  }

  // White space that could be meant as layout is refused.
  bool readUnquoted() {
    if (*from_ == ']' || isOneOf(*from_, kWhiteSpace)) return false;
    if (!copyUntil(']')) return false;
    if (isOneOf(from_[-1], kWhiteSpace)) --from_;
    return *from_ == ']';
  }

  bool copyUntil(char end) {
    for (; *from_ != end; ++from_) {
      if (*from_ == '\\') ++from_;
      if (*from_ == '\0') return false;
      *to_++ = *from_;
    }
    *to_++ = '\0';
    return true;
  }

  const char *from_;
  char *to_;
  Pattern &pattern_;
  bool mayIndex_ = false;  // whether a position may follow
};

bool hasValue(const XmlNode *node, const char *value) {
  return std::strcmp(node->value != nullptr ? +node->value : "", value) == 0;
}

bool isOfSome(const Predicate &predicate, const XmlNode *first, size_t *scanned) {
  for (const XmlNode *node = first; node != nullptr; node = node->next) {
    ++*scanned;
    if (!predicate.name.accepts(node)) continue;
    if (predicate.value == nullptr || hasValue(node, predicate.value)) return true;
  }
  return false;
}

bool holds(const Predicate &predicate, const XmlNode *node, size_t *scanned) {
  if (predicate.subject == Subject::self) return hasValue(node, predicate.value);
  const bool isOfAttribute = predicate.subject == Subject::attribute;
  return isOfSome(predicate, isOfAttribute ? node->firstAttr : node->firstChild, scanned);
}

}  // namespace

// No more of the node's strings is read than the test is long.
bool NameTest::accepts(const XmlNode *node) const {
  if (isAny) return true;
  if (node->name == nullptr) return false;
  if (!hasColon || node->prefix == nullptr) {
    return NameToFind(std::string_view(text, length)).isNameOf(node);
  }
  const size_t prefixLength = platform::lengthWithin(node->prefix, length);
  return std::memcmp(node->prefix, text, prefixLength) == 0 && text[prefixLength] == ':' &&
         std::strcmp(node->name, text + prefixLength + 1) == 0;
}

bool holdPredicates(const Pattern &pattern, const Step &step, const XmlNode *node,
                    size_t *scanned) {
  for (size_t i = 0; i < step.predicateCount; ++i) {
    if (!holds(pattern.predicate(step.firstPredicate + i), node, scanned)) return false;
  }
  return true;
}

const char *parsePattern(const char *text, Pattern *pattern) {
  return PatternParser(text, pattern).parse();
}

}  // namespace neb::xml::internal
