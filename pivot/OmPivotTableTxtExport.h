// Prints one layer of a pivot table as plain text: the layer's heading lines,
// its body (a formatted grid folded to the line width, or tab-separated
// lines) and its footer (caption and footnotes). A formatted layer is planned
// whole when the exporter is made; the print operations only write. The
// layer heading, options and stream are held by reference and must outlive
// the exporter.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>

class OmDisplayLayerHeading;
class OmTextExportOptions;
class OmTextPage;

// The grid of one layer as its planning lays it out: text rows (column
// heading rows, then table rows, at least one) by matrix columns (row
// heading columns, then data columns, at least one). A tab-separated layer
// prints one field for each position of the same grid.
struct OmLayerGrid {
  std::int64_t textRows = 0;
  std::int64_t columns = 0;

  // textRows times columns, saturating at 2^62.
  std::int64_t Positions() const;
};

class OmPivotTableTxtExport {
 public:
  // Builds the layer's headings and, unless the export is tab-separated,
  // plans the whole layer. linesOnPage is the count of lines already on the
  // current page. Allocation failures propagate with nothing leaked.
  OmPivotTableTxtExport(OmDisplayLayerHeading& layer, const OmTextExportOptions& options,
                        std::ostream& out, std::int32_t linesOnPage);
  // The same, printing on a page the caller keeps (and that must outlive the
  // exporter): the lines the layer prints count on it directly.
  OmPivotTableTxtExport(OmDisplayLayerHeading& layer, const OmTextExportOptions& options,
                        OmTextPage& page);
  ~OmPivotTableTxtExport();
  OmPivotTableTxtExport(const OmPivotTableTxtExport&) = delete;
  OmPivotTableTxtExport& operator=(const OmPivotTableTxtExport&) = delete;

  // The grid of a layer with these heading counts; negative counts count
  // as none. Larger counts never give a smaller grid, so upper bounds of
  // the counts give an upper bound of the grid.
  static OmLayerGrid PlanGrid(std::int64_t colHeadRows, std::int64_t rowHeadRows,
                              std::int64_t rowHeadColumns, std::int64_t dataColumns);
  // The grid of the layer the heading stands on, from the layer's row and
  // column headings alone, without planning it. Allocation failures while
  // the headings are built propagate.
  static OmLayerGrid PlanGrid(OmDisplayLayerHeading& layer, const OmTextExportOptions& options);

  // The lines written on the current page so far.
  std::int32_t GetNumLinesOnPage() const;
  void setLinesOnPage(std::int32_t lines);
  // The lines the layer will print: its planned body, the title line, one
  // line per layer dimension and, when footnotes and captions are kept, the
  // footnote count plus 2.
  std::int32_t GetNumLines() const;
  // Bounds of GetNumLines() known without laying the layer out. A long layer
  // is laid out a band of rows at a time as it prints, and only then is its
  // count known; GetNumLines() before printing lays it out whole to count.
  std::int64_t GetNumLinesAtLeast() const;
  std::int64_t GetNumLinesAtMost() const;

  // Starts a new page (without repeating the column heading).
  void PrintPageBreak() const;
  // The title line and one line per layer dimension.
  void PrintLayerHeading() const;
  // The body: the planned grid, or tab-separated lines.
  void PrintLayer() const;
  // The caption and the footnote list.
  void PrintLayerFooter() const;

 private:
  // The layer's state and planning, defined in OmPivotTableTxtExportPrivate.h,
  // which names it for the exporter's own files and tests.
  struct Data;
  friend struct OmPivotTableTxtExportPrivate;
  std::unique_ptr<Data> mData;
};
