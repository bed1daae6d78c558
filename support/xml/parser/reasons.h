// The reasons for which a parse fails.
#pragma once

namespace neb::xml::internal {

namespace reasons {

inline constexpr char kArgument[] = "an argument is null, empty or unknown";
inline constexpr char kNoMemory[] = "there is not enough memory";
inline constexpr char kFileOpen[] = "the file cannot be opened";
inline constexpr char kFileRead[] = "the file cannot be measured or read";
inline constexpr char kFileEmpty[] = "the file is empty";

inline constexpr char kNoElement[] = "there is no root element";
inline constexpr char kDeclarationOpen[] = "the XML declaration is not closed";
inline constexpr char kDoctypeOpen[] = "the document type declaration is not closed";
inline constexpr char kDoctypeQuoteOpen[] =
    "a double quote in the document type declaration is not closed";
inline constexpr char kCommentOpen[] = "comment is not closed";
inline constexpr char kCommentShort[] = "comment closes before it has begun";
inline constexpr char kCommentHyphen[] = "comment ends with '-' before \"-->\"";
inline constexpr char kInstructionOpen[] = "processing instruction is not closed";
inline constexpr char kSectionOpen[] = "CDATA section is not closed";

inline constexpr char kElementName[] = "element name is missing";
inline constexpr char kElementNameColon[] = "element name begins or ends with ':'";
inline constexpr char kElementPrefix[] = "element prefix holds a malformed reference";
inline constexpr char kStartTagOpen[] = "start tag is not closed";
inline constexpr char kElementOpen[] = "element is not closed";

inline constexpr char kAttributeSpace[] = "white space is missing before an attribute name";
inline constexpr char kAttributeName[] = "attribute name is missing";
inline constexpr char kAttributeNameColon[] = "attribute name begins or ends with ':'";
inline constexpr char kAttributeEquals[] = "'=' is missing after an attribute name";
inline constexpr char kAttributeQuote[] = "attribute value is not quoted";
inline constexpr char kAttributeOpen[] = "attribute value is not closed";
inline constexpr char kAttributeTwice[] = "attribute is there already";

inline constexpr char kEndTagName[] = "end tag name is missing";
inline constexpr char kEndTagAlone[] = "end tag without a start tag";
inline constexpr char kEndTagOther[] = "end tag does not match its start tag";
inline constexpr char kEndTagOpen[] = "end tag is not closed by '>'";

inline constexpr char kTextOutside[] = "text outside of the elements";
inline constexpr char kTextAfterChild[] = "text beside child elements";
inline constexpr char kTextOpen[] = "text is not followed by an end tag";
inline constexpr char kTextMarkup[] = "text is followed by something other than its end tag";
inline constexpr char kTagEndAlone[] = "'>' or \"/>\" without a tag";

inline constexpr char kReferenceUnknown[] = "'&' does not begin a known reference";
inline constexpr char kReferenceNumber[] = "character reference is not a number";
inline constexpr char kReferenceCharacter[] = "character reference names no allowed character";
inline constexpr char kSectionCut[] = "CDATA section goes on beyond its text";
inline constexpr char kTextTooLong[] = "text of 2 GiB or more";

}  // namespace reasons

}  // namespace neb::xml::internal
