#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

namespace py = pybind11;

// Arrays that come in are C-contiguous and of the type that the library takes: what has another type or
// layout is copied, what has another shape or is no number raises ValueError or TypeError with the shape
// wanted and the one that came.

using Floats = py::array_t<float, py::array::c_style | py::array::forcecast>;
using Doubles = py::array_t<double, py::array::c_style | py::array::forcecast>;
using Ints = py::array_t<int, py::array::c_style | py::array::forcecast>;

/// An array of numbers of any shape. `name` is that of the argument.
template <class Array>
Array numbers(const py::handle& object, const char* name);

/// One of a given shape, where -1 stands for any length: {-1, 3} for points.
template <class Array>
Array numbers(const py::handle& object, const char* name, std::initializer_list<py::ssize_t> shape);

/// One for each of n things: an array of n, or one number for all.
template <class Array>
Array numbers_for(const py::handle& object, const char* name, py::ssize_t n);

/// Positions: an array of shape (..., 3).
template <class Array>
Array points_of(const py::handle& object, const char* name);
/// Positions of shape (n, 3), finite ones alone.
Floats finite_points(const py::handle& object, const char* name);

/// Text for Python out of bytes that need not be UTF-8: bytes that are not stay as surrogates.
py::str text_of(std::string_view bytes);
/// The first 80 characters of the repr, for messages.
std::string shown(const py::handle& object);
/// And back: the bytes behind such text. TypeError for what is no str, ValueError where it has zero
/// characters.
std::string bytes_of(const py::handle& text, const char* name);
/// Those of each of several texts.
std::vector<std::string> bytes_of_all(const py::handle& texts, const char* name);

/// A new array that takes the values of a vector over, without a copy. {n} or the shape given.
template <class T>
py::array_t<T> array_of(std::vector<T>&& values, std::vector<py::ssize_t> shape = {});

/// For copies of values: an array that is not to be written to, as that would change nothing.
py::array read_only(py::array array);

/// A view of memory that belongs to `owner` and moves at no time; the view keeps the owner alive.
template <class T>
py::array_t<T> view_of(T* values, std::vector<py::ssize_t> shape, const py::handle& owner) {
  return py::array_t<T>(std::move(shape), values, owner);
}

template <class T>
py::array_t<T> array_of(std::vector<T>&& values, std::vector<py::ssize_t> shape) {
  auto* const kept = new std::vector<T>(std::move(values));
  const py::capsule owner(kept, [](void* p) { delete static_cast<std::vector<T>*>(p); });
  if (shape.empty()) shape = {static_cast<py::ssize_t>(kept->size())};
  return py::array_t<T>(std::move(shape), kept->data(), owner);
}
