// Random grids through every writer and back: what a format is said to keep comes back as it was.

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <tuple>

#include <vxgrid/exchange/grid_field.h>
#include <vxgrid/exchange/grid_json.h>
#include <vxgrid/exchange/grid_records.h>
#include <vxgrid/formats/ccp4.h>
#include <vxgrid/formats/gridio.h>
#include <vxgrid/grid/grid_format.h>

#include "support/support.h"

using namespace VXCore;

namespace {

using Random = std::independent_bits_engine<std::mt19937, 32, unsigned>;

// --- numbers as they come back ---

using Number = float (*)(float);

float exact(float number) { return number; }
float printed(float number, const char* format) {
  char digits[64];
  std::snprintf(digits, sizeof digits, format, number);
  return std::strtof(digits, nullptr);
}
float seven_digits(float number) { return printed(number, "%.6e"); }
float six_decimals(float number) { return printed(number, "%.6f"); }
/// Cut off towards zero.
float cut_at(float number, double scale) {
  const double cut = std::trunc(number * scale) / scale;
  return std::isfinite(cut) && std::fabs(number * scale) < 9e15 ? static_cast<float>(cut) : number;
}
float eight_decimals(float number) { return cut_at(number, 1e8); }
float five_decimals(float number) { return cut_at(number, 1e5); }

// --- the formats ---

template <unsigned code>
bool through_file(const VXSkewGrid& grid, VXSkewGrid& back) {
  VXHost::vxosstream out;
  if (!VXWriteGrid(out, grid, code)) return false;
  VXHost::vxisstream in(out.str());
  return VXReadGrid(in, back, code);
}

template <class Grid>
bool through_records(const Grid& grid, Grid& back) {
  VXBinaryIOHandler handler;
  VXInitGridHandlers(handler);
  VXHost::vxosstream out;
  if (!VXBinaryWrite(out, grid, handler)) return false;
  VXHost::vxisstream in(out.str());
  return VXBinaryRead(in, back, handler) == VXBDone && in.eof();
}
bool through_skew_record(const VXSkewGrid& grid, VXSkewGrid& back) { return through_records(grid, back); }
bool through_zemo_record(const VXSkewGrid& grid, VXSkewGrid& back) {
  return through_records(grid.GetImpl().GetImpl(), back.GetImpl().GetImpl());
}
bool through_json(const VXSkewGrid& grid, VXSkewGrid& back) {
  return VXJSONToGrid(back, VXGridToJSON(grid, VXJSONFlagBaseData));
}
bool through_field(const VXSkewGrid& grid, VXSkewGrid& back) {
  using Field = VXRecordKit::VXFieldType<VXSkewGrid>;
  return Field::FromBytes(back, Field::ToBytes(grid));
}

enum Keeps : unsigned {
  kTitle = 1,
  kCrystal = 2,  // cell, steps, group, spacing
  kFields = 4,   // all of either part, with their values
  kFieldTitles = 8,
  kOrientation = 256,  // as it was set; with kCrystal alone it is that of the cell
  kAttributes = 16,
  kType = 32,
  kWraps = 64,     // on all axes
  kWrapsXY = 128,  // on x and y; that of z is either of theirs
};

enum class Kind { Any, Plain, FillsItsCell };

const struct Row {
  const char* name;
  bool (*round_trip)(const VXSkewGrid&, VXSkewGrid&);
  Number value, geometry;
  unsigned keeps;
  const char* title;  // that of every grid read, or null
  unsigned type;      // that of every grid read, or 0
  Kind kind;          // of the grids that it brings back; oblique ones may be made regular first
} kFormats[] = {
    {"CCP4", through_file<VXGridFormatCCP4>, exact, exact, kCrystal, "ccp4 map", VXGridFormatCCP4, Kind::Any},
    {"GRD", through_file<VXGridFormatGRD>, exact, exact, kTitle | kCrystal | kFields | kWrapsXY, nullptr,
     VXGridFormatGRD, Kind::Any},
    {"Ascii", through_file<VXGridFormatAscii>, seven_digits, six_decimals, 0, "", VXGridFormatAscii,
     Kind::Plain},
    {"skew record", through_skew_record, exact, exact, ~unsigned{kWrapsXY}, nullptr, 0, Kind::Any},
    {"zemo record", through_zemo_record, exact, exact, ~unsigned{kWrapsXY}, nullptr, 0, Kind::Any},
    {"record field", through_field, exact, exact, kTitle | kCrystal | kFields | kWrapsXY, nullptr,
     VXGridFormatGRD, Kind::Any},
    {"JSON", through_json, eight_decimals, five_decimals, kTitle | kAttributes | kType, nullptr, 0,
     Kind::Plain},
    {"JSON with a cell", through_json, eight_decimals, five_decimals, kTitle | kCrystal | kAttributes | kType,
     nullptr, 0, Kind::FillsItsCell},
};

// --- random grids ---

float random_value(Random& random) {
  static const float special[] = {0.0f,   -0.0f,         NAN,    INFINITY, -INFINITY,
                                  1e-42f, 3.4028235e38f, -1e-9f, 1e10f};
  if (random() % 8 == 0) return special[random() % std::size(special)];
  return std::uniform_real_distribution<float>(-100, 100)(random) *
         std::pow(10.0f, static_cast<float>(random() % 9) - 4);
}

std::string random_title(Random& random) {
  std::string title = "T";
  for (unsigned n = random() % 60; n > 0; --n) title += "ab \"\\/{}<>,:\xc3\xa9"[random() % 13];
  title.erase(title.find_last_of("ab,:") + 1);  // no half of a UTF-8 sequence, no blank at the end
  return title;
}

/// A box in a crystal, as a CCP4 map gives it. Its cell has five decimals.
VXZemoGrid random_crystal(Random& random) {
  VXCCP4Map map;
  const auto number = [&](int from, int to) {
    return static_cast<float>(from * 32 + static_cast<int>(random() % ((to - from) * 32u))) / 32;
  };
  const auto edge = [&] { return number(5, 90); };
  const auto angle = [&] { return number(75, 115); };
  int* const counts[] = {&map.NC, &map.NR, &map.NS};
  int* const steps[] = {&map.NX, &map.NY, &map.NZ};
  int* const starts[] = {&map.NCSTART, &map.NRSTART, &map.NSSTART};
  for (int axis = 0; axis < 3; ++axis) {
    *counts[axis] = 2 + static_cast<int>(random() % 7);
    *steps[axis] = *counts[axis] + 1 + static_cast<int>(random() % 20);
    *starts[axis] = static_cast<int>(random() % 41) - 20;
  }
  map.MODE = 2;
  map.a = edge(), map.b = edge(), map.c = edge();
  map.alpha = angle(), map.beta = angle(), map.gamma = angle();
  map.MAPC = 1, map.MAPR = 2, map.MAPS = 3;
  map.ISPG = 1 + static_cast<int>(random() % 230);
  map.SetGridSize(static_cast<unsigned long>(map.NC) * map.NR * map.NS);
  VXZemoGrid grid;
  EXPECT_TRUE(VXCCP4ToGrid(grid, map));
  return grid;
}

VXZemoGrid random_plain(Random& random) {
  const auto number = [&] { return std::uniform_real_distribution<float>(-50, 50)(random); };
  const auto dim = [&] { return 2 + static_cast<unsigned>(random() % 7); };
  return VXZemoGrid(VXScalarGrid(dim(), dim(), dim(), number(), number(), number(),
                                 0.1f + std::fabs(number()) / 20, "", nullptr));
}

void add_attributes(VXBase& object, Random& random) {
  object.SetData<int>("an int", -static_cast<int>(random() % 1000));
  object.SetData<unsigned>("an unsigned", 4000000000u);
  object.SetData<float>("a float", random_value(random));
  object.SetData<double>("a double", 0.1 * random());
  object.SetData<bool>("a bool", random() % 2 == 0);
  object.SetData<std::string>("a text", random_title(random));
  object.SetData<std::vector<float>>("floats", {1.5f, random_value(random)});
  object.SetData<std::vector<std::string>>("texts", {"", random_title(random)});
}

/// One step a sample along each edge of a cell with gamma as beta, without a group.
void fill_cell(VXZemoGrid& grid) {
  float a, b, c, alpha, beta, gamma;
  grid.GetUnitCell(a, b, c, alpha, beta, gamma);
  grid.SetUnitCell(a, b, c, alpha, beta, beta, grid.GetXDim(), grid.GetYDim(), grid.GetZDim());
  grid.SetSpaceGroup(0);
}

VXSkewGrid random_grid(Random& random, Kind kind) {
  VXZemoGrid inner = kind == Kind::Plain ? random_plain(random) : random_crystal(random);
  if (kind == Kind::FillsItsCell) fill_cell(inner);
  inner.SetTitle(random_title(random));
  inner.SetType(random() % 6);
  inner.SetReentrant(false);
  inner.SetXReentrant(random() % 2);
  inner.SetYReentrant(random() % 2);
  inner.SetZReentrant(random() % 2);
  inner.SetFloatsMultiple(1 + random() % 3);
  inner.SetIntegersMultiple(1 + random() % 2);
  for (unsigned field = 0; field < inner.GetFloats().GetNumGrids(); ++field)
    if (random() % 2) inner.GetFloats().GetGrid(field)->SetTitle(random_title(random));
  float* const values = inner.GetFloats().GetValues();
  for (unsigned i = 0; i < inner.GetFloats().GetNumGrids() * inner.GetSize(); ++i)
    values[i] = random_value(random);
  for (unsigned i = 0; i < inner.GetSize(); ++i)
    inner.GetIntegers().GetValues()[i] = static_cast<int>(random());
  add_attributes(inner, random);
  VXSkewGrid grid{VXSkewGridImpl(std::move(inner))};
  VXCopyBaseData(grid, grid.GetImpl().GetImpl());
  return grid;
}

// --- comparison ---

bool same(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b)); }

void expect_crystal(const VXZemoGrid& was, const VXZemoGrid& is, bool own_orientation) {
  std::array<float, 15> before{}, after{};
  unsigned steps[3], steps_after[3];
  for (const auto& [grid, numbers, n] :
       {std::tuple(&was, &before, steps), std::tuple(&is, &after, steps_after)}) {
    auto& v = *numbers;
    grid->GetUnitCell(v[0], v[1], v[2], v[3], v[4], v[5]);
    grid->GetUnitSpacing(n[0], n[1], n[2]);
    grid->GetOrientation(&v[6]);
  }
  EXPECT_TRUE(std::equal(steps, steps + 3, steps_after));
  EXPECT_EQ(is.GetSpaceGroup(), was.GetSpaceGroup());
  EXPECT_FLOAT_EQ(is.GetSpacing(), was.GetSpacing());
  for (std::size_t i = 0; i < before.size(); ++i)
    EXPECT_NEAR(after[i], before[i], i < 6 || own_orientation ? 0 : 1e-6) << i;
}

template <class T>
void expect_fields(const VXMultiGrid<T>& was, const VXMultiGrid<T>& is) {
  ASSERT_EQ(is.GetNumGrids(), was.GetNumGrids());
  ASSERT_EQ(is.GetSize(), was.GetSize());
  EXPECT_EQ(std::memcmp(is.GetValues(), was.GetValues(), sizeof(T) * was.GetSize() * was.GetNumGrids()), 0);
}

void expect_attributes(const VXBase& was, const VXBase& is) {
  EXPECT_EQ(is.GetData<int>("an int"), was.GetData<int>("an int"));
  EXPECT_EQ(is.GetData<unsigned>("an unsigned"), 4000000000u);
  EXPECT_TRUE(same(is.GetData<float>("a float"), was.GetData<float>("a float")));
  EXPECT_EQ(is.GetData<double>("a double"), was.GetData<double>("a double"));
  EXPECT_EQ(is.GetData<bool>("a bool"), was.GetData<bool>("a bool"));
  EXPECT_EQ(is.GetData<std::string>("a text"), was.GetData<std::string>("a text"));
  ASSERT_EQ(is.GetData<std::vector<float>>("floats").size(), 2u);
  EXPECT_TRUE(
      same(is.GetData<std::vector<float>>("floats")[1], was.GetData<std::vector<float>>("floats")[1]));
  EXPECT_EQ(is.GetData<std::vector<std::string>>("texts"), was.GetData<std::vector<std::string>>("texts"));
}

void expect_same(const Row& format, const VXSkewGrid& was, const VXSkewGrid& is) {
  const VXZemoGrid &a = was.GetImpl().GetImpl(), &b = is.GetImpl().GetImpl();
  const unsigned keeps = format.keeps;
  for (const auto& [x, y] : {std::pair(a.GetXDim(), b.GetXDim()), std::pair(a.GetYDim(), b.GetYDim()),
                             std::pair(a.GetZDim(), b.GetZDim())})
    ASSERT_EQ(x, y);
  for (const auto& [x, y] : {std::pair(a.GetXMid(), b.GetXMid()), std::pair(a.GetYMid(), b.GetYMid()),
                             std::pair(a.GetZMid(), b.GetZMid())})
    EXPECT_EQ(format.geometry(x), y);
  for (unsigned i = 0; i < a.GetSize(); ++i)
    ASSERT_TRUE(same(format.value(a.GetFloats().GetValues()[i]), b.GetFloats().GetValues()[i]))
        << a.GetFloats().GetValues()[i] << " became " << b.GetFloats().GetValues()[i];
  if (keeps & kCrystal) {
    expect_crystal(a, b, keeps & kOrientation);
  } else {
    EXPECT_EQ(b.GetSpaceGroup(), 0u);
    EXPECT_NEAR(b.GetSpacing(), a.GetSpacing(), 1e-5);
  }
  EXPECT_EQ(b.GetTitle(), format.title ? format.title : a.GetTitle());
  EXPECT_EQ(b.GetType(), format.type ? format.type : a.GetType());
  if (keeps & kFields) {
    expect_fields(a.GetFloats(), b.GetFloats());
    expect_fields(a.GetIntegers(), b.GetIntegers());
  } else {
    EXPECT_EQ(b.GetFloats().GetNumGrids(), 1u);
  }
  if (keeps & kFieldTitles) {
    for (unsigned field = 0; field < a.GetFloats().GetNumGrids(); ++field)
      EXPECT_EQ(b.GetFloats().GetGrid(field)->GetTitle(), a.GetFloats().GetGrid(field)->GetTitle());
  }
  const unsigned wraps = a.GetReentrant();
  if (keeps & (kWraps | kWrapsXY)) {
    EXPECT_EQ(b.GetReentrant(), keeps & kWraps ? wraps : (wraps & 3) | (wraps & 3 ? 4 : 0));
  }
  // Those of the outer object, but for the record of the inner grid alone.
  const VXBase& with_attributes = is.HasData("an int") ? static_cast<const VXBase&>(is) : b;
  if (keeps & kAttributes) {
    expect_attributes(was, with_attributes);
  } else {
    EXPECT_FALSE(with_attributes.HasData("an int"));
  }
}

}  // namespace

TEST(RoundTrip, EveryFormatKeepsWhatItIsSaidToKeep) {
  for (const Row& format : kFormats)
    for (unsigned seed = 0; seed < 120; ++seed) {
      Random random(seed);
      const bool plain_too = format.kind == Kind::Any && format.keeps != kCrystal;
      const VXSkewGrid grid = random_grid(random, plain_too && seed % 2 ? Kind::Plain : format.kind);
      SCOPED_TRACE(std::string(format.name) + ", seed " + std::to_string(seed));
      const CapturedLog log;
      VXSkewGrid back;
      ASSERT_TRUE(format.round_trip(grid, back)) << log.text();
      expect_same(format, grid, back);
      EXPECT_EQ(log.text(), "");
      if (HasFailure()) return;
    }
}
