// Maps that other programs wrote, by numbers that other programs read from them.

#include <vxgrid/formats/ccp4.h>

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>

#include <vxgrid/formats/gridio.h>

#include "support/support.h"

using namespace VXCore;

namespace {

// A sample at its place along x, y, z of the cell grid.
struct Probe {
  int at[3];
  float value;
};

std::map<std::string, std::vector<Probe>> probes_by_file() {
  std::ifstream in(real_data("reference/map_probes.tsv"));
  std::map<std::string, std::vector<Probe>> all;
  std::string line, file;
  for (std::getline(in, line); std::getline(in, line);) {
    Probe probe;
    std::istringstream(line) >> file >> probe.at[0] >> probe.at[1] >> probe.at[2] >> probe.value;
    all[file].push_back(probe);
  }
  return all;
}

// Starts and counts along x, y, z of the cell grid, from the header as it stands.
void box_of(const VXCCP4Map& map, int start[3], int count[3]) {
  const int starts[3] = {map.NCSTART, map.NRSTART, map.NSSTART}, counts[3] = {map.NC, map.NR, map.NS};
  const int axes[3] = {map.MAPC - 1, map.MAPR - 1, map.MAPS - 1};
  for (int i = 0; i < 3; ++i) start[axes[i]] = starts[i], count[axes[i]] = counts[i];
}

}  // namespace

TEST(RealMaps, SamplesStandWhereOtherProgramsFindThemAndStayThereInAFile) {
  SKIP_WITHOUT_DATA("reference/map_probes.tsv");
  std::size_t checked = 0;
  for (const auto& [file, probes] : probes_by_file()) {
    SCOPED_TRACE(file);
    const std::string name = real_data("maps/" + file);
    VXSkewGrid grid, again;
    VXCCP4Map map;
    VXHost::vxifstream in(name);
    ASSERT_TRUE(VXReadGrid(name, grid) && map.Read(in));
    int start[3], count[3];
    box_of(map, start, count);
    for (const Probe& probe : probes) {
      const unsigned int x = probe.at[0] - start[0], y = probe.at[1] - start[1], z = probe.at[2] - start[2];
      const float value = grid.GetValues()[(z * grid.GetYDim() + y) * grid.GetXDim() + x];
      EXPECT_EQ(map.data[(z * count[1] + y) * count[0] + x], value);
      // A byte, listed as signed, stands for a value between AMIN and AMAX; floats are listed with six
      // digits.
      const float byte = static_cast<float>(static_cast<int>(probe.value) & 255);
      const float expected =
          map.MODE == 2 ? probe.value : (map.AMAX - map.AMIN) * (byte + 128) * 0.00392f + map.AMIN;
      EXPECT_NEAR(value, expected, 1e-5 * std::fabs(expected));
    }
    checked += probes.size();
    if (!grid.HasSpaceGroup()) continue;  // goes out as a plain grid, on another lattice
    ASSERT_TRUE(VXWriteGrid(scratch_file("again.ccp4"), grid));
    ASSERT_TRUE(VXReadGrid(scratch_file("again.ccp4"), again));
    ASSERT_EQ(again.GetSize(), grid.GetSize());
    EXPECT_TRUE(VXGridSameGeometry(again, grid));
    EXPECT_TRUE(std::equal(grid.GetValues(), grid.GetValues() + grid.GetSize(), again.GetValues()));
  }
  EXPECT_EQ(checked, 90u);
}
