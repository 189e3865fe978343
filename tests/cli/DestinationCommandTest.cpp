// The command in destination mode, run as a built binary: the file it writes,
// the host settings it takes from the options, and how it reports files it
// cannot use.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
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
// heading, and a notes table in a procedure of its own.
const char* const kDocument = R"({"output": [
  {"type": "page-title", "text": "Title", "subtitle": "Sub",
   "children": [{"type": "heading", "text": "not exported"}]},
  {"type": "procedure", "text": "P", "children": [
    {"type": "heading", "text": "H"},
    {"type": "text", "lines": ["line"]}]},
  {"type": "heading", "text": "Second"},
  {"type": "procedure", "text": "Crosstabs", "children": [
    {"type": "pivot-table", "title": "Counts", "caption": "cap", "notes": true,
     "dimensions": [{"label": "Sex", "axis": "row", "categories": ["Male", "Female"]},
                    {"label": "Answer", "axis": "column", "categories": ["Yes", "No"]}],
     "data": [[1, 2], [3, 40]]}]}]})";

const std::string kRendered =
    "Title\nSub\nP\nH\nline\nSecond\nCrosstabs\nCounts\n\n"
    " Sex    Answer \n"
    "        Yes No \n"
    " Male   1   2  \n"
    " Female 3   40 \n"
    "cap\n\n";

class DestinationCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = omtext::testing::MakeScratchDirectory();
    WriteFile(Path("doc.json"), kDocument);
  }
  void TearDown() override {
    ::chmod(dir.c_str(), 0700);
    omtext::testing::RemoveDirectory(dir);
  }

  std::string Path(const std::string& name) const { return dir + "/" + name; }

  // Runs the command on doc.json with the arguments before it.
  CommandResult Run(std::vector<std::string> arguments) {
    arguments.push_back(Path("doc.json"));
    WriteFile(Path("stdin"), "");
    return omtext::testing::RunCommand(arguments, Path("stdin"), dir);
  }

  std::string dir;
};

TEST_F(DestinationCommand, WritesEachTopLevelPartIntoTheFile) {
  WriteFile(Path("out.txt"), "old contents that are longer than nothing\n");
  const CommandResult result = Run({"--destination", Path("out.txt")});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(ReadFile(Path("out.txt")), kMark + kRendered);
}

TEST_F(DestinationCommand, EncodingDecidesTheByteOrderMark) {
  EXPECT_EQ(Run({"--encoding", "single-byte", "--destination=" + Path("out.txt")}).status, 0);
  EXPECT_EQ(ReadFile(Path("out.txt")), kRendered);
  EXPECT_EQ(Run({"--destination", Path("out.txt"), "--encoding=utf-8"}).status, 0);
  EXPECT_EQ(ReadFile(Path("out.txt")), kMark + kRendered);
}

TEST_F(DestinationCommand, PageLengthAndWidthSetTheHostsSettings) {
  WriteFile(Path("doc.json"), R"({"output": [{"type": "procedure", "text": "P", "children": [
      {"type": "heading", "text": "1"}, {"type": "heading", "text": "2"},
      {"type": "heading", "text": "3"}]}]})");
  // Six lines more than the host's page length.
  ASSERT_EQ(Run({"--page-length", "-3", "--destination", Path("out.txt")}).status, 0);
  EXPECT_EQ(ReadFile(Path("out.txt")), kMark + "P\n1\n2\n\f\n3\n");
  ASSERT_EQ(Run({"--page-length", "2147483647", "--destination", Path("out.txt")}).status, 0);
  EXPECT_EQ(ReadFile(Path("out.txt")), kMark + "P\n1\n2\n3\n");

  WriteFile(Path("doc.json"), kDocument);
  ASSERT_EQ(Run({"--width", "12", "--destination", Path("out.txt")}).status, 0);
  const std::string narrowed = ReadFile(Path("out.txt"));
  EXPECT_NE(narrowed.find("\n Sex Answer \n"), std::string::npos) << narrowed;
  ASSERT_EQ(Run({"--width", "12", "--tab-separated", "--destination", Path("out.txt")}).status, 0);
  EXPECT_NE(ReadFile(Path("out.txt")).find("\nFemale\t3\t40\n"), std::string::npos);
}

TEST_F(DestinationCommand, StreamExportOptionsAreNotUsed) {
  const CommandResult result =
      Run({"-o", Path("other.txt"), "--row-separator", "=", "--column-separator", "#",
           "--no-footnotes", "--page-breaks", "--destination", Path("out.txt")});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(ReadFile(Path("out.txt")), kMark + kRendered);
  EXPECT_FALSE(::access(Path("other.txt").c_str(), F_OK) == 0);
}

TEST_F(DestinationCommand, UnusableFilesExitWithOneAndTheMessage) {
  const CommandResult directory = Run({"--destination", dir});
  EXPECT_EQ(directory.status, 1);
  EXPECT_EQ(directory.err, "omtext: File " + dir + " is read only.\n");
  EXPECT_EQ(directory.out, "");

  const CommandResult missing = Run({"--destination", Path("missing/out.txt")});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "omtext: File " + Path("missing/out.txt") + " creation failed.\n");

  // The specification is reported as typed.
  const CommandResult empty = Run({"--destination", " '' "});
  EXPECT_EQ(empty.status, 1);
  EXPECT_EQ(empty.err, "omtext: File  ''  creation failed.\n");
}

TEST_F(DestinationCommand, BusyFileIsLeftUntouched) {
  WriteFile(Path("held.txt"), "unchanged");
  const int fd = ::open(Path("held.txt").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  ASSERT_EQ(::fcntl(fd, F_OFD_SETLK, &lock), 0);
  const CommandResult result = Run({"--destination", Path("held.txt")});
  ::close(fd);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: File " + Path("held.txt") + " is busy.\n");
  EXPECT_EQ(ReadFile(Path("held.txt")), "unchanged");
}

TEST_F(DestinationCommand, RejectedDocumentLeavesTheFileUntouched) {
  WriteFile(Path("out.txt"), "keep");
  WriteFile(Path("doc.json"), R"({"output": [{"type": "heading"}]})");
  const CommandResult result = Run({"--destination", Path("out.txt")});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("doc.json:1:"), std::string::npos) << result.err;
  EXPECT_EQ(ReadFile(Path("out.txt")), "keep");
  // Nor is a missing destination created for a rejected document.
  EXPECT_EQ(Run({"--destination", Path("new.txt")}).status, 1);
  EXPECT_NE(::access(Path("new.txt").c_str(), F_OK), 0);
}

TEST_F(DestinationCommand, WriteFailureExitsWithOne) {
  if (::access("/dev/full", W_OK) != 0)
    GTEST_SKIP() << "no writable /dev/full";
  const CommandResult result = Run({"--destination", "/dev/full"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "omtext: /dev/full: write error: No space left on device\n");
}

}  // namespace
