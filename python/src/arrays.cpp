#include "arrays.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

namespace {

std::string shape_text(const py::ssize_t* shape, py::ssize_t count) {
  std::string text = "(";
  for (py::ssize_t i = 0; i < count; ++i) {
    if (i) text += ", ";
    text += shape[i] < 0 ? "n" : std::to_string(shape[i]);
  }
  return text + (count == 1 ? ",)" : ")");
}

bool are_equal(const py::array& a, const py::array& b) {
  return a.attr("__eq__")(b).attr("all")().cast<bool>();
}

}  // namespace

template <class Array>
Array numbers(const py::handle& object, const char* name) {
  if (Array::check_(object)) return py::reinterpret_borrow<Array>(object);  // the usual case, made quick
  // A conversion that fails leaves NumPy's own exception, which does not name the argument.
  constexpr bool whole = std::is_integral_v<typename Array::value_type>;
  const py::array any = py::array::ensure(object);
  if (any && any.size() == 0) return Array(any);  // no numbers have no type: [] is an array of float64
  if (!any || !std::strchr(whole ? "biu" : "biuf", any.dtype().kind())) {
    PyErr_Clear();
    throw py::type_error(
        std::string(name) + ": an array of " + (whole ? "whole numbers" : "numbers") + " was wanted, " +
        (any ? "one of " + std::string(py::str(any.dtype())) : std::string(Py_TYPE(object.ptr())->tp_name)) +
        " came");
  }
  const Array array(any);
  // A whole number that does not fit would come out as another one.
  if (whole && any.itemsize() >= array.itemsize() && !are_equal(any, array))
    throw py::value_error(std::string(name) + ": whole numbers of " + std::to_string(8 * array.itemsize()) +
                          " bits were wanted, larger ones came");
  return array;
}

template <class Array>
Array numbers(const py::handle& object, const char* name, std::initializer_list<py::ssize_t> shape) {
  Array array = numbers<Array>(object, name);
  const auto fits = [](py::ssize_t is, py::ssize_t wanted) { return wanted < 0 || is == wanted; };
  if (array.ndim() != static_cast<py::ssize_t>(shape.size()) ||
      !std::equal(array.shape(), array.shape() + array.ndim(), shape.begin(), fits))
    throw py::value_error(std::string(name) + ": an array of shape " +
                          shape_text(shape.begin(), static_cast<py::ssize_t>(shape.size())) +
                          " was wanted, " + shape_text(array.shape(), array.ndim()) + " came");
  return array;
}

template <class Array>
Array numbers_for(const py::handle& object, const char* name, py::ssize_t n) {
  Array values = numbers<Array>(object, name);
  if (values.ndim() > 0) return numbers<Array>(values, name, {n});
  Array all(n);
  std::fill_n(all.mutable_data(), n, values.data()[0]);
  return all;
}

template Floats numbers(const py::handle&, const char*);
template Doubles numbers(const py::handle&, const char*);
template Ints numbers(const py::handle&, const char*);
template Floats numbers(const py::handle&, const char*, std::initializer_list<py::ssize_t>);
template Doubles numbers(const py::handle&, const char*, std::initializer_list<py::ssize_t>);
template Ints numbers(const py::handle&, const char*, std::initializer_list<py::ssize_t>);
template Floats numbers_for(const py::handle&, const char*, py::ssize_t);
template Doubles numbers_for(const py::handle&, const char*, py::ssize_t);
template Ints numbers_for(const py::handle&, const char*, py::ssize_t);

template <class Array>
Array points_of(const py::handle& object, const char* name) {
  Array points = numbers<Array>(object, name);
  if (points.ndim() > 0 && points.shape(points.ndim() - 1) == 3) return points;
  throw py::value_error(std::string(name) + ": positions of shape (n, 3) were wanted, " +
                        shape_text(points.shape(), points.ndim()) + " came");
}

template Floats points_of(const py::handle&, const char*);
template Doubles points_of(const py::handle&, const char*);

Floats finite_points(const py::handle& object, const char* name) {
  Floats points = numbers<Floats>(object, name, {-1, 3});
  const float* const all = points.data();
  const float* const end = all + points.size();
  const float* const other = [&] {
    const py::gil_scoped_release release;
    return std::find_if_not(all, end, [](float x) { return std::isfinite(x); });
  }();
  if (other == end) return points;
  throw py::value_error(std::string(name) + ": finite numbers were wanted, row " +
                        std::to_string((other - all) / 3) + " has " + std::to_string(*other));
}

py::array read_only(py::array array) {
  array.attr("setflags")(py::arg("write") = false);
  return array;
}

py::str text_of(std::string_view bytes) {
  PyObject* const text =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<py::ssize_t>(bytes.size()), "surrogateescape");
  if (!text) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

std::string bytes_of(const py::handle& text, const char* name) {
  if (!PyUnicode_Check(text.ptr()))
    throw py::type_error(std::string(name) + ": str was wanted, " + Py_TYPE(text.ptr())->tp_name + " came");
  const auto bytes =
      py::reinterpret_steal<py::bytes>(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
  if (!bytes) throw py::error_already_set();
  std::string all = bytes;
  if (all.find('\0') != all.npos)
    throw py::value_error(std::string(name) + ": text without zero characters was wanted, " + shown(text) +
                          " came");
  return all;
}

std::string shown(const py::handle& object) { return py::str(py::repr(object)[py::slice(0, 80, 1)]); }

std::vector<std::string> bytes_of_all(const py::handle& texts, const char* name) {
  if (PyUnicode_Check(texts.ptr()) || !py::isinstance<py::iterable>(texts))
    throw py::type_error(std::string(name) + ": several str were wanted, " + Py_TYPE(texts.ptr())->tp_name +
                         " came");
  std::vector<std::string> all;
  for (const py::handle text : texts) all.push_back(bytes_of(text, name));
  return all;
}
