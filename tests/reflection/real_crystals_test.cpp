// Maps of real crystals against figures of another program (the README of the data tells how they were made).

#include <cmath>
#include <fstream>
#include <memory>
#include <sstream>

#include <support/support.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/mtz.h>

#include "support.h"

using namespace VXCore;

namespace {

struct Figures {
  float rms, min, max;
};
constexpr struct Crystal {
  const char* id;
  Figures fwt, fdelwt;
} kCrystals[] = {
    {"rnase", {0.3734f, -1.2156f, 3.2807f}, {0.1735f, -1.7674f, 2.7568f}},
    {"hewl", {0.1591f, -0.3989f, 1.8562f}, {0.0460f, -0.2172f, 0.2216f}},
    {"4hg7", {0.3119f, -0.8574f, 3.7833f}, {0.1644f, -0.7236f, 2.9459f}},
    {"lysc2", {0.3745f, -1.0717f, 3.6812f}, {0.2074f, -1.0818f, 2.2932f}},
    {"5uui", {0.4257f, -1.0334f, 4.0366f}, {0.0597f, -0.2646f, 0.3644f}},
    {"1dur", {0.5522f, -1.8302f, 6.7137f}, {0.1776f, -0.9891f, 0.7984f}},
    {"5wkd", {0.6709f, -1.4832f, 3.4542f}, {0.2351f, -0.8652f, 0.8960f}},
    {"5wkd_be", {0.6709f, -1.4832f, 3.4542f}, {0.2351f, -0.8652f, 0.8960f}},  // the same, big-endian
    {"7n2l", {0.9324f, -3.0502f, 8.5772f}, {0.2175f, -1.0932f, 1.1876f}},
};

// One cell without the repeated planes, back in e/Å^3.
Figures figures_of(const VXSkewGrid& grid) {
  const float sigma = grid.GetData<float>("SIGMA");
  Figures f = {0, 1e9f, -1e9f};
  double sum = 0, squares = 0, n = 0;
  const unsigned int nx = grid.GetXDim(), ny = grid.GetYDim(), nz = grid.GetZDim();
  for (unsigned int i = 0; i < grid.GetSize(); ++i) {
    if (i % nx == nx - 1 || i / nx % ny == ny - 1 || i / nx / ny == nz - 1) continue;
    const float v = grid.GetValues()[i] * sigma;
    f.min = std::min(f.min, v);
    f.max = std::max(f.max, v);
    sum += v;
    squares += double{v} * v;
    ++n;
  }
  f.rms = static_cast<float>(std::sqrt(squares / n - sum * sum / (n * n)));
  return f;
}

TEST(RealCrystals, MapStatistics) {
  for (const Crystal& crystal : kCrystals) {
    const std::string file = std::string("crystals/") + crystal.id + ".mtz";
    SKIP_WITHOUT_DATA(file);
    for (const unsigned int type : {VXMTZMapType::Fwt, VXMTZMapType::Fdelwt}) {
      SCOPED_TRACE(testing::Message() << file << " " << type);
      const Figures& expected = type == VXMTZMapType::Fwt ? crystal.fwt : crystal.fdelwt;
      VXSkewGrid grid;
      ASSERT_TRUE(VXReadMTZ(real_data(file), grid, type));
      const Figures f = figures_of(grid);
      // The r.m.s. over a cell is a sum over the coefficients, whatever the grid: the printed digits agree.
      EXPECT_NEAR(f.rms, expected.rms, 0.6e-4);
      // Extremes depend on where the samples fall, d/2.5 apart here and d/3 there. The sharpest peak that a
      // resolution d allows, 3 (sin q - q cos q) / q^3 with q = 2 pi r / d, has lost 15 % at r = d/5, half a
      // step off its top in one axis; a step off in all three would cost 40 %, but no peak here is so sharp.
      EXPECT_NEAR(f.max / expected.max, 1, 0.15);
      EXPECT_NEAR(f.min / expected.min, 1, 0.15);
    }
  }
}

// Density at atom centres, summed over the expanded set: reading, columns, expansion, phases and cell, in the
// digits of the reference. A sample of the map beside the atom must be the same sum at its own place.
TEST(RealCrystals, DensityAtAtoms) {
  SKIP_WITHOUT_DATA("reference/atom_density.tsv");
  std::ifstream in(real_data("reference/atom_density.tsv"));
  std::string line, id, atom, loaded;
  std::getline(in, line);
  VXReflection set;
  VXSkewGrid grid;
  std::unique_ptr<DirectSum> density;
  int atoms = 0;
  while (std::getline(in, line)) {
    std::istringstream row(line);
    float x[3], expected;
    ASSERT_TRUE(row >> id >> atom >> x[0] >> x[1] >> x[2] >> expected) << line;
    SCOPED_TRACE(id + " " + atom);
    if (id != loaded) {
      const std::string path = real_data("crystals/" + id + ".mtz");
      const VXMTZ mtz(path);
      VXMTZColumns columns;
      ASSERT_TRUE(mtz.AutoGetColumns(columns));
      VXMTZColumnNames names;
      names.SetColumnName(VXMTZColumnNames::Fwt, columns.GetFwt());
      names.SetColumnName(VXMTZColumnNames::Phiwt, columns.GetPhiwt());
      VXHost::vxifstream stream(path);
      ASSERT_TRUE(VXReadReflectionMTZ(stream, set, names));
      ASSERT_TRUE(set.Expand());
      ASSERT_TRUE(mtz.MakeMap(grid, VXMTZMapType::Fwt));
      density = std::make_unique<DirectSum>(set, VXMTZMapType::Fwt);
      loaded = id;
    }
    VXXtal::vecmul(x, set.GetSymmetry().cell().Cart2Frac());
    EXPECT_NEAR((*density)(x[0], x[1], x[2]), expected, 3e-4)
        << "coordinates have three decimals, the cell is in float";

    const unsigned int n[3] = {grid.GetXDim() - 1, grid.GetYDim() - 1, grid.GetZDim() - 1};
    std::size_t at[3];
    for (int i = 0; i < 3; ++i) {
      const auto points = static_cast<float>(n[i]);
      at[i] = static_cast<std::size_t>((x[i] - std::floor(x[i])) * points);
      x[i] = static_cast<float>(at[i]) / points;
    }
    const float sample = grid.GetValues()[(at[2] * (n[1] + 1) + at[1]) * (n[0] + 1) + at[0]];
    EXPECT_NEAR(sample * grid.GetData<float>("SIGMA"), (*density)(x[0], x[1], x[2]), 1e-4);
    ++atoms;
  }
  EXPECT_EQ(atoms, 80);
}

}  // namespace
