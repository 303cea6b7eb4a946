// Runs the built command the way a user does: arguments in, exit status, standard output and error out.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sys/wait.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

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

/// `arguments` go through the shell; `before` stands in front of the command.
Result vxgrid(const std::string& arguments, const std::string& before = "") {
  const std::string out = scratch_file("out"), err = scratch_file("err");
  const std::string line = before + VXGRID_COMMAND + std::string(" ") + arguments + " >" + out + " 2>" + err;
  const int status = std::system(line.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_bytes(out), read_bytes(err)};
}

rapidjson::Document json_of(const std::string& arguments) {
  const Result run = vxgrid(arguments);
  EXPECT_EQ(run.status, 0) << run.err;
  rapidjson::Document document;
  document.Parse(run.out.c_str());
  EXPECT_FALSE(document.HasParseError()) << arguments << "\n" << run.out;
  return document;
}

std::string written(const std::string& name, const std::string& bytes) {
  write_bytes(scratch_file(name), bytes);
  return scratch_file(name);
}

const std::string& model() {
  static const std::string file = source_file("examples/data/4hg7.pdb");
  return file;
}
const std::string& mtz() {
  static const std::string file = source_file("examples/data/4hg7.mtz");
  return file;
}

/// The 2Fo-Fc map of the sample crystal as a CCP4 file, made once.
const std::string& map_file() {
  static const std::string file = [] {
    const std::string made = scratch_file("4hg7.map");
    EXPECT_EQ(vxgrid("map " + mtz() + " -o " + made).status, 0);
    return made;
  }();
  return file;
}

/// The lines of a PDB file for which `wanted` holds.
template <class Condition>
std::string lines_of(const std::string& file, Condition wanted) {
  std::string kept, line;
  for (const char c : read_bytes(file)) {
    line += c;
    if (c != '\n') continue;
    if (wanted(line)) kept += line;
    line.clear();
  }
  return kept;
}

bool is_atom(const std::string& line) { return line.compare(0, 6, "ATOM  ") == 0; }

void set_word(std::string& bytes, size_t index, int value) { std::memcpy(&bytes[4 * index], &value, 4); }

/// A CCP4 map of 8 x 8 x 8 points, 1 Å apart from the origin on, in a cell of 100 Å.
std::string small_map(int space_group) {
  std::string bytes(1024 + 4 * 512, '\0');
  const int counts[] = {8, 8, 8, 2, 0, 0, 0, 100, 100, 100};
  for (size_t i = 0; i < 10; ++i) set_word(bytes, i, counts[i]);
  const float cell[] = {100, 100, 100, 90, 90, 90};
  std::memcpy(&bytes[40], cell, sizeof cell);
  for (int axis = 0; axis < 3; ++axis) set_word(bytes, 16 + static_cast<size_t>(axis), axis + 1);
  set_word(bytes, 22, space_group);
  for (size_t i = 0; i < 512; ++i) {
    const float value = static_cast<float>(i % 17) - 8;
    std::memcpy(&bytes[1024 + 4 * i], &value, 4);
  }
  return bytes;
}

}  // namespace

TEST(Command, FailuresNameTheFileAndTheReasonOnOneLine) {
  const std::string whole_mtz = read_bytes(mtz()), map = small_map(1);
  std::string mode_1 = map, senseless = map;
  set_word(mode_1, 3, 1);
  set_word(senseless, 16, 7);
  std::string steps = map, negative_b = read_bytes(model());
  set_word(steps, 7, 100000);
  negative_b.replace(negative_b.find("\nATOM") + 1 + 60, 6, "-20.00");
  const std::string no_header = written("no_header.mtz", whole_mtz.substr(0, whole_mtz.size() / 2));
  const std::string half_header = written("half_header.mtz", whole_mtz.substr(0, whole_mtz.size() - 2400));
  const auto with_fwt = [&whole_mtz](const char* name, int bits) {  // in all rows
    std::string bytes = whole_mtz;
    for (size_t row = 0; row < 21397; ++row) set_word(bytes, 20 + 17 * row + 10, bits);
    return written(name, bytes);
  };
  const std::string infinite = with_fwt("infinite.mtz", 0x7f800000), nan = with_fwt("nan.mtz", 0x7fc00000);
  const std::string text_mtz = written("text.mtz", "this is text\n"), empty = written("empty.map", "");
  const std::string small = written("small.map", map), bad_group = written("bad_group.map", small_map(146));
  const std::string no_cryst1 = written("no_cryst1.pdb", lines_of(model(), is_atom));
  const std::string no_atoms =
      written("no_atoms.pdb", lines_of(model(), [](const std::string& line) { return !is_atom(line); }));
  const std::string sdf = written("ligand.sdf",
                                  "ligand\n\n\n  2  1  0  0  0  0  0  0  0  0999 V2000\n"
                                  "    0.0000    0.0000    0.0000 C   0  0\n"
                                  "    1.4000    0.0000    0.0000 O   0  0\n  1  2  1  0\nM  END\n$$$$\n");
  const struct {
    const char* what;
    std::string arguments, file, says;
  } rows[] = {
      {"missing file", "info nowhere.mtz", "nowhere.mtz", "no such file"},
      {"directory", "info /tmp", "/tmp", "directory"},
      {"empty file", "info " + empty, empty, "empty"},
      {"unknown extension", "info " + written("a.xyz", "1\n"), scratch_file("a.xyz"), "extension"},
      {"text as MTZ", "info " + text_mtz, text_mtz, "not an MTZ file"},
      {"MTZ without its header", "fit " + model() + " " + no_header, no_header, "header"},
      {"MTZ with half a header", "map " + half_header + " -o a.map", half_header, "header"},
      {"short map header", "info " + written("head.map", map.substr(0, 500)), scratch_file("head.map"),
       "1024"},
      {"short map", "info " + written("short.map", map.substr(0, 2000)), scratch_file("short.map"),
       "cut off"},
      {"map mode", "info " + written("mode.map", mode_1), scratch_file("mode.map"), "mode 1"},
      {"no map", "info " + written("axes.map", senseless), scratch_file("axes.map"), "not a CCP4 map"},
      {"no model", "fit " + mtz() + " " + mtz(), mtz(), "not a model"},
      {"model without atoms", "fit " + no_atoms + " " + mtz(), no_atoms, "no atoms"},
      {"no residue data", "fit " + sdf + " " + mtz(), sdf, "no residue data"},
      {"wrong columns", "fit " + model() + " " + mtz() + " --columns FWT,PHI", mtz(),
       "no column PHI for a map of type Fwt; name others with --columns AMPLITUDE,PHASE. There are "
       "(label:type): H:H K:H L:H FREE:I FP:F"},
      {"columns swapped", "map " + mtz() + " -o a.map --columns PHWT,FWT", mtz(),
       "FWT holds no phases (its type is F)"},
      {"phases twice", "map " + mtz() + " -o a.map --columns PHIC,PHWT", mtz(), "PHIC holds phases"},
      {"infinite amplitudes", "map " + infinite + " -o a.map", infinite,
       "infinite values, from columns FWT, PHWT"},
      {"missing amplitudes", "fit " + model() + " " + nan, nan, "the map is flat"},
      {"resolution not known", "fit " + no_cryst1 + " " + small, small, "--radius"},
      {"model away from the map", "fit " + no_cryst1 + " " + small + " --radius 1", no_cryst1, "far away"},
      {"no symmetry", "fit " + no_cryst1 + " " + bad_group + " --radius 1", no_cryst1, "CRYST1"},
      {"negative B factor", "fit " + written("b.pdb", negative_b) + " " + mtz(), scratch_file("b.pdb"),
       "-20"},
      {"absurd sampling", "convert " + written("steps.map", steps) + " a.agd", scratch_file("steps.map"),
       "would"},
      {"unwritable output", "map " + mtz() + " -o /nowhere/a.map", "/nowhere/a.map", "cannot be written"},
      {"unknown output", "convert " + small + " a.txt", "a.txt", "extension"},
      {"unknown space group", "symmetry P7", "P7", "no space group"},
      {"empty space group", "symmetry ''", "", "no space group"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const Result run = vxgrid(row.arguments);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, IsEmpty());
    const size_t last_line = run.err.rfind("\nvxgrid: ");
    const std::string line = last_line == std::string::npos ? run.err : run.err.substr(last_line + 1);
    EXPECT_THAT(line, AllOf(StartsWith("vxgrid: " + row.file + ": "), HasSubstr(row.says)));
    EXPECT_EQ(line.find('\n') + 1, line.size()) << line;
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
  const std::string rows[] = {"",
                              "dance",
                              "info",
                              "info --frobnicate " + mtz(),
                              "fit " + model(),
                              "fit " + model() + " " + mtz() + " --radius 0",
                              "fit " + model() + " " + mtz() + " --type Fx",
                              "fit " + model() + " " + map_file() + " --type Fwt",
                              "map " + mtz(),
                              "map " + mtz() + " -o a.map --columns FWT",
                              "map " + mtz() + " -o a.map --fft fftw9",
                              "symmetry 19 --tsv"};
  for (const std::string& row : rows) {
    SCOPED_TRACE(row);
    const Result run = vxgrid(row);
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.out, IsEmpty());
    EXPECT_THAT(run.err, Not(IsEmpty()));
  }
}

TEST(Command, HelpAndVersion) {
  EXPECT_THAT(vxgrid("--version").out, StartsWith("vxgrid 0."));
  for (const char* verb : {"info", "map", "fit", "convert", "symmetry"}) {
    const Result run = vxgrid(std::string(verb) + " -h");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, HasSubstr(std::string("Example: vxgrid ") + verb));
    EXPECT_THAT(run.err, IsEmpty());
  }
}

TEST(Command, InfoOfAllKinds) {
  const rapidjson::Document files = json_of("info --json " + mtz() + " " + model() + " " + map_file());
  ASSERT_EQ(files.Size(), 3u);

  const auto& reflections = files[0];
  EXPECT_STREQ(reflections["kind"].GetString(), "mtz");
  EXPECT_EQ(reflections["reflections"].GetInt(), 21397);
  EXPECT_EQ(reflections["group"]["number"].GetInt(), 179);
  EXPECT_FLOAT_EQ(reflections["cell"][2].GetFloat(), 104.204f);
  EXPECT_NEAR(reflections["resolution"]["low"].GetDouble(), 30.94, 0.01);
  EXPECT_NEAR(reflections["resolution"]["high"].GetDouble(), 1.60, 0.005);
  ASSERT_EQ(reflections["columns"].Size(), 17u);
  EXPECT_STREQ(reflections["columns"][5]["label"].GetString(), "SIGFP");
  EXPECT_STREQ(reflections["columns"][5]["type"].GetString(), "Q");
  EXPECT_STREQ(reflections["maps"][0]["type"].GetString(), "Fwt");
  EXPECT_STREQ(reflections["maps"][0]["columns"][1].GetString(), "PHWT");

  const auto& atoms = files[1];
  EXPECT_STREQ(atoms["kind"].GetString(), "model");
  EXPECT_EQ(atoms["atoms"].GetInt(), 744);
  EXPECT_EQ(atoms["chains"].Size(), 1u);
  EXPECT_EQ(atoms["group"]["number"].GetInt(), 179);
  EXPECT_NEAR(atoms["resolution"].GetDouble(), 1.6, 1e-9);

  // Extremes and r.m.s. as gemmi's map of the same coefficients has them, on a finer grid.
  const auto& map = files[2];
  EXPECT_STREQ(map["format"].GetString(), "CCP4 Map");
  EXPECT_NEAR(map["rms"].GetDouble(), 0.3119, 0.003);
  EXPECT_NEAR(map["min"].GetDouble(), -0.857, 0.05);
  EXPECT_NEAR(map["max"].GetDouble(), 3.78, 0.3);
  EXPECT_EQ(map["axes"][0].GetString(), std::string("x"));
  EXPECT_EQ(map["dimensions"][0].GetInt(), map["sampling"][0].GetInt() + 1);
}

TEST(Command, InfoGoesOnBehindAFileThatCannotBeRead) {
  const Result run = vxgrid("info nowhere.map " + model());
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, HasSubstr("4hg7.pdb: model"));
  EXPECT_THAT(run.err, StartsWith("vxgrid: nowhere.map: "));
}

TEST(Command, FitsTheSampleCrystal) {
  const rapidjson::Document fit = json_of("fit --json " + model() + " " + mtz());
  EXPECT_NEAR(fit["radius"].GetDouble(), (1.6 + 0.1) / 3, 0.002);
  EXPECT_GT(fit["rscc"].GetDouble(), 0.85);
  EXPECT_GT(fit["rsr"].GetDouble(), 0.0);
  const auto& residues = fit["residues"];
  ASSERT_GT(residues.Size(), 80u);
  EXPECT_STREQ(residues[0]["chain"].GetString(), "A");
  EXPECT_STREQ(residues[0]["insert"].GetString(), "");
  unsigned good = 0;
  for (const auto& residue : residues.GetArray()) good += residue["rscc"].GetDouble() > 0.8;
  EXPECT_GT(good, residues.Size() * 3 / 4);

  const rapidjson::Document sorted = json_of("fit --json --sort " + model() + " " + mtz());
  ASSERT_EQ(sorted["residues"].Size(), residues.Size());
  for (rapidjson::SizeType i = 1; i < residues.Size(); ++i)
    EXPECT_LE(sorted["residues"][i - 1]["rscc"].GetDouble(), sorted["residues"][i]["rscc"].GetDouble());

  // Nothing but results is on standard output, and no colours where it is no terminal.
  const Result table = vxgrid("fit --quiet " + model() + " " + mtz());
  EXPECT_EQ(table.status, 0);
  EXPECT_THAT(table.err, IsEmpty());
  EXPECT_THAT(table.out, Not(HasSubstr("\033")));
  EXPECT_THAT(table.out, HasSubstr("Fwt from FWT, PHWT, 1.60 Å"));

  // A map file carries the same values, so the same scores come out of it.
  const rapidjson::Document from_map = json_of("fit --json --radius 0.6 " + model() + " " + map_file());
  const rapidjson::Document from_mtz =
      json_of("fit --json --radius 0.6 --fft fftw2 " + model() + " " + mtz());
  EXPECT_NEAR(from_map["rscc"].GetDouble(), from_mtz["rscc"].GetDouble(), 1e-4);
  EXPECT_NEAR(from_map["rsr"].GetDouble(), from_mtz["rsr"].GetDouble(), 1e-4);
  ASSERT_EQ(from_map["residues"].Size(), from_mtz["residues"].Size());
  for (rapidjson::SizeType i = 0; i < from_map["residues"].Size(); ++i)
    EXPECT_NEAR(from_map["residues"][i]["rscc"].GetDouble(), from_mtz["residues"][i]["rscc"].GetDouble(),
                1e-3);
}

TEST(Command, FillsInBFactorsAndOccupanciesOfZero) {
  // Columns 55-60 hold the occupancy, 61-66 the B factor.
  unsigned changed = 0;
  std::string bytes = read_bytes(model());
  for (size_t at = bytes.find("\nATOM"); at != std::string::npos && changed < 3;
       at = bytes.find("\nATOM", at + 1)) {
    bytes.replace(at + 1 + 60, 6, "  0.00");
    ++changed;
  }
  const Result run = vxgrid("fit " + written("no_b.pdb", bytes) + " " + mtz());
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.err, HasSubstr("no_b.pdb: 3 atoms have a B factor of 0; taken as 20"));
}

TEST(Command, TakesSymmetryFromTheMapWhereTheModelHasNone) {
  const std::string bare = written("bare.pdb", lines_of(model(), is_atom));
  const Result run = vxgrid("fit --json " + bare + " " + mtz());
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.err, HasSubstr("group 179 P 65 2 2"));
  rapidjson::Document with_cryst1 = json_of("fit --json " + model() + " " + mtz()), without;
  without.Parse(run.out.c_str());
  EXPECT_NEAR(without["rscc"].GetDouble(), with_cryst1["rscc"].GetDouble(), 1e-3);
}

// Maps of an asymmetric unit, of half a cell and of a box: symmetry gives the rest. The scores are those of
// the whole cells that gemmi makes of these maps.
TEST(Command, FitsMapsOfAPartOfTheCell) {
  const struct {
    const char* name;
    double rscc;
  } rows[] = {{"thaumatin.map", 0.932}, {"1mru.map", 0.679}, {"3pqr.ccp4", 0.789}};
  for (const auto& row : rows) {
    SKIP_WITHOUT_DATA(std::string("maps/") + row.name);
    SCOPED_TRACE(row.name);
    const std::string map = real_data(std::string("maps/") + row.name);
    const Result run = vxgrid("fit --json --radius 1.0 " + map.substr(0, map.rfind('.')) + ".pdb " + map);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, Not(HasSubstr("outside")));
    rapidjson::Document fit;
    fit.Parse(run.out.c_str());
    ASSERT_FALSE(fit.HasParseError());
    EXPECT_NEAR(fit["rscc"].GetDouble(), row.rscc, 0.001);
  }
}

// An atom in the middle of a cell edge has its density in the map on both sides of the cell border. Shifted
// by a whole cell the model fits as well as before.
TEST(Command, ScoresAreThoseOfAnyPlaceInTheCrystal) {
  std::string bytes = read_bytes(model());
  for (size_t at = bytes.find("\nATOM"); at != std::string::npos; at = bytes.find("\nATOM", at + 1)) {
    const double x = std::stod(bytes.substr(at + 31, 8)) + 2 * 71.45;
    char field[16];
    std::snprintf(field, sizeof field, "%8.3f", x);
    bytes.replace(at + 31, 8, field);
  }
  const rapidjson::Document moved = json_of("fit --json " + written("moved.pdb", bytes) + " " + mtz());
  const rapidjson::Document here = json_of("fit --json " + model() + " " + mtz());
  ASSERT_EQ(moved["residues"].Size(), here["residues"].Size());
  for (rapidjson::SizeType i = 0; i < here["residues"].Size(); ++i) {
    EXPECT_NEAR(moved["residues"][i]["rscc"].GetDouble(), here["residues"][i]["rscc"].GetDouble(), 0.02);
    EXPECT_NEAR(moved["residues"][i]["rsr"].GetDouble(), here["residues"][i]["rsr"].GetDouble(), 0.02);
  }
}

TEST(Command, ConvertsAndKeepsTheValues) {
  const std::string again = scratch_file("again.ccp4"), plain = scratch_file("plain.agd");
  EXPECT_EQ(vxgrid("convert " + map_file() + " " + again).status, 0);
  const rapidjson::Document info = json_of("info --json " + map_file() + " " + again);
  for (const char* field : {"min", "max", "mean", "rms"})
    EXPECT_EQ(info[0][field].GetDouble(), info[1][field].GetDouble()) << field;
  EXPECT_EQ(info[0]["dimensions"], info[1]["dimensions"]);
  EXPECT_EQ(info[0]["start"], info[1]["start"]);

  const Result regular = vxgrid("convert --json " + written("small.map", small_map(1)) + " " + plain);
  EXPECT_EQ(regular.status, 0) << regular.err;
  const rapidjson::Document ascii = json_of("info --json " + plain);
  EXPECT_STREQ(ascii[0]["format"].GetString(), "Ascii Grid");
  EXPECT_EQ(ascii[0]["dimensions"][2].GetInt(), 8);
  EXPECT_EQ(ascii[0]["min"].GetDouble(), -8);
}

TEST(Command, WritesTheTableOfSpaceGroups) {
  const Result one = vxgrid("symmetry p3121");
  EXPECT_EQ(one.out,
            "152  P3121  P 31 2 1  trigonal  6 operators\n"
            "x,y,z\n-y,x-y,z+1/3\n-x+y,-x,z+2/3\ny,x,-z\nx-y,-y,-z+2/3\n-x,-x+y,-z+1/3\n");
  EXPECT_EQ(json_of("symmetry 225 --json")["operators"].Size(), 192u);
  EXPECT_EQ(json_of("symmetry --json").Size(), 268u);

  // The whole table, by its FNV-1a sum, and byte for byte where the file is at hand.
  const std::string table = vxgrid("symmetry --tsv").out;
  std::uint64_t sum = 0xcbf29ce484222325;
  for (const char c : table) sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  EXPECT_EQ(sum, 0x6834a4152ce04b99u);
  const std::string reference = real_data("../tables/spacegroups.tsv");
  EXPECT_TRUE(reference.empty() || table == read_bytes(reference));
}
