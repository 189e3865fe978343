// The text file destination with real files in a scratch directory: accepting
// and rejecting specifications, the byte order mark, what each notification
// writes, and how failures are reported.
#include "destination/TextTreeVisitor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "ScratchDirectory.h"
#include "host/BpError.h"
#include "host/OmHeading.h"
#include "host/OmOutputTree.h"
#include "host/OmPageTitle.h"
#include "host/OmPivotTable.h"
#include "host/OmPlatform.h"
#include "host/OmTextBlock.h"
#include "host/OmTitledPart.h"

namespace {

using omtext::testing::HeldLock;
using omtext::testing::PathExists;
using omtext::testing::ReadBytes;
using omtext::testing::ScratchDirectory;
using omtext::testing::WriteBytes;

const std::string kMark = "\xEF\xBB\xBF";

struct Report {
  std::string text;
  std::int32_t show;
  std::int32_t level;
};

class TextTreeVisitorTest : public ::testing::Test {
 protected:
  TextTreeVisitorTest()
      : handler([this](const std::string& text, std::int32_t show, std::int32_t level) {
          reports.push_back({text, show, level});
        }) {}

  void TearDown() override {
    OmSetEncoding(OmEncoding::Utf8);
    OmSetPageLength(60);
    OmSetLineWidth(80);
  }

  void Add(std::unique_ptr<OmOutputPart> part, int level) { tree.Append(std::move(part), level); }
  void Heading(const std::string& text, int level) {
    Add(std::make_unique<OmHeading>(text), level);
  }
  // A procedure holding a small notes table: Sex (rows) by Answer (columns).
  void NotesTable() {
    Add(std::make_unique<OmProcedure>("Crosstabs"), 1);
    auto table = std::make_unique<OmPivotTable>();
    table->SetTitle("Counts");
    table->SetNotes(true);
    table->SetCaption("cap");
    OmDimension& sex = table->AddDimension(OmAxis::Row, "Sex");
    sex.AddCategory("Male");
    sex.AddCategory("Female");
    OmDimension& answer = table->AddDimension(OmAxis::Column, "Answer");
    answer.AddCategory("Yes");
    answer.AddCategory("No");
    table->SetNumber({0, 0}, 1);
    table->SetNumber({0, 1}, 2);
    table->SetNumber({1, 0}, 3);
    table->SetNumber({1, 1}, 40);
    Add(std::move(table), 2);
  }
  // The file's text after one procedure has been exported into it.
  std::string ExportOnce(bool tabSeparated) {
    {
      TextTreeVisitor destination;
      destination.SetTextTreeParameters(tabSeparated, dir / "out.txt");
      destination.EndProcedure(tree);
    }
    return ReadBytes(dir / "out.txt");
  }

  // The one report so far, as "TEXT (show, level)"; "" with none.
  std::string OnlyReport() const {
    if (reports.size() != 1)
      return "reports: " + std::to_string(reports.size());
    return reports[0].text + " (" + std::to_string(reports[0].show) + ", " +
           std::to_string(reports[0].level) + ")";
  }

  ScratchDirectory dir;
  std::vector<Report> reports;
  BpErrorHandlerScope handler;
  OmOutputTree tree;
};

TEST_F(TextTreeVisitorTest, AcceptingTruncatesAnExistingFileAndMarksItInUtf8Mode) {
  WriteBytes(dir / "out.txt", "old contents\n");
  TextTreeVisitor destination;
  EXPECT_FALSE(destination.isFileOK());
  destination.SetTextTreeParameters(false, dir / "out.txt");
  EXPECT_TRUE(destination.isFileOK());
  EXPECT_TRUE(reports.empty());
  // Truncated at once; the mark waits in the stream's buffer.
  EXPECT_EQ(ReadBytes(dir / "out.txt"), "");
  destination.Close();
  EXPECT_FALSE(destination.isFileOK());
  EXPECT_EQ(ReadBytes(dir / "out.txt"), kMark);
}

TEST_F(TextTreeVisitorTest, NoByteOrderMarkOutsideUtf8Mode) {
  for (const OmEncoding encoding : {OmEncoding::SingleByte, OmEncoding::DoubleByte}) {
    OmSetEncoding(encoding);
    WriteBytes(dir / "out.txt", "old");
    {
      TextTreeVisitor destination;
      destination.SetTextTreeParameters(false, dir / "out.txt");
      destination.LogLine("line");
    }
    EXPECT_EQ(ReadBytes(dir / "out.txt"), "line\n");
  }
  EXPECT_TRUE(reports.empty());
}

TEST_F(TextTreeVisitorTest, CreatesAMissingFile) {
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(true, dir / "new.txt");
  EXPECT_TRUE(destination.isFileOK());
  EXPECT_EQ(ReadBytes(dir / "new.txt"), "");
  destination.Close();
  EXPECT_EQ(ReadBytes(dir / "new.txt"), kMark);
  EXPECT_TRUE(reports.empty());
}

TEST_F(TextTreeVisitorTest, WritesPageTitlesProceduresAndLogLinesInCallOrder) {
  Add(std::make_unique<OmProcedure>("Frequencies"), 1);
  Heading("Statistics", 2);
  Add(std::make_unique<OmTextBlock>(std::vector<std::string>{"a\x0E\x0F\x10", "b"}), 3);
  Add(std::make_unique<OmChart>("no text form"), 2);
  Heading("Next procedure", 1);
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(false, dir / "out.txt");
  std::string subtitle = "Subtitle";
  destination.SetPageTitle("Title", subtitle);
  EXPECT_EQ(subtitle, "Subtitle");
  destination.EndProcedure(tree);
  destination.LogLine("log line");
  destination.LogLine("");
  OmOutputTree empty;
  destination.EndProcedure(empty);
  destination.Close();
  // Only the first node's subtree is the procedure's output.
  EXPECT_EQ(ReadBytes(dir / "out.txt"),
            kMark + "Title\nSubtitle\nFrequencies\nStatistics\na-|+\nb\nlog line\n\n");
}

TEST_F(TextTreeVisitorTest, NotificationsReachTheFileThroughEitherBase) {
  Heading("H", 1);
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(false, dir / "out.txt");
  OmFactory::Observer& observer = destination;
  EXPECT_FALSE(observer.doAppend());
  std::string subtitle = "B";
  observer.SetPageTitle("A", subtitle);
  observer.EndProcedure(tree);
  observer.LogLine("L");
  observer.FlushLog();
  observer.EndLog();
  observer.PostAppend(tree);
  OmChart chart("c");
  observer.ChartDone(&chart);
  // As a visitor, and through its own additions, it writes nothing.
  OmOutputPart::Visitor& visitor = destination;
  for (OmOutputTree::Node node = tree.Begin(); node != tree.End(); ++node) {
    node.Value()->Accept(visitor);
  }
  OmPageTitle title("T", "S");
  title.Accept(visitor);
  destination.SetColumns(OMSColumns{});
  destination.Export(tree);
  ListTree<OmOutputPart*>::ConstNode first = tree.Begin();
  ListTree<OmOutputPart*>::ConstNode last = tree.End();
  destination.Export(first, last);
  destination.Close();
  EXPECT_EQ(ReadBytes(dir / "out.txt"), kMark + "A\nB\nH\nL\n");
}

TEST(OmFactoryObserver, BaseAcceptsEveryNotificationAndAppends) {
  OmFactory::Observer observer;
  OmOutputTree tree;
  tree.Append(std::make_unique<OmHeading>("H"), 1);
  std::string subtitle = "S";
  observer.EndProcedure(tree);
  observer.LogLine("L");
  observer.FlushLog();
  observer.EndLog();
  observer.SetPageTitle("T", subtitle);
  observer.PostAppend(tree);
  observer.ChartDone(nullptr);
  EXPECT_TRUE(observer.doAppend());
  EXPECT_EQ(subtitle, "S");
  EXPECT_EQ(tree.Size(), 1u);
}

TEST_F(TextTreeVisitorTest, WithoutASpecificationNothingIsWritten) {
  Heading("H", 1);
  TextTreeVisitor destination;
  std::string subtitle = "S";
  destination.EndProcedure(tree);
  destination.SetPageTitle("T", subtitle);
  destination.LogLine("L");
  destination.Close();
  EXPECT_FALSE(destination.isFileOK());
  EXPECT_TRUE(reports.empty());
}

TEST_F(TextTreeVisitorTest, PageLengthIsSixLinesMoreThanTheHosts) {
  for (int i = 0; i < 9; ++i)
    Heading("h" + std::to_string(i), i == 0 ? 1 : 2);
  OmSetPageLength(1);
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(false, dir / "out.txt");
  destination.EndProcedure(tree);
  destination.Close();
  EXPECT_EQ(ReadBytes(dir / "out.txt"), kMark + "h0\nh1\nh2\nh3\nh4\nh5\nh6\n\f\nh7\nh8\n");
}

TEST_F(TextTreeVisitorTest, ExtremePageLengthSaturatesInsteadOfWrapping) {
  // Wrapped around, the page length would be negative, and every line would
  // end a page.
  Heading("a", 1);
  Heading("b", 2);
  OmSetPageLength(std::numeric_limits<std::int32_t>::max() - 2);
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(false, dir / "out.txt");
  destination.EndProcedure(tree);
  destination.Close();
  EXPECT_EQ(ReadBytes(dir / "out.txt"), kMark + "a\nb\n");
}

TEST_F(TextTreeVisitorTest, FormattedTablesUseOneBlankBetweenColumnsAndNoRules) {
  NotesTable();
  // Notes tables are shown; the host's line width bounds every line.
  EXPECT_EQ(ExportOnce(false), kMark +
                                   "Crosstabs\n"
                                   "Counts\n"
                                   "\n"
                                   " Sex    Answer \n"
                                   "        Yes No \n"
                                   " Male   1   2  \n"
                                   " Female 3   40 \n"
                                   "cap\n"
                                   "\n");
  OmSetLineWidth(12);
  std::istringstream narrowed(ExportOnce(false));
  int lines = 0;
  for (std::string line; std::getline(narrowed, line); ++lines) {
    EXPECT_LE(line.size(), 12u + (lines == 0 ? kMark.size() : 0)) << line;
  }
  EXPECT_GT(lines, 9);
}

TEST_F(TextTreeVisitorTest, TabSeparatedTablesIgnoreTheLineWidth) {
  NotesTable();
  OmSetLineWidth(3);
  EXPECT_EQ(ExportOnce(true), kMark +
                                  "Crosstabs\n"
                                  "Counts\n"
                                  "\tAnswer\t\n"
                                  "Sex\tYes\tNo\n"
                                  "Male\t1\t2\n"
                                  "Female\t3\t40\n"
                                  "cap\n"
                                  "\n");
}

TEST_F(TextTreeVisitorTest, TwoSpecificationsInARowCloseTheFirstFile) {
  WriteBytes(dir / "second.txt", "old second");
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(false, dir / "first.txt");
  destination.LogLine("one");
  destination.SetTextTreeParameters(false, dir / "second.txt");
  // The first file is complete as soon as the second is accepted.
  EXPECT_EQ(ReadBytes(dir / "first.txt"), kMark + "one\n");
  EXPECT_EQ(ReadBytes(dir / "second.txt"), "");
  destination.LogLine("two");
  // Accepting the same file again starts it afresh.
  destination.SetTextTreeParameters(false, dir / "first.txt");
  EXPECT_EQ(ReadBytes(dir / "second.txt"), kMark + "two\n");
  destination.LogLine("three");
  destination.Close();
  EXPECT_EQ(ReadBytes(dir / "first.txt"), kMark + "three\n");
  EXPECT_TRUE(reports.empty());
}

TEST_F(TextTreeVisitorTest, DirectoryTargetIsReadOnlyAndLeavesTheDestinationInert) {
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(false, dir / "first.txt");
  destination.LogLine("kept");
  const std::string typed = " '" + dir.Path() + "' ";
  destination.SetTextTreeParameters(false, typed);
  EXPECT_EQ(OnlyReport(), "File " + typed + " is read only. (2, 4)");
  EXPECT_FALSE(destination.isFileOK());
  // The earlier file was closed whole and receives nothing more.
  std::string subtitle = "S";
  destination.LogLine("lost");
  destination.SetPageTitle("T", subtitle);
  Heading("H", 1);
  destination.EndProcedure(tree);
  destination.Close();
  EXPECT_EQ(ReadBytes(dir / "first.txt"), kMark + "kept\n");
}

TEST_F(TextTreeVisitorTest, FileWithoutWritePermissionIsReadOnly) {
  if (::geteuid() == 0)
    GTEST_SKIP() << "permission bits do not stop root";
  WriteBytes(dir / "locked.txt", "unchanged");
  ::chmod((dir / "locked.txt").c_str(), 0444);
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(false, dir / "locked.txt");
  EXPECT_EQ(OnlyReport(), "File " + (dir / "locked.txt") + " is read only. (2, 4)");
  EXPECT_FALSE(destination.isFileOK());
  EXPECT_EQ(ReadBytes(dir / "locked.txt"), "unchanged");
}

TEST_F(TextTreeVisitorTest, LockedFileIsBusyAndLeftUntouched) {
  WriteBytes(dir / "held.txt", "unchanged");
  const HeldLock lock(dir / "held.txt");
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(false, dir / "held.txt");
  EXPECT_EQ(OnlyReport(), "File " + (dir / "held.txt") + " is busy. (2, 4)");
  EXPECT_FALSE(destination.isFileOK());
  destination.LogLine("lost");
  destination.Close();
  EXPECT_EQ(ReadBytes(dir / "held.txt"), "unchanged");
}

TEST_F(TextTreeVisitorTest, MissingParentDirectoryMeansCreationFailed) {
  TextTreeVisitor destination;
  const std::string spec = dir / "missing/out.txt";
  destination.SetTextTreeParameters(false, spec);
  EXPECT_EQ(OnlyReport(), "File " + spec + " creation failed. (2, 4)");
  EXPECT_FALSE(destination.isFileOK());
  destination.LogLine("lost");
  EXPECT_FALSE(PathExists(dir / "missing"));
}

TEST_F(TextTreeVisitorTest, OddSpecificationsAreReportedNotCrashed) {
  const std::string longName = dir / std::string(5000, 'n');
  const std::string withNul = dir / std::string("a\0b", 3);
  for (const std::string& spec :
       std::vector<std::string>{"", "   ", "''", "\"\"", longName, withNul, dir.Path() + "/"}) {
    reports.clear();
    TextTreeVisitor destination;
    destination.SetTextTreeParameters(false, spec);
    EXPECT_FALSE(destination.isFileOK()) << spec;
    ASSERT_EQ(reports.size(), 1u) << spec;
    EXPECT_EQ(reports[0].text.compare(0, 5 + spec.size(), "File " + spec), 0) << spec;
  }
  // The part of the name before the NUL byte was not created instead.
  EXPECT_FALSE(PathExists(dir / "a"));
}

TEST_F(TextTreeVisitorTest, TildeNamesAFileInTheHomeDirectory) {
  const char* saved = std::getenv("HOME");
  const std::optional<std::string> home = saved ? std::optional<std::string>(saved) : std::nullopt;
  ::setenv("HOME", dir.Path().c_str(), 1);
  {
    TextTreeVisitor destination;
    destination.SetTextTreeParameters(false, "\"~/home.txt\"");
    destination.LogLine("at home");
  }
  // Without HOME the password database has the home directory; a missing
  // directory below it is reported like any other.
  ::unsetenv("HOME");
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(false, "~/omtext-no-such-directory-7f3a/out.txt");
  if (home) {
    ::setenv("HOME", home->c_str(), 1);
  }
  EXPECT_EQ(ReadBytes(dir / "home.txt"), kMark + "at home\n");
  EXPECT_EQ(OnlyReport(), "File ~/omtext-no-such-directory-7f3a/out.txt creation failed. (2, 4)");
}

TEST_F(TextTreeVisitorTest, ThrowingHandlerStillLeavesTheDestinationInert) {
  const BpErrorHandlerScope throwing(
      [](const std::string& text, std::int32_t, std::int32_t) { throw std::runtime_error(text); });
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(false, dir / "first.txt");
  EXPECT_THROW(destination.SetTextTreeParameters(false, dir.Path()), std::runtime_error);
  EXPECT_FALSE(destination.isFileOK());
  destination.LogLine("lost");
  destination.Close();
  EXPECT_EQ(ReadBytes(dir / "first.txt"), kMark);
}

TEST_F(TextTreeVisitorTest, FailedWritesRaiseTheStreamsException) {
  if (!PathExists("/dev/full"))
    GTEST_SKIP() << "no /dev/full";
  {
    TextTreeVisitor destination;
    destination.SetTextTreeParameters(false, "/dev/full");
    ASSERT_TRUE(destination.isFileOK());
    // Small writes wait in the buffer; closing writes them out and fails.
    destination.LogLine("small");
    EXPECT_THROW(destination.Close(), std::ios_base::failure);
    EXPECT_FALSE(destination.isFileOK());
    destination.LogLine("inert now");
  }
  {
    TextTreeVisitor destination;
    destination.SetTextTreeParameters(false, "/dev/full");
    EXPECT_THROW(destination.LogLine(std::string(1 << 20, 'x')), std::ios_base::failure);
    // Later writes keep failing rather than pretending to succeed.
    std::string subtitle;
    EXPECT_THROW(destination.SetPageTitle("T", subtitle), std::ios_base::failure);
    Heading("H", 1);
    EXPECT_THROW(destination.EndProcedure(tree), std::ios_base::failure);
    // Moving to another file closes the failed one with the exception too.
    EXPECT_THROW(destination.SetTextTreeParameters(false, dir / "next.txt"),
                 std::ios_base::failure);
    EXPECT_FALSE(destination.isFileOK());
    destination.SetTextTreeParameters(false, dir / "next.txt");
    destination.LogLine("recovered");
    destination.Close();
    EXPECT_EQ(ReadBytes(dir / "next.txt"), kMark + "recovered\n");
  }
  {
    // Destroying a destination whose last write fails must not throw.
    TextTreeVisitor destination;
    destination.SetTextTreeParameters(false, "/dev/full");
    destination.LogLine("small");
  }
  EXPECT_TRUE(reports.empty());
}

TEST(TextTreeVisitorStatic, FileExistsGivesTheStateAndTheResolvedName) {
  const ScratchDirectory dir;
  WriteBytes(dir / "there.txt", "x");
  std::string name = "unset";
  EXPECT_EQ(TextTreeVisitor::FileExists("  '" + (dir / "there.txt") + "'", name), 0);
  EXPECT_EQ(name, dir / "there.txt");
  EXPECT_EQ(TextTreeVisitor::FileExists(dir.Path(), name), 1);
  {
    const HeldLock lock(dir / "there.txt");
    EXPECT_EQ(TextTreeVisitor::FileExists(dir / "there.txt", name), 2);
  }
  EXPECT_EQ(TextTreeVisitor::FileExists(dir / "new.txt", name), 3);
  EXPECT_EQ(name, dir / "new.txt");
  EXPECT_EQ(TextTreeVisitor::FileExists(dir / "missing/new.txt", name), 4);
  EXPECT_EQ(TextTreeVisitor::FileExists("   ", name), 4);
  EXPECT_EQ(name, "");
  // Checking creates nothing.
  EXPECT_FALSE(PathExists(dir / "new.txt"));
}

TEST(TextTreeVisitorStatic, CreateOMSFileLeavesAnEmptyFile) {
  const ScratchDirectory dir;
  EXPECT_TRUE(TextTreeVisitor::CreateOMSFile(dir / "new.txt"));
  EXPECT_EQ(ReadBytes(dir / "new.txt"), "");
  WriteBytes(dir / "old.txt", "old");
  EXPECT_TRUE(TextTreeVisitor::CreateOMSFile(dir / "old.txt"));
  EXPECT_EQ(ReadBytes(dir / "old.txt"), "");
  EXPECT_FALSE(TextTreeVisitor::CreateOMSFile(dir / "missing/new.txt"));
  EXPECT_FALSE(TextTreeVisitor::CreateOMSFile(dir.Path()));
  EXPECT_FALSE(TextTreeVisitor::CreateOMSFile(""));
  EXPECT_FALSE(TextTreeVisitor::CreateOMSFile(dir / std::string("a\0b", 3)));
  EXPECT_FALSE(PathExists(dir / "a"));
}

}  // namespace
