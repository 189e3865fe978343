// STUB: to be replaced by the record's construction and the public
// operations.
#include "pivot/OmPivotTableTxtExportPrivate.h"

OmPivotTableTxtExport::Data::Data(OmDisplayLayerHeading& layer, const OmTextExportOptions& options,
                                  std::ostream& out, std::int32_t linesOnPage)
    : mLayerHeading(layer),
      mColumnHeading(layer, options.HideEmptyRowsAndColumns()),
      mRowHeading(layer, options.HideEmptyRowsAndColumns(), options.RowDimensionLabelsInCorner()),
      mOptions(options),
      mStream(out),
      mFootnoter(layer.Table().Footnotes(), options.AlphabeticFootNotes()),
      mLinesOnPage(linesOnPage),
      mMemoryRegion(false),
      mRowHeadColumns(mMemoryRegion),
      mColHeadColumns(mMemoryRegion) {}

OmPivotTableTxtExport::Data::~Data() = default;

OmPivotTableTxtExport::OmPivotTableTxtExport(OmDisplayLayerHeading& layer,
                                             const OmTextExportOptions& options, std::ostream& out,
                                             std::int32_t linesOnPage)
    : mData(std::make_unique<Data>(layer, options, out, linesOnPage)) {}
OmPivotTableTxtExport::~OmPivotTableTxtExport() = default;
std::int32_t OmPivotTableTxtExport::GetNumLinesOnPage() const { return mData->mLinesOnPage; }
void OmPivotTableTxtExport::setLinesOnPage(std::int32_t lines) { mData->mLinesOnPage = lines; }
std::int32_t OmPivotTableTxtExport::GetNumLines() const { return 0; }
void OmPivotTableTxtExport::PrintPageBreak() const { mData->PrintPageBreak(false); }
void OmPivotTableTxtExport::PrintLayer() const {}
