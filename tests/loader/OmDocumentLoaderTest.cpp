// Loading output documents: the parts and tables built, independence from
// key order, the dense data form, and the rejections the command's bad-input
// corpus cannot reach (values held until a later key gives them meaning,
// reads and string checks across the reader's chunks, bad sequences that
// take line feeds).
#include "loader/OmDocumentLoader.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <system_error>

#include "host/output/OmCellText.h"
#include "host/output/OmHeading.h"
#include "host/table/OmPivotTable.h"
#include "loader/OmDocumentLoaderPrivate.h"
#include "loader/OmMappedText.h"

namespace {

OmOutputTree Load(const std::string& text) {
  std::istringstream in(text);
  return OmDocumentLoader::Load(in);
}

// A file holding text, removed again at the end of the test.
class TextFile {
 public:
  explicit TextFile(const std::string& text)
      : mPath(testing::TempDir() + "loader-" + std::to_string(::getpid()) + "-" +
              std::to_string(sCount++) + ".json") {
    std::ofstream(mPath, std::ios::binary) << text;
  }
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;
  ~TextFile() { std::remove(mPath.c_str()); }
  const std::string& Path() const { return mPath; }

 private:
  static inline int sCount = 0;
  std::string mPath;
};

template <typename LoadText>
std::string RejectionBy(LoadText load, bool placed) {
  try {
    load();
  } catch (const OmDocumentError& error) {
    return placed ? error.what() : error.Message();
  }
  return "accepted";
}

// Reads text in place directly, storing every "data" list's cells on a
// second thread; nothing when it must be read as a stream instead.
std::optional<OmOutputTree> ReadInPlaceAside(const std::string& text) {
  return omtext::loader::ReadInPlace(text.c_str(), nullptr, omtext::loader::ReadMode{true, 1});
}

// "LINE:COLUMN: MESSAGE" of the rejection (only MESSAGE when !placed), or
// "accepted". A string or a named file is read another way than a stream,
// in place; every document must get the same verdict all three ways, and
// read in place with its data stored on a second thread.
std::string Rejection(const std::string& text, bool placed = true) {
  const std::string streamed = RejectionBy([&text] { Load(text); }, placed);
  if (omtext::loader::IsPlainUtf8(text.data(), text.size())) {
    // Reading in place gives up on some valid documents too (a byte order
    // mark, deep nesting); storing data aside must not change that.
    const bool aside = ReadInPlaceAside(text).has_value();
    EXPECT_EQ(aside, omtext::loader::ReadInPlace(text.c_str(), nullptr).has_value())
        << "read in place, data stored aside";
    if (aside) {
      EXPECT_EQ(streamed, "accepted");
    }
  }
  EXPECT_EQ(RejectionBy([&text] { OmDocumentLoader::LoadString(text); }, placed), streamed)
      << "read from a string";
  const TextFile file(text);
  EXPECT_EQ(RejectionBy([&file] { OmDocumentLoader::LoadFile(file.Path()); }, placed), streamed)
      << "read from a file";
  return streamed;
}

// The rejection expected for a document in which a backtick marks where the
// offending value starts: "LINE:COLUMN: message", the backtick removed.
std::string At(const std::string& marked, const std::string& message) {
  const std::size_t mark = marked.find('`');
  const std::size_t lineStart = marked.rfind('\n', mark) + 1;  // 0 on the first line
  const auto line =
      1 + std::count(marked.begin(), marked.begin() + static_cast<std::ptrdiff_t>(mark), '\n');
  return std::to_string(line) + ":" + std::to_string(mark - lineStart + 1) + ": " + message;
}

std::string Unmarked(std::string marked) {
  marked.erase(marked.find('`'), 1);
  return marked;
}

// Expects the marked document to be rejected with the message at the mark.
#define EXPECT_REJECTED_AT(marked, message) \
  EXPECT_EQ(Rejection(Unmarked(marked)), At(marked, message))

// One pivot-table part with the given keys, on one line.
std::string Table(const std::string& keys) {
  return R"({"output": [{"type": "pivot-table", )" + keys + "}]}";
}

// A cell's text with its footnotes and markers: "text(0)[m]"; "-" for none.
std::string CellAt(const OmPivotTable& table, const std::vector<std::int32_t>& index) {
  const OmCellText* cell = table.Cell(index);
  if (cell == nullptr)
    return "-";
  std::string out = cell->GetText();
  for (std::int16_t f : cell->Footnotes())
    out += "(" + std::to_string(f) + ")";
  for (const std::string& m : cell->getMarkers())
    out += "[" + m + "]";
  return out;
}

OmPivotTable& FirstTable(OmOutputTree& tree) {
  return *dynamic_cast<OmPivotTable*>(tree.Begin().Value());
}

// Calls check with the tree of text read each way: as a stream, from a
// string and from a file, the last two in place, and in place storing any
// data list on a second thread. A string or a file that
// cannot be read in place is read as a stream, which would hide a fault of
// reading in place; so the valid text must also be read in place directly.
template <typename Check>
void ForEachWay(const std::string& text, Check check) {
  {
    SCOPED_TRACE("read as a stream");
    OmOutputTree tree = Load(text);
    check(tree);
  }
  {
    SCOPED_TRACE("read in place only");
    std::optional<OmOutputTree> tree = omtext::loader::ReadInPlace(text.c_str(), nullptr);
    ASSERT_TRUE(tree.has_value());
    check(*tree);
  }
  {
    SCOPED_TRACE("read in place only, data stored aside");
    std::optional<OmOutputTree> tree = ReadInPlaceAside(text);
    ASSERT_TRUE(tree.has_value());
    check(*tree);
  }
  {
    SCOPED_TRACE("read from a string");
    OmOutputTree tree = OmDocumentLoader::LoadString(text);
    check(tree);
  }
  {
    SCOPED_TRACE("read from a file");
    const TextFile file(text);
    OmOutputTree tree = OmDocumentLoader::LoadFile(file.Path());
    check(tree);
  }
}

TEST(OmDocumentLoader, EscapesAreDecodedAndAByteOrderMarkIsNoColumn) {
  ForEachWay(R"({"output": [{"type": "heading", "text": "a\u00e9\t\"\u0000b"}]})",
             [](OmOutputTree& tree) {
               EXPECT_EQ(static_cast<OmHeading*>(tree.Begin().Value())->Text().GetText(),
                         std::string("a\xC3\xA9\t\"\0b", 7));
             });
  // Escaped keys and texts among numbers, where reading in place reports
  // each token's raw text.
  ForEachWay(Table(R"("t\u0069tle": "\ud83d\ude00\\", "dimensions": [{"label": "R",
                      "axis": "row", "categories": ["a", "b", "c"]}],
                      "d\u0061ta": [{"value": -12.50, "decimals": 2}, "t\/\"u\"", 2.5e1])"),
             [](OmOutputTree& tree) {
               const OmPivotTable& table = FirstTable(tree);
               EXPECT_EQ(table.Title().GetText(), "\xF0\x9F\x98\x80\\");
               EXPECT_EQ(CellAt(table, {0}) + " " + CellAt(table, {1}) + " " + CellAt(table, {2}),
                         "-12.50 t/\"u\" 25");
             });
  EXPECT_EQ(Rejection("\xEF\xBB\xBF{\"output\": 1}"),
            "1:12: expected a list of parts for \"output\", found a number");
}

// A named file is read in place, up to a NUL byte that the loader puts
// after its end; whatever it cannot read that way it reads as a stream.
TEST(OmDocumentLoader, NamedFilesLoadAsStreamsDo) {
  // Documents ending on and around a page boundary.
  const std::string head = R"({"output": [{"type": "heading", "text": ")";
  for (const std::size_t size :
       {std::size_t{4095}, std::size_t{4096}, std::size_t{4097}, std::size_t{8192}}) {
    const std::string text = head + std::string(size - head.size() - 4, 'x') + "\"}]}";
    ASSERT_EQ(text.size(), size);
    const TextFile file(text);
    OmOutputTree tree = OmDocumentLoader::LoadFile(file.Path());
    EXPECT_EQ(static_cast<OmHeading*>(tree.Begin().Value())->Text().GetText(),
              std::string(size - head.size() - 4, 'x'));
    EXPECT_NE(Rejection(text.substr(0, size - 1)), "accepted");
  }
  // A NUL byte after the document, bad UTF-8 in a valid one, and nesting
  // too deep for reading in place.
  EXPECT_EQ(Rejection(std::string("{\"output\": []}\0 ", 16), false),
            "the document holds a NUL byte");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "heading", "text": "a)"
                      "\xC3"
                      R"("}]})",
                      false),
            "invalid JSON: invalid encoding in string");
  std::string deep = R"({"label": "R", "axis": "row", "categories": [)";
  for (int i = 0; i < 300; ++i)
    deep += R"({"group": "g", "categories": [)";
  deep += "\"leaf\"";
  for (int i = 0; i <= 300; ++i)
    deep += "]}";
  EXPECT_EQ(Rejection(Table(R"("dimensions": [)" + deep + "]")), "accepted");

  try {
    OmDocumentLoader::LoadFile(testing::TempDir() + "no-such-document.json");
    ADD_FAILURE() << "a missing file loaded";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code().value(), ENOENT);
  }
}

TEST(OmDocumentLoader, KeysBeforeTheTypeAreCheckedAtTheirOwnPosition) {
  EXPECT_EQ(Rejection(R"({"output": [{"subtitle": "s", "type": "heading", "text": "x"}]})"),
            "1:14: key \"subtitle\" is not allowed in a \"heading\" part");
  EXPECT_EQ(Rejection(R"({"output": [{"title": "t", "type": "text", "lines": []}]})"),
            "1:14: key \"title\" is not allowed in a \"text\" part");
  EXPECT_EQ(Rejection(R"({"output": [{"type": "chart", "colour": 1}]})"),
            "1:31: key \"colour\" is not allowed in a \"chart\" part");
}

TEST(OmDocumentLoader, ReadsAcrossChunkBoundaries) {
  // Lines long enough to cross the reader's 64 KiB chunks, with an error
  // after them, checks the positions the stream keeps across refills.
  std::string text = "{\"output\": [\n";
  const std::string line =
      "{\"type\": \"text\", \"lines\": [\"" + std::string(70000, 'x') + "\"]},\n";
  for (int i = 0; i < 3; ++i)
    text += line;
  text += "  {\"type\": \"heading\", \"text\": 5}]}";
  EXPECT_EQ(Rejection(text), "5:31: expected a string for \"text\", found a number");
}

// A decoded string is checked only when its text in the document was longer,
// which must hold across refills and after a byte order mark.
TEST(OmDocumentLoader, LoneSurrogatesAreFoundAcrossChunks) {
  const std::string lone = "the string is not valid UTF-8 (an escape encodes a lone surrogate)";
  for (const std::string bom : {"", "\xEF\xBB\xBF"}) {
    const std::string head = bom + R"({"output": [{"type": "text", "lines": [")";
    // The escape starts a few bytes before, at and after the 64 KiB mark.
    for (std::size_t at = 65530; at <= 65540; ++at) {
      const std::string pad(at - head.size(), 'x');
      EXPECT_EQ(Rejection(head + pad + R"(\udc00"]}]})", false), lone) << at;
      EXPECT_EQ(Rejection(head + pad + R"(\u00e9"]}]})"), "accepted") << at;
      EXPECT_EQ(
          Rejection(bom + R"({"output": [{"type": "chart", ")" + pad + R"(\udc00": 1}]})", false),
          lone)
          << at;
    }
  }
}

// The encoding check takes a multibyte sequence's continuation bytes before
// it judges them, line feeds included, and the reported position has always
// counted those lines.
TEST(OmDocumentLoader, BadSequencesCountTheLineFeedsTheyTake) {
  const std::string message = ": invalid JSON: invalid encoding in string";
  EXPECT_EQ(Rejection("{\"output\": [\"ab\xD5\n\"]}"), "2:1" + message);
  EXPECT_EQ(Rejection("{\"output\": [\"ab\xF0\n\n\n\"]}"), "4:1" + message);
}

TEST(PivotTableLoading, KeysMayComeInAnyOrder) {
  // "type" last, "cells" before "dimensions", every object's keys reversed.
  ForEachWay(
      R"({"output": [{"cells": [[[1, 0], {"decimals": 1, "value": 2}],
      [[0, 1], {"markers": ["a"], "footnotes": [0], "text": "x"}]], "dimensions": [
      {"categories": [{"categories": ["a", "b"], "group": "g"}], "axis": "row", "label": "R"},
      {"current": 1, "categories": ["c", "d"], "show-label": false, "axis": "layer", "label": "L"}],
      "footnotes": ["f"], "title": {"footnotes": [0], "text": "T"}, "type": "pivot-table"}]})",
      [](OmOutputTree& tree) {
        OmPivotTable& table = FirstTable(tree);
        EXPECT_EQ(table.NCells(), 2);
        EXPECT_EQ(CellAt(table, {0, 1}) + " " + CellAt(table, {1, 0}), "x(0)[a] 2.0");
        EXPECT_EQ(table.Title().Footnotes(), std::vector<std::int16_t>{0});
        EXPECT_EQ(table.Dimension(0).Depth(), 2);
        EXPECT_EQ(table.Dimension(1).CurrentLeaf(), 1);
        EXPECT_FALSE(table.Dimension(1).ShowLabel());
      });
}

TEST(PivotTableLoading, DenseDataAndTablesWithoutDimensions) {
  ForEachWay(Table(R"("dimensions": [{"label": "R", "axis": "row", "categories": ["a", "b"]},
                        {"label": "C", "axis": "column", "categories": ["x", "y", "z"]}],
         "footnotes": ["f"], "data": [[1, null, {"value": 2, "decimals": 1}],
                                      ["t", {"text": "u", "footnotes": [0]}, null]])"),
             [](OmOutputTree& tree) {
               std::string cells;
               for (std::int32_t i = 0; i < 6; ++i)
                 cells += CellAt(FirstTable(tree), {i / 3, i % 3}) + " ";
               EXPECT_EQ(cells, "1 - 2.0 t u(0) - ");
             });
  OmOutputTree tree = Load(Table(R"("data": "only")"));
  EXPECT_EQ(FirstTable(tree).Cell({})->GetText(), "only");
  tree = Load(Table(R"("data": null)"));
  EXPECT_EQ(FirstTable(tree).NCells(), 0);
  tree = Load(Table(R"("cells": [[[], {"value": 7}]])"));
  EXPECT_EQ(FirstTable(tree).Cell({})->GetText(), "7");
  // A dimension without leaves takes an empty list.
  tree =
      Load(Table(R"("dimensions": [{"label": "E", "axis": "row", "categories": []}], "data": [])"));
  EXPECT_EQ(FirstTable(tree).Dimension(0).NLeaves(), 0);
}

// A long "data" list with a cell of every kind; `last` replaces the last row's cells, and `after`
// follows the table's other keys. Held, the data comes first of all.
std::string LongData(const std::string& last = "", const std::string& after = "",
                     bool held = false) {
  constexpr int kRows = 5000;
  const char* const kinds[] = {"1.5",
                               "\"t\"",
                               "null",
                               R"({"value": -2, "decimals": 2})",
                               R"({"text": "x", "markers": ["m"]})",
                               R"({"value": 7, "footnotes": [0]})",
                               R"({"text": "\u00e9"})"};
  std::string rows;
  std::string data;
  for (int r = 0; r < kRows; ++r) {
    rows += std::string(r > 0 ? ", " : "") + "\"r" + std::to_string(r) + "\"";
    data += r > 0 ? ",\n[" : "[";
    if (r + 1 == kRows && !last.empty()) {
      data += last;
    } else {
      for (int c = 0; c < 8; ++c)
        data += std::string(c > 0 ? ", " : "") + kinds[(r * 8 + c) % 7];
    }
    data += "]";
  }
  const std::string dims =
      R"("dimensions": [{"label": "R", "axis": "row", "categories": [)" + rows +
      R"(]}, {"label": "C", "axis": "column", "categories": [1, 2, 3, 4, 5, 6, 7, 8]}],
      "footnotes": ["f"])";
  if (held)
    return R"({"output": [{"data": [)" + data + "], " + dims + R"(, "type": "pivot-table"}]})";
  return Table(dims + ", \"data\": [" + data + "]" + after);
}

// Every cell of a table read from LongData, as CellAt gives them.
std::string AllCells(OmOutputTree& tree) {
  std::string cells;
  for (std::int32_t r = 0; r < 5000; ++r) {
    for (std::int32_t c = 0; c < 8; ++c)
      cells += CellAt(FirstTable(tree), {r, c}) + "|";
  }
  return cells;
}

TEST(PivotTableLoading, LongDataReadsAsShortData) {
  const std::string text = LongData();
  OmOutputTree streamed = Load(text);
  const std::string first = "1.5|t|-|-2.00|x[m]|7(0)|\u00e9|1.5|t|";
  EXPECT_EQ(AllCells(streamed).substr(0, first.size()), first);
  ForEachWay(text, [&streamed](OmOutputTree& tree) {
    EXPECT_EQ(AllCells(tree), AllCells(streamed));
    EXPECT_EQ(FirstTable(tree).NCells(), FirstTable(streamed).NCells());
  });
  // Held before its dimensions, and so replayed, it reads the same.
  ForEachWay(LongData("", "", true),
             [&streamed](OmOutputTree& tree) { EXPECT_EQ(AllCells(tree), AllCells(streamed)); });
}

TEST(PivotTableLoading, LongDataIsRefusedAsShortData) {
  const std::string shape = "this list of \"data\" must have one entry per leaf of dimension ";
  // The last row's list starts its line.
  EXPECT_EQ(Rejection(LongData("1, 2, 3, 4, 5, 6, 7")), "5001:1: " + shape + "1 (8), not 7");
  EXPECT_REJECTED_AT(LongData("1, 2, 3, 4, 5, 6, 7, `true"),
                     "expected a cell or null in \"data\", found a boolean");
  EXPECT_REJECTED_AT(LongData("1, 2, 3, 4, 5, 6, 7, `\"" + std::string(65537, 'x') + "\""),
                     "a cell's text may hold at most 65536 bytes");
  EXPECT_REJECTED_AT(LongData("1, 2, 3, 4, 5, 6, 7, {\"value\": 1, \"footnotes\": [`1]}"),
                     "footnote number 1 is out of range: the table has 1 footnote");
  EXPECT_REJECTED_AT(LongData("", ", `\"data\": []"), "repeated key \"data\"");
  // Cut off inside the list, or after it.
  const std::string whole = LongData();
  for (const std::size_t keep : {whole.size() / 2, whole.size() - 3})
    EXPECT_NE(Rejection(whole.substr(0, keep)), "accepted") << keep;
}

TEST(PivotTableLoading, NumbersAreReadToTheNearestDouble) {
  // Plain decimals of up to 15 digits are read without the general parser;
  // both paths must give the double nearest to the text, as strtod does.
  std::mt19937 random(7);
  std::vector<std::string> numbers;
  std::istringstream fixed(
      "0 -0 -0.0 0.1 0.3 9007199254740993 123456789012345 1234567890123456 "
      "0.000000000000001 999999999999999.9 1e5 -2.5E-3 17.00");
  for (std::string number; fixed >> number;)
    numbers.push_back(number);
  auto digit = [&](char low) {
    return static_cast<char>(low + static_cast<int>(random() % 10U) % ('9' - low + 1));
  };
  for (int i = 0; i < 2000; ++i) {
    // An integer part of 0 to 16 digits ("0" for none), then a fraction that
    // brings the digits to at most 17, around the 15-digit fast path.
    const int whole = static_cast<int>(random() % 17U);
    const int fraction = static_cast<int>(random() % static_cast<unsigned>(18 - whole));
    std::string number = random() % 4U == 0 ? "-" : "";
    number += whole == 0 ? "0" : std::string(1, digit('1'));
    for (int d = 1; d < whole; ++d)
      number += digit('0');
    if (fraction > 0)
      number += '.';
    for (int d = 0; d < fraction; ++d)
      number += digit('0');
    numbers.push_back(number);
  }
  std::string categories;
  std::string data;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    categories += std::string(i > 0 ? ", " : "") + "\"c\"";
    data += std::string(i > 0 ? ", " : "") + numbers[i];
  }
  OmOutputTree tree = Load(Table(R"("dimensions": [{"label": "R", "axis": "row", "categories": [)" +
                                 categories + R"(]}], "data": [)" + data + "]"));
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto* cell =
        dynamic_cast<const OmNumberCell*>(FirstTable(tree).Cell({static_cast<std::int32_t>(i)}));
    ASSERT_NE(cell, nullptr) << numbers[i];
    const double expected = std::strtod(numbers[i].c_str(), nullptr);
    const double value = cell->Value();
    EXPECT_EQ(std::memcmp(&expected, &value, sizeof value), 0) << numbers[i];
  }
}

// A table part written in the usual key order ("type" first, "dimensions"
// before "data") and as a tool that sorts its keys writes it ("data" first,
// "type" last), each value on a line of its own.
std::string UsualOrder(const std::string& dimensions, const std::string& data) {
  return "{\"output\": [{\"type\": \"pivot-table\",\n \"dimensions\": " + dimensions +
         ",\n \"data\": " + data + "}]}";
}
std::string SortedOrder(const std::string& dimensions, const std::string& data) {
  return "{\"output\": [{\"data\": " + data + ",\n \"dimensions\": " + dimensions +
         ",\n \"type\": \"pivot-table\"}]}";
}

// Lists (or objects of one key "k") nested `levels` deep around a leaf.
std::string Nested(int levels, const std::string& leaf, bool objects = false) {
  std::string text;
  for (int i = 0; i < levels; ++i)
    text += objects ? "{\"k\": " : "[";
  text += leaf;
  for (int i = 0; i < levels; ++i)
    text += objects ? "}" : "]";
  return text;
}

TEST(HeldValues, ErrorsInsideAreReportedWhereTheUsualKeyOrderReportsThem) {
  const std::string dims = R"([{"label": "R", "axis": "row", "categories": ["a", "b"]},
   {"label": "C", "axis": "column", "categories": ["x", "y"]}])";
  const std::string shape = "this list of \"data\" must have one entry per leaf of dimension ";
  const struct {
    std::string data;
    std::string message;
  } cases[] = {
      {"[[1, 2],\n  [3, `true]]", "expected a cell or null in \"data\", found a boolean"},
      {"[[1, 2], `[3]]", shape + "1 (2), not 1"},
      {"[[1, 2],\n [3, {\"value\": 1, \"decimals\": `-1}]]",
       "\"decimals\" -1 is out of range (0 to 20)"},
      {"[[1, 2], [3, {\"text\": \"t\", \"footnotes\": [`0]}]]",
       "footnote number 0 is out of range: the table has 0 footnotes"},
      {"[[1, " + std::string(20000, ' ') + "`[2]], [3, 4]]",
       "expected a cell or null in \"data\", found a list"},
      // Deeper than any valid value: still refused at its first list too many.
      {"[[1, 2], [3, `" + Nested(5000, "1") + "]]",
       "expected a cell or null in \"data\", found a list"},
      {"[[1, 2], `" + Nested(5000, "1", true) + "]", "expected a list in \"data\", found a cell"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.data.substr(0, 60));
    EXPECT_REJECTED_AT(UsualOrder(dims, c.data), c.message);
    EXPECT_REJECTED_AT(SortedOrder(dims, c.data), c.message);
  }
  // Data held for dimensions that never come, or for a part of another kind.
  EXPECT_REJECTED_AT(R"({"output": [{"data": `[1], "type": "pivot-table"}]})",
                     "expected a cell or null for \"data\", found a list");
  EXPECT_REJECTED_AT(R"({"output": [{"type": "pivot-table", "data": `[[1]]}]})",
                     "expected a cell or null for \"data\", found a list");
  EXPECT_REJECTED_AT(R"({"output": [{`"data": [[1]], "type": "text"}]})",
                     "key \"data\" is not allowed in a \"text\" part");
  // Errors in the dimensions, read after the held data, come first in both.
  const std::string badDims = R"([{"label": "R", "axis": `"up", "categories": ["a"]}])";
  EXPECT_REJECTED_AT(UsualOrder(badDims, "[true]"), "unknown axis \"up\" (row, column or layer)");
  EXPECT_REJECTED_AT(SortedOrder(badDims, "[true]"), "unknown axis \"up\" (row, column or layer)");
}

TEST(HeldValues, HeldCellsAreReadAsInTheUsualOrder) {
  const std::string dims = R"([{"label": "R", "axis": "row", "categories": ["a", "b"]},
   {"label": "C", "axis": "column", "categories": ["x", "y", "z"]}])";
  // Every kind of cell, bare and as an object, with and without footnotes
  // and markers; an escaped text; a text as long as a cell's may be, longer
  // than a block of held bytes.
  const std::string longText(65536, 'x');
  const std::string data =
      R"([[{"value": 2.5, "decimals": 3, "footnotes": [], "markers": ["m"]}, "\u00e9t\u00e9", null],
      [-0.125, {"text": ")" +
      longText + R"(", "footnotes": [0, 0]}, {"value": 3, "decimals": 0}]])";
  OmOutputTree usual = Load(R"({"output": [{"type": "pivot-table", "dimensions": )" + dims +
                            R"(, "data": )" + data + R"(, "footnotes": ["f"]}]})");
  EXPECT_EQ(CellAt(FirstTable(usual), {0, 0}), "2.500[m]");
  EXPECT_EQ(CellAt(FirstTable(usual), {0, 1}), "\u00e9t\u00e9");
  EXPECT_EQ(CellAt(FirstTable(usual), {0, 2}), "-");
  EXPECT_EQ(CellAt(FirstTable(usual), {1, 1}), longText + "(0)(0)");
  // Held by the part until its type is known, and by the table until its
  // dimensions are.
  const std::string held[] = {R"({"output": [{"data": )" + data + R"(, "dimensions": )" + dims +
                                  R"(, "footnotes": ["f"], "type": "pivot-table"}]})",
                              R"({"output": [{"type": "pivot-table", "data": )" + data +
                                  R"(, "footnotes": ["f"], "dimensions": )" + dims + "}]}"};
  for (const std::string& text : held) {
    ForEachWay(text, [&usual](OmOutputTree& tree) {
      for (std::int32_t r = 0; r < 2; ++r) {
        for (std::int32_t c = 0; c < 3; ++c)
          EXPECT_EQ(CellAt(FirstTable(tree), {r, c}), CellAt(FirstTable(usual), {r, c}));
      }
    });
  }

  // A table held across many blocks, with keys after its cells, reads the
  // same in both orders.
  std::string rows;
  std::string cells;
  for (int r = 0; r < 5000; ++r) {
    rows += std::string(r > 0 ? ", " : "") + "\"r" + std::to_string(r) + "\"";
    cells += std::string(r > 0 ? ",\n" : "") + "[\"a" + std::to_string(r) +
             "\", {\"value\": " + std::to_string(r) + ", \"decimals\": 1" +
             (r % 7 == 1 ? ", \"footnotes\": [0]" : "") + "}]";
  }
  const std::string big = R"([{"label": "R", "axis": "row", "categories": [)" + rows +
                          R"(]}, {"label": "C", "axis": "column", "categories": ["x", "y"]}])";
  OmOutputTree bigUsual =
      Load(R"({"output": [{"type": "pivot-table", "dimensions": )" + big + R"(, "data": [)" +
           cells + R"(], "footnotes": ["f"], "title": "T"}]})");
  ForEachWay(
      R"({"output": [{"data": [)" + cells + R"(], "dimensions": )" + big +
          R"(, "footnotes": ["f"], "title": "T", "type": "pivot-table"}]})",
      [&bigUsual](OmOutputTree& sorted) {
        for (std::int32_t r = 0; r < 5000; r += 499) {
          EXPECT_EQ(CellAt(FirstTable(sorted), {r, 0}), "a" + std::to_string(r));
          EXPECT_EQ(CellAt(FirstTable(sorted), {r, 1}), CellAt(FirstTable(bigUsual), {r, 1}));
        }
        EXPECT_EQ(CellAt(FirstTable(sorted), {4998, 1}), "4998.0");
        EXPECT_EQ(CellAt(FirstTable(sorted), {4999, 1}), "4999.0(0)");
        EXPECT_EQ(FirstTable(sorted).Title().GetText(), "T");
      });

  // "selected" and booleans before "type" are held too.
  OmOutputTree tree = Load(
      R"({"output": [{"notes": true, "show-title": false, "title": "T", "type": "pivot-table"}]})");
  EXPECT_TRUE(FirstTable(tree).IsNotes());
  EXPECT_FALSE(FirstTable(tree).showTitle);
}

TEST(HeldValues, NestAsDeepAsTheDeepestValidValue) {
  // Dimensions held before "type" with categories at their deepest, ending
  // in a cell object with footnotes, load; a level more is refused as in the
  // usual order.
  auto held = [](int levels) {
    std::string text =
        R"({"output": [{"dimensions": [{"label": "R", "axis": "row", "categories": [)";
    for (int i = 0; i < levels; ++i)
      text += R"({"group": "g", "categories": [)";
    text += R"({"text": "leaf", "footnotes": []})";
    for (int i = 0; i < levels; ++i)
      text += "]}";
    return text + R"(]}], "type": "pivot-table"}]})";
  };
  OmOutputTree tree = Load(held(999));
  EXPECT_EQ(FirstTable(tree).Dimension(0).Depth(), 1000);
  EXPECT_NE(Rejection(held(1000)).find(": categories are nested more than 1000 levels deep"),
            std::string::npos);

  // Only a table of more than 2001 dimensions takes "data" deeper than
  // that: held before its dimensions, such data is refused for its depth
  // (here a cell's footnotes at level 2004).
  std::string dims = "[";
  for (int d = 0; d < 2002; ++d)
    dims += std::string(d > 0 ? ", " : "") + R"({"label": "", "axis": "row", "categories": [0]})";
  dims += "]";
  const std::string data = Nested(2002, R"({"value": 1, "footnotes": `[]})");
  EXPECT_REJECTED_AT(SortedOrder(dims, data),
                     "lists and objects are nested more than 2003 levels deep");
  EXPECT_EQ(Rejection(Unmarked(UsualOrder(dims, data))), "accepted");
}

}  // namespace
