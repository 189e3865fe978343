// The parts of an output tree and the visitor that dispatches on their kind.
// Parts are owned by the tree that holds them (see OmOutputTree.h).
#pragma once

class OmPivotTable;
class OmProcedure;
class OmHeading;
class OmTextBlock;
class OmPageTitle;
class OmChart;
class OmAnswerTree;
class OmModel;
class OmInteractive;

class OmOutputPart {
 public:
  // One Visit per kind of part. Visit(OmPageTitle&) does nothing unless
  // overridden; every other kind must be handled by the visitor.
  class Visitor {
   public:
    virtual ~Visitor();
    virtual void Visit(OmPivotTable& table) = 0;
    virtual void Visit(OmProcedure& procedure) = 0;
    virtual void Visit(OmHeading& heading) = 0;
    virtual void Visit(OmTextBlock& block) = 0;
    virtual void Visit(OmPageTitle& title);
    virtual void Visit(OmChart& chart) = 0;
    virtual void Visit(OmAnswerTree& tree) = 0;
    virtual void Visit(OmModel& model) = 0;
    virtual void Visit(OmInteractive& interactive) = 0;
  };

  virtual ~OmOutputPart();
  OmOutputPart(const OmOutputPart&) = delete;
  OmOutputPart& operator=(const OmOutputPart&) = delete;

  // Calls the visitor's Visit overload for this part's kind.
  virtual void Accept(Visitor& visitor) = 0;

  // Whether the part is selected in the host's viewer.
  bool selected = true;

 protected:
  OmOutputPart() = default;
};
