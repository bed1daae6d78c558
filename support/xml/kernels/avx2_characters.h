// The check of characters on machines with AVX2.
#pragma once

namespace neb::xml::internal {

bool areAllowedByAvx2(const char *from, const char *end);

}  // namespace neb::xml::internal
