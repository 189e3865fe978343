// Python objects as JSON text with the spans of their values.
#include "PyJsonWriter.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

#include "NumberGrid.h"

namespace py = pybind11;

namespace omtext::python {
namespace {

bool IsPlainKey(const std::string& key) {
  return !key.empty() && std::all_of(key.begin(), key.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-';
  });
}

template <typename Number>
void AppendNumber(std::string& text, Number value) {
  char digits[32];
  const auto result = std::to_chars(digits, digits + sizeof digits, value);
  text.append(digits, result.ptr);
}

}  // namespace

void PyJsonWriter::Raw(const char* text) {
  mText.append(text);
}

void PyJsonWriter::Write(PyObject* value) {
  const std::int64_t span = Open(-1, -1, std::string());
  WriteValue(value, span, 0);
  Close(span);
}

std::int64_t PyJsonWriter::Open(std::int64_t parent, std::int64_t index, const std::string& key) {
  Span span;
  span.begin = mText.size();
  span.parent = parent;
  span.index = index;
  span.key = key;
  mSpans.push_back(std::move(span));
  return static_cast<std::int64_t>(mSpans.size()) - 1;
}

void PyJsonWriter::Fail(std::int64_t span, const std::string& message) const {
  throw JsonValueError(PathOf(span), message);
}

std::string PyJsonWriter::PathOf(std::int64_t span) const {
  std::vector<const Span*> chain;
  for (std::int64_t s = span; s > 0; s = mSpans[static_cast<std::size_t>(s)].parent)
    chain.push_back(&mSpans[static_cast<std::size_t>(s)]);
  std::string path;
  for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
    const Span& step = **it;
    if (step.index >= 0) {
      path += "[" + std::to_string(step.index) + "]";
    } else if (IsPlainKey(step.key)) {
      path += (path.empty() ? "" : ".") + step.key;
    } else {
      // A key the path syntax cannot hold bare is quoted like a JSON string.
      PyJsonWriter quoted;
      py::str key(step.key);
      quoted.WriteString(key.ptr(), 0);
      path += "[" + quoted.mText + "]";
    }
  }
  return path;
}

std::string PyJsonWriter::PathAt(std::size_t offset) const {
  // Spans are stored in the order their text begins, and a value's text
  // lies inside its parent's: the last span beginning at or before offset
  // is the innermost candidate, and its ancestors the others.
  const auto after = std::upper_bound(mSpans.begin(), mSpans.end(), offset,
                                      [](std::size_t at, const Span& s) { return at < s.begin; });
  if (after == mSpans.begin())
    return std::string();
  auto span = static_cast<std::int64_t>(after - mSpans.begin()) - 1;
  while (span > 0 && offset >= mSpans[static_cast<std::size_t>(span)].end)
    span = mSpans[static_cast<std::size_t>(span)].parent;
  return span < 0 ? std::string() : PathOf(span);
}

void PyJsonWriter::WriteValue(PyObject* value, std::int64_t span, int depth) {
  if (depth > kMaxDepth)
    Fail(span, "values are nested more than " + std::to_string(kMaxDepth) + " levels deep");
  if (PyUnicode_Check(value)) {
    WriteString(value, span);
  } else if (value == Py_None) {
    mText.append("null");
  } else if (PyBool_Check(value)) {
    mText.append(value == Py_True ? "true" : "false");
  } else if (PyLong_Check(value)) {
    int overflow = 0;
    const long long number = PyLong_AsLongLongAndOverflow(value, &overflow);
    if (overflow == 0) {
      AppendNumber(mText, number);
    } else {
      mText.append(py::str(value).cast<std::string>());
    }
  } else if (PyFloat_Check(value)) {
    WriteDouble(PyFloat_AS_DOUBLE(value), span);
  } else if (PyDict_Check(value)) {
    mText.push_back('{');
    PyObject* borrowedKey = nullptr;
    PyObject* borrowedItem = nullptr;
    Py_ssize_t position = 0;
    bool first = true;
    while (PyDict_Next(value, &position, &borrowedKey, &borrowedItem)) {
      // Held while written: a tolist() below may run code that changes the
      // dict.
      const py::object keyHolder = py::reinterpret_borrow<py::object>(borrowedKey);
      const py::object itemHolder = py::reinterpret_borrow<py::object>(borrowedItem);
      PyObject* key = keyHolder.ptr();
      PyObject* item = itemHolder.ptr();
      if (!PyUnicode_Check(key)) {
        Fail(span, std::string("a key must be a string, not ") + Py_TYPE(key)->tp_name);
      }
      if (!first)
        mText.push_back(',');
      first = false;
      Py_ssize_t size = 0;
      const char* utf8 = PyUnicode_AsUTF8AndSize(key, &size);
      if (utf8 == nullptr) {
        PyErr_Clear();
        Fail(span, "a key is not valid Unicode (it holds a lone surrogate)");
      }
      const std::int64_t entry = Open(span, -1, std::string(utf8, static_cast<std::size_t>(size)));
      WriteString(key, entry);
      mText.push_back(':');
      WriteValue(item, entry, depth + 1);
      Close(entry);
    }
    mText.push_back('}');
  } else if (PyList_Check(value) || PyTuple_Check(value)) {
    mText.push_back('[');
    const auto n = static_cast<std::size_t>(PyList_Check(value) ? PyList_GET_SIZE(value)
                                                                : PyTuple_GET_SIZE(value));
    for (std::size_t i = 0; i < n; ++i) {
      if (i > 0)
        mText.push_back(',');
      const std::int64_t entry = Open(span, static_cast<std::int64_t>(i), std::string());
      // Read afresh and held on each step: a tolist() may run code that
      // changes the list.
      PyObject* borrowed = PyList_Check(value) ? PyList_GetItem(value, static_cast<Py_ssize_t>(i))
                                               : PyTuple_GetItem(value, static_cast<Py_ssize_t>(i));
      if (borrowed == nullptr)
        throw py::error_already_set();
      const py::object item = py::reinterpret_borrow<py::object>(borrowed);
      WriteValue(item.ptr(), entry, depth + 1);
      Close(entry);
    }
    mText.push_back(']');
  } else if (py::isinstance<NumberGrid>(value)) {
    WriteNumbers(value, span, depth);
  } else if (py::isinstance<py::array>(value)) {
    WriteArray(value, span, depth);
  } else if (PyObject_HasAttrString(value, "tolist")) {
    // numpy scalars and pandas series turn into plain Python values.
    py::object plain = py::reinterpret_borrow<py::object>(value).attr("tolist")();
    if (Py_TYPE(plain.ptr()) == Py_TYPE(value))
      Fail(span, std::string("cannot write a ") + Py_TYPE(value)->tp_name + " as JSON");
    WriteValue(plain.ptr(), span, depth + 1);
  } else {
    Fail(span, std::string("cannot write a ") + Py_TYPE(value)->tp_name + " as JSON");
  }
}

void PyJsonWriter::WriteString(PyObject* value, std::int64_t span) {
  Py_ssize_t size = 0;
  const char* utf8 = PyUnicode_AsUTF8AndSize(value, &size);
  if (utf8 == nullptr) {
    PyErr_Clear();
    Fail(span, "the string is not valid Unicode (it holds a lone surrogate)");
  }
  static constexpr char kHex[] = "0123456789abcdef";
  mText.push_back('"');
  for (const char* c = utf8; c != utf8 + size; ++c) {
    const auto byte = static_cast<unsigned char>(*c);
    if (byte == '"' || byte == '\\') {
      mText.push_back('\\');
      mText.push_back(*c);
    } else if (byte < 0x20) {
      mText.append("\\u00");
      mText.push_back(kHex[byte >> 4]);
      mText.push_back(kHex[byte & 15]);
    } else {
      mText.push_back(*c);
    }
  }
  mText.push_back('"');
}

void PyJsonWriter::WriteDouble(double value, std::int64_t span) {
  if (std::isnan(value)) {
    mText.append("null");
  } else if (std::isinf(value)) {
    Fail(span, "a number must be finite, not " + std::string(value > 0 ? "inf" : "-inf"));
  } else {
    AppendNumber(mText, value);
  }
}

namespace {

// Calls leaf(flat position) for every element of a C-ordered array, with
// the brackets and commas of nested lists around them; open(parent, index)
// and close(span) mark the sub-lists.
template <typename Leaf, typename OpenSpan, typename CloseSpan>
void WriteNested(std::string& text, const py::ssize_t* shape, py::ssize_t ndim, py::ssize_t dim,
                 py::ssize_t& flat, std::int64_t span, const Leaf& leaf, const OpenSpan& open,
                 const CloseSpan& close) {
  if (dim == ndim) {
    leaf(flat++, span);
    return;
  }
  text.push_back('[');
  for (py::ssize_t i = 0; i < shape[dim]; ++i) {
    if (i > 0)
      text.push_back(',');
    if (dim + 1 < ndim) {
      const std::int64_t child = open(span, i);
      WriteNested(text, shape, ndim, dim + 1, flat, child, leaf, open, close);
      close(child);
    } else {
      leaf(flat++, span);
    }
  }
  text.push_back(']');
}

}  // namespace

void PyJsonWriter::WriteArray(PyObject* object, std::int64_t span, int depth) {
  py::array array = py::reinterpret_borrow<py::array>(object);
  if (array.ndim() + depth > kMaxDepth)
    Fail(span, "values are nested more than " + std::to_string(kMaxDepth) + " levels deep");
  const auto open = [this](std::int64_t parent, py::ssize_t i) {
    return Open(parent, static_cast<std::int64_t>(i), std::string());
  };
  const auto close = [this](std::int64_t s) { Close(s); };
  py::ssize_t flat = 0;
  // Signed and unsigned integers, each read as its widest type.
  const auto writeIntegers = [&](auto widest) {
    using Integer = decltype(widest);
    const auto values =
        py::array_t<Integer, py::array::c_style | py::array::forcecast>::ensure(array);
    const Integer* data = values.data();
    WriteNested(
        mText, values.shape(), values.ndim(), 0, flat, span,
        [&](py::ssize_t at, std::int64_t) { AppendNumber(mText, data[at]); }, open, close);
  };
  switch (array.dtype().kind()) {
    case 'f': {
      const auto values =
          py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(array);
      const double* data = values.data();
      WriteNested(
          mText, values.shape(), values.ndim(), 0, flat, span,
          [&](py::ssize_t at, std::int64_t s) { WriteDouble(data[at], s); }, open, close);
      break;
    }
    case 'i':
      writeIntegers(std::int64_t{});
      break;
    case 'u':
      writeIntegers(std::uint64_t{});
      break;
    default: {
      // Strings, objects, booleans and dates: element by element as Python
      // values.
      py::object plain = array.attr("tolist")();
      WriteValue(plain.ptr(), span, depth + 1);
      break;
    }
  }
}

void PyJsonWriter::WriteNumbers(PyObject* object, std::int64_t span, int depth) {
  const auto& grid = py::reinterpret_borrow<py::object>(object).cast<const NumberGrid&>();
  if (grid.values.ndim() + depth > kMaxDepth)
    Fail(span, "values are nested more than " + std::to_string(kMaxDepth) + " levels deep");
  const double* data = grid.values.data();
  std::string suffix;
  if (grid.decimals >= 0)
    suffix = ",\"decimals\":" + std::to_string(grid.decimals) + "}";
  py::ssize_t flat = 0;
  WriteNested(
      mText, grid.values.shape(), grid.values.ndim(), 0, flat, span,
      [&](py::ssize_t at, std::int64_t s) {
        const double value = data[at];
        if (suffix.empty() || std::isnan(value)) {
          WriteDouble(value, s);
        } else {
          mText.append("{\"value\":");
          WriteDouble(value, s);
          mText.append(suffix);
        }
      },
      [this](std::int64_t parent, py::ssize_t i) {
        return Open(parent, static_cast<std::int64_t>(i), std::string());
      },
      [this](std::int64_t s) { Close(s); });
}

}  // namespace omtext::python
