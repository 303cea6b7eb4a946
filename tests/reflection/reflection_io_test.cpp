#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <gemmi/cif.hpp>
#include <random>
#include <sstream>

#include <support/record_bytes.h>
#include <support/support.h>

#include "reflection_files.h"

namespace {

using namespace VXCore;
namespace Column = VXReflectionColumn;

// Lines of words that numbers are made of, against sscanf itself: what it takes, how far, and every bit.
TEST(TextReflections, NumbersAsScanf) {
  std::istringstream words(
      "0 1 27 -3 +4 . - 1.5 .25 -0.0 9. e E+2 e-5 1e5 x 0x1f 0x.8p3 p-2 inf nan INFINITY infi na ? / 1e39 "
      "1e-46 4294967301 -99999999999999999999 1.17549429e-38 16777217 3.4028236e38 9223372036854775808 "
      "0000000000000000000000012.5 100000000000000000000000000000000000000000");
  std::vector<std::string> pieces{" ", "\t"};
  for (std::string word; words >> word;) pieces.push_back(word);
  std::mt19937 random(5);
  const auto below = [&](std::size_t n) { return static_cast<int>(random() % n); };

  std::string text;
  std::vector<float> expected, found;
  for (int i = 0; i < 100000; ++i) {
    std::string line = "HKL";
    for (int n = below(12); n >= 0 && line.size() < 83; --n) {
      for (int piece = below(9) ? 0 : below(4); piece >= 0; --piece)
        line += below(3) ? std::to_string(below(2000) - 1000) : pieces[below(pieces.size())];
      if (below(20)) line += ' ';
    }
    text += line + "\n";
    int h, k, l;
    float f[4];
    if (std::sscanf(line.c_str(), "%*s%d%d%d%f%f%f%f", &h, &k, &l, f, f + 1, f + 2, f + 3) != 7) continue;
    for (const int index : {h, k, l}) expected.push_back(static_cast<float>(index));
    expected.insert(expected.end(), f, f + 3);
  }
  VXReflection set;
  VXHost::vxisstream in(text);
  ASSERT_TRUE(VXReadReflectionHKL(in, set));
  const VXReflectionImpl& r = *set.GetImpl();
  for (unsigned int i = 0; i < r.nref; ++i)
    for (const auto number : {float(r.h[i]), float(r.k[i]), float(r.l[i]), r.fobs[i], r.sigma[i], r.phase[i]})
      found.push_back(number);
  EXPECT_GT(found.size(), 30000u);
  ASSERT_EQ(found.size(), expected.size());
  EXPECT_EQ(std::memcmp(found.data(), expected.data(), 4 * found.size()), 0);
}

// A text and the columns that it gives; null where the result is false and the set stays as it was.
struct Row {
  const char* what;
  std::string text;
  const char* columns;
};

const std::string kBlanks(110, ' ');  // a line of 128 characters has 18 others

// clang-format off
const Row kHKL[] = {
    {"no such lines", "hkl 1 2 3 4 5 6 7\n HKL 1 2 3 4 5 6 7\nREM\n", ""},
    {"no phase", "HKL 1 2 3 4 5 1000 .7\nHKL 2 2 3 4 5 1e3 7", "h 1 2, fobs 4 4, sigma 5 5, phase 1000 1000, fom 0 0"},
    {"128 characters", "HKL 1 2 3 4 5 6 " + kBlanks + ".7", "h 1, fobs 4, sigma 5, phase 6, fom 0.7"},
    {"cut behind \".\"", "HKL 1 2 3 4 5 6 " + kBlanks + " .7\n", ""},
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
std::string times20(const std::string& text) {
  const std::string five = text + text + text + text + text;
  return five + five + five + five;
}
const Row kCIF[] = {
    {"no loop", "data_x\nloop_\n_cell.a\n1 2 3 4 5\n", nullptr},
    {"no sigma", kIndices + "_refln.F_squared_meas\n_refln.F_squared_sigma\n1 2 3 4 5\n", nullptr},
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

template <std::size_t n>
void check(bool (*read)(VXHost::vxistream&, VXReflection&), const Row (&rows)[n]) {
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

TEST(TextReflections, Tables) {
  check(VXReadReflectionHKL, kHKL);
  check(VXReadReflectionPHS, kPHS);
  check(VXReadReflectionCIF, kCIF);
  check(VXReadReflectionXPLOR, kXPLOR);
}

// Values of structure-factor files as gemmi has them, but for fobs, which is sigma.
TEST(TextReflections, CIFAsGemmi) {
  for (const std::string name : {"1dur", "5wkd", "5uui", "6mw0"}) {
    SCOPED_TRACE(name);
    const std::string file = "reflections/" + name + "-sf.cif";
    SKIP_WITHOUT_DATA(file);
    VXReflection set;
    ASSERT_TRUE(VXReadReflection(real_data(file), set));
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
        EXPECT_EQ(columns[i] ? columns[i][n] : -1, row.has(3 + i) ? std::stof(row[3 + i]) : -1) << i;
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
  for (const std::string extension : {"hkl", "phs", "fob"}) {
    SCOPED_TRACE(extension);
    ASSERT_TRUE(VXReadReflection(real_data("reflections/1dur." + extension), text));
    ASSERT_EQ(r.nref, 3197u);
    for (unsigned int j = 0, n = 0; n < r.nref; ++j) {
      ASSERT_LT(j, mtz.nref);
      if (std::isnan(mtz.fobs[j])) continue;  // in the MTZ file alone
      ASSERT_TRUE(mtz.h[j] == r.h[n] && mtz.k[j] == r.k[n] && mtz.l[j] == r.l[n]) << n;
      for (const auto& [a, b] :
           {std::pair(mtz.fobs, r.fobs), {mtz.sigma, r.sigma}, {mtz.fom, r.fom}, {mtz.phase_calc, r.phase}})
        ASSERT_TRUE(!b || std::abs(a[j] - b[n]) < 2e-3f) << n;
      ++n;
    }
  }
}

template <class... T>
std::string print(const char* format, T... values) {
  char text[1024];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

// The texts are those of printf, numbers too wide for their fields among them.
TEST(ReflectionWriters, AsPrintf) {
  VXReflection set = full_set();
  const VXReflectionImpl& r = *set.GetImpl();
  std::string phs, phs_short, xplor, bare;
  for (const unsigned int i : {1u, 0u, 2u}) {  // sorted
    const std::string index = print("%5d%5d%5d ", r.h[i], r.k[i], r.l[i]);
    const std::string line = index + print("%10.3f %10.3f %10.3f ", r.fobs[i], r.fom[i], r.phase[i]);
    phs_short += line + "\n";
    phs += line + print(" %11.5f %11.5f %11.5f %11.5f\n", r.hla[i], r.hlb[i], r.hlc[i], r.hld[i]);
    bare += "INDE " + index + "\n";
    xplor +=
        "INDE " + index + print("FOBS= %11.5f %11.5f ", r.fobs[i], r.phase[i]) +
        print("FCALC= %11.5f %11.5f ", r.fcalc[i], r.phase_calc[i]) + print("SIGMa= %8.5f ", r.sigma[i]) +
        print("FOM= %8.5f TEST= %1d ", r.fom[i], r.rfree[i]) +
        print("RESO= %11.5f ", 0.5 / std::sqrt(double{r.stolsq[i]})) +
        print("HLA= %11.5f HLB= %11.5f HLC= %11.5f HLD= %11.5f \n", r.hla[i], r.hlb[i], r.hlc[i], r.hld[i]);
  }
  const auto expect = [&](bool (*write)(VXHost::vxostream&, VXReflection&), const std::string& text) {
    VXHost::vxosstream out;
    EXPECT_EQ(write(out, set), !text.empty());
    EXPECT_EQ(out.str(), text);
  };
  set.Sort();
  expect(VXWriteReflectionPHS, phs);
  expect(VXWriteReflectionXPLOR, xplor);
  set.SetABCD(nullptr, nullptr, nullptr, nullptr, 3);
  expect(VXWriteReflectionPHS, phs_short);
  for (const unsigned int code : {Column::Phase, Column::Fcalc, Column::Sigma, Column::FOM, Column::Stolsq})
    set.SetColumn(code, static_cast<const float*>(nullptr), 3);
  set.SetColumn(Column::RFree, static_cast<const int*>(nullptr), 3);
  expect(VXWriteReflectionXPLOR, bare);
  expect(VXWriteReflectionPHS, "");
}

TEST(ReflectionFiles, FrontDoor) {
  // reads a file that is not there; is writable
  const std::tuple<const char*, bool, bool, bool> rows[] = {
      {"hkl", true, false, false}, {"mtz", true, false, false},     {"cif", false, false, false},
      {"phs", false, true, false}, {"fob", false, true, true},      {"CV", false, true, true},
      {"vxx", false, true, true},  {"vxx.gz", false, false, false}, {"", false, false, false}};
  VXReflection figures = full_set(), no_figures = full_set(), empty;
  no_figures.SetColumn(Column::FOM, static_cast<const float*>(nullptr), 3);
  for (const auto& [extension, missing_file, with_figures, without_figures] : rows) {
    SCOPED_TRACE(extension);
    const std::string name = scratch_file(std::string("set.") + extension);
    VXReflection set;
    EXPECT_EQ(VXReadReflection(name, set), missing_file);
    EXPECT_EQ(set.GetTitle(), missing_file ? name : "");
    EXPECT_FALSE(VXIsWritableReflection(name, empty));
    EXPECT_EQ(VXIsWritableReflection(name, no_figures), without_figures);
    EXPECT_EQ(VXWriteReflection(name, figures), with_figures);
    if (!with_figures) continue;
    EXPECT_TRUE(VXReadReflection(name, set));
    EXPECT_NE(set.GetCount(), 0u);
    if (extension == std::string("vxx"))
      EXPECT_EQ(native_form(set), native_form(figures));
    else
      EXPECT_EQ(set.GetTitle(), name);
  }
  const std::string full = scratch_file("full.phs");  // a name whose place has no room
  ASSERT_EQ(symlink("/dev/full", full.c_str()), 0);
  EXPECT_FALSE(VXWriteReflection(full, figures));
}

// A block by hand, of numbers in either byte order.
std::string block(const std::string& tag, const std::string& data) {
  return RecordBytes().record(tag, RecordBytes().raw(data)).str();
}
template <class T>
std::string block(const std::string& tag, std::initializer_list<T> values, bool swap = false) {
  return block(tag, RecordBytes(swap).numbers(values).str());
}

// Two reflections with every column, which go out as they came in.
std::string image(bool swap_reals, bool swap_ints) {
  std::string text = {char(VXBFloatEndian() != swap_reals), char(VXBIntEndian() != swap_ints),
                      char(VXBShortEndian())};
  text += block("nref", {2u}, swap_ints) + block("title", "two") + block("sg", {19u}, swap_ints) +
          block("cell", {30.f, 40.f, 50.f, 90.f, 90.f, 90.f}, swap_reals);
  float x = 0;
  const auto add = [&](std::initializer_list<const char*> tags, bool are_ints) {
    for (const char* tag : tags) {
      ++x;
      text += are_ints ? block(tag, {-int(x), int(x)}, swap_ints) : block(tag, {-x, x + 0.5f}, swap_reals);
    }
  };
  add({"H", "K", "L"}, true);
  add({"phase", "phase_calc", "fobs", "fcalc", "sigma", "fom"}, false);
  add({"centric", "rfree"}, true);
  add({"stolsq", "HLA", "HLB", "HLC", "HLD", "fwt", "fdelwt", "phiwt", "phidelwt"}, false);
  return text;
}

TEST(VXX, Layout) {
  for (const auto& [swap_reals, swap_ints] : {std::pair(0, 0), {0, 1}, {1, 0}, {1, 1}}) {
    VXReflection set;
    VXHost::vxisstream in(image(swap_reals, swap_ints));
    ASSERT_EQ(VXReadReflectionVXX(in, set), 0u);
    EXPECT_EQ(listed(set),
              "h -1 1, fobs -6 6.5, sigma -8 8.5, phase -4 4.5, fom -9 9.5, fcalc -7 7.5, phase_calc -5 5.5, "
              "rfree -11 11, centric -10 10, hla -13 13.5, hlb -14 14.5, hlc -15 15.5, hld -16 16.5, "
              "stolsq -12 12.5, fwt -17 17.5, fdelwt -18 18.5, phiwt -19 19.5, phidelwt -20 20.5");
    EXPECT_EQ(set.GetSymmetry().GetNumber(), 19u);
    set.Sort();  // in storage order all the same
    EXPECT_EQ(native_form(set), image(false, false));
  }
  EXPECT_EQ(native_form(VXReflection()), image(false, false).substr(0, 3));
}

TEST(VXX, Status) {
  const std::string start(3, '\0'), two = block("nref", {2u}), h = block("H", {8, 9});
  // clang-format off
  const std::tuple<const char*, std::string, unsigned int, const char*> rows[] = {
      {"two header bytes", std::string(2, '\0'), 8, "old"},
      {"nothing more", start, 0, ""},
      {"any order, unknown tags", start + h + block("new", "x") + two, 0, "h 8 9"},
      {"no length", start + two + h + block("new", ""), 8, "old"},
      {"the last counts", start + block("nref", {7u}) + two + h + block("H", {3, 4}), 0, "h 3 4"},
      {"no columns", start + block("nref", {4000000000u}), 0, ""},
      {"a column too short", start + block("nref", {4000000000u}) + h, 6, "old"},
      {"a number too short", start + block("nref", "12"), 6, "old"},
      {"a cell too short", start + two + block("cell", std::string(20, 'x')), 6, "old"},
      {"cut in a block", start + two + h.substr(0, h.size() - 1), 9, "old"},
      {"cut in an unknown block", start + two + block("new", "12345").substr(0, 8), 9, "old"},
      {"cut at a length", start + two + h.substr(0, 3), 8, "old"},
      {"cut in a tag", start + two + h.substr(0, 2), 4, "old"},
      {"padded", start + two + h + std::string(8, '\0'), 4, "old"},
      {"length beyond all", start + two + std::string("\0\1H\xff\xff\xff\xff\x0f", 8), 9, "old"},
  };
  // clang-format on
  for (const auto& [what, image, status, columns] : rows) {
    SCOPED_TRACE(what);
    VXReflection set = full_set();
    set.SetData<int>("attribute", 5);
    VXHost::vxisstream in(image);
    EXPECT_EQ(VXReadReflectionVXX(in, set), status);
    EXPECT_EQ(set.GetData<int>("attribute"), 5);
    if (columns == std::string("old"))
      EXPECT_EQ(native_form(set), native_form(full_set()));
    else
      EXPECT_EQ(listed(set), columns);
  }
}

}  // namespace
