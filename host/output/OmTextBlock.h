// A text block: lines of text, in order. Lines may carry the host's one-byte
// line-drawing codes and form feeds; the exporter converts them.
#pragma once

#include <string>
#include <vector>

#include "host/output/OmOutputPart.h"

class OmTextBlock : public OmOutputPart {
 public:
  OmTextBlock() = default;
  explicit OmTextBlock(std::vector<std::string> lines) : mLines(std::move(lines)) {}
  void Accept(Visitor& visitor) override;

  std::vector<std::string>& Lines() { return mLines; }
  const std::vector<std::string>& Lines() const { return mLines; }

  // The character set the lines were recorded in; informational only.
  const std::string& Charset() const { return mCharset; }
  void SetCharset(std::string charset) { mCharset = std::move(charset); }

 private:
  std::vector<std::string> mLines;
  std::string mCharset;
};
