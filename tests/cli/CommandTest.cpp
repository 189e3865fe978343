// The omtext command, run as a built binary: its output, standard error and
// exit status for options, inputs and failures.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::CommandResult;
using omtext::testing::ReadFile;
using omtext::testing::ShellQuote;
using omtext::testing::WriteFile;
using Result = CommandResult;

class Command : public ::testing::Test {
 protected:
  void SetUp() override { dir = omtext::testing::MakeScratchDirectory(); }
  void TearDown() override { omtext::testing::RemoveDirectory(dir); }

  std::string Path(const std::string& name) const { return dir + "/" + name; }

  // Runs the command with the given arguments, standard input from text.
  Result Run(const std::vector<std::string>& arguments, const std::string& input = "",
             const std::string& redirect = "") {
    WriteFile(Path("stdin"), input);
    return omtext::testing::RunCommand(arguments, Path("stdin"), dir, redirect);
  }

  std::string dir;
};

const char* const kDocument =
    R"({"output": [{"type": "procedure", "text": "P", "children": [
         {"type": "heading", "text": "H", "selected": false},
         {"type": "text", "lines": ["line"]}]},
       {"type": "heading", "text": "Second"}]})";

TEST_F(Command, RendersAWholeDocumentFromFileOrStandardInput) {
  WriteFile(Path("doc.json"), kDocument);
  const std::string expected = "P\nline\nSecond\n";
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {Path("doc.json")}, {"-"}, {}, {"--", Path("doc.json")}}) {
    const Result result = Run(arguments, kDocument);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, expected);
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(Command, DefaultPageLengthIsEffectivelyEndless) {
  std::string document = "{\"output\": [";
  for (int i = 0; i < 100; ++i) document += std::string(i ? "," : "") + R"({"type":"heading","text":"h"})";
  document += "]}";
  const Result result = Run({}, document);
  EXPECT_EQ(result.out.find('\f'), std::string::npos);
  // With a page length given, the library's plain comparison applies.
  EXPECT_EQ(Run({"--page-length", "0"}, R"({"output":[{"type":"heading","text":"h"}]})").out,
            "h\n\f\n");
}

TEST_F(Command, OptionHabits) {
  const std::string doc = R"({"output":[{"type":"heading","text":"h"},{"type":"heading","text":"i"}]})";
  WriteFile(Path("doc.json"), doc);
  // --opt=value, --opt value, values beginning with '-', options after FILE.
  EXPECT_EQ(Run({"--page-length=1", Path("doc.json")}).out, "h\n\f\ni\n\f\n");
  EXPECT_EQ(Run({Path("doc.json"), "--page-length", "1", "--tab-separated"}).out, "h\ni\n");
  EXPECT_EQ(Run({"--row-separator", "-", "--width", "-1", "--column-separator=", Path("doc.json")})
                .status,
            0);
  EXPECT_EQ(Run({"--page-length", "+2", Path("doc.json")}).out, "h\ni\n\f\n");
  // After "--" a name that looks like an option is a file (here a missing
  // one, where an option would have been a usage error).
  const Result odd = Run({"--", "-odd.json"});
  EXPECT_EQ(odd.status, 1);
  EXPECT_EQ(odd.err, "omtext: -odd.json: No such file or directory\n");
}

TEST_F(Command, UsageErrorsExitWithTwo) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"--bogus"},
           {"--width"},
           {"--width", "12x"},
           {"--width", ""},
           {"--width", "2147483648"},
           {"--page-length", "-2147483649"},
           {"--encoding", "latin1"},
           {"--tab-separated=yes"},
           {"-x"},
           {"a.json", "b.json"}}) {
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 2) << arguments[0];
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("omtext: ", 0), 0u) << result.err;
    EXPECT_NE(result.err.find("\nusage: omtext"), std::string::npos);
  }
  EXPECT_EQ(Run({"--width", "-2147483648"}, kDocument).status, 0);
}

TEST_F(Command, HelpAndVersion) {
  const Result help = Run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.rfind("usage: omtext [OPTIONS] [FILE]\n", 0), 0u);
  const Result version = Run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.rfind("omtext ", 0), 0u);
}

TEST_F(Command, BadDocumentGivesOneLineAndNoOutput) {
  WriteFile(Path("bad.json"), "{\"output\": [\n  {\"type\": \"heading\"}]}");
  const Result result = Run({Path("bad.json")});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "omtext: " + Path("bad.json") + ":2:3: missing key \"text\" in a \"heading\" part\n");
  EXPECT_EQ(Run({}, "{").err, "omtext: -:1:2: invalid JSON: missing a name for object member\n");
  EXPECT_EQ(Run({Path("missing.json")}).err,
            "omtext: " + Path("missing.json") + ": No such file or directory\n");
  EXPECT_EQ(Run({dir}).err, "omtext: " + dir + ": Is a directory\n");
}

TEST_F(Command, OutputFileIsReplacedOnlyOnSuccess) {
  WriteFile(Path("out.txt"), "old contents\n");
  ::chmod(Path("out.txt").c_str(), 0640);
  Result result = Run({"-o", Path("out.txt")}, "{\"output\": 5}");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(ReadFile(Path("out.txt")), "old contents\n");
  result = Run({"-o", Path("new.txt")}, "{\"output\": 5}");
  EXPECT_EQ(::access(Path("new.txt").c_str(), F_OK), -1);

  result = Run({"-o", Path("out.txt")}, kDocument);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(ReadFile(Path("out.txt")), "P\nline\nSecond\n");
  struct stat info {};
  ASSERT_EQ(::stat(Path("out.txt").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640u);
  // No temporary file is left beside it.
  EXPECT_EQ(std::system(("test $(ls -A " + ShellQuote(dir) + " | grep -c omtext-) -eq 0").c_str()),
            0);
  EXPECT_EQ(Run({"--output=" + Path("o2.txt")}, kDocument).status, 0);
  EXPECT_EQ(ReadFile(Path("o2.txt")), "P\nline\nSecond\n");
  EXPECT_EQ(Run({"-o", "/dev/null"}, kDocument).status, 0);
  EXPECT_EQ(Run({"-o", Path("no/such/dir.txt")}, kDocument).status, 1);
}

TEST_F(Command, WriteFailuresExitWithOne) {
  const Result full = Run({}, kDocument, "> /dev/full");
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(full.err, "omtext: write error: No space left on device\n");
  // A reader that never reads and exits: more text than a pipe holds must
  // fail to be written, and the closed pipe is reported.
  std::string document = "{\"output\": [";
  for (int i = 0; i < 20000; ++i) {
    document += std::string(i ? "," : "") + R"({"type":"heading","text":"0123456789"})";
  }
  WriteFile(Path("stdin"), document + "]}");
  const std::string command = "{ " + ShellQuote(OMTEXT_COMMAND) + " < " + ShellQuote(Path("stdin")) +
                              " 2> " + ShellQuote(Path("stderr")) + "; echo $? > " +
                              ShellQuote(Path("status")) + "; } | true";
  std::system(command.c_str());
  EXPECT_EQ(ReadFile(Path("status")), "1\n");
  EXPECT_EQ(ReadFile(Path("stderr")), "omtext: write error: Broken pipe\n");
}

TEST_F(Command, ResourceLimitsAreRefusedBeforeAnyOutput) {
  // Two row dimensions of 100,000 leaves: fine with empty rows hidden,
  // ten billion rows with them shown.
  std::string categories = "[";
  for (int i = 0; i < 100000; ++i) categories += (i ? ",\"c" : "\"c") + std::to_string(i) + "\"";
  categories += "]";
  const std::string table =
      R"({"output": [{"type": "heading", "text": "before"}, {"type": "pivot-table", "dimensions": [
        {"label": "A", "axis": "row", "categories": )" + categories + R"(},
        {"label": "B", "axis": "row", "categories": )" + categories + R"(}],
        "cells": [[[0, 0], 1]]}]})";
  EXPECT_EQ(Run({}, table).status, 0);
  for (const std::vector<std::string>& options :
       {std::vector<std::string>{"--show-empty"}, {"--show-empty", "--tab-separated"}}) {
    const Result refused = Run(options, table);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err,
              "omtext: -: pivot table 1 has up to 10000000000 rows and 1 column, more than can be "
              "laid out\n");
  }
  // A layer dimension per 1,001 x 1,000 layers.
  std::string many = "[";
  for (int i = 0; i < 1001; ++i) many += (i ? ",\"c" : "\"c") + std::to_string(i) + "\"";
  many += "]";
  const std::string layered =
      R"({"output": [{"type": "pivot-table", "dimensions": [
        {"label": "A", "axis": "layer", "categories": )" + many + R"(},
        {"label": "B", "axis": "layer", "categories": )" + many.substr(0, many.rfind(",")) + R"(]}]}]})";
  EXPECT_EQ(Run({}, layered).err,
            "omtext: -: pivot table 1 has 1001000 layers; the limit is 1000000\n");
  EXPECT_EQ(Run({"--current-layer"}, layered).status, 0);

  const std::string longString(std::size_t{1} << 24 | 1, 'x');
  EXPECT_EQ(Run({}, R"({"output": [{"type": "heading", "text": ")" + longString + "\"}]}").err,
            "omtext: -:1:41: a string may hold at most 16777216 bytes\n");
  const std::string longCell((std::size_t{1} << 16) + 1, 'x');
  EXPECT_EQ(Run({}, R"({"output": [{"type": "pivot-table", "data": ")" + longCell + "\"}]}").err,
            "omtext: -:1:45: a cell's text may hold at most 65536 bytes\n");
}

}  // namespace
