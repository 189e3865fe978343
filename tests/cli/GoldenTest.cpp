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
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::Exists;
using omtext::testing::ReadFile;

struct GoldenCase {
  std::string name;      // for the test's name
  std::string document;  // path of the JSON document
  std::string expected;  // path of the expected rendering
  std::vector<std::string> options;
};

// Names a case in failure messages instead of dumping its bytes.
void PrintTo(const GoldenCase& golden, std::ostream* out) {
  *out << golden.name;
}

// Every DOC.SET.txt in expectedDir whose SET is in the option sets.
void AddCases(const std::string& label, const std::string& documentDir,
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
  for (const std::string& file : omtext::testing::ListFiles(expectedDir, ".txt")) {
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

std::vector<GoldenCase> DiscoverCases() {
  std::vector<GoldenCase> cases;
  const std::string reference = std::string(OMTEXT_TEST_DATA) + "/reference";
  AddCases("reference", reference, reference, reference + "-corrections", cases);
  AddCases("example", OMTEXT_EXAMPLES, std::string(OMTEXT_EXAMPLES) + "/expected", "", cases);
  return cases;
}

class Golden : public omtext::testing::Scratch<::testing::TestWithParam<GoldenCase>> {};

TEST_P(Golden, RendersExactlyAsExpected) {
  const GoldenCase& golden = GetParam();
  std::vector<std::string> arguments = golden.options;
  arguments.push_back(golden.document);
  const omtext::testing::CommandResult result =
      omtext::testing::RunCommand(arguments, "/dev/null", dir);
  EXPECT_EQ(result.status, 0) << result.err;
  // GoogleTest shows where two texts of several lines part as a diff.
  EXPECT_EQ(result.out, ReadFile(golden.expected)) << golden.expected;
}

INSTANTIATE_TEST_SUITE_P(Renderings, Golden, ::testing::ValuesIn(DiscoverCases()),
                         [](const ::testing::TestParamInfo<GoldenCase>& param) {
                           return param.param.name;
                         });

}  // namespace
