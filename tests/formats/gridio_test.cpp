#include <vxgrid/formats/gridio.h>

#include <functional>

#include "grid/grid_support.h"
#include "map_file.h"
#include "support/support.h"

using namespace VXCore;
using VXHost::vxisstream;
using VXHost::vxosstream;

TEST(GridIO, EveryKindOfGridFromEveryForm) {
  const std::string map = scratch_file("a.map"), ascii = scratch_file("a.agd"),
                    zipped = scratch_file("c.map.gz");
  write_bytes(map, MapFile().bytes());
  ASSERT_TRUE(VXWriteGrid(ascii, numbered_grid(2, 3, 4)));
  VXZemoGrid zemo;
  VXSkewGrid skew, by_stream;
  VXScalarGrid scalar;
  EXPECT_TRUE(VXReadGrid(map, zemo) && VXReadGrid(map, skew) && VXReadGrid(map, scalar));
  EXPECT_TRUE(zemo.GetType() == 3 && skew.GetType() == 3 && scalar.GetSize() == 24);
  EXPECT_TRUE(skew.GetData<float>("ARMS") == 0.75f && scalar.GetData<float>("ARMS") == 0.75f);

  EXPECT_TRUE(VXReadGrid(ascii, zemo) && VXReadGrid(ascii, scalar) && zemo.GetType() == 5);
  EXPECT_EQ(zemo.GetTitle(), "ccp4 map") << "the title of the file stops at the working grid";
  EXPECT_EQ(scalar.GetTitle(), "");
  EXPECT_EQ(values_of(scalar), values_of(numbered_grid(2, 3, 4)));

  ASSERT_EQ(vx_write_grid_object(zipped.c_str(), skew.GetImpl().GetImpl()), 1);
  EXPECT_EQ(read_bytes(zipped).substr(0, 2), "\x1f\x8b");
  ASSERT_EQ(vx_read_grid_object(zipped.c_str(), zemo), 1);
  EXPECT_TRUE(VXGridSameGeometry(zemo, skew));
  EXPECT_EQ(values_of(zemo), values_of(skew));

  // An oblique lattice comes out axis-aligned and keeps the type; the result is that of the reading. By
  // stream the attributes stay on the inner grid.
  MapFile oblique;
  oblique.cell[5] = 60;
  vxisstream in(oblique.bytes());
  EXPECT_TRUE(VXReadGrid(in, by_stream, 3));
  EXPECT_TRUE(!by_stream.HasData("ARMS") && by_stream.GetImpl().GetImpl().HasData("ARMS"));
  in.seek(0);
  EXPECT_TRUE(VXReadGrid(in, zemo, 3, true));
  EXPECT_FALSE(zemo.GetOrientationSet() && !VXSkewGrid(VXSkewGridImpl(zemo)).IsRegular());
  in.seek(0);
  EXPECT_TRUE(VXReadGrid(in, scalar, 3) && scalar.GetType() == 3);
}

/// A hundred bytes could ask for gigabytes: all axes get the shortest of the steps of 16, 16 and 2^-10 Å.
TEST(GridIO, RefusesToMakeAHugeRegularGridOfAFewSamples) {
  MapFile steep;
  steep.group = 0;
  steep.cell = {64, 64, 64, 90, 90, 90};
  steep.period = {4, 4, 65536};
  vxisstream in(steep.bytes());
  VXScalarGrid scalar = numbered_grid(2, 3, 4);
  VXZemoGrid zemo;
  VXSkewGrid skew;
  vxosstream out;
  EXPECT_TRUE(VXReadGrid(in, skew, 3));
  const std::pair<std::function<bool()>, const char*> rows[] = {
      {[&] { return VXReadGrid(in, scalar, 3); }, "read it as a skew grid"},
      {[&] { return VXReadGrid(in, zemo, 3, true); }, "read it as a skew grid"},
      {[&] { return VXWriteGrid(out, skew, 3); }, "with a space group it is written as it is"},
  };
  for (const auto& [work, advice] : rows) {
    in.seek(0);
    const CapturedLog log;
    EXPECT_FALSE(work());
    EXPECT_EQ(log.text(),
              std::string("Warning: Regular grid of 16385 x 32769 x 4 points at spacing 0.000976562 "
                          "would be too large for a source of 24; ") +
                  advice + "\n");
  }
  EXPECT_TRUE(scalar.GetTitle() == "numbered" && zemo.GetXDim() < 2) << "target changed";
}

TEST(GridIO, FailuresInTheirWords) {
  const std::string other = scratch_file("a.txt"), none = scratch_file("none.map"),
                    empty = scratch_file("empty.map");
  const auto last_line = [](const auto& work) {
    CapturedLog log;
    EXPECT_FALSE(work());
    const std::string text = log.text();
    return text.substr(text.find_last_of('\n', text.size() - 2) + 1);
  };
  write_bytes(empty, "");
  for (const char* name : {"bad.map", "bad.agd", "any.grd", "any.xplor"})
    write_bytes(scratch_file(name), std::string(2000, 'x'));
  const std::pair<std::string, std::string> rows[] = {
      {other, "Warning: File " + other + " does not contain a readable grid file.\n"},
      {none, "Warning: Unable to open grid file: " + none + ".\n"},
      {empty, "Warning: Unable to open grid file: " + empty + ".\n"},
      {scratch_file("bad.map"), "Warning: Problem reading CCP4 grid file\n"},
      {scratch_file("bad.agd"), "Warning: Problem reading Ascii grid file\n"},
      {scratch_file("any.grd"), "Warning: Problem reading GRD grid file\n"},
      {scratch_file("any.xplor"), "Warning: Problem reading XPLOR grid file\n"},
  };
  VXZemoGrid zemo;
  VXSkewGrid skew;
  VXScalarGrid scalar = numbered_grid(2, 3, 4);
  for (const auto& [name, says] : rows) {
    // Only the form for the working grid refuses an empty file before its reader does.
    const std::string& of_reader = name == empty ? rows[3].second : says;
    EXPECT_EQ(last_line([&, &name = name] { return VXReadGrid(name, zemo); }), says);
    EXPECT_EQ(last_line([&, &name = name] { return VXReadGrid(name, skew); }), of_reader);
    EXPECT_EQ(last_line([&, &name = name] { return VXReadGrid(name, scalar); }), of_reader);
    EXPECT_EQ(scalar.GetTitle(), "numbered") << "target changed";
  }
  vxisstream in("x");
  for (const unsigned int code : {0u, 6u})
    EXPECT_EQ(last_line([&] { return VXReadGrid(in, zemo, code); }),
              "Error: File does not contain a readable grid file\n");
  EXPECT_EQ(last_line([&] { return vx_read_grid_object("a.txt", zemo) == 1; }),
            "Error: File does not contain a readable grid file\n");

  EXPECT_EQ(last_line([&] { return VXWriteGrid(other, numbered_grid(2, 3, 4)); }),
            "Error: Error: UNDEFINED is not a writeable grid file format\n");
  EXPECT_TRUE(VXHost::vxifstream().open(other)) << "created before its extension is looked at";
  EXPECT_EQ(read_bytes(other), "");
  EXPECT_EQ(
      last_line([&] { return VXWriteGrid("/no such folder/a.agd", VXSkewGrid(numbered_grid(2, 3, 4))); }),
      "Warning: Unable to open file for grid writing: /no such folder/a.agd\n");
  vxosstream out;
  EXPECT_EQ(last_line([&] { return VXWriteGrid(out, VXSkewGrid(numbered_grid(2, 3, 4)), 4); }),
            "Error: Error: XPLOR Map is not a writeable grid file format\n");
}
