#include "neb_xml.hpp"

int main() {
  neb::xml::Node node;
  node.append("a");
  node.set(1);
  node.remove();
}
