#include "attributes.h"

#include <string>
#include <type_traits>
#include <vector>

#include <pybind11/stl.h>

#include <vxgrid/processing/grid_values.h>

#include "arrays.h"
#include "bindings.h"
#include "call.h"

using namespace VXCore;

namespace {

py::object to_python(const std::string& text) { return text_of(text); }
template <class T>
py::object to_python(const T& value) {
  return py::cast(value);
}
py::object to_python(const std::vector<std::string>& texts) {
  py::list list;
  for (const std::string& text : texts) list.append(text_of(text));
  return list;
}

template <class T>
T from_python(const py::handle& value) {
  return value.cast<T>();
}
template <>
std::string from_python(const py::handle& value) {
  return bytes_of(value, "attribute");
}
template <>
std::vector<std::string> from_python(const py::handle& value) {
  return bytes_of_all(value, "attribute");
}

// What an attribute can be.
struct Type {
  const void* id;
  py::object (*get)(const VXBaseData& data);
  void (*set)(VXBase& object, const char* name, const py::handle& value);
};

template <class T>
Type type_row() {
  return {VXGetDataType<T>(),
          [](const VXBaseData& data) { return to_python(static_cast<const VXBaseDataT<T>&>(data).value); },
          [](VXBase& object, const char* name, const py::handle& value) {
            object.SetData<T>(name, from_python<T>(value));
          }};
}

const std::vector<Type>& types() {
  static const auto* const all = new std::vector<Type>{
      type_row<bool>(),
      type_row<int>(),
      type_row<unsigned int>(),
      type_row<float>(),
      type_row<double>(),
      type_row<std::string>(),
      type_row<std::vector<bool>>(),
      type_row<std::vector<int>>(),
      type_row<std::vector<unsigned int>>(),
      type_row<std::vector<float>>(),
      type_row<std::vector<double>>(),
      type_row<std::vector<std::string>>(),
  };
  return *all;
}

const Type* type_of(const VXBaseData& data) {
  for (const Type& type : types())
    if (type.id == data.GetDataType()) return &type;
  return nullptr;
}

std::vector<VXBase*> objects(const Attributes& attributes) {
  if (!attributes.second) return {attributes.object};
  return {attributes.object, attributes.second};
}

const VXBaseData* find(const Attributes& attributes, const std::string& name) {
  for (const VXBase* const object : objects(attributes)) {
    const VXBaseImpl* const all = object->GetBaseImpl();
    const VXBaseData* const data = all ? all->FindData(VXGetTag(name)) : nullptr;
    if (data && type_of(*data)) return data;
  }
  return nullptr;
}

// The type in which a value is stored first, by what it is, or, of a list, by what its items are.
template <class T>
const Type* row_of() {
  for (const Type& type : types())
    if (type.id == VXGetDataType<T>()) return &type;
  return nullptr;
}

template <template <class> class Holder>
const Type* type_for(const py::handle& value) {
  if (PyBool_Check(value.ptr())) return row_of<typename Holder<bool>::type>();
  if (PyLong_Check(value.ptr())) return row_of<typename Holder<int>::type>();
  if (PyFloat_Check(value.ptr())) return row_of<typename Holder<double>::type>();
  if (PyUnicode_Check(value.ptr())) return row_of<typename Holder<std::string>::type>();
  return nullptr;
}

template <class T>
struct One {
  using type = T;
};
template <class T>
struct Many {
  using type = std::vector<T>;
};

const Type* type_for_new(const py::handle& value) {
  if (const Type* const type = type_for<One>(value)) return type;
  if (!py::isinstance<py::sequence>(value)) return nullptr;
  const auto list = py::reinterpret_borrow<py::sequence>(value);
  if (list.size() == 0) return row_of<std::vector<double>>();
  const py::object first = list[0];
  if (PyLong_Check(first.ptr()) && !PyBool_Check(first.ptr()))  // [1, 2.5] has numbers of one kind, too
    for (const py::handle each : list)
      if (PyFloat_Check(each.ptr())) return row_of<std::vector<double>>();
  return type_for<Many>(first);
}

// Those that the library looks at in single precision.
const Type* type_for_known(const std::string& name) {
  for (const char* const known : {AMIN, AMAX, AMEAN, ARMS, SIGMA})
    if (name == known) return row_of<float>();
  return nullptr;
}

// NumPy's numbers and arrays as Python's own.
py::object plain(const py::object& value) {
  return py::hasattr(value, "tolist") ? value.attr("tolist")() : value;
}

void set(Attributes& attributes, const py::str& key, const py::object& given) {
  const std::string name = bytes_of(key, "attribute");
  const py::object value = plain(given);
  const VXBaseData* const data = find(attributes, name);
  const Type* const known = data ? type_of(*data) : type_for_known(name);
  const Type* const type = known ? known : type_for_new(value);
  try {
    if (!type) throw py::type_error("");
    type->set(*attributes.object, name.c_str(), value);
    if (VXBase* const second = attributes.second) {
      const VXBaseData* const twin =
          second->GetBaseImpl() ? second->GetBaseImpl()->FindData(VXGetTag(name)) : nullptr;
      if (twin && type_of(*twin) != type) second->DeleteData(name);
      type->set(*second, name.c_str(), value);
    }
    return;
  } catch (const py::cast_error&) {
  } catch (const py::type_error&) {
  }
  throw py::type_error(
      "attribute " + shown(key) + ": " +
      (data ? std::string("a value of its type (it is ") + Py_TYPE(type->get(*data).ptr())->tp_name + " now)"
            : std::string(known ? "a number"
                                : "a bool, an int of 32 bits, a float, a str or a list of one of these")) +
      " was wanted, " + shown(given) + " came");
}

py::list keys(const Attributes& attributes) {
  py::list names;
  for (const VXBase* const object : objects(attributes))
    if (const VXBaseImpl* const all = object->GetBaseImpl())
      for (const auto& data : all->GetAll())
        if (type_of(*data)) {
          const py::str name = text_of(VXGetTag(data->GetTag()));
          if (!names.contains(name)) names.append(name);
        }
  return names;
}

const VXBaseData& at(const Attributes& attributes, const py::str& name) {
  const std::string bytes = bytes_of(name, "attribute");
  if (const VXBaseData* const data = find(attributes, bytes)) return *data;
  throw py::key_error(bytes);
}

py::object get(const Attributes& attributes, const py::str& name) {
  const VXBaseData& data = at(attributes, name);
  return type_of(data)->get(data);
}

}  // namespace

void bind_attributes(py::module_& module) {
  py::class_<Attributes> type(
      module, "Attributes",
      "What an object carries beside its values: a mapping of str to bool, int, float, str or a "
      "list of one of these.\n\nAn attribute keeps the type that it has; a new float is stored in "
      "double precision.");
  type.def("__len__", [](const Attributes& a) { return keys(a).size(); })
      .def("__iter__", [](const Attributes& a) { return py::iter(keys(a)); })
      .def("__contains__",
           [](const Attributes& a, const py::object& name) {
             return PyUnicode_Check(name.ptr()) && find(a, bytes_of(name, "attribute"));
           })
      .def("__getitem__", &get)
      .def("__setitem__", &set)
      .def("__delitem__",
           [](Attributes& a, const py::str& name) {
             at(a, name);
             for (VXBase* const object : objects(a)) object->DeleteData(bytes_of(name, "attribute"));
           })
      .def("__repr__", [](const py::object& self) {
        return py::str("Attributes({})").format(py::module_::import("builtins").attr("dict")(self));
      });

  make_mutable_mapping(type);
}

void make_mutable_mapping(const py::object& type) {
  const py::object base = py::module_::import("collections.abc").attr("MutableMapping");
  for (const char* name : {"get", "keys", "items", "values", "pop", "_MutableMapping__marker", "popitem",
                           "clear", "update", "setdefault", "__eq__"})
    type.attr(name) = base.attr(name);
  type.attr("__hash__") = py::none();
  base.attr("register")(type);
}
