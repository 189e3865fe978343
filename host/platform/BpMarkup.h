// Rewrites the markup of cell text: superscript and subscript tags become
// the strings a caller chooses, so that plain text shows them inline.
#pragma once

#include <string>

class BpMarkup {
 public:
  enum BpMarkupType {
    Superscript = 0,  // <sup> and </sup>
    Subscript = 1,    // <sub> and </sub>
  };

  // Replaces, in one pass from the left, every opening tag of type by open
  // and every closing tag by close. Tags match exactly and in lowercase;
  // text brought in by open and close is not searched again, and nothing
  // else changes. An unknown type changes nothing.
  static void replaceMarkupText(std::string& text, const std::string& open,
                                const std::string& close, BpMarkupType type);
};
