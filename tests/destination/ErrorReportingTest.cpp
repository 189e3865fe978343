// Composing host messages and passing them to the error handler.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/BpComposite.h"
#include "host/BpError.h"
#include "host/BpString.h"

namespace {

std::string Compose(const std::string& pattern, const std::vector<std::string>& arguments) {
  BpComposite composite(pattern, true);
  for (const std::string& argument : arguments)
    composite.Add(BpString(argument, false));
  composite.Finish();
  return composite.Text();
}

TEST(BpComposite, FillsNumberedPlaceholdersWithTheAddedTexts) {
  EXPECT_EQ(Compose("File ^1 is busy.", {"/tmp/a b"}), "File /tmp/a b is busy.");
  EXPECT_EQ(Compose("^2 before ^1, ^1 again", {"one", "two"}), "two before one, one again");
  EXPECT_EQ(Compose("^1^1", {""}), "");
  std::vector<std::string> ten;
  for (int i = 1; i <= 10; ++i)
    ten.push_back("a" + std::to_string(i));
  // All digits after the caret form one number.
  EXPECT_EQ(Compose("^10|^1|^1x", ten), "a10|a1|a1x");
}

TEST(BpComposite, KeepsCaretsThatNameNoArgument) {
  EXPECT_EQ(Compose("^0 ^2 ^ ^x ^^1 end^", {"A"}), "^0 ^2 ^ ^x ^A end^");
  EXPECT_EQ(Compose("^12", {"A"}), "^12");
  EXPECT_EQ(Compose("^99999999999999999999999999", {"A"}), "^99999999999999999999999999");
  EXPECT_EQ(Compose("no arguments ^1", {}), "no arguments ^1");
}

TEST(BpComposite, InsertsArgumentsWithoutExpandingThem) {
  // A file specification may itself hold a caret and digits.
  EXPECT_EQ(Compose("File ^1 creation failed.", {"^1^2"}), "File ^1^2 creation failed.");
  EXPECT_EQ(Compose("^1 ^2", {"^2", "x"}), "^2 x");
}

TEST(BpComposite, TextIsThePatternUntilFinished) {
  BpComposite composite("File ^1.", true);
  composite.Add(BpString("a", false));
  EXPECT_EQ(composite.Text(), "File ^1.");
  composite.Finish();
  EXPECT_EQ(composite.Text(), "File a.");
  composite.Add(BpString("b", false));
  EXPECT_EQ(composite.Text(), "File a.");
  BpComposite second("^1^2", false);
  second.Add(BpString("x", true));
  second.Add(BpString("y", false));
  second.Finish();
  EXPECT_EQ(second.Text(), "xy");
}

struct Report {
  std::string text;
  std::int32_t show;
  std::int32_t level;
};

BpComposite Finished(const std::string& text) {
  BpComposite composite(text, true);
  composite.Finish();
  return composite;
}

TEST(BpError, PassesTextShowAndLevelToTheInstalledHandler) {
  std::vector<Report> reports;
  {
    const BpErrorHandlerScope scope(
        [&reports](const std::string& text, std::int32_t show, std::int32_t level) {
          reports.push_back({text, show, level});
        });
    BpError(Finished("first"), 2, 4);
    BpError(Finished("second"), -1, 0);
  }
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[0].text, "first");
  EXPECT_EQ(reports[0].show, 2);
  EXPECT_EQ(reports[0].level, 4);
  EXPECT_EQ(reports[1].text, "second");
  EXPECT_EQ(reports[1].show, -1);
  EXPECT_EQ(reports[1].level, 0);
}

TEST(BpError, DefaultHandlerWritesOneLineToStandardError) {
  ::testing::internal::CaptureStderr();
  BpError(Finished("File x is busy."), 2, 4);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "omtext: File x is busy.\n");
}

TEST(BpError, ScopesRestoreTheHandlerTheyReplaced) {
  std::string outer;
  std::string inner;
  const BpErrorHandlerScope outerScope(
      [&outer](const std::string& text, std::int32_t, std::int32_t) { outer += text; });
  {
    const BpErrorHandlerScope innerScope(
        [&inner](const std::string& text, std::int32_t, std::int32_t) { inner += text; });
    BpError(Finished("a"), 2, 4);
  }
  BpError(Finished("b"), 2, 4);
  EXPECT_EQ(inner, "a");
  EXPECT_EQ(outer, "b");
  // An empty handler stands for the default one.
  const BpErrorHandler previous = BpSetErrorHandler(nullptr);
  ::testing::internal::CaptureStderr();
  BpError(Finished("c"), 2, 4);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "omtext: c\n");
  BpSetErrorHandler(previous);
  BpError(Finished("d"), 2, 4);
  EXPECT_EQ(outer, "bd");
}

TEST(BpError, HandlerMayReplaceItselfWhileRunning) {
  int calls = 0;
  const BpErrorHandlerScope scope([&calls](const std::string&, std::int32_t, std::int32_t) {
    ++calls;
    BpSetErrorHandler([&calls](const std::string&, std::int32_t, std::int32_t) { calls += 10; });
  });
  BpError(Finished("x"), 2, 4);
  BpError(Finished("y"), 2, 4);
  EXPECT_EQ(calls, 11);
}

TEST(BpError, ExceptionsFromTheHandlerReachTheCaller) {
  const BpErrorHandlerScope scope(
      [](const std::string& text, std::int32_t, std::int32_t) { throw std::runtime_error(text); });
  EXPECT_THROW(BpError(Finished("boom"), 2, 4), std::runtime_error);
}

}  // namespace
