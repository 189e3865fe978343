// Number cells in bulk: an array of values of any shape, standing for the
// nested lists of a pivot table's "data", each value a number cell shown with
// a fixed number of decimals (or as %.15g) and NaN standing for no cell.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

namespace omtext::python {

struct NumberGrid {
  // C-ordered float64 values.
  pybind11::array_t<double, pybind11::array::c_style | pybind11::array::forcecast> values;
  // Decimals of every cell, 0 to 20, or -1 for the shortest form.
  int decimals = -1;
};

}  // namespace omtext::python
