// The text file destination with real files in a scratch directory: what each
// notification writes, the byte order mark, and how file problems and failed
// writes are reported.
#include "destination/TextTreeVisitor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "../cli/CommandRunner.h"
#include "host/BpError.h"
#include "host/OmHeading.h"
#include "host/OmOutputTree.h"
#include "host/OmPageTitle.h"
#include "host/OmPivotTable.h"
#include "host/OmPlatform.h"
#include "host/OmTextBlock.h"
#include "host/OmTitledPart.h"

namespace {

using omtext::testing::ReadFile;
using omtext::testing::WriteFile;

const std::string kMark = "\xEF\xBB\xBF";

bool Exists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0;
}

// Holds a write lock through an open file description of its own.
int LockFile(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  EXPECT_EQ(::fcntl(fd, F_OFD_SETLK, &lock), 0);
  return fd;
}

class TextTreeVisitorTest : public ::testing::Test {
 protected:
  TextTreeVisitorTest()
      : handler([this](const std::string& text, std::int32_t show, std::int32_t level) {
          reports.push_back(text + " (" + std::to_string(show) + ", " + std::to_string(level) +
                            ")");
        }) {}
  void SetUp() override { dir = omtext::testing::MakeScratchDirectory(); }
  void TearDown() override {
    omtext::testing::RemoveDirectory(dir);
    OmSetEncoding(OmEncoding::Utf8);
    OmSetPageLength(60);
    OmSetLineWidth(80);
  }

  std::string Path(const std::string& name) const { return dir + "/" + name; }
  void Heading(const std::string& text, int level) {
    tree.Append(std::make_unique<OmHeading>(text), level);
  }
  // Accepts spec, expecting the one report given ("" for none).
  void Accept(TextTreeVisitor& destination, const std::string& spec, const std::string& report,
              bool tabSeparated = false) {
    reports.clear();
    destination.SetTextTreeParameters(tabSeparated, spec);
    EXPECT_EQ(reports, report.empty() ? std::vector<std::string>{}
                                      : std::vector<std::string>{report + " (2, 4)"});
    EXPECT_EQ(destination.isFileOK(), report.empty()) << spec;
  }
  // The file's bytes after the tree has been exported into it once.
  std::string ExportOnce(bool tabSeparated = false) {
    {
      TextTreeVisitor destination;
      Accept(destination, Path("out.txt"), "", tabSeparated);
      destination.EndProcedure(tree);
    }
    return ReadFile(Path("out.txt"));
  }

  std::string dir;
  std::vector<std::string> reports;
  BpErrorHandlerScope handler;
  OmOutputTree tree;
};

TEST_F(TextTreeVisitorTest, ReplacesTheFileWithAByteOrderMarkOnlyInUtf8Mode) {
  WriteFile(Path("out.txt"), "old contents\n");
  TextTreeVisitor destination;
  EXPECT_FALSE(destination.isFileOK());
  Accept(destination, Path("out.txt"), "");
  EXPECT_EQ(ReadFile(Path("out.txt")), "");  // truncated; the mark is still buffered
  destination.Close();
  EXPECT_FALSE(destination.isFileOK());
  EXPECT_EQ(ReadFile(Path("out.txt")), kMark);
  OmSetEncoding(OmEncoding::SingleByte);
  Accept(destination, Path("out.txt"), "");
  destination.LogLine("line");
  destination.Close();
  EXPECT_EQ(ReadFile(Path("out.txt")), "line\n");
}

TEST_F(TextTreeVisitorTest, WritesNotificationsInCallOrderThroughEitherBase) {
  tree.Append(std::make_unique<OmProcedure>("Frequencies"), 1);
  Heading("Statistics", 2);
  tree.Append(std::make_unique<OmTextBlock>(std::vector<std::string>{"a\x0E\x0F\x10", ""}), 3);
  Heading("Next procedure", 1);
  TextTreeVisitor destination;
  OmFactory::Observer& observer = destination;
  std::string subtitle = "Subtitle";
  observer.SetPageTitle("Before any file", subtitle);
  Accept(destination, Path("out.txt"), "");
  observer.SetPageTitle("Title", subtitle);
  EXPECT_EQ(subtitle, "Subtitle");
  observer.EndProcedure(tree);
  observer.LogLine("log line");
  OmOutputTree empty;
  observer.EndProcedure(empty);
  EXPECT_FALSE(observer.doAppend());
  // As a visitor, and through the notifications it ignores, it writes nothing.
  for (OmOutputTree::Node node = tree.Begin(); node != tree.End(); ++node) {
    node.Value()->Accept(destination);
  }
  OmPageTitle("T", "S").Accept(destination);
  observer.PostAppend(tree);
  observer.ChartDone(nullptr);
  destination.Export(tree);
  destination.Close();
  // Only the first node's subtree is the procedure's output.
  EXPECT_EQ(ReadFile(Path("out.txt")),
            kMark + "Title\nSubtitle\nFrequencies\nStatistics\na-|+\n\nlog line\n");
  EXPECT_TRUE(OmFactory::Observer().doAppend());
}

TEST_F(TextTreeVisitorTest, PageLengthIsSixMoreThanTheHostsAndSaturates) {
  for (int i = 0; i < 9; ++i)
    Heading(std::to_string(i), i == 0 ? 1 : 2);
  OmSetPageLength(1);
  EXPECT_EQ(ExportOnce(), kMark + "0\n1\n2\n3\n4\n5\n6\n\f\n7\n8\n");
  // Wrapped around, the length would be negative and end a page every line.
  OmSetPageLength(std::numeric_limits<std::int32_t>::max() - 2);
  EXPECT_EQ(ExportOnce(), kMark + "0\n1\n2\n3\n4\n5\n6\n7\n8\n");
}

TEST_F(TextTreeVisitorTest, TablesUseOneBlankBetweenColumnsNoRulesAndShowNotes) {
  auto table = std::make_unique<OmPivotTable>();
  table->SetTitle("Counts");
  table->SetNotes(true);
  OmDimension& sex = table->AddDimension(OmAxis::Row, "Sex");
  sex.AddCategory("Male");
  sex.AddCategory("Female");
  OmDimension& answer = table->AddDimension(OmAxis::Column, "Answer");
  answer.AddCategory("Yes");
  answer.AddCategory("No");
  for (std::int32_t i = 0; i < 4; ++i)
    table->SetNumber({i / 2, i % 2}, i * 10);
  tree.Append(std::move(table), 1);
  const std::string wide = ExportOnce();
  EXPECT_EQ(wide, kMark +
                      "Counts\n\n"
                      " Sex    Answer \n"
                      "        Yes No \n"
                      " Male   0   10 \n"
                      " Female 20  30 \n\n");
  EXPECT_EQ(ExportOnce(true),
            kMark + "Counts\n\tAnswer\t\nSex\tYes\tNo\nMale\t0\t10\nFemale\t20\t30\n\n");
  // The host's line width narrows formatted tables only.
  OmSetLineWidth(12);
  EXPECT_EQ(ExportOnce(true),
            kMark + "Counts\n\tAnswer\t\nSex\tYes\tNo\nMale\t0\t10\nFemale\t20\t30\n\n");
  const std::string narrow = ExportOnce();
  EXPECT_NE(narrow, wide);
  for (std::size_t start = kMark.size(), end; start < narrow.size(); start = end + 1) {
    end = narrow.find('\n', start);
    EXPECT_LE(end - start, 12u) << narrow.substr(start, end - start);
  }
}

TEST_F(TextTreeVisitorTest, EachSpecificationClosesThePreviousFile) {
  WriteFile(Path("second.txt"), "old second");
  TextTreeVisitor destination;
  Accept(destination, Path("first.txt"), "");
  destination.LogLine("one");
  Accept(destination, Path("second.txt"), "");
  EXPECT_EQ(ReadFile(Path("first.txt")), kMark + "one\n");
  EXPECT_EQ(ReadFile(Path("second.txt")), "");
  destination.LogLine("two");
  // A rejected specification closes the file whole and writes nowhere after.
  Accept(destination, " '" + dir + "' ", "File  '" + dir + "'  is read only.");
  EXPECT_EQ(ReadFile(Path("second.txt")), kMark + "two\n");
  std::string subtitle;
  destination.LogLine("lost");
  destination.SetPageTitle("lost", subtitle);
  Heading("lost", 1);
  destination.EndProcedure(tree);
  destination.Close();
  EXPECT_EQ(ReadFile(Path("second.txt")), kMark + "two\n");
}

TEST_F(TextTreeVisitorTest, FileProblemsAreReportedWithTheSpecificationAsTyped) {
  TextTreeVisitor destination;
  WriteFile(Path("held.txt"), "unchanged");
  const int fd = LockFile(Path("held.txt"));
  Accept(destination, Path("held.txt"), "File " + Path("held.txt") + " is busy.");
  ::close(fd);
  EXPECT_EQ(ReadFile(Path("held.txt")), "unchanged");
  Accept(destination, Path("no/out.txt"), "File " + Path("no/out.txt") + " creation failed.");
  EXPECT_FALSE(Exists(Path("no")));
  // Specifications that name no usable file.
  for (const std::string& spec : {std::string(), std::string("   "), std::string(" \"\" "),
                                  Path(std::string(5000, 'n')), Path(std::string("a\0b", 3))}) {
    Accept(destination, spec, "File " + spec + " creation failed.");
  }
  EXPECT_FALSE(Exists(Path("a")));
  if (::geteuid() != 0) {  // permission bits do not stop root
    ::chmod(Path("held.txt").c_str(), 0444);
    Accept(destination, Path("held.txt"), "File " + Path("held.txt") + " is read only.");
  }
  // A handler that throws leaves the destination inert all the same.
  const BpErrorHandlerScope throwing(
      [](const std::string& text, std::int32_t, std::int32_t) { throw std::runtime_error(text); });
  Accept(destination, Path("ok.txt"), "");
  EXPECT_THROW(destination.SetTextTreeParameters(false, dir), std::runtime_error);
  EXPECT_FALSE(destination.isFileOK());
}

TEST_F(TextTreeVisitorTest, FailedWritesRaiseTheStreamsException) {
  if (::access("/dev/full", W_OK) != 0)
    GTEST_SKIP() << "no writable /dev/full";
  TextTreeVisitor destination;
  Accept(destination, "/dev/full", "");
  destination.LogLine("buffered");
  EXPECT_THROW(destination.Close(), std::ios_base::failure);
  EXPECT_FALSE(destination.isFileOK());

  Accept(destination, "/dev/full", "");
  EXPECT_THROW(destination.LogLine(std::string(1 << 20, 'x')), std::ios_base::failure);
  std::string subtitle;
  EXPECT_THROW(destination.SetPageTitle("T", subtitle), std::ios_base::failure);
  // Closing it for the next specification raises too; the one after works.
  EXPECT_THROW(destination.SetTextTreeParameters(false, Path("next.txt")), std::ios_base::failure);
  EXPECT_FALSE(destination.isFileOK());
  Accept(destination, Path("next.txt"), "");
  destination.LogLine("recovered");
  Accept(destination, "/dev/full", "");
  destination.LogLine("lost when destroyed, without throwing");
}

TEST(TextTreeVisitorFiles, FileExistsResolvesAndCreateOMSFileEmpties) {
  const std::string dir = omtext::testing::MakeScratchDirectory();
  WriteFile(dir + "/f", "old");
  std::string name;
  EXPECT_EQ(TextTreeVisitor::FileExists("  '" + dir + "/f'", name), 0);
  EXPECT_EQ(name, dir + "/f");
  EXPECT_EQ(TextTreeVisitor::FileExists(dir, name), 1);
  const int fd = LockFile(dir + "/f");
  EXPECT_EQ(TextTreeVisitor::FileExists(dir + "/f", name), 2);
  ::close(fd);
  EXPECT_EQ(TextTreeVisitor::FileExists(dir + "/new", name), 3);
  EXPECT_EQ(TextTreeVisitor::FileExists(dir + "/no/new", name), 4);
  EXPECT_EQ(TextTreeVisitor::FileExists("''", name), 4);
  EXPECT_EQ(name, "");
  EXPECT_FALSE(Exists(dir + "/new"));
  EXPECT_TRUE(TextTreeVisitor::CreateOMSFile(dir + "/f"));
  EXPECT_EQ(ReadFile(dir + "/f"), "");
  EXPECT_TRUE(TextTreeVisitor::CreateOMSFile(dir + "/new"));
  EXPECT_TRUE(Exists(dir + "/new"));
  EXPECT_FALSE(TextTreeVisitor::CreateOMSFile(dir + "/no/new"));
  EXPECT_FALSE(TextTreeVisitor::CreateOMSFile(dir));
  EXPECT_FALSE(TextTreeVisitor::CreateOMSFile(dir + "/f" + std::string(1, '\0') + "x"));
  omtext::testing::RemoveDirectory(dir);
}

}  // namespace
