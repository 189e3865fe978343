// The state of one layer's export and its operations. The operations are
// defined across several source files, one per concern: the record itself
// (OmPivotTableTxtExport.cpp), width planning (…Planning.cpp), column
// pre-formatting (…PreFormat.cpp), heading spans (…Spans.cpp), column filling
// (…Fill.cpp), formatted printing (…Print.cpp), tab-separated printing
// (…Tab.cpp) and cell texts with footnotes (…Text.cpp). Not installed: tests
// include it to check the operations one by one.
#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "export/OmTextExportOptions.h"
#include "export/OmTextPage.h"
#include "fold/OmFormattedNode.h"
#include "fold/OmStringFolder.h"
#include "fold/OmTextMeasure.h"
#include "host/platform/OmMemoryRegion.h"
#include "host/platform/OmVector.h"
#include "host/table/OmDisplayColumnHeading.h"
#include "host/table/OmDisplayLayerHeading.h"
#include "host/table/OmDisplayRowHeading.h"
#include "host/table/OmFootnoter.h"
#include "host/table/OmPivotTable.h"
#include "pivot/OmPivotTableTxtExport.h"
#include "pivot/OmTextMatrix.h"

class OmCellText;

// Names the private record for the exporter's own files and tests.
struct OmPivotTableTxtExportPrivate {
  using Data = OmPivotTableTxtExport::Data;
};

struct OmPivotTableTxtExport::Data {
  // Owns its node, unless the node is one of the layer's shared nodes (see
  // SharedNode); converts from the folder's owning pointers.
  struct NodeRelease {
    NodeRelease() = default;
    NodeRelease(std::default_delete<OmFormattedNode>) {}  // NOLINT: implicit on purpose
    explicit NodeRelease(bool owning) : owns(owning) {}
    explicit NodeRelease(std::vector<OmFormattedNode*>* spareList)
        : owns(false), spare(spareList) {}
    void operator()(OmFormattedNode* node) const {
      if (spare != nullptr) {
        // Within its capacity, which AddPlainNode keeps for every plain node.
        spare->push_back(node);
      } else if (owns) {
        delete node;
      }
    }
    bool owns = true;
    // For a plain node (see AddPlainNode), the list of spare ones it goes back to.
    std::vector<OmFormattedNode*>* spare = nullptr;
  };
  using NodePtr = std::unique_ptr<OmFormattedNode, NodeRelease>;
  // The formatted nodes of one matrix column, top to bottom.
  using NodeList = std::vector<NodePtr>;

  // Builds the headings and, for a formatted layer, plans the layer.
  // Prints on page; ownPage, when given, is that page, owned by the record.
  // Layers of up to this many positions are laid out whole: they are small
  // enough to hold, and planning windows would only cost time.
  static constexpr std::int64_t kStreamPositions = std::int64_t{1} << 20;
  // Layers of fewer positions than this look up every one of them: their
  // cells are found fast enough that listing them first would not pay.
  static constexpr std::int64_t kSparsePositions = std::int64_t{1} << 16;

  // Layers of more than streamPositions positions may stream; layers of at
  // least sparsePositions positions may fill only their cells' positions.
  Data(OmDisplayLayerHeading& layer, const OmTextExportOptions& options, OmTextPage& page,
       std::unique_ptr<OmTextPage> ownPage = nullptr,
       std::int64_t streamPositions = kStreamPositions,
       std::int64_t sparsePositions = kSparsePositions);
  ~Data();
  Data(const Data&) = delete;
  Data& operator=(const Data&) = delete;

  // The layer's state, in construction order.
  std::unique_ptr<OmTextPage> mOwnPage;
  OmTextPage& mPage;
  OmDisplayLayerHeading& mLayerHeading;
  // The cells of the layer, looked up by full index without checks: the
  // headings give only in-range positions.
  OmPivotTable::LayerCells mLayerCells;
  OmDisplayColumnHeading mColumnHeading;
  OmDisplayRowHeading mRowHeading;
  const OmTextExportOptions& mOptions;
  std::ostream& mStream;
  OmFootnoter mFootnoter;
  OmTextMatrix mMatrix;
  std::vector<std::int32_t> mColumnWidths;
  std::vector<std::int32_t> mRowHeights;
  OmMemoryRegion mMemoryRegion;
  OmVector<OmNodeColumn> mRowHeadColumns;
  OmVector<OmNodeColumn> mColHeadColumns;
  std::unique_ptr<OmStringFolder> mStringFolder;
  std::string mRulePiece;
  std::int64_t mRuleTarget = -1;
  bool mRuleFirstColumn = false;
  // How the layer counts display widths, from the options and the encoding.
  OmTextMeasure mMeasure;
  // Counting columns, the widest character of each column's one-column
  // cells, found while measuring: no column is narrowed below it.
  std::vector<std::int64_t> mWidestCharacters;

  // The nodes of plain cells and labels: one column, no extra width, and a
  // text that stays one line in its planned column (the folder's unfolded
  // check). They are reused, so that a column of a million such cells makes
  // only a batch's worth of nodes, and filled without folding. mPlainNodes
  // owns them all; mSpareNodes lists those not in use and has room for all
  // of them. AddPlainNode makes one in place at the end of nodes: a node
  // pointer made apart and moved in is read back through the stack whole,
  // which stalls.
  std::vector<std::unique_ptr<OmFormattedNode>> mPlainNodes;
  std::vector<OmFormattedNode*> mSpareNodes;
  void AddPlainNode(NodeList& nodes, const std::string& text, std::int32_t rows,
                    std::int32_t length);

  // Band-at-a-time layout (OmPivotTableTxtExportStream.cpp). A long layer
  // whose column widths are all planned before filling is laid out and
  // printed a window of bands at a time, so its text is never held whole.
  bool mStreaming = false;
  std::int64_t mStreamPositions = kStreamPositions;
  // Rows of a window, at least: layers of no more rows are laid out whole.
  static constexpr std::int32_t kWindowRows = 1024;
  // A window holds about this many positions, and at least kMinWindowRows
  // rows, in layers too wide for kWindowRows.
  static constexpr std::int64_t kWindowPositions = std::int64_t{1} << 16;
  static constexpr std::int32_t kMinWindowRows = 16;
  // Tab-separated layers of at least this many rows make every other block
  // of rows on a second thread, which fewer rows are not worth.
  static constexpr std::int32_t kTabAsideRows = std::int32_t{1} << 17;
  std::int32_t mTabAsideRows = kTabAsideRows;
  // Lines printed by a streamed layer; -1 until it is printed.
  std::int64_t mStreamedLines = -1;
  // Matrix lines as planned, and at most how many lines folded cells may
  // add to them (twice each measured text's bytes, plus two).
  std::int64_t mPlannedLines = 0;
  std::int64_t mExtraLinesBound = 0;
  // The band after each window's last; the first window holds the heading.
  std::vector<std::int32_t> mWindowEnds;
  // The heading lines that a page break inside the body repeats.
  std::vector<std::string> mHeadLines;
  // Per matrix column, the first band's node and the last later node with
  // text: what the bottom rule is drawn from.
  NodeList mFirstNodes;
  NodeList mLastTextNodes;

  // Cells measured through a node whose fold may need more lines than their
  // band has (see MayGrowItsBand).
  std::int64_t mGrowableNodes = 0;
  // Printed heading entries without a label met while measuring or filling.
  std::int64_t mUnlabelledEntries = 0;

  // In a large layer with far fewer cells than positions, the positions
  // that hold a cell, as (data column << 32 | row), ascending: its empty
  // positions are then neither looked up nor measured.
  static constexpr std::int64_t kPositionsPerCell = 8;
  std::int64_t mSparsePositions = kSparsePositions;
  std::vector<std::uint64_t> mOccupied;
  bool mOccupancyKnown = false;
  bool mSparse = false;
  // The rows of data column dataColumn that hold a cell, as a range of
  // mOccupied; false when the layer is not sparse.
  bool OccupiedRows(std::int32_t dataColumn, const std::uint64_t*& first,
                    const std::uint64_t*& end);

  // Without a line width, measures the columns, last first, as filling the
  // layer whole would; false when filling a column would grow a band, as
  // the columns left of it would then be measured against other heights.
  bool MeasureAsFilled();
  // Whether folding the node's text could give it more lines than its rows;
  // false only when that is certain not to happen.
  bool MayGrowItsBand(OmFormattedNode& node) const;
  // Whether folding the heading part or the body part of a planned column
  // gives a cell more lines than its band has.
  bool GrowsABand(std::int32_t column, bool head, bool body);
  // The lines the layer prints around a body of matrixLines lines.
  std::int64_t CountLines(std::int64_t matrixLines) const;
  // Whether the layer may be laid out a window at a time, and its windows:
  // each ends where no row label spans on into the next row.
  bool PlanWindows();
  // Lays the planned layer out whole, as a layer too short to stream is.
  void FillWhole();
  // The nodes of bands firstBand .. endBand - 1 of a planned column, as
  // filling the whole column would make them.
  void MakeWindowNodes(std::int32_t column, std::int32_t firstBand, std::int32_t endBand,
                       NodeList& nodes);
  void FillWindow(std::int32_t firstBand, std::int32_t endBand, bool last);
  void FillWindowColumn(std::int32_t column, std::int32_t firstBand, std::int32_t endBand,
                        bool last);
  void StreamExport();

  // Width planning (OmPivotTableTxtExportPlanning.cpp).
  void PrepareFormatting();
  void PreCalculateColumnWidths();
  void SortColumns(std::vector<std::uint64_t>& order) const;
  // Counting columns, widens a column narrowed below its widest (wide)
  // character back to it, so that no character sticks out of its column.
  void KeepWidestCharacters();
  // The folder settings of this layer, folding at widthRestriction.
  OmStringFolder::Options FolderOptions(std::int32_t widthRestriction) const;

  // Column pre-formatting (OmPivotTableTxtExportPreFormat.cpp). A null node
  // list measures only.
  void PreFormatCornerText(std::int32_t col, std::int32_t& width, NodeList* nodes);
  void PreFormatRowHeadColumn(std::int32_t col, std::int32_t& width, NodeList* nodes);
  void PreFormatColHeadColumn(std::int32_t col, std::int32_t& width,
                              std::vector<std::int32_t>& cellIndex, NodeList* nodes);
  std::int32_t PreFormatTableColumn(std::int32_t col, NodeList* nodes);

  // Heading spans (OmPivotTableTxtExportSpans.cpp): read-only queries.
  // 1 when the row separator is not empty, else 0.
  std::int32_t SeparatorFlag() const { return mSeparatorFlag; }
  std::int32_t mSeparatorFlag = 0;
  // Two heading entries continue one another when both are empty or both
  // stand for the same tree node (compared by identity, never by label).
  static bool SamePosition(const OmDimensionTree::ConstNode* x,
                           const OmDimensionTree::ConstNode* y) {
    if (x == nullptr || y == nullptr)
      return x == y;
    return x->Node() == y->Node();
  }
  bool SkipNodesInColumnHead(std::int32_t level, std::int32_t a, std::int32_t b) const;
  bool SkipNodesInRowHead(std::int32_t column, std::int32_t a, std::int32_t b) const;
  bool IsColumnHeadingCellPrinted(const OmNodeColumn& nodes, std::int32_t matrixColumn,
                                  std::int32_t level) const;
  bool IsRowHeadingCellPrinted(std::int32_t column, std::int32_t row) const;
  std::int32_t GetNumberOfColumnsAvailableInColHead(std::int32_t matrixColumn, std::int32_t level,
                                                    std::int32_t& extra) const;
  std::int32_t GetNumberOfRowsAvailableInColHead(std::int32_t matrixColumn,
                                                 std::int32_t level) const;
  std::int32_t GetNumberOfColumnsAvailableInRowHead(std::int32_t column, std::int32_t row,
                                                    std::int32_t& extra) const;
  std::int32_t GetNumberOfRowsAvailableInRowHead(std::int32_t column, std::int32_t row) const;
  std::int32_t GetNumberOfRowsAvailableInCorner(const std::vector<const OmCellText*>& texts,
                                                std::int32_t column) const;
  std::int32_t GetRowIndexInMatrix(std::int32_t rows) const;

  // Column filling (OmPivotTableTxtExportFill.cpp).
  void FillColumn(std::int32_t column);
  // Makes the folder of a column: with a line width, each column folds at
  // its own planned width.
  void UseColumnFolder(std::int32_t column);
  void FillRowHeadingColumn(std::int32_t column);
  void FillTableColumn(std::int32_t column);
  // Working storage of filling, kept across the bands of a column.
  struct FoldScratch {
    FoldScratch(std::string separatorText, std::int32_t separatorFlag)
        : columnSeparator(std::move(separatorText)), separator(separatorFlag) {}
    std::vector<std::string> lines;
    std::string piece;
    // The line of a plain node (see FillPlainNode).
    std::string plainLine;
    std::string columnSeparator;
    std::int32_t separator = 0;  // SeparatorFlag()
    // The shared blank node folded at blankWidth: the same lines each time.
    std::int32_t blankWidth = -1;
    std::int32_t blankCount = 0;
    std::vector<std::string> blankLines;
    // The matrix's text of the blank's one line and of the last rule drawn,
    // stored once for the column (0 until stored).
    OmTextMatrix::PieceId blankId = 0;
    OmTextMatrix::PieceId blankRuleId = 0;
    OmTextMatrix::PieceId ruleId = 0;
    std::int64_t ruleTarget = -1;
  };
  // Every empty position of the layer has the same blank node, and every
  // position a spanning label covers the same empty node; sharing them
  // spares a node per position. Folding leaves a node as it was, but for
  // the count of its blank lines, which is the same for every fold of them.
  std::unique_ptr<OmFormattedNode> mBlankNode;
  std::unique_ptr<OmFormattedNode> mEmptyNode;
  NodePtr SharedNode(bool blank);
  // Folds nodes[index], the node of the given band, into its lines from
  // line on, growing the band when it needs more lines than planned, and
  // draws the rule above it.
  void FillBand(NodeList& nodes, std::size_t index, std::int32_t band, std::int64_t line,
                std::int32_t width, std::int32_t column, bool tableColumn, FoldScratch& scratch);
  // Puts one folded, padded and closed line of a cell at line of column:
  // appended to the column's piece, or in the first column after the
  // table's left edge.
  void PutCellLine(std::size_t line, std::int32_t column, std::string_view text,
                   FoldScratch& scratch);
  // Writes a plain node's lines from line first of a column as folding it
  // would; false, writing nothing, when it does not stay one line at width.
  bool FillPlainNode(OmFormattedNode& node, std::size_t first, std::int32_t width,
                     std::int32_t column, FoldScratch& scratch);
  // Draws the rule at line of column: the rule of nodes[band], or for the
  // matrix's last line the bottom rule of the last node before it with text.
  void FillRowSeparator(NodeList& nodes, std::int32_t line, std::int32_t band, std::int32_t column,
                        FoldScratch* scratch = nullptr);
  // The piece of a rule target display positions wide, with the left edge
  // in the first column; the last one made is kept, as a column's rules
  // are mostly alike.
  const std::string& RulePiece(std::int64_t target, bool firstColumn);
  void InsertExtraRows(std::int32_t band, std::int32_t firstLine, std::int32_t column,
                       std::int32_t lines, std::int32_t plannedLines);

  // Helpers of pre-formatting and filling (…PreFormat.cpp, …Fill.cpp).
  // Folds text into a node of the given room, widens width to what the node
  // needs while column col is not planned, and keeps the node in nodes when
  // they are wanted.
  void AddMeasuredNode(std::int32_t col, std::string text, std::int32_t columns, std::int32_t lines,
                       std::int32_t extra, std::int32_t& width, NodeList* nodes);
  // The row-label nodes of rows firstRow .. endRow - 1 of a row-heading
  // column, as PreFormatRowHeadColumn makes them.
  void PreFormatRowHeadRows(std::int32_t col, std::int32_t firstRow, std::int32_t endRow,
                            std::int32_t& width, NodeList* nodes);
  // The data-cell nodes of rows firstRow .. endRow - 1 of a data column, as
  // PreFormatTableColumn makes them; cellIndex holds the layer's and the
  // column's positions.
  void PreFormatTableCells(std::int32_t col, std::vector<std::int32_t>& cellIndex,
                           std::int32_t firstRow, std::int32_t endRow, std::int32_t& width,
                           NodeList* nodes);
  // Folds the nodes of one column into its matrix pieces, band by band, and
  // draws the separator rules; tableColumn skips bands already written.
  // Without more, nodes holds the whole column. With more, the nodes come a
  // batch at a time: more() appends the next batch and returns false when
  // there is none, and nodes already folded are released, except those the
  // bottom rule may still need.
  void FillBands(NodeList& nodes, std::int32_t width, std::int32_t column, bool tableColumn,
                 const std::function<bool()>& more);

  // Formatted printing (OmPivotTableTxtExportPrint.cpp).
  void FrmtExport();
  // Starts the body: its empty line, and a page break when the heading
  // band of headEnd lines does not fit on the rest of the page.
  void StartBody(std::int32_t headEnd);
  // Prints line index of the body, after a page break when the page is full.
  void PrintBodyLine(std::int64_t index, std::int32_t headEnd, std::string& line);
  void PrintPageBreak(bool repeatHeading);

  // Tab-separated printing (OmPivotTableTxtExportTab.cpp).
  void TabExport();
  // Rows made into text, up to the row where making them stopped.
  struct TabRows {
    std::string text;
    std::int32_t stopped = 0;
  };
  // Makes rows [first, end) into lines appended to out. kPlainOnly stops
  // at the first row that is not plain (see AppendPlainText) and returns
  // it, touching nothing but out, so that a second thread may run it;
  // otherwise every row is made, out's lines are written now and then, and
  // end is returned.
  template <bool kPlainOnly>
  std::int32_t MakeTabRows(std::int32_t first, std::int32_t end, std::string& out);
  // MakeTabRows<true>(first, end) on another thread; no future when no
  // thread could be started.
  std::future<TabRows> MakePlainTabRowsAside(std::int32_t first, std::int32_t end);
  // Appends the data fields of the row whose positions index holds to
  // line; false as MakeTabRows stops.
  template <bool kPlainOnly>
  bool AppendCells(std::vector<std::int32_t>& index, std::string& line);
  // Appends a cell's text when it is printed as it stands (no footnotes,
  // markers or markup), as AppendCellText would; else returns false.
  bool AppendPlainText(std::string& out, const OmCellText* cell, std::string_view stored) const;

  // Cell texts, layer headings and footnotes (OmPivotTableTxtExportText.cpp).
  std::string GetCellText(const OmCellText* cell);
  // The same, checked on the cell's stored text (see LayerCells::At) when
  // stored is not null, before it is copied.
  std::string GetCellText(const OmCellText* cell, std::string_view stored);
  // Appends what GetCellText gives to out, without a string of its own for
  // the common cell.
  void AppendCellText(std::string& out, const OmCellText* cell);
  // The same for a cell whose stored text LayerCells::At gave.
  void AppendCellText(std::string& out, const OmCellText* cell, std::string_view stored);
  // Adds the footnote list, replaced markup and bracketed markers of cell to
  // text, which holds the cell's text.
  void DecorateCellText(std::string& text, const OmCellText& cell);
  std::int32_t GetFootnoteMarker(std::string& out, const OmCellText& cell);
  void CreateLayerHeadingFootnotes();
  void PrintFootnotes();
};
