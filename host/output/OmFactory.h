// The host's output factory, as far as output-management destinations see
// it: the observer interface through which the factory tells a registered
// destination about finished procedures, page titles and log lines.
#pragma once

#include <string>

class OmChart;
class OmOutputTree;

// The columns an output-management destination may be asked to show. This
// host defines none; the type exists so that destinations can accept them.
struct OMSColumns {};

class OmFactory {
 public:
  // A destination notified by the factory. The base accepts every
  // notification and does nothing; doAppend() returns true. The factory
  // keeps the tree alive for the duration of each call only.
  class Observer {
   public:
    virtual ~Observer();
    // A procedure's output is complete; the tree's first node is the
    // procedure and is followed by its descendants.
    virtual void EndProcedure(OmOutputTree& tree);
    // Whether new output may be appended to what the destination wrote
    // before, rather than starting afresh.
    virtual bool doAppend() const;
    // One line for the log.
    virtual void LogLine(std::string line);
    virtual void FlushLog();
    virtual void EndLog();
    // A page title and its subtitle; the subtitle is the host's and may be
    // left unchanged.
    virtual void SetPageTitle(const std::string& title, std::string& subtitle);
    // Output has been appended to the tree.
    virtual void PostAppend(OmOutputTree& tree);
    // A chart has been drawn.
    virtual void ChartDone(OmChart* chart);
  };
};
