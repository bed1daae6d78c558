#include "other_parsers/outline.h"

namespace other_parsers {

const std::vector<const OtherParser *> kOtherParsers = {&kPugixml, &kLibxml2, &kExpat};

}  // namespace other_parsers
