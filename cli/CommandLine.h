// The omtext command's arguments: options that set the export options, the
// input document, and where the text goes.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/platform/OmDisplayWidth.h"
#include "host/platform/OmPlatform.h"

class OmTextExportOptions;

namespace omtext::cli {

// A malformed command line; the message is one line without the program name.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct CommandLine {
  bool help = false;
  bool version = false;
  bool stats = false;
  bool tabSeparated = false;
  std::optional<std::int32_t> width;
  // --width auto: the width is found by ResolveAutoWidth.
  bool widthAuto = false;
  std::optional<std::int32_t> widthRestriction;
  std::optional<std::int32_t> pageLength;
  bool pageBreaks = false;
  std::optional<std::string> columnSeparator;
  std::optional<std::string> rowSeparator;
  bool showEmpty = false;
  bool labelsInHeading = false;
  bool noFootnotes = false;
  bool currentLayer = false;
  bool showNotes = false;
  bool numericFootnotes = false;
  bool selectedOnly = false;
  OmEncoding encoding = OmEncoding::Utf8;
  OmDisplayWidth displayWidth = OmDisplayWidth::Bytes;
  std::optional<std::string> output;
  // Most bytes the run may write to standard output or -o's file.
  std::optional<std::uint64_t> maxOutput;
  std::optional<std::string> destination;
  // The document to read; "-" for standard input.
  std::string input = "-";
};

// Parses the arguments after the program name. Throws UsageError for an
// unknown option, a missing or malformed value, a second FILE, or
// --display-width columns with --destination (which measures bytes).
CommandLine ParseCommandLine(const std::vector<std::string>& arguments);

// Sets the export options the command line asks for; an option not given
// keeps the library's default, except the page length, which becomes
// 2147483647 so that a document prints as one page.
void SetExportOptions(const CommandLine& commandLine, OmTextExportOptions& options);

// The width of the terminal that standard output is, when it is one; else
// the COLUMNS variable, when it holds a positive 32-bit integer; else -1, no
// limit.
std::int32_t AutoWidth();

// Turns --width auto into the width AutoWidth finds; otherwise changes nothing.
void ResolveAutoWidth(CommandLine& commandLine);

// The usage text printed by --help and after a usage error.
const char* UsageText();

}  // namespace omtext::cli
