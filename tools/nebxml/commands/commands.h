// One function for each command. It adds the command to the command line, and the command runs
// while the command line is parsed. Commands throw CommandError.
#pragma once

#include <CLI/CLI.hpp>

#include "terminal/command_error.h"

namespace nebxml {

// status  receives what the command returns if it does not throw
void addCheck(CLI::App &app, ExitStatus &status);
void addDiff(CLI::App &app, ExitStatus &status);
void addFmt(CLI::App &app, ExitStatus &status);
void addGet(CLI::App &app, ExitStatus &status);

void addTree(CLI::App &app);
void addStat(CLI::App &app);
void addSet(CLI::App &app);
void addDel(CLI::App &app);
void addAdd(CLI::App &app);
void addRename(CLI::App &app);
void addImport(CLI::App &app);
void addEdit(CLI::App &app);

}  // namespace nebxml
