#include <vxgrid/exchange/grid_records.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include <vxgrid/exchange/gaussian_records.h>
#include <vxgrid/host/large_array.h>

namespace VXCore {
namespace {

constexpr char kPlaceholder[] = "vx_deleteme";

// Flags of a lattice record.
constexpr unsigned char kSpacingSet = 1, kXMidSet = 2, kYMidSet = 4, kZMidSet = 8;
// The values are zeros, of which one byte is stored for sixteen: the integers of most grids are never
// touched, and yet a record may not claim what it does not pay for.
constexpr unsigned char kZeros = 16;
constexpr unsigned long kValuesPerZero = 16;

// Fields are objects beyond their values, so a record must be long enough for the number that it claims.
bool can_pay_for_fields(unsigned int fields, unsigned long long bytes) { return fields <= 16 + bytes / 64; }

// The views that surround what is being read. A copy of a multi-field grid gives each view a copy of the
// attributes, which may be grids of the same kind: what is copied multiplies from level to level.
class ViewsAround {
 public:
  explicit ViewsAround(unsigned int views) : outer_(copies_) { copies_ *= views + 1ull; }
  ~ViewsAround() { copies_ = outer_; }
  ViewsAround(const ViewsAround&) = delete;
  ViewsAround& operator=(const ViewsAround&) = delete;
  /// Whether a record of that length can pay for so many bytes in each of them.
  static bool CanCarry(unsigned long long carried, unsigned long long length) {
    return carried <= ((1ull << 22) + 4 * length) / copies_;
  }

 private:
  static thread_local unsigned long long copies_;
  unsigned long long outer_;
};
thread_local unsigned long long ViewsAround::copies_ = 1;

// Adds to the bytes that data blocks, of which a record may hold any number, have had copied in all that is
// read as one, or to what takes as long. False when it has been too much.
bool can_work(unsigned long long bytes, unsigned long long behind) {
  static thread_local unsigned long record = 0;
  static thread_local unsigned long long done = 0;
  if (record != VXBNesting::Outermost()) done = 0;
  record = VXBNesting::Outermost();
  done += bytes;
  return done < (1ull << 29) + 64 * behind;
}

template <class Grid>
struct Lattice;  // what a record of this class of grid is called, and how its fields are reached

template <>
struct Lattice<VXGrid<float>> {
  using Value = float;
  static constexpr const char* kTag = "VXGridFloat";
  static constexpr bool kHasViews = false;
  static unsigned int Fields(const VXGrid<float>&) { return 1; }
  static bool SetFields(VXGrid<float>&, unsigned int n) { return n == 1; }
  static void ClearOwn(VXGrid<float>& grid) { grid.VXGrid<float>::Clear(); }
  static std::string FieldTitle(const VXGrid<float>& grid, unsigned int) { return grid.GetTitle(); }
  static void SetFieldTitle(VXGrid<float>&, unsigned int, const std::string&) {}
};

template <class T>
struct MultiLattice {
  using Value = T;
  static constexpr bool kHasViews = true;
  static unsigned int Fields(const VXMultiGrid<T>& grid) { return grid.GetNumGrids(); }
  static bool SetFields(VXMultiGrid<T>& grid, unsigned int n) { return grid.SetNumGrids(n); }
  static void ClearOwn(VXMultiGrid<T>& grid) { grid.Clear(); }
  static std::string FieldTitle(const VXMultiGrid<T>& grid, unsigned int field) {
    return grid.GetGrid(field)->GetTitle();
  }
  static void SetFieldTitle(VXMultiGrid<T>& grid, unsigned int field, const std::string& title) {
    grid.GetGrid(field)->SetTitle(title);
  }
};
template <>
struct Lattice<VXMultiGrid<float>> : MultiLattice<float> {
  static constexpr const char* kTag = "VXMultiGridFloat";
};
template <>
struct Lattice<VXMultiGrid<int>> : MultiLattice<int> {
  static constexpr const char* kTag = "VXMultiGridInt";
};

// The flags byte of a field's title: it follows, or it is the title of the whole.
constexpr unsigned int kSameTitle = 1;

template <class T>
bool is_zero(const T* values, std::size_t n) {
  constexpr std::size_t kPiece = 1024;
  static const T zeros[kPiece] = {};
  for (std::size_t at = 0; at < n; at += kPiece)
    if (std::memcmp(values + at, zeros, std::min(kPiece, n - at) * sizeof(T)) != 0) return false;
  return true;
}

void write_orders(vxostream& out) {
  VXBWriteData(out, VXBIntEndian());
  VXBWriteData(out, VXBFloatEndian());
}

// The byte of an order; false at the end of the stream.
bool read_order(vxistream& in, bool (*differs)(unsigned char), bool& swap) {
  const int byte = in.getbyte();
  if (byte < 0) return false;
  swap = differs(static_cast<unsigned char>(byte));
  return true;
}

template <class T>
bool read_numbers(vxistream& in, T* to, int n, bool swap) {
  for (int i = 0; i < n; ++i)
    if (!VXBReadData(in, to[i], swap)) return false;
  return true;
}

/// VXGrid<float>, VXMultiGrid<float>, VXMultiGrid<int>: head, titles, the values as one block, attributes.
template <class Grid>
class LatticeWriteFxn : public VXWriteFxn<Grid> {
  using L = Lattice<Grid>;
  using T = typename L::Value;

 public:
  const char* GetTag() const override { return L::kTag; }
  LatticeWriteFxn* CreateCopy() const override { return new LatticeWriteFxn; }

  bool operator()(vxostream& out, const Grid& grid, const VXBinaryIOHandlerBase& handler) override {
    const std::size_t count = std::size_t{L::Fields(grid)} * grid.GetSize();
    const bool zeros = std::is_same_v<T, int> && is_zero(grid.GetValues(), count);
    const std::vector<char> stored_zeros(zeros ? (count + kValuesPerZero - 1) / kValuesPerZero : 0);
    vxgatherstream data;
    WriteHead(data, grid, zeros);
    if (zeros)
      data.write(stored_zeros.data(), stored_zeros.size());
    else
      data.refer(grid.GetValues(), count * sizeof(T));
    return VXBinaryWrite<VXBase>(data, grid, handler) && VXBWriteRecord(out, L::kTag, data);
  }

 private:
  static void WriteHead(vxostream& out, const Grid& grid, bool zeros) {
    write_orders(out);
    const int flags = (grid.IsSpacingSet() ? kSpacingSet : 0) | (grid.IsXMidSet() ? kXMidSet : 0) |
                      (grid.IsYMidSet() ? kYMidSet : 0) | (grid.IsZMidSet() ? kZMidSet : 0) |
                      (zeros ? kZeros : 0);
    VXBWriteData(out, static_cast<unsigned char>(flags));
    for (const unsigned int n : {grid.GetXDim(), grid.GetYDim(), grid.GetZDim(), L::Fields(grid)})
      VXBWriteData(out, n);
    for (const float x : {grid.GetSpacing(), grid.GetXMid(), grid.GetYMid(), grid.GetZMid()})
      VXBWriteData(out, x);
    const std::string title = grid.GetTitle();
    VXBWriteTag(out, title);
    for (unsigned int field = 0; field < L::Fields(grid); ++field) {
      const std::string own = L::FieldTitle(grid, field);
      VXBWriteTag(out, own == title ? std::string() : own, own == title ? kSameTitle : 0);
    }
  }
};

/// Replaces everything but the attributes of a VXGrid<float>, which may have come before. Values come as they
/// were stored: their byte order is the business of the record around this one.
template <class Grid>
class LatticeReadFxn : public VXReadFxn<Grid> {
  using L = Lattice<Grid>;
  using T = typename L::Value;

  struct Head {
    int flags;
    unsigned int dims[3], fields;
    float spacing, mids[3];
    std::string title;
    std::vector<std::string> field_titles;
    std::size_t count;  // of all values
  };

 public:
  const char* GetTag() const override { return L::kTag; }
  LatticeReadFxn* CreateCopy() const override { return new LatticeReadFxn; }

  unsigned int operator()(vxistream& in, Grid& grid, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override {
    vxsubstream data(in, length);
    if (!data.is_whole()) return VXBRecordShort;
    Head head;
    unsigned int status = ReadHead(data, length, head);
    if (status != VXBDone) return status;
    VXHost::VXLargeArray<T> values;
    if (head.flags & kZeros) {
      if (!data.seek(data.tell() + (head.count + kValuesPerZero - 1) / kValuesPerZero)) return VXBFieldShort;
    } else {
      if (data.max_bytes_left() / sizeof(T) < head.count) return VXBFieldShort;
      values = VXMakeValueBlock<T>(head.count, VXHost::VXLargeArray<T>::Uninitialised);
      const unsigned long bytes = head.count * sizeof(T);
      if (data.read(reinterpret_cast<char*>(values.data()), bytes) != bytes) return VXBFieldShort;
    }
    const ViewsAround around(L::kHasViews ? head.fields : 0);
    if (!ViewsAround::CanCarry(head.title.size() + data.max_bytes_left(), length)) return VXBNoMemory;
    Assign(head, std::move(values), grid);
    while (status == VXBDone && data) status = VXBinaryRead<VXBase>(data, grid, handler);
    return status;
  }

 private:
  static unsigned int ReadHead(vxistream& in, unsigned long length, Head& head) {
    bool swap_ints, swap_floats;
    if (!read_order(in, VXBIntEndian, swap_ints) || !read_order(in, VXBFloatEndian, swap_floats))
      return VXBEndOfStream;
    head.flags = in.getbyte();
    if (!read_numbers(in, head.dims, 3, swap_ints) || !VXBReadData(in, head.fields, swap_ints) ||
        !VXBReadData(in, head.spacing, swap_floats) || !read_numbers(in, head.mids, 3, swap_floats) ||
        !VXBReadTag(in, head.title))
      return VXBFieldShort;
    if (head.fields == 0 || (!L::kHasViews && head.fields != 1)) return VXBFieldShort;
    if (!can_pay_for_fields(head.fields, length)) return VXBNoMemory;
    const ViewsAround around(L::kHasViews ? head.fields : 0);
    if (!ViewsAround::CanCarry(head.title.size(), length)) return VXBNoMemory;
    if (!CountValues(head)) return VXBFieldShort;
    head.field_titles.resize(head.fields);
    for (std::string& title : head.field_titles) {
      unsigned int flag;
      if (!VXBReadTag(in, title, flag)) return VXBFieldShort;
      if (flag == kSameTitle) title = head.title;
    }
    return VXBDone;
  }

  // False for a lattice that no grid can have.
  static bool CountValues(Head& head) {
    constexpr std::uint64_t kMost = 2147483647;
    std::uint64_t size = 1;
    bool empty = false;
    for (const unsigned int dim : head.dims) {
      if (dim > kMost) return false;
      empty = empty || dim == 0;
      if (dim) size *= dim;
      if (size > kMost) size = kMost + 1;  // and stays that large
    }
    head.count = empty ? 0 : size * head.fields;
    return empty || (size <= kMost && head.count <= 0xffffffffu);
  }

  // The dimensions come after the number of fields, so that no value is copied.
  static void Assign(const Head& head, VXHost::VXLargeArray<T>&& values, Grid& grid) {
    VXBase attributes(std::move(static_cast<VXBase&>(grid)));
    L::ClearOwn(grid);
    if (!L::kHasViews) static_cast<VXBase&>(grid) = std::move(attributes);
    if (head.flags & kSpacingSet) grid.SetSpacing(head.spacing);
    if (head.flags & kXMidSet) grid.SetXMid(head.mids[0]);
    if (head.flags & kYMidSet) grid.SetYMid(head.mids[1]);
    if (head.flags & kZMidSet) grid.SetZMid(head.mids[2]);
    L::SetFields(grid, head.fields);
    grid.SetDim(head.dims[0], head.dims[1], head.dims[2]);
    if (values.size()) grid.AdoptValues(std::move(values));
    grid.SetTitle(head.title);
    for (unsigned int field = 0; field < head.fields; ++field)
      L::SetFieldTitle(grid, field, head.field_titles[field]);
  }
};

bool write_placeholder(vxostream& out, const VXBinaryIOHandlerBase& handler) {
  VXBase container;
  container.SetData<int>(kPlaceholder, 1);
  return VXBinaryWrite<VXBase>(out, container, handler);
}

void gather_zemo_data(vxostream& out, const VXZemoGrid& grid) {
  write_orders(out);
  float orientation[9];
  const bool oriented = grid.GetOrientation(orientation);
  VXBWriteData(out, static_cast<unsigned char>(oriented));
  if (oriented)
    for (const float m : orientation) VXBWriteData(out, m);
  VXBWriteData(out, grid.GetFloatsMultiple());
  VXBWriteData(out, grid.GetIntegersMultiple());
  VXBWriteData(out, static_cast<unsigned char>(grid.GetReentrant()));
  float cell[6];
  grid.GetUnitCell(cell[0], cell[1], cell[2], cell[3], cell[4], cell[5]);
  for (const float x : cell) VXBWriteData(out, x);
  unsigned int steps[3];
  grid.GetUnitSpacing(steps[0], steps[1], steps[2]);
  for (const unsigned int n : {steps[0], steps[1], steps[2], grid.GetSpaceGroup(), grid.GetType()})
    VXBWriteData(out, n);
}

template <class T>
bool gather_part(vxostream& out, const char* tag, unsigned char order, const VXMultiGrid<T>& part,
                 const VXBinaryIOHandlerBase& handler) {
  vxgatherstream data;
  return VXBWriteData(data, order) && VXBinaryWrite<VXMultiGrid<T>>(data, part, handler) &&
         VXBWriteRecord(out, tag, data);
}

// A record in the place of the lattice stays with the grid, so that the part's views carry no copies of it.
template <class T>
unsigned int read_part(vxistream& in, unsigned long length, bool (*differs)(unsigned char), VXZemoGrid& grid,
                       VXMultiGrid<T>& part, const VXBinaryIOHandlerBase& handler) {
  vxsubstream data(in, length);
  bool swap;
  if (!read_order(data, differs, swap)) return VXBEndOfStream;
  std::string tag;
  const bool is_lattice = VXBReadTag(data, tag) && tag == Lattice<VXMultiGrid<T>>::kTag;
  data.seek(1);
  if (!is_lattice) return VXBinaryRead<VXBase>(data, grid, handler);
  const unsigned int status = VXBinaryRead<VXMultiGrid<T>>(data, part, handler);
  const std::size_t count = std::size_t{part.GetNumGrids()} * part.GetSize();
  if (status == VXBDone && swap && !is_zero(part.GetValues(), count))  // zeros have no memory behind them yet
    ArraySwapBytes(reinterpret_cast<unsigned char*>(part.GetValues()), count, sizeof(T));
  return status;
}

// The work of selecting field n and making the views anew. Fields that are not there yet must be to come.
template <class T>
bool can_select(unsigned int n, const VXMultiGrid<T>& part, unsigned long long behind) {
  const unsigned int have = part.GetNumGrids();
  if (n > have && !can_pay_for_fields(n, behind)) return false;
  const auto values = n > have ? std::min(1ull * n * part.GetSize(), 1ull << 32) : 0;  // are copied
  return can_work(std::max(n, have) * (128 + part.GetTitle().size()) + 32 * values, behind);
}

// Takes the attributes off an object for its lifetime.
class WithoutAttributes {
 public:
  explicit WithoutAttributes(VXBase& object) : object_(object), kept_(std::move(object)) {}
  ~WithoutAttributes() { object_ = std::move(kept_); }
  WithoutAttributes(const WithoutAttributes&) = delete;
  WithoutAttributes& operator=(const WithoutAttributes&) = delete;

 private:
  VXBase& object_;
  VXBase kept_;
};

}  // namespace

const char* VXZemoGridWriteFxn::GetTag() const { return "VXZemoGrid"; }
VXZemoGridWriteFxn* VXZemoGridWriteFxn::CreateCopy() const { return new VXZemoGridWriteFxn; }

bool VXZemoGridWriteFxn::operator()(vxostream& out, const VXZemoGrid& grid,
                                    const VXBinaryIOHandlerBase& handler) {
  vxgatherstream record, data;
  gather_zemo_data(data, grid);
  return VXBinaryWrite<VXBase>(record, grid, handler) && VXBWriteRecord(record, "VXZemoGridData", data) &&
         gather_part(record, "VXZemoGridFloatMultiGrid", VXBFloatEndian(), grid.GetFloats(), handler) &&
         gather_part(record, "VXZemoGridIntMultiGrid", VXBIntEndian(), grid.GetIntegers(), handler) &&
         VXBWriteRecord(out, GetTag(), record);
}

const char* VXZemoGridReadFxn::GetTag() const { return "VXZemoGrid"; }
VXZemoGridReadFxn* VXZemoGridReadFxn::CreateCopy() const { return new VXZemoGridReadFxn; }

unsigned int VXZemoGridReadFxn::operator()(vxistream& in, VXZemoGrid& grid, unsigned long length,
                                           const VXBinaryIOHandlerBase& handler) {
  vxsubstream record(in, length);
  if (!record.is_whole()) return VXBRecordShort;
  unsigned int status = VXBDone;
  while (status == VXBDone && record) status = VXBinaryRead<VXZemoGrid>(record, grid, handler);
  return status;
}

const char* VXZemoGridDataReadFxn::GetTag() const { return "VXZemoGridData"; }
VXZemoGridDataReadFxn* VXZemoGridDataReadFxn::CreateCopy() const { return new VXZemoGridDataReadFxn; }

unsigned int VXZemoGridDataReadFxn::operator()(vxistream& in, VXZemoGrid& grid, unsigned long length,
                                               const VXBinaryIOHandlerBase&) {
  const unsigned long long behind = in.max_bytes_left();
  vxsubstream data(in, length);
  bool swap_ints, swap_floats;
  if (!read_order(data, VXBIntEndian, swap_ints) || !read_order(data, VXBFloatEndian, swap_floats) || !data)
    return VXBEndOfStream;
  const bool oriented = data.getbyte() != 0;
  float orientation[9];
  if (oriented) {
    if (!read_numbers(data, orientation, 9, swap_floats)) return VXBFieldShort;
    grid.SetOrientation(orientation);
  }
  unsigned int multiples[2];
  if (!read_numbers(data, multiples, 2, swap_ints)) return VXBFieldShort;
  if (!can_select(multiples[0], grid.GetFloats(), behind) ||
      !can_select(multiples[1], grid.GetIntegers(), behind))
    return VXBNoMemory;
  // The views that are made here get the titles alone.
  const WithoutAttributes bare_floats(grid.GetFloats()), bare_integers(grid.GetIntegers());
  grid.SetFloatsMultiple(multiples[0]);
  grid.SetIntegersMultiple(multiples[1]);
  const int wraps = data.getbyte();
  if (wraps < 0) return VXBEndOfStream;
  if (wraps & 1) grid.SetXReentrant(true);
  if (wraps & 2) grid.SetYReentrant(true);
  if (wraps & 4) grid.SetZReentrant(true);
  if (!data) return VXBDone;  // an older layout
  float cell[6];
  unsigned int steps[3], group_and_type[2];
  if (!read_numbers(data, cell, 6, swap_floats) || !read_numbers(data, steps, 3, swap_ints))
    return VXBFieldShort;
  grid.SetUnitCell(cell[0], cell[1], cell[2], cell[3], cell[4], cell[5], steps[0], steps[1], steps[2]);
  if (oriented)
    grid.SetOrientation(orientation);
  else if (!grid.HasUnitCell())
    grid.SetOrientationSet(false);  // what a cell of zeros gives is no matrix
  if (!read_numbers(data, group_and_type, 2, swap_ints)) return VXBFieldShort;
  grid.SetSpaceGroup(group_and_type[0]);
  grid.SetType(group_and_type[1]);
  return VXBDone;
}

const char* VXZemoGridFloatReadFxn::GetTag() const { return "VXZemoGridFloatMultiGrid"; }
VXZemoGridFloatReadFxn* VXZemoGridFloatReadFxn::CreateCopy() const { return new VXZemoGridFloatReadFxn; }

unsigned int VXZemoGridFloatReadFxn::operator()(vxistream& in, VXZemoGrid& grid, unsigned long length,
                                                const VXBinaryIOHandlerBase& handler) {
  return read_part(in, length, VXBFloatEndian, grid, grid.GetFloats(), handler);
}

const char* VXZemoGridIntReadFxn::GetTag() const { return "VXZemoGridIntMultiGrid"; }
VXZemoGridIntReadFxn* VXZemoGridIntReadFxn::CreateCopy() const { return new VXZemoGridIntReadFxn; }

unsigned int VXZemoGridIntReadFxn::operator()(vxistream& in, VXZemoGrid& grid, unsigned long length,
                                              const VXBinaryIOHandlerBase& handler) {
  return read_part(in, length, VXBIntEndian, grid, grid.GetIntegers(), handler);
}

const char* VXSkewGridWriteFxn::GetTag() const { return "VXSkewGrid"; }
VXSkewGridWriteFxn* VXSkewGridWriteFxn::CreateCopy() const { return new VXSkewGridWriteFxn; }

bool VXSkewGridWriteFxn::operator()(vxostream& out, const VXSkewGrid& grid,
                                    const VXBinaryIOHandlerBase& handler) {
  vxgatherstream record;
  if (!VXBinaryWrite<VXBase>(record, grid, handler)) return false;
  if (record.size() == 0 && !write_placeholder(record, handler)) return false;
  return VXBinaryWrite<VXZemoGrid>(record, grid.GetImpl().GetImpl(), handler) &&
         VXBWriteRecord(out, GetTag(), record);
}

const char* VXSkewGridReadFxn::GetTag() const { return "VXSkewGrid"; }
VXSkewGridReadFxn* VXSkewGridReadFxn::CreateCopy() const { return new VXSkewGridReadFxn; }

unsigned int VXSkewGridReadFxn::operator()(vxistream& in, VXSkewGrid& grid, unsigned long length,
                                           const VXBinaryIOHandlerBase& handler) {
  vxsubstream record(in, length);
  if (!record.is_whole()) return VXBRecordShort;
  unsigned int status = VXBDone;
  if (record) status = VXBinaryRead<VXSkewGrid>(record, grid, handler);
  grid.DeleteData(kPlaceholder);
  if (status == VXBDone && record)
    status = VXBinaryRead<VXZemoGrid>(record, grid.GetImpl().GetImpl(), handler);
  return status;
}

const char* VXSkewGridZemoGridReadFxn::GetTag() const { return "VXZemoGrid"; }
VXSkewGridZemoGridReadFxn* VXSkewGridZemoGridReadFxn::CreateCopy() const {
  return new VXSkewGridZemoGridReadFxn;
}

unsigned int VXSkewGridZemoGridReadFxn::operator()(vxistream& in, VXSkewGrid& grid, unsigned long length,
                                                   const VXBinaryIOHandlerBase& handler) {
  VXZemoGridReadFxn()(in, grid.GetImpl().GetImpl(), length, handler);
  return VXBDone;
}

const char* VXScalarGridWriteFxn::GetTag() const { return "VXScalarGrid"; }
VXScalarGridWriteFxn* VXScalarGridWriteFxn::CreateCopy() const { return new VXScalarGridWriteFxn; }

bool VXScalarGridWriteFxn::operator()(vxostream& out, const VXScalarGrid& grid,
                                      const VXBinaryIOHandlerBase& handler) {
  constexpr unsigned char kMaySwap = 1;
  vxgatherstream record;
  if (!write_placeholder(record, handler)) return false;
  write_orders(record);
  return VXBWriteData(record, kMaySwap) && VXBWriteData(record, grid.GetType()) &&
         VXBinaryWrite<VXGrid<float>>(record, grid, handler) && VXBWriteRecord(out, GetTag(), record);
}

const char* VXScalarGridReadFxn::GetTag() const { return "VXScalarGrid"; }
VXScalarGridReadFxn* VXScalarGridReadFxn::CreateCopy() const { return new VXScalarGridReadFxn; }

unsigned int VXScalarGridReadFxn::operator()(vxistream& in, VXScalarGrid& grid, unsigned long length,
                                             const VXBinaryIOHandlerBase& handler) {
  vxsubstream record(in, length);
  if (!record.is_whole()) return VXBRecordShort;
  if (length == 0) return VXBDone;
  unsigned int status = VXBinaryRead<VXScalarGrid>(record, grid, handler);
  grid.DeleteData(kPlaceholder);
  if (status != VXBDone) return status;
  bool swap_ints, swap_values;
  if (!read_order(record, VXBIntEndian, swap_ints) || !read_order(record, VXBFloatEndian, swap_values))
    return VXBEndOfStream;
  if (record.getbyte() == 0) swap_values = false;
  unsigned int type;
  if (!VXBReadData(record, type, swap_ints)) return VXBFieldShort;
  grid.SetType(type);
  bool any = false;
  while (status == VXBDone && record) {
    status = VXBinaryRead<VXGrid<float>>(record, grid, handler);
    any = any || status == VXBDone;
  }
  if (any && swap_values)
    ArraySwapBytes(reinterpret_cast<unsigned char*>(grid.GetValues()), grid.GetSize(), sizeof(float));
  return status;
}

bool VXInitGridHandlers(VXBinaryIOHandlerBase& handler) {
  handler.AddWriteFxn(VXZemoGridWriteFxn());
  handler.AddReadFxn(VXZemoGridFloatReadFxn());
  handler.AddReadFxn(VXZemoGridIntReadFxn());
  handler.AddReadFxn(VXZemoGridReadFxn());
  handler.AddReadFxn(VXZemoGridDataReadFxn());
  handler.AddWriteFxn(VXSkewGridWriteFxn());
  handler.AddReadFxn(VXSkewGridReadFxn());
  handler.AddReadFxn(VXSkewGridZemoGridReadFxn());
  handler.AddWriteFxn(VXScalarGridWriteFxn());
  handler.AddReadFxn(VXScalarGridReadFxn());
  handler.AddWriteFxn(VXGaussianWriteFxn());
  handler.AddReadFxn(VXGaussianReadFxn());
  handler.AddWriteFxn(VXGaussianContainerWriteFxn());
  handler.AddReadFxn(VXGaussianContainerReadFxn());
  VXInstallGenericDataHandler<VXScalarGrid>(handler, "VXBaseVXScalarGrid");
  VXInstallGenericDataHandler<VXSkewGrid>(handler, "VXBaseVXSkewGrid");
  VXInstallGenericDataHandler<VXZemoGrid>(handler, "VXBaseVXZemoGrid");
  handler.AddWriteFxn(LatticeWriteFxn<VXGrid<float>>());
  handler.AddReadFxn(LatticeReadFxn<VXGrid<float>>());
  handler.AddWriteFxn(LatticeWriteFxn<VXMultiGrid<float>>());
  handler.AddReadFxn(LatticeReadFxn<VXMultiGrid<float>>());
  handler.AddWriteFxn(LatticeWriteFxn<VXMultiGrid<int>>());
  handler.AddReadFxn(LatticeReadFxn<VXMultiGrid<int>>());
  return true;
}

bool VXInitGridHandlers(vxmolstreambase& stream) { return VXInitGridHandlers(stream.GetBinaryIOHandler()); }

}  // namespace VXCore
