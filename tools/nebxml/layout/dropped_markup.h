// What a document holds and its tree does not.
#pragma once

#include <string>
#include <string_view>

namespace nebxml {

// Such as "comments and the XML declaration"; empty if the tree holds the whole document. CDATA
// sections are part of the tree: as text.
//
// document  well-formed or not. What looks like a comment within a tag counts.
std::string droppedMarkup(std::string_view document);

}  // namespace nebxml
