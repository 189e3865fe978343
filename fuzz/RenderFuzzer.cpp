// Fuzz target of loading and rendering. The input is a few option bytes and
// then a document:
//
//   byte 0   flags: tab-separated, page breaks, show empty, labels in the
//            heading, no footnotes, current layer only, show notes, numeric
//            footnotes (bit 0 to bit 7)
//   byte 1   bit 0 selected only; bits 1-2 encoding (UTF-8, single-byte,
//            double-byte); bit 3 the text destination instead of the stream
//            exporter; bits 4-6 set the width, the width restriction and the
//            page length; bit 7 export the first subtree only
//   then     width, width restriction and page length (one byte each, see
//            FuzzInput::Int32), the column separator and the row separator
//            (a length byte and that many bytes each), the document.
//
// A document never starts with a NUL byte. When the rest does, the bytes
// after it build a pivot table directly (see BuildTable), which reaches
// layouts that mutated JSON seldom gets to: arbitrary bytes in every text,
// nested groups, hidden labels, footnote numbers out of range.
//
// A document the loader rejects ends the run. Tables whose layout would be
// large are skipped, so that a slow run means a real hang. Each document is
// rendered twice, by fresh exporters, and the two texts must be equal.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Deliver.h"
#include "cli/RenderLimits.h"
#include "destination/TextTreeVisitor.h"
#include "export/OmTextExport.h"
#include "export/OmTextExportOptions.h"
#include "fuzz/FuzzInput.h"
#include "host/output/OmCellText.h"
#include "host/output/OmHeading.h"
#include "host/platform/OmPlatform.h"
#include "host/table/OmPivotTable.h"
#include "loader/OmDocumentLoader.h"

namespace {

// Leaf combinations of all the tables' dimensions, layers included, above
// which a document is not rendered. Every layout rule shows on a table of a
// few rows and columns; larger ones only make each run slower (at 4096 the
// target ran about four times slower).
constexpr std::int64_t kMaxPositions = 64;
// The most memory the first rendering's buffer keeps between runs.
constexpr std::size_t kKeptBytes = std::size_t{1} << 22;

struct Settings {
  bool destination = false;
  bool firstSubtreeOnly = false;
  bool setWidth = false;
  bool setWidthRestriction = false;
  bool setPageLength = false;
  std::int32_t width = -1;
  std::int32_t widthRestriction = -1;
  std::int32_t pageLength = -1;
};

bool SmallEnough(OmOutputTree& tree) {
  std::int64_t total = 0;
  for (auto node = tree.Begin(); node != tree.End(); ++node) {
    const auto* table = dynamic_cast<const OmPivotTable*>(node.Value());
    if (table == nullptr)
      continue;
    // Rows and columns of headings count as well as the leaves; a layer
    // adds no heading positions, only another grid of them.
    std::int64_t positions = 1;
    for (std::int32_t d = 0; d < table->NDimensions(); ++d) {
      const OmDimension& dimension = table->Dimension(d);
      positions *= dimension.Axis() == OmAxis::Layer
                       ? std::max<std::int64_t>(dimension.NLeaves(), 1)
                       : std::int64_t{dimension.NLeaves()} + dimension.Depth() + 2;
      if (positions > kMaxPositions)
        return false;
    }
    total += positions;
    if (total > kMaxPositions)
      return false;
  }
  return true;
}

// One category tree: up to five top-level categories, each possibly a
// group of up to three, two levels deep at most.
void AddCategories(omtext::fuzz::FuzzInput& input, OmDimension& dimension,
                   OmDimension::NodeId parent, int depth) {
  const int count = input.Byte() % 6;
  for (int i = 0; i < count; ++i) {
    const std::uint8_t kind = input.Byte();
    const OmDimension::NodeId node = dimension.AddCategory(parent, input.String(12));
    if (depth < 2 && kind % 4 == 0)
      AddCategories(input, dimension, node, depth + 1);
  }
}

std::unique_ptr<OmCellText> MakeCell(omtext::fuzz::FuzzInput& input, std::uint8_t kind) {
  static constexpr double kValues[] = {0.0, -0.0, 1.5, -123456.789, 1e300, -1e-300, 3.0e15, 0.1};
  std::unique_ptr<OmCellText> cell;
  if (kind % 4 == 0) {
    cell = std::make_unique<OmNumberCell>(kValues[input.Byte() % 8]);
  } else if (kind % 4 == 1) {
    cell = std::make_unique<OmNumberCell>(kValues[input.Byte() % 8], input.Byte() % 21);
  } else {
    cell = std::make_unique<OmStringCell>(input.String(32));
  }
  if (kind & 16)
    cell->AddFootnote(static_cast<std::int8_t>(input.Byte()));
  if (kind & 32)
    cell->AddMarker(input.String(4));
  return cell;
}

// A pivot table made from bytes: a title, footnotes, a caption, up to four
// dimensions on any axes and a cell, or none, at every full index.
std::unique_ptr<OmPivotTable> BuildTable(omtext::fuzz::FuzzInput& input) {
  auto table = std::make_unique<OmPivotTable>();
  const std::uint8_t flags = input.Byte();
  if (flags & 1)
    table->SetTitle(MakeCell(input, input.Byte()));
  if (flags & 2)
    table->SetCaption(input.String(24));
  table->SetNotes(flags & 4);
  const int footnotes = (flags >> 3) % 4;
  for (int i = 0; i < footnotes; ++i)
    table->AddFootnote(input.String(12));
  const int dimensions = input.Byte() % 5;
  for (int d = 0; d < dimensions; ++d) {
    const std::uint8_t kind = input.Byte();
    static constexpr OmAxis kAxes[] = {OmAxis::Row, OmAxis::Column, OmAxis::Layer, OmAxis::Row};
    OmDimension& dimension = table->AddDimension(kAxes[kind % 4], MakeCell(input, input.Byte()));
    dimension.SetShowLabel(!(kind & 4));
    AddCategories(input, dimension, OmDimensionTree::Root(), 0);
    if (dimension.Axis() == OmAxis::Layer && dimension.NLeaves() > 0) {
      dimension.SetCurrentLeaf(input.Byte() % dimension.NLeaves());
    }
  }
  // Every full index in order, the last dimension fastest.
  std::vector<std::int32_t> index(static_cast<std::size_t>(dimensions), 0);
  std::int64_t cells = 1;
  for (std::int32_t d = 0; d < dimensions; ++d)
    cells *= table->Dimension(d).NLeaves();
  if (cells > kMaxPositions)
    return table;
  for (std::int64_t n = 0; n < cells; ++n) {
    const std::uint8_t kind = input.Byte();
    if (kind % 3 != 0)
      table->SetCell(index, MakeCell(input, kind));
    for (std::int32_t d = dimensions - 1; d >= 0; --d) {
      const auto k = static_cast<std::size_t>(d);
      if (++index[k] < table->Dimension(d).NLeaves())
        break;
      index[k] = 0;
    }
  }
  return table;
}

// Where a rendering goes: kept in a string, or compared as it comes with
// a text rendered before, so that checking a second rendering never builds
// and copies another text (narrow widths make texts of megabytes).
class TextSink : public std::streambuf {
 public:
  // Keeps the text in kept, emptied first.
  static TextSink Keeping(std::string& kept) {
    kept.clear();
    return TextSink(&kept, {});
  }
  // Compares the text with expected.
  static TextSink Comparing(std::string_view expected) { return TextSink(nullptr, expected); }

  bool SameAsExpected() const { return mSame && mPosition == mExpected.size(); }

 protected:
  std::streamsize xsputn(const char* bytes, std::streamsize count) override {
    Take(bytes, static_cast<std::size_t>(count));
    return count;
  }
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof()))
      return traits_type::not_eof(c);
    const char byte = traits_type::to_char_type(c);
    Take(&byte, 1);
    return c;
  }

 private:
  TextSink(std::string* kept, std::string_view expected) : mKept(kept), mExpected(expected) {}

  void Take(const char* bytes, std::size_t count) {
    if (mKept != nullptr) {
      mKept->append(bytes, count);
      return;
    }
    mSame = mSame && count <= mExpected.size() - mPosition &&
            std::memcmp(mExpected.data() + mPosition, bytes, count) == 0;
    if (mSame)
      mPosition += count;
  }

  std::string* mKept;
  std::string_view mExpected;
  std::size_t mPosition = 0;
  bool mSame = true;
};

void Render(OmOutputTree& tree, const OmTextExportOptions& options, bool subtreeOnly,
            TextSink& sink) {
  std::ostream out(&sink);
  OmTextExport exporter(options, out);
  if (subtreeOnly) {
    exporter.Export(tree);
  } else {
    exporter.Export(tree.Begin(), tree.End());
  }
}

// The command's destination mode, writing to /dev/null: page titles as
// page titles, every other top-level part as a finished procedure.
void RenderToDestination(OmOutputTree& tree, bool tabSeparated) {
  TextTreeVisitor destination;
  destination.SetTextTreeParameters(tabSeparated, "/dev/null");
  omtext::cli::DeliverDocument(tree, destination);
  destination.Close();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  omtext::fuzz::FuzzInput input(data, size);
  OmTextExportOptions options;
  Settings settings;
  const std::uint8_t flags = input.Byte();
  const std::uint8_t more = input.Byte();
  options.TabSeparated(flags & 1);
  options.InsertPageBreak(flags & 2);
  options.HideEmptyRowsAndColumns(!(flags & 4));
  options.RowDimensionLabelsInCorner(!(flags & 8));
  options.KeepFootNotesAndCaption(!(flags & 16));
  options.ExportAllLayers(!(flags & 32));
  options.ShowNotes(flags & 64);
  options.AlphabeticFootNotes(!(flags & 128));
  options.ShowUnselected(!(more & 1));
  static constexpr OmEncoding kEncodings[] = {OmEncoding::Utf8, OmEncoding::SingleByte,
                                              OmEncoding::DoubleByte, OmEncoding::Utf8};
  OmSetEncoding(kEncodings[(more >> 1) & 3]);
  settings.destination = more & 8;
  settings.setWidth = more & 16;
  settings.setWidthRestriction = more & 32;
  settings.setPageLength = more & 64;
  settings.firstSubtreeOnly = more & 128;
  settings.width = input.Int32();
  settings.widthRestriction = input.Int32();
  settings.pageLength = input.Int32();
  const std::string columnSeparator = input.String(64);
  const std::string rowSeparator = input.String(64);
  if (settings.setWidth)
    options.MaxLineWidth(settings.width);
  if (settings.setWidthRestriction)
    options.WidthRestriction(settings.widthRestriction);
  if (settings.setPageLength)
    options.NumLinesPerPage(settings.pageLength);
  options.ColumnSeparator(columnSeparator);
  options.RowSeparator(rowSeparator);

  OmOutputTree tree;
  if (input.Peek() == 0 && !input.AtEnd()) {
    input.Byte();
    tree.Append(std::make_unique<OmProcedure>("P"), 1);
    tree.Append(BuildTable(input), 2);
  } else {
    std::istringstream document(input.Rest());
    try {
      tree = OmDocumentLoader::Load(document);
    } catch (const OmDocumentError&) {
      return 0;
    }
  }
  if (omtext::cli::CheckRenderLimits(tree, options) || !SmallEnough(tree))
    return 0;

  if (settings.destination) {
    OmSetPageLength(settings.setPageLength ? settings.pageLength : 60);
    OmSetLineWidth(settings.setWidth ? settings.width : 80);
    RenderToDestination(tree, options.TabSeparated());
    return 0;
  }
  // The first text stays in a buffer that keeps its memory from run to run.
  static std::string first;
  TextSink kept = TextSink::Keeping(first);
  Render(tree, options, settings.firstSubtreeOnly, kept);
  // Counting terminal columns lays out every table again; where the output
  // is ASCII, every width it measured was ASCII, so the bytes are the same.
  // That second layout, by a fresh exporter, also shows that rendering
  // twice gives the same text; other outputs are rendered again as they were.
  bool checked = false;
  if (!options.TabSeparated() && qUTF8mode() != 0) {
    options.DisplayWidth(OmDisplayWidth::Columns);
    TextSink columns = TextSink::Comparing(first);
    Render(tree, options, settings.firstSubtreeOnly, columns);
    options.DisplayWidth(OmDisplayWidth::Bytes);
    checked = std::all_of(first.begin(), first.end(),
                          [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (checked && !columns.SameAsExpected())
      std::abort();
  }
  if (!checked) {
    TextSink again = TextSink::Comparing(first);
    Render(tree, options, settings.firstSubtreeOnly, again);
    if (!again.SameAsExpected())
      std::abort();
  }
  // Memory an unusually long text took is given back.
  if (first.capacity() > kKeptBytes)
    std::string().swap(first);
  return 0;
}
