#include "reflections.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <limits>
#include <utility>
#include <vector>

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/residue.h>
#include <vxgrid/reflection/fft_backend.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/reflection_io.h>
#include <vxgrid/reflection/structure_factors.h>
#include <vxgrid/reflection/column_block.inl>

#include "arrays.h"
#include "attributes.h"
#include "bindings.h"
#include "grids.h"
#include "records.h"

using namespace VXCore;
using VXXtal::VXSymmetry;

using SetPtr = std::shared_ptr<const VXReflection>;

VXReflection& Reflections::own() {
  while (set_.use_count() > 1) {
    const std::shared_ptr<VXReflection> seen = set_;
    std::shared_ptr<VXReflection> copy = [&] {
      const py::gil_scoped_release release;
      return std::make_shared<VXReflection>(*seen);
    }();
    if (set_ == seen) set_ = std::move(copy);
  }
  return *set_;
}

namespace {

using Set = VXReflectionImpl;

// The columns beside the indices and the coefficients, in the order in which they are listed.
struct Column {
  const char* name;
  unsigned int code;
  float* Set::*reals;  // null for a column of ints
  int* Set::*ints;
};
// clang-format off
constexpr Column kColumns[] = {
  {"fobs",       VXReflectionColumn::Fobs,      &Set::fobs,       nullptr},
  {"sigma",      VXReflectionColumn::Sigma,     &Set::sigma,      nullptr},
  {"phase",      VXReflectionColumn::Phase,     &Set::phase,      nullptr},
  {"fom",        VXReflectionColumn::FOM,       &Set::fom,        nullptr},
  {"fcalc",      VXReflectionColumn::Fcalc,     &Set::fcalc,      nullptr},
  {"phase_calc", VXReflectionColumn::PhaseCalc, &Set::phase_calc, nullptr},
  {"fwt",        VXReflectionColumn::Fwt,       &Set::fwt,        nullptr},
  {"phiwt",      VXReflectionColumn::Phiwt,     &Set::phiwt,      nullptr},
  {"fdelwt",     VXReflectionColumn::Fdelwt,    &Set::fdelwt,     nullptr},
  {"phidelwt",   VXReflectionColumn::Phidelwt,  &Set::phidelwt,   nullptr},
  {"rfree",      VXReflectionColumn::RFree,     nullptr,          &Set::rfree},
  {"centric",    VXReflectionColumn::Centric,   nullptr,          &Set::centric},
  {"stolsq",     VXReflectionColumn::Stolsq,    &Set::stolsq,     nullptr},
};
// clang-format on

bool is_in(const Column& column, const Set& set) {
  return column.reals ? set.*column.reals != nullptr : set.*column.ints != nullptr;
}

const Column* find_column(const std::string& name) {
  const auto* const found = std::find_if(std::begin(kColumns), std::end(kColumns),
                                         [&](const Column& column) { return name == column.name; });
  return found == std::end(kColumns) ? nullptr : found;
}

const Column& column_of(const std::string& name) {
  if (const Column* const column = find_column(name)) return *column;
  std::string names;
  for (const Column& column : kColumns) names += std::string(names.empty() ? "" : ", ") + column.name;
  throw py::value_error("columns: one of " + names + " was wanted, " + name + " came");
}

std::vector<std::string> columns_in(const Set& set) {
  std::vector<std::string> names;
  for (const Column& column : kColumns)
    if (is_in(column, set)) names.emplace_back(column.name);
  return names;
}

bool has_indices(const Set& set) { return set.h && set.k && set.l; }

py::capsule kept_alive(SetPtr set) {
  return py::capsule(new SetPtr(std::move(set)), [](void* p) { delete static_cast<SetPtr*>(p); });
}

template <class T>
py::array read_only(const T* values, std::size_t count, SetPtr set) {
  py::array_t<T> view =
      view_of(const_cast<T*>(values), {static_cast<py::ssize_t>(count)}, kept_alive(std::move(set)));
  view.attr("setflags")(py::arg("write") = false);
  return std::move(view);
}

template <class T>
py::array read_only(std::vector<T>&& values, std::vector<py::ssize_t> shape) {
  py::array_t<T> array = array_of(std::move(values), std::move(shape));
  array.attr("setflags")(py::arg("write") = false);
  return std::move(array);
}

void need_memory(bool done) {
  if (!done) throw std::bad_alloc();
}

py::ssize_t rows_of(const VXReflection& set) { return static_cast<py::ssize_t>(set.GetCount()); }

/// Columns of a set made apart, without the GIL, change places with those of a set that others may look at.
template <class... Field>
void take_columns(Reflections& r, VXReflection& from, Field... field) {
  Set& to = *r.own().GetImpl();
  (std::swap(to.*field, from.GetImpl()->*field), ...);
}

/// The columns of an array (n, width).
template <class T, std::size_t width>
std::array<std::vector<T>, width> columns_of(const T* rows, std::size_t count) {
  std::array<std::vector<T>, width> columns;
  for (std::size_t c = 0; c < width; ++c) {
    columns[c].resize(count + 1);
    for (std::size_t i = 0; i < count; ++i) columns[c][i] = rows[width * i + c];
  }
  return columns;
}

void set_hkl(Reflections& r, const Ints& hkl) {
  VXReflection made;
  need_memory(compute([&, rows = hkl.data(), count = static_cast<unsigned int>(hkl.shape(0))] {
    const auto index = columns_of<int, 3>(rows, count);
    made.SetCount(count);
    return made.SetHKL(index[0].data(), index[1].data(), index[2].data(), count);
  }));
  take_columns(r, made, &Set::h, &Set::k, &Set::l);
}

py::array get_hkl(const Reflections& r) {
  const SetPtr set = r.set();
  const std::size_t count = set->GetCount();
  std::vector<int> hkl = compute([&] {
    std::vector<int> all(3 * count);
    const Set& data = *set->GetImpl();
    if (has_indices(data))
      for (std::size_t i = 0; i < count; ++i) {
        all[3 * i] = data.h[i];
        all[3 * i + 1] = data.k[i];
        all[3 * i + 2] = data.l[i];
      }
    return all;
  });
  return read_only(std::move(hkl), {rows_of(*set), 3});
}

py::object get_column(const SetPtr& set, const Column& column) {
  const Set& data = *set->GetImpl();
  if (column.reals) return read_only(data.*column.reals, data.nref, set);
  return read_only(data.*column.ints, data.nref, set);
}

template <class Array, class Field>
void put_column(Reflections& r, const Column& column, Field field, const py::handle& given) {
  const Array array = numbers<Array>(given, column.name, {rows_of(*r.set())});
  VXReflection made;
  need_memory(compute([&, values = array.data(), count = static_cast<unsigned int>(array.size())] {
    made.SetCount(count);
    return made.SetColumn(column.code, values, count);
  }));
  take_columns(r, made, field);
}

void set_column(Reflections& r, const std::string& name, const py::handle& values) {
  const Column& column = column_of(name);
  if (column.reals)
    put_column<Floats>(r, column, column.reals, values);
  else
    put_column<Ints>(r, column, column.ints, values);
}

void delete_column(Reflections& r, const std::string& name) {
  const Column* const column = find_column(name);
  if (!column || !is_in(*column, *r.set()->GetImpl())) throw py::key_error(name);
  VXReflection& set = r.own();
  if (column->reals)
    set.SetColumn(column->code, static_cast<const float*>(nullptr), set.GetCount());
  else
    set.SetColumn(column->code, static_cast<const int*>(nullptr), set.GetCount());
}

py::object get_abcd(const Reflections& r) {
  const SetPtr set = r.set();
  const Set& data = *set->GetImpl();
  const float* const columns[] = {data.hla, data.hlb, data.hlc, data.hld};
  if (std::find(columns, columns + 4, nullptr) != columns + 4) return py::none();
  std::vector<float> all = compute([&] {
    std::vector<float> rows(4ul * data.nref);
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = columns[i % 4][i / 4];
    return rows;
  });
  return read_only(std::move(all), {rows_of(*set), 4});
}

void set_abcd(Reflections& r, const py::object& given) {
  const py::ssize_t rows = rows_of(*r.set());
  if (given.is_none()) {
    r.own().SetABCD(nullptr, nullptr, nullptr, nullptr, static_cast<unsigned int>(rows));
    return;
  }
  const Floats all = numbers<Floats>(given, "abcd", {rows, 4});
  VXReflection made;
  need_memory(compute([&, values = all.data(), count = static_cast<unsigned int>(rows)] {
    const auto columns = columns_of<float, 4>(values, count);
    made.SetCount(count);
    return made.SetABCD(columns[0].data(), columns[1].data(), columns[2].data(), columns[3].data(), count);
  }));
  take_columns(r, made, &Set::hla, &Set::hlb, &Set::hlc, &Set::hld);
}

std::unique_ptr<Reflections> new_reflections(const py::object& given, const py::object& columns,
                                             const VXSymmetry* symmetry, const py::str& title) {
  const Ints hkl = numbers<Ints>(given, "hkl", {-1, 3});
  if (hkl.shape(0) >= std::numeric_limits<unsigned int>::max())
    throw py::value_error("hkl: a set holds at most 4294967294 reflections");
  auto set = std::make_shared<VXReflection>();
  set->SetCount(static_cast<unsigned int>(hkl.shape(0)));
  auto made = std::make_unique<Reflections>(std::move(set));
  set_hkl(*made, hkl);
  if (symmetry) made->own().SetSymmetry(*symmetry);
  made->own().SetTitle(bytes_of(title, "title"));
  if (!columns.is_none())
    for (const py::handle item : py::dict(columns).attr("items")()) {
      const auto pair = py::reinterpret_borrow<py::tuple>(item);
      if (!py::isinstance<py::str>(pair[0])) throw py::type_error("columns: names (str) were wanted as keys");
      set_column(*made, pair[0].cast<std::string>(), pair[1]);
    }
  return made;
}

/// A set of its own that has the attributes of `like`.
std::unique_ptr<Reflections> like(const Reflections& like, std::shared_ptr<VXReflection> set) {
  auto made = std::make_unique<Reflections>(std::move(set));
  VXCopyBaseData(made->attributes, like.attributes);
  return made;
}

// --- rows ---

std::shared_ptr<VXReflection> take_rows(const VXReflection& from, const std::int64_t* rows,
                                        std::size_t count) {
  auto set = std::make_shared<VXReflection>();
  Set& to = *set->GetImpl();
  to.title = from.GetTitle();
  to.symmetry = from.GetSymmetry();
  to.nref = static_cast<unsigned int>(count);
  for_each_column(to, *from.GetImpl(), [&](auto*& column, const auto* source) {
    if (!source) return;
    resize_column(column, count);
    need_memory(column);
    for (std::size_t i = 0; i < count; ++i) column[i] = source[rows[i]];
  });
  return set;
}

[[noreturn]] void throw_no_rows(const py::object& which) {
  throw py::type_error("reflections: a slice, a mask or a list of places was wanted, " + shown(which) +
                       " came");
}

std::unique_ptr<Reflections> rows_of_set(const Reflections& r, const py::object& which) {
  const SetPtr set = r.set();
  const py::module_ numpy = py::module_::import("numpy");
  const py::object all = numpy.attr("arange")(set->GetCount(), py::arg("dtype") = "int64");
  py::object places = which;
  if (!py::isinstance<py::slice>(which)) {
    const py::array given = numpy.attr("asarray")(which);
    if (given.ndim() != 1) throw_no_rows(which);
    places = given.size() == 0 ? given.attr("astype")("int64") : py::object(given);  // [] has no type
  }
  const py::object chosen = all[places];
  const auto rows = py::array_t<std::int64_t, py::array::c_style>::ensure(chosen);
  if (!rows || rows.ndim() != 1) throw_no_rows(which);
  const std::int64_t* const data = rows.data();
  const auto count = static_cast<std::size_t>(rows.size());
  if (count >= std::numeric_limits<unsigned int>::max())
    throw py::value_error("reflections: a set holds at most 4294967294 reflections");
  return like(r, compute([&] { return take_rows(*set, data, count); }));
}

std::unique_ptr<Reflections> sorted(const Reflections& r) {
  const SetPtr set = r.set();
  std::shared_ptr<VXReflection> made;
  run("a set without indices has no order", [&] {
    VXReflection indices;
    const Set& data = *set->GetImpl();
    if (!has_indices(data)) return false;
    indices.SetCount(data.nref);
    indices.SetHKL(data.h, data.k, data.l, data.nref);
    if (!indices.Sort()) return false;
    const std::uint32_t* const order = indices.GetImpl()->sort_index;
    const std::vector<std::int64_t> rows(order, order + data.nref);
    made = take_rows(*set, rows.data(), rows.size());
    return true;
  });
  return like(r, std::move(made));
}

std::unique_ptr<Reflections> expanded(const Reflections& r) {
  const SetPtr set = r.set();
  std::shared_ptr<VXReflection> made;
  run("a set without a space group or reflections cannot be expanded", [&] {
    made = std::make_shared<VXReflection>(*set);
    return made->Expand();
  });
  return like(r, std::move(made));
}

// --- numbers of a set ---

py::object resolution_range(const Reflections& r) {
  const auto low = r.attributes.GetData<double>("reslo"), high = r.attributes.GetData<double>("reshi");
  if (!(high > 0)) return py::none();
  return py::make_tuple(1 / std::sqrt(low), 1 / std::sqrt(high));
}

void set_resolution_range(Reflections& r, const std::array<double, 2>& range) {
  if (!(range[0] >= range[1] && range[1] > 0))
    throw py::value_error("resolution_range: (low, high) in Å with low >= high > 0 was wanted, (" +
                          std::to_string(range[0]) + ", " + std::to_string(range[1]) + ") came");
  r.attributes.SetRESO(1 / (range[0] * range[0]), 1 / (range[1] * range[1]));
}

/// The indices, the group and the cell of a set alone.
void copy_frame(VXReflection& to, const VXReflection& from) {
  const Set& data = *from.GetImpl();
  to.SetCount(data.nref);
  if (has_indices(data)) need_memory(to.SetHKL(data.h, data.k, data.l, data.nref));
  to.SetSymmetry(data.symmetry);
}

py::array_t<float> calculate_resolution(Reflections& r) {
  const SetPtr set = r.set();
  VXReflection frame;
  std::vector<float> d;
  float low = std::numeric_limits<float>::infinity(), high = 0;
  run("the set has no reflections, no space group or no valid cell", [&] {
    copy_frame(frame, *set);
    if (!frame.CalcResolution()) return false;
    const float* const stolsq = frame.GetImpl()->stolsq;
    d.resize(frame.GetCount());
    for (std::size_t i = 0; i < d.size(); ++i) {
      d[i] = static_cast<float>(0.5 / std::sqrt(double{stolsq[i]}));
      low = std::min(low, stolsq[i]);
      high = std::max(high, stolsq[i]);
    }
    return true;
  });
  take_columns(r, frame, &Set::stolsq);
  if (!(r.attributes.GetResolution() > 0)) r.attributes.SetRESO(4.0 * low, 4.0 * high);
  return array_of(std::move(d));
}

constexpr const char* kMapTypes[] = {"Fwt", "Fdelwt", "2Fo-Fc", "Fo-Fc",  "3Fo-2Fc",        "5Fo-3Fc",
                                     "Fo",  "Fc",     "Fo*Fo",  "Fo*FOM", "2Fo-Fc(SigmaA)", "Fo-Fc(SigmaA)"};

std::vector<std::string> map_types_of(const Reflections& r) {
  const VXMessageCapture unheard;
  const SetPtr set = r.set();
  std::vector<std::string> types;
  for (const char* type : kMapTypes)
    if (set->ValidateMaptype(static_cast<int>(VXMTZMapTypeFromString(type)))) types.emplace_back(type);
  return types;
}

/// The set; ValueError unless it has the columns of a map type.
SetPtr set_for(const Reflections& r, const std::string& type) {
  const SetPtr set = r.set();
  const VXMessageCapture unheard;
  if (set->ValidateMaptype(static_cast<int>(map_type_of(type)))) return set;
  std::string names;
  for (const std::string& name : columns_in(*set->GetImpl())) names += " " + name;
  throw py::value_error("map_type: " + type + " takes columns that are not there; there are" +
                        (names.empty() ? " none" : names));
}

py::tuple map_coefficients(const Reflections& r, const std::string& map_type) {
  const SetPtr set = set_for(r, map_type);
  const int type = static_cast<int>(map_type_of(map_type));
  std::vector<float> amplitudes, phases;
  compute([&] {
    amplitudes.resize(set->GetCount());
    phases.resize(set->GetCount());
    for (unsigned int i = 0; i < set->GetCount(); ++i) set->GetAmpPhase(amplitudes[i], phases[i], i, type);
  });
  return py::make_tuple(array_of(std::move(amplitudes)), array_of(std::move(phases)));
}

SkewGridPtr make_map(const Reflections& r, const std::string& map_type, bool expand) {
  const SetPtr set = set_for(r, map_type);
  const unsigned int type = map_type_of(map_type);
  auto grid = std::make_shared<VXSkewGrid>();
  run("a map takes reflections, a space group and a cell", [&] {
    bool made = false;
    if (expand) {
      VXReflection whole(*set);
      made = whole.Expand() && std::move(whole).MakeMap(*grid, type);
    } else {
      made = set->MakeMap(*grid, type);
    }
    // Every sample is a sum over all reflections: the first shows whether one of them is infinite.
    if (!made || std::isfinite(*values_of(*grid))) return made;
    VXThrow.Error("the map has infinite values");
    return false;
  });
  grid->SetData<double>("resolution", r.attributes.GetResolution());
  return grid;
}

unsigned int calculate_structure_factors(Reflections& r, const VXGraphMol& model, const std::string& method,
                                         const py::object& progress) {
  if (method != "exact" && method != "table")
    throw py::value_error("method: \"exact\" or \"table\" was wanted, \"" + method + "\" came");
  const SetPtr set = r.set();
  VXReflection frame;
  unsigned int skipped = 0;
  PythonProgress tracer(progress);
  const auto work = [&] {
    copy_frame(frame, *set);
    if (method == "exact") return VXStructureFactors(frame, model, skipped, tracer);
    for (const VXAtomBase& atom : VXIter<VXAtomBase>(model.GetAtoms())) skipped += !VXHasResidue(&atom);
    if (const float* const stolsq = set->GetImpl()->stolsq)
      frame.SetColumn(VXReflectionColumn::Stolsq, stolsq, frame.GetCount());
    return tracer.Progress(0, 1) && frame.SFCalc(model);
  };
  try {
    run("structure factors take reflections, a space group, a cell and a model with residue data", work);
  } catch (const LibraryError&) {
    tracer.rethrow();  // what progress raised stopped it
    throw;
  }
  tracer.finish();
  take_columns(r, frame, &Set::fcalc, &Set::phase_calc, &Set::phase);
  return skipped;
}

// --- files and bytes ---

/// The name without a final ".gz", by which the format goes.
std::string plain_name(const std::string& file) {
  return file.size() > 3 && file.compare(file.size() - 3, 3, ".gz") == 0 ? file.substr(0, file.size() - 3)
                                                                         : file;
}

std::string extension_of(const std::string& file) {
  std::string extension = std::filesystem::path(plain_name(file)).extension().string();
  for (char& c : extension) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return extension;
}

/// Tells when the amplitudes of a CIF are its standard uncertainties: VXReadReflectionCIF says why.
void warn_of_sigmas(const VXReflection& set) {
  const Set& data = *set.GetImpl();
  if (data.fobs && data.sigma && std::equal(data.fobs, data.fobs + data.nref, data.sigma))
    VXThrow.Warning(
        "the amplitudes read are the sigmas: the last column whose name holds F_meas counts, and in this "
        "file "
        "it is F_meas_sigma");
}

std::unique_ptr<Reflections> read_reflections(const std::filesystem::path& path, const py::object& labels) {
  const std::string file = path.string(), extension = extension_of(file);
  if (extension == ".mtz") return std::make_unique<Reflections>(read_mtz_reflections(file, labels));
  constexpr const char* kRead[] = {".cif", ".phs", ".fob", ".cv", ".hkl", ".vxx"};
  if (std::find(std::begin(kRead), std::end(kRead), extension) == std::end(kRead))
    throw py::value_error(file +
                          ": the format goes by the extension, .mtz, .cif, .phs, .fob, .cv, .hkl or .vxx "
                          "(and .gz behind it)");
  if (!labels.is_none()) throw py::value_error("labels: they go with an MTZ file, and " + file + " is none");

  const auto set = std::make_shared<VXReflection>();
  run_on(file, "its reflections cannot be read", [&] {
    VXHost::vxifstream in;
    if (!in.open(file)) {
      VXThrow.Error("the file cannot be opened");
      return false;
    }
    if (!VXReadReflection(in, plain_name(file), *set)) {
      if (extension == ".cif")
        VXThrow.Error("there are no reflections with indices, F_meas_sigma and F_meas or F_squared_meas");
      return false;
    }
    if (!is_undamaged(in)) return false;
    if (set->GetCount() == 0) VXThrow.Error("there are no reflections in this file");
    if (extension == ".cif") warn_of_sigmas(*set);
    return set->GetCount() != 0;
  });
  return std::make_unique<Reflections>(set);
}

void write_reflections(const std::filesystem::path& path, const Reflections& r) {
  const std::string file = path.string(), extension = extension_of(file);
  constexpr const char* kWritten[] = {".phs", ".fob", ".cv", ".vxx"};
  if (plain_name(file) != file ||
      std::find(std::begin(kWritten), std::end(kWritten), extension) == std::end(kWritten))
    throw py::value_error(file + ": reflections are written as .phs, .fob, .cv or .vxx");
  const SetPtr set = r.set();
  auto& writable = const_cast<VXReflection&>(*set);  // the writers look at it alone
  run_on(file, "the file cannot be written", [&] {
    if (!VXIsWritableReflection(file, writable)) {
      VXThrow.Error(set->GetCount() == 0 ? "there are no reflections"
                                         : "this format takes the columns fobs, phase and fom");
      return false;
    }
    return VXWriteReflection(file, writable);
  });
}

py::bytes record_of(const Reflections& r) {
  const SetPtr set = r.set();
  VXReflection whole = compute([&] { return VXReflection(*set); });
  VXCopyBaseData(whole, r.attributes);
  return to_bytes(whole);
}

std::unique_ptr<Reflections> of_record(const py::bytes& data) {
  const auto set = std::make_shared<VXReflection>();
  from_bytes(data, *set);
  return std::make_unique<Reflections>(set);
}

// --- what is shown ---

std::string join(const std::vector<std::string>& words, const char* between) {
  std::string all;
  for (const std::string& word : words) all += (all.empty() ? "" : between) + word;
  return all;
}

std::string summary(const Reflections& r) {
  const SetPtr set = r.set();
  std::vector<std::string> parts = {std::to_string(set->GetCount()) + " reflections"};
  if (const VXSymmetry& symmetry = set->GetSymmetry()) {
    const VXXtal::VXUnitCell& c = symmetry.cell();
    parts.push_back(symmetry.GetName());
    parts.push_back(py::str("cell {:.7g} {:.7g} {:.7g} {:.7g} {:.7g} {:.7g}")
                        .format(c.a, c.b, c.c, c.alpha, c.beta, c.gamma));
  }
  if (const py::object range = resolution_range(r); !range.is_none())
    parts.push_back(py::str("{:.2f} - {:.2f} Å").format(*range));
  std::vector<std::string> columns = columns_in(*set->GetImpl());
  if (set->GetImpl()->hla) columns.emplace_back("abcd");
  if (!columns.empty()) parts.push_back("columns " + join(columns, " "));
  return join(parts, ", ");
}

std::string html(const Reflections& r) {
  const SetPtr set = r.set();
  const Set& data = *set->GetImpl();
  const py::object escape = py::module_::import("html").attr("escape");
  const auto cells = [](const char* tag, const std::vector<std::string>& texts) {
    std::string row = "<tr>";
    for (const std::string& text : texts) row += std::string("<") + tag + ">" + text + "</" + tag + ">";
    return row + "</tr>";
  };
  std::vector<std::string> heads = columns_in(data);
  heads.insert(heads.begin(), {"h", "k", "l"});
  std::string page = "<p>" + std::string(py::str(escape(text_of(data.title)))) + "</p><p>" +
                     std::string(py::str(escape(summary(r)))) + "</p><table>" + cells("th", heads);
  constexpr unsigned int kAtEachEnd = 5;
  for (unsigned int i = 0; i < data.nref && has_indices(data); ++i) {
    if (data.nref > 2 * kAtEachEnd && i == kAtEachEnd) {
      page += cells("td", std::vector<std::string>(heads.size(), "…"));
      i = data.nref - kAtEachEnd;
    }
    std::vector<std::string> row;
    for (const int index : {data.h[i], data.k[i], data.l[i]}) row.push_back(std::to_string(index));
    for (const Column& column : kColumns)
      if (is_in(column, data))
        row.push_back(column.reals ? std::string(py::str("{:.6g}").format((data.*column.reals)[i]))
                                   : std::to_string((data.*column.ints)[i]));
    page += cells("td", row);
  }
  return page + "</table>";
}

/// The columns of a set as a mapping.
struct Columns {
  Reflections* reflections;
  py::object owner;  // keeps it alive
};

py::object get_item(const Columns& c, const std::string& name) {
  const SetPtr set = c.reflections->set();
  const Column* const column = find_column(name);
  if (!column || !is_in(*column, *set->GetImpl())) throw py::key_error(name);
  return get_column(set, *column);
}

void bind_columns(py::module_& module) {
  py::class_<Columns> type(
      module, "ReflectionColumns",
      "The columns of Reflections by name: a mapping of str to arrays, one value a reflection.\n\n"
      "fobs and sigma (observed amplitude and its standard uncertainty), phase (observed or best, degrees), "
      "fom (figure\n"
      "of merit), fcalc and phase_calc (of a model), fwt and phiwt, fdelwt and phidelwt (coefficients of the "
      "map and of the\n"
      "difference map), stolsq ((sin theta / lambda)^2 in 1/Å²), all float32; rfree and centric (flags), "
      "int32.\n\n"
      "Arrays are read-only views of the set as it is at that moment. To change a column, assign a whole "
      "one.");
  type.def("__len__", [](const Columns& c) { return columns_in(*c.reflections->set()->GetImpl()).size(); })
      .def("__iter__",
           [](const Columns& c) { return py::iter(py::cast(columns_in(*c.reflections->set()->GetImpl()))); })
      .def("__contains__",
           [](const Columns& c, const std::string& name) {
             const Column* const column = find_column(name);
             return column && is_in(*column, *c.reflections->set()->GetImpl());
           })
      .def("__contains__", [](const Columns&, const py::object&) { return false; })
      .def("__getitem__", &get_item)
      .def("__setitem__", [](Columns& c, const std::string& name,
                             const py::object& values) { set_column(*c.reflections, name, values); })
      .def("__delitem__", [](Columns& c, const std::string& name) { delete_column(*c.reflections, name); })
      .def("__repr__", [](const Columns& c) {
        return "ReflectionColumns(" + join(columns_in(*c.reflections->set()->GetImpl()), ", ") + ")";
      });
  make_mutable_mapping(type);
}

void bind_files(py::module_& module) {
  module.def("read_reflections", &read_reflections, py::arg("path"), py::kw_only(),
             py::arg("labels") = py::none(),
             "Reads reflections; the format goes by the extension: .mtz, .cif, .phs, .fob, .cv, .hkl, .vxx, "
             "and .gz behind it.\n\n"
             "labels is for MTZ files and maps columns (with hla to hld) to labels, as in {\"fobs\": "
             "\"FGMP18\"}; the other\n"
             "columns are found by the labels that refinement programs use. Free flags of an MTZ file are "
             "not read: MtzFile\n"
             "has them. Of a CIF the last column whose name holds F_meas is fobs, and a warning on the "
             "logger tells when\n"
             "that is the one of sigmas.");
  module.def("write_reflections", &write_reflections, py::arg("path"), py::arg("reflections"),
             "Writes reflections; the format goes by the extension: .phs (takes fobs, phase and fom), .fob "
             "and .cv, or .vxx,\n"
             "which alone keeps everything but the attributes. Values that are no numbers go into text as "
             "such: write\n"
             "reflections[numpy.isfinite(...)] instead.");
}

void bind_backend(py::module_& module) {
  VXSetFFTBackend(VXFFTBackend::PocketFFT);
  module.def(
      "fft_backend", [] { return VXGetFFTBackend() == VXFFTBackend::FFTW2 ? "fftw2" : "pocketfft"; },
      "The library that transforms reflections into maps: \"pocketfft\" unless another was chosen.");
  module.def(
      "set_fft_backend",
      [](const std::string& name) {
        if (name != "fftw2" && name != "pocketfft")
          throw py::value_error("name: \"pocketfft\" or \"fftw2\" was wanted, \"" + name + "\" came");
        VXSetFFTBackend(name == "fftw2" ? VXFFTBackend::FFTW2 : VXFFTBackend::PocketFFT);
      },
      py::arg("name"),
      "Chooses \"pocketfft\", several times as fast, or \"fftw2\" for all maps made from now on, in every "
      "thread.\n\nTheir maps agree but for the last bit of one value in a million.");
}

}  // namespace

bool is_undamaged(VXHost::vxistream& in) {
  while (in.refill()) in.seek(in.tell() + in.max_bytes_left());
  if (in.damaged()) VXThrow.Error("what was compressed is cut short or damaged");
  return !in.damaged();
}

unsigned int map_type_of(const std::string& name) {
  const unsigned int type = VXMTZMapTypeFromString(name);
  if (type != VXMTZMapType::None) return type;
  throw py::value_error("map_type: one of " + join({std::begin(kMapTypes), std::end(kMapTypes)}, ", ") +
                        " was wanted, " + name + " came");
}

void bind_reflections(py::module_& module) {
  bind_columns(module);
  py::class_<Reflections>(module, "Reflections",
                          "Miller indices with columns of values, a space group in a cell, and a title.\n\n"
                          "len() counts reflections, and reflections[mask] (or a slice, or a list of places) "
                          "is a set of those.")
      .def(py::init(&new_reflections), py::arg("hkl"), py::arg("columns") = py::none(), py::kw_only(),
           py::arg("symmetry") = py::none(), py::arg("title") = "",
           "A set of Miller indices, an array (n, 3) of whole numbers, and of columns, a mapping of names to "
           "arrays (n,):\n"
           "see ReflectionColumns for the names.")
      .def("__len__", [](const Reflections& r) { return r.set()->GetCount(); })
      .def("__getitem__", &rows_of_set, py::arg("which"))
      .def_property(
          "hkl", &get_hkl,
          [](Reflections& r, const py::object& hkl) {
            set_hkl(r, numbers<Ints>(hkl, "hkl", {rows_of(*r.set()), 3}));
          },
          "Miller indices, a read-only int32 array (n, 3).")
      .def_property_readonly(
          "columns",
          [](const py::object& self) {
            return Columns{&self.cast<Reflections&>(), self};
          },
          "The columns by name, as a mapping to read, assign and delete.")
      .def_property("abcd", &get_abcd, &set_abcd,
                    "Hendrickson-Lattman coefficients, a read-only float32 array (n, 4), or None.")
      .def_property(
          "symmetry",
          [](const Reflections& r) -> py::object {
            const VXSymmetry& symmetry = r.set()->GetSymmetry();
            return symmetry ? py::cast(symmetry) : py::object(py::none());
          },
          [](Reflections& r, const VXSymmetry* symmetry) {
            r.own().SetSymmetry(symmetry ? *symmetry : VXSymmetry());
          },
          "The space group in its cell, or None.")
      .def_property(
          "title", [](const Reflections& r) { return text_of(r.set()->GetTitle()); },
          [](Reflections& r, const py::str& title) { r.own().SetTitle(bytes_of(title, "title")); }, "Text.")
      .def_property(
          "resolution_range", &resolution_range, &set_resolution_range,
          "Resolution limits (low, high) in Å, low being the larger number; None where they are not "
          "known.")
      .def_property_readonly(
          "attributes",
          [](const py::object& self) {
            return Attributes{&self.cast<Reflections&>().attributes, self};
          },
          "What the set carries beside its columns, as a mapping.")
      .def_property_readonly("map_types", &map_types_of,
                             "The map types for which the columns are there: see make_map.")
      .def("calculate_resolution", &calculate_resolution,
           "The spacing d of each reflection in Å, a float32 array (n,).\n\nFills column stolsq, 1 / (4 d²), "
           "and resolution_range where that is None.")
      .def("sorted", &sorted, "A set with the same reflections in the order of h, then k, then l.")
      .def("expanded", &expanded,
           "A set with all symmetry mates behind the reflections, without Friedel mates.\n\nPhases of mates "
           "lie in [0, 360). A set that is expanded already would be so again.")
      .def("map_coefficients", &map_coefficients, py::arg("map_type"),
           "(amplitudes, phases in degrees) that go into a map of that type: float32 arrays (n,), "
           "not-a-number where there\n"
           "is none.")
      .def("make_map", &make_map, py::arg("map_type"), py::kw_only(), py::arg("expand") = true,
           "The Fourier synthesis over the whole cell, in electrons/Å³; the far sides repeat the planes at "
           "0.\n\n"
           "Types and what they take: \"Fwt\" (fwt, phiwt), \"Fdelwt\" (fdelwt, phidelwt), \"2Fo-Fc\", "
           "\"Fo-Fc\", \"3Fo-2Fc\" and\n"
           "\"5Fo-3Fc\" (fobs, fcalc, phase_calc), \"Fo\" and \"Fo*Fo\" (fobs, phase), \"Fc\" (fcalc, "
           "phase_calc), \"Fo*FOM\" (fobs,\n"
           "fom, phase), \"2Fo-Fc(SigmaA)\" and \"Fo-Fc(SigmaA)\" (abcd, phase). Symmetry mates are added "
           "first; expand=False is\n"
           "for a set that has them.")
      .def("calculate_structure_factors", &calculate_structure_factors, py::arg("model"), py::kw_only(),
           py::arg("method") = "exact", py::arg("progress") = py::none(),
           "Fills columns fcalc, phase_calc and phase with the structure factors of a model, and gives the "
           "number of atoms\n"
           "that were left out.\n\n"
           "\"exact\" sums in double precision over all atoms and operators; \"table\" is faster, good to "
           "about a percent, and\n"
           "takes hydrogens for carbons. B factors and occupancies count as they stand. progress(done, "
           "total) is called as\n"
           "the work goes on.")
      .def(
          "copy", [](const Reflections& r) { return std::make_unique<Reflections>(r); },
          "A set of its own with the same content.")
      .def("__copy__", [](const Reflections& r) { return std::make_unique<Reflections>(r); })
      .def(
          "__deepcopy__",
          [](const Reflections& r, const py::object&) { return std::make_unique<Reflections>(r); },
          py::arg("memo"))
      .def("__repr__", [](const Reflections& r) { return text_of("<Reflections: " + summary(r) + ">"); })
      .def("_repr_html_", &html)
      .def("to_bytes", &record_of, "The set as a native record, attributes included.")
      .def_static("from_bytes", &of_record, py::arg("data"), "A set out of what to_bytes gave.")
      .def(py::pickle(&record_of, &of_record));
  bind_files(module);
  bind_backend(module);
}
