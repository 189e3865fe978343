// STUB: to be replaced by cell texts, layer headings and footnotes.
#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExport::Data;
std::string Data::GetCellText(const OmCellText*) { return ""; }
std::int32_t Data::GetFootnoteMarker(std::string&, const OmCellText&) { return 0; }
void Data::CreateLayerHeadingFootnotes() {}
void Data::PrintFootnotes() {}
void OmPivotTableTxtExport::PrintLayerHeading() const {}
void OmPivotTableTxtExport::PrintLayerFooter() const {}
