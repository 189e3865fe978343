// Running the built command for tests.
#include "CommandRunner.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace omtext::testing {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

CommandResult RunCommand(const std::vector<std::string>& arguments, const std::string& stdinPath,
                         const std::string& dir, const std::string& redirect) {
  std::string command = ShellQuote(OMTEXT_COMMAND);
  for (const std::string& argument : arguments) command += " " + ShellQuote(argument);
  command += " < " + ShellQuote(stdinPath) + " 2> " + ShellQuote(dir + "/stderr");
  command += redirect.empty() ? " > " + ShellQuote(dir + "/stdout") : " " + redirect;
  const int raw = std::system(command.c_str());
  CommandResult result;
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  result.out = ReadFile(dir + "/stdout");
  result.err = ReadFile(dir + "/stderr");
  return result;
}

std::string MakeScratchDirectory() {
  char pattern[] = "/tmp/omtext-test-XXXXXX";
  if (::mkdtemp(pattern) == nullptr) throw std::runtime_error("cannot make a scratch directory");
  return pattern;
}

void RemoveDirectory(const std::string& dir) {
  std::system(("rm -rf " + ShellQuote(dir)).c_str());
}

}  // namespace omtext::testing
