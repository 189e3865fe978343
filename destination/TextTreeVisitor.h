// The output-management text destination: writes each finished procedure,
// page title and log line into one plain-text file. The host creates it,
// gives it a file specification with SetTextTreeParameters and calls it back
// as output is produced. The destination owns its file; it keeps nothing of
// the trees it is given beyond each call.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/output/ListTree.h"
#include "host/output/OmFactory.h"
#include "host/output/OmOutputPart.h"

class OmOutputTree;

class TextTreeVisitor : public OmOutputPart::Visitor, public OmFactory::Observer {
 public:
  // An inert destination: no specification, no file.
  TextTreeVisitor();
  // Closes the file if one is open. A failure of that last write cannot be
  // reported from here; call Close() first to learn of it.
  ~TextTreeVisitor() override;
  TextTreeVisitor(const TextTreeVisitor&) = delete;
  TextTreeVisitor& operator=(const TextTreeVisitor&) = delete;

  // The destination visits nothing: every part is accepted and ignored.
  void Visit(OmPivotTable& table) override;
  void Visit(OmProcedure& procedure) override;
  void Visit(OmHeading& heading) override;
  void Visit(OmTextBlock& block) override;
  void Visit(OmPageTitle& title) override;
  void Visit(OmChart& chart) override;
  void Visit(OmAnswerTree& tree) override;
  void Visit(OmModel& model) override;
  void Visit(OmInteractive& interactive) override;

  // Does nothing: a text file has no columns to choose.
  virtual void SetColumns(const OMSColumns& columns);
  // False: every accepted specification starts a new file.
  bool doAppend() const override;
  // Do nothing: the destination writes only what EndProcedure hands it.
  virtual void Export(OmOutputTree& tree);
  virtual void Export(ListTree<OmOutputPart*>::ConstNode& first,
                      ListTree<OmOutputPart*>::ConstNode& last);
  // Writes the line and a line feed, when there is a file.
  void LogLine(std::string line) override;
  void FlushLog() override;
  void EndLog() override;
  // Exports the tree's first node and its descendants into the file, when
  // there is one: page length getlinemax_() + 6 (clamped to 32 bits), the
  // host's line width getlinwid_() or tab-separated, notes tables shown, no
  // row rules, one blank between columns. Nothing is flushed.
  void EndProcedure(OmOutputTree& tree) override;
  // Writes the title and the subtitle as two lines, when there is a file.
  // The subtitle is not changed.
  void SetPageTitle(const std::string& title, std::string& subtitle) override;
  void PostAppend(OmOutputTree& tree) override;

  // Closes any file open so far and directs the output to the file that
  // fileSpec names, replacing it (created empty, then opened and truncated,
  // starting with a UTF-8 byte order mark when qUTF8mode() is non-zero). A
  // read-only or busy file, or one that cannot be created, is reported
  // through the host's error handler ("File ^1 is read only.", "File ^1 is
  // busy.", "File ^1 creation failed.", ^1 being fileSpec as given) and
  // leaves the destination inert; nothing is thrown for these.
  //
  // Once the file is open its stream raises std::ios_base::failure on any
  // failure: closing the previous file here, opening the new one, and every
  // later write (EndProcedure, SetPageTitle, LogLine) pass that exception to
  // the caller. A failure here leaves the destination inert; after a failed
  // write the destination keeps its file and the exception is the report.
  void SetTextTreeParameters(bool tabSeparated, const std::string& fileSpec);

  // True when a specification has been accepted (its text is not empty).
  bool isFileOK() const;

  // Closes the file, if open, and makes the destination inert. Throws
  // std::ios_base::failure when writing out what is still buffered fails;
  // the file is closed and the destination inert all the same.
  void Close();

  // The state of the file fileSpec names: 0 exists and may be written, 1
  // read only (or a directory), 2 locked by another open file description,
  // 3 does not exist and can be created, 4 does not exist and its directory
  // is missing or not writable (also for a specification naming no file).
  // fileName receives the resolved name.
  static std::int32_t FileExists(const std::string& fileSpec, std::string& fileName);

  // Creates (or truncates) the file and closes it again; false when it
  // cannot be opened for writing.
  static bool CreateOMSFile(const std::string& fileName);

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};
