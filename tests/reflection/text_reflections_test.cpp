#include <cmath>
#include <cstdio>
#include <cstring>
#include <gemmi/cif.hpp>
#include <random>

#include <support/support.h>

#include "text_files.h"

namespace {

using namespace VXCore;

// Lines of words that numbers are made of, against sscanf itself: what it takes, how far, and every bit.
class ScanLines : public testing::Test {
 protected:
  std::string Line() {
    static const char* const kPieces[] = {"0",
                                          "1",
                                          "27",
                                          "-3",
                                          "+4",
                                          ".",
                                          "-",
                                          "1.5",
                                          ".25",
                                          "-0.0",
                                          "9.",
                                          "e",
                                          "E+2",
                                          "e-5",
                                          "1e5",
                                          "x",
                                          "0x1f",
                                          "0x.8p3",
                                          "p-2",
                                          "inf",
                                          "nan",
                                          "INFINITY",
                                          "na",
                                          "?",
                                          " ",
                                          "\t",
                                          "1e39",
                                          "1e-46",
                                          "4294967301",
                                          "/",
                                          "-99999999999999999999",
                                          "infi",
                                          "1.17549429e-38",
                                          "16777217",
                                          "3.4028236e38",
                                          "9223372036854775808",
                                          "0000000000000000000000012.5",
                                          "100000000000000000000000000000000000000000"};
    std::string line;
    for (int words = Below(12); words >= 0 && line.size() < 80; --words) {
      for (int pieces = Below(9) ? 0 : Below(4); pieces >= 0; --pieces)
        line += Below(3) ? std::to_string(Below(2000) - 1000) : kPieces[Below(std::size(kPieces))];
      if (Below(20)) line += ' ';
    }
    return line;
  }
  int Below(std::size_t n) { return static_cast<int>(random_() % n); }

 private:
  std::mt19937 random_{5};
};

TEST_F(ScanLines, AsScanf) {
  std::string hkl_text, phs_text = "0 0 0 1 1 1\n";
  std::vector<float> hkl, phs = {0, 0, 0, 1, 1};
  for (int i = 0; i < 60000; ++i) {
    const std::string line = Line();
    int h, k, l;
    float f[4];
    hkl_text += "HKL" + line + "\n";
    if (std::sscanf(("HKL" + line).c_str(), "%*s%d%d%d%f%f%f%f", &h, &k, &l, f, f + 1, f + 2, f + 3) == 7)
      for (const float value :
           {static_cast<float>(h), static_cast<float>(k), static_cast<float>(l), f[0], f[1], f[2]})
        hkl.push_back(value);
    phs_text += " " + line + "\n";
    if (std::sscanf(line.c_str(), "%d%d%d%f%f%f", &h, &k, &l, f, f + 1, f + 2) == 6)
      for (const float value : {static_cast<float>(h), static_cast<float>(k), static_cast<float>(l), f[0],
                                f[2] < 0 ? f[2] + 360 : f[2]})
        phs.push_back(value);
  }
  const auto same = [](const std::vector<float>& a, const std::vector<float>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), 4 * a.size()) == 0;
  };
  VXReflection set;
  const VXReflectionImpl& r = *set.GetImpl();
  ASSERT_TRUE(read_text(VXReadReflectionHKL, hkl_text, set));
  EXPECT_GT(r.nref, 5000u);
  std::vector<float> found;
  for (unsigned int i = 0; i < r.nref; ++i)
    for (const float value : {float(r.h[i]), float(r.k[i]), float(r.l[i]), r.fobs[i], r.sigma[i], r.phase[i]})
      found.push_back(value);
  EXPECT_TRUE(same(found, hkl));
  ASSERT_TRUE(read_text(VXReadReflectionPHS, phs_text, set));
  found.clear();
  for (unsigned int i = 0; i < r.nref; ++i)
    for (const float value : {float(r.h[i]), float(r.k[i]), float(r.l[i]), r.fobs[i], r.phase[i]})
      found.push_back(value);
  EXPECT_TRUE(same(found, phs));
}

TEST(TextReflections, HKL) {
  const std::string blanks(128 - std::strlen("HKL 1 2 3 4 5 6 .7"), ' ');
  const struct {
    const char* what;
    std::string text;
    const char *h, *phase, *fom;
  } rows[] = {
      {"no lines", "", "-", "-", "-"},
      {"other words", "hkl 1 2 3 4 5 6 7\n HKL 1 2 3 4 5 6 7\nREM\n", "-", "-", "-"},
      {"a word of its own", "HKL9 1 2 3 4 5 6 7\n", "1", "6", "7"},
      {"six fields", "HKL 1 2 3 4 5 6\r\nHKL 2 2 3 4 5 6 7\r\n", "2", "6", "7"},
      {"phase 1000", "HKL 1 2 3 4 5 1000 .7\nHKL 2 2 3 4 5 1000.001 .7", "1 2", "1000 1000", "0 0.7"},
      {"128 characters", "HKL 1 2 3 4 5 6 " + blanks + ".7\n", "1", "6", "0.7"},
      {"128 characters, no end", "HKL 1 2 3 4 5 6 " + blanks + ".7", "1", "6", "0.7"},
      {"one more: cut to \".\"", "HKL 1 2 3 4 5 6 " + blanks + " .7\n", "-", "-", "-"},
      {"the rest is a line", "HKL 1 2 3 4 5 6 .7 " + blanks.substr(1) + "HKL 2 2 3 4 5 8 .9", "1 2", "6 8",
       "0.7 0.9"},
      {"zero byte", std::string("HKL 1 2 3 4 5 6 .7\0 HKL\nHKL 1 2 3 4 5 6\0 7\n", 43), "1", "6", "0.7"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    VXReflection set;
    set.SetTitle("old");
    EXPECT_TRUE(read_text(VXReadReflectionHKL, row.text, set));
    const VXReflectionImpl& r = *set.GetImpl();
    EXPECT_EQ(set.GetTitle(), "");
    EXPECT_EQ(listed(r.h, r.nref), row.h);
    EXPECT_EQ(listed(r.phase, r.nref), row.phase);
    EXPECT_EQ(listed(r.fom, r.nref), row.fom);
  }
}

TEST(TextReflections, PHS) {
  const struct {
    const char* what;
    std::string text;
    bool ok;
    const char *h, *phase, *fom, *fcalc, *rfree, *hld;
  } rows[] = {
      {"nothing", "REM 1 2 3 4 5 6\n# 1 2 3 4 5 6\n1 2 3 4 5\n", false, "-", "-", "-", "-", "-", "-"},
      {"figures of merit", "1 2 3 4 1 60\n2 2 3 4 1 -0.0\n", true, "1 2", "60 -0", "1 1", "-", "-", "-"},
      {"amplitudes", "1 2 3 4 1.5 60\n", true, "1", "60", "-", "1.5", "-", "-"},
      {"no mean", "1 2 3 4 nan 60\n", true, "1", "60", "-", "nan", "-", "-"},
      {"free", "1 2 3 4 0 60\n2 2 3 4 0 -60\n", true, "1 2", "60 300", "0 0", "-", "1 0", "-"},
      {"free, but left out", "1 2 3 4 0 60\n2 2 3 -4 -60\n", true, "1", "60", "0", "-", "-", "-"},
      {"coefficients", "1 2 3 4 0 60 1 2 3 4\n\n2 2 3 4 0 60 1 2 3 5 6\n", true, "1 2", "60 60", "0 0", "-",
       "-", "4 5"},
      {"nine fields", "1 2 3 4 0 60 1 2 3 4\n2 2 3 4 0 60 1 2 3\n", true, "1 2", "60 60", "0 0", "-", "-",
       "-"},
      {"HKL", "REM\n\nHKL 1 2 3 4 5 6 .7\n2 2 3 4 0 6\n", true, "1", "6", "0.7", "-", "-", "-"},
      {"HKL further on", "1 2 3 4 0 6\nHKL 2 2 3 4 5 6 7\n", true, "1", "6", "0", "-", "-", "-"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    VXReflection set;
    set.SetTitle("old");
    EXPECT_EQ(read_text(VXReadReflectionPHS, row.text, set), row.ok);
    EXPECT_EQ(set.GetTitle(), row.ok ? "" : "old");
    const VXReflectionImpl& r = *set.GetImpl();
    EXPECT_EQ(listed(r.h, r.nref), row.h);
    EXPECT_EQ(listed(r.phase, r.nref), row.phase);
    EXPECT_EQ(listed(r.fom, r.nref), row.fom);
    EXPECT_EQ(listed(r.fcalc, r.nref), row.fcalc);
    EXPECT_EQ(listed(r.rfree, r.nref), row.rfree);
    EXPECT_EQ(listed(r.hld, r.nref), row.hld);
  }
}

TEST(TextReflections, CIF) {
  const std::string hkl = "data_x\n1 2 3\nloop_\n_refln.index_h\n_refln.index_k\n_refln.index_l\n";
  const std::string f_sigma = hkl + "_refln.F_meas_au\n_refln.F_meas_sigma_au\n";
  const std::string sigma_f = hkl + "_refln.f_meas_sigma\n_refln.f_meas\n";
  std::string wide = sigma_f, wide_line = "1 2 3 4 5";
  for (int i = 5; i < 25; ++i) wide += "_refln.other\n", wide_line += " 0";
  const struct {
    const char* what;
    std::string text;
    bool ok;
    const char *h, *fobs, *sigma, *fcalc;
  } rows[] = {
      {"no loop", "data_x\nloop_\n_cell.a\n1 2 3 4 5\n", false, "-", "-", "-", "-"},
      {"no sigma", hkl + "_refln.F_meas_au\n1 2 3 4\n", false, "-", "-", "-", "-"},
      {"squared sigma", hkl + "_refln.F_squared_meas\n_refln.F_squared_sigma\n1 2 3 4 5\n", false, "-", "-",
       "-", "-"},
      {"no l", "_refln.index_h\n_refln.index_k\n_refln.F_meas_sigma\n1 2 3 4\n", false, "-", "-", "-", "-"},
      {"sigma behind amplitude", f_sigma + "1 2 3 40 5\n", true, "1", "5", "5", "-"},
      {"amplitude behind sigma", sigma_f + "# x\n\n1 2 3 5 40(1)\n", true, "1", "40", "5", "-"},
      {"sigma alone", hkl + "_refln.f_meas_sigma\n1 2 3 4\n", true, "1", "4", "4", "-"},
      {"last of two", sigma_f + "_refln.pdbx.F_meas\n1 2 3 5 40 50\n", true, "1", "50", "5", "-"},
      {"intensity", sigma_f + "_refln.F_squared_meas\n1 2 3 5 40 49\n2 2 3 5 ? 49\n3 2 3 5 ? -4\n", true,
       "1 2 3", "40 7 nan", "5 5 5", "-"},
      {"not given", sigma_f + "_refln.F_calc\n1 2 3 5 40 ?\n1 ? 3 5 40 6\n2 2 3 . 40 6\n3 2 3 5\n", true,
       "1 3", "40 nan", "5 5", "nan nan"},
      {"ends", sigma_f + "1 2 3 4 5\n_refln.F_calc\n2 2 3 4 5\n", true, "1", "5", "4", "-"},
      {"ends with a loop", sigma_f + "1 2 3 4 5\nloop_\n2 2 3 4 5\n", true, "1", "5", "4", "-"},
      {"25 columns", wide + wide_line + "\n", true, "1", "5", "4", "-"},
      {"column 26", wide + "_refln.F_calc\n" + wide_line + " 7\n", true, "1", "5", "4", "nan"},
      {"column 26 is needed", wide + "_refln.index_h\n" + wide_line + " 7\n", false, "-", "-", "-", "-"},
      {"long word", sigma_f + "_refln.F_calc\n1 2 3 4 " + std::string(80, '0') + "5 6\n", true, "1", "0", "4",
       "5"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    VXReflection set;
    set.SetTitle("old");
    EXPECT_EQ(read_text(VXReadReflectionCIF, row.text, set), row.ok);
    EXPECT_EQ(set.GetTitle(), row.ok ? "" : "old");
    const VXReflectionImpl& r = *set.GetImpl();
    EXPECT_EQ(listed(r.h, r.nref), row.h);
    EXPECT_EQ(listed(r.fobs, r.nref), row.fobs);
    EXPECT_EQ(listed(r.sigma, r.nref), row.sigma);
    EXPECT_EQ(listed(r.fcalc, r.nref), row.fcalc);
  }
}

// Values of structure-factor files as gemmi has them.
TEST(TextReflections, CIFAsGemmi) {
  for (const char* name : {"1dur", "5wkd", "5uui", "6mw0"}) {
    SCOPED_TRACE(name);
    const std::string file = std::string("reflections/") + name + "-sf.cif";
    SKIP_WITHOUT_DATA(file);
    VXReflection set;
    ASSERT_TRUE(VXReadReflection(real_data(file), set));
    EXPECT_EQ(set.GetTitle(), real_data(file));
    EXPECT_FALSE(set.GetSymmetry());
    const VXReflectionImpl& r = *set.GetImpl();
    gemmi::cif::Document document = gemmi::cif::read_file(real_data(file));
    unsigned int n = 0;
    for (auto row : document.blocks[0].find("_refln.", {"index_h", "index_k", "index_l", "F_meas_sigma_au",
                                                        "?F_calc_au", "?phase_calc", "?fom"})) {
      if (gemmi::cif::is_null(row[3])) continue;
      ASSERT_LT(n, r.nref);
      EXPECT_EQ((std::vector<int>{r.h[n], r.k[n], r.l[n]}),
                (std::vector<int>{std::stoi(row[0]), std::stoi(row[1]), std::stoi(row[2])}));
      EXPECT_EQ(r.sigma[n], std::stof(row[3]));
      EXPECT_EQ(r.fobs[n], r.sigma[n]);
      const float* const columns[] = {r.fcalc, r.phase_calc, r.fom};
      for (std::size_t i = 0; i < 3; ++i) {
        ASSERT_EQ(columns[i] != nullptr, row.has(static_cast<int>(4 + i)));
        if (columns[i]) {
          EXPECT_EQ(columns[i][n], std::stof(row[static_cast<int>(4 + i)]));
        }
      }
      ++n;
    }
    EXPECT_EQ(n, r.nref);
  }
}

TEST(TextReflections, XPLOR) {
  const struct {
    const char* what;
    std::string text;
    bool ok;
    const char *l, *fobs, *phase, *sigma, *rfree;
  } rows[] = {
      {"nothing", "NREF= 2\nfobs= 1\n", false, "-", "-", "-", "-", "-"},
      {"no indices", "INDEX\nFOBS= 2\n", false, "-", "-", "-", "-", "-"},
      {"one line", "NREF=1\nINDE 1 2 3 FOBS= 10 60 SIGMA= .5 TEST= 1\n", true, "3", "10", "60", "0.5", "1"},
      {"many lines", "Index 1 2 3\r\n#INDE\n fobs=\n10 60\nSIGM 0.5\ninde 1 2 4\n fobs= 11 61 SIGM 0.6", true,
       "3 4", "10 11", "60 61", "0.5 0.6", "-"},
      {"amplitudes alone", "INDE 1 2 3 FOBS= 10 SIGMA= .5\nINDE 1 2 4 FOBS= 11 SIGMA= .6\n", true, "3 4",
       "10 11", "-", "0.5 0.6", "-"},
      {"amplitude at the end", "INDE 1 2 3 SIGMA= .5 FOBS= 10\n", true, "3", "10", "-", "0.5", "-"},
      {"no blanks", "INDE 1 2 3 FOBS=10 60 PHAS=61\n", true, "3", "10", "61", "-", "-"},
      {"stars", "INDE 1 2 3 FOBS= *** 60\nINDE 1 2 4 FOBS= 10 61\n", true, "3 4", "nan 10", "60 61", "-",
       "-"},
      {"short", "INDE 1 2 3 FOBS= 1 6 TEST= 1\nINDE 1 2 4 FOBS= 2\nINDE 1 2\n", true, "3 4", "1 2", "6 nan",
       "-", "1 0"},
      {"a word over the limit of a line", "INDE 1 2 3 " + std::string(115, ' ') + "FOBS= 10 60\n", true, "3",
       "10", "60", "-", "-"},
      {"25 words", "INDE 1 2 3 " + std::string("X 1 X 1 X 1 X 1 X 1 X 1 X 1 X 1 X 1 1 FOBS= 7 9\n"), true,
       "3", "7", "-", "-", "-"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    VXReflection set;
    EXPECT_EQ(read_text(VXReadReflectionXPLOR, row.text, set), row.ok);
    const VXReflectionImpl& r = *set.GetImpl();
    EXPECT_EQ(listed(r.l, r.nref), row.l);
    EXPECT_EQ(listed(r.fobs, r.nref), row.fobs);
    EXPECT_EQ(listed(r.phase, r.nref), row.phase);
    EXPECT_EQ(listed(r.sigma, r.nref), row.sigma);
    EXPECT_EQ(listed(r.rfree, r.nref), row.rfree);
  }
}

// One crystal by way of three programs: the columns agree as far as each text has digits.
TEST(TextReflections, OneCrystalInThreeFormats) {
  SKIP_WITHOUT_DATA("reflections/1dur.phs");
  VXReflection sets[4];
  const char* const files[] = {"crystals/1dur.mtz", "reflections/1dur.hkl", "reflections/1dur.phs",
                               "reflections/1dur.fob"};
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(VXReadReflection(real_data(files[i]), sets[i]));
  const VXReflectionImpl& mtz = *sets[0].GetImpl();
  for (int i = 1; i < 4; ++i) {
    SCOPED_TRACE(files[i]);
    const VXReflectionImpl& r = *sets[i].GetImpl();
    ASSERT_EQ(r.nref, 3197u);
    unsigned int n = 0;  // those without an amplitude are in the MTZ file alone
    for (unsigned int j = 0; j < mtz.nref && n < r.nref; ++j) {
      if (std::isnan(mtz.fobs[j])) continue;
      ASSERT_TRUE(mtz.h[j] == r.h[n] && mtz.k[j] == r.k[n] && mtz.l[j] == r.l[n]) << n;
      EXPECT_NEAR(mtz.fobs[j], r.fobs[n], 2e-3);
      if (r.sigma) {
        EXPECT_NEAR(mtz.sigma[j], r.sigma[n], 6e-4);
      }
      if (r.phase) {
        EXPECT_NEAR(mtz.phase_calc[j], r.phase[n], 2e-3);
      }
      if (r.fom) {
        EXPECT_NEAR(mtz.fom[j], r.fom[n], 1e-3);
      }
      ++n;
    }
    EXPECT_EQ(n, r.nref);
    EXPECT_FALSE(r.hla);
  }
  VXReflection cv;
  SKIP_WITHOUT_DATA("reflections/gere-nat-part.cv");
  ASSERT_TRUE(VXReadReflection(real_data("reflections/gere-nat-part.cv"), cv));
  const VXReflectionImpl& r = *cv.GetImpl();
  ASSERT_EQ(r.nref, 994u);
  EXPECT_TRUE(r.fobs && r.phase && r.sigma && r.rfree && !r.fcalc);
  EXPECT_EQ(r.h[0], -50);
  EXPECT_EQ(r.sigma[1], 9.31f);
}

}  // namespace
