#include <vxgrid/reflection/map_synthesis.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <tuple>

#include <support/support.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/reflection/fft_backend.h>

#include "support.h"

using namespace VXCore;
using testing::HasSubstr;
using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

const VXUnitCell kOblique(7.1f, 9.3f, 12.2f, 81, 97, 104);

// Any signs, all zones, some indices several times and as Friedel mates.
std::vector<Coefficient> some_coefficients() {
  std::mt19937 random(3);
  std::uniform_int_distribution<int> h(-13, 13), k(-14, 14), l(-27, 27);
  std::uniform_real_distribution<float> value(0, 360);
  std::vector<Coefficient> list = {{0, 0, 0, 40, 0},    {0, 14, 0, 50, 30},   {0, -14, 0, 60, 70},
                                   {-13, 0, 0, 70, 20}, {1, 1, 0, 9, 99},     {0, 0, -27, 5, 55},
                                   {4, 1, -7, 30, 40},  {-4, -1, 7, 50, 290}, {4, 1, -7, 20, 130}};
  while (list.size() < 60) list.push_back({h(random), k(random), l(random), value(random), value(random)});
  return list;
}

TEST(MapSynthesis, IsTheFourierSum) {
  std::vector<Coefficient> list = some_coefficients();
  list.push_back({2, 1, 3, NAN, 0});
  list.push_back({2, 1, -3, 10, NAN});
  const VXReflection set = make_set(list, 1, kOblique);
  const DirectSum expected(set, VXMTZMapType::Fo);
  VXSkewGrid grids[2];
  for (VXSkewGrid& grid : grids) {
    const auto backend = &grid == grids ? VXFFTBackend::FFTW2 : VXFFTBackend::PocketFFT;
    SCOPED_TRACE(static_cast<int>(backend));
    EXPECT_TRUE(VXSetFFTBackend(backend));
    EXPECT_EQ(VXGetFFTBackend(), backend);
    ASSERT_TRUE(set.MakeMap(grid, VXMTZMapType::Fo));
    const unsigned int nx = 36, ny = 38,
                       nz = 70;  // 2.5 * (14, 15, 28), made even; no whole blocks of any loop
    unsigned int n[3];
    grid.GetDim(n[0], n[1], n[2]);
    ASSERT_THAT(n, testing::ElementsAre(nx + 1, ny + 1, nz + 1));
    const auto at = [&grid](unsigned int x, unsigned int y, unsigned int z) {
      return grid.GetValues()[(z * (ny + 1) + y) * (nx + 1) + x];
    };
    for (unsigned int z = 0; z <= nz; ++z)
      for (unsigned int y = 0; y <= ny; ++y)
        for (unsigned int x = 0; x <= nx; ++x) {
          // Coefficients and results are floats: 1e-7 of the largest density that the amplitudes allow.
          ASSERT_NEAR(at(x, y, z), expected(x / double{nx}, y / double{ny}, z / double{nz}), 3e-6);
          ASSERT_EQ(at(x, y, z), at(x % nx, y % ny, z % nz)) << "the far planes repeat the near ones";
        }
    // Samples stand where the cell puts them.
    float position[3], frac[3] = {3.0f / nx, 5.0f / ny, 7.0f / nz};
    VXXtal::vecmul(frac, kOblique.Frac2Cart());
    ASSERT_TRUE(
        grid.ElementToSpatialCoord((7 * (ny + 1) + 5) * (nx + 1) + 3, position[0], position[1], position[2]));
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(position[i], frac[i], 1e-5);
  }
  VXSetFFTBackend(VXFFTBackend::FFTW2);
  EXPECT_FALSE(VXSetFFTBackend(static_cast<VXFFTBackend>(7)));
  unsigned int differ = 0;
  for (unsigned int i = 0; i < grids[0].GetSize(); ++i) {
    const float a = grids[0].GetValues()[i], b = grids[1].GetValues()[i];
    differ += a != b;
    EXPECT_TRUE(std::nextafter(a, b) == b || std::fabs(a - b) < 1e-13) << a << " " << b;  // 1e-13: near 0
  }
  EXPECT_LE(differ, 1u);
}

TEST(MapSynthesis, GridSizeAndWhatTheGridCarries) {
  const std::pair<int, unsigned int> sizes[] = {{0, 2}, {1, 6}, {-2, 8}, {19, 50}, {20, 52}, {-19, 50}};
  for (const auto& [h, points] : sizes) {
    VXSkewGrid grid;
    ASSERT_TRUE(make_set({{h, 0, 0, 1, 0}}, 1, kOblique).MakeMap(grid, VXMTZMapType::Fo));
    EXPECT_EQ(grid.GetXDim(), points + 1) << h;
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
  VXReflection no_indices = make_set({{1, 1, 1, 1, 0}});
  no_indices.SetHKL(nullptr, nullptr, nullptr, 0);
  const std::tuple<const char*, VXReflection, unsigned int, const char*> rows[] = {
      {"no reflections", make_set({}), 0, ""},
      {"no indices", no_indices, 0, ""},
      {"columns of the type missing", make_set({{1, 1, 1, 1, 0}}), VXMTZMapType::FoFc, ""},
      {"no cell", make_set({{1, 1, 1, 1, 0}}, 1, VXUnitCell()), 0, ""},
      {"flat cell", make_set({{1, 1, 1, 1, 0}}, 1, VXUnitCell(1e-3f, 1e-3f, 1, 90, 90, 90)), 0, ""},
      {"cell not a number", make_set({{1, 1, 1, 1, 0}}, 1, VXUnitCell(NAN, 10, 10, 90, 90, 90)), 0, ""},
      {"above the limit", make_set({{515, 515, 515, 1, 0}}), 0, "1290 x 1290 x 1290 points, 2147483647 is"},
      {"one long axis", make_set({{kMin, 0, 0, 1, 0}}), 0, "5368709122 x 2 x 2 points"},
  };
  for (const auto& [what, set, type, says] : rows) {
    CapturedLog log;
    VXSkewGrid grid;
    grid.SetTitle("kept");
    EXPECT_FALSE(set.MakeMap(grid, type)) << what;
    EXPECT_THAT(log.text(), HasSubstr(says));
    EXPECT_EQ(log.text().empty(), *says == 0);
    EXPECT_EQ(grid.GetTitle(), "kept");
  }
}

TEST(MapSynthesis, CopyZeroPlanesRepeatsThePeriod) {
  float source[2 * 3 * 4];
  std::iota(source, source + 24, 0.0f);
  const std::unique_ptr<float, void (*)(void*)> out(CopyZeroPlanes(2, 3, 4, 5, 4, 9, source), std::free);
  ASSERT_TRUE(out);
  for (int i = 0; i < 9 * 4 * 5; ++i)
    ASSERT_EQ(out.get()[i], source[(i / 20 % 4 * 3 + i / 5 % 4 % 3) * 2 + i % 5 % 2]);
  EXPECT_EQ(CopyZeroPlanes(0, 3, 4, 5, 4, 9, source), nullptr);
  EXPECT_EQ(CopyZeroPlanes(2, 3, 4, 1 << 30, 1 << 30, 1 << 30, source), nullptr) << "more than memory";
}

// The two forms of FillGrid hold the same at h >= 0, for l that need no Friedel mate. At (0, 0, 0), its own
// mate, the full arrays keep the mate and the half spectrum the reflection.
TEST(MapSynthesis, FillGridForms) {
  const VXReflection set = make_set(some_coefficients(), 1, kOblique);
  FFTMap map = {36, 38, 70, 36, 38, 36, 36, 38, 72, nullptr, nullptr, 1};
  std::vector<double> array(36 * 38 * 72);
  map.complex_data = reinterpret_cast<double(*)[2]>(array.data());
  set.GetImpl()->FillGrid(&map, VXMTZMapType::Fo);
  std::vector<float> re(36 * 38 * 70), im(re);
  set.GetImpl()->FillGrid(re.data(), im.data(), 36, 38, 70, VXMTZMapType::Fo);
  for (int h = 0; h < 18; ++h)
    for (int k = 0; k < 38; ++k)
      for (int l = h + k == 0 ? 1 : 0; l < 35; ++l) {
        const double* const element = map.complex_data[(h * 38 + k) * 36 + l];
        const int at = (l * 38 + k) * 36 + h;
        ASSERT_TRUE(re[at] == element[0] && im[at] == element[1]) << h << " " << k << " " << l;
      }
}

}  // namespace
