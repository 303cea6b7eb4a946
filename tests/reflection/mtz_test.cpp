#include <vxgrid/reflection/mtz.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <numeric>
#include <sstream>
#include <tuple>

#include <support/support.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>

#include "mtz_bytes.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// Columns "H:H K:H L:H" and those of the text. Without values two rows: 1 1 1 1 ... and 2 2 2 2 ...
MtzFile file_with(const std::string& columns, const std::vector<float>& values = {}) {
  MtzFile file{{}, values};
  std::istringstream in("H:H K:H L:H " + columns);
  for (std::string column; in >> column;)
    file.columns.push_back({column.substr(0, column.size() - 2), column.back()});
  if (values.empty())
    for (float row : {1.0f, 2.0f}) file.values.insert(file.values.end(), file.columns.size(), row);
  return file;
}

bool read(const std::string& bytes, VXReflection& set, const VXMTZColumnNames& names = {}) {
  VXHost::vxisstream in(bytes);
  return VXReadReflectionMTZ(in, set, names);
}

std::string write_file(const MtzFile& file, const std::string& name = "case.mtz") {
  const std::string path = scratch_file(name);
  VXHost::vxofstream out(path);  // packs by the name
  const std::string bytes = file.bytes();
  out.write(bytes.data(), bytes.size());
  EXPECT_TRUE(out.close());
  return path;
}

std::vector<float> column(const VXReflection& set, unsigned int code) {
  std::vector<float> values(set.GetCount());
  return set.GetColumn(code, values.data()) ? values : std::vector<float>();
}

TEST(Mtz, ReadsEveryRole) {
  std::string columns;
  for (unsigned int role = 3; role < 18; ++role) columns += VXMTZColumnNames().GetColumnName(role) + ":R ";
  MtzFile file = file_with(columns);
  for (std::size_t i = 0; i < file.values.size(); ++i) file.values[i] = static_cast<float>(i) + 0.5f;
  file.group = 19;
  VXReflection set;
  set.SetTitle("before");
  ASSERT_TRUE(read(file.bytes(), set));
  const VXReflectionImpl& r = *set.GetImpl();
  EXPECT_EQ(r.nref, 2u);
  EXPECT_EQ(r.h[1] * 10000 + r.k[1] * 100 + r.l[1], 181920) << "indices are truncated";
  const float* const in_order[] = {r.fobs,  r.fcalc, r.phase,  r.phase_calc, r.sigma,
                                   r.fom,   r.hla,   r.hlb,    r.hlc,        r.hld,
                                   nullptr, r.fwt,   r.fdelwt, r.phiwt,      r.phidelwt};
  for (int i = 0; i < 15; ++i) {
    const bool right = in_order[i] && in_order[i][1] == static_cast<float>(21 + i) + 0.5f;
    EXPECT_EQ(right, i != 10) << i;
  }
  EXPECT_EQ(r.rfree, nullptr) << "free flags are dropped";
  EXPECT_EQ(r.symmetry.GetNumber(), 19u);
  EXPECT_EQ(r.symmetry.cell().b, 20);
  EXPECT_EQ(set.GetResolution(), 2.0);
  EXPECT_EQ(set.GetTitle(), "") << "what the set held is gone";
}

TEST(Mtz, ByteOrderBitsOfTheFile) {
  for (const int real : {0x44, 17})
    for (const int integer : {0x41, 17}) {
      MtzFile file = file_with("FP:F FreeR_flag:I PHIC:P");
      file.real_format = real;
      file.integer_format = integer;
      VXReflection set;
      ASSERT_TRUE(read(file.bytes(), set));
      EXPECT_THAT(column(set, VXReflectionColumn::PhaseCalc), ElementsAre(1, 2));
      EXPECT_EQ(set.GetImpl()->l[1], 2);
    }
}

// A column of type J or K under the label of an amplitude.
TEST(Mtz, IntensityRule) {
  const std::tuple<const char*, const char*, std::vector<float>, std::vector<float>> rows[] = {
      // What, columns, fobs, fcalc. Rows of the file: 1 2 3 | 16 9 and 4 5 6 | 81 25.
      {"amplitudes", "FP:F FC:F", {16, 81}, {9, 25}},
      {"intensity of fcalc, from its own place", "FP:F FC:J", {16, 81}, {3, 5}},
      {"both kinds of fcalc", "FC:F FC:K", {}, {3, 5}},
      {"both kinds of fobs: the amplitude's place", "FP:F FP:J", {4, 9}, {}},
      // The word before the first row is that of the file's first record, 0 here; then the row before ends.
      {"intensity of fobs alone: the word before the row", "FC:F FP:J", {0, 3}, {16, 81}},
      {"the last of two alike", "FP:F FP:F", {9, 25}, {}},
  };
  for (const auto& [what, columns, fobs, fcalc] : rows) {
    SCOPED_TRACE(what);
    VXReflection set;
    ASSERT_TRUE(read(file_with(columns, {1, 2, 3, 16, 9, 4, 5, 6, 81, 25}).bytes(), set));
    EXPECT_EQ(column(set, VXReflectionColumn::Fobs), fobs);
    EXPECT_EQ(column(set, VXReflectionColumn::Fcalc), fcalc);
  }
}

TEST(Mtz, HostileBytes) {
  const std::string good = file_with("FP:F").bytes();
  const std::size_t header = 80 + 2 * 4 * 4;
  const auto with = [&](std::size_t at, const std::string& text) {
    std::string bytes = good;
    return bytes.replace(at, text.size(), text);
  };
  const auto record = [&](int i, std::string text) {
    text.resize(80, ' ');
    return with(header + 80 * i, text);
  };
  const std::tuple<const char*, std::string, bool, unsigned int> rows[] = {
      {"good", good, true, 2},
      {"empty", "", true, 0},
      {"short first record", good.substr(0, 79), true, 0},
      {"wrong magic", with(0, "MTX "), false, 3},  // the set stays
      {"header pointer 0, before the file", with(4, std::string(4, '\0')), true, 0},
      {"header pointer 20", with(4, std::string("\x14\0\0\0", 4)), false, 0},
      {"header pointer beyond the end", with(4, "\xff\xff\xff\xff"), true, 0},
      {"cut in the data", good.substr(0, 100), true, 0},
      {"cut in the header", good.substr(0, header + 100), true, 0},
      {"no reflections", record(1, "NCOL 4 0 0"), true, 0},
      {"no columns", record(1, "NCOL 0 2 0"), true, 0},
      {"more reflections than data", record(1, "NCOL 4 3 0"), false, 0},
      {"reflections without bound", record(1, "NCOL 4294967295 4294967295 0"), false, 0},
      {"fewer columns than labels: rows overlap", record(1, "NCOL 1 2 0"), true, 2},
      {"fewer columns than labels: beyond the data", record(1, "NCOL 1 6 0"), false, 0},
      {"negative counts end the header", record(1, "NCOL -4 -2 0"), true, 0},
      {"a record in error ends the header", record(2, "CELL 1 2 x"), false, 0},
      {"no column for k", record(6, "COLUMN k H"), false, 0},
      {"zero bytes in a record", record(5, std::string("COLUMN \0 H", 10)), false, 0},
      {"a long label", record(5, "COLUMN " + std::string(73, 'H')), false, 0},
  };
  for (const auto& [what, bytes, result, count] : rows) {
    VXReflection set;
    set.SetCount(3);
    EXPECT_EQ(read(bytes, set), result) << what;
    EXPECT_EQ(set.GetCount(), count) << what;
  }
  VXReflection set;
  MtzFile wild = file_with("FP:F");
  wild.values[0] = std::numeric_limits<float>::quiet_NaN();
  wild.values[1] = 1e30f;
  wild.cell[5] = 0;
  ASSERT_TRUE(read(wild.bytes(), set)) << "indices that no int can hold";
  EXPECT_EQ(set.GetImpl()->h[0], std::numeric_limits<int>::min());
  EXPECT_FALSE(set.GetSymmetry()) << "gamma 0";
}

TEST(Mtz, ListsColumns) {
  MtzFile file = file_with("F-obs:F " + std::string(30, 'x') + ":P");
  file.more_records = {"MTZHIST 1", "made from COLUMN OLD Q", "COLUMN", "COLUMN LONELY"};
  std::vector<std::string> names = {"there"};
  std::vector<char> types = {'?'};
  VXHost::vxisstream in(file.bytes());
  EXPECT_TRUE(VXGetMTZFileColumnNamesAndTypes(in, names, types));
  EXPECT_THAT(names, ElementsAre("there", "H", "K", "L", "F-obs", std::string(24, 'x'), "OLD"));
  EXPECT_THAT(types, ElementsAre('?', 'H', 'H', 'H', 'F', 'P', 'Q'));
  for (const std::string& bytes :
       {std::string(), std::string(200, 'x'), std::string("MTZ ") + std::string(76, '\0')}) {
    VXHost::vxisstream bad(bytes);
    EXPECT_FALSE(VXGetMTZFileColumnNamesAndTypes(bad, names, types));
  }
}

TEST(Mtz, OpensByName) {
  const MtzFile file = file_with("F:F I:J D:D P:P SIG:Q W:W R:I DANO:L");
  for (const char* name : {"a.mtz", "a.mtz.gz"}) {
    const VXMTZ mtz(write_file(file, name));
    ASSERT_TRUE(mtz.IsValid()) << name;
    EXPECT_THAT(mtz.GetAmplitudes(), ElementsAre("F", "I"));
    EXPECT_THAT(mtz.GetPhases(), ElementsAre("P"));
    EXPECT_THAT(mtz.GetSigmaA(), ElementsAre("SIG", "DANO"));
    EXPECT_THAT(mtz.GetFreeR(), ElementsAre("R"));
    EXPECT_TRUE(mtz.FindColumn("DANO"));
    EXPECT_FALSE(mtz.FindColumn("dano"));
    EXPECT_TRUE(mtz.FindColumns({}));
  }
  CapturedLog log;
  const std::string other = write_file(file, "a.hkl");
  EXPECT_FALSE(VXMTZ(other).IsValid());
  VXHost::vxifstream in(other);
  EXPECT_TRUE(VXMTZ(in, other).FindColumn("DANO"));
  EXPECT_EQ(log.text(), "");
  EXPECT_FALSE(VXMTZ("/nowhere/a.mtz").IsValid());
  EXPECT_EQ(log.text(), "Error: Unable to open file /nowhere/a.mtz\n");
}

TEST(Mtz, AutoGetColumns) {
  const std::tuple<const char*, bool, const char*> rows[] = {
      // Columns, found, chosen: Fobs, Fc, Phic, SigmaA, Fwt, Phidelwt.
      {"F:F SIGF:F FWT:F PHWT:F DELFWT:F PHDELWT:F", true, "F FC PHIC SIGF FWT PHDELWT"},
      {"FP:F F:F SIGFP:F FWT:F PHWT:F DELFWT:F", false, "F FC PHIC SIGFP FWT PHDELWT"},
      {"F-obs:F FC:F", false, "FP F-obs PHIC SIGF FWT PHDELWT"},  // in the calculated one's place
      {"F-obs:F FP:F FC:F PHIC:F", false, "FP FC PHIC SIGF FWT PHDELWT"},
      {"F-model:F PHIF-model:F SIGF-Obs:F FOFCWT:F PHFOFCWT:F 2FOFCWT:F PH2FOFCWT:F", true,
       "FP F-model PHIF-model SIGF-Obs 2FOFCWT PHFOFCWT"},
  };
  for (const auto& [columns, found, chosen] : rows) {
    VXMTZColumns c;
    EXPECT_EQ(VXMTZ(write_file(file_with(columns))).AutoGetColumns(c), found) << columns;
    EXPECT_EQ(c.GetFobs() + ' ' + c.GetFc() + ' ' + c.GetPhic() + ' ' + c.GetSigmaA() + ' ' + c.GetFwt() +
                  ' ' + c.GetPhidelwt(),
              chosen);
  }
}

// What each map type asks for, says and marks. F, FC, PHIC and the weighted columns are there.
TEST(Mtz, MapTypes) {
  const MtzFile file = file_with("F:F SIGF:Q FC:F PHIC:P FWT:F PHWT:P DELFWT:F PHDELWT:P FREE:I");
  const VXMTZ mtz(write_file(file));
  const std::tuple<unsigned int, bool, bool, unsigned int, const char*> rows[] = {
      // Map type, chosen by itself, made, type of the grid, message.
      {VXMTZMapType::Fwt, true, true, 3,
       "Verbose: MTZ Column\tSIGF\tSIGF\nVerbose:  Fwt:   Using column FWT\nVerbose:  Phiwt: Using column "
       "PHWT\n"},
      {VXMTZMapType::Fdelwt, true, true, 4, "Verbose:  Phidelwt: Using column PHDELWT\n"},
      {VXMTZMapType::TwoFoFc, true, true, 3,
       "Verbose:  FObs: Using column F\nVerbose:  Fc:   Using column FC\n"},
      {VXMTZMapType::FoFc, true, false, 0,
       "Error: Maptype must be one of Fdelwt, Fwt, 2Fo-Fc, 2Fo-FcSigmaA or Fc for automatically opening an "
       "mtz file.\n"},
      {VXMTZMapType::FoFc, false, true, 4, "Verbose:  Phic: Using column PHIC\n"},
      {VXMTZMapType::Fc, false, true, 3,
       "Verbose:  Fc:   Using column FC\nVerbose:  Phic: Using column PHIC\n"},
      {VXMTZMapType::FcDifference, false, true, 4, "Verbose:  Fc:   Using column FC\n"},
      {VXMTZMapType::Fo, true, true, 3, "Warning: Using PHIC in place of PHI for observed map.\n"},
      {VXMTZMapType::TwoFoFcSigmaA, true, false, 0,
       "Verbose:  SigmaA: Using column SIGF\nWarning: Could not expand input map to desired maptype.\n"},
      {VXMTZMapType::FoFo, false, false, 0, "Error: Unknown map type\n"},
      {VXMTZMapType::None, false, false, 0, "Error: Unknown map type\n"},
  };
  for (const auto& [type, autoopen, made, grid_type, says] : rows) {
    SCOPED_TRACE(testing::Message() << type << " " << autoopen);
    CapturedLog log(VXErrorLevel::Verbose);
    VXMTZColumns columns;
    columns.SetFobs("F");
    VXSkewGrid grid;
    EXPECT_EQ(mtz.MakeMap(grid, type, columns, autoopen, false), made);
    EXPECT_THAT(log.text(), HasSubstr(says));
    EXPECT_EQ(grid.GetType(), grid_type);
  }
  VXSkewGrid grid;
  VXMTZColumns columns;
  CapturedLog log;
  EXPECT_TRUE(mtz.MakeMap(grid, VXMTZMapType::Fwt, columns, false, true));
  EXPECT_EQ(log.text(), "MTZ File should be okay for reading.\n");
  EXPECT_EQ(grid.GetSize(), 1u) << "untouched";
  columns.SetPhiwt("NOPE");
  EXPECT_FALSE(mtz.MakeMap(grid, VXMTZMapType::Fwt, columns, false, false));
  EXPECT_THAT(log.text(), HasSubstr("Error: Requested column 'NOPE' not found.\n"));
  EXPECT_THAT(log.text(), HasSubstr("Warning: Unable to find desired columns in file "));
}

TEST(Mtz, WhatTheMapCarries) {
  const std::string path = write_file(file_with("F:F SIGF:Q FWT:F PHWT:P DELFWT:F PHDELWT:P FREE:I FREE2:I"));
  VXSkewGrid grid;
  ASSERT_TRUE(VXReadMTZ(path, grid, VXMTZMapType::Fwt));
  EXPECT_EQ(grid.GetData<std::string>("mtz_filename"), path);
  EXPECT_EQ(grid.GetData<std::string>("fobs"), "F|FWT|DELFWT");
  EXPECT_EQ(grid.GetData<std::string>("sigma"), "SIGF");
  EXPECT_EQ(grid.GetData<std::string>("rfree"), "FREE|FREE2");
  EXPECT_EQ(grid.GetData<double>("resolution"), 2.0);
  // Statistics of the map before it was divided by its sigma.
  const VXZemoGrid& inner = grid.GetImpl().GetImpl();
  const float sigma = inner.GetData<float>("ARMS");
  const float *const begin = grid.GetValues(), *const end = begin + grid.GetSize();
  const double n = grid.GetSize(), sum = std::accumulate(begin, end, 0.0);
  EXPECT_NEAR((std::inner_product(begin, end, begin, 0.0) - sum * sum / n) / (n - 1), 1, 1e-5);
  EXPECT_NEAR(inner.GetData<float>("AMAX"), *std::max_element(begin, end) * sigma, 1e-6);
  EXPECT_NEAR(inner.GetData<float>("AMEAN"), sum / n * sigma, 1e-6);
  EXPECT_EQ(grid.GetData<float>("SIGMA"), sigma);

  CapturedLog log;
  EXPECT_FALSE(VXReadMTZ(write_file(file_with("FP:F SIGFP:Q")), grid, VXMTZMapType::Fo));
  EXPECT_EQ(log.text(), "Warning: Could not find appropriate columns for auto opening.\n");
}

#ifndef VXGRID_SANITIZED
// Three maps, and what does not grow with them: the code of the transform, whole huge pages. Each test is a
// process of its own, so its largest memory is that of this map.
TEST(Mtz, PeakMemory) {
  const auto peak = [] {  // bytes
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line) && line.rfind("VmHWM:", 0) != 0) continue;
    return 1024 * std::stod(line.substr(6));
  };
  MtzFile file = file_with("FWT:F PHWT:P DELFWT:F PHDELWT:P", {});
  file.values = {80, 0, 0, 1, 0, 1, 0, 0, 80, 0, 1, 0, 1, 0, 0, 0, 80, 1, 0, 1, 0};
  const std::string path = write_file(file);
  const double before = peak();
  VXSkewGrid grid;
  ASSERT_TRUE(VXReadMTZ(path, grid, VXMTZMapType::Fwt));
  EXPECT_GT(grid.GetSize(), 8'000'000u);
  EXPECT_LT(peak() - before, 3.0 * sizeof(float) * grid.GetSize() + 6e6);
}
#endif

}  // namespace
