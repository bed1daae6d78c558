#include <pugixml.hpp>

#include "other_parsers/outline.h"

namespace other_parsers {

namespace {

class Walker : public pugi::xml_tree_walker {
 public:
  explicit Walker(Outline *outline) : outline_(outline) {}

  bool for_each(pugi::xml_node &node) override {
    if (node.type() != pugi::node_element) return addText(node);
    endTo(depth());
    outline_->start(node.name());
    for (const pugi::xml_attribute &each : node.attributes()) {
      outline_->attribute(each.name(), each.value());
    }
    ++open_;
    return true;
  }

  bool end(pugi::xml_node &) override {
    endTo(0);
    return true;
  }

 private:
  bool addText(const pugi::xml_node &node) {
    endTo(depth());
    outline_->text(node.value());
    return true;
  }

  void endTo(int depth) {
    for (; open_ > depth; --open_) outline_->end();
  }

  Outline *outline_;
  int open_ = 0;
};

bool readByPugixml(const std::string &document, Outline *outline) {
  pugi::xml_document tree;
  if (!tree.load_buffer(document.data(), document.size())) return false;
  Walker walker(outline);
  return tree.traverse(walker);
}

}  // namespace

const OtherParser kPugixml = {"pugixml", readByPugixml, true};

}  // namespace other_parsers
