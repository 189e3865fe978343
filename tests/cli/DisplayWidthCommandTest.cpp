// The command's --width auto (a terminal on standard output, else COLUMNS,
// else no limit) and --display-width: every ASCII rendering kept among the
// examples and the reference documents comes out the same in columns.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::ReadFile;
using Result = omtext::testing::CommandResult;

const std::string kCities = std::string(OMTEXT_EXAMPLES) + "/cities.json";

// Sets COLUMNS for the commands a test runs; nullptr unsets it.
void SetColumns(const char* value) {
  value != nullptr ? ::setenv("COLUMNS", value, 1) : ::unsetenv("COLUMNS");
}

class WidthCommand : public omtext::testing::Scratch<> {
 protected:
  std::string Render(std::vector<std::string> arguments) {
    arguments.push_back(kCities);
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
  }

  // Runs the command on a terminal of the given width and returns what it
  // printed there, with the terminal's carriage returns taken out; nothing
  // where the system has no pseudo-terminal to give.
  std::optional<std::string> RenderOnTerminal(std::vector<std::string> arguments,
                                              unsigned short columns) {
    winsize size{};
    size.ws_col = columns;
    size.ws_row = 24;
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (child < 0)
      return std::nullopt;
    if (child == 0) {
      std::vector<char*> argv;
      std::string command = OMTEXT_COMMAND;
      argv.push_back(command.data());
      arguments.push_back(kCities);
      for (std::string& argument : arguments)
        argv.push_back(argument.data());
      argv.push_back(nullptr);
      const int input = ::open("/dev/null", O_RDONLY);
      ::dup2(input, 0);
      ::execv(command.c_str(), argv.data());
      ::_exit(127);
    }
    std::string text;
    char buffer[4096];
    // Up to the end of output: EIO once the command has closed the terminal.
    for (ssize_t got;
         (got = ::read(terminal, buffer, sizeof buffer)) > 0 || (got < 0 && errno == EINTR);) {
      if (got > 0)
        text.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(terminal);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
  }
};

TEST_F(WidthCommand, AutoTakesTheTerminalsWidthFirst) {
  SetColumns("100");
  const std::string expected = Render({"--width", "40"});
  ASSERT_NE(expected, Render({}));
  const std::optional<std::string> out = RenderOnTerminal({"--width", "auto"}, 40);
  if (!out)
    GTEST_SKIP() << "no pseudo-terminal";
  EXPECT_EQ(*out, expected);
  EXPECT_EQ(RenderOnTerminal({"--width=auto", "--display-width", "columns"}, 40),
            Render({"--width", "40", "--display-width", "columns"}));
}

TEST_F(WidthCommand, AutoWithoutTerminalTakesColumnsElseNoLimit) {
  SetColumns("40");
  EXPECT_EQ(Render({"--width", "auto"}), Render({"--width", "40"}));
  // A later --width replaces auto, and auto a number.
  EXPECT_EQ(Render({"--width", "auto", "--width", "50"}), Render({"--width", "50"}));
  EXPECT_EQ(Render({"--width", "50", "--width", "auto"}), Render({"--width", "40"}));
  const std::string unlimited = Render({});
  for (const char* value :
       {static_cast<const char*>(nullptr), "", "0", "-40", "40x", "abc", "99999999999"}) {
    SetColumns(value);
    EXPECT_EQ(Render({"--width", "auto"}), unlimited) << (value ? value : "unset");
  }
}

// Every kept rendering of an ASCII document, with the same options and
// --display-width columns.
TEST_F(WidthCommand, AsciiRenderingsAreTheSameInColumns) {
  int compared = 0;
  for (const omtext::testing::GoldenCase& golden : omtext::testing::GoldenCases()) {
    const std::string text = ReadFile(golden.document);
    if (!std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
      continue;
    std::vector<std::string> arguments = golden.options;
    arguments.insert(arguments.end(), {"--display-width", "columns", golden.document});
    EXPECT_EQ(Run(arguments).out, ReadFile(golden.expected)) << golden.name;
    ++compared;
  }
  EXPECT_GT(compared, 20);
}

}  // namespace
