// Runs the built omtext command through the shell for tests (arguments,
// standard input from a file; output, error text, exit status), with the
// scratch directories, file helpers and kept renderings the command and
// destination tests share.
#pragma once

#include <gtest/gtest.h>

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
bool Exists(const std::string& path);
// Quotes text for the shell, whatever it holds.
std::string ShellQuote(const std::string& text);
// The names of the files in dir that end in suffix, sorted.
std::vector<std::string> ListFiles(const std::string& dir, const std::string& suffix);
// The names of the command's temporary files (".omtext-*") in dir, sorted.
std::vector<std::string> TemporaryFiles(const std::string& dir);
// Write-locks the whole file through an open file description of its own,
// as another program would; closing the returned descriptor unlocks it.
int LockFile(const std::string& path);

// Runs the command with the arguments, standard input from stdinPath, in a
// scratch directory dir (which receives its output files). redirect, when
// given, replaces the redirection of standard output ("> /dev/full").
CommandResult RunCommand(const std::vector<std::string>& arguments, const std::string& stdinPath,
                         const std::string& dir, const std::string& redirect = "");

// A kept rendering: the document, the options it was rendered with and the
// file holding the expected text.
struct GoldenCase {
  std::string name;  // letters, digits and "_", for a test's name
  std::string document;
  std::string expected;
  std::vector<std::string> options;
};
// Names a case in failure messages instead of dumping its bytes.
void PrintTo(const GoldenCase& golden, std::ostream* out);
// Every DOC.SET.txt of tests/data/reference (or its correction) and of
// examples/expected whose SET is a line of the folder's options.txt.
std::vector<GoldenCase> GoldenCases();

// A fresh scratch directory under /tmp, and its removal.
std::string MakeScratchDirectory();
void RemoveDirectory(const std::string& dir);

// A test fixture with a scratch directory of its own.
template <class Base = ::testing::Test>
class Scratch : public Base {
 protected:
  void SetUp() override { dir = MakeScratchDirectory(); }
  void TearDown() override { RemoveDirectory(dir); }
  std::string Path(const std::string& name) const { return dir + "/" + name; }
  // Runs the command with standard input holding input.
  CommandResult Run(const std::vector<std::string>& arguments, const std::string& input = "",
                    const std::string& redirect = "") {
    WriteFile(Path("stdin"), input);
    return RunCommand(arguments, Path("stdin"), dir, redirect);
  }

  std::string dir;
};

}  // namespace omtext::testing
