// Formatted layers measured in terminal columns. By property over generated
// tables (several scripts in titles, labels and cells; nested and spanning
// headings; several widths, separators and page lengths): every line of a
// body puts its column separators at the columns the plan gives, so that no
// folded cell line is wider than its column. By example: rules of no width
// and narrowing around wide characters. The kept renderings in columns pin
// rules, blank continuation lines and the sameness of ASCII text.
#include <algorithm>
#include <random>
#include <set>

#include "PivotLayerTest.h"
#include "fold/OmTextMeasure.h"

namespace {

std::int64_t Columns(std::string_view text) {
  return OmTextMeasure::Columns(text.data(), text.size());
}

// Texts without separators or line breaks: line breaks pad a joined cell to
// its join rather than its column, in either measure, which is the layout's
// own rule and not what is checked here.
const std::vector<std::string> kScripts = {"Zürich",
                                           "Kraków",
                                           "東京",
                                           "São Paulo",
                                           "Москва",
                                           "Αθήνα",
                                           "서울",
                                           "Reykjavík",
                                           "e\xCC\x81t\xC3\xA9",
                                           "😀 ok",
                                           "大阪府 京都府",
                                           "naïve café",
                                           "ｆｕｌｌ",
                                           "नमस्ते दुनिया",
                                           "x̧y̆ z",
                                           "12.5",
                                           "1,234",
                                           "東京大阪名古屋京都神戸",
                                           "Population (millions)",
                                           "a",
                                           "long words of plain text"};
class ColumnsTest : public PivotLayerTest {
 protected:
  // A table of one or two row dimensions and one or two column dimensions,
  // some with groups, every cell filled, texts drawn from pool.
  void Generate(std::mt19937& random, const std::vector<std::string>& pool) {
    NewTable();
    auto text = [&]() { return pool[random() % pool.size()]; };
    table->SetTitle(text());
    std::vector<std::int32_t> leaves;
    const int rowDimensions = 1 + static_cast<int>(random() % 2);
    const int columnDimensions = 1 + static_cast<int>(random() % 2);
    for (int d = 0; d < rowDimensions + columnDimensions; ++d) {
      OmDimension& dimension =
          table->AddDimension(d < rowDimensions ? OmAxis::Row : OmAxis::Column, text());
      dimension.SetShowLabel(random() % 2 == 0);
      const int categories = 1 + static_cast<int>(random() % 3);
      for (int c = 0; c < categories; ++c) {
        if (random() % 3 == 0) {
          const auto group = dimension.AddCategory(text());
          dimension.AddCategory(group, text());
          dimension.AddCategory(group, text());
        } else {
          dimension.AddCategory(text());
        }
      }
      leaves.push_back(dimension.NLeaves());
    }
    std::vector<std::int32_t> index(leaves.size(), 0);
    for (;;) {
      table->SetText(index, text());
      std::size_t d = 0;
      while (d < index.size() && ++index[d] == leaves[d])
        index[d++] = 0;
      if (d == index.size())
        break;
    }
  }

  void GenerateOptions(std::mt19937& random) {
    static const char* const kSeparators[] = {"|", "│", " | "};
    static const char* const kRules[] = {"_", "─", ""};
    options.ColumnSeparator(kSeparators[random() % 3]);
    options.RowSeparator(kRules[random() % 3]);
    options.MaxLineWidth(random() % 4 == 0 ? -1 : static_cast<std::int32_t>(15 + random() % 70));
    options.NumLinesPerPage(static_cast<std::int32_t>(5 + random() % 30));
    options.InsertPageBreak(random() % 2 == 0);
  }

  // Checks that every printed line of the body of the planned layer puts
  // its separators where the planned widths say. False when a column was
  // planned narrower than one position, which no measure can print aligned.
  bool ExpectAligned() {
    Data& d = Make();
    const std::string separator = options.ColumnSeparator();
    const std::int64_t separatorWidth = Columns(separator);
    std::set<std::int64_t> edges = {0};
    std::int64_t at = 0;
    for (const std::int32_t width : d.mColumnWidths) {
      if (width < 1)
        return false;
      at += separatorWidth + width;
      edges.insert(at);
    }
    d.FrmtExport();
    std::istringstream body(out.str());
    int checked = 0;
    for (std::string line; std::getline(body, line);) {
      if (line.empty() || line == "\f")
        continue;
      SCOPED_TRACE("line '" + line + "'");
      std::vector<std::int64_t> found;
      std::int64_t column = 0;
      for (std::size_t p = 0; p < line.size();) {
        if (line.compare(p, separator.size(), separator) == 0) {
          found.push_back(column);
          column += separatorWidth;
          p += separator.size();
          continue;
        }
        std::int64_t width = 0;
        const std::size_t bytes =
            OmTextMeasure::ColumnsHead(line.data() + p, line.size() - p, 0, width);
        column += width;
        p += bytes;
      }
      EXPECT_EQ(column, at + separatorWidth);
      if (found.empty()) {
        ADD_FAILURE() << "no separator";
        continue;
      }
      EXPECT_EQ(found.front(), 0);
      EXPECT_EQ(found.back(), at);
      for (const std::int64_t position : found)
        EXPECT_TRUE(edges.count(position) == 1) << "a separator at column " << position;
      ++checked;
    }
    EXPECT_GT(checked, 0);
    return true;
  }
};

TEST_F(ColumnsTest, SeparatorsOfEveryLineStandAtThePlannedColumns) {
  std::mt19937 random(2018);
  int checked = 0;
  const int rounds = 300;
  for (int round = 0; round < rounds; ++round) {
    Generate(random, kScripts);
    GenerateOptions(random);
    options.DisplayWidth(OmDisplayWidth::Columns);
    SCOPED_TRACE("round " + std::to_string(round) + ", width " +
                 std::to_string(options.MaxLineWidth()) + ", separator '" +
                 options.ColumnSeparator() + "'");
    if (ExpectAligned())
      ++checked;
    out.str("");
    if (HasFailure())
      return;
  }
  // Only a table narrowed below one position a column goes unchecked.
  EXPECT_GT(checked, rounds * 3 / 4);
}

TEST_F(ColumnsTest, ARuleOfNoWidthStillEnds) {
  // A zero-width space as the rule: each repetition counts as one position.
  options.DisplayWidth(OmDisplayWidth::Columns);
  options.RowSeparator("\xE2\x80\x8B");
  table = Grid({"ab"}, {"c"}, {{"1"}});
  const Lines lines = Matrix(Make());
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.front(), "|\xE2\x80\x8B\xE2\x80\x8B|\xE2\x80\x8B|");
}

TEST_F(ColumnsTest, NarrowingNeverLeavesAWideCharacterWithoutRoom) {
  // Narrowed to the average of one, the column of wide characters keeps two
  // columns; the ASCII column keeps the one it was given.
  options.DisplayWidth(OmDisplayWidth::Columns);
  options.RowSeparator("");
  options.MaxLineWidth(1);
  table = Grid({"a"}, {"東京", "xyz"}, {{"東", "xy"}});
  Data& d = Make();
  EXPECT_EQ(d.mColumnWidths, (std::vector<std::int32_t>{1, 2, 1}));
  EXPECT_EQ(Matrix(d), (Lines{"| |東|x|", "| |京|y|", "| |  |z|", "|a|東|x|", "| |  |y|"}));
}

}  // namespace
