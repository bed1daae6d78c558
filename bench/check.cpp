#include "check.h"

#include <map>
#include <optional>
#include <utility>

namespace bench {
namespace {

std::optional<Census> censusOf(const Corpus &corpus, const Subject &subject) {
  Document document = subject.parse(corpus.input);
  if (!document) return std::nullopt;
  const Census census = subject.inspect(document);
  subject.release(document);
  return census;
}

bool within1Percent(size_t expected, size_t seen) {
  const size_t apart = expected > seen ? expected - seen : seen - expected;
  return apart * 100 <= expected;
}

Verdict judge(const std::optional<Census> &expected, const Corpus &corpus, const Subject &subject) {
  if (!expected) return {"NEB XML does not accept the document", ""};
  if (subject.maxDepth != 0 && corpus.depth > subject.maxDepth) {
    return {"deeper than its stack allows", ""};
  }
  const std::optional<Census> seen = censusOf(corpus, subject);
  if (!seen) return {"does not accept the document", ""};
  if (*seen == *expected) return {};
  const std::string note = "sees " + difference(*expected, *seen);
  if (seen->elements == expected->elements &&
      within1Percent(expected->attributes, seen->attributes) &&
      within1Percent(expected->characters, seen->characters)) {
    return {"", note};
  }
  return {note, ""};
}

}  // namespace

std::string difference(const Census &expected, const Census &seen) {
  std::string text;
  const auto add = [&text](size_t from, size_t to, const char *what) {
    if (from == to) return;
    text.append(text.empty() ? "" : ", ").append(std::to_string(to)).append(" ").append(what);
    text.append(" instead of ").append(std::to_string(from));
  };
  add(expected.elements, seen.elements, "elements");
  add(expected.attributes, seen.attributes, "attributes");
  add(expected.characters, seen.characters, "characters");
  return text.empty() ? "other characters" : text;
}

const Verdict &check(const Corpus &corpus, const Subject &subject) {
  static std::map<std::string, std::optional<Census>> expectations;
  static std::map<std::pair<std::string, std::string>, Verdict> verdicts;
  const auto [expected, isFirst] = expectations.try_emplace(corpus.name);
  if (isFirst) expected->second = censusOf(corpus, subjects().front());
  const auto [verdict, isNew] = verdicts.try_emplace({corpus.name, subject.id()});
  if (isNew) verdict->second = judge(expected->second, corpus, subject);
  return verdict->second;
}

}  // namespace bench
