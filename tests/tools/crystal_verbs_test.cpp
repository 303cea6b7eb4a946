// The verbs that score models and that shape maps of crystals for the eye.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <tuple>
#include <utility>

#include <vxgrid/formats/gridio.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/processing/thinning.h>
#include <vxgrid/realspace/density.h>

#include "tools/command.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

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

}  // namespace

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

  // The amplitudes that the file's refinement program computed of this model, all alternates included: with
  // one of each alone R would be 0.058.
  EXPECT_LT(json_of("sf --json --fobs FC $MODEL $MTZ")["r"].GetDouble(), 0.02);

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
  EXPECT_THAT(vxgrid("contours --limit -99 " + map).err, HasSubstr("below the limit"));
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
