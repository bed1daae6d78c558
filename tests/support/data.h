// Tables of documents that stand in files.
#pragma once

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace tables {

// A line of a file in tests/data, where a backslash and what follows it stand for a byte.
inline std::string unescaped(const std::string &line) {
  constexpr char kLetters[] = "ntr0s\\", kBytes[] = "\n\t\r\0 \\";
  std::string bytes;
  for (size_t i = 0; i < line.size(); ++i) {
    const bool isEscape = line[i] == '\\' && ++i < line.size();
    const bool isNumber = isEscape && line[i] == 'x';
    bytes += isNumber   ? static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16))
             : isEscape ? kBytes[std::string(kLetters).find(line[i])]
                        : line[i];
    if (isNumber) i += 2;
  }
  return bytes;
}

// The lines of such a file but for comments and empty ones.
inline std::vector<std::string> linesOf(const std::string &name) {
  std::vector<std::string> lines;
  std::ifstream file(NEB_XML_DATA_DIR "/" + name);
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line[0] != '#') lines.push_back(unescaped(line));
  }
  if (lines.empty()) std::abort();  // a test over them would pass
  return lines;
}

}  // namespace tables
