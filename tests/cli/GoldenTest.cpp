// Renders documents with the built command and compares the output byte for
// byte with expected renderings kept in files. Two collections:
//
// - tests/data/reference: documents worked out independently of this code,
//   DOC.json with DOC.SET.txt for each option set SET of options.txt. Where
//   a reference rendering was found to contradict the system's rules, the
//   corrected rendering stands in tests/data/reference-corrections under the
//   same name and is used instead.
// - examples: the project's sample documents, NAME.json with
//   expected/NAME.SET.txt for the option sets of examples/options.txt.
//
// Option sets are split at white space like a shell command line without
// quotes, so "--column-separator=  --width 70" gives an empty separator.
#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::ReadFile;

struct GoldenCase {
  std::string name;          // for the test's name
  std::string document;      // path of the JSON document
  std::string expected;      // path of the expected rendering
  std::vector<std::string> options;
};

// Names a case in failure messages instead of dumping its bytes.
void PrintTo(const GoldenCase& golden, std::ostream* out) { *out << golden.name; }

std::vector<std::string> SplitWords(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

std::map<std::string, std::vector<std::string>> ReadOptionSets(const std::string& path) {
  std::map<std::string, std::vector<std::string>> sets;
  std::istringstream in(ReadFile(path));
  for (std::string line; std::getline(in, line);) {
    const std::size_t tab = line.find('\t');
    if (tab == std::string::npos || line.empty() || line[0] == '#') continue;
    sets[line.substr(0, tab)] = SplitWords(line.substr(tab + 1));
  }
  return sets;
}

bool Exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

std::vector<std::string> ListFiles(const std::string& dir, const std::string& suffix) {
  std::vector<std::string> names;
  if (DIR* handle = ::opendir(dir.c_str())) {
    while (const dirent* entry = ::readdir(handle)) {
      const std::string name = entry->d_name;
      if (name.size() > suffix.size() &&
          name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
        names.push_back(name);
      }
    }
    ::closedir(handle);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// Every DOC.SET.txt in expectedDir whose DOC.json is in documentDir and
// whose SET is in the option sets.
void AddCases(const std::string& label, const std::string& documentDir,
              const std::string& expectedDir, const std::string& correctionsDir,
              const std::string& optionsPath, std::vector<GoldenCase>& cases) {
  const auto sets = ReadOptionSets(optionsPath);
  for (const std::string& file : ListFiles(expectedDir, ".txt")) {
    // DOC.SET.txt: the document is up to the first dot, the set up to ".txt".
    const std::size_t dot = file.find('.');
    if (dot == std::string::npos || dot + 1 >= file.size() - 4) continue;
    const std::string document = file.substr(0, dot);
    const std::string set = file.substr(dot + 1, file.size() - 4 - (dot + 1));
    const auto options = sets.find(set);
    if (options == sets.end()) continue;
    std::string expected = expectedDir + "/" + file;
    if (!correctionsDir.empty() && Exists(correctionsDir + "/" + file)) {
      expected = correctionsDir + "/" + file;
    }
    std::string name = label + "_" + document + "_" + set;
    std::replace_if(name.begin(), name.end(), [](char c) { return !std::isalnum(c) && c != '_'; },
                    '_');
    cases.push_back({name, documentDir + "/" + document + ".json", expected, options->second});
  }
}

std::vector<GoldenCase> DiscoverCases() {
  std::vector<GoldenCase> cases;
  const std::string reference = std::string(OMTEXT_TEST_DATA) + "/reference";
  AddCases("reference", reference, reference, std::string(OMTEXT_TEST_DATA) + "/reference-corrections",
           reference + "/options.txt", cases);
  const std::string examples = OMTEXT_EXAMPLES;
  AddCases("example", examples, examples + "/expected", "", examples + "/options.txt", cases);
  return cases;
}

class Golden : public ::testing::TestWithParam<GoldenCase> {
 protected:
  void SetUp() override { dir = omtext::testing::MakeScratchDirectory(); }
  void TearDown() override { omtext::testing::RemoveDirectory(dir); }
  std::string dir;
};

TEST_P(Golden, RendersExactlyAsExpected) {
  const GoldenCase& golden = GetParam();
  std::vector<std::string> arguments = golden.options;
  arguments.push_back(golden.document);
  const omtext::testing::CommandResult result =
      omtext::testing::RunCommand(arguments, "/dev/null", dir);
  EXPECT_EQ(result.status, 0) << result.err;
  const std::string expected = ReadFile(golden.expected);
  if (result.out != expected) {
    // Show where they part as a diff of the two texts.
    omtext::testing::WriteFile(dir + "/actual", result.out);
    const std::string diff = "diff -u " + omtext::testing::ShellQuote(golden.expected) + " " +
                             omtext::testing::ShellQuote(dir + "/actual") + " > " +
                             omtext::testing::ShellQuote(dir + "/diff");
    std::system(diff.c_str());
    ADD_FAILURE() << "output differs from " << golden.expected << ":\n"
                  << ReadFile(dir + "/diff");
  }
}

INSTANTIATE_TEST_SUITE_P(Renderings, Golden, ::testing::ValuesIn(DiscoverCases()),
                         [](const ::testing::TestParamInfo<GoldenCase>& param) {
                           return param.param.name;
                         });

}  // namespace
