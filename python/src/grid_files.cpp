#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include <pybind11/stl/filesystem.h>

#include <vxgrid/exchange/grid_files.h>
#include <vxgrid/exchange/grid_json.h>
#include <vxgrid/host/replace_file.h>
#include <vxgrid/host/stream.h>

#include "arrays.h"
#include "bindings.h"
#include "call.h"
#include "grids.h"
#include "records.h"

using namespace VXCore;
namespace fs = std::filesystem;

namespace {

/// run(work), with the name of the file in front of what the failure says.
template <class Work>
void run_on(const fs::path& path, Work&& work) {
  try {
    run("it cannot be read or written", work);
  } catch (const LibraryError& failure) {
    throw LibraryError(path.string() + ": " + failure.what());
  }
}

std::string names_of_formats() {
  std::string names;
  for (const VXGridFileFormat& format : VXGetGridFileFormats())
    names += (names.empty() ? "" : ", ") + std::string(format.name);
  return names;
}

const VXGridFileFormat& format_of(const fs::path& path, const py::object& named) {
  const VXGridFileFormat* const format =
      named.is_none() ? VXGetGridFileFormat(path.string()) : VXFindGridFileFormat(bytes_of(named, "format"));
  if (format) return *format;
  throw py::value_error(
      named.is_none() ? path.string() + ": no format of grids has this extension; format= names one of " +
                            names_of_formats()
                      : "format: one of " + names_of_formats() + " was wanted, " + shown(named) + " came");
}

/// False, having said why, where a file does not open or is empty.
bool open_to_read(VXHost::vxifstream& in, const fs::path& path) {
  errno = 0;
  std::error_code error;
  const bool is_open = in.open(path.string());
  if (is_open && in) return true;
  if (is_open)
    VXThrow.Warning("the file is empty");
  else if (fs::is_directory(path, error))
    VXThrow.Warning("cannot be opened: it is a directory");
  else
    VXThrow.Warning("cannot be opened: %s", errno ? std::strerror(errno) : "it is no file");
  return false;
}

template <class Grid>
std::shared_ptr<Grid> checked(std::shared_ptr<Grid> grid) {
  if (grid->GetSize() > 0) return grid;
  throw py::value_error("the grid has no samples");
}

py::object read_grid(const fs::path& path, const py::object& kind, const py::object& format) {
  const unsigned int code = format_of(path, format).code;
  const bool scalar = kind.is(py::type::of<VXScalarGrid>()), multi = kind.is(py::type::of<VXZemoGrid>());
  if (!scalar && !multi && !kind.is(py::type::of<VXSkewGrid>()))
    throw py::type_error("kind: ScalarGrid, SkewGrid or MultiGrid was wanted, " + shown(kind) + " came");
  const auto read = [&](auto& grid) {
    run_on(path, [&] {
      VXHost::vxifstream in;
      return open_to_read(in, path) && VXReadGridFile(in, grid, code);
    });
  };
  if (scalar) {
    const auto grid = std::make_shared<VXScalarGrid>();
    read(*grid);
    return py::cast(grid);
  }
  const auto grid = std::make_shared<VXSkewGrid>();
  read(*grid);
  if (!multi) return py::cast(grid);
  const auto fields = std::make_shared<VXZemoGrid>(std::move(inner(*grid)));
  VXCopyBaseData(*fields, *grid);
  return py::cast(fields);
}

void write_grid(const fs::path& path, VXGridAbstractBase& grid, const py::object& format) {
  const VXGridFileFormat& wanted = format_of(path, format);
  if (!wanted.is_writeable)
    throw py::value_error(path.string() + ": files of the format " + wanted.name + " are read only");
  const unsigned int code = wanted.code;
  const auto write = [&](const auto& g) {
    run_on(path, [&] {
      std::string change;
      if constexpr (std::is_same_v<decltype(g), const VXScalarGrid&>) {
        change = VXChangeInFile(code, VXZemoGrid());
      } else {
        if (!VXHoldsLattice(code, inner(g))) {
          VXThrow.Warning(
              "the format does not hold the lattice of the grid; regular() makes one that it holds");
          return false;
        }
        change = VXChangeInFile(code, inner(g));
      }
      if (!VXReplaceFile(path.string(),
                         [&](VXHost::vxostream& out) { return VXWriteGridFile(out, g, code); }))
        return false;
      if (!change.empty()) VXThrow.Info(path.string() + ": " + change);
      return true;
    });
  };
  const bool has_fields = code == VXGridFormatGRD || code == VXGridFormatNative;
  if (auto* const multi = dynamic_cast<VXZemoGrid*>(&grid); multi && !has_fields)
    write(*compute([&] { return current_fields(*multi); }));
  else
    visit(grid, write);
}

py::list grid_formats() {
  const py::object row = py::module_::import("vxgrid._rows").attr("GridFormat");
  py::list rows;
  for (const VXGridFileFormat& format : VXGetGridFileFormats())
    rows.append(
        row(format.name, format.title, py::str(format.extensions).attr("split")(","), format.is_writeable));
  return rows;
}

template <class Grid>
py::str to_json(const Grid& grid) {
  std::string text;
  run("the grid cannot be written", [&] {
    if constexpr (std::is_same_v<Grid, VXSkewGrid>)
      text = VXMapToJSON(grid);
    else
      text = VXGridToJSON(grid, VXJSONFlagBaseData);
    return !text.empty();
  });
  return text_of(text);
}

template <class Grid>
std::shared_ptr<Grid> from_json(const py::str& json) {
  const std::string text = bytes_of(json, "text");
  auto grid = std::make_shared<Grid>();
  run("the text cannot be read", [&] {
    if constexpr (std::is_same_v<Grid, VXSkewGrid>)
      return VXJSONToMap(*grid, text);
    else
      return VXJSONToGrid(*grid, text);
  });
  return checked(grid);
}

template <class Grid>
std::shared_ptr<Grid> of_record(const py::bytes& data) {
  auto grid = std::make_shared<Grid>();
  from_bytes(data, *grid);
  return checked(grid);
}

template <class Grid>
py::class_<Grid, VXGridAbstractBase, std::shared_ptr<Grid>> class_of_grid() {
  return py::reinterpret_borrow<py::class_<Grid, VXGridAbstractBase, std::shared_ptr<Grid>>>(
      py::type::of<Grid>());
}

template <class Grid>
void def_bytes() {
  class_of_grid<Grid>()
      .def("to_bytes", &to_bytes<Grid>,
           "The grid with everything that it carries, as a native record: what a file of the format vxb "
           "holds.")
      .def_static("from_bytes", &of_record<Grid>, py::arg("data"),
                  "A grid out of what to_bytes() of the same class gave; ValueError for anything else.")
      .def(py::pickle(&to_bytes<Grid>, &of_record<Grid>));
}

template <class Grid>
void def_json() {
  class_of_grid<Grid>()
      .def("to_json", &to_json<Grid>,
           "The grid as a JSON document, attributes included.\n\n"
           "Values keep eight decimals. The cell of a map stands in it when it makes the lattice, with one "
           "step a\n"
           "sample; a lattice that is neither that of its cell nor along x, y and z is an Error.")
      .def_static("from_json", &from_json<Grid>, py::arg("text"), "A grid out of a JSON document.");
}

}  // namespace

void bind_grid_files(py::module_& module) {
  module.def(
      "read_grid", &read_grid, py::arg("path"), py::arg("kind") = py::type::of<VXSkewGrid>(), py::kw_only(),
      py::arg("format") = py::none(),
      "Reads a grid from a file, compressed (.gz) or not, whose extension tells the format.\n\n"
      "kind    SkewGrid keeps a lattice as it is; ScalarGrid resamples one whose axes are not x, y and\n"
      "        z; MultiGrid shows all fields of a file that has several\n"
      "format  a name out of grid_formats(), in place of the extension\n\n"
      "The attributes of the grid are those of the file.");
  module.def(
      "write_grid", &write_grid, py::arg("path"), py::arg("grid"), py::kw_only(),
      py::arg("format") = py::none(),
      "Writes a grid to a file in the format of its extension; compressed for a name in .gz.\n\n"
      "format  a name out of grid_formats(), in place of the extension\n\n"
      "A lattice that the format does not hold is an Error: regular() makes one that every format holds.\n"
      "Formats of one field get the current one. Only the format vxb keeps everything; that values are\n"
      "interpolated goes to the logger. A write that fails leaves the file that was there.");
  module.def("grid_formats", &grid_formats, "The formats of grid files, a GridFormat each; all are read.");
  def_bytes<VXScalarGrid>();
  def_bytes<VXSkewGrid>();
  def_bytes<VXZemoGrid>();
  def_json<VXScalarGrid>();
  def_json<VXSkewGrid>();
}
