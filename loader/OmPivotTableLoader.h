// The pivot-table part of the document loader: the body frame that reads a
// "pivot-table" part's keys into a table. The part frames of
// OmDocumentLoader.cpp make it once a part's type is known.
#pragma once

#include <memory>
#include <string_view>

#include "loader/OmDocumentLoaderPrivate.h"

namespace omtext::loader {

// Whether key is one of a pivot table's own keys (not "type", "selected",
// "children" or "title", which other kinds share).
bool IsPivotTableKey(std::string_view key);
// The body of a "pivot-table" part whose object opened at start, in a
// document read as mode says.
std::unique_ptr<PartBody> MakePivotTableBody(Position start, ReadMode mode);
// Holds a table's "data" list, opening at start, before its dimensions are
// known; only for a document read in place.
std::unique_ptr<HeldValue> MakeHeldData(Position start);

}  // namespace omtext::loader
