// The files that are meant by names of files and folders.
#pragma once

#include <string>
#include <vector>

namespace nebxml {

struct FoundFile {
  std::string name;
  std::string trouble;  // why a folder could not be searched; empty for a file to be checked
};

// A folder stands for the files in it, at any depth, whose names match one of the patterns of
// fnmatch(3), in the order of their names. As in a shell, a pattern has to name a leading dot, and
// folders that begin with one are not searched. Links to folders are not followed, nor are devices,
// pipes and sockets in folders opened. A folder without any such file is trouble.
//
// names  of files or folders; what is no folder is taken as it is
std::vector<FoundFile> findFiles(const std::vector<std::string> &names,
                                 const std::vector<std::string> &patterns);

}  // namespace nebxml
