// Maps that other programs wrote, by numbers that other programs read from them.

#include <vxgrid/formats/ccp4.h>

#include <cmath>
#include <fstream>
#include <sstream>

#include <vxgrid/formats/gridio.h>

#include "support/support.h"

using namespace VXCore;

namespace {

struct Probe {
  std::string file;
  int at[3];
  float value;
};

std::vector<Probe> probes() {
  std::ifstream in(real_data("reference/map_probes.tsv"));
  std::vector<Probe> all;
  std::string line;
  for (std::getline(in, line); std::getline(in, line);) {
    Probe probe;
    std::istringstream(line) >> probe.file >> probe.at[0] >> probe.at[1] >> probe.at[2] >> probe.value;
    all.push_back(probe);
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

TEST(RealMaps, ProbesStandWhereOtherProgramsFindThem) {
  SKIP_WITHOUT_DATA("reference/map_probes.tsv");
  int checked = 0;
  for (const Probe& probe : probes()) {
    SCOPED_TRACE(probe.file);
    const std::string name = real_data("maps/" + probe.file);
    VXZemoGrid grid;
    ASSERT_TRUE(VXHost::vxifstream(name));
    VXHost::vxifstream in(name);
    ASSERT_TRUE(VXReadCCP4Map(in, grid));
    VXCCP4Map map;
    ASSERT_TRUE(in.seek(0));
    ASSERT_TRUE(map.Read(in));
    int start[3], count[3];
    box_of(map, start, count);
    const unsigned int x = probe.at[0] - start[0], y = probe.at[1] - start[1], z = probe.at[2] - start[2];
    const float value = grid.GetValues()[(z * grid.GetYDim() + y) * grid.GetXDim() + x];
    EXPECT_EQ(map.data[(z * count[1] + y) * count[0] + x], value);
    // A byte, listed as signed, stands for a value between AMIN and AMAX; floats are listed with six digits.
    const float expected =
        map.MODE == 2 ? probe.value
                      : (map.AMAX - map.AMIN) *
                                (static_cast<float>(static_cast<int>(probe.value) & 255) + 128) * 0.00392f +
                            map.AMIN;
    EXPECT_NEAR(value, expected, 1e-5 * std::fabs(expected));
    ++checked;
  }
  EXPECT_EQ(checked, 90);
}

TEST(RealMaps, ThroughAFileAndBack) {
  SKIP_WITHOUT_DATA("reference/map_probes.tsv");
  std::string last;
  for (const Probe& probe : probes()) {
    if (probe.file == last) continue;
    last = probe.file;
    SCOPED_TRACE(probe.file);
    VXSkewGrid grid, again;
    ASSERT_TRUE(VXReadGrid(real_data("maps/" + probe.file), grid));
    if (!grid.HasSpaceGroup()) continue;  // goes out as a plain grid, on another lattice
    ASSERT_TRUE(VXWriteGrid(scratch_file("again.ccp4"), grid));
    ASSERT_TRUE(VXReadGrid(scratch_file("again.ccp4"), again));
    ASSERT_EQ(again.GetSize(), grid.GetSize());
    EXPECT_TRUE(VXGridSameGeometry(again, grid));
    EXPECT_TRUE(std::equal(grid.GetValues(), grid.GetValues() + grid.GetSize(), again.GetValues()));
  }
}
