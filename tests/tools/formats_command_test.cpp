// Files of every format through the command: convert, reflections, info by content, sf and contours into
// files.

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <tuple>

#include "tools/command.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const char* const kWritten[] = {"map", "grd", "agd", "json", "vxb", "phi"};

/// Samples 0 to 7 on points 2 Å apart, with what most formats do not hold.
const char kJson[] =
    R"({"type":"grid","version":"0.91","title":"mine","center":[1,1,1],"dimensions":[2,2,2],
"resolution":2,"values":[0,1,2,3,4,5,6,7],"note":"x"})";

/// The same samples in a cell of 20 Å.
std::string xplor_text() {
  std::string text = "\n       1\n REMARKS a title\n";
  for (int axis = 0; axis < 3; ++axis) text += "      10       0       1";
  text += "\n";
  for (const char* number : {" 2.00000E+01", " 9.00000E+01"})
    for (int i = 0; i < 3; ++i) text += number;
  text += "\nZYX\n";
  for (const int section : {0, 1}) {
    text += "       " + std::to_string(section) + "\n";
    for (int i = 0; i < 4; ++i) text += " " + std::to_string(4 * section + i) + ".00000E+00";
    text += "\n";
  }
  return text + "   -9999\n";
}

/// Monoclinic.
std::string oblique_map() {
  std::string map = small_map(5);
  set_word(map, 14, 110.0f);
  return map;
}

const char kHkl[] =
    "HKL     0    0    2    379.769     6.388     0.000  1.0000\n"
    "HKL     1    0    4    301.717     4.778   180.000  0.9996\n"
    "HKL     2   -1    6    780.385    11.589    90.000  0.5000\n";

}  // namespace

TEST(Formats, EveryReadableIntoEveryWriteable) {
  std::vector<std::string> sources = {written("small.map", small_map(1)), written("b.xplor", xplor_text()),
                                      written("c.json", kJson)};
  for (const char* extension : kWritten) {
    sources.push_back(scratch_file(std::string("from_map.") + extension));
    EXPECT_EQ(vxgrid("convert " + sources[0] + " " + sources.back()).status, 0);
  }
  for (const std::string& source : sources)
    for (const char* extension : kWritten) {
      const std::string out = scratch_file(std::string("out.") + extension);
      SCOPED_TRACE(source + " to " + extension);
      const Result run = vxgrid("convert " + source + " " + out);
      ASSERT_EQ(run.status, 0) << run.err;
      const rapidjson::Document info = json_of("info --json " + source + " " + out);
      const bool is_phi = std::string(extension) == "phi";
      // Plain grids are interpolated in CCP4 maps, and all are in GRASP maps.
      const bool is_plain = info[0].FindMember("cell") == info[0].MemberEnd();
      const bool is_lattice_kept = !is_phi && (std::string(extension) != "map" || !is_plain);
      EXPECT_EQ(run.err.find("interpolated") == run.err.npos, is_lattice_kept) << run.err;
      if (is_lattice_kept) {
        for (const char* field : {"dimensions", "min", "max", "mean", "rms"})
          EXPECT_EQ(info[1][field], info[0][field]) << field;
      }
      if (is_phi) {
        EXPECT_EQ(info[1]["dimensions"][2].GetInt(), 65);
      }
    }
}

TEST(Formats, MapsOfReflectionsAreInElectronsInAllOfThem) {
  for (const char* name : {"fwt.vxb", "fwt.grd"}) {
    ASSERT_EQ(vxgrid("map $MTZ -o " + scratch_file(name)).status, 0);
    EXPECT_NEAR(info_of(scratch_file(name), "max"), info_of(map_file(), "max"), 1e-6) << name;
  }
}

TEST(Formats, StandardInputAndOutput) {
  const std::string map = written("small.map", small_map(1)), piped = scratch_file("piped.map");
  const std::string direct = scratch_file("direct.map");
  const std::string command = VXGRID_COMMAND;
  for (const char* format : {"ccp4", "grd", "json", "vxb"}) {
    const Result run =
        vxgrid("convert " + map + " - --to " + format + " | " + command + " convert - " + piped);
    EXPECT_EQ(run.status, 0) << run.err;
    vxgrid("convert " + map + " " + scratch_file("between.") + (format[0] == 'c' ? "map" : format));
    vxgrid("convert " + scratch_file("between.") + (format[0] == 'c' ? "map" : format) + " " + direct);
    EXPECT_EQ(read_bytes(piped), read_bytes(direct)) << format;
  }
  const std::string fifo = scratch_file("fifo.map"), from_fifo = scratch_file("from_fifo");
  EXPECT_EQ(vxgrid("convert " + map + " " + fifo + " && wait",
                   "rm -f " + fifo + "; mkfifo " + fifo + "; cat " + fifo + " >" + from_fifo + " & ")
                .status,
            0);
  EXPECT_EQ(read_bytes(from_fifo), read_bytes(direct));
  EXPECT_EQ(vxgrid("map - -o " + piped + " < $MTZ").status, 0);
  EXPECT_EQ(read_bytes(piped), read_bytes(map_file()));
  const Result hkl = vxgrid("reflections - -o - --to phs --from hkl < " + written("a.hkl", kHkl));
  EXPECT_THAT(hkl.out, StartsWith("    0    0    2    379.769      1.000      0.000"));
  EXPECT_EQ(lines_of(hkl.out).size(), 3u);
  for (const char* usage :
       {"convert a.map -", "convert a.map - --to json --json", "convert a.map - --to xplor",
        "convert a.map b.map --from pdb", "reflections a.hkl --to phs", "reflections a.hkl -o -"})
    EXPECT_EQ(vxgrid(usage).status, 2) << usage;
}

TEST(Formats, TellsWhatTheTargetDoesNotHold) {
  const std::string map = written("small.map", small_map(1)), json = written("c.json", kJson);
  const std::string contours = scratch_file("contours.vxb");
  const std::string oblique = written("oblique.map", oblique_map());
  EXPECT_EQ(vxgrid("contours " + map + " --attach -n 3 -o " + contours).status, 0);
  const std::tuple<std::string, const char*, const char*> rows[] = {
      {map, "a.vxb", nullptr},
      {map, "a.map", nullptr},
      {map, "a.agd", "the cell, the space group, the statistics"},
      {map, "a.json", "the cell, the space group\n"},
      {map, "a.grd", "the statistics\n"},
      {oblique, "oblique.json", "the cell, the space group\n"},
      {json, "a.vxb", nullptr},
      {json, "a.grd", "attributes (note)\n"},
      {json, "a.phi", "the title, attributes (note)\n"},
      {contours, "a.grd", "the statistics, attributes (VX_grid_contour_levels"},
      {scratch_file("oblique.json"), "oblique_json.map", "the statistics\n"},
  };
  for (const auto& [source, target, says] : rows) {
    SCOPED_TRACE(source + " " + target);
    const Result run = vxgrid("convert " + source + " " + scratch_file(target));
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, says ? testing::Matcher<std::string>(AllOf(
                                    HasSubstr("vxgrid: " + source + ": not kept in the "), HasSubstr(says)))
                              : testing::Matcher<std::string>(IsEmpty()));
  }
  // Statistics are those of the samples, where they have changed and where there were none.
  rapidjson::Document document;
  document.Parse(read_bytes(scratch_file("oblique.json")).c_str());
  EXPECT_NEAR(document["ARMS"].GetDouble(), info_of(scratch_file("oblique.json"), "rms"), 1e-6);
  const std::string header = vxgrid("convert " + written("b.xplor", xplor_text()) + " - --to ccp4").out;
  const float expected[] = {0, 7, 3.5f, std::sqrt(5.25f)};  // lowest, highest, mean, r.m.s. of 0 to 7
  EXPECT_EQ(std::memcmp(&header[4 * 19], expected, 12), 0);
  EXPECT_EQ(std::memcmp(&header[4 * 54], expected + 3, 4), 0);
  // JSON tells of the cell that a document came with, not of the box of a grid without one.
  std::string with_cell = kJson;
  with_cell.insert(1, "\"unitcell\":[4,4,4,90,90,90],");
  for (const std::string& plain : {json, oblique}) {
    EXPECT_EQ(vxgrid("convert " + plain + " " + scratch_file("plain.json")).status, 0);
    EXPECT_THAT(read_bytes(scratch_file("plain.json")), Not(HasSubstr("unitcell"))) << plain;
  }
  EXPECT_THAT(vxgrid("convert " + written("cell.json", with_cell) + " - --to json").out,
              HasSubstr("unitcell"));
  // A map in JSON keeps its statistics, and contours in either form.
  for (const char* name : {"a.json", "a.vxb"}) {
    ASSERT_EQ(vxgrid("contours " + map + " --attach -n 3 -o " + scratch_file(name)).status, 0) << name;
    EXPECT_THAT(vxgrid("info " + scratch_file(name)).out, HasSubstr("VX_grid_contour_levels")) << name;
  }
}

TEST(Formats, AreKnownByTheirContent) {
  const std::string map = written("small.map", small_map(1)), hkl = written("a.hkl", kHkl);
  std::vector<std::tuple<std::string, std::string>> rows = {
      {map, "CCP4 Map"},
      {written("b.xplor", xplor_text()), "XPLOR Map"},
      {written("c.json", kJson), "JSON Grid"},
      {hkl, "HKL Reflections"},
      {written("remark.phs", "REM\n#\n1 2 3 4 .5 6\n"), "PHS Reflections"},
      {kMtz, ": mtz\n"}};
  for (const auto& [extension, title] :
       {std::pair("phi", "GRASP Grid"), std::pair("grd", "Velixa Grid"), std::pair("agd", "Ascii Grid"),
        std::pair("vxb", "Native Grid"), std::pair("phs", "PHS Reflections"),
        std::pair("fob", "XPLOR Reflections"), std::pair("vxx", "Native Reflections")}) {
    const std::string file = scratch_file(std::string("known.") + extension);
    const bool is_map = std::string(title).find("Grid") != std::string::npos;
    EXPECT_EQ(vxgrid(is_map ? "convert " + map + " " + file : "reflections " + hkl + " -o " + file).status,
              0);
    rows.emplace_back(file, title);
  }
  for (const char* name : {"1dur-sf.cif", "1dur.fob", "1dur.phs", "1dur.hkl", "gere-nat-part.cv"})
    if (const std::string file = real_data(std::string("reflections/") + name); !file.empty())
      rows.emplace_back(file, "Reflections");
  for (const char* name : {"1dur_2fofc_cell.xplor", "5wkd_2fofc_box_bin.xplmap", "1crn.phi", "iota_yzx.ccp4",
                           "emd_3001_be.map", "1pfe_mask_mode0.ccp4"})
    if (const std::string file = real_data(std::string("maps/") + name); !file.empty())
      rows.emplace_back(file, "format       ");
  const std::string unnamed = scratch_file("unnamed");
  for (const auto& [file, says] : rows) {
    SCOPED_TRACE(file);
    std::filesystem::copy_file(file, unnamed, std::filesystem::copy_options::overwrite_existing);
    const Result named = vxgrid("info " + file);
    const Result by_content = vxgrid("info " + unnamed);
    EXPECT_EQ(by_content.status, 0) << by_content.err;
    EXPECT_THAT(by_content.out, HasSubstr(says));
    EXPECT_EQ(by_content.out.substr(unnamed.size()), named.out.substr(file.size()));
  }
  EXPECT_THAT(vxgrid("info " + written("b.xplor", xplor_text())).out, Not(HasSubstr("title")));
  EXPECT_THAT(vxgrid("info " + written("model", read_bytes(kModel))).err, HasSubstr("holds coordinates"));
  EXPECT_THAT(vxgrid("info " + written("noise", std::string(5000, '\x07'))).err, HasSubstr("content"));
}

TEST(Formats, ReflectionsShowAndConvert) {
  const std::string vxx = scratch_file("a.vxx"), fob = scratch_file("a.fob"), phs = scratch_file("a.phs");
  const rapidjson::Document mtz = json_of("reflections $MTZ --json");
  EXPECT_EQ(mtz["reflections"].GetInt(), 21397);
  EXPECT_NEAR(mtz["resolution"]["low"].GetDouble(), 30.94, 0.01);
  EXPECT_EQ(mtz["group"]["number"].GetInt(), 179);
  EXPECT_EQ(vxgrid("reflections $MTZ -o " + vxx).err,
            "vxgrid: " + kMtz + ": free flags (FREE) are not read\n");
  const rapidjson::Document native = json_of("reflections " + vxx + " --json");
  for (const char* field : {"reflections", "columns", "indices", "cell", "group", "resolution"})
    EXPECT_EQ(native[field], mtz[field]) << field;

  // 262 reflections have no amplitude.
  const Result text = vxgrid("reflections $MTZ -o " + fob);
  EXPECT_THAT(text.err,
              AllOf(HasSubstr("not kept in the XPLOR Reflections format: the cell, the space group, "
                              "columns fwt phiwt fdelwt phidelwt"),
                    HasSubstr("262 reflections left out"), HasSubstr("those of the model are written")));
  EXPECT_EQ(json_of("reflections " + fob + " --json")["reflections"].GetInt(), 21397 - 262);
  EXPECT_EQ(vxgrid("reflections " + written("a.hkl", kHkl) + " -o " + phs).out,
            phs + ": PHS Reflections, 3 reflections\n");
  EXPECT_EQ(vxgrid("reflections " + phs).out,
            phs +
                ": reflections\n  format       PHS Reflections\n  reflections  3\n"
                "  columns      fobs phase fom\n  indices      h 0 to 2, k -1 to 0, l 2 to 6\n");
}

TEST(Formats, StructureFactorsIntoReflectionFiles) {
  for (const char* name : {"sf.fob", "sf.phs", "sf.phs.gz"}) {
    SCOPED_TRACE(name);
    const std::string file = scratch_file(name), tsv = scratch_file("sf.tsv");
    ASSERT_EQ(vxgrid("sf --table $MODEL $MTZ -o " + file).status, 0);
    ASSERT_EQ(vxgrid("sf --table $MODEL $MTZ -o " + tsv).status, 0);
    const rapidjson::Document set = json_of("reflections " + file + " --json");
    EXPECT_EQ(set["reflections"].GetInt(), 21135);
    // The first observed reflection: amplitude and phase of the list.
    const std::string line = lines_of(read_bytes(tsv))[2];
    EXPECT_THAT(line, HasSubstr("373.5091"));
    const std::string out = vxgrid("reflections " + file + " -o - --to fob").out;
    EXPECT_THAT(lines_of(out)[0], HasSubstr("373.509"));
  }
}

TEST(Formats, FailuresNameTheFileAndTheReason) {
  const std::string map = written("small.map", small_map(1)), vxb = scratch_file("whole.vxb");
  ASSERT_EQ(vxgrid("convert " + map + " " + vxb).status, 0);
  const std::string hkl = written("a.hkl", kHkl);
  const std::string map_gz = scratch_file("whole.map.gz"), phs_gz = scratch_file("whole.phs.gz"),
                    phi = scratch_file("whole.phi");
  ASSERT_EQ(vxgrid("convert " + map + " " + map_gz).status, 0);
  ASSERT_EQ(vxgrid("reflections " + hkl + " -o " + phs_gz).status, 0);
  std::string cut = read_bytes(map_gz), damaged = read_bytes(phs_gz);
  cut.resize(cut.size() / 2);
  vxgrid("--version", "gzip -c $LIGANDS >" + scratch_file("ligands.sdf.gz") + "; ");
  const std::string ligands = read_bytes(scratch_file("ligands.sdf.gz"));
  damaged[damaged.size() - 6] ^= 1;  // of its checksum
  ASSERT_EQ(vxgrid("convert " + map + " " + phi + " --quiet").status, 0);
  const std::string grasp = read_bytes(phi), text = grasp.substr(4, 20);
  std::string steep = small_map(0);
  set_word(steep, 7, 10), set_word(steep, 8, 10), set_word(steep, 9, 100000);
  const FailureRow rows[] = {
      {"info @", "cut.vxb", read_bytes(vxb).substr(0, 700), "cut off"},
      {"info @", "other.vxb", std::string("\0\5VXFoo\1x", 9), "no grid but \"VXFoo\""},
      {"info @", "bad.json", "{\"type\":\"grid\",", "JSON"},
      {"info @", "other.json", "{\"type\":\"molecule\"}", "\"type\":\"grid\""},
      {"info @", "empty.json",
       R"({"type":"grid","version":"0.91","center":[0,0,0],"dimensions":[0,0,0],"resolution":1,"values":[]})",
       "no point"},
      {"info @", "mtz.phi", read_bytes(kMtz), "not a GRASP map"},
      {"info @", "text.phi", "ten bytes\n", "not a GRASP map"},
      {"info @", "cut.phi", grasp.substr(0, grasp.size() - 1), "cut off: a GRASP map has 1098662 bytes"},
      {"info @", "other.phi", std::string("\x14\0\0\0", 4) + text, "little-endian"},
      {"skeleton " + map + " --level 1 -o a.phi", "a.phi", "", "interpolates"},
      {"convert @ a.agd", "steep.map", steep, "too large for a source of 512"},
      {"info @", "short.phs", "1 2 3\n", "cannot be read"},
      {"reflections @", "none.hkl", "no reflections\n", "no reflections"},
      {"reflections nowhere.hkl", "nowhere.hkl", "", "no such file"},
      {"reflections $MODEL", kModel, "", "not a reflection file"},
      {"reflections " + hkl + " -o a.cif", "a.cif", "", "there are .phs .fob .cv .vxx"},
      {"reflections $MTZ -o /dev/full --to vxx", "/dev/full", "", "No space"},
      {"info @", "cut.map.gz", cut, "cut short or damaged"},
      {"gauss @ -o a.map", "cut.sdf.gz", ligands.substr(0, ligands.size() - 9), "cut short or damaged"},
      {"info @", "escape.vxb", std::string("\0\3V\33[\1x", 7), "\"V [\""},
      {"reflections @", "damaged.phs.gz", damaged, "cut short or damaged"},
      {"reflections @ -o a.fob", "bare.fob", "INDE 1 2 3 FCALC= 5.0\n", "holds none of its columns (fcalc)"},
      {"reflections @ -o a.phs", "no_fom.fob", "INDE 1 2 3 FOBS= 1.0 90.0\n", "no figures of merit"},
      {"convert $MTZ a.map", kMtz, "", "not a map"},
      {"convert " + map + " a.xplor", "a.xplor", "", "those of maps are .map .ccp4 .ccp .mrc .phi .grd"},
      {"sf $MODEL $MTZ -o a.hkl", "a.hkl", "", "extension"},
  };
  expect_failures(rows);
  for (const char* format : {"ccp4", "phi", "grd", "agd", "json", "vxb"}) {
    const Result full = vxgrid("convert " + map + " /dev/full --to " + format);
    EXPECT_EQ(full.status, 1) << format;
    EXPECT_THAT(full.err, HasSubstr("/dev/full: ")) << format;
    const Result out = vxgrid("convert " + map + " - --to " + format + " >/dev/full; exit $?; true");
    EXPECT_EQ(out.status, 1) << format;
  }
}

TEST(Formats, AFailedWriteLeavesTheOldFileAsItWas) {
  namespace fs = std::filesystem;
  const fs::path folder = scratch_file("folder");
  fs::create_directory(folder);
  const std::string map = written("small.map", small_map(1)), target = folder / "target.map",
                    link = folder / "link.map";
  write_bytes(target, "old");
  fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink("target.map", link);
  // Blocks of 512 bytes.
  for (const std::string& name : {target, link, (folder / "new.map").string()}) {
    const Result run = vxgrid("convert " + map + " " + name, "trap '' XFSZ; ulimit -f 2; ");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "vxgrid: " + name + ": could not be written whole: File too large\n");
  }
  EXPECT_EQ(read_bytes(target), "old");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2) << "nothing else is left behind";

  EXPECT_EQ(vxgrid("convert " + map + " " + link).status, 0);
  EXPECT_EQ(read_bytes(target).size(), small_map(1).size());
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}
