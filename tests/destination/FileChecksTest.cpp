// The host's file checks (resolving typed specifications, validating a file
// before it is written) and the reporting of the problems they find.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "../cli/CommandRunner.h"
#include "host/platform/BpComposite.h"
#include "host/platform/BpError.h"
#include "host/platform/BpString.h"
#include "host/platform/CheckFileRef.h"
#include "host/platform/ValidateFileSpecification.h"

namespace {

using omtext::testing::WriteFile;

std::string Resolve(const std::string& spec) {
  return CheckFileRef(spec, false, false).String();
}

TEST(CheckFileRef, StripsBlanksAndOnePairOfQuotesThenExpandsTheHome) {
  const std::string saved = std::getenv("HOME") ? std::getenv("HOME") : "";
  ::setenv("HOME", "/home/u//", 1);
  EXPECT_EQ(Resolve(" \t/tmp/out.txt\t "), "/tmp/out.txt");
  EXPECT_EQ(Resolve("  \" padded \" "), " padded ");
  EXPECT_EQ(Resolve("''x''"), "'x'");
  EXPECT_EQ(Resolve("'x\""), "'x\"");
  EXPECT_EQ(Resolve("'"), "'");
  EXPECT_EQ(Resolve(" '' "), "");
  EXPECT_EQ(Resolve("   "), "");
  EXPECT_EQ(Resolve(" '~/a b' "), "/home/u/a b");
  EXPECT_EQ(Resolve("~"), "~");
  EXPECT_EQ(Resolve("~other/x"), "~other/x");
  EXPECT_EQ(Resolve("a/~/x"), "a/~/x");
  // Without HOME the password database has the home directory.
  ::unsetenv("HOME");
  const passwd* entry = ::getpwuid(::geteuid());
  if (entry != nullptr && entry->pw_dir != nullptr && std::string(entry->pw_dir) != "/") {
    EXPECT_EQ(Resolve("~/x"), std::string(entry->pw_dir) + "/x");
  }
  if (!saved.empty())
    ::setenv("HOME", saved.c_str(), 1);
}

// exists, creatable, readOnly, busy as four digits, and the scratch text.
std::string Check(const std::string& name, std::int32_t length = -2) {
  std::int32_t out[4] = {-1, -1, -1, -1};
  std::string scratch = "unset";
  ValidateFileSpecification(name.data(),
                            length == -2 ? static_cast<std::int32_t>(name.size()) : length, 1,
                            &scratch, &out[0], &out[1], &out[2], &out[3]);
  std::string digits;
  for (std::int32_t value : out)
    digits += std::to_string(value);
  return digits + " " + scratch;
}

using ValidateFileSpecificationTest = omtext::testing::Scratch<>;

TEST_F(ValidateFileSpecificationTest, TellsTheStatesOfAPath) {
  WriteFile(dir + "/f", "x");
  EXPECT_EQ(Check(dir + "/f"), "1000 " + dir);
  EXPECT_EQ(Check(dir + "/new"), "0100 " + dir);
  EXPECT_EQ(Check(dir + "//missing/new"), "0000 " + dir + "//missing");
  EXPECT_EQ(Check(dir + "/f/new"), "0000 " + dir + "/f");
  EXPECT_EQ(Check(dir + "/"), "1010 /tmp");
  EXPECT_EQ(Check("bare-name-not-there"), "0100 .");
  // A FIFO without a writer is checked without blocking on it.
  ASSERT_EQ(::mkfifo((dir + "/fifo").c_str(), 0600), 0);
  EXPECT_EQ(Check(dir + "/fifo"), "1000 " + dir);
  // Names that name no file: a NUL byte would otherwise cut the name short
  // to an existing file.
  EXPECT_EQ(Check(dir + "/f" + std::string(1, '\0') + "x"), "0000 ");
  EXPECT_EQ(Check(""), "0000 ");
  EXPECT_EQ(Check(dir + "/f", -1), "0000 ");
  EXPECT_EQ(Check(dir + "/" + std::string(70000, 'n')).substr(0, 1), "0");
  if (::geteuid() != 0) {
    ::chmod((dir + "/f").c_str(), 0444);
    EXPECT_EQ(Check(dir + "/f"), "1010 " + dir);
    ::chmod(dir.c_str(), 0555);
    EXPECT_EQ(Check(dir + "/new"), "0000 " + dir);
    ::chmod(dir.c_str(), 0700);
  }
}

TEST_F(ValidateFileSpecificationTest, ConflictingLocksOfOtherDescriptionsMakeAFileBusy) {
  WriteFile(dir + "/f", "x");
  const int fd = ::open((dir + "/f").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  struct flock lock {};
  lock.l_type = F_RDLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 5;
  lock.l_len = 1;
  ASSERT_EQ(::fcntl(fd, F_OFD_SETLK, &lock), 0);
  EXPECT_EQ(Check(dir + "/f"), "1001 " + dir);
  lock.l_type = F_UNLCK;
  ASSERT_EQ(::fcntl(fd, F_OFD_SETLK, &lock), 0);
  EXPECT_EQ(Check(dir + "/f"), "1000 " + dir);
  // A traditional lock belongs to the process, not to the description the
  // check opens, so it conflicts too.
  lock.l_type = F_RDLCK;
  ASSERT_EQ(::fcntl(fd, F_SETLK, &lock), 0);
  EXPECT_EQ(Check(dir + "/f"), "1001 " + dir);
  ::close(fd);
}

BpComposite Compose(const std::string& pattern, const std::vector<std::string>& arguments) {
  BpComposite composite(pattern, true);
  for (const std::string& argument : arguments)
    composite.Add(BpString(argument, false));
  composite.Finish();
  return composite;
}

TEST(BpComposite, FillsPlaceholdersInOnePass) {
  EXPECT_EQ(Compose("^2 before ^1, ^1x", {"one", "two"}).Text(), "two before one, onex");
  EXPECT_EQ(Compose("^10|^1", {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"}).Text(), "j|a");
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
  }
  EXPECT_EQ(reports, std::vector<std::string>{"File x is busy. 2 4"});
  // Out of the scope, the default handler writes one line to standard error.
  ::testing::internal::CaptureStderr();
  BpError(Compose("File ^1 is read only.", {"y"}), 2, 4);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "omtext: File y is read only.\n");
}

}  // namespace
