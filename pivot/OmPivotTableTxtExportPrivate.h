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
#include <iosfwd>
#include <memory>
#include <string>
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
  // The formatted nodes of one matrix column, top to bottom.
  using NodeList = std::vector<std::unique_ptr<OmFormattedNode>>;

  // Builds the headings and, for a formatted layer, plans the layer.
  // Prints on page; ownPage, when given, is that page, owned by the record.
  Data(OmDisplayLayerHeading& layer, const OmTextExportOptions& options, OmTextPage& page,
       std::unique_ptr<OmTextPage> ownPage = nullptr);
  ~Data();
  Data(const Data&) = delete;
  Data& operator=(const Data&) = delete;

  // The layer's state, in construction order.
  std::unique_ptr<OmTextPage> mOwnPage;
  OmTextPage& mPage;
  OmDisplayLayerHeading& mLayerHeading;
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
  std::int32_t SeparatorFlag() const;
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
  void FillRowHeadingColumn(std::int32_t column);
  void FillTableColumn(std::int32_t column);
  void FillRowSeparator(NodeList& nodes, std::int32_t line, std::int32_t band, std::int32_t column);
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
  void PrintPageBreak(bool repeatHeading);

  // Tab-separated printing (OmPivotTableTxtExportTab.cpp).
  void TabExport();
  void PrintCells(std::vector<std::int32_t>& index);

  // Cell texts, layer headings and footnotes (OmPivotTableTxtExportText.cpp).
  std::string GetCellText(const OmCellText* cell);
  std::int32_t GetFootnoteMarker(std::string& out, const OmCellText& cell);
  void CreateLayerHeadingFootnotes();
  void PrintFootnotes();
};
