#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include <pybind11/stl/filesystem.h>

#include <vxgrid/exchange/grid_files.h>
#include <vxgrid/host/stream.h>

#include "arrays.h"
#include "bindings.h"
#include "call.h"
#include "grids.h"

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

unsigned int format_of(const fs::path& path, const py::object& named) {
  const VXGridFileFormat* const format =
      named.is_none() ? VXGetGridFileFormat(path.string()) : VXFindGridFileFormat(named.cast<std::string>());
  if (format) return format->code;
  throw py::value_error(
      named.is_none() ? path.string() + ": no format of grids has this extension; format= names one of " +
                            names_of_formats()
                      : "format: one of " + names_of_formats() + " was wanted, " +
                            std::string(py::repr(named)) + " came");
}

/// Says why a file cannot be opened; false.
bool no_file(const fs::path& path, const char* what) {
  std::error_code error;
  if (fs::is_directory(path, error))
    VXThrow.Warning("%s: it is a directory", what);
  else
    VXThrow.Warning("%s: %s", what, errno ? std::strerror(errno) : "it is no file");
  return false;
}

bool open_to_read(VXHost::vxifstream& in, const fs::path& path) {
  errno = 0;
  if (!in.open(path.string())) return no_file(path, "cannot be opened");
  if (in) return true;
  VXThrow.Warning("the file is empty");
  return false;
}

py::object read_grid(const fs::path& path, const py::object& kind, const py::object& format) {
  const unsigned int code = format_of(path, format);
  const bool scalar = kind.is(py::type::of<VXScalarGrid>()), multi = kind.is(py::type::of<VXZemoGrid>());
  if (!scalar && !multi && !kind.is(py::type::of<VXSkewGrid>()))
    throw py::type_error("kind: ScalarGrid, SkewGrid or MultiGrid was wanted, " +
                         std::string(py::repr(kind)) + " came");
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
  return multi ? py::cast(std::make_shared<VXZemoGrid>(std::move(inner(*grid)))) : py::cast(grid);
}

void write_grid(const fs::path& path, VXGridAbstractBase& grid, const py::object& format) {
  const unsigned int code = format_of(path, format);
  visit(grid, [&](const auto& g) {
    run_on(path, [&] {
      errno = 0;
      VXHost::vxofstream out;
      if (!out.open(path.string())) return no_file(path, "cannot be written");
      const bool written = VXWriteGridFile(out, g, code);
      return out.close() && written;
    });
  });
}

}  // namespace

void bind_grid_files(py::module_& module) {
  module.def(
      "read_grid", &read_grid, py::arg("path"), py::arg("kind") = py::type::of<VXSkewGrid>(), py::kw_only(),
      py::arg("format") = py::none(),
      "Reads a grid from a file, compressed (.gz) or not, whose extension tells the format.\n\n"
      "kind    SkewGrid keeps a lattice as it is; ScalarGrid resamples one whose axes are not x, y and z;\n"
      "        MultiGrid shows all fields of a file that has several\n"
      "format  a name out of grid_formats(), in place of the extension\n\n"
      "The attributes of the grid are those of the file.");
  module.def(
      "write_grid", &write_grid, py::arg("path"), py::arg("grid"), py::kw_only(),
      py::arg("format") = py::none(),
      "Writes a grid to a file in the format of its extension; compressed for a name in .gz.\n\n"
      "format  a name out of grid_formats(), in place of the extension\n\n"
      "A format that does not hold the lattice of the grid is an Error: regular() makes a grid that every\n"
      "format holds. Only the format vxb keeps everything.");
}
