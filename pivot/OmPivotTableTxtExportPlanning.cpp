// STUB: to be replaced by the column width planning.
#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExport::Data;
void Data::PrepareFormatting() {}
void Data::PreCalculateColumnWidths() {}
void Data::SortColumns(std::vector<std::uint64_t>&) const {}
