// Short names of result codes, and the functions that print.
#pragma once

#include <string>

#include "neb_xml.h"

inline constexpr uint32_t kOk = NEB_XML_OK;
inline constexpr uint32_t kInvalid = NEB_XML_ERR_INVALID_PARAM;
inline constexpr uint32_t kExists = NEB_XML_ERR_ALREADY_EXISTS;
inline constexpr uint32_t kNotFound = NEB_XML_ERR_NOT_FOUND;
inline constexpr uint32_t kNoMemory = NEB_XML_ERR_NO_MEMORY;
inline constexpr uint32_t kSyntax = NEB_XML_ERR_SYNTAX;
inline constexpr uint32_t kUnwritable = NEB_XML_ERR_UNWRITABLE;
inline constexpr uint32_t kFileOpen = NEB_XML_ERR_FILE_OPEN;
inline constexpr uint32_t kFileRead = NEB_XML_ERR_FILE_READ;
inline constexpr uint32_t kFileWrite = NEB_XML_ERR_FILE_WRITE;

// The ways to read what has been printed exactly.
inline constexpr uint32_t kParseFlags[] = {0, NEB_XML_PARSE_SESSION, NEB_XML_PARSE_STRICT,
                                           NEB_XML_PARSE_STRICT | NEB_XML_PARSE_SESSION};

// Appends what NEB_XML_Print writes to a std::string.
inline uint32_t appendTo(void *string, const char *bytes, size_t length) {
  static_cast<std::string *>(string)->append(bytes, length);
  return kOk;
}

using Print = uint32_t (*)(const XmlNode *, char **);
inline constexpr Print kPrintIndented = [](const XmlNode *node, char **text) {
  return NEB_XML_TransformIndented(node, 2, text);
};
inline constexpr Print kPrints[] = {NEB_XML_TransformTail, NEB_XML_TransformHead, NEB_XML_Transform,
                                    kPrintIndented};
