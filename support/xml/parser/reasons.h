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
inline constexpr char kAttributeTwice[] = "duplicate attribute";

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

// Of strict reading.

inline constexpr char kUtf16[] = "the document is in UTF-16, not in UTF-8";
inline constexpr char kUtf32[] = "the document is in UTF-32, not in UTF-8";
inline constexpr char kEncoding[] = "the declared encoding is not supported, but UTF-8 is";
inline constexpr char kUtf8[] = "bytes that are not UTF-8";
inline constexpr char kCharacter[] = "a character that XML does not allow";
inline constexpr char kNotAscii[] = "bytes that are not in the declared encoding US-ASCII";

inline constexpr char kDeclarationWrong[] = "the XML declaration is malformed";
inline constexpr char kDeclarationVersion[] = "the XML declaration names no version 1.x";
inline constexpr char kDeclarationLate[] =
    "an XML declaration, or its reserved name, is not at the beginning of the document";
inline constexpr char kDoctypeName[] = "the document type declaration has no name";
inline constexpr char kDoctypeMarkup[] = "the document type declaration is malformed";
inline constexpr char kDoctypeLiteralOpen[] =
    "a quote in the document type declaration is not closed";
inline constexpr char kDoctypeLate[] = "a document type declaration is not before the root element";
inline constexpr char kDoctypeRefused[] = "a document type declaration is not allowed here";
inline constexpr char kCommentHyphens[] = "comment holds \"--\"";
inline constexpr char kInstructionTarget[] = "processing instruction has no well-formed target";
inline constexpr char kMarkupUnknown[] = "markup that begins with \"<!\" is unknown";

inline constexpr char kSecondRoot[] = "there is more than one root element";
inline constexpr char kNameCharacter[] = "a character that is not allowed in a name";
inline constexpr char kAttributeLess[] = "'<' in an attribute value has to be written as &lt;";
inline constexpr char kTextLess[] = "'<' in text has to be written as &lt;";
inline constexpr char kTextAmpersand[] = "'&' that begins no reference has to be written as &amp;";
inline constexpr char kSectionEnd[] = "']]>' in text has to be written as ]]&gt;";

inline constexpr char kEntity[] =
    "an entity is declared or used, but only the five predefined ones are supported";
inline constexpr char kMixedChild[] = "mixed content is not supported: element after text";
inline constexpr char kMixedText[] = "mixed content is not supported: text beside elements";

inline constexpr char kTooDeep[] = "elements are deeper inside each other than allowed";
inline constexpr char kTooManyNodes[] = "there are more elements and attributes than allowed";
inline constexpr char kTooManyBytes[] = "reading needs more memory than allowed";

}  // namespace reasons

}  // namespace neb::xml::internal
