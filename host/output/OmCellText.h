// Cell texts: the display text of a pivot-table cell, heading label or title,
// with its footnote numbers and marker strings. Cells are polymorphic and are
// not copied; whoever creates one owns it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class OmCellText {
 public:
  virtual ~OmCellText();
  OmCellText(const OmCellText&) = delete;
  OmCellText& operator=(const OmCellText&) = delete;

  // The text shown for the cell, without footnote markers.
  virtual std::string GetText() const = 0;

  // Footnote numbers (indexes into the table's footnote list), in order.
  const std::vector<std::int16_t>& Footnotes() const;
  // Marker strings, in order; printed in brackets after the text.
  const std::vector<std::string>& getMarkers() const;

  void AddFootnote(std::int16_t number);
  void AddMarker(std::string marker);

 protected:
  OmCellText();

 private:
  struct Extras;
  // Null for the common cell without footnotes and markers, which keeps a
  // cell small in tables of millions of cells.
  std::unique_ptr<Extras> mExtras;
};

// A cell whose text is given as a string.
class OmStringCell : public OmCellText {
 public:
  explicit OmStringCell(std::string text);
  std::string GetText() const override;

 private:
  std::string mText;
};

// A number. With decimals d (0 to 20) the text is printf("%.*f", d, value);
// without, printf("%.15g", value); always in the C locale whatever the
// program's locale is. Decimals outside 0..20 are clamped into that range.
class OmNumberCell : public OmCellText {
 public:
  explicit OmNumberCell(double value);
  OmNumberCell(double value, int decimals);
  std::string GetText() const override;

  double Value() const { return mValue; }
  // -1 when no number of decimals was given.
  int Decimals() const { return mDecimals; }

 private:
  double mValue;
  std::int8_t mDecimals;
};
