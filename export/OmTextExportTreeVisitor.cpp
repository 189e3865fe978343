// Printing of headings, procedures and text blocks, and the page count.
#include "export/OmTextExportTreeVisitor.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>

#include "export/OmTextExportOptions.h"
#include "host/output/OmHeading.h"
#include "host/output/OmTextBlock.h"
#include "host/table/OmDisplayLayerHeading.h"
#include "host/table/OmPivotTable.h"
#include "pivot/OmPivotTableTxtExport.h"

struct OmTextExportTreeVisitor::Data {
  Data(std::ostream& out, const OmTextExportOptions& exportOptions)
      : stream(out), options(exportOptions) {}

  std::ostream& stream;
  const OmTextExportOptions& options;
  std::int32_t linesOnPage = 0;

  // Counts one printed line. The count saturates instead of overflowing on
  // an absurdly long page; it is only ever compared with the page length.
  void CountLine() {
    if (linesOnPage < std::numeric_limits<std::int32_t>::max())
      ++linesOnPage;
  }
};

namespace {

constexpr std::int64_t kHuge = std::int64_t{1} << 62;

std::int64_t SaturatingMultiply(std::int64_t a, std::int64_t b) {
  if (a == 0 || b == 0)
    return 0;
  return a > kHuge / b ? kHuge : std::min(a * b, kHuge);
}

// Skips a notes table when notes are not shown.
bool IsPrinted(const OmPivotTable& table, const OmTextExportOptions& options) {
  return !table.IsNotes() || options.ShowNotes();
}

// Puts the layer heading on the first layer to print: the first of all
// layers, or the current one alone. Returns whether there is one.
bool FirstLayer(OmDisplayLayerHeading& layer, const OmTextExportOptions& options) {
  if (options.ExportAllLayers())
    return layer.NextLayer();
  layer.LastLayer();
  return true;
}

}  // namespace

std::int64_t OmTextExportTreeVisitor::CountLayers(const OmPivotTable& table,
                                                  const OmTextExportOptions& options) {
  if (!IsPrinted(table, options))
    return 0;
  if (!options.ExportAllLayers())
    return 1;
  std::int64_t layers = 1;
  for (const std::int32_t d : table.AxisDimensions(OmAxis::Layer))
    layers = SaturatingMultiply(layers, table.Dimension(d).NLeaves());
  return layers;
}

std::int64_t OmTextExportTreeVisitor::CountGridPositions(OmPivotTable& table,
                                                         const OmTextExportOptions& options,
                                                         std::int64_t limit) {
  if (!IsPrinted(table, options))
    return 0;
  OmDisplayLayerHeading layer(table, options.HideEmptyRowsAndColumns());
  if (!FirstLayer(layer, options))
    return 0;
  // With empty rows and columns shown, the headings do not depend on the
  // layer, so every layer has the first one's grid.
  if (!options.HideEmptyRowsAndColumns()) {
    return SaturatingMultiply(CountLayers(table, options),
                              OmPivotTableTxtExport::PlanGrid(layer, options).Positions());
  }
  std::int64_t positions = 0;
  do {
    const std::int64_t grid = OmPivotTableTxtExport::PlanGrid(layer, options).Positions();
    positions = grid > kHuge - positions ? kHuge : positions + grid;
  } while (positions <= limit && layer.NextLayer());
  return positions;
}

OmTextExportTreeVisitor::OmTextExportTreeVisitor(std::ostream& stream,
                                                 const OmTextExportOptions& options)
    : mData(std::make_unique<Data>(stream, options)) {}

OmTextExportTreeVisitor::~OmTextExportTreeVisitor() = default;

void OmTextExportTreeVisitor::Visit(OmPivotTable& table) {
  const OmTextExportOptions& options = mData->options;
  if (!IsPrinted(table, options))
    return;
  if (options.InsertPageBreak())
    PrintPageBreak();
  OmDisplayLayerHeading layer(table, options.HideEmptyRowsAndColumns());
  bool more = FirstLayer(layer, options);
  // A table without a layer to print still lists its footnotes, once.
  bool footnotesPending = !table.Footnotes().empty();
  std::int32_t passes = 0;
  bool printed = false;
  for (;;) {
    const bool layerPass = more;
    if (!layerPass && !(footnotesPending && !table.Footnotes().empty()))
      break;
    {
      OmPivotTableTxtExport exporter(layer, options, mData->stream, mData->linesOnPage);
      const std::int64_t lines = exporter.GetNumLines();
      const std::int64_t page = options.NumLinesPerPage();
      const std::int64_t used = mData->linesOnPage;
      // A layer that fits on this page stays; one that fits on a fresh page
      // moves there; a longer one starts here unless half the page is used.
      bool pageBreak = false;
      if (lines + used <= page) {
        pageBreak = false;
      } else if (lines <= page) {
        pageBreak = true;
      } else {
        pageBreak = 2 * used > page;
      }
      if (pageBreak) {
        PrintPageBreak();
        exporter.setLinesOnPage(0);
      } else if (passes > 0) {
        PrintString("");
      }
      exporter.PrintLayerHeading();
      if (layerPass) {
        exporter.PrintLayer();
      } else {
        PrintString("____");
      }
      exporter.PrintLayerFooter();
      // The 1 stands for the separating empty line, which the exporter did
      // not see; it is added after a break too, and the "____" line is not
      // counted at all. Both are kept as they are.
      std::int32_t linesOnPage = exporter.GetNumLinesOnPage();
      if (passes > 0 && linesOnPage < std::numeric_limits<std::int32_t>::max())
        ++linesOnPage;
      mData->linesOnPage = linesOnPage;
    }
    footnotesPending = false;
    more = layer.NextLayer();
    if (passes < std::numeric_limits<std::int32_t>::max())
      ++passes;
    printed = true;
  }
  if (printed)
    PrintString("");
}

void OmTextExportTreeVisitor::Visit(OmProcedure& procedure) {
  if (mData->options.InsertPageBreak())
    PrintPageBreak();
  Visit(static_cast<OmHeading&>(procedure));
}

void OmTextExportTreeVisitor::Visit(OmHeading& heading) {
  if (heading.selected)
    PrintString(heading.Text().GetText());
}

void OmTextExportTreeVisitor::Visit(OmTextBlock& block) {
  for (const std::string& line : block.Lines())
    PrintText(line);
}

void OmTextExportTreeVisitor::Visit(OmChart&) {}
void OmTextExportTreeVisitor::Visit(OmAnswerTree&) {}
void OmTextExportTreeVisitor::Visit(OmModel&) {}
void OmTextExportTreeVisitor::Visit(OmInteractive&) {}

bool OmTextExportTreeVisitor::PrintPageBreak() {
  if (mData->options.TabSeparated() || mData->linesOnPage == 0) {
    mData->linesOnPage = 0;
    return false;
  }
  mData->stream.write("\f\n", 2);
  mData->linesOnPage = 0;
  return true;
}

void OmTextExportTreeVisitor::PrintString(std::string line) {
  line.push_back('\n');
  mData->stream.write(line.data(), static_cast<std::streamsize>(line.size()));
  mData->CountLine();
  if (mData->linesOnPage >= mData->options.NumLinesPerPage())
    PrintPageBreak();
}

void OmTextExportTreeVisitor::PrintText(std::string line) {
  bool formFeed = false;
  for (char& c : line) {
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte == 0x0E) {
      c = '-';
    } else if (byte == 0x0F) {
      c = '|';
    } else if (byte >= 0x10 && byte <= 0x18) {
      c = '+';
    } else if (byte == 0x0C) {
      formFeed = true;
    }
  }
  if (formFeed) {
    PrintPageBreak();
    return;
  }
  line.push_back('\n');
  mData->stream.write(line.data(), static_cast<std::streamsize>(line.size()));
  mData->CountLine();
}

std::int32_t OmTextExportTreeVisitor::LinesOnPage() const {
  return mData->linesOnPage;
}
