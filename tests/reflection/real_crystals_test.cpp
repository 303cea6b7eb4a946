// Maps of real crystals against figures of another program (the README of the data tells how they were made).

#include <cmath>
#include <fstream>
#include <memory>
#include <sstream>
#include <tuple>

#include <support/support.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/mtz.h>

#include "support.h"

using namespace VXCore;

namespace {

// The r.m.s. over a cell is a sum over the coefficients, whatever the grid.
TEST(RealCrystals, RootMeanSquares) {
  const std::tuple<const char*, float, float> rows[] = {
      // of the density and the difference map, in e/Å^3
      {"rnase", 0.3734f, 0.1735f},   {"hewl", 0.1591f, 0.0460f},
      {"4hg7", 0.3119f, 0.1644f},    {"lysc2", 0.3745f, 0.2074f},
      {"5uui", 0.4257f, 0.0597f},    {"1dur", 0.5522f, 0.1776f},
      {"5wkd", 0.6709f, 0.2351f},    {"7n2l", 0.9324f, 0.2175f},
      {"5wkd_be", 0.6709f, 0.2351f},  // the same, big-endian
  };
  for (const auto& [id, fwt, fdelwt] : rows) {
    const std::string file = std::string("crystals/") + id + ".mtz";
    SKIP_WITHOUT_DATA(file);
    for (const auto& [type, expected] :
         {std::pair(VXMTZMapType::Fwt, fwt), std::pair(VXMTZMapType::Fdelwt, fdelwt)}) {
      SCOPED_TRACE(testing::Message() << file << " " << type);
      VXSkewGrid grid;
      ASSERT_TRUE(VXReadMTZ(real_data(file), grid, type));
      double sum = 0, squares = 0, n = 0;
      const unsigned int nx = grid.GetXDim(), ny = grid.GetYDim(), nz = grid.GetZDim();
      for (unsigned int i = 0; i < grid.GetSize(); ++i) {
        if (i % nx == nx - 1 || i / nx % ny == ny - 1 || i / nx / ny == nz - 1) continue;  // repeated planes
        const double v = grid.GetValues()[i];
        sum += v, squares += v * v, ++n;
      }
      const double rms = std::sqrt(squares / n - sum * sum / (n * n));
      EXPECT_NEAR(rms * grid.GetData<float>("SIGMA"), expected, 0.6e-4);
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
