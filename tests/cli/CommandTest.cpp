// The omtext command, run as a built binary: its output, standard error and
// exit status for options, inputs and failures, in both modes. Usage errors
// and bad documents read from standard input are the bad-input corpus's.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::ReadFile;
using omtext::testing::ShellQuote;
using omtext::testing::WriteFile;
using Result = omtext::testing::CommandResult;
using Command = omtext::testing::Scratch<>;

const char* const kDocument =
    R"({"output": [{"type": "procedure", "text": "P", "children": [
         {"type": "heading", "text": "H", "selected": false},
         {"type": "text", "lines": ["line"]}]},
       {"type": "heading", "text": "Second"}]})";
const char* const kRendered = "P\nline\nSecond\n";

// A document of count headings, each holding text.
std::string Headings(int count, const std::string& text = "h") {
  std::string document = R"({"output": [)";
  for (int i = 0; i < count; ++i)
    document += std::string(i ? "," : "") + R"({"type":"heading","text":")" + text + "\"}";
  return document + "]}";
}

TEST_F(Command, ReadsFileOrStandardInputAndTakesOptionsAnywhere) {
  WriteFile(Path("doc.json"), kDocument);
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {Path("doc.json")}, {"-"}, {}, {"--", Path("doc.json")}}) {
    const Result result = Run(arguments, kDocument);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, kRendered);
  }
  WriteFile(Path("two.json"), Headings(2));
  EXPECT_EQ(Run({Path("two.json"), "--page-length", "+2"}).out, "h\nh\n\f\n");
  // After "--" a name that looks like an option is a file.
  const Result odd = Run({"--", "-odd.json"});
  EXPECT_EQ(odd.status, 1);
  EXPECT_EQ(odd.err, "omtext: -odd.json: No such file or directory\n");
}

TEST_F(Command, UnreadableOrBadFileGivesOneLineAndNoOutput) {
  WriteFile(Path("bad.json"), "{\"output\": [\n  {\"type\": \"heading\"}]}");
  const Result result = Run({Path("bad.json")});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "omtext: " + Path("bad.json") + ":2:3: missing key \"text\" in a \"heading\" part\n");
  EXPECT_EQ(Run({dir}).err, "omtext: " + dir + ": Is a directory\n");
}

// Permissions, links and temporary files are the symbolic-link test's.
TEST_F(Command, OutputFileIsReplacedOnlyOnSuccess) {
  WriteFile(Path("out.txt"), "old contents\n");
  EXPECT_EQ(Run({"-o", Path("out.txt")}, "{\"output\": 5}").status, 1);
  EXPECT_EQ(ReadFile(Path("out.txt")), "old contents\n");
  Run({"-o", Path("new.txt")}, "{\"output\": 5}");
  EXPECT_FALSE(omtext::testing::Exists(Path("new.txt")));
  const Result result = Run({"-o", Path("out.txt")}, kDocument);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(ReadFile(Path("out.txt")), kRendered);
  EXPECT_EQ(Run({"-o", "/dev/null"}, kDocument).status, 0);
}

TEST_F(Command, WriteFailuresNameTheFileAndExitWithOne) {
  const std::string full = "write error: No space left on device\n";
  EXPECT_EQ(Run({}, kDocument, "> /dev/full").err, "omtext: standard output: " + full);
  EXPECT_EQ(Run({"-o", "/dev/full"}, kDocument).err, "omtext: /dev/full: " + full);
  for (const char* option : {"--help", "--version"}) {
    const Result result = Run({option}, "", "> /dev/full");
    EXPECT_EQ(result.status, 1) << option;
    EXPECT_EQ(result.err, "omtext: standard output: " + full) << option;
  }
  // A reader that never reads and exits: more text than a pipe holds must
  // fail to be written, and the closed pipe is reported.
  WriteFile(Path("stdin"), Headings(20000, "0123456789"));
  std::system(("{ " + ShellQuote(OMTEXT_COMMAND) + " < " + ShellQuote(Path("stdin")) + " 2> " +
               ShellQuote(Path("stderr")) + "; echo $? > " + ShellQuote(Path("status")) +
               "; } | true")
                  .c_str());
  EXPECT_EQ(ReadFile(Path("status")), "1\n");
  EXPECT_EQ(ReadFile(Path("stderr")), "omtext: standard output: write error: Broken pipe\n");
}

TEST_F(Command, OutputFileThatCannotBeReplacedSaysWhy) {
  // Nothing can be created in /proc, though its files exist.
  Result result = Run({"-o", "/proc/version"}, kDocument);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.rfind("omtext: /proc/version: cannot create a temporary file in /proc to "
                             "write it: ",
                             0),
            0u)
      << result.err;
  result = Run({"-o", Path("no/such.txt")}, kDocument);
  EXPECT_EQ(result.err, "omtext: " + Path("no/such.txt") + ": cannot create a temporary file in " +
                            Path("no") + " to write it: No such file or directory\n");
  ASSERT_EQ(::symlink("loop-b", Path("loop-a").c_str()), 0);
  ASSERT_EQ(::symlink("loop-a", Path("loop-b").c_str()), 0);
  EXPECT_EQ(Run({"-o", Path("loop-a")}, kDocument).err,
            "omtext: " + Path("loop-a") + ": Too many levels of symbolic links\n");
}

TEST_F(Command, OutputOntoASymbolicLinkWritesTheFileItPointsTo) {
  // A dangling link, relative to its own folder: the file it names appears.
  ASSERT_EQ(::mkdir(Path("sub").c_str(), 0755), 0);
  ASSERT_EQ(::symlink("target.txt", Path("sub/link").c_str()), 0);
  ASSERT_EQ(::symlink("sub/link", Path("chain").c_str()), 0);
  EXPECT_EQ(Run({"-o", Path("chain")}, kDocument).status, 0);
  EXPECT_EQ(ReadFile(Path("sub/target.txt")), kRendered);
  // Replacing the existing target keeps both links and its permissions.
  ::chmod(Path("sub/target.txt").c_str(), 0600);
  EXPECT_EQ(Run({"-o", Path("chain")}, Headings(1)).status, 0);
  EXPECT_EQ(ReadFile(Path("sub/target.txt")), "h\n");
  struct stat info {};
  ASSERT_EQ(::lstat(Path("chain").c_str(), &info), 0);
  EXPECT_TRUE(S_ISLNK(info.st_mode));
  ASSERT_EQ(::lstat(Path("sub/link").c_str(), &info), 0);
  EXPECT_TRUE(S_ISLNK(info.st_mode));
  ASSERT_EQ(::stat(Path("sub/target.txt").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  EXPECT_EQ(omtext::testing::TemporaryFiles(Path("sub")), std::vector<std::string>{});
}

TEST_F(Command, ResourceLimitsAreRefusedBeforeAnyOutput) {
  auto table = [](const std::string& axis, int count) {
    std::string categories = "[\"c\"";
    for (int i = 1; i < count; ++i)
      categories += ",\"c" + std::to_string(i) + "\"";
    return R"({"output": [{"type": "heading", "text": "before"}, {"type": "pivot-table",
      "dimensions": [{"label": "A", "axis": ")" +
           axis + R"(", "categories": )" + categories + R"(]}, {"label": "B", "axis": ")" + axis +
           R"(", "categories": )" + categories + R"(, "x"]}]}]})";
  };
  // Two row dimensions of 100,001 and 100,000 leaves: fine with empty rows
  // hidden, ten billion rows with them shown.
  const std::string rows = table("row", 100000);
  EXPECT_EQ(Run({}, rows).status, 0);
  const Result refused = Run({"--show-empty"}, rows);
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err,
            "omtext: -: pivot table 1 has up to 10000100000 rows and 1 column, more than can be "
            "laid out\n");
  const std::string layers = table("layer", 1000);
  EXPECT_EQ(Run({}, layers).err,
            "omtext: -: pivot table 1 has 1001000 layers; the limit is 1000000\n");
  EXPECT_EQ(Run({"--current-layer"}, layers).status, 0);
  const std::string longString(std::size_t{1} << 24 | 1, 'x');
  EXPECT_EQ(Run({}, R"({"output": [{"type": "heading", "text": ")" + longString + "\"}]}").err,
            "omtext: -:1:41: a string may hold at most 16777216 bytes\n");
  const std::string longCell((std::size_t{1} << 16) + 1, 'x');
  EXPECT_EQ(Run({}, R"({"output": [{"type": "pivot-table", "data": ")" + longCell + "\"}]}").err,
            "omtext: -:1:45: a cell's text may hold at most 65536 bytes\n");
}

// Destination mode: the command hands each top-level part to the text file
// destination with the host settings taken from the options.
const std::string kMark = "\xEF\xBB\xBF";

// A page title (whose child is not exported), a procedure with children, a
// heading, and a procedure with a notes table.
const char* const kDestinationDocument = R"({"output": [
  {"type": "page-title", "text": "Title", "subtitle": "Sub",
   "children": [{"type": "heading", "text": "not exported"}]},
  {"type": "procedure", "text": "P", "children": [{"type": "heading", "text": "H"}]},
  {"type": "heading", "text": "Second"},
  {"type": "procedure", "text": "Crosstabs", "children": [
    {"type": "pivot-table", "title": "Counts", "notes": true,
     "dimensions": [{"label": "Sex", "axis": "row", "categories": ["Male", "Female"]},
                    {"label": "Answer", "axis": "column", "categories": ["Yes", "No"]}],
     "data": [[1, 2], [3, 40]]}]}]})";

const std::string kDestinationRendered =
    "Title\nSub\nP\nH\nSecond\nCrosstabs\nCounts\n\n"
    " Sex    Answer \n"
    "        Yes No \n"
    " Male   1   2  \n"
    " Female 3   40 \n\n";

class DestinationCommand : public omtext::testing::Scratch<> {
 protected:
  // Runs the command on the document with out.txt as destination,
  // expecting success, and returns what the destination wrote.
  std::string Written(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--destination", Path("out.txt")});
    const Result result = Run(arguments, kDestinationDocument);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out + result.err, "");
    return ReadFile(Path("out.txt"));
  }
};

TEST_F(DestinationCommand, WritesEachTopLevelPartWithTheHostsSettings) {
  WriteFile(Path("out.txt"), "old contents, longer than what replaces them\n");
  // Stream export options and -o are not used.
  EXPECT_EQ(
      Written({"-o", Path("o.txt"), "--page-breaks", "--column-separator", "#", "--no-footnotes"}),
      kMark + kDestinationRendered);
  EXPECT_FALSE(omtext::testing::Exists(Path("o.txt")));
  EXPECT_EQ(Written({"--encoding=single-byte"}), kDestinationRendered);
  // The page length is six lines more than the host's, without overflow: at
  // seven the eight lines of Crosstabs do not fit, so its table starts a page.
  EXPECT_EQ(Written({"--page-length", "1"}), kMark + "Title\nSub\nP\nH\nSecond\nCrosstabs\n\f\n" +
                                                 kDestinationRendered.substr(31) + "\f\n");
  EXPECT_EQ(Written({"--page-length=2147483647"}), kMark + kDestinationRendered);
  EXPECT_NE(Written({"--width", "12"}).find("\n Sex Answer \n"), std::string::npos);
  EXPECT_NE(Written({"--width", "12", "--tab-separated"}).find("\nFemale\t3\t40\n"),
            std::string::npos);
}

TEST_F(DestinationCommand, UnusableFilesExitWithOneAndTheHostsMessage) {
  const std::pair<std::string, std::string> cases[] = {
      {dir, "File " + dir + " is read only."},
      {"/dev/full", "/dev/full: write error: No space left on device"}};
  for (const auto& [spec, message] : cases) {
    const Result result = Run({"--destination", spec}, kDestinationDocument);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "omtext: " + message + "\n");
  }
}

TEST_F(DestinationCommand, RejectedDocumentLeavesTheFileUntouched) {
  WriteFile(Path("out.txt"), "keep");
  const std::string bad = R"({"output": [{"type": "heading"}]})";
  const Result result = Run({"--destination", Path("out.txt")}, bad);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.rfind("omtext: -:1:", 0), 0u) << result.err;
  EXPECT_EQ(ReadFile(Path("out.txt")), "keep");
  EXPECT_EQ(Run({"--destination", Path("new.txt")}, bad).status, 1);
  EXPECT_FALSE(omtext::testing::Exists(Path("new.txt")));
}

}  // namespace
