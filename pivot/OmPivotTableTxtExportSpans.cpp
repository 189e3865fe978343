// STUB: to be replaced by the heading span queries.
#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExport::Data;
std::int32_t Data::SeparatorFlag() const { return mOptions.RowSeparator().empty() ? 0 : 1; }
bool Data::SkipNodesInColumnHead(std::int32_t, std::int32_t, std::int32_t) const { return false; }
bool Data::SkipNodesInRowHead(std::int32_t, std::int32_t, std::int32_t) const { return false; }
bool Data::IsColumnHeadingCellPrinted(const OmNodeColumn&, std::int32_t, std::int32_t) const { return false; }
bool Data::IsRowHeadingCellPrinted(std::int32_t, std::int32_t) const { return false; }
std::int32_t Data::GetNumberOfColumnsAvailableInColHead(std::int32_t, std::int32_t, std::int32_t&) const { return 1; }
std::int32_t Data::GetNumberOfRowsAvailableInColHead(std::int32_t, std::int32_t) const { return 1; }
std::int32_t Data::GetNumberOfColumnsAvailableInRowHead(std::int32_t, std::int32_t, std::int32_t&) const { return 1; }
std::int32_t Data::GetNumberOfRowsAvailableInRowHead(std::int32_t, std::int32_t) const { return 1; }
std::int32_t Data::GetNumberOfRowsAvailableInCorner(const std::vector<const OmCellText*>&, std::int32_t) const { return 1; }
std::int32_t Data::GetRowIndexInMatrix(std::int32_t) const { return 0; }
