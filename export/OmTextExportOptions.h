// The settings of one text export: layout of pivot tables (formatted or
// tab-separated, line width, separators, empty rows and columns, footnotes),
// which layers and parts are printed, and pagination. The exporter and every
// pivot exporter hold a reference to one of these; it must outlive them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/platform/OmDisplayWidth.h"

class OmTextExportOptions {
 public:
  // Every setting at its default: column separator "|", row separator "_",
  // WidthRestriction, NumLinesPerPage and MaxLineWidth -1; TabSeparated,
  // InsertPageBreak and ShowNotes false; every other flag true; DisplayWidth
  // Bytes.
  OmTextExportOptions();
  ~OmTextExportOptions();
  OmTextExportOptions(const OmTextExportOptions&) = delete;
  OmTextExportOptions& operator=(const OmTextExportOptions&) = delete;

  // Getters return the stored value; setters store any value unchecked (an
  // empty or long separator, 0 or a negative width), leaving its meaning to
  // the consumers. -1 means "unset" for the three integers.

  // Text between adjacent columns of a formatted pivot table.
  std::string ColumnSeparator() const;
  void ColumnSeparator(std::string separator);
  // Text the horizontal rules of a formatted pivot table are built from.
  std::string RowSeparator() const;
  void RowSeparator(std::string separator);
  // Most positions a folded cell line may be widened to; -1 for no limit.
  std::int32_t WidthRestriction() const;
  void WidthRestriction(std::int32_t width);
  bool HideEmptyRowsAndColumns() const;
  void HideEmptyRowsAndColumns(bool hide);
  bool RowDimensionLabelsInCorner() const;
  void RowDimensionLabelsInCorner(bool inCorner);
  bool TabSeparated() const;
  void TabSeparated(bool tabSeparated);
  // Page length in lines; compared plainly, so -1 and 0 end a page at every
  // counted line.
  std::int32_t NumLinesPerPage() const;
  void NumLinesPerPage(std::int32_t lines);
  // Maximum output line width; -1 for no limit.
  std::int32_t MaxLineWidth() const;
  void MaxLineWidth(std::int32_t width);
  bool InsertPageBreak() const;
  void InsertPageBreak(bool insert);
  bool KeepFootNotesAndCaption() const;
  void KeepFootNotesAndCaption(bool keep);
  bool ExportAllLayers() const;
  void ExportAllLayers(bool all);
  bool ShowNotes() const;
  void ShowNotes(bool show);
  bool AlphabeticFootNotes() const;
  void AlphabeticFootNotes(bool alphabetic);
  bool ShowUnselected() const;
  void ShowUnselected(bool show);
  // How formatted tables count widths (cells, labels, separators, rules and
  // MaxLineWidth): Bytes, the host's measure, or terminal columns, which
  // applies in UTF-8 only. The tab-separated layout pads nothing and is the
  // same under either.
  OmDisplayWidth DisplayWidth() const;
  void DisplayWidth(OmDisplayWidth width);

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};
