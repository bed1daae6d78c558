#include "saving/saving.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "saving/backup.h"
#include "saving/dry_run.h"
#include "saving/file_writing.h"
#include "system/paths.h"
#include "terminal/command_error.h"
#include "terminal/output.h"

namespace nebxml {
namespace {

// What lenient reading leaves out of the tree would be lost with its file.
void requireWholeTree(const Document &document) {
  if (document.topLevelNodes().size() > 1) {
    throw CommandError(ExitStatus::notFound, document.fileName(),
                       "several top-level elements cannot be written in place; use -o");
  }
  if (document.bytes().find('\0') != std::string::npos) {
    throw CommandError(ExitStatus::notFound, document.fileName(),
                       "what stands behind a NUL byte cannot be written in place; use -o");
  }
}

// Its content must not be lost if the result cannot be written.
bool isTheDocument(const std::string &fileName, const Document &document) {
  std::error_code ignored;
  return std::filesystem::is_regular_file(pathOf(fileName), ignored) &&
         std::filesystem::equivalent(pathOf(fileName), pathOf(document.fileName()), ignored);
}

}  // namespace

void save(const Document &document, std::string text, const Destination &destination) {
  if (destination.inPlace) requireWholeTree(document);
  const Encoding &encoding = document.encoding();
  if (destination.isDryRun) {
    return showChange(document.fileName(), encoding.asInFile(document.bytes()),
                      encoding.asInFile(std::move(text)));
  }
  const std::string bytes = encoding.encode(document.fileName(), document.bytes(), std::move(text));
  if (destination.inPlace) {
    if (destination.backupSuffix) keepBackup(document.fileName(), *destination.backupSuffix);
    replaceFile(document.fileName(), bytes);
  } else if (destination.fileName == kStandardStream) {
    writeStandardOutput(bytes);
  } else if (isTheDocument(destination.fileName, document)) {
    replaceFile(destination.fileName, bytes);
  } else {
    writeFile(destination.fileName, bytes);
  }
}

}  // namespace nebxml
