// The pivot exporter's record (construction and destruction in member order)
// and the public operations, which forward to the record.
#include "pivot/OmPivotTableTxtExport.h"

#include <cstdint>
#include <limits>

#include "pivot/OmPivotTableTxtExportPrivate.h"

namespace {

OmPivotTable::LayerCells CellsOfLayer(const OmDisplayLayerHeading& layer) {
  std::vector<std::int32_t> index = layer.Table().SizeVector();
  layer.Fill(index);
  return layer.Table().CellsInLayer(index);
}

}  // namespace

OmPivotTableTxtExport::Data::Data(OmDisplayLayerHeading& layer, const OmTextExportOptions& options,
                                  OmTextPage& page, std::unique_ptr<OmTextPage> ownPage,
                                  std::int64_t streamPositions, std::int64_t sparsePositions)
    : mOwnPage(std::move(ownPage)),
      mPage(page),
      mLayerHeading(layer),
      mLayerCells(CellsOfLayer(layer)),
      mColumnHeading(layer, options.HideEmptyRowsAndColumns()),
      mRowHeading(layer, options.HideEmptyRowsAndColumns(), options.RowDimensionLabelsInCorner()),
      mOptions(options),
      mStream(page.Stream()),
      mFootnoter(layer.Table().Footnotes(), options.AlphabeticFootNotes()),
      mMemoryRegion(false),
      mRowHeadColumns(mMemoryRegion),
      mColHeadColumns(mMemoryRegion),
      mMeasure(options.DisplayWidth()),
      mStreamPositions(streamPositions),
      mSparsePositions(sparsePositions) {
  // 1 when rules separate the rows: a line above each band and one below.
  mSeparatorFlag = mOptions.RowSeparator().empty() ? 0 : 1;
  mFootnoter.Reset();
  // A tab-separated layer is printed straight from the headings: no plan,
  // no folder, and markers are handed out in print order.
  if (mOptions.TabSeparated())
    return;
  // The notes referenced above the table get the first markers.
  CreateLayerHeadingFootnotes();
  PrepareFormatting();
}

OmPivotTableTxtExport::Data::~Data() {
  // The node columns go back to the region before the region itself goes;
  // the remaining members then die in reverse declaration order.
  mFirstNodes.clear();
  mLastTextNodes.clear();
  mStringFolder.reset();
  mColHeadColumns.Clear();
  mRowHeadColumns.Clear();
}

OmPivotTableTxtExport::OmPivotTableTxtExport(OmDisplayLayerHeading& layer,
                                             const OmTextExportOptions& options, std::ostream& out,
                                             std::int32_t linesOnPage) {
  auto page = std::make_unique<OmTextPage>(out, options, linesOnPage);
  OmTextPage& pageRef = *page;
  mData = std::make_unique<Data>(layer, options, pageRef, std::move(page));
}

OmPivotTableTxtExport::OmPivotTableTxtExport(OmDisplayLayerHeading& layer,
                                             const OmTextExportOptions& options, OmTextPage& page)
    : mData(std::make_unique<Data>(layer, options, page)) {}

OmPivotTableTxtExport::~OmPivotTableTxtExport() = default;

std::int32_t OmPivotTableTxtExport::GetNumLinesOnPage() const {
  return mData->mPage.LinesOnPage();
}

void OmPivotTableTxtExport::setLinesOnPage(std::int32_t lines) {
  mData->mPage.SetLinesOnPage(lines);
}

std::int64_t OmPivotTableTxtExport::Data::CountLines(std::int64_t matrixLines) const {
  const OmPivotTable& table = mLayerHeading.Table();
  // Summed in 64 bits: a matrix or a footnote list past 2^31 entries counts
  // as the largest page count rather than wrapping round.
  std::int64_t lines = matrixLines;
  if (table.showTitle)
    lines += 1;
  lines += mLayerHeading.NDimensions();
  // Footnotes and caption are printed either way but counted only when
  // kept; the asymmetry is deliberate.
  if (mOptions.KeepFootNotesAndCaption()) {
    lines += static_cast<std::int64_t>(table.Footnotes().size()) + 2;
  }
  return lines;
}

std::int32_t OmPivotTableTxtExport::GetNumLines() const {
  Data& data = *mData;
  // Counting a layer that would stream lays it out whole first.
  if (data.mStreaming && data.mStreamedLines < 0)
    data.FillWhole();
  const std::int64_t body =
      data.mStreaming ? data.mStreamedLines : static_cast<std::int64_t>(data.mMatrix.NumLines());
  const std::int64_t lines = data.CountLines(body);
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(lines > kMax ? kMax : lines);
}

std::int64_t OmPivotTableTxtExport::GetNumLinesAtLeast() const {
  const Data& data = *mData;
  if (!data.mStreaming || data.mStreamedLines >= 0)
    return GetNumLines();
  return data.CountLines(data.mPlannedLines);
}

std::int64_t OmPivotTableTxtExport::GetNumLinesAtMost() const {
  const Data& data = *mData;
  if (!data.mStreaming || data.mStreamedLines >= 0)
    return GetNumLines();
  return data.CountLines(data.mPlannedLines + data.mExtraLinesBound);
}

void OmPivotTableTxtExport::PrintPageBreak() const {
  mData->PrintPageBreak(false);
}

void OmPivotTableTxtExport::PrintLayer() const {
  if (mData->mOptions.TabSeparated()) {
    mData->TabExport();
  } else if (mData->mStreaming) {
    mData->StreamExport();
  } else {
    mData->FrmtExport();
  }
}
