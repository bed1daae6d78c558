// The name of an attribute or element on the command line: "name" or "prefix:name".
#pragma once

#include <optional>
#include <string>

#include "neb_xml.h"

namespace nebxml {

inline constexpr char kPrefixMark = ':';

class QualifiedName {
 public:
  explicit QualifiedName(const std::string &qualifiedName);

  // Null without a prefix, as the library's attribute functions expect.
  const char *prefix() const { return prefix_ ? prefix_->c_str() : nullptr; }
  const char *name() const { return name_.c_str(); }

 private:
  std::optional<std::string> prefix_;
  std::string name_;
};

// The attribute of that name, or null.
XmlNode *findAttribute(const XmlNode *element, const QualifiedName &name);

}  // namespace nebxml
