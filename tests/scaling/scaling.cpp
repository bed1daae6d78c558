// How time grows with size, of all that the library does.
//
//   neb_xml_scaling [PART OF A NAME]
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "judge.h"
#include "neb_xml.h"
#include "support/tables.h"

namespace {

using tables::repeated;

constexpr size_t kMany = 1'000'000;
constexpr unsigned kSeed = 1;

void expect(bool isRight, const char *what) {
  if (isRight) return;
  std::fprintf(stderr, "%s went wrong\n", what);
  std::exit(EXIT_FAILURE);
}

// ---- Trees, and what is done with each of them

// What grows, and with it what can be measured.
enum class Shape {
  tree,
  chain,    // of top-level elements, which are printed and copied one by one
  strings,  // of a few nodes, which are released and walked in no time
  text,     // of which nothing is left but a few nodes and short strings
};

struct Tree {
  const char *name;
  std::function<std::string(size_t)> text;
  size_t largestSize;
  Shape shape = Shape::tree;
};

XmlNode *parsed(const std::string &text, bool withSession) {
  XmlNode *document = nullptr;
  const auto parse = withSession ? NEB_XML_ParseEx : NEB_XML_Parse;
  expect(parse(text.c_str(), &document) == NEB_XML_OK, "parsing");
  return document;
}

// XML_FreeNode releases the siblings as well.
using Held = std::shared_ptr<XmlNode>;
Held held(XmlNode *node) { return {node, XML_FreeNode}; }

void iterate(const XmlNode *start) {
  for (const XmlNode *node = start; node != nullptr; node = NEB_XML_Iterator(node)) {
    const char *texts[3];
    XmlNode *cursor = nullptr;
    while (NEB_XML_GetNextSiblingAttrEx(node, &texts[0], &texts[1], &texts[2], &cursor) ==
           NEB_XML_OK) {
    }
  }
}

void print(const XmlNode *node) {
  char *text = nullptr;
  expect(NEB_XML_Transform(node, &text) == NEB_XML_OK, "printing");
  NEB_XML_FreeMem(text);
}

XmlNode *cloned(const XmlNode *node) {
  XmlNode *copy = nullptr;
  expect(NEB_XML_CloneNode(node, &copy) == NEB_XML_OK, "cloning");
  return copy;
}

void addTreeCases(const Tree &tree, std::vector<Case> &cases) {
  const auto add = [&](const char *what, std::function<Work(size_t)> prepare) {
    cases.push_back({std::string(tree.name) + ": " + what, std::move(prepare), tree.largestSize});
  };
  const auto parsing = [=](size_t size, bool withSession) -> Work {
    const auto text = std::make_shared<std::string>(tree.text(size));
    const auto document = std::make_shared<Held>();
    return {[=] { *document = held(parsed(*text, withSession)); }, [=] { document->reset(); }};
  };
  const auto reading = [=](void (*read)(const XmlNode *)) {
    return [=](size_t size) -> Work {
      const Held document = held(parsed(tree.text(size), true));
      return {[=] { read(document.get()); }};
    };
  };
  add("parse", [=](size_t size) { return parsing(size, false); });
  add("parse into a session", [=](size_t size) { return parsing(size, true); });
  if (tree.shape == Shape::text) return;
  if (tree.shape != Shape::strings) {
    add("release", [=](size_t size) -> Work {
      const Work work = parsing(size, false);
      work.run();
      return {work.reset, work.run};
    });
    add("iterate", reading(iterate));
  }
  if (tree.shape == Shape::chain) return;
  add("print", reading(print));
  for (const bool withSession : {false, true}) {
    add(withSession ? "clone into a session" : "clone", [=](size_t size) -> Work {
      const Held document = held(parsed(tree.text(size), withSession));
      const auto copy = std::make_shared<Held>();
      return {[=] { *copy = held(cloned(document.get())); }, [=] { copy->reset(); }};
    });
  }
}

std::string attributes(const std::string &prefix, size_t count) {
  std::string text = "<a";
  for (size_t i = 0; i < count; ++i) text += " " + prefix + std::to_string(i) + "='v'";
  return text + "/>";
}

std::string hugeNames(size_t size) {
  const std::string name(1000 * size, 'n');
  return "<" + name + " " + name + "='v'><p:" + name + "/></" + name + ">";
}

std::vector<Tree> trees() {
  const auto in = [](const std::string &before, const std::string &text, const std::string &after) {
    return [=](size_t n) { return before + repeated(text, n) + after; };
  };
  const auto depth = [](size_t n) { return repeated("<a>", n) + repeated("</a>", n); };
  const auto digits = [](size_t n) { return "<a>&#" + std::string(n, '0') + "65;</a>"; };
  const auto attributesAfter = [](const std::string &prefix) {
    return [=](size_t n) { return attributes(prefix, n); };
  };
  const std::string word(250, 'w');
  const std::string element = "<a>" + word + "</a>";
  const std::string longElement = "<a>" + word + word + word + "</a>";
  return {
      {"depth", depth, kMany},
      {"siblings", in("<r>", "<a x='1'/>", "</r>"), kMany},
      {"top-level siblings", in("", "<a/>", ""), kMany, Shape::chain},
      {"attributes", attributesAfter("n"), kMany},
      {"attributes, long shared prefix", attributesAfter(std::string(300, 'n')), kMany / 2},
      {"prefixed attributes", attributesAfter("p:n"), kMany},
      {"references", in("<a>", "&amp;&#00065;", "</a>"), 16 * kMany, Shape::strings},
      {"digits of one reference", digits, 16 * kMany, Shape::text},
      {"sections", in("<a>", "<![CDATA[xyz]]>", "</a>"), 16 * kMany, Shape::strings},
      {"strings of 250 bytes", in("<r>", element, "</r>"), kMany / 4},
      {"strings of two sizes", in("<r>", longElement + element, "</r>"), kMany / 4},
      {"names of megabytes", hugeNames, kMany / 32, Shape::strings},
      {"comments that almost end", in("<a><!-- ", "-> - --  ->", "x--></a>"), 8 * kMany,
       Shape::text},
      {"value of &", in("<a>", "&amp;", "</a>"), 16 * kMany, Shape::strings},
      {"value of &#0", in("<a>", "&amp;#0", "</a>"), 8 * kMany, Shape::strings},
      {"value of <![CDATA[", in("<a>", "&lt;![CDATA[", "</a>"), 4 * kMany, Shape::strings},
  };
}

// ---- Texts that are refused

// The place is asked for, so that finding it is measured as well.
Work refusing(const std::string &text) {
  return {[=] {
    XmlNode *document = nullptr;
    NEB_XML_PARSE_ERROR error;
    expect(
        NEB_XML_ParseBuffer(text.data(), text.size(), 0, &document, &error) == NEB_XML_ERR_SYNTAX,
        "refusing");
  }};
}

void addRefusals(std::vector<Case> &cases) {
  constexpr size_t kLongestText = 64 * kMany;
  const struct {
    std::string name, before, text;
  } refusals[] = {
      {"comment that almost ends", "<a><!--", "-> - ->"},
      {"comments that begin", "<a>", "<!-- "},
      {"comments that begin in a tag", "<a ", "x<!-- "},
      {"declaration", "<?xml ", "?"},
      {"instructions that begin", "<a>", "<?p "},
      {"document type declaration", "<!DOCTYPE a [", "<!ELEMENT "},
      {"quotes in a document type declaration", "<!DOCTYPE a [\"", "\"\" "},
      {"section", "<a><![CDATA[", "]] >"},
      {"sections that begin", "<a>", "<![CDATA["},
      {"sections in a name", "<a", "<![CDATA[]]>"},
      {"attribute value", "<a x='", "&lt;"},
      {"references that do not end", "<a>", "&#0"},
      {"start tags", "", "<a>"},
      {"attributes of a tag", "<a", " x"},
      {"blanks", "<a>", " "},
  };
  for (const auto &[name, before, text] : refusals) {
    cases.push_back({"refused: " + name,
                     [before = before, text = text](size_t size) {
                       return refusing(before + repeated(text, size));
                     },
                     kLongestText / text.size()});
  }
}

// ---- Strict reading

void addChecks(std::vector<Case> &cases) {
  const auto check = [](size_t size) -> Work {
    return {[text = "<a>" + repeated("t<b/>", size) + "</a>"] {
      XmlNode *document = nullptr;
      NEB_XML_PARSE_ERROR error = {};
      const uint32_t result = NEB_XML_Read(text.data(), text.size(), nullptr, &document, &error);
      expect(result == NEB_XML_ERR_UNSUPPORTED && error.isWellFormed == 1, "checking");
    }};
  };
  cases.push_back({"mixed content that is checked", check, 4 * kMany});
}

// All nodes at once, in any order.
Work locating(const std::string &text) {
  XmlNode *root = nullptr;
  expect(NEB_XML_Read(text.data(), text.size(), nullptr, &root, nullptr) == NEB_XML_OK, "reading");
  const Held document = held(root);
  std::vector<const XmlNode *> nodes;
  for (const XmlNode *each = root; each != nullptr; each = NEB_XML_Iterator(each)) {
    nodes.push_back(each);
  }
  std::shuffle(nodes.begin(), nodes.end(), std::mt19937(kSeed));
  return {[=] {
    std::vector<NEB_XML_LOCATION> at(nodes.size());
    const uint32_t result =
        NEB_XML_LocateNodes(nodes.data(), nodes.size(), text.data(), text.size(), at.data());
    expect(document != nullptr && result == NEB_XML_OK, "locating");
  }};
}

void addLocations(std::vector<Case> &cases) {
  const auto add = [&](const char *name, const char *node) {
    cases.push_back(
        {name, [node](size_t size) { return locating("<r>" + repeated(node, size) + "</r>"); },
         kMany});
  };
  add("locations of nodes on one line", "<a/>");
  add("locations of nodes on lines of their own", "<a/>\n");
}

// ---- Lookup, and memory sessions

void addLookups(std::vector<Case> &cases) {
  const auto add = [&](const char *name, std::function<std::string(size_t)> path) {
    const auto lookUp = [=](size_t size) -> Work {
      const Held document = held(parsed("<r>" + repeated("<a/>", size - 1) + "<b/></r>", true));
      return {[document, path = path(size)] {
        XmlNode *node = nullptr;
        expect(NEB_XML_GetNodeByUrl(document.get(), path.c_str(), &node) == NEB_XML_OK, "lookup");
      }};
    };
    cases.push_back({name, lookUp, kMany});
  };
  add("path lookup by name in a wide node", [](size_t) { return "r.b"; });
  add("path lookup by index in a wide node",
      [](size_t size) { return "r.a." + std::to_string(size - 1); });
}

void selectAll(const XmlNode *start, const char *pattern) {
  NEB_XML_CURSOR cursor = {};
  uint32_t result = NEB_XML_OK;
  while (result == NEB_XML_OK) result = NEB_XML_Select(start, pattern, &cursor);
  expect(result == NEB_XML_ERR_NOT_FOUND, "selecting");
}

// As many <p> inside each other, with leaves before the next one.
std::string nested(size_t levels, const std::string &leaves, const std::string &inside) {
  return repeated("<p>" + leaves, levels) + inside + repeated("</p>", levels);
}

// Trees of about n nodes, in which a search could look at the same nodes again and again.
void addSearches(std::vector<Case> &cases) {
  const auto siblings = [](size_t n) { return "<r>" + repeated("<a>v</a>", n) + "</r>"; };
  const auto depth = [](size_t n) { return repeated("<a>", n) + repeated("</a>", n); };
  const auto deepPairs = [](size_t n) { return nested(n / 2, "<c>w</c>", ""); };
  const auto families = [](size_t n) { return "<r>" + repeated("<a><b/></a>", n / 2) + "</r>"; };
  const auto chains = [](size_t n) {
    const std::string chain = repeated("<x>", 50) + repeated("</x>", 50);
    return "<r><p>" + repeated(chain, n / 50) + "</p></r>";
  };
  const auto wideInside = [](size_t n) {
    return nested(30, repeated("<a/>", n / 60), repeated("<a><b/></a>", n / 120));
  };
  const auto wideInWide = [](size_t n) {
    const auto side = static_cast<size_t>(std::sqrt(n));
    return "<r><p>" + repeated("<p>" + repeated("<a/>", side) + "</p>", side) + "</p></r>";
  };
  const auto smallInWide = [](size_t n) {
    const std::string inner = "<p>" + repeated("<a/>", 20) + "</p>";
    return "<r><p>" + repeated("<a/>", n / 3) + "<p>" + repeated("<p>" + inner + "</p>", n / 66) +
           "</p></p></r>";
  };
  const auto attributed = [](size_t n) {
    std::string tag = attributes("n", n / 2);
    tag.erase(tag.size() - 2, 1);
    return tag + repeated("<b><c/></b>", n / 4) + "</a>";
  };
  const struct {
    const char *name;
    std::string (*text)(size_t);
    const char *pattern;
  } searches[] = {
      {"siblings", siblings, "r.a"},
      {"siblings", siblings, "**.a[3]"},
      {"siblings", siblings, "**.*[999999999]"},
      {"siblings", siblings, "r[c=v].*"},
      {"siblings", siblings, "**.r[a=w].*"},
      {"depth", depth, "**.a.**.a.**.b"},
      {"depth", depth, "**.a.a.a.*.a.a.b"},
      {"depth", depth, "**.a[1].*[1].a[2]"},
      {"deep pairs", deepPairs, "**.p[c=v].p[c=w].c"},
      {"deep pairs", deepPairs, "**.*[2].*[2].c[1]"},
      {"families", families, "**.r[c].a.b"},
      {"families", families, "**.*[999999999].b"},
      {"families", families, "**.a[2].b.**.a[3].b"},
      {"chains in a wide node", chains, "**.p[c=v].x.x"},
      {"chains in a wide node", chains, "**.x[9].x[1].*"},
      {"wide nodes inside each other", wideInside, "**.p[c].p[c].p[c].a.b"},
      {"wide nodes inside each other", wideInside, "**.*[99999999].*[99999999].*[1]"},
      {"wide nodes in a wide node", wideInWide, "**.p[c].p[c].a"},
      {"wide nodes in a wide node", wideInWide, "**.*[99999999].*[99999999].a"},
      {"narrow nodes in a wide node", smallInWide, "**.p[c].p[c].p[c].p.a"},
      {"narrow nodes in a wide node", smallInWide, "**.*[99999999].*.*.*.a[30]"},
      {"many attributes", attributed, "**.a[@x].b.c"},
      {"many attributes", attributed, "**.@*"},
  };
  for (const auto &[name, text, pattern] : searches) {
    const auto search = [text = text, pattern = pattern](size_t size) -> Work {
      const Held document = held(parsed(text(size), true));
      return {[=] { selectAll(document.get(), pattern); }};
    };
    cases.push_back({std::string("select ") + pattern + ", " + name, search, kMany});
  }
}

void endSession(uint32_t session) { expect(XML_MemSessionEnd(session) == 1, "ending a session"); }

// Opens as many sessions, and ends them in another order.
void addSessions(std::vector<Case> &cases) {
  using Handles = std::vector<uint32_t>;
  const auto add = [&](const char *name, std::function<void(Handles &)> rearrange) {
    const auto openAndEnd = [=](size_t size) -> Work {
      return {[=] {
        Handles handles(size);
        for (uint32_t &handle : handles) handle = XML_MemSessionBegin(16);
        rearrange(handles);
        for (const uint32_t handle : handles) endSession(handle);
      }};
    };
    cases.push_back({name, openAndEnd, kMany});
  };
  add("sessions ended as they were opened", [](Handles &) {});
  add("sessions ended backwards", [](Handles &h) { std::reverse(h.begin(), h.end()); });
  add("sessions ended in any order",
      [](Handles &h) { std::shuffle(h.begin(), h.end(), std::mt19937(kSeed)); });
}

// Carves as many pieces, of these sizes in turn, from blocks of one size.
uint32_t carved(size_t count, int32_t block, const std::vector<int32_t> &sizes) {
  const uint32_t session = XML_MemSessionBegin(block);
  for (size_t i = 0; i < count; ++i) {
    expect(XML_MemSpecialMalloc(session, sizes[i % sizes.size()]) != nullptr, "carving");
  }
  return session;
}

void addBlocks(std::vector<Case> &cases) {
  const struct {
    const char *name;
    int32_t block;
    std::vector<int32_t> sizes;
  } carvings[] = {
      {"session: pieces of 250 bytes with holes", 8192, {250}},
      {"session: pieces of sizes that alternate", 256, {140, 120}},
      {"session: pieces that a hole just misses", 256, {250, 7}},
      {"session: pieces that fill earlier holes", 256, {200, 200, 50, 40}},
  };
  for (const auto &[name, block, sizes] : carvings) {
    cases.push_back({name,
                     [=, block = block, sizes = sizes](size_t size) -> Work {
                       return {[=] { endSession(carved(size, block, sizes)); }};
                     },
                     2 * kMany});
  }
  constexpr int32_t kSmallBlock = 64;
  cases.push_back({"session: release of many blocks",
                   [](size_t size) -> Work {
                     const auto carve = [=] { return carved(size, kSmallBlock, {kSmallBlock}); };
                     const auto session = std::make_shared<uint32_t>(carve());
                     return {[=] { endSession(*session); }, [=] { *session = carve(); }};
                   },
                   2 * kMany});
}

std::vector<Case> allCases() {
  std::vector<Case> cases;
  for (const Tree &tree : trees()) addTreeCases(tree, cases);
  addRefusals(cases);
  addChecks(cases);
  addLocations(cases);
  addLookups(cases);
  addSearches(cases);
  addSessions(cases);
  addBlocks(cases);
  return cases;
}

}  // namespace

int main(int argc, char **argv) {
  const std::string part = argc > 1 ? argv[1] : "";
  std::printf("%-44s %10s %9s %9s %6s %6s\n", "CPU time, the least of some runs", "n", "ms at n",
              "at 2n", "MiB", "ratio");
  size_t judged = 0;
  size_t failed = 0;
  for (const Case &subject : allCases()) {
    if (subject.name.find(part) == std::string::npos) continue;
    ++judged;
    if (!judge(subject)) ++failed;
  }
  std::printf("%zu ratios, %zu of them not measured or above %.1f\n", judged, failed,
              kLargestRatio);
  return judged > 0 && failed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
