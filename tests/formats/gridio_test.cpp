#include <vxgrid/formats/gridio.h>

#include <vxgrid/formats/ccp4.h>

#include "map_file.h"
#include "support/support.h"

using namespace VXCore;
using testing::HasSubstr;
using VXHost::vxisstream;
using VXHost::vxosstream;

namespace {

std::string map_named(const char* name) {
  write_bytes(scratch_file(name), MapFile().bytes());
  return scratch_file(name);
}

VXScalarGrid numbered() {
  VXScalarGrid grid(2, 3, 4, 1.0f, 2.0f, 3.0f, 0.5f, "numbered", nullptr);
  for (unsigned int i = 0; i < 24; ++i) grid[i] = static_cast<float>(i);
  return grid;
}

}  // namespace

TEST(GridIO, EveryKindOfGridFromEveryForm) {
  const std::string map = map_named("a.map"), ascii = scratch_file("a.agd");
  ASSERT_TRUE(VXWriteGrid(ascii, numbered()));
  VXZemoGrid zemo;
  VXSkewGrid skew;
  VXScalarGrid scalar;
  EXPECT_TRUE(VXReadGrid(map, zemo));
  EXPECT_EQ(zemo.GetType(), 3u);
  EXPECT_TRUE(VXReadGrid(map, skew));
  EXPECT_EQ(skew.GetType(), 3u);
  EXPECT_EQ(skew.GetData<float>("ARMS"), 0.75f);
  EXPECT_TRUE(VXReadGrid(map, scalar));
  EXPECT_EQ(scalar.GetSize(), 24u);
  EXPECT_EQ(scalar.GetData<float>("ARMS"), 0.75f);

  EXPECT_TRUE(VXReadGrid(ascii, zemo));
  EXPECT_EQ(zemo.GetType(), 5u);
  EXPECT_EQ(zemo.GetTitle(), "ccp4 map") << "the title of the file stops at the working grid";
  EXPECT_TRUE(VXReadGrid(ascii, scalar));
  EXPECT_EQ(scalar.GetTitle(), "");
  EXPECT_TRUE(std::equal(scalar.GetValues(), scalar.GetValues() + 24, numbered().GetValues()));

  vxisstream in(MapFile().bytes());
  VXSkewGrid by_stream;
  EXPECT_TRUE(VXReadGrid(in, by_stream, 3));
  EXPECT_FALSE(by_stream.HasData("ARMS"));
  EXPECT_TRUE(by_stream.GetImpl().GetImpl().HasData("ARMS"));
  in.seek(0);
  EXPECT_TRUE(VXReadGrid(in, scalar, 3));

  // An oblique lattice comes out axis-aligned and keeps the type; the result is that of the reading.
  MapFile oblique;
  oblique.cell[5] = 60;
  in.set(oblique.bytes());
  EXPECT_TRUE(VXReadGrid(in, zemo, 3, true));
  EXPECT_FALSE(zemo.GetOrientationSet() && !VXSkewGrid(VXSkewGridImpl(zemo)).IsRegular());
  in.seek(0);
  EXPECT_TRUE(VXReadGrid(in, scalar, 3));
  EXPECT_EQ(scalar.GetType(), 3u);
}

TEST(GridIO, FailuresInTheirWords) {
  write_bytes(scratch_file("empty.map"), "");
  write_bytes(scratch_file("bad.map"), std::string(2000, 'x'));
  write_bytes(scratch_file("bad.agd"), "Title: x\n");
  write_bytes(scratch_file("any.phi"), "?"), write_bytes(scratch_file("any.grd"), "?");
  write_bytes(scratch_file("any.xplor"), "?");
  const std::string none = scratch_file("none.map"), other = scratch_file("a.txt");
  const auto last_line = [](const auto& work) {
    CapturedLog log;
    EXPECT_FALSE(work());
    const std::string text = log.text();
    return text.substr(text.find_last_of('\n', text.size() - 2) + 1);
  };
  const auto reads = [&](const std::string& name, const std::string& says) {
    VXZemoGrid zemo;
    VXSkewGrid skew;
    VXScalarGrid scalar = numbered();
    EXPECT_EQ(last_line([&] { return VXReadGrid(name, zemo); }), says);
    if (name.find("empty") == name.npos) {
      EXPECT_EQ(last_line([&] { return VXReadGrid(name, skew); }), says);
      EXPECT_EQ(last_line([&] { return VXReadGrid(name, scalar); }), says);
    }
    EXPECT_EQ(scalar.GetTitle(), "numbered") << "target changed";
  };
  reads(other, "Warning: File " + other + " does not contain a readable grid file.\n");
  reads(none, "Warning: Unable to open grid file: " + none + ".\n");
  reads(scratch_file("empty.map"), "Warning: Unable to open grid file: " + scratch_file("empty.map") + ".\n");
  reads(scratch_file("bad.map"), "Warning: Problem reading CCP4 grid file\n");
  reads(scratch_file("bad.agd"), "Warning: Problem reading Ascii grid file\n");
  reads(scratch_file("any.phi"), "Warning: Problem reading Grasp grid file\n");
  reads(scratch_file("any.grd"), "Warning: Problem reading GRD grid file\n");
  reads(scratch_file("any.xplor"), "Warning: Problem reading XPLOR grid file\n");
  VXZemoGrid zemo;
  vxisstream in("x");
  for (const unsigned int code : {0u, 6u})
    EXPECT_EQ(last_line([&] { return VXReadGrid(in, zemo, code); }),
              "Error: File does not contain a readable grid file\n");

  EXPECT_EQ(last_line([&] { return VXWriteGrid(other, numbered()); }),
            "Error: Error: UNDEFINED is not a writeable grid file format\n");
  EXPECT_TRUE(VXHost::vxifstream().open(other)) << "created before its extension is looked at";
  EXPECT_EQ(read_bytes(other), "");
  EXPECT_EQ(last_line([&] { return VXWriteGrid("/no such folder/a.agd", VXSkewGrid(numbered())); }),
            "Warning: Unable to open file for grid writing: /no such folder/a.agd\n");
  vxosstream out;
  EXPECT_EQ(last_line([&] { return VXWriteGrid(out, VXSkewGrid(numbered()), 4); }),
            "Error: Error: XPLOR Map is not a writeable grid file format\n");
}

TEST(GridIO, CompressedAndOlderForms) {
  VXZemoGrid grid, again;
  ASSERT_TRUE(VXReadGrid(map_named("b.map"), grid));
  ASSERT_EQ(vx_write_grid_object(scratch_file("c.map.gz").c_str(), grid), 1);
  EXPECT_EQ(read_bytes(scratch_file("c.map.gz")).substr(0, 2), "\x1f\x8b");
  ASSERT_EQ(vx_read_grid_object(scratch_file("c.map.gz").c_str(), again), 1);
  EXPECT_TRUE(VXGridSameGeometry(grid, again));
  EXPECT_TRUE(std::equal(grid.GetValues(), grid.GetValues() + 24, again.GetValues()));
  CapturedLog log;
  EXPECT_EQ(vx_read_grid_object("a.txt", again), 0);
  EXPECT_EQ(log.text(), "Error: File does not contain a readable grid file\n");
}
