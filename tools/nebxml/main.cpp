#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>

#include "application.h"
#include "system/open_file.h"
#include "system/process.h"
#include "terminal/output.h"

namespace nebxml {
namespace {

// The runtime calls this if there is no memory for an exception.
[[noreturn]] void endAtOnce() {
  constexpr std::string_view kReport = "nebxml: stopped, there is not enough memory\n";
  writeWhole(kStandardErrors, kReport);
  std::_Exit(static_cast<int>(ExitStatus::fileTrouble));
}

}  // namespace
}  // namespace nebxml

int main(int argumentCount, char **arguments) {
  using nebxml::ExitStatus;
  ExitStatus status = ExitStatus::fileTrouble;
  std::set_terminate(nebxml::endAtOnce);
  const nebxml::Process process;
  try {
    status = nebxml::run(nebxml::argumentsOf(argumentCount, arguments));
    nebxml::closeStandardOutput();
  } catch (const nebxml::CommandError &error) {
    std::fprintf(stderr, "%s\n", error.what());
    status = error.status();
  } catch (const std::bad_alloc &) {
    std::fputs("nebxml: there is not enough memory\n", stderr);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "nebxml: %s\n", error.what());
  }
  return static_cast<int>(status);
}
