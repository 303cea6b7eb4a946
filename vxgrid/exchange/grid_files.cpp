#include <vxgrid/exchange/grid_files.h>

#include <rapidjson/document.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include <vxgrid/exchange/grid_json.h>
#include <vxgrid/exchange/grid_records.h>
#include <vxgrid/formats/grasp.h>
#include <vxgrid/formats/gridio.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/text.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/formats/regular_size.inl>

namespace VXCore {
namespace {

using VXHost::vxistream;
using VXHost::vxostream;

// clang-format off
constexpr std::array<VXGridFileFormat, 7> kFormats = {{
  {VXGridFormatCCP4,   "ccp4",  "CCP4 Map",    "map,ccp4,ccp,mrc", true},
  {VXGridFormatXPLOR,  "xplor", "XPLOR Map",   "xplor,xplmap",     false},
  {VXGridFormatGrasp,  "phi",   "GRASP Grid",  "phi",              true},
  {VXGridFormatGRD,    "grd",   "Velixa Grid", "grd",              true},
  {VXGridFormatAscii,  "agd",   "Ascii Grid",  "agd",              true},
  {VXGridFormatJSON,   "json",  "JSON Grid",   "json",             true},
  {VXGridFormatNative, "vxb",   "Native Grid", "vxb",              true},
}};
// clang-format on

VXZemoGrid& inner(VXSkewGrid& grid) { return grid.GetImpl().GetImpl(); }
const VXZemoGrid& inner(const VXSkewGrid& grid) { return grid.GetImpl().GetImpl(); }

struct Cell {
  explicit Cell(const VXZemoGrid& grid) {
    grid.GetUnitCell(a, b, c, alpha, beta, gamma);
    grid.GetUnitSpacing(x, y, z);
  }
  float a, b, c, alpha, beta, gamma;
  unsigned int x, y, z;  // steps along the edges
};

/// Whether spacing and orientation of a grid are those that its cell gives, to the rounding of files.
bool cell_makes_lattice(const VXZemoGrid& grid) {
  float have[10], made[10];
  if (!grid.HasUnitCell() || !grid.GetOrientation(have)) return false;
  const Cell cell(grid);
  VXZemoGrid other;
  other.SetUnitCell(cell.a, cell.b, cell.c, cell.alpha, cell.beta, cell.gamma, cell.x, cell.y, cell.z);
  other.GetOrientation(made);
  have[9] = grid.GetSpacing();
  made[9] = other.GetSpacing();
  return std::equal(have, have + 10, made, [](float p, float q) {
    return std::abs(p - q) <= 1e-4f * std::max({std::abs(p), std::abs(q), 1.0f});
  });
}

/// As VXSkewGrid::IsRegular.
bool is_regular(const VXZemoGrid& grid) {
  float m[9];
  return !grid.GetOrientation(m) || (m[0] == 1.0f && m[4] == 1.0f && m[8] == 1.0f);
}

const VXGridFileFormat* format_of(unsigned int code) {
  for (const VXGridFileFormat& format : kFormats)
    if (format.code == code) return &format;
  return nullptr;
}

// --- reading ---

// Four bytes of a file, 0 beyond its end.
std::int32_t word(const std::string& bytes, std::size_t index, bool swap) {
  std::uint32_t value = 0;
  if (bytes.size() >= 4 * index + 4) std::memcpy(&value, bytes.data() + 4 * index, 4);
  return static_cast<std::int32_t>(swap ? __builtin_bswap32(value) : value);
}

/// The length of a file, after which it stands at its start again. False, with a message, where compressed
/// content is damaged.
bool get_length(vxistream& in, unsigned long long& length) {
  in.seek(std::numeric_limits<unsigned long long>::max());
  const bool is_sound = !in.damaged();
  if (!is_sound) VXThrow.Warning("the compressed content is cut short or damaged");
  length = in.tell();
  in.seek(0);
  return is_sound;
}

bool is_whole_ccp4(vxistream& in, unsigned long long length) {
  constexpr std::size_t kHeader = 1024;
  std::string head;
  in.read(head, kHeader);
  if (head.size() < kHeader) {
    VXThrow.Warning("not a CCP4 map: its header has 1024 bytes, here are %zu", head.size());
    return false;
  }
  const bool swap = std::abs(static_cast<long long>(word(head, 0, false))) > 131072;
  const int mode = word(head, 3, swap);
  long long samples = 1;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const int count = word(head, axis, swap), on_axis = word(head, 16 + axis, swap);
    if (count < 1 || on_axis < 1 || on_axis > 3 || mode < 0) {
      VXThrow.Warning("not a CCP4 map: its header makes no sense");
      return false;
    }
    samples = std::min(samples * count, 1LL << 40);
  }
  if (mode != 0 && mode != 2) {
    VXThrow.Warning("samples of mode %d; CCP4 maps of mode 2 (floats) and 0 (bytes) are read", mode);
    return false;
  }
  const long long records = std::max(0, word(head, 23, swap)) / 80;
  const long long end = 1024 + 80 * records + samples * (mode == 2 ? 4 : 1);
  if (static_cast<unsigned long long>(end) <= length) return true;
  VXThrow.Warning("the map is cut off: its header announces %lld bytes", end);
  return false;
}

bool is_whole_grasp(vxistream& in, unsigned long long length) {
  constexpr char kFirstText[] = "now starting phimap ";
  constexpr int kTextLength = sizeof kFirstText - 1;
  // Five records, each between its length and its length: three texts, the samples, scale and midpoint.
  constexpr unsigned long kBytes =
      4ul * kGraspDim * kGraspDim * kGraspDim + kTextLength + 70 + 16 + 4 * 4 + 5 * 8;
  std::string head;
  in.read(head, 4 + kTextLength);
  if (word(head, 0, false) == kTextLength) {
    VXThrow.Warning("its numbers are little-endian; GRASP maps are read with big-endian ones");
    return false;
  }
  if (word(head, 0, true) != kTextLength || head.substr(4) != kFirstText) {
    VXThrow.Warning("not a GRASP map: they begin with \"%s\"", kFirstText);
    return false;
  }
  if (length >= kBytes) return true;
  VXThrow.Warning("the map is cut off: a GRASP map has %lu bytes", kBytes);
  return false;
}

bool has_cell(const std::string& text) {
  if (text.find("\"unitcell\"") == text.npos) return false;
  VXJSONDocument document;
  return JSONParseHelper(document, text) && document.IsObject() && document.HasMember("unitcell");
}

bool read_document(vxistream& in, VXSkewGrid& grid) {
  std::string text;
  in.read(text, in.max_bytes_left());
  return VXJSONToMap(grid, text);
}

bool read_record(vxistream& in, VXSkewGrid& grid) {
  VXBinaryIOHandler handler;
  VXInitGridHandlers(handler);
  std::string tag;
  VXBReadTag(in, tag);
  in.seek(0);
  unsigned int status = VXBDone;
  if (tag == "VXScalarGrid") {
    VXScalarGrid plain;
    status = VXBinaryRead(in, plain, handler);
    grid = VXMakePlainSkewGrid(std::move(plain));
  } else if (tag == "VXSkewGrid") {
    status = VXBinaryRead(in, grid, handler);
  } else if (tag == "VXZemoGrid") {
    status = VXBinaryRead(in, inner(grid), handler);  // read into the skew grid, its faults would not show
    VXCopyBaseData(grid, inner(grid));
  } else {
    VXThrow.Warning("its first record is no grid but \"%s\"", tag.c_str());
    return false;
  }
  if (status != VXBDone) VXThrow.Warning("its record is cut off or damaged (status %u)", status);
  if (status == VXBDone && in) VXThrow.Warning("what follows its first record is left aside");
  return status == VXBDone;
}

bool read_map(vxistream& in, VXSkewGrid& grid, unsigned int code) {
  const bool read = VXReadGrid(in, grid, code);
  // These are the names that the readers of maps give, not those of files.
  if (code == VXGridFormatCCP4 || code == VXGridFormatXPLOR) grid.SetTitle("");
  VXCopyBaseData(grid, inner(grid));
  return read;
}

// --- writing ---

template <class Grid>
bool write_record(vxostream& out, const Grid& grid) {
  VXBinaryIOHandler handler;
  VXInitGridHandlers(handler);
  return VXBinaryWrite(out, grid, handler);
}

bool write_line(vxostream& out, const std::string& document) {
  return !document.empty() && !(out << document << "\n").fail();
}

/// Gives a grid the statistics of its finite values, as they will stand in a file.
void set_statistics(VXZemoGrid& grid) {
  const float* const values = grid.GetFloats().GetValues();
  double low = 0, high = 0, sum = 0, sum_of_squares = 0;
  unsigned int count = 0;
  for (unsigned int i = 0; i < grid.GetSize(); ++i) {
    const double v = values[i];
    if (!std::isfinite(v)) continue;
    low = count ? std::min(low, v) : v;
    high = count++ ? std::max(high, v) : v;
    sum += v;
    sum_of_squares += v * v;
  }
  const double mean = count ? sum / count : 0;
  const double rms = count ? std::sqrt(std::max(sum_of_squares / count - mean * mean, 0.0)) : 0;
  const bool is_normalized = grid.HasData(ALREADY_NORMALIZED) && grid.HasData(SIGMA);
  const double scale = is_normalized ? grid.GetData<float>(SIGMA) : 1;
  const std::pair<const char*, double> numbers[] = {{AMIN, low}, {AMAX, high}, {AMEAN, mean}, {ARMS, rms}};
  for (const auto& [name, number] : numbers) grid.SetData<float>(name, static_cast<float>(scale * number));
}

/// What has to change of a grid before VXWriteGrid keeps its samples and its fields. False for nothing.
bool fit_to_format(VXZemoGrid& changed, const VXZemoGrid& grid, unsigned int code) {
  const unsigned int floats = grid.GetFloats().GetNumGrids(), integers = grid.GetIntegers().GetNumGrids();
  const bool ends_early = code == VXGridFormatGRD &&
                          (grid.GetFloatsMultiple() != floats || grid.GetIntegersMultiple() != integers);
  const bool is_crystal = code == VXGridFormatCCP4 && VXHasCrystalCell(grid);
  const bool lacks_group = is_crystal && !grid.HasSpaceGroup();
  // Without them the header would tell a mean of 0 and an r.m.s. of 1.
  const bool lacks_statistics = is_crystal && !grid.HasData(ARMS);
  if (!ends_early && !lacks_group && !lacks_statistics) return false;
  changed = grid;
  if (ends_early) {  // at the current field
    changed.SetFloatsMultiple(floats);
    changed.SetIntegersMultiple(integers);
  }
  if (lacks_group) changed.SetSpaceGroup(1);
  if (lacks_statistics) set_statistics(changed);
  return true;
}

bool can_write(unsigned int code) {
  const VXGridFileFormat* const format = format_of(code);
  if (format && format->is_writeable) return true;
  VXThrow.Warning("No grid is written as %s", format ? format->title : "a format of this code");
  return false;
}

bool can_hold(unsigned int code, const VXZemoGrid& grid) {
  if (VXHoldsLattice(code, grid)) return true;
  VXThrow.Warning("A file of this format does not hold the lattice: a regular grid is needed");
  return false;
}

}  // namespace

const std::array<VXGridFileFormat, 7>& VXGetGridFileFormats() { return kFormats; }

const VXGridFileFormat* VXFindGridFileFormat(const std::string& name) {
  for (const VXGridFileFormat& format : kFormats)
    if (format.name == name) return &format;
  return nullptr;
}

const VXGridFileFormat* VXGetGridFileFormat(const std::string& file) {
  for (const VXGridFileFormat& format : kFormats) {
    std::vector<std::string> extensions;
    VXStringTokenize(extensions, format.extensions, ",");
    for (const std::string& extension : extensions)
      if (VXFileExtension(file, extension)) return &format;
  }
  return nullptr;
}

VXSkewGrid VXMakePlainSkewGrid(VXScalarGrid&& grid) {
  VXZemoGrid plain(std::move(grid));
  plain.SetUnitCell(0, 0, 0, 0, 0, 0, 0, 0, 0);  // leaves the spacing
  plain.SetOrientationSet(false);
  VXSkewGrid skew{VXSkewGridImpl(std::move(plain))};
  VXCopyBaseData(skew, inner(skew));
  return skew;
}

bool VXIsWholeGridFile(vxistream& in, unsigned int code) {
  unsigned long long length;
  if (!get_length(in, length)) return false;
  const bool is_whole = code == VXGridFormatCCP4    ? is_whole_ccp4(in, length)
                        : code == VXGridFormatGrasp ? is_whole_grasp(in, length)
                                                    : true;
  in.seek(0);
  return is_whole;
}

bool VXReadGridFile(vxistream& in, VXSkewGrid& grid, unsigned int code) try {
  if (!VXIsWholeGridFile(in, code)) return false;
  const bool read = code == VXGridFormatJSON     ? read_document(in, grid)
                    : code == VXGridFormatNative ? read_record(in, grid)
                                                 : read_map(in, grid, code);
  if (!read) return false;
  if (grid.GetValues()) return true;
  VXThrow.Warning("it holds %s, which makes no map", grid.GetSize() ? "one point" : "no point");
  return false;
} catch (const std::bad_alloc&) {
  VXThrow.Warning("there is not enough memory for the grid");
  return false;
}

bool VXReadGridFile(vxistream& in, VXScalarGrid& grid, unsigned int code) try {
  VXSkewGrid skew;
  if (!VXReadGridFile(in, skew, code)) return false;
  if (is_regular(inner(skew))) {
    inner(skew).MoveFloats(grid);
    VXCopyBaseData(grid, skew);
  } else if (!regular_size_is_bearable(inner(skew), "; read it as a skew grid") ||
             !VXMakeRegularGrid(grid, skew, 0.0f)) {
    return false;
  }
  return grid.SetType(skew.GetType());
} catch (const std::bad_alloc&) {
  VXThrow.Warning("there is not enough memory for the grid");
  return false;
}

bool VXHasCrystalCell(const VXZemoGrid& grid) {
  if (grid.HasSpaceGroup()) return grid.HasUnitCell();
  return cell_makes_lattice(grid) && !(is_regular(grid) && VXDocumentHoldsCell(grid));
}

bool VXDocumentHoldsCell(const VXZemoGrid& grid) {
  const Cell cell(grid);
  return cell.beta == cell.gamma && cell.x == grid.GetXDim() && cell.y == grid.GetYDim() &&
         cell.z == grid.GetZDim() && cell_makes_lattice(grid);
}

bool VXHoldsLattice(unsigned int code, const VXZemoGrid& grid) {
  switch (code) {
    case VXGridFormatNative:
      return true;
    case VXGridFormatGRD:
      return !grid.HasUnitCell() || cell_makes_lattice(grid);
    case VXGridFormatCCP4:
      return is_regular(grid) || cell_makes_lattice(grid);
    case VXGridFormatJSON:
      return is_regular(grid) || VXDocumentHoldsCell(grid);
    default:
      return is_regular(grid);
  }
}

std::string VXChangeInFile(unsigned int code, const VXZemoGrid& grid) {
  if (code == VXGridFormatGrasp) {
    const std::string n = std::to_string(kGraspDim);
    return "interpolated onto the " + n + " x " + n + " x " + n + " points of GRASP maps";
  }
  if (code != VXGridFormatCCP4 || (grid.HasSpaceGroup() && grid.GetOrientationSet())) return {};
  return VXHasCrystalCell(grid) && !grid.HasSpaceGroup()
             ? "has no space group; written as P 1"
             : "interpolated onto the lattice that plain grids have in CCP4 maps";
}

bool VXWriteGridFile(vxostream& out, const VXZemoGrid& grid, unsigned int code) {
  if (!can_write(code) || !can_hold(code, grid)) return false;
  if (code == VXGridFormatNative) return write_record(out, grid);
  if (code == VXGridFormatJSON) return write_line(out, VXMapToJSON(VXSkewGrid(VXSkewGridImpl(grid))));
  VXZemoGrid changed;
  return VXWriteGrid(out, fit_to_format(changed, grid, code) ? changed : grid, code);
}

bool VXWriteGridFile(vxostream& out, const VXSkewGrid& grid, unsigned int code) {
  if (code == VXGridFormatNative) return write_record(out, grid);
  if (code == VXGridFormatJSON) return write_line(out, VXMapToJSON(grid));
  return VXWriteGridFile(out, inner(grid), code);
}

bool VXWriteGridFile(vxostream& out, const VXScalarGrid& grid, unsigned int code) {
  if (!can_write(code)) return false;
  if (code == VXGridFormatNative) return write_record(out, grid);
  if (code == VXGridFormatJSON) return write_line(out, VXGridToJSON(grid, VXJSONFlagBaseData));
  return VXWriteGrid(out, grid, code);
}

std::string VXMapToJSON(const VXSkewGrid& grid) {
  if (VXDocumentHoldsCell(inner(grid))) return VXGridToJSON(grid, VXJSONFlagBaseData);
  VXScalarGrid plain;
  if (!can_hold(VXGridFormatJSON, inner(grid)) || !VXMakeRegularGrid(plain, grid, 0.0f)) return {};
  plain.SetType(grid.GetType());
  return VXGridToJSON(plain, VXJSONFlagBaseData);
}

bool VXJSONToMap(VXSkewGrid& grid, const std::string& text) {
  if (has_cell(text)) {
    const bool read = VXJSONToGrid(grid, text);
    VXCopyBaseData(inner(grid), grid);
    return read;
  }
  VXScalarGrid plain;
  if (!VXJSONToGrid(plain, text)) return false;
  grid = VXMakePlainSkewGrid(std::move(plain));
  return true;
}

}  // namespace VXCore
