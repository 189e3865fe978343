// The command, run as a built binary, when a run cannot finish: the text
// passes --max-output, memory runs out in the middle of a table, or a
// signal ends the process while -o's file is written. Each must leave -o's
// file as it was, no temporary file behind, and an honest exit status.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::ReadFile;
using omtext::testing::TemporaryFiles;
using omtext::testing::WriteFile;
using Result = omtext::testing::CommandResult;

// A heading whose line, with its line feed, is size bytes long.
std::string Heading(std::size_t size) {
  return R"({"output": [{"type": "heading", "text": ")" + std::string(size - 1, 'x') + "\"}]}";
}

// A heading, a table of two row dimensions of n leaves each holding a
// single cell, and a heading. With --show-empty it prints n * n rows from a
// few bytes per leaf.
std::string SparseTable(int n) {
  std::string categories;
  for (int i = 0; i < n; ++i)
    categories += std::string(i ? "," : "") + "\"c" + std::to_string(i) + "\"";
  auto dimension = [&categories](const char* label) {
    return std::string(R"({"label": ")") + label + R"(", "axis": "row", "categories": [)" +
           categories + "]}";
  };
  return R"({"output": [{"type": "heading", "text": "before"}, {"type": "pivot-table",
    "dimensions": [)" +
         dimension("A") + ", " + dimension("B") +
         R"(], "cells": [[[0, 0], 1]]}, {"type": "heading", "text": "after"}]})";
}

class StoppedRun : public omtext::testing::Scratch<> {
 protected:
  // Starts the command with standard input from the file "stdin", standard
  // output and error to the files "stdout" and "stderr". In the child, the
  // resource gets the limit (resource -1: none), the ignored signal (0:
  // none) is ignored and every other fatal signal has its default action.
  pid_t Start(const std::vector<std::string>& arguments, int resource = -1, rlim_t limit = 0,
              int ignored = 0) {
    std::vector<std::string> words = {OMTEXT_COMMAND};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
      argv.push_back(word.data());
    argv.push_back(nullptr);
    const std::string in = Path("stdin");
    const std::string out = Path("stdout");
    const std::string err = Path("stderr");
    const pid_t pid = ::fork();
    if (pid == 0) {
      // Only async-signal-safe calls between fork and exec.
      const int inFd = ::open(in.c_str(), O_RDONLY);
      const int outFd = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      const int errFd = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      if (inFd < 0 || outFd < 0 || errFd < 0 || ::dup2(inFd, 0) < 0 || ::dup2(outFd, 1) < 0 ||
          ::dup2(errFd, 2) < 0) {
        ::_exit(126);
      }
      if (resource >= 0) {
        const rlimit bound = {limit, limit};
        ::setrlimit(resource, &bound);
      }
      for (int signal : {SIGTERM, SIGINT, SIGHUP, SIGXFSZ})
        ::signal(signal, signal == ignored ? SIG_IGN : SIG_DFL);
      sigset_t none;
      ::sigemptyset(&none);
      ::sigprocmask(SIG_SETMASK, &none, nullptr);
      ::execv(argv[0], argv.data());
      ::_exit(127);
    }
    return pid;
  }

  // Waits for the command and returns its wait status.
  static int Wait(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
  }

  // Waits until the command has written part of its temporary file, and
  // fails the test if it ends first.
  bool WaitUntilMidWrite(pid_t pid) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (std::chrono::steady_clock::now() < deadline) {
      for (const std::string& name : TemporaryFiles(dir)) {
        struct stat info {};
        if (::stat(Path(name).c_str(), &info) == 0 && info.st_size > 0)
          return true;
      }
      int status = 0;
      if (::waitpid(pid, &status, WNOHANG) == pid) {
        ADD_FAILURE() << "the command ended before it could be stopped: "
                      << ReadFile(Path("stderr"));
        return false;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ADD_FAILURE() << "the command wrote nothing to a temporary file";
    return false;
  }

  // Runs the command to its end with the arguments and the resource limit.
  Result RunLimited(const std::vector<std::string>& arguments, const std::string& input,
                    int resource, rlim_t limit) {
    WriteFile(Path("stdin"), input);
    const int status = Wait(Start(arguments, resource, limit));
    Result result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = ReadFile(Path("stdout"));
    result.err = ReadFile(Path("stderr"));
    return result;
  }
};

TEST_F(StoppedRun, MaxOutputAllowsExactlyItsSize) {
  const std::string kilobyte = Heading(1024);
  EXPECT_EQ(Run({"--max-output", "1k"}, kilobyte).out.size(), 1024u);
  EXPECT_EQ(Run({"--max-output=0"}, R"({"output": []})").status, 0);

  Result result = Run({"--max-output", "1023"}, kilobyte);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, std::string(1023, 'x'));
  EXPECT_EQ(result.err,
            "omtext: -: the text is longer than the --max-output limit of 1023 bytes; only the "
            "first 1023 bytes were written\n");
  EXPECT_EQ(Run({"--max-output", "0"}, kilobyte).out, "");
  // One piece of text larger than the command's buffer is cut at the limit.
  result = Run({"--max-output", "2M"}, Heading(3 << 20));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out.size(), std::size_t{2} << 20);
  EXPECT_EQ(Run({"--max-output", "3M"}, Heading(3 << 20)).status, 0);
}

TEST_F(StoppedRun, MaxOutputLeavesTheOutputFileAsItWas) {
  // 4 million rows, about 28 MB of text: the run stops at the limit.
  WriteFile(Path("out.txt"), "old contents\n");
  const std::vector<std::string> options = {"--show-empty", "--tab-separated", "--max-output",
                                            "1M"};
  std::vector<std::string> arguments = options;
  arguments.insert(arguments.end(), {"-o", Path("out.txt")});
  const std::string table = SparseTable(2000);
  Result result = Run(arguments, table);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "omtext: -: the text is longer than the --max-output limit of 1048576 bytes; " +
                Path("out.txt") + " was left as it was\n");
  EXPECT_EQ(ReadFile(Path("out.txt")), "old contents\n");
  EXPECT_EQ(TemporaryFiles(dir), std::vector<std::string>{});
  result = Run(options, table);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out.size(), 1048576u);
  EXPECT_EQ(result.out.rfind("before\nc0\tc0\t1\n\tc1\t\n", 0), 0u);
}

// An address-space limit is how a test can make memory run out; the
// sanitizers reserve far more address space than any such limit allows.
#if defined(__SANITIZE_ADDRESS__)
#define SKIP_WITHOUT_ADDRESS_LIMITS() GTEST_SKIP() << "address-space limits and AddressSanitizer"
#else
#define SKIP_WITHOUT_ADDRESS_LIMITS() (void)0
#endif

// 64 MiB is enough to load and check the 2000 x 2000 table, not to lay out
// its 128 MB of text.
constexpr rlim_t kAddressSpace = rlim_t{64} << 20;

TEST_F(StoppedRun, TableThatRunsOutOfMemoryIsReportedAndFails) {
  SKIP_WITHOUT_ADDRESS_LIMITS();
  const std::string table = SparseTable(2000);
  Result result = RunLimited({"--show-empty"}, table, RLIMIT_AS, kAddressSpace);
  EXPECT_EQ(result.status, 1);
  // The library's replacement is printed and the document goes on.
  EXPECT_EQ(result.out, "before\nOutput Missing\nOut of memory exporting output.\nafter\n");
  EXPECT_EQ(result.err,
            "omtext: -: out of memory rendering the pivot table at output[1]; it was replaced by "
            "\"Output Missing\"\n");

  WriteFile(Path("out.txt"), "old contents\n");
  result = RunLimited({"--show-empty", "-o", Path("out.txt")}, table, RLIMIT_AS, kAddressSpace);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "omtext: -: out of memory rendering the pivot table at output[1]; " +
                            Path("out.txt") + " was left as it was\n");
  EXPECT_EQ(ReadFile(Path("out.txt")), "old contents\n");
  EXPECT_EQ(TemporaryFiles(dir), std::vector<std::string>{});
}

class FatalSignal : public StoppedRun, public ::testing::WithParamInterface<int> {};

TEST_P(FatalSignal, MidWriteRemovesTheTemporaryFileAndEndsBySignal) {
  const int signal = GetParam();
  WriteFile(Path("out.txt"), "old contents\n");
  WriteFile(Path("stdin"), SparseTable(2000));
  const pid_t pid = Start({"--show-empty", "--tab-separated", "-o", Path("out.txt")});
  if (!WaitUntilMidWrite(pid)) {
    ::kill(pid, SIGKILL);
    Wait(pid);
    return;
  }
  ::kill(pid, signal);
  const int status = Wait(pid);
  ASSERT_TRUE(WIFSIGNALED(status)) << "exit status " << WEXITSTATUS(status);
  EXPECT_EQ(WTERMSIG(status), signal);
  EXPECT_EQ(TemporaryFiles(dir), std::vector<std::string>{});
  EXPECT_EQ(ReadFile(Path("out.txt")), "old contents\n");
}

INSTANTIATE_TEST_SUITE_P(Signals, FatalSignal, ::testing::Values(SIGTERM, SIGINT, SIGHUP, SIGXFSZ),
                         [](const ::testing::TestParamInfo<int>& param) {
                           return std::string(sigabbrev_np(param.param));
                         });

TEST_F(StoppedRun, FileSizeLimitRemovesTheTemporaryFile) {
  // Past the limit the system sends SIGXFSZ by itself.
  WriteFile(Path("out.txt"), "old contents\n");
  WriteFile(Path("stdin"), SparseTable(300));
  const int status =
      Wait(Start({"--show-empty", "-o", Path("out.txt")}, RLIMIT_FSIZE, rlim_t{64} << 10));
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGXFSZ);
  EXPECT_EQ(TemporaryFiles(dir), std::vector<std::string>{});
  EXPECT_EQ(ReadFile(Path("out.txt")), "old contents\n");
}

TEST_F(StoppedRun, SignalIgnoredAtStartStaysIgnored) {
  // As under nohup: a hangup while the file is written changes nothing.
  WriteFile(Path("stdin"), SparseTable(2000));
  const pid_t pid =
      Start({"--show-empty", "--tab-separated", "-o", Path("out.txt")}, -1, 0, SIGHUP);
  if (WaitUntilMidWrite(pid))
    ::kill(pid, SIGHUP);
  const int status = Wait(pid);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(TemporaryFiles(dir), std::vector<std::string>{});
  EXPECT_EQ(ReadFile(Path("out.txt")).rfind("before\nc0\tc0\t1\n", 0), 0u);
}

}  // namespace
