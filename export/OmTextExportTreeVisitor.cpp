// Printing of headings, procedures and text blocks, and the page count.
#include "export/OmTextExportTreeVisitor.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>

#include "export/OmTextExportOptions.h"
#include "export/OmTextPage.h"
#include "host/output/OmHeading.h"
#include "host/output/OmTextBlock.h"
#include "host/table/OmDisplayLayerHeading.h"
#include "host/table/OmPivotTable.h"
#include "pivot/OmPivotTableTxtExport.h"

struct OmTextExportTreeVisitor::Data {
  Data(std::ostream& out, const OmTextExportOptions& exportOptions)
      : options(exportOptions), page(out, exportOptions) {}

  const OmTextExportOptions& options;
  OmTextPage page;

  // Writes a line that the layer being printed does not count: the empty
  // line between layers and the "____" of a table without a layer. The line
  // still breaks the page when seen, the count it is judged by, reaches the
  // page length with it, and the layer goes on counting from where it was.
  void WriteUncounted(std::string line, std::int32_t seen) {
    page.WriteUncounted(line);
    if (static_cast<std::int64_t>(seen) + 1 >= options.NumLinesPerPage()) {
      const std::int32_t kept = page.LinesOnPage();
      page.Break(true);
      page.SetLinesOnPage(kept);
    }
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
      OmTextPage& page = mData->page;
      OmPivotTableTxtExport exporter(layer, options, page);
      const std::int64_t length = options.NumLinesPerPage();
      const std::int64_t used = page.LinesOnPage();
      // A layer that fits on this page stays; one that fits on a fresh page
      // moves there; a longer one starts here unless half the page is used.
      // Bounds of its length decide most layers without laying them out.
      const std::int64_t atMost = exporter.GetNumLinesAtMost();
      const std::int64_t atLeast = exporter.GetNumLinesAtLeast();
      bool pageBreak = false;
      if (atMost + used <= length) {
        pageBreak = false;
      } else if (used >= 0 && atLeast > length) {
        pageBreak = 2 * used > length;
      } else {
        const std::int64_t lines = exporter.GetNumLines();
        if (lines + used <= length) {
          pageBreak = false;
        } else if (lines <= length) {
          pageBreak = true;
        } else {
          pageBreak = 2 * used > length;
        }
      }
      // The separating empty line and the "____" are not counted while the
      // layer prints; the separator's 1 is added after the layer, after a
      // break too, and the "____" is never counted. Both are kept as they are.
      if (pageBreak) {
        PrintPageBreak();
      } else if (passes > 0) {
        mData->WriteUncounted("", page.LinesOnPage());
      }
      const std::int32_t beforeHeading = page.LinesOnPage();
      exporter.PrintLayerHeading();
      if (layerPass) {
        exporter.PrintLayer();
      } else {
        mData->WriteUncounted("____", beforeHeading);
      }
      exporter.PrintLayerFooter();
      if (passes > 0)
        page.CountLine();
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
  return mData->page.Break(mData->page.LinesOnPage() != 0);
}

void OmTextExportTreeVisitor::PrintString(std::string line) {
  mData->page.WriteLine(line);
  if (mData->page.LinesOnPage() >= mData->options.NumLinesPerPage())
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
  mData->page.WriteLine(line);
}

std::int32_t OmTextExportTreeVisitor::LinesOnPage() const {
  return mData->page.LinesOnPage();
}
