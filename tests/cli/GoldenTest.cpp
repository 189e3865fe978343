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

#include <string>
#include <vector>

#include "CommandRunner.h"

namespace {

using omtext::testing::GoldenCase;
using omtext::testing::ReadFile;

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

INSTANTIATE_TEST_SUITE_P(Renderings, Golden, ::testing::ValuesIn(omtext::testing::GoldenCases()),
                         [](const ::testing::TestParamInfo<GoldenCase>& param) {
                           return param.param.name;
                         });

}  // namespace
