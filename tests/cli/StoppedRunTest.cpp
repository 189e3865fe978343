// The command, run as a built binary, when a run cannot finish: a signal
// ends the process while -o's file is written. It must leave -o's file as
// it was, no temporary file behind, and the exit status of the signal.
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
};

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
