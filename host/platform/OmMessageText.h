// Message text: makes any bytes safe to show inside a one-line message.
#pragma once

#include <string>
#include <string_view>

// The text with line feed, carriage return and tab written as \n, \r and \t
// and every other byte below 0x20 as \u00XX; all other bytes are kept, so a
// message stays one line whatever the text held.
std::string OmOneLine(std::string_view text);
