#include <vxgrid/formats/grd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>

#include <vxgrid/host/binary_records.h>
#include <vxgrid/host/error_handler.h>

namespace VXCore {
namespace {

// What stands before an optional item. No item has more than one; those at the end of a file have none.
enum State : unsigned int { kAbsent = 0, kPresent = 1, kOtherOrder = 2 };

constexpr unsigned long kTitleBytes = 80;  // the last one is 0
constexpr std::size_t kBlock = 65536;      // values swapped at a time, while they are in the cache

// --- writing ---

template <class T>
void write_number(vxostream& out, bool is_set, T value) {
  VXBWriteData(out, static_cast<unsigned int>(is_set ? kPresent : kAbsent));
  if (is_set) VXBWriteData(out, value);
}

void write_title(vxostream& out, const VXZemoGrid& grid) {
  VXBWriteData(out, static_cast<unsigned int>(grid.IsTitleSet() ? kPresent : kAbsent));
  if (!grid.IsTitleSet()) return;
  char text[kTitleBytes] = {};
  std::snprintf(text, sizeof text, "%-78s", grid.GetTitle().c_str());
  out.write(text, sizeof text);
}

// Dimensions carry the wrap flags in their signs. That of z is the wrap of x or y, not its own: readers of
// this format count on it.
void write_dimensions(vxostream& out, const VXZemoGrid& grid) {
  const auto signed_dim = [](unsigned int dim, bool wraps) {
    return wraps ? -static_cast<int>(dim) : static_cast<int>(dim);
  };
  const unsigned int reentrant = grid.GetReentrant();
  write_number(out, true, signed_dim(grid.GetXDim(), reentrant & 1));
  write_number(out, true, signed_dim(grid.GetYDim(), reentrant & 2));
  write_number(out, true, signed_dim(grid.GetZDim(), reentrant & 3));
}

// As many values as the lattice of the file has samples. Where a part is not on this lattice or has no such
// field, zeros take the places of what it has not.
template <class T>
void write_field(vxostream& out, const VXMultiGrid<T>& part, std::size_t field, std::size_t samples) {
  static const T zeros[4096] = {};
  const std::size_t size = part.GetSize();
  const std::size_t own = field < part.GetNumGrids() ? std::min(samples, size) : 0;
  if (own) out.write(reinterpret_cast<const char*>(part.GetValues() + field * size), own * sizeof(T));
  for (std::size_t at = own, n; at < samples; at += n) {
    n = std::min(samples - at, std::size(zeros));
    out.write(reinterpret_cast<const char*>(zeros), n * sizeof(T));
  }
}

template <class T>
void write_first_field(vxostream& out, bool is_set, const VXMultiGrid<T>& part, std::size_t samples) {
  VXBWriteData(out, static_cast<unsigned int>(is_set ? kPresent : kAbsent));
  if (is_set) write_field(out, part, 0, samples);
}

void write_orientation(vxostream& out, const VXZemoGrid& grid) {
  float matrix[9];
  const bool is_set = grid.GetOrientation(matrix);
  VXBWriteData(out, static_cast<unsigned int>(is_set ? kPresent : kAbsent));
  if (is_set)
    for (const float element : matrix) VXBWriteData(out, element);
}

// The number of a current field follows its state word whatever that says.
void write_multiple(vxostream& out, unsigned int multiple) {
  VXBWriteData(out, static_cast<unsigned int>(multiple < 1 ? kAbsent : kPresent));
  VXBWriteData(out, multiple);
}

void write_cell_group_type(vxostream& out, const VXZemoGrid& grid) {
  float cell[6];
  unsigned int steps[3];
  grid.GetUnitCell(cell[0], cell[1], cell[2], cell[3], cell[4], cell[5]);
  grid.GetUnitSpacing(steps[0], steps[1], steps[2]);
  for (const float number : cell) VXBWriteData(out, number);
  for (const unsigned int n : {steps[0], steps[1], steps[2], grid.GetSpaceGroup(), grid.GetType()})
    VXBWriteData(out, n);
}

// --- reading ---

/// Takes the items of a file one by one. Everything is false where the file ends.
class ItemReader {
 public:
  explicit ItemReader(vxistream& in) : in_(in) {}

  /// The state word of an item. It is of this machine's order, and something follows it.
  bool state(unsigned int& word) {
    if (!VXBReadData(in_, word, false) || in_.eof()) return false;
    if (word <= kOtherOrder) return true;
    VXThrow.Warning("Corrupt state read from GRD file: %i", static_cast<int>(word));
    return false;
  }

  /// The state word of the x midpoint says whether numbers are to be swapped, here and from here on.
  bool first_state(unsigned int& word) {
    if (!state(word)) return false;
    swap_ = word == kOtherOrder;
    return true;
  }

  bool text(char* to, unsigned long n) { return in_.read(to, n) == n; }

  template <class T>
  bool number(T& value) {
    return VXBReadData(in_, value, swap_);
  }

  template <class T, std::size_t N>
  bool numbers(T (&values)[N]) {
    return std::all_of(values, values + N, [this](T& value) { return number(value); });
  }

  template <class T>
  bool values(T* to, std::size_t n) {
    const std::size_t most = swap_ ? kBlock : n;
    for (std::size_t done = 0, part; done < n; done += part) {
      part = std::min(most, n - done);
      auto* const bytes = reinterpret_cast<unsigned char*>(to + done);
      if (in_.read(bytes, part * sizeof(T)) != part * sizeof(T)) return false;
      if (swap_) ArraySwapBytes(bytes, part, sizeof(T));
    }
    return true;
  }

  /// Whether so many values can follow; a Warning when not.
  bool can_hold(unsigned long long values) const {
    const unsigned long long most = in_.max_bytes_left() / 4;
    if (values <= most) return true;
    VXThrow.Warning("GRD file: %llu values announced, %llu can follow", values, most);
    return false;
  }

  bool at_end() const { return in_.eof(); }

 private:
  vxistream& in_;
  bool swap_ = false;
};

bool read_title(ItemReader& items, VXZemoGrid& grid) {
  unsigned int state;
  if (!items.state(state)) return false;
  if (state == kAbsent) return true;
  char text[kTitleBytes + 1] = {};
  if (!items.text(text, kTitleBytes)) return false;
  std::string title = text;
  title.erase(title.find_last_not_of(' ') + 1);
  return grid.SetTitle(title);
}

// A number of the geometry, whose state word was read, into either part.
template <class SetPart>
bool read_into_parts(ItemReader& items, unsigned int state, VXZemoGrid& grid, SetPart set) {
  float value;
  if (state == kAbsent) return true;
  return items.number(value) && set(grid.GetIntegers(), value) && set(grid.GetFloats(), value);
}

bool read_midpoint_and_spacing(ItemReader& items, VXZemoGrid& grid) {
  unsigned int state;
  return items.first_state(state) &&
         read_into_parts(items, state, grid, [](auto& part, float x) { return part.SetXMid(x); }) &&
         items.state(state) &&
         read_into_parts(items, state, grid, [](auto& part, float y) { return part.SetYMid(y); }) &&
         items.state(state) &&
         read_into_parts(items, state, grid, [](auto& part, float z) { return part.SetZMid(z); }) &&
         items.state(state) &&
         read_into_parts(items, state, grid, [](auto& part, float s) { return part.SetSpacing(s); });
}

/// The lattice of a file; as ints, for what comes out of a file may be negative after its sign was changed.
struct Dims {
  int x = 0, y = 0, z = 0;

  /// The number of samples; 0, with a Warning, when no grid has these dimensions.
  std::size_t samples() const {
    const int n = VXGridSizeMultiply(static_cast<unsigned long>(x), static_cast<unsigned long>(y),
                                     static_cast<unsigned long>(z));
    if (n < 1) VXThrow.Warning("Attempting to read a grid with bad dimensions: %i x %i x %i", x, y, z);
    return static_cast<std::size_t>(std::max(n, 0));
  }

  template <class T>
  bool apply(VXMultiGrid<T>& part) const {
    return part.SetDim(static_cast<unsigned int>(x), static_cast<unsigned int>(y),
                       static_cast<unsigned int>(z));
  }
};

bool read_dimension(ItemReader& items, int& dim, bool& wraps) {
  unsigned int state;
  if (!items.state(state)) return false;
  if (state == kAbsent) return true;
  if (!items.number(dim)) return false;
  wraps = dim < 0;
  if (wraps) dim = static_cast<int>(0u - static_cast<unsigned int>(dim));
  return true;
}

bool read_dimensions(ItemReader& items, VXZemoGrid& grid, Dims& dims) {
  bool x_wraps = false, y_wraps = false, z_wraps = false;
  if (!read_dimension(items, dims.x, x_wraps) || !read_dimension(items, dims.y, y_wraps) ||
      !read_dimension(items, dims.z, z_wraps))
    return false;
  grid.SetXReentrant(x_wraps);
  grid.SetYReentrant(y_wraps);
  grid.SetZReentrant(z_wraps);
  return true;
}

template <class T>
bool read_first_field(ItemReader& items, const Dims& dims, VXMultiGrid<T>& part) {
  unsigned int state;
  if (!items.state(state)) return false;
  if (state == kAbsent) return true;
  const std::size_t samples = dims.samples();
  return samples && items.can_hold(samples) && dims.apply(part) && items.values(part.GetValues(), samples);
}

// The fields beyond the first. They are made some thousands at a time, as each takes more memory than its
// values may take of the file. A part without a first field has not got the lattice yet.
template <class T>
bool read_further_fields(ItemReader& items, const Dims& dims, std::size_t samples, std::uint64_t multiple,
                         VXMultiGrid<T>& part) {
  constexpr std::uint64_t kAtOnce = 4096;
  if (multiple < 2) return true;
  if (!items.can_hold((multiple - 1) * samples)) return false;
  if (part.GetSize() != samples && !dims.apply(part)) return false;
  for (std::uint64_t have = 1, next; have < multiple; have = next) {
    next = std::min(multiple, have + std::max(have, kAtOnce));
    if (!part.SetNumGrids(static_cast<unsigned int>(next)) ||
        !items.values(part.GetValues() + have * samples, (next - have) * samples))
      return false;
  }
  return true;
}

bool read_orientation(ItemReader& items, VXZemoGrid& grid) {
  unsigned int state;
  if (!items.state(state)) return false;
  if (state == kAbsent) return true;
  float matrix[9];
  return items.numbers(matrix) && grid.SetOrientation(matrix);
}

bool read_all_further_fields(ItemReader& items, const Dims& dims, VXZemoGrid& grid) {
  unsigned int state, floats_multiple, integers_multiple;
  if (!items.state(state) || !items.number(floats_multiple) || !items.state(state) ||
      !items.number(integers_multiple) || floats_multiple == 0)
    return false;
  const std::size_t samples = dims.samples();
  return samples && read_further_fields(items, dims, samples, floats_multiple, grid.GetFloats()) &&
         grid.SetFloatsMultiple(floats_multiple) &&
         read_further_fields(items, dims, samples, integers_multiple, grid.GetIntegers()) &&
         grid.SetIntegersMultiple(integers_multiple);
}

bool read_cell_group_type(ItemReader& items, VXZemoGrid& grid) {
  float cell[6];
  unsigned int steps[3], group, type;
  if (!items.numbers(cell) || !items.numbers(steps)) return false;
  const auto is_not_zero = [](auto number) { return number != 0; };
  if (std::all_of(cell, cell + 6, is_not_zero) && std::all_of(steps, steps + 3, is_not_zero))
    grid.SetUnitCell(cell[0], cell[1], cell[2], cell[3], cell[4], cell[5], steps[0], steps[1], steps[2]);
  if (!items.number(group)) return false;
  if (group != 0) grid.SetSpaceGroup(group);
  if (!items.number(type)) return false;
  if (type != 0) grid.SetType(type);
  return true;
}

}  // namespace

bool VXWriteGridGRD(vxostream& out, const VXZemoGrid& grid) {
  const VXMultiGrid<float>& floats = grid.GetFloats();
  const VXMultiGrid<int>& integers = grid.GetIntegers();
  const std::size_t samples = grid.GetSize();
  write_title(out, grid);
  write_number(out, floats.IsXMidSet(), grid.GetXMid());
  write_number(out, floats.IsYMidSet(), grid.GetYMid());
  write_number(out, floats.IsZMidSet(), grid.GetZMid());
  write_number(out, floats.IsSpacingSet(), grid.GetSpacing());
  write_dimensions(out, grid);
  write_first_field(out, grid.GetFloatsSet(), floats, samples);
  write_first_field(out, grid.GetIntegersSet(), integers, samples);
  write_orientation(out, grid);
  write_multiple(out, grid.GetFloatsMultiple());
  write_multiple(out, grid.GetIntegersMultiple());
  for (unsigned int field = 1; field < grid.GetFloatsMultiple(); ++field)
    write_field(out, floats, field, samples);
  for (unsigned int field = 1; field < grid.GetIntegersMultiple(); ++field)
    write_field(out, integers, field, samples);
  write_cell_group_type(out, grid);
  return out.flush();
}

bool VXReadGridGRD(vxistream& in, VXZemoGrid& grid) {
  grid.Clear();
  ItemReader items(in);
  Dims dims;
  if (!read_title(items, grid) || !read_midpoint_and_spacing(items, grid) ||
      !read_dimensions(items, grid, dims) || !read_first_field(items, dims, grid.GetFloats()) ||
      !read_first_field(items, dims, grid.GetIntegers()) || !read_orientation(items, grid) ||
      !read_all_further_fields(items, dims, grid))
    return false;
  return items.at_end() || read_cell_group_type(items, grid);
}

}  // namespace VXCore
