// Cell texts with their footnote and bracketed markers, and what surrounds a
// layer: the heading block above it (title and one line per layer
// dimension) and the footer below it (caption and footnote list).
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>

#include "host/output/OmCellText.h"
#include "host/output/OmText.h"
#include "host/platform/BpMarkup.h"
#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExportPrivate::Data;

namespace {

// Whether a cell's text is printed as it stands: most cells have no
// footnotes, markers or markup.
bool IsPlain(const OmCellText& cell, std::string_view text) {
  if (!cell.Footnotes().empty() || !cell.getMarkers().empty())
    return false;
  // Cell texts are short: eight bytes at a time, a word holds a '<' when
  // its exclusive or with eight of them holds a zero byte.
  constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
  constexpr std::uint64_t kLess = kOnes * static_cast<unsigned char>('<');
  const char* at = text.data();
  std::size_t left = text.size();
  for (; left >= 8; left -= 8, at += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, 8);
    const std::uint64_t x = word ^ kLess;
    if (((x - kOnes) & ~x & kOnes << 7) != 0)
      return false;
  }
  // The rest a byte at a time: gathering it into a word would go through
  // the stack in pieces, and reading those back as one stalls.
  for (; left > 0; --left, ++at) {
    if (*at == '<')
      return false;
  }
  return true;
}

}  // namespace

std::string Data::GetCellText(const OmCellText* cell) {
  if (cell == nullptr)
    return std::string();
  std::string text = cell->GetText();
  if (!IsPlain(*cell, text))
    DecorateCellText(text, *cell);
  return text;
}

std::string Data::GetCellText(const OmCellText* cell, std::string_view stored) {
  if (cell != nullptr && stored.data() != nullptr && IsPlain(*cell, stored))
    return std::string(stored);
  return GetCellText(cell);
}

void Data::AppendCellText(std::string& out, const OmCellText* cell) {
  out += GetCellText(cell);
}

void Data::AppendCellText(std::string& out, const OmCellText* cell, std::string_view stored) {
  if (cell != nullptr && stored.data() != nullptr && IsPlain(*cell, stored)) {
    out.append(stored);
    return;
  }
  AppendCellText(out, cell);
}

bool Data::AppendPlainText(std::string& out, const OmCellText* cell,
                           std::string_view stored) const {
  if (cell == nullptr)
    return true;
  if (stored.data() != nullptr && IsPlain(*cell, stored)) {
    out.append(stored);
    return true;
  }
  const std::string text = cell->GetText();
  if (!IsPlain(*cell, text))
    return false;
  out += text;
  return true;
}

void Data::DecorateCellText(std::string& text, const OmCellText& cell) {
  // Made on the first call and kept for the life of the process.
  static const std::string kOpen("[");
  static const std::string kClose("]");
  if (mOptions.KeepFootNotesAndCaption()) {
    std::string marker;
    if (GetFootnoteMarker(marker, cell) != 0)
      text += marker;
  }
  // The markup is replaced after the footnote list is added, so the list is
  // searched too; the bracketed markers come after and are not.
  BpMarkup::replaceMarkupText(text, kOpen, kClose, BpMarkup::Superscript);
  const std::vector<std::string>& markers = cell.getMarkers();
  if (!markers.empty()) {
    text += kOpen;
    for (std::size_t i = 0; i < markers.size(); ++i) {
      if (i > 0)
        text += ',';
      text += markers[i];
    }
    text += kClose;
  }
}

std::int32_t Data::GetFootnoteMarker(std::string& out, const OmCellText& cell) {
  const std::vector<std::int16_t>& footnotes = cell.Footnotes();
  if (footnotes.empty())
    return 0;
  out += '(';
  for (std::size_t i = 0; i < footnotes.size(); ++i) {
    if (i > 0)
      out += ',';
    out += mFootnoter.CellMarker(static_cast<std::int32_t>(footnotes[i]), nullptr);
  }
  out += ')';
  // A cell holds far fewer than 2^31 footnotes; the count only says whether
  // there were any.
  return static_cast<std::int32_t>(footnotes.size());
}

void Data::CreateLayerHeadingFootnotes() {
  const OmPivotTable& table = mLayerHeading.Table();
  if (table.showTitle)
    GetCellText(&table.Title());
  for (std::int32_t i = 0; i < mLayerHeading.NDimensions(); ++i) {
    for (const OmDimensionTree::ConstNode* node : mLayerHeading.Nodes(i)) {
      if (node != nullptr)
        GetCellText(node->Label());
    }
  }
}

void Data::PrintFootnotes() {
  const std::int32_t notes = mFootnoter.Size();
  const char separator = mOptions.TabSeparated() ? '\t' : ' ';
  std::string line;
  for (std::int32_t i = 0; i < notes; ++i) {
    line = mFootnoter.NoteMarker(i);
    line += separator;
    line += mFootnoter.Note(i);
    mPage.WriteLine(line);
    // The list tests after each line it printed.
    if (mPage.LinesOnPage() >= mOptions.NumLinesPerPage())
      PrintPageBreak(false);
  }
}

void OmPivotTableTxtExport::PrintLayerHeading() const {
  Data& data = *mData;
  const OmPivotTable& table = data.mLayerHeading.Table();
  const std::int32_t title = table.showTitle ? 1 : 0;
  const std::int32_t dimensions = data.mLayerHeading.NDimensions();
  // The whole block starts a page when the lines it is about to print would
  // reach the page length.
  if (static_cast<std::int64_t>(title) + data.mPage.LinesOnPage() + dimensions >=
      data.mOptions.NumLinesPerPage()) {
    data.PrintPageBreak(false);
  }
  std::string line;
  if (title == 1) {
    line = data.GetCellText(&table.Title());
    data.mPage.WriteLine(line);
  }
  const char separator = data.mOptions.TabSeparated() ? '\t' : ' ';
  for (std::int32_t i = 0; i < dimensions; ++i) {
    line.clear();
    // Every entry, shown or not, is closed by a separator, so the line ends
    // with one before its line feed.
    for (const OmDimensionTree::ConstNode* node : data.mLayerHeading.Nodes(i)) {
      if (node != nullptr)
        line += data.GetCellText(node->Label());
      line += separator;
    }
    data.mPage.WriteLine(line);
  }
}

void OmPivotTableTxtExport::PrintLayerFooter() const {
  Data& data = *mData;
  if (!data.mOptions.KeepFootNotesAndCaption())
    return;
  const OmText* caption = data.mLayerHeading.Table().Caption();
  if (caption == nullptr) {
    data.PrintFootnotes();
    return;
  }
  // The caption tests before it prints, counting its own line.
  if (static_cast<std::int64_t>(data.mPage.LinesOnPage()) + 1 >= data.mOptions.NumLinesPerPage()) {
    data.PrintPageBreak(false);
  }
  std::string text = caption->GetText();
  for (char& c : text) {
    if (c == '\r')
      c = '\n';
  }
  // However many line feeds it holds, the caption counts as one line.
  data.mPage.WriteLine(text);
  data.PrintFootnotes();
}
