// What the functions that print have in common.
#pragma once

#include <cstdint>

#include "neb_xml.h"
#include "platform/output_file.h"
#include "record/node.h"

namespace neb::xml::internal {

inline bool isPrintable(const XmlNode *start) { return start != nullptr && !isAttribute(start); }

inline uint32_t resultOf(platform::WriteOutcome outcome) {
  switch (outcome) {
    case platform::WriteOutcome::notOpened:
      return NEB_XML_ERR_FILE_OPEN;
    case platform::WriteOutcome::notWritten:
      return NEB_XML_ERR_FILE_WRITE;
    case platform::WriteOutcome::noMemory:
      return NEB_XML_ERR_NO_MEMORY;
    case platform::WriteOutcome::written:
      break;
  }
  return NEB_XML_OK;
}

}  // namespace neb::xml::internal
