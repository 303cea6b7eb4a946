#include <vxgrid/reflection/map_synthesis.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <thread>

#include <support/support.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/reflection/fft_backend.h>

#include "plain_loops.h"
#include "support.h"

using namespace VXCore;
using testing::HasSubstr;
using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
const VXUnitCell kOblique(7.1f, 9.3f, 12.2f, 81, 97, 104);

// Any signs, all zones, some indices several times and as Friedel mates.
std::vector<Coefficient> some_coefficients(int n) {
  std::mt19937 random(3);
  std::uniform_int_distribution<int> h(-3, 3), k(-2, 2), l(-5, 5);
  std::uniform_real_distribution<float> value(0, 360);
  std::vector<Coefficient> list = {{0, 0, 0, 40, 0},   {0, 2, 0, 50, 30}, {0, -2, 0, 60, 70},
                                   {-3, 0, 0, 70, 20}, {1, 1, 0, 9, 99},  {0, 0, -5, 5, 55}};
  while (list.size() < static_cast<std::size_t>(n))
    list.push_back({h(random), k(random), l(random), value(random), value(random)});
  return list;
}

class Backend {
 public:
  explicit Backend(VXFFTBackend backend) { EXPECT_TRUE(VXSetFFTBackend(backend)); }
  ~Backend() { VXSetFFTBackend(VXFFTBackend::FFTW2); }
};

float at(const VXSkewGrid& grid, unsigned int x, unsigned int y, unsigned int z) {
  return grid.GetValues()[(std::size_t{z} * grid.GetYDim() + y) * grid.GetXDim() + x];
}

TEST(MapSynthesis, IsTheFourierSum) {
  std::vector<Coefficient> list = some_coefficients(60);
  list.push_back({2, 1, 3, kNan, 0});
  list.push_back({2, 1, -3, 10, kNan});
  const VXReflection set = make_set(list, 1, kOblique);
  const DirectSum expected(set, VXMTZMapType::Fo);
  for (const VXFFTBackend backend : {VXFFTBackend::FFTW2, VXFFTBackend::PocketFFT}) {
    SCOPED_TRACE(static_cast<int>(backend));
    const Backend chosen(backend);
    VXSkewGrid grid;
    ASSERT_TRUE(set.MakeMap(grid, VXMTZMapType::Fo));
    const unsigned int nx = 10, ny = 8, nz = 16;  // 2.5 * (4, 3, 6), made even
    ASSERT_EQ(grid.GetXDim(), nx + 1);
    ASSERT_EQ(grid.GetYDim(), ny + 1);
    ASSERT_EQ(grid.GetZDim(), nz + 1);
    double squares = 0;
    for (unsigned int z = 0; z <= nz; ++z)
      for (unsigned int y = 0; y <= ny; ++y)
        for (unsigned int x = 0; x <= nx; ++x) {
          // Coefficients and results are floats: 1e-7 of the largest density that the amplitudes allow.
          ASSERT_NEAR(at(grid, x, y, z), expected(x / double{nx}, y / double{ny}, z / double{nz}), 3e-6);
          ASSERT_EQ(at(grid, x, y, z), at(grid, x % nx, y % ny, z % nz))
              << "the far planes repeat the near ones";
          if (x < nx && y < ny && z < nz) squares += std::pow(at(grid, x, y, z), 2);
        }
    EXPECT_NEAR(squares / (nx * ny * nz), expected.mean_square(), expected.mean_square() * 1e-6)
        << "Parseval";
    // Samples stand where the cell puts them.
    float position[3], frac[3] = {3.0f / nx, 5.0f / ny, 7.0f / nz};
    VXXtal::vecmul(frac, kOblique.Frac2Cart());
    ASSERT_TRUE(
        grid.ElementToSpatialCoord((7 * (ny + 1) + 5) * (nx + 1) + 3, position[0], position[1], position[2]));
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(position[i], frac[i], 1e-5);
  }
}

TEST(MapSynthesis, BackendsAgree) {
  const VXReflection set = make_set(some_coefficients(300), 1, kOblique);
  VXSkewGrid fftw, pocket;
  ASSERT_TRUE(set.MakeMap(fftw, VXMTZMapType::Fo));
  {
    const Backend chosen(VXFFTBackend::PocketFFT);
    EXPECT_EQ(VXGetFFTBackend(), VXFFTBackend::PocketFFT);
    ASSERT_TRUE(set.MakeMap(pocket, VXMTZMapType::Fo));
  }
  unsigned int differ = 0;
  for (unsigned int i = 0; i < fftw.GetSize(); ++i) {
    const float a = fftw.GetValues()[i], b = pocket.GetValues()[i];
    if (a == b) continue;
    ++differ;
    EXPECT_TRUE(std::nextafter(a, b) == b || std::fabs(a - b) < 1e-13) << a << " " << b;  // 1e-13: near 0
  }
  EXPECT_LE(differ, 1u) << "of " << fftw.GetSize();
  EXPECT_FALSE(VXSetFFTBackend(static_cast<VXFFTBackend>(7)));
}

// Distinct sets and grids may be used from distinct threads; plans of FFTW are guarded inside.
TEST(MapSynthesis, ThreadsMakeTheirOwnMaps) {
  for (const VXFFTBackend backend : {VXFFTBackend::FFTW2, VXFFTBackend::PocketFFT}) {
    const Backend chosen(backend);
    const auto make = [](VXSkewGrid& grid) {
      VXReflection set =
          make_set({{1, 2, 3, 30, 40}, {7, 1, 4, 25, 77}}, 19, VXUnitCell(10, 12, 14, 90, 90, 90));
      return set.Sort() && set.Expand() && set.MakeMap(grid, VXMTZMapType::Fo);
    };
    VXSkewGrid expected, grids[4];
    ASSERT_TRUE(make(expected));
    std::vector<std::thread> threads;
    for (VXSkewGrid& grid : grids)
      threads.emplace_back([&make, &grid] {
        for (int i = 0; i < 10; ++i) ASSERT_TRUE(make(grid));
      });
    for (std::thread& thread : threads) thread.join();
    for (const VXSkewGrid& grid : grids)
      EXPECT_TRUE(
          std::equal(expected.GetValues(), expected.GetValues() + expected.GetSize(), grid.GetValues()));
  }
}

TEST(MapSynthesis, GridSizeAndWhatTheGridCarries) {
  const struct {
    int h;
    unsigned int n;
  } sizes[] = {{0, 2}, {1, 6}, {-2, 8}, {19, 50}, {20, 52}, {-19, 50}};
  for (const auto& row : sizes) {
    VXSkewGrid grid;
    ASSERT_TRUE(make_set({{row.h, 0, 0, 1, 0}}, 1, kOblique).MakeMap(grid, VXMTZMapType::Fo));
    EXPECT_EQ(grid.GetXDim(), row.n + 1) << row.h;
  }
  VXReflection set = make_set({{0, 0, 0, 100, 0}}, 19);
  set.SetRESO(0.001, 0.25);
  VXSkewGrid grid;
  grid.SetData<int>("old", 1);
  CapturedLog log(VXErrorLevel::Debug);
  ASSERT_TRUE(set.MakeMap(grid, VXMTZMapType::Fo));
  for (unsigned int i = 0; i < 27; ++i) EXPECT_EQ(grid.GetValues()[i], 0.1f);
  EXPECT_EQ(grid.GetSize(), 27u);
  EXPECT_EQ(grid.GetTitle(), "FT: grid");
  EXPECT_EQ(grid.GetData<unsigned int>("MapType"), 0u);
  EXPECT_EQ(grid.GetData<double>("resolution"), 2.0);
  EXPECT_EQ(grid.GetData<VXSymmetry>("vx_symm").GetNumber(), 19u);
  EXPECT_EQ(grid.GetSpaceGroup(), 19u);
  EXPECT_EQ(grid.GetReentrant(), 7u);
  EXPECT_FALSE(grid.HasData("old")) << "the grid is cleared";
  EXPECT_THAT(log.text(),
              HasSubstr("Verbose: Hmax 1, kmax 1, lmax 1\nVerbose: Dimensions 2 2 2\nDebug: Using FFTW\n"
                        "Debug: Final Dimensions 2 2 2\nDebug: Time elapsed for fft "));
  set.SetTitle("a set");
  ASSERT_TRUE(set.MakeMap(grid, VXMTZMapType::Fo));
  EXPECT_EQ(grid.GetTitle(), "FT: a set");
}

TEST(MapSynthesis, Refuses) {
  constexpr int kMin = std::numeric_limits<int>::min();
  const struct {
    const char* what;
    VXReflection set;
    unsigned int type;
    const char* says;
  } rows[] = {
      {"no reflections", make_set({}), 0, ""},
      {"columns of the type missing", make_set({{1, 1, 1, 1, 0}}), VXMTZMapType::FoFc, ""},
      {"no cell", make_set({{1, 1, 1, 1, 0}}, 1, VXUnitCell()), 0, ""},
      {"flat cell", make_set({{1, 1, 1, 1, 0}}, 1, VXUnitCell(1e-3f, 1e-3f, 1, 90, 90, 90)), 0, ""},
      {"cell not a number", make_set({{1, 1, 1, 1, 0}}, 1, VXUnitCell(kNan, 10, 10, 90, 90, 90)), 0, ""},
      {"above the limit", make_set({{515, 515, 515, 1, 0}}), 0, "1290 x 1290 x 1290 points, 2147483647 is"},
      {"one long axis", make_set({{kMin, 0, 0, 1, 0}}), 0, "5368709122 x 2 x 2 points"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    CapturedLog log;
    VXSkewGrid grid;
    grid.SetTitle("kept");
    EXPECT_FALSE(row.set.MakeMap(grid, row.type));
    EXPECT_THAT(log.text(), HasSubstr(row.says));
    EXPECT_EQ(log.text().empty(), *row.says == 0);
    EXPECT_EQ(grid.GetTitle(), "kept");
  }
  VXReflection no_indices = make_set({{1, 1, 1, 1, 0}});
  no_indices.SetHKL(nullptr, nullptr, nullptr, 0);
  VXSkewGrid grid;
  EXPECT_FALSE(no_indices.MakeMap(grid, 0));
}

TEST(MapSynthesis, CopyZeroPlanesRepeatsThePeriod) {
  float source[2 * 3 * 4];
  for (int i = 0; i < 24; ++i) source[i] = static_cast<float>(i);
  const std::unique_ptr<float, void (*)(void*)> out(CopyZeroPlanes(2, 3, 4, 5, 4, 9, source), std::free);
  ASSERT_TRUE(out);
  for (int z = 0; z < 9; ++z)
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 5; ++x)
        ASSERT_EQ(out.get()[(z * 4 + y) * 5 + x], source[(z % 4 * 3 + y % 3) * 2 + x % 2]);
  EXPECT_EQ(CopyZeroPlanes(0, 3, 4, 5, 4, 9, source), nullptr);
  EXPECT_EQ(CopyZeroPlanes(2, 3, 4, 1 << 30, 1 << 30, 1 << 30, source), nullptr) << "more than memory";
}

TEST(MapSynthesis, ReorderGivesTheBitsOfThePlainLoops) {
  for (const auto& n : {std::array<int, 3>{2, 2, 2}, {34, 21, 50}, {16, 32, 48}, {3, 70, 18}}) {
    FFTMap map = {n[0],    n[1],    n[2], n[0], n[1], n[2] / 2 + 1, n[0], n[1], 2 * (n[2] / 2 + 1),
                  nullptr, nullptr, 1};
    std::vector<double> array(std::size_t(map.rx) * map.ry * map.rz);
    for (std::size_t i = 0; i < array.size(); ++i) array[i] = std::sin(double(i));
    map.real_data = array.data();
    const std::unique_ptr<float, void (*)(void*)> turned(plain_reorder(map), std::free);
    const std::unique_ptr<float, void (*)(void*)> extended(
        CopyZeroPlanes(n[0], n[1], n[2], n[0] + 1, n[1] + 1, n[2] + 1, turned.get()), std::free);
    std::vector<float> out(std::size_t(n[0] + 1) * (n[1] + 1) * (n[2] + 1));
    ReorderWithZeroPlanes(map, out.data());
    EXPECT_TRUE(std::equal(out.begin(), out.end(), extended.get()));
  }
}

// The two forms of FillGrid hold the same at h >= 0, for l that need no Friedel mate. At (0, 0, 0), its own
// mate, the full arrays keep the mate and the half spectrum the reflection.
TEST(MapSynthesis, FillGridForms) {
  const VXReflection set = make_set(some_coefficients(200), 1, kOblique);
  FFTMap map = {10, 8, 16, 10, 8, 9, 10, 8, 18, nullptr, nullptr, 1};
  std::vector<double> array(10 * 8 * 18);
  map.real_data = array.data();
  map.complex_data = reinterpret_cast<double(*)[2]>(array.data());
  set.GetImpl()->FillGrid(&map, VXMTZMapType::Fo);
  std::vector<float> re(10 * 8 * 16), im(re);
  set.GetImpl()->FillGrid(re.data(), im.data(), 10, 8, 16, VXMTZMapType::Fo);
  for (int h = 0; h < 5; ++h)
    for (int k = 0; k < 8; ++k)
      for (int l = 0; l < 8; ++l) {
        if (h + k + l == 0) continue;
        const double* const element = map.complex_data[(h * 8 + k) * 9 + l];
        ASSERT_EQ(re[(l * 8 + k) * 10 + h], element[0]) << h << " " << k << " " << l;
        ASSERT_EQ(im[(l * 8 + k) * 10 + h], element[1]) << h << " " << k << " " << l;
      }
}

}  // namespace
