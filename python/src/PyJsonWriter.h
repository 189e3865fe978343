// Writes a Python object (dicts, lists, strings, numbers, None, numpy arrays
// and Numbers grids) as JSON text for the document loader, remembering where
// each value's text begins and ends, so that a loader error at a byte offset
// can be named by the path of the Python value it came from.
#pragma once

#include <Python.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace omtext::python {

// A value that cannot be written as JSON (an unsupported type, a key that is
// not a string, an infinite number, a string that is not valid Unicode, a
// structure nested too deeply). Path() names the value.
class JsonValueError : public std::runtime_error {
 public:
  JsonValueError(std::string path, const std::string& message)
      : std::runtime_error(message), mPath(std::move(path)) {}
  const std::string& Path() const { return mPath; }

 private:
  std::string mPath;
};

class PyJsonWriter {
 public:
  // Values nested deeper than this are refused rather than recursed into;
  // a list that holds itself ends here too.
  static constexpr int kMaxDepth = 500;

  // Appends text that belongs to no value (a wrapper around the document).
  void Raw(const char* text);
  // Appends the object as JSON text: compact, on one line, strings as UTF-8.
  // Throws JsonValueError; a Python error raised on the way (by tolist())
  // is left set and reported as pybind11's error_already_set.
  void Write(PyObject* value);

  const std::string& Text() const { return mText; }
  // The path of the innermost value whose text holds the byte at offset,
  // such as output[0].dimensions[1].categories[3]; empty for the outermost
  // value and for offsets outside it.
  std::string PathAt(std::size_t offset) const;

 private:
  struct Span {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::int64_t parent = -1;
    std::int64_t index = -1;  // position in a list, or -1 for a dict entry
    std::string key;          // key of a dict entry
  };

  std::int64_t Open(std::int64_t parent, std::int64_t index, const std::string& key);
  void Close(std::int64_t span) { mSpans[static_cast<std::size_t>(span)].end = mText.size(); }
  void WriteValue(PyObject* value, std::int64_t span, int depth);
  void WriteString(PyObject* value, std::int64_t span);
  void WriteDouble(double value, std::int64_t span);
  void WriteArray(PyObject* array, std::int64_t span, int depth);
  void WriteNumbers(PyObject* numbers, std::int64_t span, int depth);
  [[noreturn]] void Fail(std::int64_t span, const std::string& message) const;
  std::string PathOf(std::int64_t span) const;

  std::string mText;
  std::vector<Span> mSpans;
};

}  // namespace omtext::python
