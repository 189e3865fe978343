// Parsing of the omtext command line.
#include "cli/CommandLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <functional>
#include <limits>

#include "export/OmTextExportOptions.h"

namespace omtext::cli {
namespace {

std::int32_t ParseInt32(const std::string& option, const std::string& text) {
  std::int64_t value = 0;
  const char* first = text.data();
  const char* last = text.data() + text.size();
  // from_chars takes no leading plus; accept one as the usual decimal habit.
  if (first != last && *first == '+' && last - first > 1 && first[1] != '-')
    ++first;
  const auto [end, error] = std::from_chars(first, last, value);
  if (text.empty() || error != std::errc() || end != last ||
      value < std::numeric_limits<std::int32_t>::min() ||
      value > std::numeric_limits<std::int32_t>::max()) {
    throw UsageError("option " + option + " needs a 32-bit integer, not '" + text + "'");
  }
  return static_cast<std::int32_t>(value);
}

// A byte count with an optional k (or K), M or G suffix, 1024-based.
std::uint64_t ParseSize(const std::string& text) {
  std::uint64_t value = 0;
  const char* last = text.data() + text.size();
  auto [end, error] = std::from_chars(text.data(), last, value);
  int shift = 0;
  if (error == std::errc() && end + 1 == last) {
    shift = *end == 'k' || *end == 'K' ? 10 : *end == 'M' ? 20 : *end == 'G' ? 30 : 0;
    end += shift != 0 ? 1 : 0;
  }
  if (error != std::errc() || end != last ||
      value > std::numeric_limits<std::uint64_t>::max() >> shift) {
    throw UsageError("option --max-output needs a size in bytes (k, M or G may follow), not '" +
                     text + "'");
  }
  return value << shift;
}

std::string FileName(const std::string& option, const std::string& text) {
  if (text.empty())
    throw UsageError("option " + option + " needs a file name, not an empty one");
  return text;
}

OmEncoding ParseEncoding(const std::string& text) {
  if (text == "utf-8")
    return OmEncoding::Utf8;
  if (text == "single-byte")
    return OmEncoding::SingleByte;
  if (text == "double-byte")
    return OmEncoding::DoubleByte;
  throw UsageError("option --encoding needs utf-8, single-byte or double-byte, not '" + text + "'");
}

OmDisplayWidth ParseDisplayWidth(const std::string& text) {
  if (text == "bytes")
    return OmDisplayWidth::Bytes;
  if (text == "columns")
    return OmDisplayWidth::Columns;
  throw UsageError("option --display-width needs columns or bytes, not '" + text + "'");
}

void SetWidth(CommandLine& commandLine, const std::string& text) {
  commandLine.widthAuto = text == "auto";
  if (commandLine.widthAuto) {
    commandLine.width.reset();
  } else {
    commandLine.width = ParseInt32("--width", text);
  }
}

struct OptionSpec {
  const char* name;
  bool takesValue;
  std::function<void(CommandLine&, const std::string& value)> apply;
};

const std::vector<OptionSpec>& Options() {
  static const std::vector<OptionSpec> options = {
      {"--help", false, [](CommandLine& c, const std::string&) { c.help = true; }},
      {"--version", false, [](CommandLine& c, const std::string&) { c.version = true; }},
      {"--stats", false, [](CommandLine& c, const std::string&) { c.stats = true; }},
      {"--tab-separated", false, [](CommandLine& c, const std::string&) { c.tabSeparated = true; }},
      {"--width", true, [](CommandLine& c, const std::string& v) { SetWidth(c, v); }},
      {"--width-restriction", true,
       [](CommandLine& c, const std::string& v) {
         c.widthRestriction = ParseInt32("--width-restriction", v);
       }},
      {"--page-length", true,
       [](CommandLine& c, const std::string& v) { c.pageLength = ParseInt32("--page-length", v); }},
      {"--page-breaks", false, [](CommandLine& c, const std::string&) { c.pageBreaks = true; }},
      {"--column-separator", true,
       [](CommandLine& c, const std::string& v) { c.columnSeparator = v; }},
      {"--row-separator", true, [](CommandLine& c, const std::string& v) { c.rowSeparator = v; }},
      {"--show-empty", false, [](CommandLine& c, const std::string&) { c.showEmpty = true; }},
      {"--labels-in-heading", false,
       [](CommandLine& c, const std::string&) { c.labelsInHeading = true; }},
      {"--no-footnotes", false, [](CommandLine& c, const std::string&) { c.noFootnotes = true; }},
      {"--current-layer", false, [](CommandLine& c, const std::string&) { c.currentLayer = true; }},
      {"--show-notes", false, [](CommandLine& c, const std::string&) { c.showNotes = true; }},
      {"--numeric-footnotes", false,
       [](CommandLine& c, const std::string&) { c.numericFootnotes = true; }},
      {"--selected-only", false, [](CommandLine& c, const std::string&) { c.selectedOnly = true; }},
      {"--encoding", true,
       [](CommandLine& c, const std::string& v) { c.encoding = ParseEncoding(v); }},
      {"--display-width", true,
       [](CommandLine& c, const std::string& v) { c.displayWidth = ParseDisplayWidth(v); }},
      {"--output", true,
       [](CommandLine& c, const std::string& v) { c.output = FileName("--output", v); }},
      {"--max-output", true,
       [](CommandLine& c, const std::string& v) { c.maxOutput = ParseSize(v); }},
      {"--destination", true, [](CommandLine& c, const std::string& v) { c.destination = v; }},
  };
  return options;
}

void SetInput(CommandLine& commandLine, bool& haveInput, const std::string& file) {
  if (haveInput)
    throw UsageError("only one FILE may be given, not also '" + file + "'");
  commandLine.input = file;
  haveInput = true;
}

}  // namespace

CommandLine ParseCommandLine(const std::vector<std::string>& arguments) {
  CommandLine commandLine;
  bool haveInput = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--") {
      for (++i; i < arguments.size(); ++i)
        SetInput(commandLine, haveInput, arguments[i]);
      break;
    }
    if (argument.size() < 2 || argument[0] != '-') {
      SetInput(commandLine, haveInput, argument);
      continue;
    }
    std::string name = argument;
    std::optional<std::string> value;
    if (argument.compare(0, 2, "--") == 0) {
      const std::size_t equals = argument.find('=');
      if (equals != std::string::npos) {
        name = argument.substr(0, equals);
        value = argument.substr(equals + 1);
      }
    } else if (argument[1] == 'o' || argument[1] == 'h') {
      // The short forms -o FILE (or -oFILE) and -h.
      name = argument[1] == 'o' ? "--output" : "--help";
      if (argument.size() > 2) {
        if (argument[1] == 'h')
          throw UsageError("unknown option '" + argument + "'");
        value = argument.substr(2);
      }
    } else {
      throw UsageError("unknown option '" + argument + "'");
    }
    const OptionSpec* spec = nullptr;
    for (const OptionSpec& candidate : Options()) {
      if (name == candidate.name)
        spec = &candidate;
    }
    if (spec == nullptr)
      throw UsageError("unknown option '" + name + "'");
    if (spec->takesValue && !value) {
      if (i + 1 >= arguments.size())
        throw UsageError("option " + name + " needs a value");
      value = arguments[++i];
    } else if (!spec->takesValue && value) {
      throw UsageError("option " + name + " takes no value");
    }
    spec->apply(commandLine, value.value_or(""));
  }
  // The destination writes its own file, which no limit of the command's reaches.
  if (commandLine.maxOutput && commandLine.destination)
    throw UsageError("option --max-output does not apply to --destination");
  if (commandLine.destination && commandLine.displayWidth == OmDisplayWidth::Columns) {
    throw UsageError("--display-width columns does not apply to --destination, which counts bytes");
  }
  return commandLine;
}

void SetExportOptions(const CommandLine& commandLine, OmTextExportOptions& options) {
  options.TabSeparated(commandLine.tabSeparated);
  if (commandLine.width)
    options.MaxLineWidth(*commandLine.width);
  if (commandLine.widthRestriction)
    options.WidthRestriction(*commandLine.widthRestriction);
  options.NumLinesPerPage(commandLine.pageLength.value_or(2147483647));
  options.InsertPageBreak(commandLine.pageBreaks);
  if (commandLine.columnSeparator)
    options.ColumnSeparator(*commandLine.columnSeparator);
  if (commandLine.rowSeparator)
    options.RowSeparator(*commandLine.rowSeparator);
  options.HideEmptyRowsAndColumns(!commandLine.showEmpty);
  options.RowDimensionLabelsInCorner(!commandLine.labelsInHeading);
  options.KeepFootNotesAndCaption(!commandLine.noFootnotes);
  options.ExportAllLayers(!commandLine.currentLayer);
  options.ShowNotes(commandLine.showNotes);
  options.AlphabeticFootNotes(!commandLine.numericFootnotes);
  options.ShowUnselected(!commandLine.selectedOnly);
  options.DisplayWidth(commandLine.displayWidth);
}

std::int32_t AutoWidth() {
  winsize size{};
  if (::isatty(STDOUT_FILENO) == 1 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 &&
      size.ws_col > 0) {
    return size.ws_col;
  }
  if (const char* columns = std::getenv("COLUMNS")) {
    const std::string text = columns;
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (!text.empty() && error == std::errc() && end == text.data() + text.size() && value > 0)
      return value;
  }
  return -1;
}

void ResolveAutoWidth(CommandLine& commandLine) {
  if (!commandLine.widthAuto)
    return;
  commandLine.width = AutoWidth();
  commandLine.widthAuto = false;
}

const char* UsageText() {
  return "usage: omtext [OPTIONS] [FILE]\n"
         "Renders an output document (JSON) as plain text. Reads FILE, or standard\n"
         "input when FILE is absent or '-', and writes to standard output.\n"
         "\n"
         "  --tab-separated           tables as tab-separated lines\n"
         "  --width N|auto            maximum line width of tables (-1: none; auto: the\n"
         "                            terminal's width, else $COLUMNS, else none)\n"
         "  --width-restriction N     widest a folded cell line may grow (-1: none)\n"
         "  --page-length N           lines per page (default 2147483647)\n"
         "  --page-breaks             break pages before procedures and tables\n"
         "  --column-separator S      text between columns (default '|')\n"
         "  --row-separator S         text of horizontal rules (default '_'; may be empty)\n"
         "  --show-empty              keep empty rows and columns\n"
         "  --labels-in-heading       row dimension labels in the heading, not the corner\n"
         "  --no-footnotes            no footnote markers, footnote list or caption\n"
         "  --current-layer           only the current layer of layered tables\n"
         "  --show-notes              print notes tables\n"
         "  --numeric-footnotes       mark footnotes 1, 2, 3 instead of a, b, c\n"
         "  --selected-only           skip parts that are not selected\n"
         "  --encoding E              utf-8 (default), single-byte or double-byte\n"
         "  --display-width W         bytes (default) or columns: count widths in terminal\n"
         "                            columns (wide characters 2, combining marks 0; UTF-8)\n"
         "  -o, --output FILE         write to FILE (replaced only on success)\n"
         "  --max-output SIZE         stop with an error, leaving -o's FILE as it was,\n"
         "                            once the text would exceed SIZE bytes (k, M, G:\n"
         "                            1024-based); not with --destination\n"
         "  --destination FILE        write as the output-management text destination\n"
         "  --stats                   report load and render times on standard error\n"
         "  -h, --help                show this help\n"
         "  --version                 show the version\n";
}

}  // namespace omtext::cli
