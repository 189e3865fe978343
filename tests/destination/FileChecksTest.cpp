// The host's file checks: resolving typed specifications, validating a file
// before it is written, and opening streams on resolved names.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>

#include "ScratchDirectory.h"
#include "host/CheckFileRef.h"
#include "host/ExtNameStr.h"
#include "host/ValidateFileSpecification.h"

namespace {

using omtext::testing::HeldLock;
using omtext::testing::PathExists;
using omtext::testing::ReadBytes;
using omtext::testing::ScratchDirectory;
using omtext::testing::WriteBytes;

std::string Resolve(const std::string& spec) {
  return CheckFileRef(spec, false, false).String();
}

// Sets HOME (or unsets it for nullopt) for one test and restores it.
class HomeVariable {
 public:
  explicit HomeVariable(const std::optional<std::string>& value) {
    if (const char* old = std::getenv("HOME"))
      mSaved = old;
    if (value) {
      ::setenv("HOME", value->c_str(), 1);
    } else {
      ::unsetenv("HOME");
    }
  }
  ~HomeVariable() {
    if (mSaved) {
      ::setenv("HOME", mSaved->c_str(), 1);
    } else {
      ::unsetenv("HOME");
    }
  }

 private:
  std::optional<std::string> mSaved;
};

TEST(CheckFileRef, RemovesSurroundingBlanksAndOnePairOfQuotes) {
  EXPECT_EQ(Resolve("out.txt"), "out.txt");
  EXPECT_EQ(Resolve(" \t /tmp/out.txt\t "), "/tmp/out.txt");
  EXPECT_EQ(Resolve("'/tmp/a b.txt'"), "/tmp/a b.txt");
  EXPECT_EQ(Resolve("  \" padded \"  "), " padded ");
  EXPECT_EQ(Resolve("''x''"), "'x'");
  EXPECT_EQ(Resolve("it's"), "it's");
  // Quotes that do not match, or a lone quote, stay.
  EXPECT_EQ(Resolve("'x\""), "'x\"");
  EXPECT_EQ(Resolve("'"), "'");
  EXPECT_EQ(Resolve("in 'the' middle"), "in 'the' middle");
}

TEST(CheckFileRef, SpecificationsOfNothingResolveToEmpty) {
  EXPECT_EQ(Resolve(""), "");
  EXPECT_EQ(Resolve("   "), "");
  EXPECT_EQ(Resolve("''"), "");
  EXPECT_EQ(Resolve(" \"\" "), "");
}

TEST(CheckFileRef, ExpandsALeadingTildeSlashToTheHomeDirectory) {
  const HomeVariable home(std::string("/home/someone"));
  EXPECT_EQ(Resolve("~/out.txt"), "/home/someone/out.txt");
  EXPECT_EQ(Resolve(" '~/a b' "), "/home/someone/a b");
  EXPECT_EQ(Resolve("~/"), "/home/someone/");
  // Only a leading "~/" is the home directory.
  EXPECT_EQ(Resolve("~"), "~");
  EXPECT_EQ(Resolve("~other/x"), "~other/x");
  EXPECT_EQ(Resolve("a/~/x"), "a/~/x");
}

TEST(CheckFileRef, HomeDirectoryTrailingSlashesAreNotDoubled) {
  {
    const HomeVariable home(std::string("/home/someone//"));
    EXPECT_EQ(Resolve("~/x"), "/home/someone/x");
  }
  const HomeVariable root(std::string("/"));
  EXPECT_EQ(Resolve("~/x"), "/x");
}

TEST(CheckFileRef, WithoutHomeUsesThePasswordDatabase) {
  const passwd* entry = ::getpwuid(::geteuid());
  if (entry == nullptr || entry->pw_dir == nullptr || *entry->pw_dir == '\0') {
    GTEST_SKIP() << "this user has no home directory entry";
  }
  std::string expected = entry->pw_dir;
  while (!expected.empty() && expected.back() == '/')
    expected.pop_back();
  {
    const HomeVariable unset(std::nullopt);
    EXPECT_EQ(Resolve("~/x"), expected + "/x");
  }
  const HomeVariable empty(std::string(""));
  EXPECT_EQ(Resolve("~/x"), expected + "/x");
}

struct Checked {
  std::int32_t exists = -1;
  std::int32_t creatable = -1;
  std::int32_t readOnly = -1;
  std::int32_t busy = -1;
  std::string scratch = "unset";
  bool operator==(const Checked& other) const {
    return exists == other.exists && creatable == other.creatable && readOnly == other.readOnly &&
           busy == other.busy;
  }
};

std::ostream& operator<<(std::ostream& out, const Checked& c) {
  return out << "{exists " << c.exists << ", creatable " << c.creatable << ", readOnly "
             << c.readOnly << ", busy " << c.busy << "}";
}

Checked Check(const std::string& name) {
  Checked c;
  ValidateFileSpecification(name.data(), static_cast<std::int32_t>(name.size()), 1, &c.scratch,
                            &c.exists, &c.creatable, &c.readOnly, &c.busy);
  return c;
}

Checked Expect(std::int32_t exists, std::int32_t creatable, std::int32_t readOnly,
               std::int32_t busy) {
  Checked c;
  c.exists = exists;
  c.creatable = creatable;
  c.readOnly = readOnly;
  c.busy = busy;
  return c;
}

TEST(ValidateFileSpecification, TellsExistingFilesFromCreatableOnes) {
  const ScratchDirectory dir;
  WriteBytes(dir / "there.txt", "x");
  const Checked there = Check(dir / "there.txt");
  EXPECT_EQ(there, Expect(1, 0, 0, 0));
  EXPECT_EQ(there.scratch, dir.Path());
  const Checked fresh = Check(dir / "new.txt");
  EXPECT_EQ(fresh, Expect(0, 1, 0, 0));
  EXPECT_EQ(fresh.scratch, dir.Path());
  // No parent directory, or a parent that is a file: nothing can be created.
  EXPECT_EQ(Check(dir / "missing/new.txt"), Expect(0, 0, 0, 0));
  EXPECT_EQ(Check(dir / "there.txt/new.txt"), Expect(0, 0, 0, 0));
}

TEST(ValidateFileSpecification, ScratchHoldsTheFilesDirectory) {
  EXPECT_EQ(Check("bare-name-that-is-not-there").scratch, ".");
  EXPECT_EQ(Check("/not-there").scratch, "/");
  EXPECT_EQ(Check("//not-there").scratch, "/");
  EXPECT_EQ(Check("/tmp//not-there").scratch, "/tmp");
  EXPECT_EQ(Check("/tmp/dir/").scratch, "/tmp");
}

TEST(ValidateFileSpecification, DirectoriesAreReadOnly) {
  const ScratchDirectory dir;
  EXPECT_EQ(Check(dir.Path()), Expect(1, 0, 1, 0));
  EXPECT_EQ(Check(dir.Path() + "/"), Expect(1, 0, 1, 0));
  EXPECT_EQ(Check("/"), Expect(1, 0, 1, 0));
}

TEST(ValidateFileSpecification, FilesWithoutWritePermissionAreReadOnly) {
  if (::geteuid() == 0)
    GTEST_SKIP() << "permission bits do not stop root";
  const ScratchDirectory dir;
  WriteBytes(dir / "locked.txt", "x");
  ::chmod((dir / "locked.txt").c_str(), 0444);
  EXPECT_EQ(Check(dir / "locked.txt"), Expect(1, 0, 1, 0));
  // Nor can a file be created in a directory that is not writable.
  ::chmod(dir.Path().c_str(), 0555);
  EXPECT_EQ(Check(dir / "new.txt"), Expect(0, 0, 0, 0));
}

TEST(ValidateFileSpecification, LockedFilesAreBusy) {
  const ScratchDirectory dir;
  WriteBytes(dir / "held.txt", "x");
  {
    const HeldLock lock(dir / "held.txt");
    EXPECT_EQ(Check(dir / "held.txt"), Expect(1, 0, 0, 1));
  }
  EXPECT_EQ(Check(dir / "held.txt"), Expect(1, 0, 0, 0));
}

TEST(ValidateFileSpecification, ReadLocksAndProcessLocksConflictWithWritingToo) {
  const ScratchDirectory dir;
  WriteBytes(dir / "held.txt", "x");
  const int fd = ::open((dir / "held.txt").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  struct flock lock {};
  lock.l_type = F_RDLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 5;
  lock.l_len = 1;
  ASSERT_EQ(::fcntl(fd, F_OFD_SETLK, &lock), 0);
  EXPECT_EQ(Check(dir / "held.txt").busy, 1);
  lock.l_type = F_UNLCK;
  ASSERT_EQ(::fcntl(fd, F_OFD_SETLK, &lock), 0);
  EXPECT_EQ(Check(dir / "held.txt").busy, 0);
  // A traditional record lock belongs to this process, not to the file
  // description the check opens, so it counts as held by another.
  lock.l_type = F_RDLCK;
  ASSERT_EQ(::fcntl(fd, F_SETLK, &lock), 0);
  EXPECT_EQ(Check(dir / "held.txt").busy, 1);
  ::close(fd);
}

TEST(ValidateFileSpecification, SpecialFilesAreCheckedWithoutBlocking) {
  const ScratchDirectory dir;
  ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);
  // Opening a FIFO that has no writer would block; the check must not.
  EXPECT_EQ(Check(dir / "fifo"), Expect(1, 0, 0, 0));
  EXPECT_EQ(Check("/dev/null"), Expect(1, 0, 0, 0));
}

TEST(ValidateFileSpecification, NamesThatNameNoFileLeaveEveryOutputZero) {
  const ScratchDirectory dir;
  WriteBytes(dir / "a", "x");
  EXPECT_EQ(Check(""), Expect(0, 0, 0, 0));
  // A NUL byte would otherwise cut the name short to an existing file.
  EXPECT_EQ(Check(dir / std::string("a\0b", 3)), Expect(0, 0, 0, 0));
  // Names too long for the system are simply not there; whether they could
  // be created is the parent directory's answer, and creating them fails.
  EXPECT_EQ(Check(dir / std::string(5000, 'n')), Expect(0, 1, 0, 0));
  EXPECT_EQ(Check(dir / std::string(70000, 'n')).exists, 0);
  Checked negative;
  const std::string name = dir / "a";
  ValidateFileSpecification(name.data(), -1, 1, &negative.scratch, &negative.exists,
                            &negative.creatable, &negative.readOnly, &negative.busy);
  EXPECT_EQ(negative, Expect(0, 0, 0, 0));
  EXPECT_EQ(negative.scratch, "");
  // Outputs the caller does not want may be null.
  std::int32_t exists = -1;
  ValidateFileSpecification(name.data(), static_cast<std::int32_t>(name.size()), 1, nullptr,
                            &exists, nullptr, nullptr, nullptr);
  EXPECT_EQ(exists, 1);
  ValidateFileSpecification(nullptr, 3, 1, nullptr, &exists, nullptr, nullptr, nullptr);
  EXPECT_EQ(exists, 0);
}

TEST(ExtNameStr, OpensTheStreamOnTheStoredName) {
  const ScratchDirectory dir;
  WriteBytes(dir / "out.txt", "old contents");
  ExtNameStr name;
  name.SetGeneric(dir / "out.txt");
  EXPECT_EQ(name.Name(), dir / "out.txt");
  std::ofstream stream;
  ASSERT_TRUE(name.Open(stream, std::ios_base::out | std::ios_base::trunc));
  stream << "new";
  stream.close();
  EXPECT_EQ(ReadBytes(dir / "out.txt"), "new");
  std::ofstream append;
  ASSERT_TRUE(name.Open(append, std::ios_base::out | std::ios_base::app));
  append << "er";
  append.close();
  EXPECT_EQ(ReadBytes(dir / "out.txt"), "newer");
}

TEST(ExtNameStr, FailureSetsTheFailStateAndRaisesWhenAsked) {
  const ScratchDirectory dir;
  ExtNameStr missing;
  missing.SetGeneric(dir / "missing/out.txt");
  std::ofstream quiet;
  EXPECT_FALSE(missing.Open(quiet, std::ios_base::out));
  EXPECT_TRUE(quiet.fail());
  std::ofstream raising;
  raising.exceptions(std::ios_base::failbit | std::ios_base::badbit);
  EXPECT_THROW(missing.Open(raising, std::ios_base::out), std::ios_base::failure);

  // Never the file that the part before a NUL byte names.
  ExtNameStr embedded;
  embedded.SetGeneric(dir / std::string("a\0b", 3));
  std::ofstream stream;
  EXPECT_FALSE(embedded.Open(stream, std::ios_base::out));
  EXPECT_TRUE(stream.fail());
  EXPECT_FALSE(PathExists(dir / "a"));
}

}  // namespace
