#include <vxgrid/processing/interpolation.h>

#include <cmath>
#include <cstring>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/processing/between_grids.h>

#include "processing/lattices.h"
#include "support/support.h"

using namespace VXCore;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr float kUntouched = -77;

struct Axis {
  float mid, h, lo, hi, s;
  int dim;
};

std::vector<Axis> axes_of(const GridStruct& g) {
  const float mid[3] = {g.xmid, g.ymid, g.zmid};
  const int dim[3] = {g.xdim, g.ydim, g.zdim};
  std::vector<Axis> axes;
  for (int a = 0; a < 3; ++a) {
    const float s = 1 / g.spacing, h = static_cast<float>(dim[a] - 1) * g.spacing / 2;
    axes.push_back({mid[a], h, mid[a] - h, mid[a] + h, s, dim[a]});
  }
  return axes;
}

struct Weights {
  explicit Weights(float t) : w{(t * t - t) / 2 + 0.125f, 0.75f - t * t, 0}, d{t - 0.5f, -2 * t, t + 0.5f} {
    w[2] = w[0] + t;
  }
  float w[3], d[3];
};

// One value at a point, the plain way: kernel 0 trilinear, 1 quadratic, 2 nearest point.
void plain_value(const GridStruct& g, const float* p, int kernel, float* out) {
  const std::vector<Axis> axes = axes_of(g);
  int c[3];
  float t[3];
  for (int a = 0; a < 3; ++a) {
    const Axis& x = axes[static_cast<std::size_t>(a)];
    const float cells = (2 * x.h) * x.s, margin = kernel == 1 ? g.spacing / 2 : 0;
    const float hi = static_cast<float>(x.hi - 0.5 * (cells - std::trunc(cells)));
    if (!(p[a] > x.lo + margin && p[a] < hi - margin)) return;
    const float f = (p[a] - x.lo) * x.s;
    c[a] = static_cast<int>(f);
    t[a] = f - static_cast<float>(c[a]);
    if (c[a] == x.dim - 1) c[a] = x.dim - 2;
  }
  const auto v = [&](int x, int y, int z) { return g.floats[x + g.xdim * (y + g.ydim * z)]; };
  const auto mix = [](float a, float b, float at) { return a + (b - a) * at; };
  if (kernel == 0) {
    const auto edge = [&](int y, int z) {
      return mix(v(c[0], c[1] + y, c[2] + z), v(c[0] + 1, c[1] + y, c[2] + z), t[0]);
    };
    *out = mix(mix(edge(0, 0), edge(1, 0), t[1]), mix(edge(0, 1), edge(1, 1), t[1]), t[2]);
  } else if (kernel == 2) {
    *out = v(c[0] + (t[0] > 0.5f), c[1] + (t[1] > 0.5f), c[2] + (t[2] > 0.5f));
  } else {
    for (int a = 0; a < 3; ++a)
      if (t[a] > 0.5f) t[a] -= 1, c[a] += 1;
    const Weights x(t[0]), y(t[1]), z(t[2]);
    *out = 0;
    for (int k = 0; k < 3; ++k)
      for (int j = 0; j < 3; ++j)
        for (int i = 0; i < 3; ++i)
          *out += x.w[i] * y.w[j] * z.w[k] * v(c[0] + i - 1, c[1] + j - 1, c[2] + k - 1);
  }
}

}  // namespace

TEST(Interpolation, NineKindsHaveTheBitsOfThePlainLoop) {
  const struct {
    int x, y, z;
    float spacing, mid;
  } lattices[] = {{9, 7, 5, 0.5f, 0}, {8, 6, 11, 0.7f, 0.3f}, {30, 21, 12, 0.31f, -1.7f},
                  {2, 2, 2, 3, 0},    {4, 1, 4, 1, 0},        {3, 3, 3, 1, 0}};
  for (const auto& l : lattices) {
    SCOPED_TRACE(l.spacing);
    Lattice lattice(l.x, l.y, l.z, l.spacing, l.mid, -l.mid, 2 * l.mid);
    lattice.randomize(5);
    std::vector<float> points = random_points(3000, 5, 6);
    for (int i = 0; i < l.x * l.y * l.z && i < 500; ++i) {  // lattice points and those half-way between
      const float half = i % 2 ? l.spacing / 2 : 0;
      for (const float p :
           {lattice.x(i % l.x) + half, lattice.y(i / l.x % l.y) + half, lattice.z(i / l.x / l.y) + half})
        points.push_back(p);
    }
    const int n = static_cast<int>(points.size() / 3);
    std::vector<float> records(9 * points.size() / 3, NAN);
    for (int i = 0; i < n; ++i) std::copy_n(&points[3 * i], 3, &records[9 * i]);
    std::vector<double> doubles(points.begin(), points.end());
    void* const layouts[3] = {records.data(), points.data(), doubles.data()};
    for (int kernel = 0; kernel < 3; ++kernel) {
      std::vector<float> expected(static_cast<std::size_t>(n), kUntouched);
      for (int i = 0; i < n; ++i) plain_value(lattice.grid, &points[3 * i], kernel, &expected[i]);
      for (int layout = 0; layout < 3; ++layout) {
        const int kind = kernel == 2 ? 6 + layout : 2 * layout + kernel;
        std::vector<float> out(static_cast<std::size_t>(n), kUntouched);
        vi_map_to_atoms_from_grid(layouts[layout], n, out.data(), lattice.grid, kind);
        EXPECT_EQ(std::memcmp(out.data(), expected.data(), 4 * out.size()), 0) << "kind " << kind;
      }
    }
  }
  float p[3] = {0, 0, 0}, out = kUntouched;
  Lattice lattice(5, 5, 5, 1);
  for (const int kind : {-1, 9}) vi_map_to_atoms_from_grid(p, 1, &out, lattice.grid, kind);
  EXPECT_EQ(out, kUntouched);
}

// A linear field comes back exactly up to rounding from both smooth kernels. The quadratic one turns x^2 into
// x^2 + spacing^2 / 4 and has the derivative 2 x: moments of the B-spline.
TEST(Interpolation, ClosedForms) {
  Lattice lattice(20, 16, 12, 0.5f, 1, 2, 3);
  std::vector<float> points = random_points(200, 2, 7), out(200), gradients(600);
  for (std::size_t i = 0; i < points.size(); ++i) points[i] += static_cast<float>(i % 3 + 1);
  lattice.fill([](float x, float y, float z) { return 2 * x - 3 * y + 5 * z + 1; });
  for (const int kind : {2, 3}) {
    vi_map_to_atoms_from_grid(points.data(), 200, out.data(), lattice.grid, kind);
    for (int i = 0; i < 200; ++i) {
      const float* p = &points[3 * i];
      EXPECT_NEAR(out[i], 2 * p[0] - 3 * p[1] + 5 * p[2] + 1, 3e-5);
    }
  }
  vi_quadratic_interpolation_and_derivativates(points.data(), 200, out.data(), gradients.data(),
                                               lattice.grid);
  for (int i = 0; i < 200; ++i) {
    EXPECT_NEAR(gradients[3 * i], 2, 2e-4);
    EXPECT_NEAR(gradients[3 * i + 1], -3, 2e-4);
    EXPECT_NEAR(gradients[3 * i + 2], 5, 2e-4);
  }
  lattice.fill([](float x, float, float) { return x * x; });
  vi_quadratic_interpolation_and_derivativates(points.data(), 200, out.data(), gradients.data(),
                                               lattice.grid);
  for (int i = 0; i < 200; ++i) {
    const float x = points[3 * i];
    EXPECT_NEAR(out[i], x * x + 0.5f * 0.5f / 4, 2e-5);
    EXPECT_NEAR(gradients[3 * i], 2 * x, 1e-4);
    EXPECT_NEAR(gradients[3 * i + 1], 0, 1e-4);
  }
  vi_map_to_atoms_from_grid(points.data(), 200, gradients.data(), lattice.grid, 3);
  EXPECT_EQ(std::vector<float>(gradients.begin(), gradients.begin() + 200), out)
      << "both routines share the kernel";
}

TEST(Interpolation, Faces) {
  Lattice lattice(5, 5, 5, 1);
  lattice.number();
  const struct {
    const char* what;
    float x;
    int kind;
    float expected;
  } rows[] = {
      {"trilinear on a lattice point", -1, 2, 61},
      {"on the low face", -2, 2, kUntouched},
      {"on the high face", 2, 2, kUntouched},
      {"half-way goes to the lower", 0.5f, 7, 62},
      {"nearer to the upper", 0.51f, 7, 63},
      {"nearest on the face", 2, 7, kUntouched},
      {"quadratic, a quarter from the face", -1.75f, 3, kUntouched},
      {"quadratic in the middle", 0, 3, 62},
      {"not a number", NAN, 2, kUntouched},
      {"infinite", INFINITY, 7, kUntouched},
  };
  for (const auto& row : rows) {
    float p[3] = {row.x, 0, 0}, out = kUntouched;
    vi_map_to_atoms_from_grid(p, 1, &out, lattice.grid, row.kind);
    EXPECT_EQ(out, row.expected) << row.what;
  }
  // Spacings whose inverse, or spans, no float holds: no access outside the lattice, whatever comes out.
  std::vector<float> points = random_points(300, 2, 8), out(300);
  for (const float spacing : {0.0f, 1e-40f, 1e38f, INFINITY, NAN, -1.0f}) {
    lattice.grid.spacing = spacing;
    for (float scale = 1; scale > 0; scale *= 1e-20f) {
      for (float& p : points) p *= scale;
      for (int kind = 2; kind < 9; ++kind)
        if (kind != 4 && kind != 5 && kind != 6 && kind != 8)
          vi_map_to_atoms_from_grid(points.data(), 300, out.data(), lattice.grid, kind);
    }
  }
}

TEST(Interpolation, DerivativeForm) {
  VXScalarGrid grid(7, 6, 5, 0, 0, 0, 0.8f, "", nullptr);
  for (unsigned i = 0; i < grid.GetSize(); ++i) grid[i] = static_cast<float>((i * 37) % 11);
  const float xyz[] = {0.1f, -0.3f, 0.2f, 99, 0, 0, 0.41f, 0.39f, 0.8f};
  float out[3], gradients[9];
  std::fill_n(gradients, 9, kUntouched);
  CapturedLog log;
  ASSERT_TRUE(VXQuadraticInterpolationAndDerivatives(grid, xyz, 3, out, gradients));
  EXPECT_EQ(log.text(), "Warning: 1 points not inside of map.\n");
  EXPECT_EQ(out[1], 0);
  EXPECT_THAT(std::vector<float>(gradients + 3, gradients + 6), Each(kUntouched));
  for (int point : {0, 2})
    for (int a = 0; a < 3; ++a) {  // against differences of the values
      const float h = 0.01f;
      float pair[6], values[2];
      std::copy_n(xyz + 3 * point, 3, pair);
      std::copy_n(xyz + 3 * point, 3, pair + 3);
      pair[a] -= h;
      pair[3 + a] += h;
      ASSERT_TRUE(VXQuadraticInterpolationAndDerivatives(grid, pair, 2, values, nullptr));
      EXPECT_NEAR(gradients[3 * point + a], (values[1] - values[0]) / (2 * h), 0.05);
    }
  EXPECT_FALSE(VXQuadraticInterpolationAndDerivatives(VXScalarGrid(), xyz, 3, out, gradients));

  VXGraphMol mol;
  for (int i = 0; i < 3; ++i) mol.SetCoords(mol.AddAtom(6), xyz + 3 * i);
  std::vector<float> at_atoms, slopes;
  ASSERT_TRUE(VXQuadraticInterpolationAndDerivatives(grid, mol, at_atoms, slopes));
  EXPECT_THAT(at_atoms, ElementsAre(out[0], 0, out[2]));
  EXPECT_EQ(slopes[8], gradients[8]);

  VXScalarGrid plane(9, 9, 1, 0, 0, 0, 1, "", nullptr);
  CapturedLog second;
  EXPECT_TRUE(VXQuadraticInterpolationAndDerivatives(plane, xyz, 3, out, nullptr));
  EXPECT_THAT(second.text(), HasSubstr("3 points not inside"));
}

namespace {

// The sampling of one lattice by another as a plain triple loop over target points.
void plain_between(const GridStruct& s, GridStruct t, bool quadratic, const int* from, const int* to,
                   float step) {
  const auto position = [&](float mid, int dim, int i) {
    float p = mid - static_cast<float>(dim - 1) * step * 0.5f + static_cast<float>(from[0]) * step;
    for (int k = from[0]; k < i; ++k) p += step;
    return p;
  };
  const std::vector<Axis> axes = axes_of(s);
  for (int z = from[2]; z < to[2]; ++z)
    for (int y = from[1]; y < to[1]; ++y)
      for (int x = from[0]; x < to[0]; ++x) {
        const float p[3] = {position(t.xmid, t.xdim, x), position(t.ymid, t.ydim, y),
                            position(t.zmid, t.zdim, z)};
        int c[3];
        float f[3];
        bool inside = true;
        for (int a = 0; a < 3; ++a) {
          const float g = (p[a] - axes[a].lo) / s.spacing;
          c[a] = static_cast<int>(std::floor(g));
          f[a] = g - static_cast<float>(c[a]);
          inside = inside && c[a] >= 0 && c[a] < axes[a].dim - 1;
        }
        if (!inside) continue;
        float& out = t.floats[x + t.xdim * (y + t.ydim * z)];
        if (!quadratic) {
          const auto v = [&](int i, int j, int k) {
            return s.floats[c[0] + i + s.xdim * (c[1] + j + s.ydim * (c[2] + k))];
          };
          const auto mix = [](float a, float b, float at) { return a + (b - a) * at; };
          const auto edge = [&](int j, int k) { return mix(v(0, j, k), v(1, j, k), f[0]); };
          out = mix(mix(edge(0, 0), edge(1, 0), f[1]), mix(edge(0, 1), edge(1, 1), f[1]), f[2]);
          continue;
        }
        for (int a = 0; a < 3; ++a)
          if (f[a] > 0.5f) f[a] -= 1, c[a] += 1;
        const int plane = s.xdim * s.ydim, at = c[0] + s.xdim * c[1] + plane * c[2];
        out = 0;
        if (at - s.xdim - plane - 1 < 0 || at + s.xdim + plane + 1 >= s.zdim * plane) continue;
        const Weights wx(f[0]), wy(f[1]), wz(f[2]);
        for (int k = 0; k < 3; ++k)
          for (int j = 0; j < 3; ++j)
            for (int i = 0; i < 3; ++i)
              out += wx.w[i] * wy.w[j] * wz.w[k] * s.floats[at + i - 1 + s.xdim * (j - 1) + plane * (k - 1)];
      }
}

}  // namespace

TEST(BetweenGrids, HasTheBitsOfThePlainLoop) {
  Lattice source(9, 8, 7, 0.6f);
  source.randomize(9);
  for (const int mode : {1, 2, 4, 5}) {
    SCOPED_TRACE(mode);
    Lattice target(11, 9, 7, 0.3f, 0.1f, 0.2f, -0.3f), expected(11, 9, 7, 0.3f, 0.1f, 0.2f, -0.3f);
    vi_constant_grid(target.grid, kUntouched);
    vi_constant_grid(expected.grid, kUntouched);
    const int inset = mode == 1 || mode == 4 ? 1 : 0, from[3] = {inset, inset, inset};
    const int to[3] = {11 - inset, 9 - inset, 7 - inset};
    vi_int_btw_grids(source.grid, target.grid, mode);
    plain_between(source.grid, expected.grid, mode > 2, from, to, 0.3f);
    EXPECT_EQ(target.floats, expected.floats);
  }
}

TEST(BetweenGrids, FacesAreTheFacesOfAll) {
  Lattice source(9, 8, 7, 0.6f);
  source.randomize(10);
  for (const float shift : {0.0f, 1.5f, -1.5f})  // inside, and sticking out on either side
    for (const int quadratic : {0, 3}) {
      Lattice all(11, 9, 7, 0.3f, shift, shift, shift), faces(11, 9, 7, 0.3f, shift, shift, shift);
      vi_constant_grid(all.grid, kUntouched);
      vi_constant_grid(faces.grid, kUntouched);
      vi_int_btw_grids(source.grid, all.grid, 2 + quadratic);
      vi_int_btw_grids(source.grid, faces.grid, quadratic);
      for (int i = 0; i < 11 * 9 * 7; ++i) {
        const int x = i % 11, y = i / 11 % 9, z = i / 99;
        const bool is_face = x == 0 || x == 10 || y == 0 || y == 8 || z == 0 || z == 6;
        // Faces walk with one stride where all points walk step by step: rounding differs a little.
        EXPECT_NEAR(faces.floats[i], is_face ? all.floats[i] : kUntouched, 1e-5) << i;
      }
    }
}

TEST(BetweenGrids, EdgesOfTheRequest) {
  Lattice source(5, 5, 5, 1), same(5, 5, 5, 1), far(5, 5, 5, 1, 10), one(1, 1, 1, 1);
  source.fill([](float x, float y, float z) { return x + 2 * y + 4 * z; });
  vi_int_btw_grids(source.grid, same.grid, 2);
  EXPECT_NEAR(same.floats[0], -14, 2e-4) << "identical lattices are walked with 0.99999 of the spacing";
  EXPECT_NEAR(same.floats[124], 14, 2e-4);
  EXPECT_NE(same.floats[124], 14);
  vi_constant_grid(far.grid, 3);
  vi_int_btw_grids(source.grid, far.grid, 2);
  EXPECT_THAT(far.floats, Each(3));
  one.grid.xmid = 0.25f;
  for (const int mode : {0, 1, 2, 3, 5, -1, 6}) {
    one.floats[0] = 3;
    vi_int_btw_grids(source.grid, one.grid, mode);
    EXPECT_EQ(one.floats[0] == 3, mode == 1 || mode == -1 || mode == 6) << mode;
    vi_int_btw_grids(one.grid, same.grid, mode);
  }
  for (const float odd : {0.0f, NAN, INFINITY, 1e-40f, -1.0f, 1e38f}) {
    far.grid.spacing = odd;
    for (int mode = 0; mode < 6; ++mode) {
      vi_int_btw_grids(source.grid, far.grid, mode);
      vi_int_btw_grids(far.grid, source.grid, mode);
    }
  }
}
