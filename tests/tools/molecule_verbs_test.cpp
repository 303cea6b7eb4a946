// The verbs that make grids of molecules and measure their shapes.

#include <rapidjson/pointer.h>

#include <cmath>
#include <cstring>
#include <regex>
#include <tuple>
#include <utility>

#include "tools/command.h"

using testing::AllOf;
using testing::HasSubstr;

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
  // It is interpolated once, whatever the format, and statistics that JSON keeps are its own.
  std::string oblique = small_map(1);
  set_word(oblique, 14, 110.0f);
  for (const char* name : {"masked.map", "masked.json"})
    EXPECT_EQ(
        vxgrid("mask " + written("oblique.map", oblique) + " " + carbon + " -o " + scratch_file(name)).status,
        0);
  for (const char* field : {"min", "max", "mean", "rms"})
    EXPECT_NEAR(info_of(scratch_file("masked.map"), field), info_of(scratch_file("masked.json"), field),
                1e-7);
  rapidjson::Document json;
  json.Parse(read_bytes(scratch_file("masked.json")).c_str());
  EXPECT_NEAR(json["AMAX"].GetDouble(), info_of(scratch_file("masked.json"), "max"), 1e-7);
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
