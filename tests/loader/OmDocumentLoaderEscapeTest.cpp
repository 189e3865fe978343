// Where the stream's byte counting meets string decoding: escaped lone
// surrogates wherever the chunks split a string (a decoded string is checked
// only when its text in the document was longer, which must hold across
// refills and after a byte order mark), and the lines a bad multibyte
// sequence takes.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "loader/OmDocumentLoader.h"

namespace {

std::string Rejection(const std::string& text) {
  std::istringstream in(text);
  try {
    OmDocumentLoader::Load(in);
  } catch (const OmDocumentError& error) {
    return error.what();
  }
  return "accepted";
}

std::string Outcome(const std::string& text) {
  std::istringstream in(text);
  try {
    OmDocumentLoader::Load(in);
  } catch (const OmDocumentError& error) {
    return error.Message();
  }
  return "accepted";
}

TEST(OmDocumentLoaderEscapes, LoneSurrogatesAreFoundAcrossChunks) {
  const std::string lone = "the string is not valid UTF-8 (an escape encodes a lone surrogate)";
  for (const std::string bom : {"", "\xEF\xBB\xBF"}) {
    const std::string head = bom + R"({"output": [{"type": "text", "lines": [")";
    // The escape starts a few bytes before, at and after the 64 KiB mark.
    for (std::size_t at = 65530; at <= 65540; ++at) {
      const std::string pad(at - head.size(), 'x');
      EXPECT_EQ(Outcome(head + pad + R"(\udc00"]}]})"), lone) << at;
      EXPECT_EQ(Outcome(head + pad + R"(\u00e9"]}]})"), "accepted") << at;
      EXPECT_EQ(Outcome(bom + R"({"output": [{"type": "chart", ")" + pad + R"(\udc00": 1}]})"),
                lone)
          << at;
    }
  }
}

// The encoding check takes a multibyte sequence's continuation bytes before
// it judges them, line feeds included, and the reported position has always
// counted those lines.
TEST(OmDocumentLoaderEscapes, BadSequencesCountTheLineFeedsTheyTake) {
  const std::string message = ": invalid JSON: invalid encoding in string";
  EXPECT_EQ(Rejection("{\"output\": [\"ab\xD5\n\"]}"), "2:1" + message);
  EXPECT_EQ(Rejection("{\"output\": [\"ab\xF0\n\n\n\"]}"), "4:1" + message);
}

}  // namespace
