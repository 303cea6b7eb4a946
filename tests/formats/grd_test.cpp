#include <vxgrid/formats/grd.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <vxgrid/formats/gridio.h>

#include "grid/grid_support.h"
#include "support/record_bytes.h"
#include "support/support.h"

using namespace VXCore;

namespace {

/// A file made by hand, item by item, in this machine's byte order or in the other.
struct GrdFile {
  bool other_order = false, has_first_fields = true;
  unsigned int multiples[2] = {3, 2};
  int dims[3] = {-3, 4, -2};
  std::size_t end_of_fields = 0;
  std::string file = {};

  void state(bool is_set = true) { file += RecordBytes().numbers({is_set ? 1u + other_order : 0u}).str(); }
  template <class T>
  void run(T first, std::size_t n) {
    RecordBytes bytes(other_order);
    for (std::size_t i = 0; i < n; ++i) bytes.numbers({first + static_cast<T>(i)});
    file += bytes.str();
  }
  template <class T>
  void item(T first, std::size_t n = 1, bool is_set = true) {
    state(is_set);
    if (is_set) run(first, n);
  }

  std::string& make() {
    const std::size_t samples = static_cast<std::size_t>(std::abs(dims[0] * dims[1] * dims[2]));
    state();
    file += "By hand" + std::string(71, ' ') + std::string(2, '\0');
    for (const float number : {1.5f, -2.0f, 1e-30f, 0.5f}) item(number);
    for (const int dim : dims) item(dim);
    item(-7.5f, samples, has_first_fields);
    item(-5, samples, has_first_fields);
    item(0.25f, 9);
    item(multiples[0]);
    item(multiples[1]);
    run(100.5f, (multiples[0] - 1) * samples);
    run(1 << 24, (multiples[1] - 1) * samples);
    end_of_fields = file.size();
    file.append(36, '\0');  // no cell
    run(19u, 1);
    run(4u, 1);
    return file;
  }
};

bool read(const std::string& file, VXZemoGrid& grid) {
  VXHost::vxisstream in(file);
  return VXReadGridGRD(in, grid);
}

std::string written(const VXZemoGrid& grid) {
  VXHost::vxosstream out;
  EXPECT_TRUE(VXWriteGridGRD(out, grid));
  return out.str();
}

template <class T>
void expect_run(const T* values, T first, std::size_t n, const char* what) {
  for (std::size_t i = 0; i < n; ++i) ASSERT_EQ(values[i], first + static_cast<T>(i)) << what << " " << i;
}

}  // namespace

// Of the fields there are few or many, which are made some thousands at a time and swapped in several blocks.
TEST(Grd, EveryItemInBothByteOrders) {
  const GrdFile rows[] = {{}, {true}, {true, true, {10000, 9000}}, {true, false, {10000, 9000}}};
  for (GrdFile made : rows) {
    GrdFile own = made;
    own.other_order = false;
    VXZemoGrid grid;
    ASSERT_TRUE(read(made.make(), grid));
    EXPECT_EQ(grid.GetTitle(), "By hand");
    const float geometry[] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid(), grid.GetSpacing()};
    EXPECT_THAT(geometry, testing::ElementsAre(1.5f, -2.0f, 1e-30f, 0.5f));
    EXPECT_TRUE(grid.GetXDim() == 3 && grid.GetYDim() == 4 && grid.GetZDim() == 2);
    EXPECT_TRUE(VXGridSameGeometry(*grid.GetFloats().GetGrid(2), grid) &&
                VXGridSameGeometry(*grid.GetIntegers().GetGrid(1), grid));
    EXPECT_EQ(grid.GetReentrant(), 5u);
    ASSERT_EQ(grid.GetFloats().GetNumGrids(), made.multiples[0]);
    ASSERT_EQ(grid.GetIntegers().GetNumGrids(), made.multiples[1]);
    expect_run(grid.GetFloats().GetValues() + 24, 100.5f, (made.multiples[0] - 1) * 24, "further floats");
    expect_run(grid.GetIntegers().GetValues() + 24, 1 << 24, (made.multiples[1] - 1) * 24,
               "further integers");
    EXPECT_TRUE(!grid.HasUnitCell() && grid.GetSpaceGroup() == 19 && grid.GetType() == 4);
    EXPECT_TRUE(!made.has_first_fields || written(grid) == own.make());
    EXPECT_EQ(grid.GetFloats().GetValues()[2], made.has_first_fields ? -5.5f : 0);
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

TEST(Grd, OddGridsComeBackAsTheyWere) {
  VXZemoGrid bare, oblique(numbered_grid(3, 4, 5)), floats_only, back;
  bare.SetDim(2, 2, 2);
  floats_only = numbered_grid(2, 3, 4);
  floats_only.SetUnitCell(2, 3, 4, 90, 90, 90, 2, 3, 4);  // the identity but for the cosine of 90 degrees
  for (const VXZemoGrid* grid : {&bare, &floats_only}) {
    ASSERT_TRUE(read(written(*grid), back));
    EXPECT_EQ(written(back), written(*grid));
  }
  EXPECT_EQ(written(VXZemoGrid()).substr(0, 20), std::string(20, '\0')) << "nothing is set";

  // A cell with a 0 is not taken over, and what was stored as orientation and spacing stays.
  oblique.SetUnitCell(30, 40, 50, 90, 105, 90, 9, 16, 25);
  oblique.SetUnitCell(30, 40, 50, 90, 105, 0, 9, 16, 25);
  ASSERT_TRUE(read(written(oblique), back));
  float kept[9], stored[9];
  EXPECT_TRUE(back.GetOrientation(kept) && oblique.GetOrientation(stored) && !back.HasUnitCell());
  EXPECT_EQ(std::memcmp(kept, stored, sizeof kept), 0);

  // Integers that are not on the lattice: their values, then zeros.
  floats_only.SetIntegersMultiple(2);
  floats_only.GetIntegers().GetValues()[1] = 17;
  ASSERT_TRUE(read(written(floats_only), back));
  std::vector<float> expected(24);
  expected[0] = 17;
  EXPECT_EQ(values_of(*back.GetIntegers().GetGrid(1)), expected);
}

TEST(Grd, TitlesInEightyBytes) {
  const std::string y(80, 'y');
  const std::pair<std::string, std::string> rows[] = {
      {"", ""}, {y.substr(2), y.substr(2)}, {y, y.substr(1)}, {" two blanks  ", " two blanks"}};
  VXZemoGrid grid;
  for (const auto& [title, back] : rows) {
    grid.SetTitle(title);
    const std::string file = written(grid);
    EXPECT_EQ(file.size(), title.empty() ? 116u : 196u);
    ASSERT_TRUE(read(file, grid));
    EXPECT_EQ(grid.GetTitle(), back);
  }
  GrdFile made;
  ASSERT_TRUE(read(made.make().replace(4, 80, y), grid));
  EXPECT_EQ(grid.GetTitle(), y) << "no 0 at the end";
}

TEST(Grd, RefusesAndSaysWhy) {
  constexpr std::size_t kStateOfX = 84, kDims = 84 + 4 * 8, kMultiples = kDims + 3 * 8 + 100 + 100 + 40;
  const std::string state = "Corrupt state read from GRD file: ",
                    dims = "Attempting to read a grid with bad dimensions: ";
  const std::tuple<const char*, std::size_t, unsigned int, std::string> rows[] = {
      // byte, what it becomes
      {"state 3", kStateOfX, 3, state + "3"},
      {"state of a number of fields", kMultiples, 0xffffffff, state + "-1"},
      {"no rows", kDims + 12, 0, dims + "3 x 0 x 2"},
      {"a dimension without a negative", kDims + 4, 0x80000000u,
       "Grid dimensions too large for memory size: 18446744071562067968 x 4\nWarning: " + dims +
           "-2147483648 x 4 x 2"},
      {"more than the file has", kDims + 4, 200000000,
       "GRD file: 1600000000 values announced, 146 can follow"},
      {"more fields than it has", kMultiples + 4, 0xffffffff,
       "GRD file: 103079215056 values announced, 83 can follow"},
      {"no field of integers", kMultiples + 12, 0, ""},
      {"no field of floats", kMultiples + 4, 0, ""},
      {"a spacing that is none", kDims - 4, 0xbf800000u, ""},
  };
  VXZemoGrid grid;
  for (const auto& [what, at, value, says] : rows) {
    SCOPED_TRACE(what);
    GrdFile made;
    made.make();
    std::memcpy(&made.file[at], &value, 4);
    CapturedLog log;
    EXPECT_FALSE(read(made.file, grid));
    EXPECT_EQ(log.text(), says.empty() ? "" : "Warning: " + says + "\n");
  }
  CapturedLog log;
  GrdFile empty{false, false, {3, 2}, {3, 0, 2}};
  EXPECT_FALSE(read(empty.make(), grid)) << "no field asks for the dimensions before the end";
  EXPECT_EQ(log.text(), "Warning: " + dims + "3 x 0 x 2\n");

  const std::unique_ptr<VXHost::vxostream> full(VXHost::VXOpenOStream("/dev/full"));
  EXPECT_FALSE(full && VXWriteGridGRD(*full, grid)) << "a full disc";
}
