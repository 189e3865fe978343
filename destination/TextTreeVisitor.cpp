// The output-management text destination.
#include "destination/TextTreeVisitor.h"

#include <algorithm>
#include <fstream>
#include <limits>

#include "export/OmTextExport.h"
#include "export/OmTextExportOptions.h"
#include "host/output/OmOutputTree.h"
#include "host/platform/BpComposite.h"
#include "host/platform/BpError.h"
#include "host/platform/BpString.h"
#include "host/platform/CheckFileRef.h"
#include "host/platform/ExtNameStr.h"
#include "host/platform/OmPlatform.h"
#include "host/platform/ValidateFileSpecification.h"

namespace {

// The host's show and level values for a file problem.
constexpr std::int32_t kErrorShow = 2;
constexpr std::int32_t kErrorLevel = 4;

void ReportFileProblem(const std::string& message, const std::string& fileSpec) {
  BpComposite composite(message, true);
  composite.Add(BpString(fileSpec, false));
  composite.Finish();
  BpError(composite, kErrorShow, kErrorLevel);
}

// The page length the destination exports with: six lines more than the
// host's, computed wide so that an extreme setting saturates rather than
// wrapping around.
std::int32_t DestinationPageLength() {
  const std::int64_t lines = static_cast<std::int64_t>(getlinemax_()) + 6;
  return static_cast<std::int32_t>(
      std::min<std::int64_t>(lines, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

struct TextTreeVisitor::Data {
  void SetTextTreeParameters(bool tabSeparatedFlag, std::string spec);
  static void ErrorMessage(const std::string& message, const std::string& fileSpec);
  // Forgets the specification and the name: the destination becomes inert.
  void Clear() {
    fileSpec.clear();
    fileName.clear();
  }

  bool tabSeparated = false;
  std::string fileSpec;
  std::string fileName;
  std::ofstream file;
};

void TextTreeVisitor::Data::ErrorMessage(const std::string& message, const std::string& fileSpec) {
  ReportFileProblem(message, fileSpec);
}

void TextTreeVisitor::Data::SetTextTreeParameters(bool tabSeparatedFlag, std::string spec) {
  tabSeparated = tabSeparatedFlag;
  fileSpec = std::move(spec);
  if (file.is_open()) {
    try {
      file.close();
    } catch (...) {
      Clear();
      throw;
    }
  }
  const std::int32_t state = FileExists(fileSpec, fileName);
  // The destination is made inert before the report, so that it stays so
  // even when the host's handler throws.
  const std::string typed = fileSpec;
  switch (state) {
    case 1:
      Clear();
      ReportFileProblem("File ^1 is read only.", typed);
      return;
    case 2:
      Clear();
      ReportFileProblem("File ^1 is busy.", typed);
      return;
    case 3:
    case 4:
      if (!CreateOMSFile(fileName)) {
        Clear();
        ErrorMessage("File ^1 creation failed.", typed);
        return;
      }
      break;
    default:
      break;
  }
  try {
    ExtNameStr name;
    name.SetGeneric(fileName);
    // A failure on the previous file must not count against this one.
    file.clear();
    file.exceptions(std::ios_base::failbit | std::ios_base::badbit);
    name.Open(file, std::ios_base::out | std::ios_base::trunc);
    if (qUTF8mode() != 0)
      file.write("\xEF\xBB\xBF", 3);
  } catch (...) {
    // The file vanished or changed between the checks and the open, or the
    // mark could not be written: the exception is the report, and nothing
    // more is written to a file that is not known to be right.
    Clear();
    throw;
  }
}

TextTreeVisitor::TextTreeVisitor() : mData(std::make_unique<Data>()) {}

TextTreeVisitor::~TextTreeVisitor() {
  if (mData->file.is_open()) {
    // A destructor must not throw; the last write's failure is lost here.
    mData->file.exceptions(std::ios_base::goodbit);
    mData->file.close();
  }
}

void TextTreeVisitor::Visit(OmPivotTable& /*table*/) {}
void TextTreeVisitor::Visit(OmProcedure& /*procedure*/) {}
void TextTreeVisitor::Visit(OmHeading& /*heading*/) {}
void TextTreeVisitor::Visit(OmTextBlock& /*block*/) {}
void TextTreeVisitor::Visit(OmPageTitle& /*title*/) {}
void TextTreeVisitor::Visit(OmChart& /*chart*/) {}
void TextTreeVisitor::Visit(OmAnswerTree& /*tree*/) {}
void TextTreeVisitor::Visit(OmModel& /*model*/) {}
void TextTreeVisitor::Visit(OmInteractive& /*interactive*/) {}

void TextTreeVisitor::SetColumns(const OMSColumns& /*columns*/) {}

bool TextTreeVisitor::doAppend() const {
  return false;
}

void TextTreeVisitor::Export(OmOutputTree& /*tree*/) {}

void TextTreeVisitor::Export(ListTree<OmOutputPart*>::ConstNode& /*first*/,
                             ListTree<OmOutputPart*>::ConstNode& /*last*/) {}

void TextTreeVisitor::LogLine(std::string line) {
  if (mData->fileName.empty())
    return;
  mData->file << line << '\n';
}

void TextTreeVisitor::FlushLog() {}

void TextTreeVisitor::EndLog() {}

void TextTreeVisitor::EndProcedure(OmOutputTree& tree) {
  if (mData->fileName.empty())
    return;
  const ListTree<OmOutputPart*>::Node first = tree.Begin();
  const ListTree<OmOutputPart*>::Node last = tree.SubtreeEnd(first);
  OmTextExportOptions options;
  options.NumLinesPerPage(DestinationPageLength());
  if (mData->tabSeparated) {
    options.TabSeparated(true);
  } else {
    options.MaxLineWidth(getlinwid_());
  }
  options.ShowNotes(true);
  options.RowSeparator("");
  options.ColumnSeparator(" ");
  OmTextExport exporter(options, mData->file);
  exporter.Export(first, last);
}

void TextTreeVisitor::SetPageTitle(const std::string& title, std::string& subtitle) {
  if (mData->fileName.empty())
    return;
  mData->file << title << '\n' << subtitle << '\n';
}

void TextTreeVisitor::PostAppend(OmOutputTree& /*tree*/) {}

void TextTreeVisitor::SetTextTreeParameters(bool tabSeparated, const std::string& fileSpec) {
  mData->SetTextTreeParameters(tabSeparated, fileSpec);
}

bool TextTreeVisitor::isFileOK() const {
  return !mData->fileSpec.empty();
}

void TextTreeVisitor::Close() {
  mData->Clear();
  if (mData->file.is_open())
    mData->file.close();
}

std::int32_t TextTreeVisitor::FileExists(const std::string& fileSpec, std::string& fileName) {
  fileName = CheckFileRef(fileSpec, false, false).String();
  std::string scratch;
  std::int32_t exists = 0;
  std::int32_t creatable = 0;
  std::int32_t readOnly = 0;
  std::int32_t busy = 0;
  // A name too long for the host's length argument names no file it could
  // check; it then counts as missing and fails at creation.
  if (fileName.size() <= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    ValidateFileSpecification(fileName.data(), static_cast<std::int32_t>(fileName.size()), 1,
                              &scratch, &exists, &creatable, &readOnly, &busy);
  }
  if (exists != 0) {
    if (readOnly != 0)
      return 1;
    if (busy != 0)
      return 2;
    return 0;
  }
  return creatable != 0 ? 3 : 4;
}

bool TextTreeVisitor::CreateOMSFile(const std::string& fileName) {
  ExtNameStr name;
  name.SetGeneric(fileName);
  std::ofstream stream;
  if (!name.Open(stream, std::ios_base::out | std::ios_base::trunc))
    return false;
  stream.close();
  return true;
}
