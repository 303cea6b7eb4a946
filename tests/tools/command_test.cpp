// What all verbs share: failures, usage, help; and info, convert and symmetry.

#include <rapidjson/pointer.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <tuple>

#include "tools/command.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST(Command, FailuresNameTheFileAndTheReasonOnOneLine) {
  const std::string whole_mtz = read_bytes(kMtz), map = small_map(1), model = read_bytes(kModel);
  const size_t first_atom = atoms_of(model)[0];
  const std::string small = written("small.map", map), bad_group = written("bad_group.map", small_map(146));
  const std::string no_cryst1 = written("no_cryst1.pdb", model.substr(first_atom));
  const auto with_fwt = [&whole_mtz](int bits) {  // in all rows
    std::string bytes = whole_mtz;
    for (size_t row = 0; row < 21397; ++row) set_word(bytes, 20 + 17 * row + 10, bits);
    return bytes;
  };
  std::string blank_elements = model.substr(first_atom, 81);  // an atom of no element
  blank_elements.replace(12, 4, " X  ").replace(76, 2, " X");
  std::string no_cell = map, one_point = map.substr(0, 1028);
  for (size_t axis = 0; axis < 3; ++axis) set_word(no_cell, 10 + axis, 0), set_word(one_point, axis, 1);
  const std::string far_apart = in_a_row("C", {0, 1e6}), hydrogen = in_a_row("H", {0});
  const FailureRow rows[] = {
      {"info nowhere.mtz", "nowhere.mtz", "", "no such file"},
      {"info /tmp", "/tmp", "", "directory"},
      {"info @", "empty.map", "", "empty"},
      {"info @", "a.xyz", "1\n", "extension"},
      {"info @", "text.mtz", "this is text\n", "not an MTZ file"},
      {"fit $MODEL @", "no_header.mtz", whole_mtz.substr(0, whole_mtz.size() / 2), "header"},
      {"map @ -o a.map", "half_header.mtz", whole_mtz.substr(0, whole_mtz.size() - 2400), "header"},
      {"info @", "head.map", map.substr(0, 500), "1024"},
      {"info @", "short.map", map.substr(0, 2000), "cut off"},
      {"info @", "mode.map", std::string(map).replace(4 * 3, 1, "\1"), "mode 1"},
      {"info @", "axes.map", std::string(map).replace(4 * 16, 1, "\7"), "not a CCP4 map"},
      {"fit $MTZ $MTZ", kMtz, "", "not a model"},
      {"fit @ $MTZ", "no_atoms.pdb", model.substr(0, first_atom), "no atoms"},
      {"fit @ $MTZ", "ligand.sdf", in_a_row("C", {0, 1.4}), "no residue data"},
      {"fit $MODEL $MTZ --columns FWT,PHI", kMtz, "",
       "no column PHI for a map of type Fwt; name others with --columns AMPLITUDE,PHASE. There are "
       "(label:type): H:H K:H L:H FREE:I FP:F"},
      {"map $MTZ -o a.map --columns PHWT,FWT", kMtz, "", "FWT holds no phases (its type is F)"},
      {"map $MTZ -o a.map --columns PHIC,PHWT", kMtz, "", "PHIC holds phases"},
      {"map @ -o a.map", "inf.mtz", with_fwt(0x7f800000), "infinite values, from columns FWT, PHWT"},
      {"fit $MODEL @", "nan.mtz", with_fwt(0x7fc00000), "the map is flat"},
      {"fit " + no_cryst1 + " " + small, small, "", "--radius"},
      {"fit " + no_cryst1 + " " + small + " --radius 1", no_cryst1, "", "far away"},
      {"fit " + no_cryst1 + " " + bad_group + " --radius 1", no_cryst1, "", "CRYST1"},
      {"fit @ $MTZ", "b.pdb", std::string(model).replace(first_atom + 60, 6, "-20.00"), "-20"},
      {"convert @ a.agd", "steps.map", std::string(map).replace(4 * 7, 3, "\1\1\1"), "would"},
      {"map $MTZ -o /nowhere/a.map", "/nowhere/a.map", "", "cannot be written"},
      {"convert " + small + " a.txt", "a.txt", "", "extension"},
      {"gauss @ -o a.map", "far.sdf", far_apart,
       "a box of 1e+06 x 8 x 8 Å at a spacing of 0.5 Å holds more than 268435456 grid points; a spacing of "
       "0.728 Å fits"},
      {"contact @ -o a.map", "far.sdf", far_apart, "fits"},
      {"contact $MODEL @ -o a.map", "far.sdf", far_apart, "fits"},
      {"gauss @ -o a.map --no-hydrogens", "hydrogen.sdf", hydrogen, "no atoms but hydrogens"},
      {"contact @ -o a.map --no-hydrogens", "hydrogen.sdf", hydrogen, "no atoms but hydrogens"},
      {"contact $MODEL @ -o a.map --no-hydrogens", "hydrogen.sdf", hydrogen, "no atoms but hydrogens"},
      {"gauss $MODEL -o a.txt", "a.txt", "", "extension"},
      {"mask $MODEL $MODEL -o a.map", kModel, "", "not a map"},
      {"gfit @ -o a.json", "flat.map", map.substr(0, 1024) + std::string(2048, '\0'), "no value above 0.01"},
      {"gfit @ -o a.json", "nan.map", map.substr(0, 1024) + std::string(2048, '\xff'), "not finite"},
      {"gfit " + small + " -o " + small, small, "", "extension of a map"},
      {"gfit " + small + " -o /nowhere/a.json", "/nowhere/a.json", "", "cannot be written"},
      {"contours @", "nan.map", map.substr(0, 1024) + std::string(2048, '\xff'), "no numbers"},
      {"contours " + small + " --attach -o a.agd", "a.agd", "",
       "the Ascii Grid format keeps no contours; .json, .vxb do"},
      {"contours " + small + " --attach -o a.txt", "a.txt", "", "extension"},
      {"shape $MTZ", kMtz, "", "not a coordinate file"},
      {"sf $LIGANDS $MTZ", kLigands, "", "no residue data"},
      {"sf $MODEL $MODEL", kModel, "", "not an MTZ file"},
      {"sf $MODEL $MTZ -o a.txt", "a.txt", "", "extension; there are .tsv .phs"},
      {"sf $MODEL $MTZ --fobs F1", kMtz, "", "name another with --fobs LABEL. There are (label:type): H:H"},
      {"sf $MODEL $MTZ --fobs PHIC", kMtz, "", "PHIC holds no amplitudes"},
      {"sf @ $MTZ", "no_x.pdb", blank_elements, "none of its atoms scatters"},
      {"shape @", "blank.sdf", "\n\n", "there are no molecules in it"},
      {"skeleton " + small + " -o a.map --level 9", small, "",
       "no value reaches the level 9; the highest is 8"},
      {"skeleton " + small + " -o a.map --level 3 --sigma", small, "",
       "(3 sigma); the highest is 8, 1.63 sigma"},
      {"skeleton @ -o a.map --level 1", "nan.map", map.substr(0, 1024) + std::string(2048, '\xff'),
       "no value that"},
      {"skeleton " + small + " -o a.map --level 1 --spacing 0.001", small, "", "268435456 are the most"},
      {"blob " + small, small, "", "no value reaches the level"},
      {"blob " + small + " --level 7 --at 1,2,30", small, "",
       "1.00,2.00,30.00 lies outside the map, which spans 0.00,0.00,0.00 to 7.00,7.00,7.00"},
      {"blob " + small + " --level 7 --at -0.4,0,0.2", small, "",
       "the value at the place, -8, is below the level, 7; the nearest blob reaches to 0.00,2.00,0.00"},
      {"skeleton " + small + " -o a.map --level 1 --spacing 9", small, "",
       "leaves one plane of its box of 7 x 7 x 7 Å"},
      {"skeleton @ -o a.map --level 1", "no_cell.map", no_cell, "cell or its spacing is 0"},
      {"mask @ $MODEL -o a.map", "no_cell.map", no_cell, "cell or its spacing is 0"},
      {"blob @ --level 1", "no_cell.map", no_cell, "cell or its spacing is 0"},
      {"blob @ --level 1", "point.map", one_point, "one point"},
      {"fit $MODEL @ --radius 1", "point.map", one_point, "one point"},
      {"symmetry P7", "P7", "", "no space group"},
      {"symmetry ''", "", "", "no space group"},
  };
  expect_failures(rows);
}

TEST(Command, FullDiscs) {
  const std::string err = scratch_file("full"), line = VXGRID_COMMAND " symmetry --tsv >/dev/full 2>" + err;
  EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), 1);
  EXPECT_THAT(read_bytes(err), HasSubstr("standard output: No space left"));

  const Result map =
      vxgrid("convert " + map_file() + " " + scratch_file("full.map"), "trap '' XFSZ; ulimit -f 64; ");
  EXPECT_EQ(map.status, 1);
  EXPECT_THAT(map.err, HasSubstr("full.map: "));
  EXPECT_FALSE(std::filesystem::exists(scratch_file("full.map")));
}

TEST(Command, WrongUsageIsTwo) {
  const std::string map = "fit $MODEL " + map_file() + " --type Fwt";
  for (const char* row : {"",
                          "dance",
                          "info",
                          "info --frobnicate $MTZ",
                          "fit $MODEL $MTZ --radius 0",
                          "fit $MODEL $MTZ --type Fx",
                          map.c_str(),
                          "map $MTZ -o a.map --columns FWT",
                          "map $MTZ -o a.map --fft fftw9",
                          "symmetry 19 --tsv",
                          "gauss $LIGANDS -o a.map --spacing 0",
                          "gauss - -o a.map",
                          "map $MTZ -o -",
                          "gauss $LIGANDS -o a.map --spacing nan",
                          "contact $LIGANDS -o a.map --method spheres",
                          "mask a.map $LIGANDS -o b.map --mode value+",
                          "gfit a.map -o a.json --levels 5",
                          "gfit a.map -o a.json --max -1",
                          "contours a.map -n 0",
                          "contours a.map --limit nan",
                          "contours a.map --attach",
                          "contours a.map -o b.map",
                          "shape $LIGANDS --tsv --json",
                          "sf $MODEL $MTZ --tsv --json",
                          "skeleton a.map -o b.map",
                          "skeleton a.map -o b.map --level nan",
                          "blob a.map -o b.map",
                          "blob a.map --at 1,2",
                          "blob a.map --at 1,2,nan",
                          "blob a.map --tsv --json"}) {
    SCOPED_TRACE(row);
    const Result run = vxgrid(row);
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.out, IsEmpty());
    EXPECT_THAT(run.err, Not(IsEmpty()));
  }
}

TEST(Command, HelpAndVersion) {
  EXPECT_THAT(vxgrid("--version").out, StartsWith("vxgrid 0."));
  for (const char* verb : {"info", "map", "fit", "convert", "symmetry", "gauss", "shape", "gfit", "contact",
                           "mask", "contours", "skeleton", "blob", "sf"}) {
    const Result run = vxgrid(std::string(verb) + " -h");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, HasSubstr(std::string("Example: vxgrid ") + verb));
    EXPECT_THAT(run.err, IsEmpty());
  }
}

TEST(Command, InfoOfAllKinds) {
  const rapidjson::Document files = json_of("info --json $MTZ $MODEL " + map_file());
  std::string said;  // texts, whole numbers, and the sizes of arrays
  for (const char* path : {"/0/kind", "/0/reflections", "/0/group/number", "/0/columns", "/0/columns/5/label",
                           "/0/columns/5/type", "/0/maps/0/type", "/0/maps/0/columns/1", "/1/kind",
                           "/1/atoms", "/1/chains", "/1/group/number", "/2/format", "/2/axes/0"}) {
    const rapidjson::Value* const v = rapidjson::Pointer(path).Get(files);
    ASSERT_TRUE(v) << path;
    said += (v->IsString() ? v->GetString() : std::to_string(v->IsArray() ? v->Size() : v->GetUint())) + " ";
  }
  EXPECT_EQ(said, "mtz 21397 179 17 SIGFP Q Fwt PHWT model 744 1 179 CCP4 Map x ");
  // Extremes and r.m.s. of the map as gemmi's of the same coefficients has them, on a finer grid.
  const std::tuple<const char*, double, double> numbers[] = {
      {"/0/cell/2", 104.204, 1e-5}, {"/0/resolution/low", 30.94, 0.01}, {"/0/resolution/high", 1.60, 0.005},
      {"/1/resolution", 1.6, 1e-9}, {"/2/rms", 0.3119, 0.003},          {"/2/min", -0.857, 0.05},
      {"/2/max", 3.78, 0.3}};
  for (const auto& [path, value, within] : numbers)
    EXPECT_NEAR(rapidjson::Pointer(path).Get(files)->GetDouble(), value, within) << path;
  EXPECT_EQ(files[2]["dimensions"][0].GetInt(), files[2]["sampling"][0].GetInt() + 1);
}

TEST(Command, InfoGoesOnBehindAFileThatCannotBeRead) {
  const Result run = vxgrid("info nowhere.map $MODEL");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("4hg7.pdb: model"));
  EXPECT_THAT(run.err, StartsWith("vxgrid: nowhere.map: "));
}

TEST(Command, ConvertsAndKeepsTheValues) {
  const std::string again = scratch_file("again.ccp4"), plain = scratch_file("plain.agd");
  EXPECT_EQ(vxgrid("convert " + map_file() + " " + again).status, 0);
  const rapidjson::Document info = json_of("info --json " + map_file() + " " + again);
  for (const char* field : {"min", "max", "mean", "rms", "dimensions", "start"})
    EXPECT_EQ(info[0][field], info[1][field]) << field;

  EXPECT_EQ(vxgrid("convert " + written("small.map", small_map(1)) + " " + plain).out,
            plain + ": Ascii Grid, 8 x 8 x 8 points\n");
  EXPECT_EQ(info_of(plain, "min"), -8);
}

TEST(Command, WritesTheTableOfSpaceGroups) {
  EXPECT_EQ(vxgrid("symmetry p3121").out,
            "152  P3121  P 31 2 1  trigonal  6 operators\n"
            "x,y,z\n-y,x-y,z+1/3\n-x+y,-x,z+2/3\ny,x,-z\nx-y,-y,-z+2/3\n-x,-x+y,-z+1/3\n");
  EXPECT_EQ(json_of("symmetry 225 --json")["operators"].Size(), 192u);
  EXPECT_EQ(json_of("symmetry --json").Size(), 268u);

  // The whole table, by its FNV-1a sum.
  std::uint64_t sum = 0xcbf29ce484222325;
  for (const char c : vxgrid("symmetry --tsv").out)
    sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  EXPECT_EQ(sum, 0x6834a4152ce04b99u);
}
