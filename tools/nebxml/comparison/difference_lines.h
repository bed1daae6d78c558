// Differences as lines for people.
#pragma once

#include <vector>

#include "comparison/differences.h"
#include "documents/document.h"

namespace nebxml {

// Prints a line for each difference: which document has it, where, and its value. In colour on a
// terminal.
void printDifferences(const Forest &forest, const std::vector<Difference> &differences,
                      const Document &first, const Document &second);

}  // namespace nebxml
