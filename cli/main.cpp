// The omtext command: loads an output document and writes it as plain text.
// Exit status 0 on success; 1 for a bad document, a failed read or write, a
// part replaced for lack of memory or text past --max-output; 2 for a usage
// error.
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <iostream>
#include <system_error>
#include <vector>

#include "cli/CommandLine.h"
#include "cli/Deliver.h"
#include "cli/OutputFile.h"
#include "cli/RenderLimits.h"
#include "cli/ReplacedParts.h"
#include "destination/TextTreeVisitor.h"
#include "export/OmTextExport.h"
#include "export/OmTextExportOptions.h"
#include "host/platform/BpError.h"
#include "host/platform/OmMessageText.h"
#include "host/platform/OmPlatform.h"
#include "loader/OmDocumentLoader.h"

namespace {

using omtext::cli::CommandLine;

constexpr const char* kVersion = "omtext 0.1.0";

int Fail(const std::string& message) {
  std::cerr << "omtext: " << OmOneLine(message) << '\n';
  return 1;
}

// Writes the text of --help or --version to standard output.
int Print(const std::string& text) {
  omtext::cli::OutputFile out;
  try {
    out.Stream() << text;
    out.Commit();
  } catch (const std::ios_base::failure&) {
    return Fail(out.Name() + ": write error: " + out.Error());
  } catch (const std::system_error& error) {
    return Fail(error.what());
  }
  return 0;
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Loads the document named on the command line; "-" is standard input.
OmOutputTree LoadInput(const std::string& input) {
  if (input == "-")
    return OmDocumentLoader::Load(std::cin);
  return OmDocumentLoader::LoadFile(input);
}

// Destination mode: the command plays the host's output management and
// hands each top-level part to a text destination, a page title as a page
// title and anything else as a finished procedure. File problems reach the
// error handler, which prints them and makes the status 1.
int RunDestination(const CommandLine& commandLine, OmOutputTree& tree) {
  if (commandLine.pageLength)
    OmSetPageLength(*commandLine.pageLength);
  if (commandLine.width)
    OmSetLineWidth(*commandLine.width);
  const std::string& spec = *commandLine.destination;
  bool fileProblem = false;
  const BpErrorHandlerScope handler(
      [&fileProblem](const std::string& text, std::int32_t, std::int32_t) {
        fileProblem = true;
        std::cerr << "omtext: " << OmOneLine(text) << '\n';
      });
  try {
    // A failed write leaves its reason in errno; clear it so that no older
    // value is reported in its place.
    errno = 0;
    TextTreeVisitor destination;
    try {
      destination.SetTextTreeParameters(commandLine.tabSeparated, spec);
    } catch (const std::ios_base::failure&) {
      // The checks passed, yet the system refused to open the file.
      const int error = errno;
      return Fail(spec + ": cannot open" +
                  (error != 0 ? ": " + std::string(std::strerror(error)) : ""));
    }
    if (fileProblem)
      return 1;
    const std::vector<std::string> replaced = omtext::cli::DeliverDocument(tree, destination);
    destination.Close();
    for (const std::string& where : replaced) {
      Fail(commandLine.input + ": out of memory rendering " + where +
           "; it was replaced by \"Output Missing\"");
    }
    if (!replaced.empty())
      return 1;
  } catch (const std::ios_base::failure&) {
    const int error = errno;
    return Fail(spec + ": write error" +
                (error != 0 ? ": " + std::string(std::strerror(error)) : ""));
  } catch (const std::bad_alloc&) {
    return Fail(commandLine.input + ": out of memory while rendering");
  }
  return fileProblem ? 1 : 0;
}

int Run(const CommandLine& commandLine) {
  const std::string name = commandLine.input;
  OmSetEncoding(commandLine.encoding);
  const auto loadStart = std::chrono::steady_clock::now();
  OmOutputTree tree;
  try {
    tree = LoadInput(name);
  } catch (const OmDocumentError& error) {
    return Fail(name + ":" + error.what());
  } catch (const std::system_error& error) {
    return Fail(name + ": " + error.code().message());
  } catch (const std::bad_alloc&) {
    return Fail(name + ": out of memory while loading the document");
  } catch (const std::exception& error) {
    return Fail(name + ": " + error.what());
  }
  const double loadSeconds = SecondsSince(loadStart);

  {
    // The destination builds its own options from the defaults; what
    // matters to the limits is whether it lays tables out or not.
    OmTextExportOptions options;
    if (commandLine.destination) {
      options.TabSeparated(commandLine.tabSeparated);
    } else {
      omtext::cli::SetExportOptions(commandLine, options);
    }
    if (auto problem = omtext::cli::CheckRenderLimits(tree, options)) {
      return Fail(name + ": " + *problem);
    }
  }

  if (commandLine.destination)
    return RunDestination(commandLine, tree);

  const auto renderStart = std::chrono::steady_clock::now();
  std::unique_ptr<omtext::cli::OutputFile> output;
  try {
    output = commandLine.output ? std::make_unique<omtext::cli::OutputFile>(*commandLine.output)
                                : std::make_unique<omtext::cli::OutputFile>();
  } catch (const std::system_error& error) {
    return Fail(error.what());
  }
  if (commandLine.maxOutput)
    output->SetLimit(*commandLine.maxOutput);
  // What became of the output when the run fails after writing began.
  const std::string aftermath = commandLine.output
                                    ? *commandLine.output + " was left as it was"
                                    : "standard output holds what was written up to there";
  std::vector<std::string> replaced;
  try {
    OmTextExportOptions options;
    omtext::cli::SetExportOptions(commandLine, options);
    OmTextExport exporter(options, output->Stream());
    // A file that will not be replaced is not worth finishing.
    replaced =
        omtext::cli::ReplacedParts::ExportTree(exporter, tree, commandLine.output.has_value());
    if (replaced.empty() || !commandLine.output)
      output->Commit();
  } catch (const std::ios_base::failure&) {
    return Fail(output->Name() + ": write error: " + output->Error());
  } catch (const std::system_error& error) {
    return Fail(std::string(error.what()));
  } catch (const omtext::cli::OutputLimitExceeded& error) {
    const std::string size =
        std::to_string(error.Limit()) + (error.Limit() == 1 ? " byte" : " bytes");
    return Fail(name + ": the text is longer than the --max-output limit of " + size + "; " +
                (commandLine.output ? aftermath : "only the first " + size + " were written"));
  } catch (const std::bad_alloc&) {
    return Fail(name + ": out of memory while rendering; " + aftermath);
  }
  for (const std::string& where : replaced) {
    Fail(name + ": out of memory rendering " + where + "; " +
         (commandLine.output ? aftermath : "it was replaced by \"Output Missing\""));
  }
  if (!replaced.empty())
    return 1;
  if (commandLine.stats) {
    std::cerr << "omtext: load " << loadSeconds << " s, render " << SecondsSince(renderStart)
              << " s\n";
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // A closed pipe is reported as a write error like any other.
  std::signal(SIGPIPE, SIG_IGN);
  std::ios::sync_with_stdio(false);
  CommandLine commandLine;
  try {
    commandLine = omtext::cli::ParseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const omtext::cli::UsageError& error) {
    std::cerr << "omtext: " << OmOneLine(error.what()) << '\n' << omtext::cli::UsageText();
    return 2;
  }
  omtext::cli::ResolveAutoWidth(commandLine);
  if (commandLine.help)
    return Print(omtext::cli::UsageText());
  if (commandLine.version)
    return Print(std::string(kVersion) + "\n");
  return Run(commandLine);
}
