// A long layer laid out a window of bands at a time prints exactly the text
// of the same layer laid out whole: across group labels that end at a
// window's edge, cells that grow their band next to it, page breaks that
// repeat the heading, and the bottom rule. Layers whose bands depend on rows
// beyond any window edge are laid out whole.
#include <algorithm>
#include <string>

#include "PivotLayerTest.h"
#include "fold/OmWinStringFolder.h"
#include "host/output/OmText.h"

namespace {

// Rows in groups of the given sizes ("Group 1", ...; each label folds), with
// "Item N" leaves; three statistics under one spanning column group. Cells
// are numbers, with two-line texts, long texts, gaps and footnotes on rows
// near the edges the windows may take.
// With unlabelled, a last row without a label follows the groups.
void LongTable(OmPivotTable& table, const std::vector<std::int32_t>& groups,
               bool unlabelled = false) {
  table.SetTitle("Long");
  table.AddFootnote("first note");
  table.AddFootnote("second note");
  table.SetCaption("A caption");
  OmDimension& rows = table.AddDimension(OmAxis::Row, "Group");
  std::int32_t item = 0;
  for (std::size_t g = 0; g < groups.size(); ++g) {
    const auto group = rows.AddCategory("Group " + std::to_string(g + 1));
    for (std::int32_t i = 0; i < groups[g]; ++i, ++item) {
      const bool edge = item % 700 == 699 || item % 700 == 0;
      rows.AddCategory(group, edge ? "a much longer item label " + std::to_string(item)
                                   : "Item " + std::to_string(item));
    }
  }
  if (unlabelled) {
    rows.AddCategory(std::unique_ptr<OmCellText>());
    ++item;
  }
  OmDimension& columns = table.AddDimension(OmAxis::Column, "Stat");
  const auto statistics = columns.AddCategory("Statistics");
  for (const char* name : {"Mean", "Deviation", "Count"})
    columns.AddCategory(statistics, name);
  for (std::int32_t r = 0; r < item; ++r) {
    for (std::int32_t c = 0; c < 3; ++c) {
      const std::int32_t near = r % 700;
      if (near == 698 && c == 1) {
        table.SetText({r, c}, "two\nlines");
      } else if (near == 1 && c == 2) {
        table.SetText({r, c}, "a text long enough to fold in a narrow column");
      } else if (r % 97 == 5 && c == 0) {
        continue;
      } else {
        table.SetNumber({r, c}, r * 3.25 + c, 2).AddFootnote(r % 211 == 3 ? 1 : 0);
      }
    }
  }
}

class OmPivotTableTxtExportStreamTest : public PivotLayerTest {
 protected:
  // Layers of thousands of rows stand for those of millions.
  void SetUp() override { streamPositions = 0; }

  // The body printed a window at a time (which must happen) and whole.
  void ExpectSameAsWhole(std::size_t windows) {
    Data& streamed = Make();
    ASSERT_TRUE(streamed.mStreaming);
    EXPECT_EQ(streamed.mWindowEnds.size(), windows);
    const std::int64_t atLeast = streamed.CountLines(streamed.mPlannedLines);
    const std::int64_t atMost =
        streamed.CountLines(streamed.mPlannedLines + streamed.mExtraLinesBound);
    streamed.StreamExport();
    const std::string text = out.str();
    const std::int64_t streamedLines = streamed.mStreamedLines;
    const std::int64_t printed = streamed.CountLines(streamedLines);
    EXPECT_LE(atLeast, printed);
    EXPECT_LE(printed, atMost);

    out.str("");
    Data& whole = Make();
    whole.FillWhole();
    EXPECT_EQ(static_cast<std::int64_t>(whole.mMatrix.NumLines()), streamedLines);
    whole.FrmtExport();
    EXPECT_EQ(text, out.str());
    out.str("");
  }
};

TEST_F(OmPivotTableTxtExportStreamTest, WindowsPrintTheWholeLayersText) {
  // Windows end at 1400 and 2900, where a group starts: the groups of 1500
  // rows and of 700 rows around 1024 are never cut.
  LongTable(*table, {700, 700, 1500, 300, 5});
  struct Case {
    std::int32_t width;
    std::int32_t pageLength;
    const char* rowSeparator;
    const char* columnSeparator;
    OmDisplayWidth measure;
  };
  // Without a line width, cells join their lines to fit their bands, so
  // none grows one and the columns keep their first measure.
  const Case cases[] = {
      {-1, 2147483647, "_", "|", OmDisplayWidth::Bytes},
      {40, 2147483647, "_", "|", OmDisplayWidth::Bytes},
      {100, 25, "_", "|", OmDisplayWidth::Bytes},
      {30, 2147483647, "", "|", OmDisplayWidth::Bytes},
      {24, 40, "-=", "::", OmDisplayWidth::Columns},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.width);
    options.MaxLineWidth(c.width);
    options.NumLinesPerPage(c.pageLength);
    options.InsertPageBreak(c.pageLength < 100);
    options.RowSeparator(c.rowSeparator);
    options.ColumnSeparator(c.columnSeparator);
    options.DisplayWidth(c.measure);
    ExpectSameAsWhole(3);
  }
}

TEST_F(OmPivotTableTxtExportStreamTest, PageBreaksRepeatTheHeadingInEveryWindow) {
  LongTable(*table, {1100, 1100});
  options.MaxLineWidth(60);
  options.NumLinesPerPage(50);
  options.InsertPageBreak(true);
  ExpectSameAsWhole(2);
  // Every page after the first starts with the heading band, the spanning
  // column group included.
  Data& d = Make();
  d.StreamExport();
  const std::string text = out.str();
  std::string block = "\f\n";
  for (const std::string& line : d.mHeadLines)
    block += line + "\n";
  EXPECT_NE(d.mHeadLines[3].find("|Statistics "), std::string::npos);
  std::size_t pages = 0;
  for (std::size_t at = text.find(block); at != std::string::npos; at = text.find(block, at + 1))
    ++pages;
  // 2,200 rows of two lines each, 50 lines to a page.
  EXPECT_GE(pages, 2200U * 2 / 50);
  EXPECT_EQ(pages, static_cast<std::size_t>(std::count(text.begin(), text.end(), '\f')));
}

TEST_F(OmPivotTableTxtExportStreamTest, WideLayersTakeFewerRowsToAWindow) {
  // 1,100 rows of 200 columns, mostly empty: windows of 65,536 / 201 = 326
  // rows, whose edges fall between rows of flat labels anywhere.
  OmDimension& rows = table->AddDimension(OmAxis::Row, "Row");
  for (int r = 0; r < 1100; ++r)
    rows.AddCategory("r" + std::to_string(r));
  OmDimension& columns = table->AddDimension(OmAxis::Column, "Column");
  for (int c = 0; c < 200; ++c)
    columns.AddCategory("c" + std::to_string(c));
  for (std::int32_t r = 0; r < 1100; r += 7)
    table->SetText({r, (r * 13) % 200}, r % 2 == 0 ? "x" : "two words");
  options.HideEmptyRowsAndColumns(false);
  options.MaxLineWidth(-1);
  ExpectSameAsWhole(4);
}

// Without a line width, only cells that may grow their band are folded
// again before streaming; every cell whose fold does grow it must be one.
TEST_F(OmPivotTableTxtExportStreamTest, EveryCellThatGrowsItsBandIsFoldedAgain) {
  table = Grid({"r"}, {"c"}, {{"x"}});
  Data& d = Make();
  const char* texts[] = {"a\n\nb",     "a\n b", "a\n", "a\r\nb", "\n\na", "a \n", "a\nb\nc d",
                         "two\nlines", "a b c", "\na", "x",      " ",     ""};
  std::size_t growing = 0;
  for (const std::int32_t restriction : {-1, 3}) {
    d.mStringFolder = std::make_unique<OmWinStringFolder>(d.FolderOptions(restriction));
    options.WidthRestriction(restriction);
    for (const char* text : texts) {
      for (std::int32_t rows = 1; rows <= 3; ++rows) {
        SCOPED_TRACE(std::string(text) + " rows " + std::to_string(rows));
        auto node = d.mStringFolder->MakeNode(text, 1, rows, 0);
        Lines lines;
        const bool grows = d.mStringFolder->SplitString(*node, 2, lines, true) > rows;
        node = d.mStringFolder->MakeNode(text, 1, rows, 0);
        if (grows) {
          ++growing;
          EXPECT_TRUE(d.MayGrowItsBand(*node));
        }
        if (restriction != -1) {
          EXPECT_TRUE(d.MayGrowItsBand(*node));
        }
      }
    }
  }
  EXPECT_GE(growing, 8U);
  // Texts whose line breaks all stand between words never grow a band.
  options.WidthRestriction(-1);
  for (const char* text : {"two\nlines", "a b c", "a\nb\nc d", "\na"})
    EXPECT_FALSE(d.MayGrowItsBand(*d.mStringFolder->MakeNode(text, 1, 1, 0))) << text;
}

TEST_F(OmPivotTableTxtExportStreamTest, LayersWithoutAWindowEdgeAreLaidOutWhole) {
  options.MaxLineWidth(80);
  // One group label over every row: no row may end a window.
  LongTable(*table, {3000});
  EXPECT_FALSE(Make().mStreaming);
  // A row label without text shifts the labels below it to other bands.
  NewTable();
  LongTable(*table, {1100, 1100}, true);
  EXPECT_FALSE(Make().mStreaming);
  // Without a line width the columns are measured as they fill: a cell that
  // a width restriction keeps from joining its lines grows its band, and
  // the columns left of it are measured against the grown band.
  NewTable();
  LongTable(*table, {1100, 1100});
  options.MaxLineWidth(-1);
  EXPECT_TRUE(Make().mStreaming);
  options.WidthRestriction(8);
  EXPECT_FALSE(Make().mStreaming);
  options.WidthRestriction(-1);
  // A layer of no more positions than the limit is laid out whole.
  streamPositions = Data::kStreamPositions;
  EXPECT_FALSE(Make().mStreaming);
}

TEST_F(OmPivotTableTxtExportStreamTest, ASparseLayerPrintsWhatLookingUpEveryPositionPrints) {
  // 1,500 rows in groups (so the layer streams) by 2 x 6 columns under
  // spanning labels, with a few cells: two-line and folding ones next to
  // blanks, footnotes, and a row and a column that only --show-empty shows.
  table->AddFootnote("note");
  OmDimension& rows = table->AddDimension(OmAxis::Row, "Row");
  for (std::int32_t g = 0; g < 6; ++g) {
    const auto group = rows.AddCategory("Group " + std::to_string(g));
    for (std::int32_t i = 0; i < 250; ++i)
      rows.AddCategory(group, "r" + std::to_string(g * 250 + i));
  }
  for (const char* name : {"Outer", "Inner"}) {
    OmDimension& columns = table->AddDimension(OmAxis::Column, name);
    const auto all = columns.AddCategory(std::string("All ") + name);
    for (std::int32_t c = 0; c < (name[0] == 'O' ? 2 : 6); ++c)
      columns.AddCategory(all, name + std::to_string(c));
  }
  for (std::int32_t r = 0; r < 1500; r += 37) {
    table->SetNumber({r, r % 2, r % 5}, r * 1.5, 1);
    if (r % 3 == 0)
      table
          ->SetText({r + 1, 1, 4},
                    r % 2 == 0 ? "two\nlines" : "a text that folds in a narrow column")
          .AddFootnote(0);
  }
  for (const bool showEmpty : {true, false}) {
    for (const std::int32_t width : {-1, 30}) {
      SCOPED_TRACE(testing::Message() << showEmpty << " " << width);
      options.HideEmptyRowsAndColumns(!showEmpty);
      options.MaxLineWidth(width);
      options.NumLinesPerPage(showEmpty ? 50 : 2147483647);
      options.InsertPageBreak(showEmpty);
      // Hiding the empty rows leaves too few to stream.
      for (const bool stream : {showEmpty, false}) {
        streamPositions = stream ? 0 : Data::kStreamPositions;
        sparsePositions = 0;
        Data& sparse = Make();
        EXPECT_TRUE(sparse.mSparse);
        EXPECT_EQ(sparse.mStreaming, stream);
        if (stream) {
          sparse.StreamExport();
        } else {
          sparse.FrmtExport();
        }
        const std::string text = out.str();
        out.str("");
        sparsePositions = Data::kStreamPositions * 1024;
        Data& every = Make();
        EXPECT_FALSE(every.mSparse);
        if (stream) {
          every.StreamExport();
        } else {
          every.FrmtExport();
        }
        EXPECT_EQ(text, out.str());
        out.str("");
      }
    }
  }
}

}  // namespace
