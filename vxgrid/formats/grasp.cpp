#include <vxgrid/formats/grasp.h>

#include <algorithm>
#include <iterator>

#include <vxgrid/host/binary_records.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/between_grids.h>
#include <vxgrid/formats/map_samples.inl>
#include <vxgrid/processing/lattice.inl>

namespace VXCore {
namespace {

using VXHost::vxistream;
using VXHost::vxostream;

constexpr std::size_t kSamples = std::size_t{kGraspDim} * kGraspDim * kGraspDim;

// The texts as they stand in a file; 70 bytes the second.
constexpr char kFirstText[] = "now starting phimap ";
constexpr char kTitle[] = "potential Phimap written from within Grasp                            ";
constexpr char kLastText[] = " end of phimap  ";
static_assert(sizeof kFirstText == 20 + 1 && sizeof kTitle == 70 + 1 && sizeof kLastText == 16 + 1);

template <class T>
T read_number(vxistream& in, bool swap) {
  T number = 0;
  VXBReadData(in, number, swap);
  return number;
}

template <class T>
void write_number(T number, vxostream& out, bool swap) {
  if (swap) ArraySwapBytes(reinterpret_cast<unsigned char*>(&number), 1, sizeof number);
  VXBWriteData(out, number);
}

template <std::size_t n>
void write_text(vxostream& out, const char (&text)[n]) {
  VXGraspIO::WriteGraspLine(out, text, n - 1, VXGraspIO::DetermineGraspByteOrder());
}

// Floats of a record, swapped in blocks that stay in the first-level cache.
void write_floats(vxostream& out, const float* values, std::size_t n) {
  float block[4096];
  for (std::size_t part; n > 0; values += part, n -= part) {
    part = std::min(n, std::size(block));
    std::copy_n(values, part, block);
    auto* const raw = reinterpret_cast<unsigned char*>(block);
    if (VXGraspIO::DetermineGraspByteOrder()) ArraySwapBytes(raw, part, sizeof(float));
    out.write(raw, part * sizeof(float));
  }
}

// A whole map; write_samples puts kSamples floats out.
template <class WriteSamples>
bool write_map(vxostream& out, float scale, const float* mid, WriteSamples write_samples) {
  const float lattice[] = {scale, mid[0], mid[1], mid[2]};
  const auto record = [&out](int floats, auto write) {
    VXGraspIO::WBeginGraspBlock(floats * static_cast<int>(sizeof(float)), out);
    write();
    VXGraspIO::WEndGraspBlock(floats * static_cast<int>(sizeof(float)), out);
  };
  write_text(out, kFirstText);
  write_text(out, kTitle);
  record(kSamples, write_samples);
  write_text(out, kLastText);
  record(std::size(lattice), [&] { write_floats(out, lattice, std::size(lattice)); });
  return out.flush();
}

}  // namespace

int VXGraspIO::ReadGraspInt(vxistream& in, bool swap) { return read_number<int>(in, swap); }
float VXGraspIO::ReadGraspFloat(vxistream& in, bool swap) { return read_number<float>(in, swap); }
double VXGraspIO::ReadGraspDouble(vxistream& in, bool swap) { return read_number<double>(in, swap); }
void VXGraspIO::WriteGraspInt(int number, vxostream& out, bool swap) { write_number(number, out, swap); }
void VXGraspIO::WriteGraspFloat(float number, vxostream& out, bool swap) { write_number(number, out, swap); }

void VXGraspIO::BeginGraspBlock(vxistream& in) { ReadGraspInt(in, false); }
void VXGraspIO::EndGraspBlock(vxistream& in) { ReadGraspInt(in, false); }
void VXGraspIO::WBeginGraspBlock(int length, vxostream& out) { WriteGraspInt(length, out, false); }
void VXGraspIO::WBeginGraspBlock(unsigned int length, vxostream& out) { write_number(length, out, false); }
void VXGraspIO::WEndGraspBlock(int length, vxostream& out) { WriteGraspInt(length, out, false); }

std::string VXGraspIO::ReadGraspLine(vxistream& in) {
  int length = 0;
  for (int i = 0; i < 4; ++i) {
    const int byte = in.getbyte();  // -1 at the end
    if (length == 0) length = byte;
  }
  if (length < 0) {
    VXThrow.Warning("Invalid line length in Grasp grid file");
    return {};
  }
  char text[255];
  const std::string line(text, in.read(text, static_cast<unsigned long>(length)));
  EndGraspBlock(in);
  return line;
}

void VXGraspIO::WriteGraspLine(vxostream& out, const char* text, int length, bool swap) {
  WriteGraspInt(length, out, swap);
  if (length > 0) out.write(text, static_cast<unsigned long>(length));
  WriteGraspInt(length, out, swap);
}

bool VXReadDelphiMap(vxistream& in, float* values, float* scale, float* mid) {
  SampleCode code;
  code.swap = VXGraspIO::DetermineGraspByteOrder();
  const SampleOrder x_fastest{{kGraspDim, kGraspDim, kGraspDim}, {1, kGraspDim, kGraspDim * kGraspDim}};

  VXGraspIO::ReadGraspLine(in);
  VXGraspIO::ReadGraspLine(in);
  VXGraspIO::BeginGraspBlock(in);
  read_samples(in, code, x_fastest, values);
  VXGraspIO::EndGraspBlock(in);
  VXGraspIO::ReadGraspLine(in);
  VXGraspIO::BeginGraspBlock(in);
  bool whole = true;
  for (float* const number : {scale, mid, mid + 1, mid + 2}) whole = VXBReadData(in, *number, code.swap);
  VXGraspIO::EndGraspBlock(in);
  return whole;
}

bool VXWriteDelphiMap(vxostream& out, const float* values, float scale, const float* mid) {
  return write_map(out, scale, mid, [&] { write_floats(out, values, kSamples); });
}

bool VXReadGraspGrid(vxistream& in, VXZemoGrid& grid) {
  grid.Clear();
  if (!grid.SetDim(kGraspDim, kGraspDim, kGraspDim)) return false;
  float scale = 0, mid[3] = {};
  VXReadDelphiMap(in, grid.GetFloats().GetValues(), &scale, mid);
  grid.SetSpacing(1.0f / scale);
  grid.SetMid(mid[0], mid[1], mid[2]);
  return true;
}

bool VXWriteGraspGrid(vxostream& out, const VXZemoGrid& grid) {
  constexpr float kPerSample = 0.015384615f;  // 1 / 65
  const unsigned int n = std::max({grid.GetXDim(), grid.GetYDim(), grid.GetZDim()});
  float spacing = grid.GetSpacing();
  if (n > kGraspDim) spacing = spacing * kPerSample * static_cast<float>(n);

  // Plane by plane: fresh memory for a whole map would cost more than the interpolation.
  const float mid[3] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
  constexpr int dim = kGraspDim;
  const GridStruct map{nullptr, nullptr, mid[0],  mid[1],         mid[2], dim,
                       dim,     dim,     spacing, 1.0f / spacing, nullptr};
  const float* const samples = grid.GetFloatsSet() ? grid.GetFloats().GetValues() : nullptr;
  return write_map(out, 1.0f / spacing, mid, [&] {
    vi_int_btw_grids_by_plane(samples ? lattice::view(grid, samples) : GridStruct{}, map,
                              [&out](const float* plane) { write_floats(out, plane, dim * dim); });
  });
}

}  // namespace VXCore
