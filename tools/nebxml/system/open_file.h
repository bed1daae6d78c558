// Files and standard streams, opened, read and written in bytes. What fails says why in errno.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace nebxml {

// Descriptors, which have these numbers on every system.
inline constexpr int kStandardInput = 0;
inline constexpr int kStandardOutput = 1;
inline constexpr int kStandardErrors = 2;

// Closes a descriptor. Some file systems report a failed write only here. False if it fails.
bool closeDescriptor(int descriptor);

// Writes all bytes. False if that fails.
bool writeWhole(int descriptor, std::string_view bytes);

// Whether people see what is written to a descriptor, or typed what is read from it.
bool isTerminal(int descriptor);

// An open file that is closed at the end of its scope.
class OpenFile {
 public:
  // Takes over a descriptor. A negative one is of a file that could not be opened.
  explicit OpenFile(int descriptor) : descriptor_(descriptor) {}

  static OpenFile standardInput() { return OpenFile(kStandardInput); }

  // name  in UTF-8 on Windows, elsewhere any bytes
  static OpenFile toRead(const std::string &name);

  // Creates or truncates the file.
  static OpenFile toWrite(const std::string &name);

  ~OpenFile() {
    if (isOpen()) closeDescriptor(descriptor_);
  }
  OpenFile(OpenFile &&other) noexcept : descriptor_(std::exchange(other.descriptor_, kClosed)) {}
  OpenFile &operator=(OpenFile &&) = delete;

  bool isOpen() const { return descriptor_ >= 0; }
  int descriptor() const { return descriptor_; }

  // In bytes; 0 if it is not known, as that of a pipe.
  size_t size() const;

  // Reads what is there, up to a number of bytes. 0 at the end; nothing if reading fails.
  std::optional<size_t> read(char *bytes, size_t size) const;

  bool write(std::string_view bytes) const { return writeWhole(descriptor_, bytes); }

  // False if it fails.
  bool close() { return closeDescriptor(std::exchange(descriptor_, kClosed)); }

 private:
  static constexpr int kClosed = -1;

  int descriptor_;
};

}  // namespace nebxml
