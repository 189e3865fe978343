// The command against bad input: every case of tests/data/bad-input runs the
// built command and compares its exit status, standard error and standard
// output exactly. A case NAME has:
//
// - NAME.expected: "exit N" on the first line; on the second "stderr",
//   followed by a blank and the one line standard error must hold, or alone
//   when it must be empty; then, when standard output is not to be empty, a
//   line "stdout" and the exact output up to the end of the file. For exit
//   status 2 the line is the usage error, which the usage text follows.
// - NAME.json (optional): the document, given on standard input; without it
//   common.json is given.
// - NAME.args (optional): the arguments, one per line; an empty line is an
//   empty argument.
//
// A few cases that need more bytes than a file should hold (huge
// separators, deep nesting) are built here in code.
#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::CommandResult;
using omtext::testing::ReadFile;
using omtext::testing::WriteFile;

const std::string kCorpus = std::string(OMTEXT_TEST_DATA) + "/bad-input";

struct BadInputCase {
  std::string name;
};

// Names a case in failure messages instead of dumping its fields.
void PrintTo(const BadInputCase& badInput, std::ostream* out) {
  *out << badInput.name;
}

std::vector<BadInputCase> DiscoverCases() {
  const std::string suffix = ".expected";
  std::vector<BadInputCase> cases;
  if (DIR* handle = ::opendir(kCorpus.c_str())) {
    while (const dirent* entry = ::readdir(handle)) {
      const std::string name = entry->d_name;
      if (name.size() > suffix.size() &&
          name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
        cases.push_back({name.substr(0, name.size() - suffix.size())});
      }
    }
    ::closedir(handle);
  }
  std::sort(cases.begin(), cases.end(),
            [](const BadInputCase& a, const BadInputCase& b) { return a.name < b.name; });
  return cases;
}

struct Expectation {
  int status = -1;
  std::string err;  // the one line, with its line feed, or empty
  std::string out;
};

// Reads NAME.expected; a malformed file fails the test that reads it.
Expectation ReadExpectation(const std::string& path) {
  const std::string text = ReadFile(path);
  Expectation expected;
  std::istringstream in(text);
  std::string exitLine;
  std::string errLine;
  std::getline(in, exitLine);
  std::getline(in, errLine);
  if (exitLine.rfind("exit ", 0) != 0 ||
      (errLine != "stderr" && errLine.rfind("stderr ", 0) != 0)) {
    ADD_FAILURE() << path << " does not start with \"exit N\" and \"stderr ...\"";
    return expected;
  }
  expected.status = std::atoi(exitLine.c_str() + 5);
  if (errLine != "stderr")
    expected.err = errLine.substr(7) + "\n";
  const std::size_t headerEnd = exitLine.size() + 1 + errLine.size() + 1;
  if (headerEnd < text.size()) {
    const std::string rest = text.substr(headerEnd);
    if (rest.rfind("stdout\n", 0) != 0) {
      ADD_FAILURE() << path << ": the third line must be \"stdout\"";
      return expected;
    }
    expected.out = rest.substr(7);
  }
  return expected;
}

std::vector<std::string> ReadArguments(const std::string& path) {
  std::vector<std::string> arguments;
  if (::access(path.c_str(), F_OK) != 0)
    return arguments;
  std::istringstream in(ReadFile(path));
  for (std::string line; std::getline(in, line);)
    arguments.push_back(line);
  return arguments;
}

class BadInput : public ::testing::TestWithParam<BadInputCase> {
 protected:
  void SetUp() override { dir = omtext::testing::MakeScratchDirectory(); }
  void TearDown() override { omtext::testing::RemoveDirectory(dir); }

  // What --help prints, which a usage error prints after its message.
  const std::string& Usage() {
    static const std::string usage = omtext::testing::RunCommand({"--help"}, "/dev/null", dir).out;
    return usage;
  }

  std::string dir;
};

TEST_P(BadInput, ExitStatusErrorLineAndOutputAreExact) {
  const std::string base = kCorpus + "/" + GetParam().name;
  const Expectation expected = ReadExpectation(base + ".expected");
  const std::string document =
      ::access((base + ".json").c_str(), F_OK) == 0 ? base + ".json" : kCorpus + "/common.json";
  const CommandResult result =
      omtext::testing::RunCommand(ReadArguments(base + ".args"), document, dir);
  EXPECT_EQ(result.status, expected.status);
  EXPECT_EQ(result.err, expected.status == 2 ? expected.err + Usage() : expected.err);
  EXPECT_EQ(result.out, expected.out);
}

INSTANTIATE_TEST_SUITE_P(Corpus, BadInput, ::testing::ValuesIn(DiscoverCases()),
                         [](const ::testing::TestParamInfo<BadInputCase>& param) {
                           std::string name = param.param.name;
                           std::replace_if(
                               name.begin(), name.end(),
                               [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); },
                               '_');
                           return name;
                         });

// Cases built in code: inputs too large for a corpus file, and arguments
// holding line feeds, which the corpus's .args files cannot express.
class BadInputCommand : public ::testing::Test {
 protected:
  void SetUp() override { dir = omtext::testing::MakeScratchDirectory(); }
  void TearDown() override { omtext::testing::RemoveDirectory(dir); }

  CommandResult Run(const std::vector<std::string>& arguments, const std::string& document) {
    WriteFile(dir + "/stdin", document);
    return omtext::testing::RunCommand(arguments, dir + "/stdin", dir);
  }

  std::string dir;
};

TEST_F(BadInputCommand, HugeSeparatorsAreUsedWhole) {
  // The runner passes the whole command line to the shell as one argument,
  // which the system caps at 128 KiB.
  const std::string column(50000, '<');
  const std::string row(50000, '=');
  const std::string document = R"({"output": [{"type": "pivot-table", "data": "v"}]})";
  // The rule of a one-byte column takes the row separator once, whole.
  const std::string rule = column + row + column + "\n";
  CommandResult result = Run({"--column-separator", column, "--row-separator", row}, document);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(result.out == "\n" + rule + column + "v" + column + "\n" + rule + "\n");
  for (const char* width : {"1", "0", "-2147483648", "2147483647"}) {
    result =
        Run({"--column-separator", column, "--row-separator", row, "--width", width}, document);
    EXPECT_EQ(result.status, 0) << width;
    EXPECT_TRUE(result.out == "\n" + rule + column + "v" + column + "\n" + rule + "\n") << width;
  }
  result = Run({"--column-separator", column, "--row-separator", row, "--tab-separated"}, document);
  EXPECT_EQ(result.out, "v\n\n");
}

TEST_F(BadInputCommand, DeepNestingIsRefusedWithoutExhaustingTheStack) {
  const std::size_t deep = 1000000;
  // A value that arrives before the key that gives it its meaning is kept
  // for later, however deep it is nested.
  CommandResult result = Run({}, R"({"output": [{"text": )" + std::string(deep, '[') +
                                     std::string(deep, ']') + R"(, "type": "heading"}]})");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: -:1:22: expected a string for \"text\", found a list\n");
  result = Run({}, R"({"output": [)" + std::string(deep, '[') + std::string(deep, ']') + "]}");
  EXPECT_EQ(result.err, "omtext: -:1:13: expected a part (an object), found a list\n");

  // Parts and category groups may nest 1000 levels, not more.
  auto nestedParts = [](int levels) {
    std::string document = R"({"output": [)";
    for (int i = 1; i < levels; ++i)
      document += R"({"type": "heading", "text": "h", "children": [)";
    document += R"({"type": "heading", "text": "h"})";
    for (int i = 1; i < levels; ++i)
      document += "]}";
    return document + "]}";
  };
  result = Run({}, nestedParts(1000));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.size(), 2000u);
  result = Run({}, nestedParts(1001));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: -:1:46012: parts are nested more than 1000 levels deep\n");
  std::string groups;
  for (int i = 0; i < 1001; ++i)
    groups += R"({"group": "g", "categories": [)";
  groups += R"("leaf")";
  for (int i = 0; i < 1001; ++i)
    groups += "]}";
  result = Run(
      {},
      R"({"output": [{"type": "pivot-table", "dimensions": [{"label": "R", "axis": "row", "categories": [)" +
          groups + "]}]}]}");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: -:1:30067: categories are nested more than 1000 levels deep\n");
}

TEST_F(BadInputCommand, ArgumentsWithLineBreaksStillGiveOneLine) {
  const std::string document = R"({"output": [{"type": "heading", "text": "h"}]})";
  CommandResult result = Run({"--width", "1\n2"}, document);
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err.substr(0, result.err.find("usage:")),
            "omtext: option --width needs a 32-bit integer, not '1\\n2'\n");
  result = Run({"--encoding", "\t\x01"}, document);
  EXPECT_EQ(result.err.substr(0, result.err.find("usage:")),
            "omtext: option --encoding needs utf-8, single-byte or double-byte, not "
            "'\\t\\u0001'\n");
  result = Run({"--bo\rgus"}, document);
  EXPECT_EQ(result.err.substr(0, result.err.find("usage:")),
            "omtext: unknown option '--bo\\rgus'\n");
  result = Run({dir + "/no\nfile.json"}, document);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: " + dir + "/no\\nfile.json: No such file or directory\n");
  result = Run({"-o", dir + "/missing/a\nb"}, document);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: " + dir + "/missing/a\\nb: No such file or directory\n");
  result = Run({"--destination", dir + "/missing/a\nb"}, document);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: File " + dir + "/missing/a\\nb creation failed.\n");
}

}  // namespace
