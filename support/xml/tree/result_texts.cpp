// Each result code in words.
#include <iterator>

#include "neb_xml.h"

namespace neb::xml::internal {

namespace {

constexpr uint32_t kFirstFailure = NEB_XML_ERR_INVALID_PARAM;

// From the first failure on, in the order of the codes.
constexpr const char *kFailures[] = {
    "an argument is invalid",
    "duplicate attribute",
    "there is no such node or attribute",
    "there is not enough memory",
    "the document is not well-formed",
    "the path is malformed",
    "the file cannot be opened",
    "the file cannot be written",
    "the file cannot be measured or read",
    "the buffer is too small",
    "the document uses what is not supported",
    "the document exceeds a limit",
    "no XML document can hold it",
    "the value is empty",
    "the value is not of the type's form",
    "the value is out of the type's range",
};
static_assert(kFirstFailure + std::size(kFailures) == NEB_XML_ERR_OUT_OF_RANGE + 1);

}  // namespace

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

const char *NEB_XML_GetErrorText(uint32_t code) {
  if (code == NEB_XML_OK) return "success";
  const uint32_t failure = code - kFirstFailure;
  return failure < std::size(kFailures) ? kFailures[failure] : "unknown result code";
}
