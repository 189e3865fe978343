// The command in destination mode, run as a built binary: the file it writes,
// the host settings it takes from the options, and how it reports files it
// cannot use.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::CommandResult;
using omtext::testing::ReadFile;
using omtext::testing::WriteFile;

const std::string kMark = "\xEF\xBB\xBF";

// A page title (whose child is not exported), a procedure with children, a
// heading, and a procedure with a notes table.
const char* const kDocument = R"({"output": [
  {"type": "page-title", "text": "Title", "subtitle": "Sub",
   "children": [{"type": "heading", "text": "not exported"}]},
  {"type": "procedure", "text": "P", "children": [{"type": "heading", "text": "H"}]},
  {"type": "heading", "text": "Second"},
  {"type": "procedure", "text": "Crosstabs", "children": [
    {"type": "pivot-table", "title": "Counts", "notes": true,
     "dimensions": [{"label": "Sex", "axis": "row", "categories": ["Male", "Female"]},
                    {"label": "Answer", "axis": "column", "categories": ["Yes", "No"]}],
     "data": [[1, 2], [3, 40]]}]}]})";

const std::string kRendered =
    "Title\nSub\nP\nH\nSecond\nCrosstabs\nCounts\n\n"
    " Sex    Answer \n"
    "        Yes No \n"
    " Male   1   2  \n"
    " Female 3   40 \n\n";

class DestinationCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = omtext::testing::MakeScratchDirectory();
    WriteFile(Path("doc.json"), kDocument);
  }
  void TearDown() override { omtext::testing::RemoveDirectory(dir); }

  std::string Path(const std::string& name) const { return dir + "/" + name; }
  // Runs the command on doc.json with the arguments before it.
  CommandResult Run(std::vector<std::string> arguments) {
    arguments.push_back(Path("doc.json"));
    WriteFile(Path("stdin"), "");
    return omtext::testing::RunCommand(arguments, Path("stdin"), dir);
  }
  // Runs the command, expecting success, and returns the destination's text.
  std::string Written(const std::vector<std::string>& arguments) {
    const CommandResult result = Run(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out + result.err, "");
    return ReadFile(Path("out.txt"));
  }

  std::string dir;
};

TEST_F(DestinationCommand, WritesEachTopLevelPartWithTheHostsSettings) {
  WriteFile(Path("out.txt"), "old contents, longer than what replaces them\n");
  // Stream export options and -o are not used.
  EXPECT_EQ(Written({"--destination", Path("out.txt"), "-o", Path("o.txt"), "--page-breaks",
                     "--column-separator", "#", "--no-footnotes"}),
            kMark + kRendered);
  EXPECT_NE(::access(Path("o.txt").c_str(), F_OK), 0);
  EXPECT_EQ(Written({"--encoding=single-byte", "--destination=" + Path("out.txt")}), kRendered);
  // The page length is six lines more than the host's, without overflow.
  EXPECT_EQ(Written({"--page-length", "-5", "--destination", Path("out.txt")})
                .rfind(kMark + "Title\nSub\nP\n\f\nH\n\f\nSecond\n\f\nCrosstabs\n\f\n", 0),
            0u);
  EXPECT_EQ(Written({"--page-length=2147483647", "--destination", Path("out.txt")}),
            kMark + kRendered);
  EXPECT_NE(Written({"--width", "12", "--destination", Path("out.txt")}).find("\n Sex Answer \n"),
            std::string::npos);
  EXPECT_NE(Written({"--width", "12", "--tab-separated", "--destination", Path("out.txt")})
                .find("\nFemale\t3\t40\n"),
            std::string::npos);
}

TEST_F(DestinationCommand, UnusableFilesExitWithOneAndTheHostsMessage) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {dir, "File " + dir + " is read only."},
      {Path("missing/out.txt"), "File " + Path("missing/out.txt") + " creation failed."},
      {" '' ", "File  ''  creation failed."}};
  for (const auto& [spec, message] : cases) {
    const CommandResult result = Run({"--destination", spec});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "omtext: " + message + "\n");
  }
  WriteFile(Path("held.txt"), "unchanged");
  const int fd = ::open(Path("held.txt").c_str(), O_RDWR | O_CLOEXEC);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  ASSERT_EQ(::fcntl(fd, F_OFD_SETLK, &lock), 0);
  const CommandResult busy = Run({"--destination", Path("held.txt")});
  ::close(fd);
  EXPECT_EQ(busy.status, 1);
  EXPECT_EQ(busy.err, "omtext: File " + Path("held.txt") + " is busy.\n");
  EXPECT_EQ(ReadFile(Path("held.txt")), "unchanged");
  if (::access("/dev/full", W_OK) == 0) {
    const CommandResult full = Run({"--destination", "/dev/full"});
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.err, "omtext: /dev/full: write error: No space left on device\n");
  }
}

TEST_F(DestinationCommand, RejectedDocumentLeavesTheFileUntouched) {
  WriteFile(Path("out.txt"), "keep");
  WriteFile(Path("doc.json"), R"({"output": [{"type": "heading"}]})");
  const CommandResult result = Run({"--destination", Path("out.txt")});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.rfind("omtext: " + Path("doc.json") + ":1:", 0), 0u) << result.err;
  EXPECT_EQ(ReadFile(Path("out.txt")), "keep");
  EXPECT_EQ(Run({"--destination", Path("new.txt")}).status, 1);
  EXPECT_NE(::access(Path("new.txt").c_str(), F_OK), 0);
}

}  // namespace
