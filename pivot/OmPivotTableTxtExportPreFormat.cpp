// STUB: to be replaced by the column pre-formatting.
#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExport::Data;
void Data::PreFormatCornerText(std::int32_t, std::int32_t&, NodeList*) {}
void Data::PreFormatRowHeadColumn(std::int32_t, std::int32_t&, NodeList*) {}
void Data::PreFormatColHeadColumn(std::int32_t, std::int32_t&, std::vector<std::int32_t>&, NodeList*) {}
std::int32_t Data::PreFormatTableColumn(std::int32_t, NodeList*) { return 0; }
