#include <vxgrid/molgrid/gaussian_fit.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <utility>

#include <vxgrid/gaussian/gaussian_container.h>
#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/gaussian/gsphere.h>
#include <vxgrid/host/tracer.h>
#include <vxgrid/molgrid/molecular_grid.h>

#include "processing/lattices.h"
#include "support/support.h"

namespace VXCore {
namespace {

using Values = std::vector<float>;

float f(int i) { return static_cast<float>(i); }

float width_of(float radius) {
  const float prefactor = 2.7f;
  float width;
  vi_assign_gwid_from_rad_pre(&prefactor, &radius, &width, 1);
  return width;
}

VXScalarGrid filled(unsigned int nx, unsigned int ny, unsigned int nz, float h, float value = 0) {
  VXScalarGrid grid(nx, ny, nz, 1.0f, -2.0f, 3.0f, h, "", nullptr);
  std::fill_n(grid.GetValues(), grid.GetSize(), value);
  return grid;
}

/// Adds a Gaussian that stands on an element, down to 1e-7.
void add_gaussian(VXZemoGrid& grid, unsigned int element, float prefactor, float width) {
  Gsphere g = {width, 0, 0, 0, -prefactor, 0, 0, 0};
  grid.ElementToSpatialCoord(element, g.x, g.y, g.z);
  subtract_gaussians_from_grid(grid, &g, 1, 1e-7f);
}

/// Blobs of many heights and widths on a floor of noise, some of it below 0.
VXZemoGrid blobs() {
  VXZemoGrid grid(filled(23, 19, 17, 0.7f));
  std::mt19937 random(5);
  std::uniform_real_distribution<float> part(0.0f, 1.0f);
  for (unsigned int i = 0; i < grid.GetSize(); ++i) grid.GetValues()[i] = 0.02f * (part(random) - 0.5f);
  for (int i = 0; i < 12; ++i)
    add_gaussian(grid, static_cast<unsigned int>(random() % 7429), part(random), 0.2f + part(random));
  return grid;
}

struct Arguments {
  const char* what;
  float tail, cut, tolerance;
  int no_energy_test, levels;
  float largest_radius, radius_step;
  int max_gaussians;
};

/// The fit as plain loops over whole grids, for arguments that end it.
struct PlainFit {
  PlainFit(const VXZemoGrid& grid, const Arguments& args) : a(args), h(grid.GetSpacing()) {
    const unsigned int d[3] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
    const float mid[3] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
    for (int k = 0; k < 3; ++k) n[k] = static_cast<int>(d[k]), low[k] = mid[k] - f(n[k] - 1) * h / 2;
    density = values_of(grid);
    sum.resize(density.size());
    for (float& v : density) {
      v = v < 0 ? 0 : v;
      energy += static_cast<double>(v) * v;
    }
    energy *= static_cast<double>(h) * h * h;
    for (int l = 0; l < a.levels; ++l) {
      w.push_back(width_of(a.largest_radius - f(l) * a.radius_step));
      s.push_back(std::sqrt(std::sqrt(w[l] * w[l] * w[l] * 0.25801292f)));
      level.push_back(density);
      for (int axis = 0; axis < 3; ++axis) level[l] = correlate(level[l], axis, w[l]);
      for (std::size_t i = 0; i < density.size(); ++i) {
        level[l][i] = density[i] > a.cut ? level[l][i] * s[l] : 0.0f;
        top = std::max(top, level[l][i]);
      }
    }
    make_lists();
    while (add_one()) {
    }
  }

  void make_lists() {
    listed.assign(w.size(), std::vector<bool>(density.size()));
    for (std::size_t l = 0; l < w.size(); ++l)
      for (std::size_t i = 0; i < density.size(); ++i)
        listed[l][i] = density[i] > a.cut && std::fabs(level[l][i]) > 0.85f * top;
  }

  bool add_one() {
    const float t = 0.85f * top;
    float b = 0;
    std::size_t bl = 0, bi = 0;
    for (std::size_t l = 0; l < w.size(); ++l) {
      float size = 0;
      for (std::size_t i = 0; i < density.size(); ++i)
        if (listed[l][i] && std::fabs(level[l][i]) > size) {
          size = std::fabs(level[l][i]);
          if (size > std::fabs(b)) b = level[l][i], bl = l, bi = i;
        }
      if (size < t) listed[l].assign(density.size(), false);
    }
    if (std::fabs(b) <= t) {
      top = t;
      make_lists();
      return true;
    }
    const int at = static_cast<int>(bi);
    const float x = low[0] + f(at % n[0]) * h, y = low[1] + f(at / n[0] % n[1]) * h;
    Gsphere g = {w[bl], x, y, low[2] + f(at / n[0] / n[1]) * h, b * s[bl], 0, 0, 0};
    const double after = energy - b * (b * s[bl]) / s[bl];
    for (std::size_t j = 0; j < w.size(); ++j) {
      const float u = w[bl] + w[j];
      Gsphere o = g;
      o.width = w[j] * w[bl] / u;
      o.prefactor = std::sqrt(31.006203f / (u * u * u)) * s[j] * (b * s[bl]);
      subtract(level[j], o);
    }
    if (!a.no_energy_test && energy - after < a.tolerance) return false;
    positions.insert(positions.end(), {g.x, g.y, g.z});
    prefactors.push_back(g.prefactor);
    widths.push_back(g.width);
    g.prefactor = -g.prefactor;
    subtract(sum, g);
    energy = after;
    return static_cast<int>(widths.size()) != a.max_gaussians;
  }

  Values correlate(const Values& in, int axis, float width) const {
    const int m = static_cast<int>(std::sqrt(-std::log(a.tail) / width) / h);
    const int stride = axis == 0 ? 1 : axis == 1 ? n[0] : n[0] * n[1];
    Values out(in.size());
    for (int p = 0; p < static_cast<int>(in.size()); ++p)
      for (int at = p / stride % n[axis], i = -m; i <= m; ++i)
        if (at + i >= 0 && at + i < n[axis] && !(axis == 0 && in[p] < 1e-7f))
          out[p + i * stride] += in[p] * (h * std::exp(-width * (f(i) * h * (f(i) * h))));
    return out;
  }

  void subtract(Values& values, const Gsphere& g) const {
    const int m = static_cast<int>(std::sqrt(-std::log(a.tail) / g.width) / h);
    const auto index = [&](int k, float c) { return static_cast<int>((c - low[k]) / h + 0.01f); };
    const int c[3] = {index(0, g.x), index(1, g.y), index(2, g.z)};
    const auto t = [&](int d) { return std::exp(-g.width * h * h * f(d) * f(d)); };
    for (int z = std::max(c[2] - m, 0); z < std::min(c[2] + m, n[2]); ++z)
      for (int y = std::max(c[1] - m, 0); y < std::min(c[1] + m, n[1]); ++y)
        for (int x = std::max(c[0] - m, 0); x < std::min(c[0] + m, n[0]); ++x)
          values[(z * n[1] + y) * n[0] + x] -= g.prefactor * t(z - c[2]) * t(y - c[1]) * t(x - c[0]);
  }

  const Arguments& a;
  int n[3];
  float h, low[3], top = 0;
  double energy = 0;
  Values density, w, s, positions, prefactors, widths, sum;
  std::vector<Values> level;
  std::vector<std::vector<bool>> listed;
};

TEST(GaussianFit, SameNumbersAsPlainLoops) {
  const Arguments rows[] = {
      {"usual values", 0.01f, 0.01f, 0.01f, 0, 3, 3.2f, 1.0f, 0},
      {"a count, no energy test", 0.004f, 0.05f, 1e9f, 1, 4, 3.2f, 0.7f, 60},
      {"one level, wider than the grid", 0.001f, 0.2f, 0.0f, 0, 1, 9.0f, 1.0f, 20},
      {"many fine levels", 0.02f, 0.01f, 0.02f, 0, 6, 2.9f, 0.4f, 100},
  };
  for (const Arguments& row : rows) {
    SCOPED_TRACE(row.what);
    VXZemoGrid grid = blobs();
    const PlainFit plain(grid, row);
    ASSERT_GT(plain.widths.size(), 5u);
    Values positions, prefactors, widths;
    VXZemoGrid sum;
    const float energy = vx_make_grid_gaussian_representation(
        grid, row.tail, row.cut, row.tolerance, row.no_energy_test, row.levels, row.largest_radius,
        row.radius_step, row.max_gaussians, positions, prefactors, widths, true, sum);
    EXPECT_EQ(widths, plain.widths);
    EXPECT_EQ(prefactors, plain.prefactors);
    EXPECT_EQ(positions, plain.positions);
    EXPECT_EQ(energy, static_cast<float>(plain.energy));
    EXPECT_EQ(values_of(sum), plain.sum);
  }
}

// All forms are the fit with the usual arguments, of whatever holds the density.
TEST(GaussianFit, PublicForms) {
  VXGraphMol mol;
  const float at[3] = {1.4f, 0.9f, 0.3f};
  mol.SetCoords(mol.AddAtom(6), at);
  VXZemoGrid density;
  VXMakeMolecularGaussianGrid(density, mol, 0.5f);
  density.GetValues()[0] = -1.0f;
  const VXScalarGrid constant(*density.GetFloats().GetGrid(0));
  const Arguments usual = {"", 0.01f, 0.01f, 0.1f, 0, 3, 3.2f, 1.0f, 3};
  const PlainFit plain(density, usual);
  VXGaussianContainer found[3];
  found[1].AddGaussian(VXGaussian(1, 1, 0, 0, 0, 7));  // is replaced
  EXPECT_TRUE(VXMakeGaussianRepresentation(found[0], mol, 0.1f, 3, 3) &&
              VXMakeGaussianRepresentation(found[1], constant, 0.1f, 0, 3) &&
              VXMakeGaussianRepresentation(found[2], density, 0.1f, 3, 3));
  EXPECT_TRUE(constant[0] == -1 && density.GetValues()[0] == 0);
  for (const VXGaussianContainer& set : found) {
    ASSERT_EQ(set.NumGaussians(), 3u);
    Values coords(9), prefactors(3), widths(3);
    EXPECT_TRUE(set.GetCoords(coords.data()) && set.GetPrefactors(prefactors.data()) &&
                set.GetWidths(widths.data()));
    EXPECT_TRUE(coords == plain.positions && prefactors == plain.prefactors && widths == plain.widths);
  }

  // Back on a grid, the integral is p (pi / w)^(3/2), of which some is cut off at 0.001.
  VXScalarGrid sum;
  double integral = 0;
  EXPECT_TRUE(VXMakeGaussianRepGrid(sum, found[0], 0.4f));
  for (int i = 0; i < 3; ++i) integral += plain.prefactors[i] * std::pow(M_PI / plain.widths[i], 1.5);
  EXPECT_NEAR(0.064 * std::accumulate(sum.GetValues(), sum.GetValues() + sum.GetSize(), 0.0), integral,
              0.01 * integral);
  EXPECT_TRUE(VXMakeGaussianRepresentation(found[0], VXGraphMol(), 0.1f, 3, 50));
  EXPECT_EQ(found[0].NumGaussians(), 0u);
  EXPECT_TRUE(VXMakeGaussianRepGrid(sum, found[0], 2.0f));
  EXPECT_EQ(sum.GetSpacing(), 0.4f);
}

TEST(GaussianFit, TellsProgressAndStops) {
  struct Tracer : VXTracerBase {
    bool Progress(unsigned int current, unsigned int total) override {
      told.emplace_back(current, total);
      return told.size() < stop_at;
    }
    std::vector<std::pair<unsigned int, unsigned int>> told;
    std::size_t stop_at = 1000;
  };
  const auto fit = [](int max_gaussians, Tracer& tracer) {
    VXZemoGrid grid = blobs(), sum;
    Values positions, prefactors, widths;
    vx_make_grid_gaussian_representation(grid, 0, 0, 0.01f, 0, 0, 0, 0, max_gaussians, positions, prefactors,
                                         widths, true, sum, tracer);
    return prefactors;
  };
  Tracer counted, stopped, shares;
  const Values three = fit(3, counted);
  EXPECT_THAT(counted.told, testing::ElementsAre(std::pair(0u, 3u), std::pair(1u, 3u), std::pair(2u, 3u)));
  stopped.stop_at = 3;
  EXPECT_EQ(fit(3, stopped), Values(three.begin(), three.begin() + 2));
  EXPECT_GT(fit(0, shares).size(), 3u);
  EXPECT_TRUE(std::is_sorted(shares.told.begin(), shares.told.end()));
  EXPECT_EQ(shares.told.front(), std::pair(0u, 1000u));
  EXPECT_GT(shares.told.back().first, 500u);
}

TEST(GaussianFit, WindowIsOnePointShorterOnTheHighSide) {
  // -log(0.01) / 0.5 is 3.03^2: 3 steps of 1 Å, on a row from 0 to 20 Å.
  const std::tuple<float, int, int, int> rows[] = {
      {10.0f, 10, 7, 12},  {10.9f, 10, 7, 12}, {9.992f, 10, 7, 12}, {1.0f, 1, 0, 3},  {20.0f, 20, 17, 20},
      {22.0f, 22, 19, 20}, {24.0f, 0, 0, -1},  {NAN, 0, 0, -1},     {1e30f, 0, 0, -1}};
  for (const auto& [place, centre, first, last] : rows) {
    SCOPED_TRACE(place);
    VXZemoGrid grid(VXScalarGrid(21, 21, 21, 10.0f, 10.0f, 10.0f, 1.0f, "", nullptr));
    Gsphere g = {0.5f, place, 10.0f, 10.0f, 2.0f, 0, 0, 0};
    subtract_gaussians_from_grid(grid, &g, 1, 0.01f);
    for (int x = 0; x < 21; ++x) {
      const double value = -2.0 * std::exp(-0.5 * (x - centre) * (x - centre));
      EXPECT_NEAR(grid.GetValues()[(10 * 21 + 10) * 21 + x], x >= first && x <= last ? value : 0.0, 1e-6)
          << x;
    }
    EXPECT_EQ(grid.GetValues()[(10 * 21 + 13) * 21 + 10], 0.0f);
    EXPECT_EQ(grid.GetValues()[(13 * 21 + 10) * 21 + 10], 0.0f);
  }
}

TEST(GaussianFit, AlwaysEnds) {
  const VXScalarGrid plain(*blobs().GetFloats().GetGrid(0));
  VXScalarGrid speck = filled(8, 7, 6, 0.5f), with_nan = plain, with_inf = plain;
  speck[100] = 1.0f;
  with_nan[0] = NAN;
  with_inf[4000] = INFINITY;
  const std::tuple<const char*, VXScalarGrid, float, unsigned int, unsigned int, unsigned int, unsigned int>
      rows[] = {
          {"empty", filled(8, 7, 6, 0.5f), 0.0f, 3, 0, 0, 0},
          {"empty, with a count", filled(8, 7, 6, 0.5f), 1.0f, 3, 5, 0, 0},
          {"default grid", VXScalarGrid(), 0.0f, 3, 0, 0, 0},
          {"spacing 0", filled(8, 7, 6, 0.0f, 1.0f), 0.0f, 3, 0, 0, 0},
          {"no end asked for: as many as candidates", filled(8, 7, 6, 0.5f, 1.0f), 0.0f, 3, 0, 1, 336},
          {"one candidate", speck, 0.0f, 3, 0, 1, 1},
          {"tolerance not a number", speck, NAN, 3, 0, 1, 1},
          {"a spacing without a window", filled(8, 7, 6, 7.0f, 1.0f), 1e-3f, 3, 0, 1, 1},
          {"the same with a count", filled(8, 7, 6, 7.0f, 1.0f), 1e-3f, 3, 4, 4, 4},
          {"windows of one step", filled(8, 7, 6, 3.5f, 1.0f), 1e-6f, 3, 0, 1, 10000},
          {"radii end at 0.2", plain, 0.05f, 4000000000u, 0, 1, 1000},
          {"not a number far off, with a count", with_nan, 0.05f, 3, 10, 10, 10},
          {"not a number: no energy to lower", with_nan, 0.05f, 3, 0, 0, 0},
          {"infinity", with_inf, 0.0f, 3, 0, 0, 0},
      };
  for (const auto& [what, grid, tolerance, levels, max_gaussians, least, most] : rows) {
    SCOPED_TRACE(what);
    VXGaussianContainer found;
    EXPECT_TRUE(VXMakeGaussianRepresentation(found, grid, tolerance, levels, max_gaussians));
    EXPECT_GE(found.NumGaussians(), least);
    EXPECT_LE(found.NumGaussians(), most);
  }
}

TEST(GaussianFit, EvaluationRoutines) {
  float coords[] = {0.1f, -0.2f, 0.3f, 1.5f, 0.4f, -0.6f}, widths[] = {0.8f, 1.3f},
        prefactors[] = {2.7f, 1.1f};
  PdbStruct atoms[] = {{0.1f, -0.2f, 0.3f, {}}, {1.5f, 0.4f, -0.6f, {}}};
  Lattice ours(21, 19, 17, 0.4f, 0.2f, 0.1f), plain(21, 19, 17, 0.4f, 0.2f, 0.1f),
      ellipsoid(21, 19, 17, 0.4f, 0.2f, 0.1f);
  const std::pair<int, const char*> rows[] = {{0, "Calculating Sum of Radial Gaussians\n"},
                                              {4, "Calculating Product of Gaussians\n"},
                                              {6, "Calculating Sum and Derivatives of Gaussians\n"},
                                              {8, "Calculating Product and Derivatives of Gaussians\n"},
                                              {10, ""},
                                              {2, "Calculating Sum of Gaussians\n"}};
  for (const auto& [mode, says] : rows) {
    CapturedLog log;
    vi_gauss_grid(0, 2, atoms, widths, prefactors, 0.001f, mode, plain.grid, nullptr);
    vi_gauss_grid_tegs(2, coords, widths, prefactors, 0.001f, mode, &ours.grid, nullptr, nullptr);
    EXPECT_EQ(ours.floats, plain.floats);
    EXPECT_EQ(log.text(), says);
  }
  vi_gauss_grid(0, 2, atoms, widths, prefactors, 0.001f, 2, plain.grid, nullptr);
  vx_make_docking_grid(2, atoms, widths, prefactors, 0.001f, &ours.grid);
  EXPECT_EQ(ours.floats, plain.floats);

  const float axes[] = {0.5f, 1.0f, 2.0f};
  vx_ellipsoid_gauss_grid(1, coords, axes, prefactors, 1e-6f, &ellipsoid.grid);
  for (int i = 0; i < 21 * 19 * 17; ++i) {
    const double x = ellipsoid.x(i % 21) - coords[0], y = ellipsoid.y(i / 21 % 19) - coords[1];
    const double z = ellipsoid.z(i / 21 / 19) - coords[2];
    ASSERT_NEAR(ellipsoid.floats[i], 2.7 * std::exp(-0.5 * x * x - y * y - 2 * z * z), 2e-6) << i;
  }
}

}  // namespace
}  // namespace VXCore
