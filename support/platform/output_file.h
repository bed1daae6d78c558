// Writing a whole file through the C library.
#pragma once

#include <cstddef>

namespace neb::platform {

constexpr size_t kLongestOutputPath = 1024;

enum class WriteOutcome { written, notOpened, notWritten, noMemory };

// Creates or truncates a file and writes the whole in one unbuffered write, so that a full disk
// shows in the result. The path is opened in its canonical form where the system gives one that is
// no longer than kLongestOutputPath, else as it stands; a longer path is not opened. A FIFO is
// opened for writing only, and not opened while nobody reads from it.
WriteOutcome writeWholeFile(const char *path, const char *text, size_t length);

}  // namespace neb::platform
