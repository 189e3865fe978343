// Line and page-break writing for the whole export.
#include "export/OmTextPage.h"

#include <ostream>

#include "export/OmTextExportOptions.h"

OmTextPage::OmTextPage(std::ostream& stream, const OmTextExportOptions& options,
                       std::int32_t linesOnPage)
    : mStream(stream), mOptions(options), mLinesOnPage(linesOnPage) {}

void OmTextPage::WriteLine(std::string& line) {
  WriteUncounted(line);
  CountLine();
}

void OmTextPage::WriteUncounted(std::string& line) {
  line.push_back('\n');
  mStream.write(line.data(), static_cast<std::streamsize>(line.size()));
}

void OmTextPage::WriteText(const std::string& lines) {
  mStream.write(lines.data(), static_cast<std::streamsize>(lines.size()));
}

bool OmTextPage::Break(bool mark) {
  mLinesOnPage = 0;
  // Tab-separated output is for spreadsheets: it never holds a form feed.
  if (!mark || mOptions.TabSeparated())
    return false;
  mStream.write("\f\n", 2);
  return true;
}
