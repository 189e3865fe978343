// STUB: to be replaced by the tab-separated export.
#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExport::Data;
void Data::TabExport() {}
void Data::PrintCells(std::vector<std::int32_t>&) {}
