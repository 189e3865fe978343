// Runs the built omtext command through the shell for tests: arguments,
// standard input from a file, and the output, error text and exit status.
#pragma once

#include <string>
#include <vector>

namespace omtext::testing {

struct CommandResult {
  int status = -1;
  std::string out;
  std::string err;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& text);
// Quotes text for the shell, whatever it holds.
std::string ShellQuote(const std::string& text);

// Runs the command with the arguments, standard input from stdinPath, in a
// scratch directory dir (which receives its output files). redirect, when
// given, replaces the redirection of standard output ("> /dev/full").
CommandResult RunCommand(const std::vector<std::string>& arguments, const std::string& stdinPath,
                         const std::string& dir, const std::string& redirect = "");

// A fresh scratch directory under /tmp, and its removal.
std::string MakeScratchDirectory();
void RemoveDirectory(const std::string& dir);

}  // namespace omtext::testing
