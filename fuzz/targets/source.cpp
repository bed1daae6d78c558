// Any bytes as a document: locations of its nodes, and edits that the first bytes choose, compared
// with edits of the tree. Besides, the tree is looked for in bytes that are not its own, and one
// allocation fails.
#include "support/source_edits.h"

#include <string>

#include "support/bytes.h"
#include "support/guarded_hooks.h"
#include "support/require.h"

namespace {

using source_edits::Tree;

constexpr size_t kChoices = 24;  // bytes of the input
constexpr size_t kMostEdits = 4;
constexpr size_t kMostLocated = 8;

// One byte of the document differs. If it is found nevertheless, the trees are the same.
void editOther(const std::string &document, Bytes *choices) {
  const Tree tree(document);
  std::string other = document;
  other[choices->pick(256) * document.size() / 256] ^= static_cast<char>(1 + choices->pick(127));
  const NEB_XML_EDIT edit = {
      NEB_XML_EDIT_SET_ATTR, 0, tree.root, nullptr, "added", "v", nullptr, {}};
  std::string out;
  guarded::failNth(choices->pick(16));
  const uint32_t code =
      NEB_XML_EditBytes(other.data(), other.size(), &edit, 1, source_edits::append, &out);
  const bool hasFailed = guarded::hasFailed();
  guarded::failNth(0);
  require(code != kNoMemory || hasFailed);
  require(out.empty() == (code != kOk));
  if (code != kOk) return;
  const Tree same(other);
  const auto check = [](bool holds) { require(holds); };
  require(same.root != nullptr &&
          links::described(same.root, check) == links::described(tree.root, check));
}

void edit(const std::string &document, Bytes *choices) {
  const auto choose = [choices](size_t count) { return choices->pick(count); };
  source_edits::Check check(document, choose);
  if (!check.isReadable()) return;
  require(check.edit(1 + choices->pick(kMostEdits)).empty());
  for (size_t i = 0; i < check.nodes() && i < kMostLocated; ++i) require(check.locate(i).empty());
  editOther(document, choices);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size <= kChoices) return 0;
  guarded::begin();
  Bytes choices(data, kChoices);
  edit({reinterpret_cast<const char *>(data) + kChoices, size - kChoices}, &choices);
  require(guarded::outstanding() == 0);
  return 0;
}
