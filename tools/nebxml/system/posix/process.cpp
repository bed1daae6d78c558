#include "system/process.h"

#include "system/system.h"

#if defined(NEBXML_POSIX)

#include <csignal>

#include "system/open_file.h"

namespace nebxml {

Process::Process() { std::signal(SIGXFSZ, SIG_IGN); }

Process::~Process() = default;

std::vector<std::string> argumentsOf(int count, const char *const *arguments) {
  if (count < 1) return {};
  return {arguments + 1, arguments + count};
}

bool takesEscapes(int descriptor) { return isTerminal(descriptor); }

}  // namespace nebxml

#endif
