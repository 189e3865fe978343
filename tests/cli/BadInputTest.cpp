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
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::CommandResult;
using omtext::testing::Exists;
using omtext::testing::ReadFile;

const std::string kCorpus = std::string(OMTEXT_TEST_DATA) + "/bad-input";

// The names of the cases: NAME for every NAME.expected.
std::vector<std::string> DiscoverCases() {
  std::vector<std::string> names;
  for (const std::string& file : omtext::testing::ListFiles(kCorpus, ".expected"))
    names.push_back(file.substr(0, file.size() - 9));
  return names;
}

class BadInput : public omtext::testing::Scratch<::testing::TestWithParam<std::string>> {};

TEST_P(BadInput, ExitStatusErrorLineAndOutputAreExact) {
  const std::string base = kCorpus + "/" + GetParam();
  // NAME.expected; a malformed one fails the case.
  const std::string text = ReadFile(base + ".expected");
  std::istringstream in(text);
  std::string exitLine;
  std::string errLine;
  std::getline(in, exitLine);
  std::getline(in, errLine);
  ASSERT_TRUE(exitLine.rfind("exit ", 0) == 0 &&
              (errLine == "stderr" || errLine.rfind("stderr ", 0) == 0))
      << base << ".expected does not start with \"exit N\" and \"stderr ...\"";
  const std::string rest = text.substr(std::min(text.size(), exitLine.size() + errLine.size() + 2));
  ASSERT_TRUE(rest.empty() || rest.rfind("stdout\n", 0) == 0)
      << base << ".expected: the third line must be \"stdout\"";
  const int status = std::stoi(exitLine.substr(5));
  std::string err = errLine == "stderr" ? "" : errLine.substr(7) + "\n";
  if (status == 2) {  // the usage text, as --help prints it, follows a usage error
    static const std::string usage = omtext::testing::RunCommand({"--help"}, "/dev/null", dir).out;
    err += usage;
  }

  std::vector<std::string> arguments;
  std::istringstream args(Exists(base + ".args") ? ReadFile(base + ".args") : "");
  for (std::string line; std::getline(args, line);)
    arguments.push_back(line);
  const CommandResult result = omtext::testing::RunCommand(
      arguments, Exists(base + ".json") ? base + ".json" : kCorpus + "/common.json", dir);
  EXPECT_EQ(result.status, status);
  EXPECT_EQ(result.err, err);
  EXPECT_EQ(result.out, rest.empty() ? "" : rest.substr(7));
}

INSTANTIATE_TEST_SUITE_P(Corpus, BadInput, ::testing::ValuesIn(DiscoverCases()),
                         [](const ::testing::TestParamInfo<std::string>& param) {
                           std::string id = param.param;
                           std::replace_if(
                               id.begin(), id.end(),
                               [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); },
                               '_');
                           return id;
                         });

// Cases built in code: inputs too large for a corpus file, and arguments
// holding line feeds, which the corpus's .args files cannot express.
using BadInputCommand = omtext::testing::Scratch<>;

TEST_F(BadInputCommand, HugeSeparatorsAreUsedWhole) {
  // The runner passes the whole command line to the shell as one argument,
  // which the system caps at 128 KiB.
  const std::string column(50000, '<');
  const std::string row(50000, '=');
  const std::string document = R"({"output": [{"type": "pivot-table", "data": "v"}]})";
  // The rule of a one-byte column takes the row separator once, whole.
  const std::string rule = column + row + column + "\n";
  for (const char* width : {"", "1", "0", "-2147483648", "2147483647"}) {
    std::vector<std::string> options = {"--column-separator", column, "--row-separator", row};
    if (*width != '\0')
      options.insert(options.end(), {"--width", width});
    const CommandResult result = Run(options, document);
    EXPECT_EQ(result.status, 0) << width;
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(result.out == "\n" + rule + column + "v" + column + "\n" + rule + "\n") << width;
  }
  EXPECT_EQ(
      Run({"--column-separator", column, "--row-separator", row, "--tab-separated"}, document).out,
      "v\n\n");
}

TEST_F(BadInputCommand, DeepNestingIsRefusedWithoutExhaustingTheStack) {
  const std::string deep = std::string(1000000, '[') + std::string(1000000, ']');
  // A value that arrives before the key that gives it its meaning is kept
  // for later, however deep it is nested.
  CommandResult result = Run({}, R"({"output": [{"text": )" + deep + R"(, "type": "heading"}]})");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: -:1:22: expected a string for \"text\", found a list\n");
  EXPECT_EQ(Run({}, R"({"output": [)" + deep + "]}").err,
            "omtext: -:1:13: expected a part (an object), found a list\n");

  // Parts and category groups may nest 1000 levels, not more.
  auto nested = [](int levels, const std::string& open, const std::string& leaf) {
    std::string text;
    for (int i = 0; i < levels; ++i)
      text += open;
    text += leaf;
    for (int i = 0; i < levels; ++i)
      text += "]}";
    return text;
  };
  const std::string part = R"({"type": "heading", "text": "h", "children": [)";
  const std::string heading = R"({"type": "heading", "text": "h"})";
  result = Run({}, R"({"output": [)" + nested(999, part, heading) + "]}");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.size(), 2000u);
  result = Run({}, R"({"output": [)" + nested(1000, part, heading) + "]}");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: -:1:46012: parts are nested more than 1000 levels deep\n");
  result = Run({}, R"({"output": [{"type": "pivot-table", "dimensions": [{"label": "R", )"
                   R"("axis": "row", "categories": [)" +
                       nested(1001, R"({"group": "g", "categories": [)", "\"leaf\"") + "]}]}]}");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: -:1:30067: categories are nested more than 1000 levels deep\n");
}

TEST_F(BadInputCommand, ArgumentsWithLineBreaksStillGiveOneLine) {
  const std::string document = R"({"output": [{"type": "heading", "text": "h"}]})";
  const std::string missing = dir + "/missing/a\\nb";
  const struct {
    std::vector<std::string> arguments;
    int status;
    std::string err;  // up to the usage text
  } cases[] = {
      {{"--width", "1\n2"}, 2, "option --width needs a 32-bit integer, not '1\\n2'"},
      {{"--encoding", "\t\x01"},
       2,
       "option --encoding needs utf-8, single-byte or double-byte, not '\\t\\u0001'"},
      {{"--bo\rgus"}, 2, "unknown option '--bo\\rgus'"},
      {{dir + "/no\nfile.json"}, 1, dir + "/no\\nfile.json: No such file or directory"},
      {{"-o", dir + "/missing/a\nb"},
       1,
       missing + ": cannot create a temporary file in " + dir +
           "/missing to write it: No such file or directory"},
      {{"--destination", dir + "/missing/a\nb"}, 1, "File " + missing + " creation failed."},
  };
  for (const auto& c : cases) {
    const CommandResult result = Run(c.arguments, document);
    EXPECT_EQ(result.status, c.status) << c.err;
    EXPECT_EQ(result.err.substr(0, result.err.find("usage:")), "omtext: " + c.err + "\n");
  }
}

}  // namespace
