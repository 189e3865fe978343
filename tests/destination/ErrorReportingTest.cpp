// Composing host messages and passing them to the error handler.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/BpComposite.h"
#include "host/BpError.h"
#include "host/BpString.h"

namespace {

BpComposite Compose(const std::string& pattern, const std::vector<std::string>& arguments) {
  BpComposite composite(pattern, true);
  for (const std::string& argument : arguments)
    composite.Add(BpString(argument, false));
  composite.Finish();
  return composite;
}

TEST(BpComposite, FillsPlaceholdersInOnePass) {
  const std::vector<std::string> ten = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"};
  EXPECT_EQ(Compose("^2 before ^1, ^1x", {"one", "two"}).Text(), "two before one, onex");
  EXPECT_EQ(Compose("^10|^1", ten).Text(), "j|a");
  // Carets that name no argument stay, however long their number.
  EXPECT_EQ(Compose("^0 ^2 ^ ^x ^^1 end^ ^12", {"A"}).Text(), "^0 ^2 ^ ^x ^A end^ ^12");
  EXPECT_EQ(Compose("^99999999999999999999999", {"A"}).Text(), "^99999999999999999999999");
  // Inserted text is not expanded again.
  EXPECT_EQ(Compose("File ^1 and ^2", {"^2", "x"}).Text(), "File ^2 and x");
  BpComposite unfinished("File ^1.", true);
  unfinished.Add(BpString("a", false));
  EXPECT_EQ(unfinished.Text(), "File ^1.");
}

TEST(BpError, ReachesTheInstalledHandlerUntilItsScopeEnds) {
  std::vector<std::string> reports;
  {
    const BpErrorHandlerScope scope(
        [&reports](const std::string& text, std::int32_t show, std::int32_t level) {
          reports.push_back(text + " " + std::to_string(show) + " " + std::to_string(level));
        });
    BpError(Compose("File ^1 is busy.", {"x"}), 2, 4);
    EXPECT_THROW(
        {
          const BpErrorHandlerScope inner([](const std::string& text, std::int32_t, std::int32_t) {
            throw std::runtime_error(text);
          });
          BpError(Compose("thrown", {}), 2, 4);
        },
        std::runtime_error);
    BpError(Compose("after", {}), -1, 0);
  }
  EXPECT_EQ(reports, (std::vector<std::string>{"File x is busy. 2 4", "after -1 0"}));
  // The default handler writes one line to standard error.
  ::testing::internal::CaptureStderr();
  BpError(Compose("File ^1 is read only.", {"y"}), 2, 4);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "omtext: File y is read only.\n");
}

}  // namespace
