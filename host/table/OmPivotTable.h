// A pivot table of the output model: a title, an optional caption, a list of
// footnotes, dimensions with category trees on the row, column and layer
// axes, and cells found by a full index (one leaf position per dimension, in
// table order). The table owns its dimensions, their labels and its cells.
//
// Build it in two steps: first the dimensions and their categories, then the
// cells. Once the first cell is stored the dimensions are fixed: adding a
// dimension or a category then throws std::logic_error.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/output/OmCellText.h"
#include "host/output/OmOutputPart.h"
#include "host/table/OmDimension.h"

class OmText;

class OmPivotTable : public OmOutputPart {
 public:
  // What CheckIndex finds wrong with an index, if anything.
  enum class IndexStatus {
    Valid,        // a free position: a cell may be stored there
    WrongLength,  // not one entry per dimension
    OutOfRange,   // an entry is not a leaf position of its dimension
    Used,         // a cell is stored there already
  };

  OmPivotTable();
  ~OmPivotTable() override;

  // Calls visitor.Visit(*this).
  void Accept(Visitor& visitor) override;

  // Whether the title is shown above the table. SetTitle sets it.
  bool showTitle = false;

  // The title cell; an empty string cell until one is set.
  const OmCellText& Title() const;
  // Replaces the title (a null cell gives an empty one), sets showTitle and
  // returns the new title, e.g. to add footnotes to it.
  OmCellText& SetTitle(std::unique_ptr<OmCellText> title);
  OmCellText& SetTitle(std::string title);

  // The caption, or null when the table has none.
  const OmText* Caption() const;
  // Sets the caption; a null one removes it.
  void SetCaption(std::unique_ptr<OmText> caption);
  void SetCaption(std::string caption);

  // The footnote texts; a cell's footnote number n refers to entry n.
  const std::vector<std::string>& Footnotes() const;
  // Appends a footnote and returns its number.
  std::int32_t AddFootnote(std::string text);

  // Whether this is a notes table, which exports skip unless asked.
  bool IsNotes() const;
  void SetNotes(bool notes);

  // Appends a dimension on an axis with its label (a null label gives a
  // dimension without text) and returns it; it lives as long as the table.
  // Throws std::logic_error once the table holds a cell.
  OmDimension& AddDimension(OmAxis axis, std::unique_ptr<OmCellText> label);
  OmDimension& AddDimension(OmAxis axis, std::string label);

  std::int32_t NDimensions() const;
  // The dimension at a position in table order; throws std::out_of_range
  // for a position that is not one.
  const OmDimension& Dimension(std::int32_t i) const;
  OmDimension& Dimension(std::int32_t i);
  // The table positions of the dimensions on an axis, outermost first.
  const std::vector<std::int32_t>& AxisDimensions(OmAxis axis) const;

  // Says whether a cell could be stored at index. For OutOfRange,
  // *badEntry (when given) receives the position of the first entry that
  // is out of range; otherwise it is left alone.
  IndexStatus CheckIndex(const std::vector<std::int32_t>& index,
                         std::int32_t* badEntry = nullptr) const;

  // Stores a cell at index and returns it. Throws std::invalid_argument
  // when CheckIndex would not give Valid, or when cell is null; the cell is
  // then destroyed and the table is unchanged.
  OmCellText& SetCell(const std::vector<std::int32_t>& index, std::unique_ptr<OmCellText> cell);
  // Compact forms for the common cells, kept in the table's own blocks:
  // a number shown with %.15g, a number with decimals (%.*f) and a text
  // (which GetText gives back as it was). They throw as SetCell does, and
  // std::bad_alloc when memory runs out, leaving the table unchanged.
  OmNumberCell& SetNumber(const std::vector<std::int32_t>& index, double value);
  OmNumberCell& SetNumber(const std::vector<std::int32_t>& index, double value, int decimals);
  OmCellText& SetText(const std::vector<std::int32_t>& index, std::string text);
  // Says that about count cells are coming, spread evenly over the layers,
  // so that a densely filled table gets its final layout from the first
  // cell rather than growing into it. Only a hint: any number may follow.
  void ExpectCells(std::int64_t count);

  // The cell at index; null where there is none, or where index does not
  // have one entry per dimension or an entry is out of range.
  const OmCellText* Cell(const std::vector<std::int32_t>& index) const;
  // The number of cells stored.
  std::int64_t NCells() const;
  // The number of cells in the layer whose positions layerIndex holds (one
  // entry per dimension; only the layer dimensions' entries are read); 0
  // for a layerIndex of the wrong length.
  std::int64_t NCellsInLayer(const std::vector<std::int32_t>& layerIndex) const;

  // Calls visit(index, cell) for every cell whose layer positions equal
  // those of layerIndex (one entry per dimension; only the layer
  // dimensions' entries are read). index has one entry per dimension and is
  // valid during the call only. The order is unspecified. A layerIndex of
  // the wrong length visits nothing.
  void ForEachCellInLayer(
      const std::vector<std::int32_t>& layerIndex,
      const std::function<void(const std::int32_t* index, const OmCellText& cell)>& visit) const;

  // As ForEachCellInLayer, for a caller that needs only the cells'
  // positions: calls visit(context, index) for each, without a
  // std::function or a cell to pass.
  using VisitIndex = void (*)(void* context, const std::int32_t* index);
  void ForEachIndexInLayer(const std::vector<std::int32_t>& layerIndex, VisitIndex visit,
                           void* context) const;

  // The cells of one layer, for an exporter that looks up every position of
  // it: the layer is found once, and At skips the checks Cell makes. Valid
  // until the table stores another cell; the table must outlive it.
  class LayerCells {
   public:
    LayerCells(LayerCells&&) noexcept;
    LayerCells& operator=(LayerCells&&) noexcept;
    ~LayerCells();
    // The cell at index, or null. index must hold one in-range entry per
    // dimension, with the layer's positions in the layer entries; the
    // caller checks that.
    const OmCellText* At(const std::int32_t* index) const;
    // As At; besides, when the table keeps the cell's text as it was given
    // to SetText, text receives it (valid as long as the cell), and
    // otherwise an empty view whose data() is null. Spares a string a cell.
    const OmCellText* At(const std::int32_t* index, std::string_view& text) const;

   private:
    friend class OmPivotTable;
    struct Rep;
    explicit LayerCells(std::unique_ptr<Rep> rep);
    std::unique_ptr<Rep> mRep;
  };
  // The cells of the layer whose positions layerIndex holds (one entry per
  // dimension; only the layer dimensions' entries are read). A layerIndex
  // of the wrong length or out of range gives a layer without cells.
  LayerCells CellsInLayer(const std::vector<std::int32_t>& layerIndex) const;

  // One 0 per dimension: a full index to fill in.
  std::vector<std::int32_t> SizeVector() const;

 private:
  struct Data;
  // Fixes the dimensions and makes the cell store on first use.
  void Freeze();
  // Whether index has one in-range entry per dimension once the store is
  // made; Valid, WrongLength or OutOfRange as CheckIndex says.
  IndexStatus CheckRange(const std::vector<std::int32_t>& index, std::int32_t* badEntry) const;
  // Checks index, makes a cell with make(arena) and stores it.
  template <class Make>
  OmCellText& Store(const std::vector<std::int32_t>& index, Make make);

  std::unique_ptr<Data> mData;
};
