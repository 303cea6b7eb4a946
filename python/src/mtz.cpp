#include <algorithm>
#include <cmath>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/mtz_labels.h>
#include <vxgrid/reflection/reflection_impl.h>

#include "arrays.h"
#include "bindings.h"
#include "grids.h"
#include "reflections.h"

using namespace VXCore;

namespace {

using Labels = std::vector<std::string>;

/// vxgrid.MtzFile: a file by its name, and what its header lists. Each use opens it anew.
struct MtzFile {
  std::string file;
  Labels labels;
  std::vector<char> types;
};

void open(VXHost::vxistream& in, const std::string& file) {
  if (!compute([&] { return in.open(file); })) throw LibraryError(file + ": the file cannot be opened");
}

MtzFile open_mtz(const std::filesystem::path& path) {
  MtzFile mtz{path.string(), {}, {}};
  VXHost::vxifstream in;
  open(in, mtz.file);
  run_on(mtz.file, "not an MTZ file, or its header at the end is cut off",
         [&] { return VXGetMTZFileColumnNamesAndTypes(in, mtz.labels, mtz.types); });
  return mtz;
}

std::string listed(const MtzFile& mtz) {
  std::string all;
  for (std::size_t i = 0; i < mtz.labels.size(); ++i) all += " " + mtz.labels[i] + ":" + mtz.types[i];
  return all;
}

bool has_label(const MtzFile& mtz, const std::string& label) {
  return std::find(mtz.labels.begin(), mtz.labels.end(), label) != mtz.labels.end();
}

/// The place of a label; ValueError when the file does not have it.
std::size_t place_of(const MtzFile& mtz, const std::string& label) {
  const auto found = std::find(mtz.labels.begin(), mtz.labels.end(), label);
  if (found == mtz.labels.end())
    throw py::value_error(mtz.file + ": no column " + label + "; there are (label:type)" + listed(mtz));
  return static_cast<std::size_t>(found - mtz.labels.begin());
}

// --- maps ---

constexpr const char* kMapTypes[] = {"Fwt",     "Fdelwt", "2Fo-Fc", "Fo-Fc",          "3Fo-2Fc",
                                     "5Fo-3Fc", "Fo",     "Fc",     "2Fo-Fc(SigmaA)", "Fo-Fc(SigmaA)"};

unsigned int file_map_type(const std::string& name) {
  const auto* const found = std::find(std::begin(kMapTypes), std::end(kMapTypes), name);
  if (found != std::end(kMapTypes)) return VXMTZMapTypeFromString(name);
  std::string all;
  for (const char* type : kMapTypes) all += std::string(all.empty() ? "" : ", ") + type;
  throw py::value_error("map_type: one of " + all + " was wanted, " + name + " came");
}

VXMTZColumns usual_columns(const MtzFile& mtz) {
  VXHost::vxifstream in;
  open(in, mtz.file);
  return compute([&] { return VXUsualMTZColumns(VXMTZ(in, mtz.file)); });
}

using Label = std::optional<std::string>;

Label label_of(const py::object& given, const char* name) {
  return given.is_none() ? Label() : bytes_of(given, name);
}

/// Labels that a caller gives in the place of the usual ones.
struct Given {
  Label amplitude, phase, calculated, sigma;

  Given(const py::object& amplitude_label, const py::object& phase_label, const py::object& calculated_label,
        const py::object& sigma_label)
      : amplitude(label_of(amplitude_label, "amplitude")),
        phase(label_of(phase_label, "phase")),
        calculated(label_of(calculated_label, "calculated")),
        sigma(label_of(sigma_label, "sigma")) {}

  void Put(VXMTZColumns& columns, unsigned int type) const {
    using namespace VXMTZMapType;
    using Setter = void (VXMTZColumns::*)(const std::string&);
    const Setter amplitudes = type == Fwt      ? &VXMTZColumns::SetFwt
                              : type == Fdelwt ? &VXMTZColumns::SetFdelwt
                              : type == Fc     ? &VXMTZColumns::SetFc
                                               : &VXMTZColumns::SetFobs;
    const Setter phases = type == Fwt      ? &VXMTZColumns::SetPhiwt
                          : type == Fdelwt ? &VXMTZColumns::SetPhidelwt
                          : type == Fo     ? &VXMTZColumns::SetPhi
                                           : &VXMTZColumns::SetPhic;
    if (amplitude) (columns.*amplitudes)(*amplitude);
    if (phase) (columns.*phases)(*phase);
    if (calculated) columns.SetFc(*calculated);
    if (sigma) columns.SetSigmaA(*sigma);
  }

  /// Refuses labels whose types say that they are something else: intensities, or two that were swapped.
  void Check(const MtzFile& mtz) const {
    for (const auto& label : {amplitude, calculated})
      if (label)
        if (const char type = mtz.types[place_of(mtz, *label)];
            std::string("PJK").find(type) != std::string::npos)
          throw py::value_error(mtz.file + ": column " + *label + " holds " +
                                (type == 'P' ? "phases" : "intensities") + ", amplitudes were wanted");
    if (phase)
      if (const char type = mtz.types[place_of(mtz, *phase)]; type != 'P')
        throw py::value_error(mtz.file + ": column " + *phase + " holds no phases (its type is " + type +
                              ")");
    if (sigma) place_of(mtz, *sigma);
  }
};

SkewGridPtr make_map(const MtzFile& mtz, const std::string& map_type, const Given& given) {
  const unsigned int type = file_map_type(map_type);
  given.Check(mtz);
  VXMTZColumns columns = usual_columns(mtz);
  given.Put(columns, type);
  const Labels labels = VXMTZMapLabels(type, columns);
  for (const std::string& label : labels)
    if (!has_label(mtz, label))
      throw py::value_error(mtz.file + ": no column " + label + " for a map of type " + map_type +
                            "; there are (label:type)" + listed(mtz));
  if (type == VXMTZMapType::Fo) columns.SetPhi(labels[1]);

  auto grid = std::make_shared<VXSkewGrid>();
  VXHost::vxifstream in;
  open(in, mtz.file);
  run_on(mtz.file, "no map could be made of these reflections", [&] {
    if (!VXMTZ(in, mtz.file).MakeMap(*grid, type, columns, false, false) || !is_undamaged(in)) return false;
    const VXZemoGrid& map = inner(*grid);
    const bool is_finite = std::isfinite(map.GetData<float>("AMEAN")),
               is_flat = map.GetData<float>("ARMS") == 0;
    if (!is_finite) VXThrow.Error("the map has infinite values");
    if (is_flat) VXThrow.Error("the map is flat: no values but 0 in its columns");
    return is_finite && !is_flat;
  });
  return grid;
}

Labels map_types_of(const MtzFile& mtz) {
  const VXMTZColumns columns = usual_columns(mtz);
  Labels types;
  for (const char* type : kMapTypes) {
    const Labels labels = VXMTZMapLabels(VXMTZMapTypeFromString(type), columns);
    if (std::all_of(labels.begin(), labels.end(),
                    [&](const std::string& label) { return has_label(mtz, label); }))
      types.emplace_back(type);
  }
  return types;
}

// --- columns ---

/// The labels of columns of some one-letter types; of all without.
py::list labels_of_types(const MtzFile& mtz, std::string_view types = {}) {
  py::list labels;
  for (std::size_t i = 0; i < mtz.labels.size(); ++i)
    if (types.empty() || types.find(mtz.types[i]) != types.npos) labels.append(text_of(mtz.labels[i]));
  return labels;
}

bool read_set(const std::string& file, VXHost::vxistream& in, VXReflection& set,
              const VXMTZColumnNames& names) {
  if (!VXReadReflectionMTZ(in, set, names) || !is_undamaged(in)) return false;
  if (set.GetCount() == 0) VXThrow.Error("there are no reflections in this file");
  if (set.GetTitle().empty()) set.SetTitle(file);
  return set.GetCount() != 0;
}

constexpr const char* kUnread =
    "its reflections cannot be read: no columns H, K and L, or the file is cut off";

/// The numbers of one column as they stand in the file. Any role but those of amplitudes gives them so.
py::array_t<float> column(const MtzFile& mtz, const py::str& text) {
  const std::string label = bytes_of(text, "label");
  if (!has_label(mtz, label)) throw py::key_error(label);
  VXMTZColumnNames names;
  for (unsigned int role = VXMTZColumnNames::Fobs; role < VXMTZColumnNames::RoleCount; ++role)
    names.SetColumnName(role, "");
  names.SetColumnName(VXMTZColumnNames::FOM, label);
  VXReflection set;
  VXHost::vxifstream in;
  open(in, mtz.file);
  std::vector<float> values;
  run_on(mtz.file, kUnread, [&] {
    if (!read_set(mtz.file, in, set, names)) return false;
    const float* const from = set.GetImpl()->fom;
    if (from) values.assign(from, from + set.GetCount());
    return from != nullptr;
  });
  return array_of(std::move(values));
}

struct Role {
  const char* name;
  VXMTZColumnNames::Role role;
};
constexpr Role kRoles[] = {
    {"fobs", VXMTZColumnNames::Fobs},     {"fcalc", VXMTZColumnNames::Fcalc},
    {"phase", VXMTZColumnNames::Phase},   {"phase_calc", VXMTZColumnNames::PhaseCalc},
    {"sigma", VXMTZColumnNames::Sigma},   {"fom", VXMTZColumnNames::FOM},
    {"hla", VXMTZColumnNames::HLA},       {"hlb", VXMTZColumnNames::HLB},
    {"hlc", VXMTZColumnNames::HLC},       {"hld", VXMTZColumnNames::HLD},
    {"fwt", VXMTZColumnNames::Fwt},       {"phiwt", VXMTZColumnNames::Phiwt},
    {"fdelwt", VXMTZColumnNames::Fdelwt}, {"phidelwt", VXMTZColumnNames::Phidelwt},
};

VXMTZColumnNames names_for(const MtzFile& mtz, const py::object& labels) {
  VXMTZColumnNames names = VXUsualMTZColumnNames(mtz.labels);
  if (labels.is_none()) return names;
  if (!py::isinstance<py::dict>(labels))
    throw py::type_error("labels: a dict of columns to labels was wanted, " + shown(labels) + " came");
  for (const auto& [key, value] : py::reinterpret_borrow<py::dict>(labels)) {
    const std::string column = bytes_of(key, "labels"), label = bytes_of(value, "labels");
    const auto* const role = std::find_if(std::begin(kRoles), std::end(kRoles),
                                          [&](const Role& each) { return column == each.name; });
    if (role == std::end(kRoles))
      throw py::value_error("labels: " + column + " is no column that is read from an MTZ file");
    place_of(mtz, label);
    names.SetColumnName(role->role, label);
  }
  return names;
}

}  // namespace

std::shared_ptr<VXReflection> read_mtz_reflections(const std::string& file, const py::object& labels) {
  const MtzFile mtz = open_mtz(file);
  const VXMTZColumnNames names = names_for(mtz, labels);
  auto set = std::make_shared<VXReflection>();
  VXHost::vxifstream in;
  open(in, file);
  run_on(file, kUnread, [&] { return read_set(file, in, *set, names); });
  return set;
}

void bind_mtz(py::module_& module) {
  py::class_<MtzFile>(module, "MtzFile",
                      "An MTZ file, .mtz or .mtz.gz: its columns, and maps made from them.\n\n"
                      "mtz[label] is a column as it stands in the file, a float32 array with one value a "
                      "reflection; iteration\ngives the labels.")
      .def(py::init(&open_mtz), py::arg("path"),
           "Reads the list of columns; the file is read when they are used.")
      .def_property_readonly(
          "path", [](const MtzFile& m) { return std::filesystem::path(m.file); }, "The file.")
      .def_property_readonly(
          "column_types",
          [](const MtzFile& m) {
            py::dict all;
            for (std::size_t i = 0; i < m.labels.size(); ++i)
              all[text_of(m.labels[i])] = text_of(std::string_view(&m.types[i], 1));
            return all;
          },
          "The one-letter types of the columns by label, in the order of the file.")
      .def_property_readonly(
          "amplitudes", [](const MtzFile& m) { return labels_of_types(m, "FGJK"); },
          "Labels of amplitudes and intensities.")
      .def_property_readonly(
          "phases", [](const MtzFile& m) { return labels_of_types(m, "P"); }, "Labels of phases.")
      .def_property_readonly(
          "sigmas", [](const MtzFile& m) { return labels_of_types(m, "LMQ"); },
          "Labels of standard uncertainties.")
      .def_property_readonly(
          "flags", [](const MtzFile& m) { return labels_of_types(m, "I"); },
          "Labels of integers, such as free flags.")
      .def_property_readonly("map_types", &map_types_of,
                             "The map types for which the columns are there under their usual labels.")
      .def("__getitem__", &column, py::arg("label"))
      .def("__contains__",
           [](const MtzFile& m, const py::object& label) {
             return py::isinstance<py::str>(label) && has_label(m, bytes_of(label, "label"));
           })
      .def("__iter__", [](const MtzFile& m) { return py::iter(labels_of_types(m)); })
      .def("__len__", [](const MtzFile& m) { return m.labels.size(); })
      .def(
          "make_map",
          [](const MtzFile& m, const std::string& type, const py::object& amplitude, const py::object& phase,
             const py::object& calculated, const py::object& sigma) {
            return make_map(m, type, Given(amplitude, phase, calculated, sigma));
          },
          py::arg("map_type") = "Fwt", py::kw_only(), py::arg("amplitude") = py::none(),
          py::arg("phase") = py::none(), py::arg("calculated") = py::none(), py::arg("sigma") = py::none(),
          "A map over the whole cell in units of its sigma, which is grid.attributes[\"SIGMA\"] in "
          "electrons/Å³.\n\n"
          "Types: \"Fwt\", \"Fdelwt\", \"2Fo-Fc\", \"Fo-Fc\", \"3Fo-2Fc\", \"5Fo-3Fc\", \"Fo\", "
          "\"Fc\", \"2Fo-Fc(SigmaA)\" and\n"
          "\"Fo-Fc(SigmaA)\". Columns are found by the labels that refinement programs use; others are named "
          "by amplitude and\n"
          "phase (of the coefficients, or of the observed data), calculated (amplitudes of the model) and "
          "sigma.")
      .def("__repr__",
           [](const MtzFile& m) {
             return py::str("MtzFile({!r}, {} columns)").format(text_of(m.file), m.labels.size());
           })
      .def(py::pickle([](const MtzFile& m) { return std::filesystem::path(m.file); }, &open_mtz));

  module.def(
      "read_mtz",
      [](const std::filesystem::path& path, const std::string& type, const py::object& amplitude,
         const py::object& phase, const py::object& calculated, const py::object& sigma) {
        return make_map(open_mtz(path), type, Given(amplitude, phase, calculated, sigma));
      },
      py::arg("path"), py::arg("map_type") = "Fwt", py::kw_only(), py::arg("amplitude") = py::none(),
      py::arg("phase") = py::none(), py::arg("calculated") = py::none(), py::arg("sigma") = py::none(),
      "A map from an MTZ file, over the whole cell in units of its sigma: MtzFile(path).make_map(...).");
}
