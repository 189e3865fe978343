// The text file destination with real files in a scratch directory: what each
// notification writes, and how file problems and failed writes are reported.
// The command's destination tests pin the byte order mark in each encoding.
#include "destination/TextTreeVisitor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "../cli/CommandRunner.h"
#include "host/output/OmHeading.h"
#include "host/output/OmOutputTree.h"
#include "host/platform/BpError.h"

namespace {

using omtext::testing::Exists;
using omtext::testing::LockFile;
using omtext::testing::ReadFile;
using omtext::testing::WriteFile;

const std::string kMark = "\xEF\xBB\xBF";

class TextTreeVisitorTest : public omtext::testing::Scratch<> {
 protected:
  TextTreeVisitorTest()
      : handler([this](const std::string& text, std::int32_t show, std::int32_t level) {
          reports.push_back(text + " (" + std::to_string(show) + ", " + std::to_string(level) +
                            ")");
        }) {}

  void Heading(const std::string& text, int level) {
    tree.Append(std::make_unique<OmHeading>(text), level);
  }
  // Accepts spec, expecting the one report given ("" for none).
  void Accept(TextTreeVisitor& destination, const std::string& spec, const std::string& report) {
    reports.clear();
    destination.SetTextTreeParameters(false, spec);
    EXPECT_EQ(reports, report.empty() ? std::vector<std::string>{}
                                      : std::vector<std::string>{report + " (2, 4)"});
    EXPECT_EQ(destination.isFileOK(), report.empty()) << spec;
  }

  std::vector<std::string> reports;
  BpErrorHandlerScope handler;
  OmOutputTree tree;
};

TEST_F(TextTreeVisitorTest, EachSpecificationReplacesItsFileAndClosesThePrevious) {
  tree.Append(std::make_unique<OmProcedure>("Frequencies"), 1);
  Heading("Statistics", 2);
  Heading("Next procedure", 1);
  WriteFile(Path("second.txt"), "old second");
  TextTreeVisitor destination;
  Accept(destination, Path("first.txt"), "");
  OmOutputTree empty;
  destination.EndProcedure(empty);
  destination.EndProcedure(tree);  // the first part's subtree only
  Accept(destination, Path("second.txt"), "");
  EXPECT_EQ(ReadFile(Path("first.txt")), kMark + "Frequencies\nStatistics\n");
  EXPECT_EQ(ReadFile(Path("second.txt")), "");  // truncated; the mark is still buffered
  destination.LogLine("two");
  // A rejected specification closes the file whole and writes nowhere after.
  Accept(destination, " '" + dir + "' ", "File  '" + dir + "'  is read only.");
  EXPECT_EQ(ReadFile(Path("second.txt")), kMark + "two\n");
  std::string subtitle;
  destination.LogLine("lost");
  destination.SetPageTitle("lost", subtitle);
  destination.EndProcedure(tree);
  destination.Close();
  EXPECT_EQ(ReadFile(Path("second.txt")), kMark + "two\n");
  Accept(destination, Path("first.txt"), "");
  destination.LogLine("line");
  destination.Close();
  EXPECT_FALSE(destination.isFileOK());
  EXPECT_EQ(ReadFile(Path("first.txt")), kMark + "line\n");
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
  for (const std::string& spec :
       {std::string(), std::string("   "), std::string(" \"\" "), Path(std::string(5000, 'n')),
        Path(std::string("a\0b", 3)), Path("^1/^^1")}) {
    Accept(destination, spec, "File " + spec + " creation failed.");
  }
  EXPECT_FALSE(Exists(Path("a")));
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

}  // namespace
