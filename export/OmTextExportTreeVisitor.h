// The visitor that prints each kind of output part as plain text: headings
// and procedures as one line, text blocks line by line with line-drawing
// codes converted, pivot tables layer by layer. It keeps the count of lines
// on the current page for the whole export. The stream and the options are
// held by reference and must outlive the visitor.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

#include "host/output/OmOutputPart.h"

class OmPivotTable;
class OmTextExportOptions;

class OmTextExportTreeVisitor : public OmOutputPart::Visitor {
 public:
  OmTextExportTreeVisitor(std::ostream& stream, const OmTextExportOptions& options);
  ~OmTextExportTreeVisitor() override;
  OmTextExportTreeVisitor(const OmTextExportTreeVisitor&) = delete;
  OmTextExportTreeVisitor& operator=(const OmTextExportTreeVisitor&) = delete;

  using OmOutputPart::Visitor::Visit;
  // Prints the table's layers; notes tables only with ShowNotes().
  void Visit(OmPivotTable& table) override;
  // With InsertPageBreak() a page break, then the title as a heading.
  void Visit(OmProcedure& procedure) override;
  // The heading's text as one line, only when the heading is selected, even
  // where ShowUnselected() made the walk dispatch it.
  void Visit(OmHeading& heading) override;
  // Every line through PrintText.
  void Visit(OmTextBlock& block) override;
  // Charts, answer trees, models and interactive objects have no text form.
  void Visit(OmChart& chart) override;
  void Visit(OmAnswerTree& tree) override;
  void Visit(OmModel& model) override;
  void Visit(OmInteractive& interactive) override;

  // Writes "\f\n" and returns true unless the export is tab-separated or no
  // line was written since the last break; sets the page count to 0 always.
  bool PrintPageBreak();
  // Writes the line, counts it, and breaks the page when the count reaches
  // NumLinesPerPage() (a plain comparison: -1 and 0 break after every line).
  void PrintString(std::string line);
  // Writes a text-block line with the bytes 0x0E, 0x0F and 0x10-0x18 turned
  // into "-", "|" and "+"; a line holding a form feed becomes a page break
  // instead. Never compares the count with the page length itself.
  void PrintText(std::string line);

  // What Visit(table) would print, asked before printing it. CountLayers:
  // the layers it prints (0 for a notes table left out or a layer dimension
  // without leaves), saturating at 2^62. CountGridPositions: the grid
  // positions of those layers added up (see OmLayerGrid), counted only until
  // the sum passes limit. Allocation failures while headings are built
  // propagate.
  static std::int64_t CountLayers(const OmPivotTable& table, const OmTextExportOptions& options);
  static std::int64_t CountGridPositions(OmPivotTable& table, const OmTextExportOptions& options,
                                         std::int64_t limit);

  // The lines written since the last page break.
  std::int32_t LinesOnPage() const;

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};
