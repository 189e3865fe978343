// Formatted printing of a planned layer, with page breaks that repeat the
// column heading when a page fills up inside the table body.
#include <cstdint>
#include <ostream>
#include <string>

#include "pivot/OmPivotTableTxtExportPrivate.h"

void OmPivotTableTxtExport::Data::PrintPageBreak(bool repeatHeading) {
  // The count drops always, so it measures the lines since the last place
  // a break would have been, even where none is written.
  if (!mPage.Break(mOptions.InsertPageBreak()) || !repeatHeading)
    return;
  const std::int32_t headEnd = GetRowIndexInMatrix(mColumnHeading.NRows());
  std::string line;
  for (std::int32_t i = 0; i < headEnd && static_cast<std::size_t>(i) < mMatrix.NumLines(); ++i) {
    line.clear();
    mMatrix.AppendLine(static_cast<std::size_t>(i), line);
    mPage.WriteLine(line);
  }
}

void OmPivotTableTxtExport::Data::FrmtExport() {
  const std::int32_t headEnd = GetRowIndexInMatrix(mColumnHeading.NRows());
  const std::int32_t pageLength = mOptions.NumLinesPerPage();
  mStream.put('\n');
  mPage.CountLine();
  const std::int32_t linesOnPage = mPage.LinesOnPage();
  // The table starts on this page when its heading band fits on the rest of
  // the page, or would not fit even on an empty one.
  const bool startsHere =
      linesOnPage < pageLength &&
      (static_cast<std::int64_t>(headEnd) + linesOnPage <= pageLength || headEnd > pageLength);
  if (!startsHere)
    PrintPageBreak(false);
  const std::size_t lines = mMatrix.NumLines();
  std::string line;
  for (std::size_t i = 0; i < lines; ++i) {
    line.clear();
    mMatrix.AppendLine(i, line);
    mPage.WriteLine(line);
    if (mPage.LinesOnPage() >= mOptions.NumLinesPerPage() && i + 1 < lines) {
      // A page that fills up inside the body repeats the heading; one that
      // fills up inside the heading band just breaks.
      PrintPageBreak(mColumnHeading.NRows() > 0 && static_cast<std::int64_t>(i) >= headEnd);
    }
  }
}
