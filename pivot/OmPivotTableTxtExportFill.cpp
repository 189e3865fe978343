// STUB: to be replaced by the column filling.
#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExport::Data;
void Data::FillColumn(std::int32_t) {}
void Data::FillRowHeadingColumn(std::int32_t) {}
void Data::FillTableColumn(std::int32_t) {}
void Data::FillRowSeparator(NodeList&, std::int32_t, std::int32_t, std::int32_t) {}
void Data::InsertExtraRows(std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t) {}
