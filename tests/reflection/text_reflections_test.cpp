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
  std::string text;
  std::vector<float> expected, found;
  for (int i = 0; i < 100000; ++i) {
    const std::string line = "HKL" + Line();
    int h, k, l;
    float f[4];
    text += line + "\n";
    if (std::sscanf(line.c_str(), "%*s%d%d%d%f%f%f%f", &h, &k, &l, f, f + 1, f + 2, f + 3) != 7) continue;
    for (const int index : {h, k, l}) expected.push_back(static_cast<float>(index));
    expected.insert(expected.end(), f, f + 3);
  }
  VXReflection set;
  VXHost::vxisstream in(text);
  ASSERT_TRUE(VXReadReflectionHKL(in, set));
  const VXReflectionImpl& r = *set.GetImpl();
  EXPECT_GT(r.nref, 5000u);
  for (unsigned int i = 0; i < r.nref; ++i) {
    for (const int* index : {r.h, r.k, r.l}) found.push_back(static_cast<float>(index[i]));
    for (const float* column : {r.fobs, r.sigma, r.phase}) found.push_back(column[i]);
  }
  ASSERT_EQ(found.size(), expected.size());
  EXPECT_EQ(std::memcmp(found.data(), expected.data(), 4 * found.size()), 0);
}

using Reader = bool (*)(VXHost::vxistream&, VXReflection&);

// A text and the columns that it gives; null where the result is false and the set stays as it was.
struct Row {
  const char* what;
  std::string text;
  const char* columns;
};

template <std::size_t n>
void check(Reader read, const Row (&rows)[n]) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    VXReflection set;
    set.SetTitle("old");
    VXHost::vxisstream in(row.text);
    EXPECT_EQ(read(in, set), row.columns != nullptr);
    EXPECT_EQ(set.GetTitle(), row.columns ? "" : "old");
    EXPECT_EQ(listed(set), row.columns ? row.columns : "");
  }
}

const std::string kBlanks(110, ' ');  // a line of 128 characters has 18 others

// clang-format off
const Row kHKL[] = {
    {"no such lines", "hkl 1 2 3 4 5 6 7\n HKL 1 2 3 4 5 6 7\nREM\n", ""},
    {"a longer first word", "HKL9 1 2 3 4 5 6 7\n", "h 1, fobs 4, sigma 5, phase 6, fom 7"},
    {"six fields", "HKL 1 2 3 4 5 6\r\nHKL 2 2 3 4 5 6 7\r\n", "h 2, fobs 4, sigma 5, phase 6, fom 7"},
    {"no phase", "HKL 1 2 3 4 5 1000 .7\nHKL 2 2 3 4 5 1e3 7", "h 1 2, fobs 4 4, sigma 5 5, phase 1000 1000, fom 0 0"},
    {"128 characters", "HKL 1 2 3 4 5 6 " + kBlanks + ".7", "h 1, fobs 4, sigma 5, phase 6, fom 0.7"},
    {"cut behind \".\"", "HKL 1 2 3 4 5 6 " + kBlanks + " .7\n", ""},
    {"the rest is a line", "HKL 1 2 3 4 5 6 7  " + kBlanks.substr(1) + "HKL 2 2 3 4 5 8 9", "h 1 2, fobs 4 4, sigma 5 5, phase 6 8, fom 7 9"},
    {"zero byte", std::string("HKL 1 2 3 4 5 6 7\0 HKL\nHKL 1 2 3 4 5 6\0 7\n", 42), "h 1, fobs 4, sigma 5, phase 6, fom 7"},
};

const Row kPHS[] = {
    {"nothing", "REM 1 2 3 4 5 6\n# 1 2 3 4 5 6\n1 2 3 4 5\n", nullptr},
    {"figures of merit", "1 2 3 4 1 60\n2 2 3 4 1 -0.0\n", "h 1 2, fobs 4 4, phase 60 -0, fom 1 1"},
    {"amplitudes", "1 2 3 4 1.5 60\n", "h 1, fobs 4, phase 60, fcalc 1.5"},
    {"no mean", "1 2 3 4 nan 60\n", "h 1, fobs 4, phase 60, fcalc nan"},
    {"free", "1 2 3 4 0 60\n2 2 3 4 0 -60\n", "h 1 2, fobs 4 4, phase 60 300, fom 0 0, rfree 1 0"},
    {"free, but left out", "1 2 3 4 0 60\n2 2 3 -4 -60\n", "h 1, fobs 4, phase 60, fom 0"},
    {"ten fields", "1 2 3 4 0 60 1 2 3 4\n\n2 2 3 4 0 60 1 2 3 5 6\n",
     "h 1 2, fobs 4 4, phase 60 60, fom 0 0, hla 1 1, hlb 2 2, hlc 3 3, hld 4 5"},
    {"nine", "1 2 3 4 0 60 1 2 3 4\n2 2 3 4 0 60 1 2 3\n", "h 1 2, fobs 4 4, phase 60 60, fom 0 0"},
    {"HKL", "REM\n\nHKL 1 2 3 4 5 6 .7\n2 2 3 4 0 6\n", "h 1, fobs 4, sigma 5, phase 6, fom 0.7"},
    {"HKL further on", "1 2 3 4 0 6\nHKL 2 2 3 4 5 6 7\n", "h 1, fobs 4, phase 6, fom 0"},
};

const std::string kIndices = "data_x\n1 2 3\nloop_\n_refln.index_h\n_refln.index_k\n_refln.index_l\n";
const std::string kSigmaLast = kIndices + "_refln.F_meas_au\n_refln.F_meas_sigma_au\n";
const std::string kSigmaFirst = kIndices + "_refln.f_meas_sigma\n_refln.f_meas\n";
std::string times20(const char* text) {
  std::string all;
  for (int i = 0; i < 20; ++i) all += text;
  return all;
}
const Row kCIF[] = {
    {"no loop", "data_x\nloop_\n_cell.a\n1 2 3 4 5\n", nullptr},
    {"no sigma", kIndices + "_refln.F_squared_meas\n_refln.F_squared_sigma\n1 2 3 4 5\n", nullptr},
    {"no l", "_refln.index_h\n_refln.index_k\n_refln.F_meas_sigma\n1 2 3 4\n", nullptr},
    {"sigma behind amplitude", kSigmaLast + "1 2 3 40 5\n", "h 1, fobs 5, sigma 5"},
    {"amplitude behind sigma", kSigmaFirst + "# x\n\n1 2 3 5 40(1)\n", "h 1, fobs 40, sigma 5"},
    {"the last of two", kSigmaFirst + "_refln.pdbx.F_meas\n1 2 3 5 40 50\n", "h 1, fobs 50, sigma 5"},
    {"intensity", kSigmaFirst + "_refln.F_squared_meas\n1 2 3 5 40 49\n2 2 3 5 ? 49\n3 2 3 5 ? -4\n",
     "h 1 2 3, fobs 40 7 nan, sigma 5 5 5"},
    {"not given", kSigmaFirst + "_refln.F_calc\n1 2 3 5 40 ?\n1 ? 3 5 40 6\n2 2 3 . 40 6\n3 2 3 5\n",
     "h 1 3, fobs 40 nan, sigma 5 5, fcalc nan nan"},
    {"ends", kSigmaFirst + "1 2 3 4 5\n_refln.F_calc\n2 2 3 4 5\n", "h 1, fobs 5, sigma 4"},
    {"ends with a loop", kSigmaFirst + "1 2 3 4 5\nloop_\n2 2 3 4 5\n", "h 1, fobs 5, sigma 4"},
    {"column 26", kSigmaFirst + times20("_refln.x\n") + "_refln.F_calc\n1 2 3 4 5" + times20(" 0") + " 7\n",
     "h 1, fobs 5, sigma 4, fcalc nan"},
    {"a long word is two", kSigmaFirst + "_refln.F_calc\n1 2 3 4 " + std::string(80, '0') + "5 6\n",
     "h 1, fobs 0, sigma 4, fcalc 5"},
};

const Row kXPLOR[] = {
    {"nothing", "NREF= 2\nfobs= 1\n", nullptr},
    {"no indices", "INDEX\nFOBS= 2\n", nullptr},
    {"one line", "NREF=1\nINDE 1 2 3 FOBS= 10 60 SIGMA= .5 TEST= 1\n", "h 1, fobs 10, sigma 0.5, phase 60, rfree 1"},
    {"many lines", "Index 1 2 3\r\n#INDE\n fobs=\n10 60\nSIGM 0.5\ninde 2 2 4\n fobs= 11 61 SIGM 0.6",
     "h 1 2, fobs 10 11, sigma 0.5 0.6, phase 60 61"},
    {"amplitudes alone", "INDE 1 2 3 FOBS= 10 SIGMA= .5 FCAL= 6\n", "h 1, fobs 10, sigma 0.5, fcalc 6"},
    {"no blanks", "INDE 1 2 3 FOBS=10 60 PHAS=61 HLA=1\n", "h 1, fobs 10, phase 61"},
    {"stars", "INDE 1 2 3 FOBS= *** 60\nINDE 2 2 4 FOBS= 10 61\n", "h 1 2, fobs nan 10, phase 60 61"},
    {"short", "INDE 1 2 3 FOBS= 1 6 TEST= 1\nINDE 2 2 4 FOBS= 2\nINDE 1 2\n", "h 1 2, fobs 1 2, phase 6 nan, rfree 1 0"},
    {"a word over the limit", "INDE 1 2 3 " + std::string(115, ' ') + "FOBS= 10 60\n", "h 1, fobs 10, phase 60"},
    {"a record at the limit", "INDE 1 2 3 FOBS= 1 " + kBlanks.substr(3) + "60INDE 2 2 4 FOBS= 1 6\n", "h 1 2, fobs 1 1, phase 60 6"},
    {"25 words", "INDE 1 2 3 " + times20("1 ").substr(2) + "FOBS= 7 9\n", "h 1, fobs 7"},
};
// clang-format on

TEST(TextReflections, Tables) {
  check(VXReadReflectionHKL, kHKL);
  check(VXReadReflectionPHS, kPHS);
  check(VXReadReflectionCIF, kCIF);
  check(VXReadReflectionXPLOR, kXPLOR);
}

// Values of structure-factor files as gemmi has them, but for fobs, which is sigma.
TEST(TextReflections, CIFAsGemmi) {
  for (const char* name : {"1dur", "5wkd", "5uui", "6mw0"}) {
    const std::string file = std::string("reflections/") + name + "-sf.cif";
    SKIP_WITHOUT_DATA(file);
    VXReflection set;
    ASSERT_TRUE(VXReadReflection(real_data(file), set));
    EXPECT_FALSE(set.GetSymmetry());
    const VXReflectionImpl& r = *set.GetImpl();
    const float* const columns[] = {r.sigma, r.fobs, r.fcalc, r.phase_calc, r.fom};
    gemmi::cif::Document document = gemmi::cif::read_file(real_data(file));
    unsigned int n = 0;
    for (auto row :
         document.blocks[0].find("_refln.", {"index_h", "index_k", "index_l", "F_meas_sigma_au",
                                             "F_meas_sigma_au", "?F_calc_au", "?phase_calc", "?fom"})) {
      if (gemmi::cif::is_null(row[3])) continue;
      ASSERT_LT(n, r.nref);
      EXPECT_TRUE(r.h[n] == std::stoi(row[0]) && r.k[n] == std::stoi(row[1]) && r.l[n] == std::stoi(row[2]));
      for (int i = 0; i < 5; ++i)
        EXPECT_EQ(columns[i] ? columns[i][n] : -1, row.has(3 + i) ? std::stof(row[3 + i]) : -1) << file << i;
      ++n;
    }
    EXPECT_EQ(n, r.nref);
  }
}

// One crystal by way of four programs: the columns agree as far as each text has digits.
TEST(TextReflections, OneCrystalInThreeFormats) {
  SKIP_WITHOUT_DATA("reflections/1dur.phs");
  VXReflection set, text;
  ASSERT_TRUE(VXReadReflection(real_data("crystals/1dur.mtz"), set));
  const VXReflectionImpl &mtz = *set.GetImpl(), &r = *text.GetImpl();
  for (const char* name : {"reflections/1dur.hkl", "reflections/1dur.phs", "reflections/1dur.fob"}) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(VXReadReflection(real_data(name), text));
    ASSERT_EQ(r.nref, 3197u);
    const auto near = [](const float* a, const float* b, unsigned int j, unsigned int n, float last_digit) {
      return !b || std::abs(a[j] - b[n]) < last_digit;
    };
    unsigned int n = 0;
    for (unsigned int j = 0; j < mtz.nref && n < r.nref; ++j) {
      if (std::isnan(mtz.fobs[j])) continue;  // in the MTZ file alone
      ASSERT_TRUE(mtz.h[j] == r.h[n] && mtz.k[j] == r.k[n] && mtz.l[j] == r.l[n]) << n;
      ASSERT_TRUE(near(mtz.fobs, r.fobs, j, n, 2e-3f) && near(mtz.sigma, r.sigma, j, n, 6e-4f) &&
                  near(mtz.phase_calc, r.phase, j, n, 2e-3f) && near(mtz.fom, r.fom, j, n, 1e-3f))
          << n;
      ++n;
    }
    EXPECT_EQ(n, r.nref);
  }
}

}  // namespace
