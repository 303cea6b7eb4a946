// Maps that other programs wrote, by numbers that other programs read from them.

#include <vxgrid/formats/ccp4.h>

#include <array>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>

#include <vxgrid/formats/gridio.h>

#include "support/support.h"

using namespace VXCore;

TEST(RealMaps, SamplesStandWhereOtherProgramsFindThemAndStayThereInAFile) {
  SKIP_WITHOUT_DATA("reference/map_probes.tsv");
  std::map<std::string, std::vector<std::array<float, 4>>> probes_by_file;  // place along x, y, z; value
  std::ifstream in(real_data("reference/map_probes.tsv"));
  std::string line, file;
  for (std::getline(in, line); std::getline(in, line);) {
    std::array<float, 4> probe;
    std::istringstream(line) >> file >> probe[0] >> probe[1] >> probe[2] >> probe[3];
    probes_by_file[file].push_back(probe);
  }
  std::size_t checked = 0;
  for (const auto& [map_name, probes] : probes_by_file) {
    SCOPED_TRACE(map_name);
    const std::string name = real_data("maps/" + map_name);
    VXSkewGrid grid, again;
    VXCCP4Map map;
    VXHost::vxifstream image(name);
    ASSERT_TRUE(VXReadGrid(name, grid) && map.Read(image));
    // Starts and counts along x, y, z of the cell grid, from the header as it stands.
    int start[3], count[3];
    start[map.MAPC - 1] = map.NCSTART, start[map.MAPR - 1] = map.NRSTART, start[map.MAPS - 1] = map.NSSTART;
    count[map.MAPC - 1] = map.NC, count[map.MAPR - 1] = map.NR, count[map.MAPS - 1] = map.NS;
    for (const auto& probe : probes) {
      unsigned int x[3];
      for (int i = 0; i < 3; ++i) x[i] = static_cast<int>(probe[i]) - start[i];
      const float value = grid.GetValues()[(x[2] * grid.GetYDim() + x[1]) * grid.GetXDim() + x[0]];
      EXPECT_EQ(map.data[(x[2] * count[1] + x[1]) * count[0] + x[0]], value);
      // A byte, listed as signed, stands for a value between AMIN and AMAX; floats have six digits.
      const float byte = static_cast<float>(static_cast<int>(probe[3]) & 255);
      const float expected =
          map.MODE == 2 ? probe[3] : (map.AMAX - map.AMIN) * (byte + 128) * 0.00392f + map.AMIN;
      EXPECT_NEAR(value, expected, 1e-5 * std::fabs(expected));
    }
    checked += probes.size();
    if (!grid.HasSpaceGroup()) continue;  // goes out as a plain grid, on another lattice
    ASSERT_TRUE(VXWriteGrid(scratch_file("again.ccp4"), grid));
    ASSERT_TRUE(VXReadGrid(scratch_file("again.ccp4"), again));
    ASSERT_TRUE(VXGridSameGeometry(again, grid));
    EXPECT_TRUE(std::equal(grid.GetValues(), grid.GetValues() + grid.GetSize(), again.GetValues()));
  }
  EXPECT_EQ(checked, 90u);
}
