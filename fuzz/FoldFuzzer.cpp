// Fuzz target of the string folder. The input chooses the encoding, the
// column separator, the width restriction, the width, the node's columns,
// rows and extra width, whether lines are padded, and whether the node is
// the folder's own (fold points found in the text) or a plain node with
// fold points taken from the input; the rest is the cell text.
//
// Besides running clean under the sanitizers, a fold must keep the text:
// apart from blanks and line breaks, the lines hold exactly the text's bytes
// in order. Padding is only asked for where the cell's width stays small,
// since a huge width rightly pads to that many bytes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fold/OmFormattedNode.h"
#include "fold/OmWinStringFolder.h"
#include "fuzz/FuzzInput.h"
#include "host/platform/OmPlatform.h"

namespace {

std::string WithoutFoldCharacters(const std::string& text) {
  std::string kept;
  for (const char c : text) {
    if (c != ' ' && c != '\n' && c != '\r')
      kept.push_back(c);
  }
  return kept;
}

bool Small(std::int64_t value) {
  return value >= -4096 && value <= 4096;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  omtext::fuzz::FuzzInput input(data, size);
  const std::uint8_t flags = input.Byte();
  static constexpr OmEncoding kEncodings[] = {OmEncoding::Utf8, OmEncoding::SingleByte,
                                              OmEncoding::DoubleByte, OmEncoding::Utf8};
  OmSetEncoding(kEncodings[flags & 3]);
  const bool pad = flags & 4;
  const bool plainNode = flags & 8;
  OmStringFolder::Options options;
  options.columnSeparator = input.String(16);
  options.widthRestriction = input.Int32();
  if (flags & 16)
    options.displayWidth = OmDisplayWidth::Columns;
  const std::int32_t width = input.Int32();
  // Columns and rows stay small: a node of a million rows rightly gets a
  // million lines. The extreme values still reach the arithmetic.
  const std::int32_t columns = static_cast<std::int8_t>(input.Byte()) % 9;
  const std::int32_t rows = static_cast<std::int8_t>(input.Byte()) % 17;
  const std::int32_t extraWidth = input.Int32();
  std::vector<std::int32_t> foldPoints;
  if (plainNode) {
    const std::size_t count = input.Byte() % 16;
    for (std::size_t i = 0; i < count; ++i)
      foldPoints.push_back(input.Int32());
  }
  const std::string text = input.Rest();

  OmWinStringFolder folder(options);
  std::unique_ptr<OmFormattedNode> node;
  if (plainNode) {
    node = std::make_unique<OmFormattedNode>(text, columns, rows, extraWidth,
                                             folder.GetStringLength(text));
    node->FoldPoints() = foldPoints;
  } else {
    node = folder.MakeNode(text, columns, rows, extraWidth);
  }
  if (node->String().size() > text.size())
    std::abort();
  folder.GetMinimumColumnWidth(*node, width);

  // The padded width is the columns' separators, the extra width and a
  // width that is at most the larger of the given width and the text.
  const std::int64_t separators =
      (std::int64_t{columns} - 1) * static_cast<std::int64_t>(options.columnSeparator.size());
  const bool padHere = pad && Small(width) && Small(extraWidth) && Small(separators);
  std::vector<std::string> lines(1, "kept");
  const std::int32_t count = folder.SplitString(*node, width, lines, padHere);
  if (count < 0 || static_cast<std::size_t>(count) != lines.size() - 1)
    std::abort();
  if (lines[0] != "kept")
    std::abort();
  if (static_cast<std::int64_t>(lines.size() - 1) < rows)
    std::abort();

  std::string joined;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    std::string line = lines[i];
    if (padHere) {
      const std::string& separator = options.columnSeparator;
      if (line.size() < separator.size() ||
          line.compare(line.size() - separator.size(), separator.size(), separator) != 0) {
        std::abort();
      }
      line.resize(line.size() - separator.size());
    }
    joined += line;
  }
  // With fold points of its own choosing a plain node may break words
  // anywhere; only the folder's own nodes must keep every byte.
  if (!plainNode && WithoutFoldCharacters(joined) != WithoutFoldCharacters(text))
    std::abort();
  return 0;
}
