// The formatted node the string folder makes for real cell text: on
// construction it finds the fold points of the text (its blanks, line feeds
// and carriage returns, by byte offset, stepping over multibyte characters)
// and trims trailing blanks.
#pragma once

#include <cstdint>
#include <string>

#include "fold/OmFormattedNode.h"

class OmWinFormattedNode : public OmFormattedNode {
 public:
  // Stores the values like the base, then scans the text in the host's
  // current encoding. Trailing blanks are cut off and lose their fold points,
  // except in a text of blanks only, which keeps its blanks but has no fold
  // points. length is kept as given, although trimming shortens the text.
  // A character whose declared length runs past the end of the text ends the
  // scan; nothing past the text is read.
  OmWinFormattedNode(std::string text, std::int32_t columns, std::int32_t rows,
                     std::int32_t extraWidth, std::int32_t length);
  ~OmWinFormattedNode() override;
};
