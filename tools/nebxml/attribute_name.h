/*
 * An attribute's name as the command line gives it: "name" or "prefix:name".
 */
#ifndef NEBXML_ATTRIBUTE_NAME_H
#define NEBXML_ATTRIBUTE_NAME_H

#include <optional>
#include <string>

namespace nebxml {

class AttributeName {
 public:
  explicit AttributeName(const std::string &qualifiedName);

  /** Null without a prefix, as the library's attribute functions take it. */
  [[nodiscard]] const char *prefix() const { return prefix_ ? prefix_->c_str() : nullptr; }
  [[nodiscard]] const char *name() const { return name_.c_str(); }

  /** Tells whether XML allows it, as far as ASCII characters go. */
  [[nodiscard]] bool isWellFormed() const;

 private:
  std::optional<std::string> prefix_;
  std::string name_;
};

}  // namespace nebxml

#endif
