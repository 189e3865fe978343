// The page an export writes on: the output stream and the count of lines on
// the current page. The tree visitor owns one for the whole export and each
// layer's exporter writes through it, so the count and the page break have
// one owner. The stream and the options must outlive the page.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

class OmTextExportOptions;

class OmTextPage {
 public:
  // linesOnPage: the lines already on the current page.
  OmTextPage(std::ostream& stream, const OmTextExportOptions& options,
             std::int32_t linesOnPage = 0);
  OmTextPage(const OmTextPage&) = delete;
  OmTextPage& operator=(const OmTextPage&) = delete;

  std::ostream& Stream() const { return mStream; }
  std::int32_t LinesOnPage() const { return mLinesOnPage; }
  void SetLinesOnPage(std::int32_t lines) { mLinesOnPage = lines; }

  // Counts one printed line. The count saturates instead of overflowing on
  // an absurdly long page; it is only ever compared with the page length.
  void CountLine() {
    if (mLinesOnPage < 2147483647)
      ++mLinesOnPage;
  }
  // Appends a line feed to line, writes it in one call and counts it.
  void WriteLine(std::string& line);
  // The same without counting the line.
  void WriteUncounted(std::string& line);
  // Writes lines that end in line feeds as they are, without counting them.
  void WriteText(const std::string& lines);
  // Starts a new page: the count drops to 0, and "\f\n" is written when mark
  // is true and the export is formatted. Returns whether it was written.
  bool Break(bool mark);

 private:
  std::ostream& mStream;
  const OmTextExportOptions& mOptions;
  std::int32_t mLinesOnPage;
};
