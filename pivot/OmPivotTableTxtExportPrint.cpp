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
  if (mStreaming) {
    std::string copy;
    for (const std::string& line : mHeadLines) {
      copy = line;
      mPage.WriteLine(copy);
    }
    return;
  }
  const std::int32_t headEnd = GetRowIndexInMatrix(mColumnHeading.NRows());
  std::string line;
  for (std::int32_t i = 0; i < headEnd && static_cast<std::size_t>(i) < mMatrix.NumLines(); ++i) {
    line.clear();
    mMatrix.AppendLine(static_cast<std::size_t>(i), line);
    mPage.WriteLine(line);
  }
}

void OmPivotTableTxtExport::Data::StartBody(std::int32_t headEnd) {
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
}

void OmPivotTableTxtExport::Data::PrintBodyLine(std::int64_t index, std::int32_t headEnd,
                                                std::string& line) {
  // A page that filled up inside the body repeats the heading before the
  // next line; one that filled up inside the heading band just breaks. No
  // break follows the last line.
  if (index > 0 && mPage.LinesOnPage() >= mOptions.NumLinesPerPage())
    PrintPageBreak(mColumnHeading.NRows() > 0 && index - 1 >= headEnd);
  mPage.WriteLine(line);
}

void OmPivotTableTxtExport::Data::FrmtExport() {
  const std::int32_t headEnd = GetRowIndexInMatrix(mColumnHeading.NRows());
  StartBody(headEnd);
  const std::size_t lines = mMatrix.NumLines();
  std::string line;
  for (std::size_t i = 0; i < lines; ++i) {
    line.clear();
    mMatrix.AppendLine(i, line);
    PrintBodyLine(static_cast<std::int64_t>(i), headEnd, line);
  }
}
