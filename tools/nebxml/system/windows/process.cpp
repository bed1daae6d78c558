#include "system/process.h"

#include "system/system.h"

#if defined(NEBXML_WINDOWS)

#include <array>
#include <cstdio>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include "system/open_file.h"
#include "system/windows/wide.h"

namespace nebxml {
namespace {

constexpr size_t kErrorsBuffer = 65536;
constexpr DWORD kEscapes = ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING;

// A standard stream, and how its console was before.
struct Stream {
  int descriptor;
  DWORD handleNumber;
  bool isConsole = false;
  bool takesEscapes = false;
  DWORD formerMode = 0;
};

std::array<Stream, 2> g_streams{
    {{kStandardOutput, STD_OUTPUT_HANDLE}, {kStandardErrors, STD_ERROR_HANDLE}}};
UINT g_formerCodePage = 0;

void prepare(Stream &stream) {
  const HANDLE handle = ::GetStdHandle(stream.handleNumber);
  stream.isConsole = ::GetConsoleMode(handle, &stream.formerMode) != 0;
  if (!stream.isConsole) return;
  stream.takesEscapes = ::SetConsoleMode(handle, stream.formerMode | kEscapes) != 0;
  if (g_formerCodePage == 0) g_formerCodePage = ::GetConsoleOutputCP();
  ::SetConsoleOutputCP(CP_UTF8);
}

void restore(const Stream &stream) {
  if (stream.isConsole) ::SetConsoleMode(::GetStdHandle(stream.handleNumber), stream.formerMode);
}

}  // namespace

Process::Process() {
  for (const int descriptor : {kStandardInput, kStandardOutput, kStandardErrors}) {
    ::_setmode(descriptor, _O_BINARY);
  }
  // A console shows a character only if all of its bytes arrive at once. C++ flushes each string.
  std::setvbuf(stderr, nullptr, _IOFBF, kErrorsBuffer);
  for (Stream &stream : g_streams) prepare(stream);
}

// In the opposite order: both streams can be of one console.
Process::~Process() {
  for (auto each = g_streams.rbegin(); each != g_streams.rend(); ++each) restore(*each);
  if (g_formerCodePage != 0) ::SetConsoleOutputCP(g_formerCodePage);
}

std::vector<std::string> argumentsOf(int /*count*/, const char *const * /*arguments*/) {
  int count = 0;
  wchar_t **wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; wide != nullptr && i < count; ++i) arguments.push_back(narrowOf(wide[i]));
  ::LocalFree(wide);
  return arguments;
}

bool takesEscapes(int descriptor) {
  for (const Stream &stream : g_streams) {
    if (stream.descriptor == descriptor) return stream.takesEscapes;
  }
  return false;
}

}  // namespace nebxml

#endif
