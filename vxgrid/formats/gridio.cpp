#include <vxgrid/formats/gridio.h>

#include <memory>
#include <new>

#include <vxgrid/formats/ccp4.h>
#include <vxgrid/formats/grasp.h>
#include <vxgrid/formats/grd.h>
#include <vxgrid/formats/xplor.h>
#include <vxgrid/grid/ascii_grid.h>
#include <vxgrid/grid/grid_format.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/text.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/formats/regular_size.inl>

namespace VXCore {
namespace {

using VXHost::vxistream;
using VXHost::vxostream;

using Reader = bool (*)(vxistream&, VXZemoGrid&);
using Writer = bool (*)(vxostream&, const VXZemoGrid&);

// By code. A format without a writer is refused.
struct Format {
  Reader read;
  Writer write;
  const char* read_failed;
};
constexpr Format kFormats[] = {
    {nullptr, nullptr, nullptr},
    {VXReadGraspGrid, VXWriteGraspGrid, "Problem reading Grasp grid file"},
    {VXReadGridGRD, VXWriteGridGRD, "Problem reading GRD grid file"},
    {VXReadCCP4Map, VXWriteCCP4Grid, "Problem reading CCP4 grid file"},
    {VXReadXPLORMap, nullptr, "Problem reading XPLOR grid file"},
    {VXReadAsciiGrid, VXWriteAsciiGrid, "Problem reading Ascii grid file"},
};

unsigned int code_of(const std::string& name) {
  return VXGetGridFileType(VXGetFileExtension(name.c_str()).c_str());
}

struct CloseIStream {
  void operator()(vxistream* in) const { VXHost::VXCloseIStream(in); }
};
using InputFile = std::unique_ptr<vxistream, CloseIStream>;

// A file of a readable format with its code. Null after a Warning.
InputFile open_grid_file(const std::string& name, unsigned int& code) {
  code = code_of(name);
  if (!VXIsReadableGrid(code)) {
    VXThrow.Warning("File %s does not contain a readable grid file.", name.c_str());
    return nullptr;
  }
  InputFile in(VXHost::VXOpenIStream(name.c_str()));
  if (!in) VXThrow.Warning("Unable to open grid file: %s.", name.c_str());
  return in;
}

template <class Grid>
bool write_file(const std::string& name, const Grid& grid) {
  const std::unique_ptr<vxostream> out(VXHost::VXOpenOStream(name.c_str()));
  if (!out) {
    VXThrow.Warning("Unable to open file for grid writing: %s", name.c_str());
    return false;
  }
  const bool written = VXWriteGrid(*out, grid, code_of(name));
  return out->close() && written;
}

VXZemoGrid& inner(VXSkewGrid& grid) { return grid.GetImpl().GetImpl(); }
const VXZemoGrid& inner(const VXSkewGrid& grid) { return grid.GetImpl().GetImpl(); }

constexpr char kAdvice[] = "; read it as a skew grid";

// VXMakeRegularGrid of a skew grid that is not needed afterwards: the values of a regular one change hands.
bool make_regular(VXScalarGrid& out, VXSkewGrid& in) {
  if (!in.IsRegular())
    return regular_size_is_bearable(inner(in), kAdvice) && VXMakeRegularGrid(out, in, 0.0f);
  inner(in).MoveFloats(out);
  VXCopyBaseData(out, in);
  return true;
}

}  // namespace

bool VXReadGrid(vxistream& in, VXZemoGrid& grid, unsigned int code) {
  if (!VXIsReadableGrid(code)) {
    VXThrow.Error("File does not contain a readable grid file");
    return false;
  }
  const Format& format = kFormats[code];
  if (!format.read(in, grid)) {
    VXThrow.Warning("%s", format.read_failed);
    return false;
  }
  return grid.SetType(code);
}

bool VXReadGrid(vxistream& in, VXZemoGrid& grid, unsigned int code, bool regularise) {
  if (!regularise) return VXReadGrid(in, grid, code);
  VXZemoGrid local;
  if (!VXReadGrid(in, local, code) || !regular_size_is_bearable(local, kAdvice)) return false;
  VXMakeRegularGrid(grid, local, 0.0f);
  return true;
}

bool VXReadGrid(const std::string& name, VXZemoGrid& grid, bool regularise) {
  unsigned int code;
  const InputFile in = open_grid_file(name, code);
  if (!in) return false;
  if (in->eof()) {
    VXThrow.Warning("Unable to open grid file: %s.", name.c_str());
    return false;
  }
  return VXReadGrid(*in, grid, code, regularise);
}

bool VXReadGrid(const std::string& name, VXZemoGrid& grid) { return VXReadGrid(name, grid, false); }

bool VXReadGrid(const std::string& name, VXSkewGrid& grid) try {
  unsigned int code;
  const InputFile in = open_grid_file(name, code);
  if (!in) return false;
  const bool read = VXReadGrid(*in, inner(grid), code);
  VXCopyBaseData(grid, inner(grid));
  return read;
} catch (const std::bad_alloc&) {
  VXThrow.Warning("Unable to allocate enough memory to read VXSkewGrid from %s.", name.c_str());
  return false;
}

bool VXReadGrid(vxistream& in, VXSkewGrid& grid, unsigned int code) try {
  return VXReadGrid(in, inner(grid), code);
} catch (const std::bad_alloc&) {
  VXThrow.Warning("Unable to allocate enough memory to read VXSkewGrid.");
  return false;
}

bool VXReadGrid(const std::string& name, VXScalarGrid& grid) try {
  VXSkewGrid skew;
  return VXReadGrid(name, skew) && make_regular(grid, skew);
} catch (const std::bad_alloc&) {
  VXThrow.Warning("Unable to allocate enough memory to read VXScalarGrid from %s.", name.c_str());
  return false;
}

bool VXReadGrid(vxistream& in, VXScalarGrid& grid, unsigned int code) try {
  VXSkewGrid skew;
  return VXReadGrid(in, skew, code) && make_regular(grid, skew);
} catch (const std::bad_alloc&) {
  VXThrow.Warning("Unable to allocate enough memory to read VXScalarGrid.");
  return false;
}

bool VXWriteGrid(vxostream& out, const VXZemoGrid& grid, unsigned int code) {
  if (!VXIsWriteableGrid(code) || !kFormats[code].write) {
    VXThrow.Error("Error: %s is not a writeable grid file format", VXGetGridFormatString(code));
    return false;
  }
  return kFormats[code].write(out, grid);
}

bool VXWriteGrid(const std::string& name, const VXZemoGrid& grid) { return write_file(name, grid); }

bool VXWriteGrid(vxostream& out, const VXSkewGrid& grid, unsigned int code) {
  return VXWriteGrid(out, inner(grid), code);
}

bool VXWriteGrid(const std::string& name, const VXSkewGrid& grid) { return write_file(name, inner(grid)); }

bool VXWriteGrid(vxostream& out, const VXScalarGrid& grid, unsigned int code) {
  if (code == VXGridFormatCCP4) return VXWriteCCP4Grid(out, grid);
  return VXWriteGrid(out, VXZemoGrid::Borrow(grid), code);
}

bool VXWriteGrid(const std::string& name, const VXScalarGrid& grid) { return write_file(name, grid); }

int vx_write_grid_object(const char* path, const VXZemoGrid& grid) {
  return VXWriteGrid(path ? path : "", grid);
}

int vx_read_grid_object(const char* path, VXZemoGrid& grid) {
  const std::string name = path ? path : "";
  VXHost::vxifstream in(name);
  return VXReadGrid(in, grid, code_of(name));
}

}  // namespace VXCore
