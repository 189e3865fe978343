// Running the built command for tests.
#include "CommandRunner.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>

namespace omtext::testing {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

bool Exists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0;
}

std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text)
    quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

namespace {

std::vector<std::string> FilesWhere(const std::string& dir,
                                    const std::function<bool(const std::string&)>& keep) {
  std::vector<std::string> names;
  if (DIR* handle = ::opendir(dir.c_str())) {
    while (const dirent* entry = ::readdir(handle)) {
      if (keep(entry->d_name))
        names.push_back(entry->d_name);
    }
    ::closedir(handle);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::vector<std::string> ListFiles(const std::string& dir, const std::string& suffix) {
  return FilesWhere(dir, [&suffix](const std::string& name) {
    return name.size() > suffix.size() &&
           name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
  });
}

std::vector<std::string> TemporaryFiles(const std::string& dir) {
  return FilesWhere(dir, [](const std::string& name) { return name.rfind(".omtext-", 0) == 0; });
}

int LockFile(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  EXPECT_EQ(::fcntl(fd, F_OFD_SETLK, &lock), 0) << path;
  return fd;
}

CommandResult RunCommand(const std::vector<std::string>& arguments, const std::string& stdinPath,
                         const std::string& dir, const std::string& redirect) {
  std::string command = ShellQuote(OMTEXT_COMMAND);
  for (const std::string& argument : arguments)
    command += " " + ShellQuote(argument);
  command += " < " + ShellQuote(stdinPath) + " 2> " + ShellQuote(dir + "/stderr");
  command += redirect.empty() ? " > " + ShellQuote(dir + "/stdout") : " " + redirect;
  const int raw = std::system(command.c_str());
  CommandResult result;
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  result.out = ReadFile(dir + "/stdout");
  result.err = ReadFile(dir + "/stderr");
  return result;
}

std::string MakeScratchDirectory() {
  char pattern[] = "/tmp/omtext-test-XXXXXX";
  if (::mkdtemp(pattern) == nullptr)
    throw std::runtime_error("cannot make a scratch directory");
  return pattern;
}

void RemoveDirectory(const std::string& dir) {
  std::system(("rm -rf " + ShellQuote(dir)).c_str());
}

void PrintTo(const GoldenCase& golden, std::ostream* out) {
  *out << golden.name;
}

namespace {

void AddGoldenCases(const std::string& label, const std::string& documentDir,
                    const std::string& expectedDir, const std::string& correctionsDir,
                    std::vector<GoldenCase>& cases) {
  std::map<std::string, std::vector<std::string>> sets;
  std::istringstream options(ReadFile(documentDir + "/options.txt"));
  for (std::string line; std::getline(options, line);) {
    const std::size_t tab = line.find('\t');
    if (tab == std::string::npos || line[0] == '#')
      continue;
    std::istringstream words(line.substr(tab + 1));
    std::vector<std::string>& set = sets[line.substr(0, tab)];
    for (std::string word; words >> word;)
      set.push_back(word);
  }
  for (const std::string& file : ListFiles(expectedDir, ".txt")) {
    // DOC.SET.txt: the document is up to the first dot, the set up to ".txt".
    const std::size_t dot = file.find('.');
    if (dot == std::string::npos || dot + 1 >= file.size() - 4)
      continue;
    const std::string document = file.substr(0, dot);
    const std::string set = file.substr(dot + 1, file.size() - 4 - (dot + 1));
    const auto found = sets.find(set);
    if (found == sets.end())
      continue;
    const bool corrected = !correctionsDir.empty() && Exists(correctionsDir + "/" + file);
    std::string name = label + "_" + document + "_" + set;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !std::isalnum(c) && c != '_'; }, '_');
    cases.push_back({name, documentDir + "/" + document + ".json",
                     (corrected ? correctionsDir : expectedDir) + "/" + file, found->second});
  }
}

}  // namespace

std::vector<GoldenCase> GoldenCases() {
  std::vector<GoldenCase> cases;
  const std::string reference = std::string(OMTEXT_TEST_DATA) + "/reference";
  AddGoldenCases("reference", reference, reference, reference + "-corrections", cases);
  AddGoldenCases("example", OMTEXT_EXAMPLES, std::string(OMTEXT_EXAMPLES) + "/expected", "", cases);
  return cases;
}

}  // namespace omtext::testing
