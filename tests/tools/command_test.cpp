// Runs the built command the way a user does: arguments in, exit status, standard output and error out.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/pointer.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>

#include <vxgrid/formats/gridio.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/processing/thinning.h>
#include <vxgrid/realspace/density.h>

#include "support/support.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

struct Result {
  int status;
  std::string out, err;
};

const std::string kModel = source_file("examples/data/4hg7.pdb");
const std::string kMtz = source_file("examples/data/4hg7.mtz");
const std::string kLigands = source_file("examples/data/ligands.sdf");

/// `arguments` go through the shell, where $MODEL and $MTZ name the sample crystal and $LIGANDS the sample
/// ligands; `before` stands in front of the command.
Result vxgrid(const std::string& arguments, const std::string& before = "") {
  const std::string out = scratch_file("out"), err = scratch_file("err");
  const std::string line = "MODEL=" + kModel + "; MTZ=" + kMtz + "; LIGANDS=" + kLigands + "; " + before +
                           VXGRID_COMMAND " " + arguments + " >" + out + " 2>" + err;
  const int status = std::system(line.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_bytes(out), read_bytes(err)};
}

rapidjson::Document json_of(const Result& run) {
  EXPECT_EQ(run.status, 0) << run.err;
  rapidjson::Document document;
  EXPECT_FALSE(document.Parse(run.out.c_str()).HasParseError()) << run.out;
  return document;
}

rapidjson::Document json_of(const std::string& arguments) { return json_of(vxgrid(arguments)); }

/// A number that `info` tells of a map.
double info_of(const std::string& map, const char* field) {
  return json_of("info --json " + map)[0][field].GetDouble();
}

std::string written(const std::string& name, const std::string& bytes) {
  write_bytes(scratch_file(name), bytes);
  return scratch_file(name);
}

/// The 2Fo-Fc map of the sample crystal as a CCP4 file, made once.
const std::string& map_file() {
  static const std::string file = scratch_file("4hg7.map");
  static const Result made = vxgrid("map $MTZ -o " + file);
  EXPECT_EQ(made.status, 0) << made.err;
  return file;
}

/// Where the ATOM records of the sample model stand; all its lines are of 81 bytes.
std::vector<size_t> atoms_of(const std::string& model) {
  std::vector<size_t> found;
  for (size_t at = 0; at < model.size(); at += 81)
    if (model.compare(at, 6, "ATOM  ") == 0) found.push_back(at);
  return found;
}

template <class T>
void set_word(std::string& bytes, size_t index, T value) {
  std::memcpy(&bytes[4 * index], &value, 4);
}

/// A CCP4 map of 8 x 8 x 8 points, 1 Å apart from the origin on, in a cell of 100 Å.
std::string small_map(int space_group) {
  std::string bytes(1024 + 4 * 512, '\0');
  for (size_t axis = 0; axis < 3; ++axis) {
    set_word(bytes, axis, 8);
    set_word(bytes, 7 + axis, 100);
    set_word(bytes, 10 + axis, 100.0f);
    set_word(bytes, 13 + axis, 90.0f);
    set_word(bytes, 16 + axis, static_cast<int>(axis) + 1);
  }
  set_word(bytes, 3, 2);
  set_word(bytes, 22, space_group);
  for (size_t i = 0; i < 512; ++i) set_word(bytes, 256 + i, static_cast<float>(i % 17) - 8);
  return bytes;
}

/// A CCP4 map of 10 x 12 x 14 points, one cell of P 21 with edges of as many Å; the bytes of its values, 0,
/// follow.
std::string whole_cell() {
  const int dims[] = {10, 12, 14};
  std::string bytes(1024 + 4 * 1680, '\0');
  for (size_t axis = 0; axis < 3; ++axis) {
    set_word(bytes, axis, dims[axis]);
    set_word(bytes, 7 + axis, dims[axis]);
    set_word(bytes, 10 + axis, static_cast<float>(dims[axis]));
    set_word(bytes, 13 + axis, axis == 1 ? 110.0f : 90.0f);
    set_word(bytes, 16 + axis, static_cast<int>(axis) + 1);
  }
  set_word(bytes, 3, 2);
  set_word(bytes, 22, 4);
  return bytes;
}

/// An SDF record of atoms of one element on the x axis.
std::string in_a_row(const char* element, const std::vector<double>& places) {
  char line[64];
  std::snprintf(line, sizeof line, "%3zu  0  0  0  0  0  0  0  0  0999 V2000\n", places.size());
  std::string sdf = std::string("a row\n\n\n") + line;
  for (const double x : places) {
    std::snprintf(line, sizeof line, "%10.1f    0.0000    0.0000 %s   0  0\n", x, element);
    sdf += line;
  }
  return sdf + "M  END\n$$$$\n";
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace

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
  const std::tuple<std::string, std::string, std::string, const char*> rows[] = {
      // Arguments, with @ for a file that is made for the case; the file that is named; its bytes; the
      // reason.
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
      {"contours " + small + " --attach -o a.agd", "a.agd", "", "files in .agd keep no contours"},
      {"contours " + small + " --attach -o a.txt", "a.txt", "", "extension"},
      {"shape $MTZ", kMtz, "", "not a coordinate file"},
      {"sf $LIGANDS $MTZ", kLigands, "", "no residue data"},
      {"sf $MODEL $MODEL", kModel, "", "not an MTZ file"},
      {"sf $MODEL $MTZ -o a.fob", "a.fob", "", "extension; there is .tsv"},
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
  for (auto [arguments, file, bytes, says] : rows) {
    if (const size_t at = arguments.find('@'); at != std::string::npos)
      arguments.replace(at, 1, file = written(file, bytes));
    SCOPED_TRACE(arguments);
    const Result run = vxgrid(arguments + " --quiet");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, IsEmpty());
    EXPECT_THAT(run.err, AllOf(StartsWith("vxgrid: " + file + ": "), HasSubstr(says)));
    EXPECT_EQ(run.err.find('\n') + 1, run.err.size()) << run.err;
  }
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

TEST(Command, FitsTheSampleCrystal) {
  const rapidjson::Document fit = json_of("fit --json $MODEL $MTZ");
  EXPECT_NEAR(fit["radius"].GetDouble(), (1.6 + 0.1) / 3, 0.002);
  EXPECT_GT(fit["rscc"].GetDouble(), 0.85);
  EXPECT_GT(fit["rsr"].GetDouble(), 0.0);
  EXPECT_STREQ(fit["residues"][0]["chain"].GetString(), "A");
  EXPECT_STREQ(fit["residues"][0]["insert"].GetString(), "");
  const auto scores_of = [](const rapidjson::Document& document) {
    std::vector<double> scores;
    for (const auto& residue : document["residues"].GetArray()) scores.push_back(residue["rscc"].GetDouble());
    return scores;
  };
  std::vector<double> scores = scores_of(fit);
  std::sort(scores.begin(), scores.end());
  ASSERT_GT(scores.size(), 80u);
  EXPECT_GT(scores[scores.size() / 4], 0.8);
  EXPECT_EQ(scores_of(json_of("fit --json --sort $MODEL $MTZ")), scores);

  // Nothing but results is on standard output, and no colours where it is no terminal.
  const Result table = vxgrid("fit --quiet $MODEL $MTZ");
  EXPECT_EQ(table.status, 0);
  EXPECT_THAT(table.err, IsEmpty());
  EXPECT_THAT(table.out, Not(HasSubstr("\033")));
  EXPECT_THAT(table.out, HasSubstr("Fwt from FWT, PHWT, 1.60 Å"));
}

// The figures follow from the list; the data give group and cell to a model without.
TEST(Command, StructureFactorsOfTheSampleCrystal) {
  const std::string list = scratch_file("sf.tsv"), model = read_bytes(kModel);
  const rapidjson::Document sf = json_of("sf --json $MODEL $MTZ -o " + list);
  double oc = 0, cc = 0, sum = 0, difference = 0;
  std::vector<std::pair<double, double>> pairs;
  for (const std::string& line : lines_of(read_bytes(list))) {
    int h, k, l;
    double d, f_obs, f_calc, phase;
    if (std::sscanf(line.c_str(), "%d %d %d %lf %lf %lf %lf", &h, &k, &l, &d, &f_obs, &f_calc, &phase) == 7)
      pairs.emplace_back(f_obs, f_calc);
  }
  for (const auto& [f_obs, f_calc] : pairs) oc += f_obs * f_calc, cc += f_calc * f_calc;
  for (const auto& [f_obs, f_calc] : pairs) sum += f_obs, difference += std::fabs(f_obs - oc / cc * f_calc);
  ASSERT_EQ(pairs.size(), 21135u) << "262 were not observed";
  EXPECT_EQ(sf["reflections"].GetUint(), pairs.size());
  EXPECT_NEAR(sf["scale"].GetDouble(), oc / cc, 1e-6);
  EXPECT_NEAR(sf["r"].GetDouble(), difference / sum, 1e-6);
  EXPECT_GT(sf["correlation"].GetDouble(), 0.75);
  unsigned in_shells = 0;
  for (const auto& shell : sf["shells"].GetArray()) {
    in_shells += shell["reflections"].GetUint();
    EXPECT_GE(shell["d_max"].GetDouble(), shell["d_min"].GetDouble());
  }
  EXPECT_EQ(in_shells, pairs.size());
  EXPECT_EQ(vxgrid("sf --tsv $MODEL $MTZ").out, read_bytes(list));

  const Result bare = vxgrid("sf " + written("bare.pdb", model.substr(atoms_of(model)[0])) + " $MTZ --json");
  EXPECT_THAT(bare.err, HasSubstr("bare.pdb: no usable CRYST1 record; group 179 P 65 2 2"));
  EXPECT_EQ(json_of(bare)["r"], sf["r"]);
  const rapidjson::Document table = json_of("sf --json --table $MODEL $MTZ");
  EXPECT_NEAR(table["correlation"].GetDouble(), sf["correlation"].GetDouble(), 0.005);
  EXPECT_TRUE(table["skipped"].IsNull());
}

// A map file carries the same values as the reflections; symmetry comes from either file; an atom in the
// middle of a cell edge has its density in the map on both sides of the cell border.
TEST(Command, ScoresAreThoseOfTheCrystalHoweverGiven) {
  const std::string model = read_bytes(kModel);
  const std::vector<size_t> atoms = atoms_of(model);
  std::string moved = model, no_b = model;
  for (const size_t at : atoms) {
    char field[16];
    std::snprintf(field, sizeof field, "%8.3f", std::stod(model.substr(at + 30, 8)) + 2 * 71.45);
    moved.replace(at + 30, 8, field);
  }
  for (const size_t atom : {0, 1, 2}) no_b.replace(atoms[atom] + 60, 6, "  0.00");
  const std::tuple<std::string, double, const char*> rows[] = {
      {"$MODEL " + map_file(), 1e-3, ""},
      {written("bare.pdb", model.substr(atoms[0])) + " $MTZ", 1e-3, "group 179 P 65 2 2"},
      {written("moved.pdb", moved) + " $MTZ", 0.02, ""},
      {written("no_b.pdb", no_b) + " $MTZ", 0.02, "no_b.pdb: 3 atoms have a B factor of 0; taken as 20"}};
  const rapidjson::Document here = json_of("fit --json --radius 0.6 --fft fftw2 $MODEL $MTZ");
  for (const auto& [files, within, notes] : rows) {
    SCOPED_TRACE(files);
    const Result run = vxgrid("fit --json --radius 0.6 " + files);
    EXPECT_THAT(run.err, HasSubstr(notes));
    const rapidjson::Document there = json_of(run);
    const rapidjson::SizeType residues = here["residues"].Size();
    ASSERT_EQ(there["residues"].Size(), residues);
    for (const char* score : {"rscc", "rsr"}) {
      EXPECT_NEAR(there[score].GetDouble(), here[score].GetDouble(), within / 10);
      for (rapidjson::SizeType i = 0; i < residues; ++i)
        EXPECT_NEAR(there["residues"][i][score].GetDouble(), here["residues"][i][score].GetDouble(), within);
    }
  }
}

// Maps of an asymmetric unit, of half a cell and of a box: symmetry gives the rest. The scores are those of
// the whole cells that gemmi makes of these maps.
TEST(Command, FitsMapsOfAPartOfTheCell) {
  const std::pair<const char*, double> rows[] = {
      {"maps/thaumatin.map", 0.932}, {"maps/1mru.map", 0.679}, {"maps/3pqr.ccp4", 0.789}};
  for (const auto& [name, rscc] : rows) {
    SKIP_WITHOUT_DATA(name);
    const std::string map = real_data(name);
    const Result run = vxgrid("fit --json --radius 1.0 " + map.substr(0, map.rfind('.')) + ".pdb " + map);
    EXPECT_THAT(run.err, Not(HasSubstr("outside")));
    EXPECT_NEAR(json_of(run)["rscc"].GetDouble(), rscc, 0.001) << name;
  }
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

// Values from -8 to 8, the two lowest 31 times and the others 30: the middle of three levels stands at rank
// 31 + 450 / 8.
TEST(Command, ChoosesContourLevels) {
  const std::string map = written("small.map", small_map(1));
  for (const auto& [options, levels] : {std::pair("-n 3", "1\t-7\n2\t-6\n3\t7\n"),
                                        {"-n 2 --descending", "1\t7\n2\t-7\n"},
                                        {"-n 2 --limit 0", "1\t-7\n2\t-1\n"},
                                        {"--stride 9", "1\t-8\n2\t-8\n"}})
    EXPECT_EQ(vxgrid("contours --tsv " + map + " " + options).out, std::string("number\tlevel\n") + levels);
  EXPECT_EQ(json_of("contours --json " + map)["levels"].Size(), 10u);
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

// A carbon is the Gaussian 2.7 exp(-w r^2) with the volume of its sphere, 4/3 pi 1.7^3; what lies below
// 0.001 is left out, a 0.1 % of it. Two atoms at one place add up, with the squares 5.4^2 (pi / 2w)^(3/2) in
// all, or make 1 - (1 - 2.7)^2.
TEST(Command, MakesMapsOfMolecules) {
  const std::tuple<const char*, const char*, double, double> rows[] = {
      {"", "max", 5.4, 1e-5},
      {"", "mean", 41.159 * 8 / 6859, 1.5e-4},
      {"", "rms", std::sqrt(78.581 * 8 / 6859 - 0.048 * 0.048), 5e-4},
      {" --product", "min", -1.89, 1e-5}};
  for (const auto& [option, field, value, within] : rows) {
    const std::string map = scratch_file("gauss.agd");
    const Result run = vxgrid("gauss " + written("c.sdf", in_a_row("C", {0, 0})) + " -o " + map + option);
    EXPECT_EQ(run.out, map + ": Ascii Grid, 19 x 19 x 19 points\n") << run.err;  // trunc(8 / 0.5) + 3
    EXPECT_NEAR(info_of(map, field), value, within) << option;
  }
}

// Half-way between two carbons at 3 Å both have 2.7 exp(-w 1.5^2), w = 2.344229 / 1.7^2, and so has the
// contact; far from each other they have none. An atom does not touch itself, nor its neighbours by bonds.
TEST(Command, MakesContactMaps) {
  const auto atoms = [](const char* element, const std::vector<double>& places) {
    return written(element + std::to_string(places.size()) + ".sdf", in_a_row(element, places)) + " ";
  };
  const std::string map = scratch_file("contact.agd"), both = atoms("C", {-1.5, 1.5});
  const std::string carbon = atoms("C", {1.5}), hydrogen = atoms("H", {1.5}), oxygen = atoms("O", {-20});
  const std::pair<std::string, double> rows[] = {
      {written("left.sdf", in_a_row("C", {-1.5})) + " " + carbon, 0.4352},
      {carbon + oxygen, 0},
      {both + carbon + "--method spheres", 3.3374},
      {both + hydrogen + "--method spheres", 3.3374},
      {both + oxygen + "--method spheres", 0},
      {both + "--spacing 0.25", 0.4078}};
  for (const auto& [models, highest] : rows) {
    const Result run = vxgrid("contact " + models + " -o " + map);
    EXPECT_EQ(run.err.find("there is no contact") != std::string::npos, highest == 0) << run.err;
    EXPECT_NEAR(info_of(map, "max"), highest, highest > 0 ? 1e-4 : 0) << models;
  }
}

// The two sides of a mask add up to the map, hard or smooth.
TEST(Command, MasksMaps) {
  const std::string map = scratch_file("whole.agd");
  ASSERT_EQ(vxgrid("gauss $LIGANDS -o " + map).status, 0);
  const double whole = info_of(map, "mean");
  for (const std::string mode : {"gaussian", "gaussian_smooth"}) {
    double sum = 0;
    for (const char* side : {"", "-"}) {
      const std::string part = scratch_file("part.agd");
      EXPECT_EQ(vxgrid("mask " + map + " $LIGANDS -o " + part + " --mode " + mode + side).err, "");
      const double mean = info_of(part, "mean");
      EXPECT_GT(mean, 0.01 * whole);
      sum += mean;
    }
    EXPECT_NEAR(sum, whole, 1e-5 * whole) << mode;
  }
  // The header tells the values of the file, not those of the map before.
  const std::string cut = scratch_file("cut.map"), carbon = written("c.sdf", in_a_row("C", {3}));
  ASSERT_EQ(vxgrid("mask " + written("small.map", small_map(1)) + " " + carbon + " -o " + cut).status, 0);
  const std::string header = read_bytes(cut);
  for (const auto& [word, field] : {std::pair(19, "min"), {20, "max"}, {21, "mean"}, {54, "rms"}}) {
    float number;
    std::memcpy(&number, &header[4 * static_cast<size_t>(word)], 4);
    EXPECT_NEAR(number, info_of(cut, field), 1e-5) << field;
  }
  EXPECT_GT(info_of(cut, "rms"), 0.01);
  // A crystal's map on oblique axes becomes a regular one; a model elsewhere is told.
  const Result run = vxgrid("mask " + map_file() + " $LIGANDS -o " + scratch_file("cut.map"));
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.err, AllOf(HasSubstr("brought onto a regular grid"), HasSubstr("atoms lie outside")));
}

// The energy of one Gaussian is p^2 (pi / 2w)^(3/2); each one fitted takes its own energy away.
TEST(Command, FitsGaussiansToMaps) {
  const std::string map = scratch_file("one.agd"), out = scratch_file("one.json");
  ASSERT_EQ(vxgrid("gauss " + written("c.sdf", in_a_row("C", {0})) + " -o " + map).status, 0);
  const rapidjson::Document said = json_of("gfit --json --max 7 " + map + " -o " + out);
  rapidjson::Document fit;
  ASSERT_FALSE(fit.Parse(read_bytes(out).c_str()).HasParseError());
  for (const char* field : {"count", "energy", "energy_left"}) EXPECT_EQ(fit[field], said[field]);
  EXPECT_EQ(fit["gaussians"].Size(), fit["count"].GetUint());
  EXPECT_LE(fit["gaussians"].Size(), 7u);
  const double energy = fit["energy"].GetDouble();
  EXPECT_NEAR(energy, 19.645, 0.02);
  double left = energy;
  for (const auto& each : fit["gaussians"].GetArray()) {
    const double p = each["prefactor"].GetDouble(), w = each["width"].GetDouble();
    left -= p * p * std::pow(std::acos(-1.0) / (2 * w), 1.5);
    EXPECT_EQ(each["center"].Size(), 3u);
  }
  EXPECT_NEAR(fit["energy_left"].GetDouble(), left, 1e-4 * energy);
  EXPECT_LT(left, 0.1 * energy);
}

// Volumes of the atoms by their radii; in full, those of a count of points 0.1 Å apart inside the union of
// the spheres, and the second moments of these points, which Gaussians spread a little further.
TEST(Command, MeasuresShapes) {
  const char* const titles[] = {"ZINC03814457", "ZINC03814458", "ZINC00023543"};
  const struct {
    const char* path;
    double within, values[3];
  } rows[] = {{"/volume/atoms", 3e-5, {313.208, 339.657, 339.657}},
              {"/volume/full", 0.05, {178.39, 188.63, 190.17}},
              {"/volume_h/atoms", 3e-5, {407.305, 448.231, 462.707}},
              {"/volume_h/full", 0.05, {204.49, 218.66, 224.11}},
              {"/second_moments/0", 0.15, {11.278, 12.049, 12.159}},
              {"/second_moments/1", 0.15, {2.902, 2.921, 2.926}},
              {"/second_moments/2", 0.15, {0.866, 0.876, 0.873}}};
  const std::vector<std::string> json = lines_of(vxgrid("shape --json $LIGANDS").out);
  const std::vector<std::string> tsv = lines_of(vxgrid("shape --tsv $LIGANDS").out);
  ASSERT_EQ(json.size(), 3u);
  ASSERT_EQ(tsv.size(), 4u);
  for (size_t i = 0; i < 3; ++i) {
    rapidjson::Document molecule;
    ASSERT_FALSE(molecule.Parse(json[i].c_str()).HasParseError()) << json[i];
    EXPECT_EQ(molecule["title"], titles[i]);
    EXPECT_EQ(molecule["number"].GetUint(), i + 1);
    for (const auto& [path, within, values] : rows)
      EXPECT_NEAR(rapidjson::Pointer(path).Get(molecule)->GetDouble(), values[i], within * values[i]) << path;
    // A row of the table is the document without its keys.
    const std::string bare = std::regex_replace(json[i], std::regex(R"("\w+":|[\[\]{}"])"), "");
    EXPECT_EQ(std::regex_replace(bare, std::regex(","), "\t"), tsv[i + 1]);
  }

  // JSON is UTF-8, whatever a title is.
  const std::string latin = in_a_row("C", {0}).replace(0, 1, "\xe5");
  EXPECT_STREQ(json_of("shape --json " + written("latin.sdf", latin))["title"].GetString(), "\uFFFD row");
}

TEST(Command, ShapeGoesOnBehindABadMolecule) {
  const std::string whole = in_a_row("C", {1234.5}), cut = whole.substr(0, whole.find("M  END"));
  const std::string file =
      written("bad.sdf", whole + cut + "$$$$\n" + in_a_row("R#", {0}) + in_a_row("H", {0}));
  for (const std::string& name : {file, written("bad.sdf.gz", gz(read_bytes(file)))}) {
    const Result run = vxgrid("shape " + name + " nowhere.sdf");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "vxgrid: " + name + ": molecule 2, line 12: the molecule is cut short\n" +
                           "vxgrid: " + name + ": molecule 3: none of its atoms has a radius\n" +
                           "vxgrid: " + name + ": 2 of 4 molecules could not be measured\n" +
                           "vxgrid: nowhere.sdf: there is no such file\n");
    const std::vector<std::string> rows = lines_of(run.out);
    ASSERT_EQ(rows.size(), 4u) << run.out;  // the head, the file, two molecules
    // A sphere: volumes alike at all levels, second moments 1 / 2w; hydrogen alone has no heavy atoms.
    EXPECT_THAT(
        rows[2],
        HasSubstr("1      1     20.58     20.58     20.58     20.58     20.58     20.58    0.616    0.616"));
    EXPECT_THAT(rows[3],
                HasSubstr("4      1      0.00      0.00      0.00      7.24      7.24      7.24        -"));
  }
}

// A cube around the corner of an oblique cell counts once, and so does each pair that symmetry makes; a blob
// is found from any cell and cut out whole. The first rows of TSV and JSON say the same.
TEST(Command, BlobsAcrossTheBorderOfTheCell) {
  std::string map = whole_cell();
  const auto set = [&map](int x, int y, int z, float value) {
    for (const auto& [i, j, k] : {std::array{x, y, z}, std::array{-x, y + 6, -z}}) {
      const int at = ((k + 14) % 14 * 12 + (j + 12) % 12) * 10 + (i + 10) % 10;
      set_word(map, 256 + static_cast<size_t>(at), value);
    }
  };
  for (int i = 0; i < 27; ++i) set(i % 3 - 1, i / 3 % 3 - 1, i / 9 - 1, 4);
  set(0, 0, 0, 5);
  set(4, 3, 7, 9);
  const std::string file = written("p21.map", map), out = scratch_file("corner.map");
  const double voxel = std::sin(110 * std::acos(-1.0) / 180);

  const rapidjson::Document list = json_of("blob --json --level 4 " + file);
  EXPECT_EQ(list["count"].GetUint(), 2u);
  const std::tuple<unsigned, double, double> rows[] = {{27, 5, 0}, {1, 9, 3}};
  for (rapidjson::SizeType i = 0; i < 2; ++i) {
    const rapidjson::Value& blob = list["blobs"][i];
    const auto& [points, peak, y] = rows[i];
    EXPECT_EQ(blob["points"].GetUint(), points);
    EXPECT_NEAR(blob["volume"].GetDouble(), points * voxel, 1e-4 * points);
    EXPECT_EQ(blob["peak"].GetDouble(), peak);
    EXPECT_EQ(blob["copies"].GetUint(), 2u);
    for (const char* place : {"peak_at", "centre"})
      EXPECT_NEAR(std::fmod(blob[place][1].GetDouble(), 6), y, 1e-4);
  }
  EXPECT_THAT(vxgrid("blob --tsv --level 4 " + file).out, HasSubstr("\n27\t"));

  // Of all points of the cell the centre is half a step before the peak; one plane is as thick as a step.
  const rapidjson::Document all = json_of("blob --json --level -1 " + file);
  EXPECT_NEAR(all["blobs"][0]["peak_at"][1].GetDouble() - all["blobs"][0]["centre"][1].GetDouble(), 0.5,
              1e-4);
  set_word(map, 2, 1);
  const rapidjson::Document plane =
      json_of("blob --json --level -1 " + written("plane.map", map.substr(0, 1024 + 4 * 120)));
  EXPECT_NEAR(plane["blobs"][0]["volume"].GetDouble(), 120 * voxel, 0.01);

  // 40 Å along -a and 12 Å along b; the map that is read again repeats the planes at 0 at its ends.
  const rapidjson::Document one = json_of("blob --json --level 4 --at -40.3,11.8,0.2 " + file + " -o " + out);
  EXPECT_EQ(one["blobs"][0]["points"].GetUint(), 27u);
  VXCore::VXSkewGrid kept;
  ASSERT_TRUE(VXCore::VXReadGrid(out, kept));
  EXPECT_EQ(kept.GetSize() - std::count(kept.GetValues(), kept.GetValues() + kept.GetSize(), 0.0f), 64);
  EXPECT_EQ(info_of(out, "max"), 5);
}

// The ligand that was left out of the sample model: as large as gemmi finds it on a grid of 112 x 112 x 168.
TEST(Command, FindsTheLigand) {
  const std::string map = scratch_file("difference.map");
  ASSERT_EQ(vxgrid("map $MTZ --type Fdelwt -o " + map).status, 0);
  const rapidjson::Document list = json_of("blob --json " + map);
  EXPECT_EQ(list["blobs"].Size(), 10u);
  EXPECT_NEAR(list["blobs"][0]["volume"].GetDouble(), 93.57, 0.03 * 93.57);
  EXPECT_EQ(list["blobs"][0]["copies"].GetUint(), 12u);
  EXPECT_NEAR(list["blobs"][1]["volume"].GetDouble(), 14.6, 1);
}

// On the oblique lattice of the map the points are those of the library; on a lattice of its own they follow
// the density, and the file holds nothing but 0 and 1.
TEST(Command, SkeletonsOfTheSampleMap) {
  const std::string out = scratch_file("lines.map");
  VXCore::VXSkewGrid map, thinned, lines;
  ASSERT_TRUE(VXCore::VXReadGrid(map_file(), map));
  thinned = map;
  float* const values = thinned.GetValues();
  std::replace_if(
      values, values + thinned.GetSize(), [](float value) { return value < 1; }, 0.0f);
  rapidjson::Document done = json_of("skeleton --json " + map_file() + " -o " + out + " --level 1");
  EXPECT_EQ(done["rounds"].GetInt(), VXCore::VXThinGrid(thinned));
  ASSERT_TRUE(VXCore::VXReadGrid(out, lines));
  ASSERT_EQ(lines.GetSize(), thinned.GetSize());
  EXPECT_TRUE(std::equal(values, values + thinned.GetSize(), lines.GetValues()));
  EXPECT_EQ(std::count(values, values + thinned.GetSize(), 1.0f), done["points"].GetInt());
  EXPECT_EQ(info_of(out, "max"), 1);

  done = json_of("skeleton --json " + map_file() + " -o " + out + " --level 3 --sigma --spacing 0.5");
  ASSERT_TRUE(VXCore::VXReadGrid(out, lines));
  EXPECT_EQ(lines.GetSpacing(), 0.5f);
  const VXCore::XYZToIJK mapping(map);
  double sum = 0;
  int points = 0;
  for (unsigned i = 0; i < lines.GetSize(); ++i) {
    if (lines.GetValues()[i] == 0) continue;
    EXPECT_EQ(lines.GetValues()[i], 1);
    float xyz[3], ijk[3];
    lines.ElementToSpatialCoord(i, xyz[0], xyz[1], xyz[2]);
    mapping.ToIndex(xyz, ijk);
    const auto at = [&ijk](int axis, long period) {
      return static_cast<unsigned>((std::lround(ijk[axis]) % period + period) % period);
    };
    sum += map.GetValues()[(at(2, 166) * 113 + at(1, 112)) * 113 + at(0, 112)];
    ++points;
  }
  EXPECT_EQ(points, done["points"].GetInt());
  EXPECT_GT(points, 1000);
  EXPECT_GT(sum / points, done["level"].GetDouble());
}
