#include <vxgrid/formats/ccp4.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/formats/map_frame.inl>
#include <vxgrid/formats/map_samples.inl>
#include <vxgrid/formats/regular_size.inl>

namespace VXCore {
namespace {

using VXHost::vxistream;
using VXHost::vxostream;

constexpr int kLargestCount = 131072;  // beyond it the first number of a file is of the other byte order
constexpr int kMachineStamp = 16708;
constexpr int kPlainGridGroup = 146;
constexpr unsigned long kRecordBytes = 80;
constexpr std::size_t kBlock = 16384;  // samples multiplied or gathered at a time

// The numbers of the header in file order, in four runs between which the reader and the writer do something
// else.
template <class Map, class Number>
void count_fields(Map& m, Number& number) {
  number(m.NR), number(m.NS), number(m.MODE);
}

template <class Map, class Number>
void frame_fields(Map& m, Number& number) {
  number(m.NCSTART), number(m.NRSTART), number(m.NSSTART);
  number(m.NX), number(m.NY), number(m.NZ);
  number(m.a), number(m.b), number(m.c), number(m.alpha), number(m.beta), number(m.gamma);
  number(m.MAPC), number(m.MAPR), number(m.MAPS);
}

template <class Map, class Number>
void other_fields(Map& m, Number& number) {
  number(m.AMIN), number(m.AMAX), number(m.AMEAN);
  number(m.ISPG), number(m.NSYMBT), number(m.LSKFLG);
  for (auto& element : m.SKWMAT) number(element);
  for (auto& element : m.SKWTRN) number(element);
}

template <class Map, class Number>
void last_fields(Map& m, Number& number) {
  number(m.MACHST), number(m.ARMS), number(m.NLABL);
}

/// Reads numbers of the header. Where the file ends inside one, the bytes that did not come stay as they
/// were.
class HeadReader {
 public:
  explicit HeadReader(vxistream& in) : in_(in) {}

  template <class T>
  void operator()(T& field) {
    static_assert(sizeof(T) == 4);
    unsigned int bits;
    std::memcpy(&bits, &field, 4);
    bits = ordered(bits);
    in_.read(reinterpret_cast<char*>(&bits), 4);
    bits = ordered(bits);
    std::memcpy(&field, &bits, 4);
  }

  /// The first number, which tells the byte order.
  void first(int& count) {
    (*this)(count);
    swap_ = std::abs(static_cast<long long>(count)) > kLargestCount;
    count = static_cast<int>(ordered(static_cast<unsigned int>(count)));
  }
  bool swap() const { return swap_; }

 private:
  unsigned int ordered(unsigned int bits) const { return swap_ ? __builtin_bswap32(bits) : bits; }

  vxistream& in_;
  bool swap_ = false;
};

class HeadWriter {
 public:
  explicit HeadWriter(vxostream& out) : out_(out) {}

  template <class T>
  void operator()(const T& field) {
    static_assert(sizeof(T) == 4);
    out_.write(reinterpret_cast<const char*>(&field), 4);
  }

 private:
  vxostream& out_;
};

enum class Head { Good, BadMode, BadAxes };

bool is_axis(int number) { return number >= 1 && number <= 3; }

// The header up to the labels.
Head read_head(vxistream& in, VXCCP4Map& map, bool& swap) {
  HeadReader number(in);
  number.first(map.NC);
  swap = number.swap();
  count_fields(map, number);
  if (map.MODE != 0 && map.MODE != 2) return Head::BadMode;
  frame_fields(map, number);
  if (!is_axis(map.MAPC) || !is_axis(map.MAPR) || !is_axis(map.MAPS)) return Head::BadAxes;
  other_fields(map, number);
  for (unsigned char& low_byte : map.FUTURE) {
    int word = low_byte;
    number(word);
    low_byte = static_cast<unsigned char>(word);
  }
  in.read(map.MAP, sizeof map.MAP);
  last_fields(map, number);
  for (auto& label : map.LABEL) in.read(label, sizeof label);
  return Head::Good;
}

void write_counts(vxostream& out, const VXCCP4Map& map) {
  HeadWriter number(out);
  number(map.NC);
  count_fields(map, number);
}

// What follows the counts, up to the labels.
void write_head(vxostream& out, const VXCCP4Map& map) {
  HeadWriter number(out);
  frame_fields(map, number);
  other_fields(map, number);
  for (const unsigned char low_byte : map.FUTURE) number(static_cast<int>(low_byte));
  out.write(map.MAP, sizeof map.MAP);
  last_fields(map, number);
  for (const auto& label : map.LABEL) out.write(label, sizeof label);
}

// The values of the 256 bytes of MODE 0.
std::array<float, 256> byte_values(const VXCCP4Map& map) {
  std::array<float, 256> values;
  for (int b = 0; b < 256; ++b)
    values[b] = (map.AMAX - map.AMIN) * static_cast<float>(b + 128) * 0.00392f + map.AMIN;
  return values;
}

// The axes (0 is x) of columns, rows and sections, where the last is the one that the other two leave. None
// when these are the same, or no axes.
std::optional<std::array<int, 3>> file_axes(const VXCCP4Map& map) {
  if (!is_axis(map.MAPC) || !is_axis(map.MAPR) || map.MAPC == map.MAPR) return std::nullopt;
  return std::array<int, 3>{map.MAPC - 1, map.MAPR - 1, 5 - map.MAPC - map.MAPR};
}

// The samples of the file in an array with x fastest, which has one more plane on each flagged axis.
SampleOrder sample_order(const VXCCP4Map& map, const std::array<int, 3>& axes, int flags_wrap) {
  const int count[3] = {std::max(0, map.NC), std::max(0, map.NR), std::max(0, map.NS)};
  std::size_t dims[3];
  for (int i = 0; i < 3; ++i)
    dims[axes[i]] = static_cast<std::size_t>(count[i]) + (flags_wrap >> axes[i] & 1);
  const std::size_t step[3] = {1, dims[0], dims[0] * dims[1]};
  SampleOrder order;
  for (int i = 0; i < 3; ++i) {
    order.count[i] = static_cast<std::size_t>(count[i]);
    order.stride[i] = step[axes[i]];
  }
  order.close_x = flags_wrap & 1;
  return order;
}

/// Places of the first samples and of the last, along x, y, z of the cell grid.
struct MapBox {
  int start[3];
  int end[3];  // inclusive until check_dims
};

MapBox map_box(const VXCCP4Map& map, const std::array<int, 3>& axes) {
  const int start[3] = {map.NCSTART, map.NRSTART, map.NSSTART}, count[3] = {map.NC, map.NR, map.NS};
  MapBox box;
  for (int i = 0; i < 3; ++i) {
    box.start[axes[i]] = start[i];
    // Unsigned, so that a box outside 32 bits shows as one that ends before it starts.
    box.end[axes[i]] =
        static_cast<int>(static_cast<unsigned int>(start[i]) + static_cast<unsigned int>(count[i]) - 1u);
  }
  return box;
}

void name_grid(VXZemoGrid& grid, const VXCCP4Map& map) {
  grid.SetTitle("ccp4 map");
  grid.SetSpaceGroup(static_cast<unsigned int>(map.ISPG));
}

// NC * NR * NS; none when it is negative or no array can have that many.
std::optional<std::size_t> announced_samples(const VXCCP4Map& map) {
  long long n;
  if (__builtin_mul_overflow(static_cast<long long>(map.NC) * map.NR, static_cast<long long>(map.NS), &n) ||
      n < 0 || n > PTRDIFF_MAX / 4)
    return std::nullopt;
  return static_cast<std::size_t>(n);
}

bool check_payment(const vxistream& in, std::size_t samples, const SampleCode& code) {
  if (file_can_pay(in, samples, code)) return true;
  VXThrow.Warning("CCP4 map: %zu samples announced, the file holds at most %llu", samples,
                  in.max_bytes_left() / static_cast<unsigned long long>(code.width()));
  return false;
}

// Whole records, then the rest of the NSYMBT bytes is passed over. What a short file does not hold of its
// records is not made either.
void read_symmetry(vxistream& in, VXCCP4Map& map) {
  const unsigned long announced = static_cast<unsigned long>(std::max(0, map.NSYMBT));
  std::string bytes;
  in.read(bytes, announced / kRecordBytes * kRecordBytes);
  map.symmetry.assign((bytes.size() + kRecordBytes - 1) / kRecordBytes, {});
  if (!bytes.empty()) std::memcpy(map.symmetry.data(), bytes.data(), bytes.size());
  in.seek(in.tell() + announced % kRecordBytes);
}

unsigned long long count_rest(vxistream& in) {
  char block[16384];
  unsigned long long rest = 0;
  while (const unsigned long n = in.read(block, sizeof block)) rest += n;
  return rest;
}

/// The samples of a grid on their way to a file: as they are, or multiplied by the sigma that they were
/// divided by.
class OutgoingSamples {
 public:
  OutgoingSamples(const float* values, std::size_t n) : values_(values), n_(n) {}

  /// False, with a Warning, when the grid's sigma is 0.
  bool unnormalize(const VXBase& base) {
    if (!base.HasData(ALREADY_NORMALIZED) || !base.HasData(SIGMA)) return true;
    sigma_ = base.GetData<float>(SIGMA);
    if (sigma_ == 0.0f) {
      VXThrow.Warning("VXWriteCCP4: cached SIGMA value is 0.0, grid values will be zero, failing...");
      return false;
    }
    VXThrow.Verbose("Unnormalizing by sigma %1.19f", sigma_);
    scratch_.resize(std::min(n_, kBlock));
    return true;
  }

  /// Calls take(const float* samples, size_t count) for one block after another.
  template <class Take>
  void each_block(Take take) {
    if (scratch_.empty()) return take(values_, n_);
    for (std::size_t at = 0; at < n_; at += kBlock) {
      const std::size_t n = std::min(kBlock, n_ - at);
      for (std::size_t i = 0; i < n; ++i) scratch_[i] = static_cast<float>(double(values_[at + i]) * sigma_);
      take(scratch_.data(), n);
    }
  }

 private:
  const float* values_;
  std::size_t n_;
  float sigma_ = 1.0f;
  std::vector<float> scratch_;  // empty for samples that go as they are
};

// Not-a-number is neither below nor above anything. Sixteen running extremes each, for vectors.
void widen_range(const float* samples, std::size_t n, float& amin, float& amax) {
  constexpr std::size_t kLanes = 16;
  float low[kLanes], high[kLanes];
  std::fill_n(low, kLanes, amin);
  std::fill_n(high, kLanes, amax);
  std::size_t i = 0;
  for (; i + kLanes <= n; i += kLanes)
    for (std::size_t k = 0; k < kLanes; ++k) {
      low[k] = samples[i + k] < low[k] ? samples[i + k] : low[k];
      high[k] = samples[i + k] > high[k] ? samples[i + k] : high[k];
    }
  for (; i < n; ++i) {
    low[0] = samples[i] < low[0] ? samples[i] : low[0];
    high[0] = samples[i] > high[0] ? samples[i] : high[0];
  }
  amin = *std::min_element(low, low + kLanes);
  amax = *std::max_element(high, high + kLanes);
}

void set_statistics(const VXBase& base, VXCCP4Map& map, OutgoingSamples& samples) {
  if (base.HasData(ARMS) && base.HasData(AMEAN) && base.HasData(AMIN) && base.HasData(AMAX)) {
    map.ARMS = base.GetData<float>(ARMS);
    map.AMEAN = base.GetData<float>(AMEAN);
    map.AMIN = base.GetData<float>(AMIN);
    map.AMAX = base.GetData<float>(AMAX);
    return;
  }
  map.AMIN = FLT_MAX;
  map.AMAX = -FLT_MAX;
  samples.each_block([&](const float* from, std::size_t n) { widen_range(from, n, map.AMIN, map.AMAX); });
  map.AMEAN = 0.0f;
  map.ARMS = 1.0f;
}

bool get_grid_statistics(const VXBase& base, VXCCP4Map& map, const float* values) {
  OutgoingSamples samples(values, map.data.size());
  if (!samples.unnormalize(base)) return false;
  float* to = map.data.data();
  samples.each_block([&](const float* from, std::size_t n) { to = std::copy_n(from, n, to); });
  set_statistics(base, map, samples);
  return true;
}

// What becomes of a header and the values that belong to it: the image is completed,
bool finish_image(VXCCP4Map& map, const VXBase& base, const float* values) {
  const auto n = announced_samples(map);
  map.SetGridSize(values && n ? *n : 0);
  return get_grid_statistics(base, map, values);
}

// or both are written, with the values straight from the grid.
bool write_grid(vxostream& out, VXCCP4Map& map, const VXBase& base, const float* values) {
  const auto n = announced_samples(map);
  OutgoingSamples samples(values, values && n ? *n : 0);
  if (!samples.unnormalize(base)) return false;
  set_statistics(base, map, samples);
  if (!values || !n || *n == 0) return false;
  write_counts(out, map);
  write_head(out, map);
  samples.each_block([&](const float* from, std::size_t count) {
    out.write(reinterpret_cast<const char*>(from), count * sizeof(float));
  });
  return out.flush();
}

struct ToFile {
  vxostream& out;
  bool operator()(VXCCP4Map& map, const VXBase& base, const float* values) const {
    return write_grid(out, map, base, values);
  }
};

// Truncated, then moved by one if that is more than a half away. Numbers beyond int give its ends.
int nearest_int(double q) {
  if (!(q > INT_MIN + 1.0)) return INT_MIN;
  if (q > INT_MAX - 1.0) return INT_MAX;
  const int truncated = static_cast<int>(q);
  if (truncated - q > 0.5) return truncated - 1;
  if (truncated - q < -0.5) return truncated + 1;
  return truncated;
}

// inverse * p by cofactors.
void solve3(const float m[9], const double p[3], double q[3]) {
  const double c00 = double(m[4]) * m[8] - double(m[5]) * m[7],
               c01 = double(m[5]) * m[6] - double(m[3]) * m[8],
               c02 = double(m[3]) * m[7] - double(m[4]) * m[6];
  const double det = m[0] * c00 + m[1] * c01 + m[2] * c02;
  const double inverse[9] = {c00 / det,
                             (double(m[2]) * m[7] - double(m[1]) * m[8]) / det,
                             (double(m[1]) * m[5] - double(m[2]) * m[4]) / det,
                             c01 / det,
                             (double(m[0]) * m[8] - double(m[2]) * m[6]) / det,
                             (double(m[2]) * m[3] - double(m[0]) * m[5]) / det,
                             c02 / det,
                             (double(m[1]) * m[6] - double(m[0]) * m[7]) / det,
                             (double(m[0]) * m[4] - double(m[1]) * m[3]) / det};
  for (int i = 0; i < 3; ++i)
    q[i] = inverse[3 * i] * p[0] + inverse[3 * i + 1] * p[1] + inverse[3 * i + 2] * p[2];
}

void start_image(VXCCP4Map& map) {
  map.Clear();
  map.MODE = 2;
  map.MAPC = 1, map.MAPR = 2, map.MAPS = 3;
  map.LSKFLG = 0;
  std::memcpy(map.MAP, "MAP ", 4);
  map.MACHST = kMachineStamp;
  map.ARMS = 0;
}

template <class Finish>
bool from_plain_grid(VXCCP4Map& map, const VXScalarGrid& grid, Finish finish) {
  start_image(map);
  map.alpha = map.beta = map.gamma = 90.0f;
  map.ISPG = kPlainGridGroup;
  float centre[3], extents[3];
  VXGetCenterAndExtents(grid, centre, extents);
  const float s = grid.GetSpacing();
  map.NC = static_cast<int>(grid.GetXDim() | 1u);
  map.NR = static_cast<int>(grid.GetYDim() | 1u);
  map.NS = static_cast<int>(grid.GetZDim() | 1u);
  const auto twice = [](int n) { return static_cast<int>(2u * static_cast<unsigned int>(n)); };
  map.NX = twice(map.NC), map.NY = twice(map.NR), map.NZ = twice(map.NS);
  for (float& coordinate : centre) coordinate = static_cast<float>(nearest_int(coordinate / s)) * s;

  VXScalarGrid local(map.NC, map.NR, map.NS, centre[0], centre[1], centre[2], s, "", nullptr);
  if (announced_samples(map) != std::size_t{local.GetSize()}) return false;  // has warned
  VXInterpolateBetweenGrids(local, grid);
  const auto start = [s](int n, float mid) {
    return nearest_int(((0.0f - static_cast<float>(n - 1) * 0.5f) * s + mid) / s);
  };
  map.NCSTART = start(map.NC, centre[0]);
  map.NRSTART = start(map.NR, centre[1]);
  map.NSSTART = start(map.NS, centre[2]);
  map.a = static_cast<float>(map.NX) * s;
  map.b = static_cast<float>(map.NY) * s;
  map.c = static_cast<float>(map.NZ) * s;
  return finish(map, grid, local.GetValues());
}

template <class Finish>
bool from_cell_grid(VXCCP4Map& map, const VXZemoGrid& grid, Finish finish) {
  start_image(map);
  map.NC = static_cast<int>(grid.GetXDim());
  map.NR = static_cast<int>(grid.GetYDim());
  map.NS = static_cast<int>(grid.GetZDim());
  grid.GetUnitCell(map.a, map.b, map.c, map.alpha, map.beta, map.gamma);
  unsigned int steps[3];
  grid.GetUnitSpacing(steps[0], steps[1], steps[2]);
  map.NX = static_cast<int>(steps[0]), map.NY = static_cast<int>(steps[1]),
  map.NZ = static_cast<int>(steps[2]);
  map.ISPG = static_cast<int>(grid.GetSpaceGroup());

  float m[9], first[3];
  grid.GetOrientation(m);
  grid.ElementToSpatialCoord(0, first[0], first[1], first[2]);
  const float inverse_spacing = 1.0f / grid.GetSpacing();
  const double p[3] = {first[0] * inverse_spacing, first[1] * inverse_spacing, first[2] * inverse_spacing};
  double q[3];
  solve3(m, p, q);
  map.NCSTART = nearest_int(q[0]), map.NRSTART = nearest_int(q[1]), map.NSSTART = nearest_int(q[2]);
  return finish(map, grid, grid.GetFloats().GetValues());
}

template <class Finish>
bool from_any_grid(VXCCP4Map& map, const VXZemoGrid& grid, Finish finish) {
  if (grid.GetOrientationSet() && grid.HasSpaceGroup()) return from_cell_grid(map, grid, finish);
  if (!regular_size_is_bearable(grid, "; with a space group it is written as it is")) return false;
  VXZemoGrid regular;
  if (!VXMakeRegularGrid(regular, grid, 0.0f)) return false;
  VXScalarGrid plain;
  regular.MoveFloats(plain);
  return from_plain_grid(map, plain, finish);
}

template <class Grid>
bool write_file(const std::string& name, const Grid& grid) {
  const std::unique_ptr<vxostream> out(VXHost::VXOpenOStream(name.c_str()));
  if (!out) {
    VXThrow.Warning("Unable to open file for grid writing: %s", name.c_str());
    return false;
  }
  const bool written = VXWriteCCP4Grid(*out, grid);
  return out->close() && written;
}

const char* axis_letter(int axis) {
  static constexpr const char* kLetters[] = {"X", "Y", "Z"};
  return is_axis(axis) ? kLetters[axis - 1] : "Bad Axes";
}

}  // namespace

void VXCCP4Map::Clear() {
  symmetry.clear();
  NSYMBT = NLABL = 0;
  std::fill(std::begin(SKWMAT), std::end(SKWMAT), 0.0f);
  std::fill(std::begin(SKWTRN), std::end(SKWTRN), 0.0f);
  std::fill(std::begin(FUTURE), std::end(FUTURE), static_cast<unsigned char>(0));
  data.clear();
  std::memset(LABEL, ' ', sizeof LABEL);
}

bool VXCCP4Map::Read(vxistream& in) {
  const unsigned long long from = in.tell();
  SampleCode code;
  switch (read_head(in, *this, code.swap)) {
    case Head::BadMode:
      VXThrow.Error("VXCCP4Map::Can only read CCP4 Maps of type 2 (Real Numbers)");
      return false;
    case Head::BadAxes:
      VXThrow.Error("VXCCP4Map::Map axes must correspond to 1(x) 2(y) or 3(z)");
      return false;
    case Head::Good:
      break;
  }
  read_symmetry(in, *this);
  const unsigned long long head_bytes = in.tell() - from;
  const std::array<float, 256> bytes = byte_values(*this);
  if (MODE == 0) code.byte_values = bytes.data();

  const auto samples = announced_samples(*this);
  if (!samples) {
    VXThrow.Warning("CCP4 map: %d x %d x %d samples announced", NC, NR, NS);
    return false;
  }
  if (!check_payment(in, *samples, code)) return false;
  SetGridSize(*samples);
  const unsigned long long before = in.tell();
  if (NC > 0 && NR > 0 && NS > 0) {
    const auto axes = file_axes(*this);
    if (!axes) {
      VXThrow.Error("VXCCP4Map::indices not independent!");
      return false;
    }
    read_samples(in, code, sample_order(*this, *axes, 0), data.data());
  }
  const unsigned long long sample_bytes = in.tell() - before;
  if (const unsigned long long rest = count_rest(in))
    VXThrow.Warning("Read %d bytes more, initial bytes %d, total data bytes = %d (should be %d)",
                    static_cast<int>(rest), static_cast<int>(head_bytes),
                    static_cast<int>(sample_bytes + rest), static_cast<int>(*samples * code.width()));
  return true;
}

bool VXCCP4Map::Write(vxostream& out) {
  if (data.empty()) return false;
  write_counts(out, *this);
  if (MODE != 2) {
    VXThrow.Error("VXCCP4Map::Can only write CCP4 Maps of type 2 (Real Numbers)");
    return false;
  }
  if (symmetry.size() != static_cast<unsigned long>(std::max(0, NSYMBT)) / kRecordBytes) {
    VXThrow.Warning("CCP4 map: %d bytes of symmetry announced, the image holds %zu records", NSYMBT,
                    symmetry.size());
    return false;
  }
  write_head(out, *this);
  for (auto& record : symmetry) {
    out.write(record.data(), record.size());
    record[79] = 0;
  }
  // Records are whole; the samples start where NSYMBT says.
  const std::string rest(static_cast<unsigned long>(std::max(0, NSYMBT)) % kRecordBytes, '\0');
  out.write(rest.data(), rest.size());

  const auto axes = file_axes(*this);
  if (!axes) {
    VXThrow.Error("VXCCP4Map::indices not independent!");
    return false;
  }
  const auto samples = announced_samples(*this);
  if (!samples || *samples > data.size()) {
    VXThrow.Warning("CCP4 map: %d x %d x %d samples announced, the image holds %zu", NC, NR, NS, data.size());
    return false;
  }
  const SampleOrder order = sample_order(*this, *axes, 0);
  std::vector<float> row(order.count[0]);
  for (std::size_t k = 0; k < order.count[2]; ++k)
    for (std::size_t j = 0; j < order.count[1]; ++j) {
      const float* const from = data.data() + j * order.stride[1] + k * order.stride[2];
      for (std::size_t i = 0; i < row.size(); ++i) row[i] = from[i * order.stride[0]];
      out.write(reinterpret_cast<const char*>(row.data()), row.size() * sizeof(float));
    }
  return out.flush();
}

void VXCCP4Map::Dump(bool verbose) const {
  const auto stop = [](int start, int count) {
    return static_cast<int>(static_cast<unsigned int>(start) + static_cast<unsigned int>(count) - 1u);
  };
  VXThrow.Info("\tNumber of columns, rows, sections ...............   %4d %4d %4d", NC, NR, NS);
  VXThrow.Info("\tMap mode ........................................   %2d", MODE);
  VXThrow.Info("\tStart and stop points on columns, rows, sections   %4d %4d %4d %4d %4d %4d", NCSTART,
               stop(NCSTART, NC), NRSTART, stop(NRSTART, NR), NSSTART, stop(NSSTART, NS));
  VXThrow.Info("\tGrid sampling on x, y, z ........................   %4d %4d %4d", NX, NY, NZ);
  VXThrow.Info("\tCell dimensions .................................  %3.5f %3.5f %3.5f %3.5f %3.5f %3.5f", a,
               b, c, alpha, beta, gamma);
  VXThrow.Info("\tFast, medium, slow axes .........................    %s    %s    %s", axis_letter(MAPC),
               axis_letter(MAPR), axis_letter(MAPS));
  VXThrow.Info("\tMinimum density .................................    %1.5f", AMIN);
  VXThrow.Info("\tMaximum density .................................    %1.5f", AMAX);
  VXThrow.Info("\tMean density ....................................    %1.5f", AMEAN);
  VXThrow.Info("\tRms deviation from mean density .................    %1.5f", ARMS);
  VXThrow.Info("\tSpace-group .....................................   %4d", ISPG);
  VXThrow.Info("\tNumber of titles ................................    %d", NLABL);
  VXThrow.Info(" Labels: ");
  for (int i = 0; i < std::min(NLABL, 10); ++i) VXThrow.Info("\t*%.80s*", LABEL[i]);
  if (!verbose) return;
  VXThrow.Info("NC      %d", NC);
  VXThrow.Info("NR      %d", NR);
  VXThrow.Info("NS      %d", NS);
  VXThrow.Info("Mode    %d", MODE);
  VXThrow.Info("NCSTART %d", NCSTART);
  VXThrow.Info("NRSTART %d", NRSTART);
  VXThrow.Info("NSSTART %d", NSSTART);
  VXThrow.Info("NX      %d", NX);
  VXThrow.Info("NY      %d", NY);
  VXThrow.Info("NZ      %d", NZ);
  VXThrow.Info("A       %f", a);
  VXThrow.Info("B       %f", b);
  VXThrow.Info("C       %f", c);
  VXThrow.Info("Alpha   %f", alpha);
  VXThrow.Info("Beta    %f", beta);
  VXThrow.Info("Gamma   %f", gamma);
  VXThrow.Info("MAPC    %d", MAPC);
  VXThrow.Info("MAPR    %d", MAPR);
  VXThrow.Info("MAPS    %d", MAPS);
  VXThrow.Info("AMIN    %f", AMIN);
  VXThrow.Info("AMAX    %f", AMAX);
  VXThrow.Info("AMEAN   %f", AMEAN);
  VXThrow.Info("ISPG    %d", ISPG);
  VXThrow.Info("NSYMBT  %d", NSYMBT);
  VXThrow.Info("LSKFLG  %d", LSKFLG);
  for (int row = 0; row < 3; ++row)
    VXThrow.Info("SKWMAT: %0.6f %0.6f %0.6f", SKWMAT[3 * row], SKWMAT[3 * row + 1], SKWMAT[3 * row + 2]);
  VXThrow.Info("SKWTRN: %2.4f %2.4f %2.4f", SKWTRN[0], SKWTRN[1], SKWTRN[2]);
  VXThrow.Info("ARMS    %f", ARMS);
  VXThrow.Info("NLABL   %d", NLABL);
  VXThrow.Info("===========================");
}

bool VXReadCCP4Map(vxistream& in, VXZemoGrid& grid) {
  VXCCP4Map map;
  SampleCode code;
  if (read_head(in, map, code.swap) != Head::Good) return false;
  if (map.NC < 1 || map.NR < 1 || map.NS < 1) {
    VXThrow.Warning("Invalid CCP4 grid dimensions: %i %i %i", map.NC, map.NR, map.NS);
    return false;
  }
  const int samples =
      VXGridSizeMultiply(static_cast<unsigned long>(map.NC), static_cast<unsigned long>(map.NR),
                         static_cast<unsigned long>(map.NS));
  const auto axes = file_axes(map);
  if (samples == 0 || !axes || (*axes)[2] != map.MAPS - 1) return false;
  MapBox box = map_box(map, *axes);
  int flags_any, flags_wrap;
  if (!check_dims(map.NX, map.NY, map.NZ, box.end, box.start, flags_any, flags_wrap)) return false;

  in.seek(in.tell() + static_cast<unsigned long long>(std::max(0, map.NSYMBT)));
  const std::array<float, 256> bytes = byte_values(map);
  if (map.MODE == 0) code.byte_values = bytes.data();
  if (!check_payment(in, static_cast<std::size_t>(samples), code)) return false;

  grid.Clear();
  if (!size_map_grid(grid, box.end, box.start, flags_wrap)) return false;
  float* const values = grid.GetFloats().GetValues();
  const bool whole = read_samples(in, code, sample_order(map, *axes, flags_wrap), values);
  const unsigned int dims[3] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  close_planes(values, dims, whole ? flags_wrap & ~1 : flags_wrap);  // a whole box has x closed row by row
  const float cell[6] = {map.a, map.b, map.c, map.alpha, map.beta, map.gamma};
  place_in_cell(grid, cell, map.NX, map.NY, map.NZ, box.end, box.start);
  name_grid(grid, map);
  grid.SetData<float>(AMEAN, map.AMEAN);
  grid.SetData<float>(AMIN, map.AMIN);
  grid.SetData<float>(AMAX, map.AMAX);
  grid.SetData<float>(ARMS, map.ARMS);
  return true;
}

bool VXCCP4ToGrid(VXZemoGrid& grid, const VXCCP4Map& map) {
  // Axis numbers that name no axes are taken as x, y, z.
  MapBox box = map_box(map, file_axes(map).value_or(std::array<int, 3>{0, 1, 2}));
  int flags_any, flags_wrap;
  if (!check_dims(map.NX, map.NY, map.NZ, box.end, box.start, flags_any, flags_wrap)) return false;
  grid.Clear();
  const float cell[6] = {map.a, map.b, map.c, map.alpha, map.beta, map.gamma};
  if (!finish_map(grid, map.data.data(), map.data.size(), cell, map.NX, map.NY, map.NZ, box.end, box.start,
                  flags_wrap))
    return false;
  name_grid(grid, map);
  return true;
}

bool VXGridToCCP4(VXCCP4Map& map, const VXScalarGrid& grid) {
  return from_plain_grid(map, grid, finish_image);
}

bool VXGridToCCP4(VXCCP4Map& map, const VXZemoGrid& grid) { return from_any_grid(map, grid, finish_image); }

bool VXWriteCCP4Grid(vxostream& out, const VXScalarGrid& grid) {
  VXCCP4Map map;
  return from_plain_grid(map, grid, ToFile{out});
}

bool VXWriteCCP4Grid(vxostream& out, const VXZemoGrid& grid) {
  VXCCP4Map map;
  return from_any_grid(map, grid, ToFile{out});
}

bool VXWriteCCP4Grid(const std::string& name, const VXScalarGrid& grid) { return write_file(name, grid); }

bool VXWriteCCP4Grid(const std::string& name, const VXZemoGrid& grid) { return write_file(name, grid); }

}  // namespace VXCore
