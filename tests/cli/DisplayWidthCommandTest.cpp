// The command's --width auto (a terminal on standard output, else COLUMNS,
// else no limit) and --display-width: every ASCII rendering kept among the
// examples and the reference documents comes out the same in columns.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::ReadFile;
using Result = omtext::testing::CommandResult;

const std::string kCities = std::string(OMTEXT_EXAMPLES) + "/cities.json";

// Sets an environment variable for the commands a test runs, and restores
// what was there.
class EnvironmentScope {
 public:
  EnvironmentScope(const char* name, const char* value) : mName(name) {
    if (const char* old = std::getenv(name))
      mOld = old;
    if (value != nullptr) {
      ::setenv(name, value, 1);
    } else {
      ::unsetenv(name);
    }
  }
  ~EnvironmentScope() {
    if (mOld.empty()) {
      ::unsetenv(mName);
    } else {
      ::setenv(mName, mOld.c_str(), 1);
    }
  }

 private:
  const char* mName;
  std::string mOld;
};

class WidthCommand : public omtext::testing::Scratch<> {
 protected:
  std::string Render(std::vector<std::string> arguments) {
    arguments.push_back(kCities);
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
  }

  // Runs the command on a terminal of the given width and returns what it
  // printed there, with the terminal's carriage returns taken out.
  std::string RenderOnTerminal(std::vector<std::string> arguments, unsigned short columns) {
    winsize size{};
    size.ws_col = columns;
    size.ws_row = 24;
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (child < 0) {
      ADD_FAILURE() << "forkpty failed";
      return "";
    }
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
    for (;;) {
      const ssize_t got = ::read(terminal, buffer, sizeof buffer);
      if (got > 0) {
        text.append(buffer, static_cast<std::size_t>(got));
      } else if (got < 0 && errno == EINTR) {
        continue;
      } else {
        break;  // end of output: EIO once the command has closed the terminal
      }
    }
    ::close(terminal);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    std::string out;
    for (const char c : text) {
      if (c != '\r')
        out += c;
    }
    return out;
  }
};

TEST_F(WidthCommand, AutoTakesTheTerminalsWidthFirst) {
  const EnvironmentScope columns("COLUMNS", "100");
  const std::string expected = Render({"--width", "40"});
  ASSERT_NE(expected, Render({}));
  EXPECT_EQ(RenderOnTerminal({"--width", "auto"}, 40), expected);
  EXPECT_EQ(RenderOnTerminal({"--width=auto", "--display-width", "columns"}, 40),
            Render({"--width", "40", "--display-width", "columns"}));
}

TEST_F(WidthCommand, AutoWithoutTerminalTakesColumnsElseNoLimit) {
  {
    const EnvironmentScope columns("COLUMNS", "40");
    EXPECT_EQ(Render({"--width", "auto"}), Render({"--width", "40"}));
    // A later --width replaces auto, and auto a number.
    EXPECT_EQ(Render({"--width", "auto", "--width", "50"}), Render({"--width", "50"}));
    EXPECT_EQ(Render({"--width", "50", "--width", "auto"}), Render({"--width", "40"}));
  }
  const std::string unlimited = Render({});
  for (const char* value :
       {static_cast<const char*>(nullptr), "", "0", "-40", "40x", "abc", "99999999999"}) {
    const EnvironmentScope columns("COLUMNS", value);
    EXPECT_EQ(Render({"--width", "auto"}), unlimited) << (value ? value : "unset");
  }
}

TEST_F(WidthCommand, ColumnsLineUpTheCitiesTable) {
  // Each body line of the cities table is as wide on screen as the first.
  const std::string out = Render({"--display-width", "columns"});
  std::istringstream lines(out);
  std::string line;
  std::vector<std::size_t> widths;
  while (std::getline(lines, line)) {
    if (!line.empty() && line[0] == '|') {
      std::size_t columns = 0;
      for (std::size_t i = 0; i < line.size(); ++i) {
        const auto c = static_cast<unsigned char>(line[i]);
        if ((c & 0xC0) == 0x80)
          continue;
        // The table's wide characters are CJK and Hangul, 3 bytes each.
        columns += c >= 0xE3 && c <= 0xED ? 2 : 1;
      }
      widths.push_back(columns);
    }
  }
  ASSERT_GT(widths.size(), 10u);
  for (const std::size_t width : widths)
    EXPECT_EQ(width, widths.front());
}

// Every kept rendering of an ASCII document, with the same options and
// --display-width columns.
TEST_F(WidthCommand, AsciiRenderingsAreTheSameInColumns) {
  int compared = 0;
  const std::string reference = std::string(OMTEXT_TEST_DATA) + "/reference";
  const std::string corrections = reference + "-corrections";
  const std::string examples = OMTEXT_EXAMPLES;
  for (const auto& [documents, expected] : std::vector<std::pair<std::string, std::string>>{
           {reference, reference}, {examples, examples + "/expected"}}) {
    std::istringstream sets(ReadFile(documents + "/options.txt"));
    for (std::string set; std::getline(sets, set);) {
      const std::size_t tab = set.find('\t');
      if (set.empty() || set[0] == '#' || tab == std::string::npos)
        continue;
      std::vector<std::string> arguments;
      std::istringstream words(set.substr(tab + 1));
      for (std::string word; words >> word;)
        arguments.push_back(word);
      const std::string name = set.substr(0, tab);
      for (const std::string& file : omtext::testing::ListFiles(expected, "." + name + ".txt")) {
        const std::string document = documents + "/" + file.substr(0, file.find('.')) + ".json";
        const std::string text = ReadFile(document);
        bool ascii = true;
        for (const char c : text)
          ascii = ascii && static_cast<unsigned char>(c) < 0x80;
        const std::string kept = omtext::testing::Exists(corrections + "/" + file)
                                     ? corrections + "/" + file
                                     : expected + "/" + file;
        if (!ascii || !omtext::testing::Exists(document))
          continue;
        std::vector<std::string> columns = arguments;
        columns.insert(columns.end(), {"--display-width", "columns", document});
        const Result result = Run(columns);
        EXPECT_EQ(result.out, ReadFile(kept)) << file;
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 20);
}

}  // namespace
