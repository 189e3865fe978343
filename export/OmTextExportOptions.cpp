// The options record of a text export.
#include "export/OmTextExportOptions.h"

struct OmTextExportOptions::Data {
  std::string columnSeparator = "|";
  std::string rowSeparator = "_";
  std::int32_t widthRestriction = -1;
  bool hideEmptyRowsAndColumns = true;
  bool rowDimensionLabelsInCorner = true;
  bool tabSeparated = false;
  std::int32_t numLinesPerPage = -1;
  std::int32_t maxLineWidth = -1;
  bool insertPageBreak = false;
  bool keepFootNotesAndCaption = true;
  bool exportAllLayers = true;
  bool showNotes = false;
  bool alphabeticFootNotes = true;
  bool showUnselected = true;
  OmDisplayWidth displayWidth = OmDisplayWidth::Bytes;
};

OmTextExportOptions::OmTextExportOptions() : mData(std::make_unique<Data>()) {}
OmTextExportOptions::~OmTextExportOptions() = default;

std::string OmTextExportOptions::ColumnSeparator() const {
  return mData->columnSeparator;
}
void OmTextExportOptions::ColumnSeparator(std::string separator) {
  mData->columnSeparator = std::move(separator);
}
std::string OmTextExportOptions::RowSeparator() const {
  return mData->rowSeparator;
}
void OmTextExportOptions::RowSeparator(std::string separator) {
  mData->rowSeparator = std::move(separator);
}
std::int32_t OmTextExportOptions::WidthRestriction() const {
  return mData->widthRestriction;
}
void OmTextExportOptions::WidthRestriction(std::int32_t width) {
  mData->widthRestriction = width;
}
bool OmTextExportOptions::HideEmptyRowsAndColumns() const {
  return mData->hideEmptyRowsAndColumns;
}
void OmTextExportOptions::HideEmptyRowsAndColumns(bool hide) {
  mData->hideEmptyRowsAndColumns = hide;
}
bool OmTextExportOptions::RowDimensionLabelsInCorner() const {
  return mData->rowDimensionLabelsInCorner;
}
void OmTextExportOptions::RowDimensionLabelsInCorner(bool inCorner) {
  mData->rowDimensionLabelsInCorner = inCorner;
}
bool OmTextExportOptions::TabSeparated() const {
  return mData->tabSeparated;
}
void OmTextExportOptions::TabSeparated(bool tabSeparated) {
  mData->tabSeparated = tabSeparated;
}
std::int32_t OmTextExportOptions::NumLinesPerPage() const {
  return mData->numLinesPerPage;
}
void OmTextExportOptions::NumLinesPerPage(std::int32_t lines) {
  mData->numLinesPerPage = lines;
}
std::int32_t OmTextExportOptions::MaxLineWidth() const {
  return mData->maxLineWidth;
}
void OmTextExportOptions::MaxLineWidth(std::int32_t width) {
  mData->maxLineWidth = width;
}
bool OmTextExportOptions::InsertPageBreak() const {
  return mData->insertPageBreak;
}
void OmTextExportOptions::InsertPageBreak(bool insert) {
  mData->insertPageBreak = insert;
}
bool OmTextExportOptions::KeepFootNotesAndCaption() const {
  return mData->keepFootNotesAndCaption;
}
void OmTextExportOptions::KeepFootNotesAndCaption(bool keep) {
  mData->keepFootNotesAndCaption = keep;
}
bool OmTextExportOptions::ExportAllLayers() const {
  return mData->exportAllLayers;
}
void OmTextExportOptions::ExportAllLayers(bool all) {
  mData->exportAllLayers = all;
}
bool OmTextExportOptions::ShowNotes() const {
  return mData->showNotes;
}
void OmTextExportOptions::ShowNotes(bool show) {
  mData->showNotes = show;
}
bool OmTextExportOptions::AlphabeticFootNotes() const {
  return mData->alphabeticFootNotes;
}
void OmTextExportOptions::AlphabeticFootNotes(bool alphabetic) {
  mData->alphabeticFootNotes = alphabetic;
}
bool OmTextExportOptions::ShowUnselected() const {
  return mData->showUnselected;
}
void OmTextExportOptions::ShowUnselected(bool show) {
  mData->showUnselected = show;
}
OmDisplayWidth OmTextExportOptions::DisplayWidth() const {
  return mData->displayWidth;
}
void OmTextExportOptions::DisplayWidth(OmDisplayWidth width) {
  mData->displayWidth = width;
}
