#include "other_parsers/outline.h"

namespace other_parsers {

const OtherParser kPugixml = {}, kLibxml2 = {}, kExpat = {};
const std::vector<const OtherParser *> kOtherParsers;

}  // namespace other_parsers
