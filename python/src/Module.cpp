// The omtext Python module: renders output documents given as JSON text or
// as Python objects, through the same loader, option handling, render
// limits and exporter as the omtext command.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <mutex>
#include <sstream>
#include <streambuf>

#include "NumberGrid.h"
#include "PyJsonWriter.h"
#include "cli/CommandLine.h"
#include "cli/RenderLimits.h"
#include "export/OmTextExport.h"
#include "export/OmTextExportOptions.h"
#include "host/platform/OmPlatform.h"
#include "loader/OmDocumentLoader.h"

namespace py = pybind11;

namespace omtext::python {
namespace {

// The host encoding is process-wide, so renders take turns; the lock is
// taken with the interpreter released, so other Python threads go on.
std::mutex gRenderMutex;

PyObject* gDocumentError = nullptr;
PyObject* gLimitError = nullptr;

// Reads a byte range in place.
class MemoryBuffer : public std::streambuf {
 public:
  MemoryBuffer(const char* data, std::size_t size) {
    char* begin = const_cast<char*>(data);
    setg(begin, begin, begin + size);
  }
};

// A keyword option of render(): its Python name, the command's option it
// stands for, and the Python value it takes.
enum class OptionKind { Flag, NegatedFlag, Integer, Text };
struct PythonOption {
  const char* name;
  const char* option;
  OptionKind kind;
};

constexpr PythonOption kOptions[] = {
    {"tab_separated", "--tab-separated", OptionKind::Flag},
    {"width", "--width", OptionKind::Integer},
    {"width_restriction", "--width-restriction", OptionKind::Integer},
    {"page_length", "--page-length", OptionKind::Integer},
    {"page_breaks", "--page-breaks", OptionKind::Flag},
    {"column_separator", "--column-separator", OptionKind::Text},
    {"row_separator", "--row-separator", OptionKind::Text},
    {"show_empty", "--show-empty", OptionKind::Flag},
    {"labels_in_heading", "--labels-in-heading", OptionKind::Flag},
    {"footnotes", "--no-footnotes", OptionKind::NegatedFlag},
    {"current_layer", "--current-layer", OptionKind::Flag},
    {"show_notes", "--show-notes", OptionKind::Flag},
    {"numeric_footnotes", "--numeric-footnotes", OptionKind::Flag},
    {"selected_only", "--selected-only", OptionKind::Flag},
    {"encoding", "--encoding", OptionKind::Text},
    {"display_width", "--display-width", OptionKind::Text},
};

std::string TypeName(py::handle value) {
  return Py_TYPE(value.ptr())->tp_name;
}

// Turns the keyword options into the command's arguments and parses them
// as the command does. None leaves an option at its default.
cli::CommandLine ParseOptions(const py::dict& options) {
  std::vector<std::string> arguments;
  for (const auto& [key, value] : options) {
    const std::string name = py::str(key);
    const PythonOption* option = nullptr;
    for (const PythonOption& candidate : kOptions) {
      if (name == candidate.name)
        option = &candidate;
    }
    if (option == nullptr)
      throw py::type_error("render() got an unexpected keyword argument '" + name + "'");
    if (value.is_none())
      continue;
    switch (option->kind) {
      case OptionKind::Flag:
      case OptionKind::NegatedFlag:
        if (!PyBool_Check(value.ptr()))
          throw py::type_error(name + " must be True or False, not " + TypeName(value));
        if ((value.ptr() == Py_True) == (option->kind == OptionKind::Flag))
          arguments.emplace_back(option->option);
        break;
      case OptionKind::Integer:
        if (!PyLong_Check(value.ptr()) || PyBool_Check(value.ptr()))
          throw py::type_error(name + " must be an int, not " + TypeName(value));
        arguments.push_back(std::string(option->option) + "=" + std::string(py::str(value)));
        break;
      case OptionKind::Text:
        if (!PyUnicode_Check(value.ptr()))
          throw py::type_error(name + " must be a str, not " + TypeName(value));
        arguments.push_back(std::string(option->option) + "=" + value.cast<std::string>());
        break;
    }
  }
  try {
    return cli::ParseCommandLine(arguments);
  } catch (const cli::UsageError& error) {
    throw py::value_error(error.what());
  }
}

[[noreturn]] void RaiseDocumentError(const std::string& message, py::object line, py::object column,
                                     py::object path) {
  std::string text = message;
  if (!line.is_none()) {
    text = std::string(py::str(line)) + ":" + std::string(py::str(column)) + ": " + message;
  } else if (!path.is_none() && !path.cast<std::string>().empty()) {
    text = path.cast<std::string>() + ": " + message;
  }
  py::object error = py::reinterpret_borrow<py::object>(gDocumentError)(text);
  error.attr("message") = message;
  error.attr("line") = line;
  error.attr("column") = column;
  error.attr("path") = path;
  PyErr_SetObject(gDocumentError, error.ptr());
  throw py::error_already_set();
}

// The document as JSON text: text and bytes as they are, a path's file
// read whole, Python objects written out with the spans of their values.
struct DocumentText {
  py::object owner;  // keeps the bytes alive
  const char* data = nullptr;
  std::size_t size = 0;
  std::unique_ptr<PyJsonWriter> writer;  // set for Python objects
};

DocumentText ToText(py::handle document) {
  DocumentText text;
  py::object source = py::reinterpret_borrow<py::object>(document);
  if (py::isinstance(source, py::module_::import("os").attr("PathLike")))
    source = py::module_::import("pathlib").attr("Path")(source).attr("read_bytes")();
  if (PyUnicode_Check(source.ptr())) {
    Py_ssize_t size = 0;
    text.data = PyUnicode_AsUTF8AndSize(source.ptr(), &size);
    if (text.data == nullptr)
      throw py::error_already_set();
    text.size = static_cast<std::size_t>(size);
    text.owner = source;
  } else if (PyBytes_Check(source.ptr()) || PyByteArray_Check(source.ptr()) ||
             PyMemoryView_Check(source.ptr())) {
    text.owner = py::reinterpret_steal<py::object>(PyBytes_FromObject(source.ptr()));
    if (!text.owner)
      throw py::error_already_set();
    text.data = PyBytes_AS_STRING(text.owner.ptr());
    text.size = static_cast<std::size_t>(PyBytes_GET_SIZE(text.owner.ptr()));
  } else {
    if (!PyDict_Check(source.ptr()) && !PyList_Check(source.ptr()) &&
        !PyTuple_Check(source.ptr())) {
      throw py::type_error(
          "document must be JSON text (str or bytes), a path, a dict or a list of parts, not " +
          TypeName(source));
    }
    text.writer = std::make_unique<PyJsonWriter>();
    // A single part (a dict with a type) or a list of parts becomes the
    // document holding them; paths stay relative to what was given.
    const bool part = PyDict_Check(source.ptr()) && source.contains("type");
    const bool parts = !PyDict_Check(source.ptr());
    text.writer->Raw(part ? "{\"output\":[" : parts ? "{\"output\":" : "");
    try {
      text.writer->Write(source.ptr());
    } catch (const JsonValueError& error) {
      RaiseDocumentError(error.what(), py::none(), py::none(), py::str(error.Path()));
    }
    text.writer->Raw(part ? "]}" : parts ? "}" : "");
    text.data = text.writer->Text().data();
    text.size = text.writer->Text().size();
  }
  return text;
}

// Sets the host encoding for one render and puts the previous one back.
class EncodingScope {
 public:
  explicit EncodingScope(OmEncoding encoding) : mPrevious(OmGetEncoding()) {
    OmSetEncoding(encoding);
  }
  ~EncodingScope() { OmSetEncoding(mPrevious); }
  EncodingScope(const EncodingScope&) = delete;
  EncodingScope& operator=(const EncodingScope&) = delete;

 private:
  OmEncoding mPrevious;
};

py::str Render(py::handle document, const py::kwargs& kwargs) {
  const cli::CommandLine commandLine = ParseOptions(kwargs);
  DocumentText text = ToText(document);
  std::string output;
  std::optional<OmDocumentError> documentError;
  std::optional<std::string> limit;
  {
    py::gil_scoped_release release;
    const std::lock_guard<std::mutex> lock(gRenderMutex);
    const EncodingScope encoding(commandLine.encoding);
    try {
      // Text the module wrote itself is a string, which the loader reads in
      // place; text from Python is read as a stream, without a copy.
      OmOutputTree tree;
      if (text.writer) {
        tree = OmDocumentLoader::LoadString(text.writer->Text());
      } else {
        MemoryBuffer buffer(text.data, text.size);
        std::istream in(&buffer);
        tree = OmDocumentLoader::Load(in);
      }
      OmTextExportOptions options;
      cli::SetExportOptions(commandLine, options);
      limit = cli::CheckRenderLimits(tree, options);
      if (!limit) {
        std::ostringstream stream;
        OmTextExport exporter(options, stream);
        exporter.Export(tree.Begin(), tree.End());
        output = std::move(stream).str();
      }
    } catch (const OmDocumentError& error) {
      documentError = error;
    }
  }
  if (documentError) {
    if (text.writer) {
      // The written text is one line, so the column is the byte offset.
      const auto offset =
          static_cast<std::size_t>(std::max<std::int64_t>(documentError->Column() - 1, 0));
      RaiseDocumentError(documentError->Message(), py::none(), py::none(),
                         py::str(text.writer->PathAt(offset)));
    }
    RaiseDocumentError(documentError->Message(), py::int_(documentError->Line()),
                       py::int_(documentError->Column()), py::none());
  }
  if (limit) {
    PyErr_SetString(gLimitError, limit->c_str());
    throw py::error_already_set();
  }
  // Text from a single-byte or double-byte render may cut a UTF-8 sequence;
  // its bytes come back as surrogate escapes, so encode("utf-8",
  // "surrogateescape") gives them back exactly.
  PyObject* result = PyUnicode_DecodeUTF8(output.data(), static_cast<Py_ssize_t>(output.size()),
                                          "surrogateescape");
  if (result == nullptr)
    throw py::error_already_set();
  return py::reinterpret_steal<py::str>(result);
}

py::str Dumps(py::handle document) {
  if (!PyDict_Check(document.ptr()) && !PyList_Check(document.ptr()) &&
      !PyTuple_Check(document.ptr())) {
    throw py::type_error("dumps() needs a dict or a list, not " + TypeName(document));
  }
  PyJsonWriter writer;
  try {
    writer.Write(document.ptr());
  } catch (const JsonValueError& error) {
    RaiseDocumentError(error.what(), py::none(), py::none(), py::str(error.Path()));
  }
  return py::str(writer.Text());
}

NumberGrid MakeNumberGrid(py::handle values, py::handle decimals) {
  NumberGrid grid;
  grid.values = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(values);
  if (!grid.values)
    throw py::value_error("Numbers needs an array of numbers, not " + TypeName(values));
  if (!decimals.is_none()) {
    if (!PyLong_Check(decimals.ptr()) || PyBool_Check(decimals.ptr()))
      throw py::type_error("decimals must be an int or None, not " + TypeName(decimals));
    const long long places = decimals.cast<long long>();
    if (places < 0 || places > 20)
      throw py::value_error("decimals must be 0 to 20, not " + std::to_string(places));
    grid.decimals = static_cast<int>(places);
  }
  return grid;
}

}  // namespace
}  // namespace omtext::python

PYBIND11_MODULE(_omtext, m) {
  using omtext::python::NumberGrid;
  m.doc() = "Plain-text rendering of output documents (the omtext library).";
  m.attr("__version__") = "0.1.0";
  // The docstrings carry their own signatures, in Python's terms.
  py::options options;
  options.disable_function_signatures();

  omtext::python::gDocumentError = PyErr_NewExceptionWithDoc(
      "omtext.DocumentError",
      "A document that is not valid JSON or breaks a rule of the document format.\n\n"
      "message: the loader's message; line, column: its place in JSON text (else None);\n"
      "path: the place in a document given as Python objects, such as\n"
      "output[0].dimensions[1] (else None).",
      PyExc_ValueError, nullptr);
  omtext::python::gLimitError = PyErr_NewExceptionWithDoc(
      "omtext.LimitError", "A table too large to lay out with the options given.", PyExc_ValueError,
      nullptr);
  m.attr("DocumentError") = py::handle(omtext::python::gDocumentError);
  m.attr("LimitError") = py::handle(omtext::python::gLimitError);

  m.def("render", &omtext::python::Render, py::arg("document"),
        "render(document, **options) -> str\n\n"
        "The text of an output document, byte for byte what the omtext command\n"
        "writes. document: JSON text (str or bytes), a path, a dict of the document\n"
        "format, a list of parts or a single part (a dict with \"type\").\n"
        "Options, as the command's: tab_separated, width, width_restriction,\n"
        "page_length, page_breaks, column_separator, row_separator, show_empty,\n"
        "labels_in_heading, footnotes (False: --no-footnotes), current_layer,\n"
        "show_notes, numeric_footnotes, selected_only, encoding ('utf-8',\n"
        "'single-byte', 'double-byte'); None keeps the default.\n"
        "Raises DocumentError for a bad document, LimitError for a table too large\n"
        "to lay out, TypeError or ValueError for a wrong option.");
  m.def("dumps", &omtext::python::Dumps, py::arg("document"),
        "dumps(document) -> str\n\nThe document's JSON text, for the command or a file.");

  py::class_<NumberGrid>(m, "Numbers",
                         "Number cells in bulk: an array of values (NaN: no cell), each shown\n"
                         "with `decimals` places, or in the shortest form when None. Stands\n"
                         "for the nested lists of a pivot table's \"data\".")
      .def(py::init(&omtext::python::MakeNumberGrid), "Numbers(values, decimals=None)",
           py::arg("values"), py::arg("decimals") = py::none())
      .def_property_readonly("values", [](const NumberGrid& grid) { return grid.values; })
      .def_property_readonly("decimals",
                             [](const NumberGrid& grid) -> py::object {
                               return grid.decimals < 0 ? py::object(py::none())
                                                        : py::object(py::int_(grid.decimals));
                             })
      .def("__repr__", [](const NumberGrid& grid) {
        return "Numbers(shape=" + std::string(py::str(py::tuple(grid.values.attr("shape")))) +
               ", decimals=" + (grid.decimals < 0 ? "None" : std::to_string(grid.decimals)) + ")";
      });
}
