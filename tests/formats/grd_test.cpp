#include <vxgrid/formats/grd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <vxgrid/formats/gridio.h>

#include "grid/grid_support.h"
#include "support/support.h"

using namespace VXCore;
using VXHost::vxisstream;
using VXHost::vxosstream;

namespace {

/// A file made by hand, item by item, in this machine's byte order or in the other.
struct GrdFile {
  bool other_order = false;
  int dims[3] = {-3, 4, -2};
  unsigned int multiples[2] = {3, 2};
  float spacing = 0.5f;
  int first_fields = 2;  // floats; and integers
  std::size_t end_of_fields = 0;
  std::string file;

  unsigned int state() const { return other_order ? 2 : 1; }
  template <class T>
  void number(T value) {
    char bytes[4];
    std::memcpy(bytes, &value, 4);
    if (other_order) std::reverse(bytes, bytes + 4);
    file.append(bytes, 4);
  }
  void word(unsigned int state) { file.append(reinterpret_cast<const char*>(&state), 4); }
  template <class T>
  void item(T value) {
    word(state());
    number(value);
  }
  template <class T>
  void run(T first, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) number(static_cast<T>(first + static_cast<T>(i)));
  }

  const std::string& make() {
    const std::size_t samples = static_cast<std::size_t>(std::abs(dims[0] * dims[1] * dims[2]));
    const std::string title = "By hand";
    word(state());
    file += title + std::string(78 - title.size(), ' ') + std::string(2, '\0');
    for (const float mid : {1.5f, -2.0f, 1e-30f}) item(mid);
    item(spacing);
    for (const int dim : dims) item(dim);
    word(first_fields > 0 ? state() : 0);
    if (first_fields > 0) run(-7.5f, samples);
    word(first_fields > 1 ? state() : 0);
    if (first_fields > 1) run(-5, samples);
    word(state());
    run(0.25f, 9);
    item(multiples[0]);
    item(multiples[1]);
    run(100.5f, (multiples[0] - 1) * samples);
    run(1 << 24, (multiples[1] - 1) * samples);
    end_of_fields = file.size();
    for (int i = 0; i < 9; ++i) number(0);  // no cell
    number(19u);
    number(4u);
    return file;
  }
};

bool read(const std::string& file, VXZemoGrid& grid) {
  vxisstream in(file);
  return VXReadGridGRD(in, grid);
}

std::string written(const VXZemoGrid& grid) {
  vxosstream out;
  EXPECT_TRUE(VXWriteGridGRD(out, grid));
  return out.str();
}

template <class T>
void expect_run(const T* values, T first, std::size_t n, const char* what) {
  for (std::size_t i = 0; i < n; ++i)
    ASSERT_EQ(values[i], static_cast<T>(first + static_cast<T>(i))) << what << " " << i;
}

}  // namespace

TEST(Grd, EveryItemInBothByteOrders) {
  GrdFile own, other;
  own.make();
  other.other_order = true;
  for (const std::string& file : {own.file, other.make()}) {
    VXZemoGrid grid;
    ASSERT_TRUE(read(file, grid));
    EXPECT_EQ(grid.GetTitle(), "By hand");
    const float geometry[] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid(), grid.GetSpacing()};
    const float expected[] = {1.5f, -2.0f, 1e-30f, 0.5f};
    EXPECT_EQ(std::memcmp(geometry, expected, sizeof geometry), 0);
    EXPECT_TRUE(grid.GetXDim() == 3 && grid.GetYDim() == 4 && grid.GetZDim() == 2);
    EXPECT_TRUE(VXGridSameGeometry(*grid.GetFloats().GetGrid(2), grid) &&
                VXGridSameGeometry(*grid.GetIntegers().GetGrid(1), grid));
    EXPECT_EQ(grid.GetFloats().GetGrid(0)->GetTitle(), "By hand");
    EXPECT_EQ(grid.GetReentrant(), 5u);
    EXPECT_TRUE(grid.GetFloatsMultiple() == 3 && grid.GetIntegersMultiple() == 2);
    expect_run(grid.GetFloats().GetValues(), -7.5f, 24, "floats");
    expect_run(grid.GetFloats().GetValues() + 24, 100.5f, 48, "further floats");
    expect_run(grid.GetIntegers().GetValues(), -5, 24, "integers");
    expect_run(grid.GetIntegers().GetValues() + 24, 1 << 24, 24, "further integers");
    float matrix[9];
    ASSERT_TRUE(grid.GetOrientation(matrix));
    expect_run(matrix, 0.25f, 9, "orientation");
    EXPECT_TRUE(!grid.HasUnitCell() && grid.GetSpaceGroup() == 19 && grid.GetType() == 4);
    EXPECT_EQ(written(grid), own.file);
  }
}

TEST(Grd, EndsAfterItsFieldsOrAtItsEndAndNowhereElse) {
  const CapturedLog quiet;
  GrdFile made;
  made.make();
  for (std::size_t n = 0; n <= made.file.size(); ++n) {
    VXZemoGrid grid;
    ASSERT_EQ(read(made.file.substr(0, n), grid), n == made.end_of_fields || n == made.file.size()) << n;
    EXPECT_TRUE(n != made.end_of_fields || (!grid.HasUnitCell() && !grid.HasSpaceGroup()));
  }
}

TEST(Grd, OwnGridsComeBackAsTheyWere) {
  VXZemoGrid bare, oblique(numbered_grid(3, 4, 5)), floats_only;
  bare.SetDim(2, 2, 2);
  floats_only = numbered_grid(2, 3, 4);
  floats_only.SetUnitCell(2, 3, 4, 90, 90, 90, 2, 3, 4);  // the identity but for the cosine of 90 degrees
  oblique.SetFloatsMultiple(2);
  float* const values = oblique.GetFloats().GetValues();
  values[60] = std::nanf(""), values[61] = -0.0f, values[62] = HUGE_VALF;
  oblique.SetUnitCell(30, 40, 50, 90, 105, 90, 9, 16, 25);
  oblique.SetSpaceGroup(4);
  for (const VXZemoGrid* grid : {&bare, &oblique, &floats_only}) {
    VXZemoGrid back(numbered_grid(7, 7, 7));
    ASSERT_TRUE(read(written(*grid), back));
    EXPECT_EQ(written(back), written(*grid));
  }
  EXPECT_EQ(written(VXZemoGrid()).substr(0, 20), std::string(20, '\0')) << "nothing is set";

  // A cell with a 0 is not taken over, and what was stored as orientation and spacing stays.
  oblique.SetUnitCell(30, 40, 50, 90, 105, 0, 9, 16, 25);
  VXZemoGrid back;
  ASSERT_TRUE(read(written(oblique), back));
  float kept[9], stored[9];
  EXPECT_TRUE(back.GetOrientation(kept) && oblique.GetOrientation(stored) && !back.HasUnitCell());
  EXPECT_EQ(std::memcmp(kept, stored, sizeof kept), 0);

  // Integers that are not on the lattice: their values, then zeros.
  floats_only.SetIntegersMultiple(2);
  floats_only.GetIntegers().GetValues()[1] = 17;
  ASSERT_TRUE(read(written(floats_only), back));
  const int* const integers = back.GetIntegers().GetGrid(1)->GetValues();
  EXPECT_TRUE(back.GetIntegers().GetSize() == 24 && integers[0] == 17 &&
              std::count(integers, integers + 24, 0) == 23);
}

// The sign of z on file is the wrap of x or y.
TEST(Grd, WrapFlags) {
  for (unsigned int bits = 0; bits < 8; ++bits) {
    VXZemoGrid grid, back;
    grid.SetXReentrant(bits & 1);
    grid.SetYReentrant(bits & 2);
    grid.SetZReentrant(bits & 4);
    ASSERT_TRUE(read(written(grid), back));
    EXPECT_EQ(back.GetReentrant(), (bits & 3) | (bits & 3 ? 4 : 0)) << bits;
  }
}

TEST(Grd, TitlesInEightyBytes) {
  for (const std::size_t length : {0, 1, 77, 78, 79, 80, 200}) {
    VXZemoGrid grid, back;
    grid.SetTitle(std::string(length, 'x'));
    const std::string file = written(grid);
    EXPECT_EQ(file.size(), length ? 196u : 116u);
    ASSERT_TRUE(read(file, back));
    EXPECT_EQ(back.GetTitle(), std::string(std::min<std::size_t>(length, 79), 'x'));
  }
  VXZemoGrid grid;
  GrdFile made;
  made.make();
  std::memset(&made.file[4], 'y', 80);
  ASSERT_TRUE(read(made.file, grid));
  EXPECT_EQ(grid.GetTitle(), std::string(80, 'y')) << "no 0 at the end";
  grid.SetTitle(" two blanks  ");
  ASSERT_TRUE(read(written(grid), grid));
  EXPECT_EQ(grid.GetTitle(), " two blanks");
}

TEST(Grd, RefusesAndSaysWhy) {
  constexpr int kStateOfX = 84, kDims = 84 + 4 * 8, kMultiples = kDims + 3 * 8 + 100 + 100 + 40;
  const struct {
    const char* what;
    int at;  // byte
    unsigned int value;
    const char* says;
  } rows[] = {
      {"state 3", kStateOfX, 3, "Warning: Corrupt state read from GRD file: 3\n"},
      {"state -1", kDims, 0xffffffff, "Warning: Corrupt state read from GRD file: -1\n"},
      {"state of a number of fields", kMultiples, 256, "Warning: Corrupt state read from GRD file: 256\n"},
      {"no rows", kDims + 12, 0, "Warning: Attempting to read a grid with bad dimensions: 3 x 0 x 2\n"},
      {"a dimension without a negative", kDims + 4, 0x80000000u,
       "Warning: Attempting to read a grid with bad dimensions: -2147483648 x 4 x 2\n"},
      {"too many samples", kDims + 12, 0x7fffffff,
       "Warning: Attempting to read a grid with bad dimensions: 3 x 2147483647 x 2\n"},
      {"more than the file has", kDims + 4, 200000000,
       "Warning: GRD file: 1600000000 values announced, 146 can follow\n"},
      {"more fields than the file has", kMultiples + 4, 0xffffffff,
       "Warning: GRD file: 103079215056 values announced, 83 can follow\n"},
      {"no field of integers", kMultiples + 12, 0, ""},
      {"no field of floats", kMultiples + 4, 0, ""},
      {"a spacing that is none", kDims - 4, 0xbf800000u, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    GrdFile made;
    made.make();
    std::memcpy(&made.file[static_cast<std::size_t>(row.at)], &row.value, 4);
    CapturedLog log;
    VXZemoGrid grid;
    EXPECT_FALSE(read(made.file, grid));
    const std::string text = log.text(), says = row.says;
    EXPECT_TRUE(says.empty() ? text.empty()
                             : text.size() >= says.size() && text.substr(text.size() - says.size()) == says)
        << text;
  }
  CapturedLog log;
  GrdFile empty;
  empty.dims[1] = 0;
  empty.first_fields = 0;
  VXZemoGrid grid;
  EXPECT_FALSE(read(empty.make(), grid)) << "no field asks for the dimensions before the end";
  EXPECT_EQ(log.text(), "Warning: Attempting to read a grid with bad dimensions: 3 x 0 x 2\n");

  const std::unique_ptr<VXHost::vxostream> full(VXHost::VXOpenOStream("/dev/full"));
  EXPECT_FALSE(full && VXWriteGridGRD(*full, grid)) << "a full disc";
}

// Many fields of few samples, made some thousands at a time; their values are several blocks to be swapped.
TEST(Grd, ThousandsOfFields) {
  for (const int first_fields : {2, 0}) {
    GrdFile made;
    made.other_order = true;
    made.first_fields = first_fields;
    made.dims[0] = 5, made.dims[1] = made.dims[2] = 2;
    made.multiples[0] = 10000, made.multiples[1] = 9000;
    VXZemoGrid grid;
    ASSERT_TRUE(read(made.make(), grid));
    ASSERT_TRUE(grid.GetFloats().GetNumGrids() == 10000 && grid.GetIntegersMultiple() == 9000);
    expect_run(grid.GetFloats().GetValues() + 20, 100.5f, 199980, "floats");
    expect_run(grid.GetIntegers().GetValues() + 20, 1 << 24, 179980, "integers");
  }
}

TEST(Grd, ThroughTheFrontDoor) {
  const VXScalarGrid plain = numbered_grid(4, 3, 2);
  const std::string path = scratch_file("a.GRD");
  VXScalarGrid scalar;
  VXSkewGrid skew;
  ASSERT_TRUE(VXWriteGrid(path, plain) && VXReadGrid(path, scalar) && VXReadGrid(path, skew));
  EXPECT_TRUE(VXGridSameGeometry(scalar, plain) && values_of(scalar) == values_of(plain));
  EXPECT_TRUE(scalar.GetTitle() == "numbered" && skew.GetTitle() == "numbered" && skew.GetType() == 2);
}
