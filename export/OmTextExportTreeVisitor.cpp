// Printing of headings, procedures and text blocks, and the page count.
#include "export/OmTextExportTreeVisitor.h"

#include <limits>
#include <ostream>

#include "export/OmTextExportOptions.h"
#include "fold/OmStringFolder.h"
#include "host/OmHeading.h"
#include "host/OmTextBlock.h"

struct OmTextExportTreeVisitor::Data {
  Data(std::ostream& out, const OmTextExportOptions& exportOptions)
      : stream(out), options(exportOptions) {}

  std::ostream& stream;
  const OmTextExportOptions& options;
  std::int32_t linesOnPage = 0;
  std::unique_ptr<OmStringFolder> stringFolder;

  // Counts one printed line. The count saturates instead of overflowing on
  // an absurdly long page; it is only ever compared with the page length.
  void CountLine() {
    if (linesOnPage < std::numeric_limits<std::int32_t>::max()) ++linesOnPage;
  }
};

OmTextExportTreeVisitor::OmTextExportTreeVisitor(std::ostream& stream,
                                                 const OmTextExportOptions& options)
    : mData(std::make_unique<Data>(stream, options)) {}

OmTextExportTreeVisitor::~OmTextExportTreeVisitor() = default;

void OmTextExportTreeVisitor::Visit(OmPivotTable&) {}

void OmTextExportTreeVisitor::Visit(OmProcedure& procedure) {
  if (mData->options.InsertPageBreak()) PrintPageBreak();
  Visit(static_cast<OmHeading&>(procedure));
}

void OmTextExportTreeVisitor::Visit(OmHeading& heading) {
  if (heading.selected) PrintString(heading.Text().GetText());
}

void OmTextExportTreeVisitor::Visit(OmTextBlock& block) {
  for (const std::string& line : block.Lines()) PrintText(line);
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
  if (mData->linesOnPage >= mData->options.NumLinesPerPage()) PrintPageBreak();
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

std::int32_t OmTextExportTreeVisitor::LinesOnPage() const { return mData->linesOnPage; }

void OmTextExportTreeVisitor::SetStringFolder(std::unique_ptr<OmStringFolder> folder) {
  mData->stringFolder = std::move(folder);
}
