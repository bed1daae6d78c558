#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>

#include <unistd.h>

#include "application.h"
#include "terminal/output.h"

namespace nebxml {
namespace {

// The runtime calls this if there is no memory for an exception.
[[noreturn]] void endAtOnce() {
  constexpr std::string_view kReport = "nebxml: stopped, there is not enough memory\n";
  [[maybe_unused]] const ssize_t unused = ::write(STDERR_FILENO, kReport.data(), kReport.size());
  std::_Exit(static_cast<int>(ExitStatus::fileTrouble));
}

}  // namespace
}  // namespace nebxml

int main(int argumentCount, char **arguments) {
  using nebxml::ExitStatus;
  ExitStatus status = ExitStatus::fileTrouble;
  // A write beyond the file size limit then fails like any other write.
  std::signal(SIGXFSZ, SIG_IGN);
  std::set_terminate(nebxml::endAtOnce);
  try {
    status = nebxml::run(argumentCount, arguments);
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
