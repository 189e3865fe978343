// Loading output documents: the tree built, and every rejection with the
// line and column of the offending value.
#include "host/OmDocumentLoader.h"

#include <gtest/gtest.h>

#include "host/OmHeading.h"
#include "host/OmPageTitle.h"
#include "host/OmTextBlock.h"
#include "host/OmTitledPart.h"
#include "LoaderTestSupport.h"

namespace {

using omtext::testing::Load;
using omtext::testing::Rejection;

// The tree as "level kind text" lines, to compare whole trees at once.
std::string Describe(OmOutputTree& tree) {
  std::string out;
  for (auto node = tree.Begin(); node != tree.End(); ++node) {
    OmOutputPart* part = node.Value();
    out += std::to_string(node.Level()) + (part->selected ? " " : " -");
    if (auto* procedure = dynamic_cast<OmProcedure*>(part)) {
      out += "procedure " + procedure->Text().GetText();
    } else if (auto* heading = dynamic_cast<OmHeading*>(part)) {
      out += "heading " + heading->Text().GetText();
    } else if (auto* block = dynamic_cast<OmTextBlock*>(part)) {
      out += "text";
      for (const std::string& line : block->Lines()) out += " [" + line + "]";
    } else if (auto* title = dynamic_cast<OmPageTitle*>(part)) {
      out += "page-title " + title->Title() + "/" + title->Subtitle();
    } else if (auto* chart = dynamic_cast<OmChart*>(part)) {
      out += "chart " + chart->Title();
    } else if (dynamic_cast<OmTitledPart*>(part) != nullptr) {
      out += "object " + static_cast<OmTitledPart*>(part)->Title();
    }
    out += "\n";
  }
  return out;
}

TEST(OmDocumentLoader, BuildsPartsWithLevelsInTreeOrder) {
  OmOutputTree tree = Load(R"({"output": [
    {"type": "procedure", "text": "P", "children": [
      {"children": [{"type": "text", "lines": ["x", "y"]}], "type": "heading", "text": "H"},
      {"type": "chart", "selected": false}]},
    {"type": "page-title", "text": "T"},
    {"type": "page-title", "text": "T", "subtitle": "S"},
    {"type": "model", "title": "m"}, {"type": "answer-tree"}, {"type": "interactive"}]})");
  EXPECT_EQ(Describe(tree),
            "1 procedure P\n2 heading H\n3 text [x] [y]\n2 -chart \n1 page-title T/\n"
            "1 page-title T/S\n1 object m\n1 object \n1 object \n");
}

TEST(OmDocumentLoader, ByteOrderMarkEscapesAndEmptyOutput) {
  EXPECT_TRUE(Load("\xEF\xBB\xBF{\"output\": []}").Empty());
  OmOutputTree tree = Load(R"({"output": [{"type": "heading", "text": "a\u00e9\t\"\u0000b"}]})");
  EXPECT_EQ(static_cast<OmHeading*>(tree.Begin().Value())->Text().GetText(),
            std::string("a\xC3\xA9\t\"\0b", 7));
}

TEST(OmDocumentLoader, RejectsBadJsonAtItsPosition) {
  EXPECT_EQ(Rejection(""), "1:1: invalid JSON: the document is empty");
  EXPECT_EQ(Rejection("{\"output\": [\n  {\"type\": \"heading\",}]}"),
            "2:22: invalid JSON: missing a name for object member");
  EXPECT_EQ(Rejection("{\"output\": []} []"),
            "1:16: invalid JSON: the document root must not be followed by other values");
  EXPECT_EQ(Rejection("{\"output\": [\"\xFF\"]}").substr(0, 28), "1:14: invalid JSON: invalid ");
  EXPECT_EQ(Rejection(std::string("{\"output\": []}\0{}", 17)),
            "1:15: the document holds a NUL byte");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "heading", "text": "\udc00"}]})"),
            "1:41: the string is not valid UTF-8 (an escape encodes a lone surrogate)");
  // A byte order mark does not count as a column.
  EXPECT_EQ(Rejection("\xEF\xBB\xBF{\"output\": 1}"),
            "1:12: expected a list of parts for \"output\", found a number");
}

TEST(OmDocumentLoader, RejectsSchemaErrorsAtTheOffendingValue) {
  EXPECT_EQ(Rejection("[]"), "1:1: expected the document object {\"output\": [...]}, found a list");
  EXPECT_EQ(Rejection("{}"), "1:1: missing key \"output\" in the document");
  EXPECT_EQ(Rejection(R"({"output": [], "extra": 1})"),
            "1:16: unknown key \"extra\" in the document");
  EXPECT_EQ(Rejection(R"({"output": [], "output": []})"), "1:16: repeated key \"output\"");
  EXPECT_EQ(Rejection(R"({"output": [1]})"), "1:13: expected a part (an object), found a number");
  EXPECT_EQ(Rejection("{\"output\": [\n {\"text\": \"x\"}]}"),
            "2:2: missing key \"type\" in a part");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "para"}]})"), "1:22: unknown part type \"para\"");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "heading"}]})"),
            "1:13: missing key \"text\" in a \"heading\" part");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "text"}]})"),
            "1:13: missing key \"lines\" in a \"text\" part");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "heading", "text": ["x"]}]})"),
            "1:41: expected a string for \"text\", found a list");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "text", "lines": ["x", 2]}]})"),
            "1:45: expected a string in \"lines\", found a number");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "chart", "selected": "yes"}]})"),
            "1:43: expected a boolean for \"selected\", found a string");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "chart", "colour": 1}]})"),
            "1:31: key \"colour\" is not allowed in a \"chart\" part");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "heading", "text": "a", "text": "b"}]})"),
            "1:46: repeated key \"text\"");
}

TEST(OmDocumentLoader, KeysOfTheWrongKindAreCaughtWhateverTheOrder) {
  EXPECT_EQ(Rejection(R"({"output": [{"type": "heading", "lines": []}]})"),
            "1:33: key \"lines\" is not allowed in a \"heading\" part");
  // Before "type" is known the key is accepted provisionally and checked
  // when the type arrives, at the key's own position.
  EXPECT_EQ(Rejection(R"({"output": [{"subtitle": "s", "type": "heading", "text": "x"}]})"),
            "1:14: key \"subtitle\" is not allowed in a \"heading\" part");
  EXPECT_EQ(Rejection(R"({"output": [{"title": "t", "type": "text", "lines": []}]})"),
            "1:14: key \"title\" is not allowed in a \"text\" part");
}

TEST(OmDocumentLoader, DeepNestingIsRefused) {
  std::string text = "{\"output\": [";
  for (int i = 0; i < 1200; ++i) text += "{\"type\": \"heading\", \"text\": \"x\", \"children\": [";
  for (int i = 0; i < 1200; ++i) text += "]}";
  text += "]}";
  const std::string rejection = Rejection(text);
  EXPECT_NE(rejection.find("parts are nested more than 1000 levels deep"), std::string::npos)
      << rejection;
}

TEST(OmDocumentLoader, MessagesAreOneLineOfWholeCharacters) {
  // Quoted keys and values show control characters as escapes.
  EXPECT_EQ(Rejection(R"({"output": [{"type": "head\ning"}]})"),
            "1:22: unknown part type \"head\\ning\"");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "chart", "\r\t\u0001": 1}]})"),
            "1:31: key \"\\r\\t\\u0001\" is not allowed in a \"chart\" part");
  // A long key is cut at 40 bytes, or before a character that spans the cut.
  EXPECT_EQ(Rejection(R"({"output": [{"type": "chart", ")" + std::string(39, 'k') + "\u00e9z\": 1}]}"),
            "1:31: key \"" + std::string(39, 'k') + "...\" is not allowed in a \"chart\" part");
  // Keys are checked for escaped lone surrogates like any other string.
  EXPECT_EQ(Rejection(R"({"output": [{"\udc00": 1}]})"),
            "1:14: the string is not valid UTF-8 (an escape encodes a lone surrogate)");
  EXPECT_EQ(Rejection("{\"output\": [\"a\tb\"]}"),
            "1:15: invalid JSON: a control character in a string must be written as an escape");
}

TEST(OmDocumentLoader, ReadsAcrossChunkBoundaries) {
  // Lines long enough to cross the reader's 64 KiB chunks, with an error
  // after them, checks the positions the stream keeps across refills.
  std::string text = "{\"output\": [\n";
  const std::string line = "{\"type\": \"text\", \"lines\": [\"" + std::string(70000, 'x') + "\"]},\n";
  for (int i = 0; i < 3; ++i) text += line;
  text += "  {\"type\": \"heading\", \"text\": 5}]}";
  EXPECT_EQ(Rejection(text), "5:31: expected a string for \"text\", found a number");
}

}  // namespace
