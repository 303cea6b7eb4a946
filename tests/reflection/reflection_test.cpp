#include <vxgrid/reflection/reflection.h>

#include <cmath>
#include <limits>
#include <random>
#include <tuple>

#include <support/support.h>
#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>

#include "support.h"

using namespace VXCore;
using testing::ElementsAre;

namespace {

// h falls, so that sorted order is the reverse of storage order.
VXReflection three_reflections() {
  return make_set({{2, 0, 0, 10, 0}, {1, 0, 5, 20, 0}, {1, 0, -5, 30, 0}}, 19);
}

TEST(Reflection, MapTypeTexts) {
  const std::tuple<const char*, unsigned int, const char*> rows[] = {
      {"Fo", 0, "Fo"},
      {"2Fo-Fc", 2, "2Fo-Fc"},
      {"2Fo-Fc(SigmaA)", 6, "2Fo-Fc(SigmaA)"},
      {"Fo-Fc(SigmaA)", 7, "Fo-Fc (SigmaA)"},
      {"Fo-Fc (SigmaA)", 13, "None"},  // what is printed for 7 does not go back in
      {"Fo*FOM", 9, "Fo*FOM"},
      {"Fdelwt", 11, "Fdelwt"},
      {"fwt", 13, "None"},
      {"", 13, "None"}};
  for (const auto& [text, code, printed] : rows) {
    EXPECT_EQ(VXMTZMapTypeFromString(text), code) << text;
    EXPECT_EQ(VXMTZMapTypeToString(code), printed) << text;
  }
  EXPECT_EQ(VXMTZMapTypeToString(12), "");
  EXPECT_EQ(VXMTZMapTypeToString(99), "");
}

// Each code has a column of its own, of its own type.
TEST(Reflection, ColumnsByCode) {
  VXReflection set = three_reflections();
  float f, floats[3] = {1, 2, 3};
  int i, ints[3] = {4, 5, 6};
  const auto is_int = [](unsigned int code) {
    return code == VXReflectionColumn::Centric || code == VXReflectionColumn::RFree;
  };
  const auto is_float = [&](unsigned int code) { return !is_int(code) && code < 13; };
  for (unsigned int code = 0; code <= 13; ++code) {
    SCOPED_TRACE(code);
    EXPECT_EQ(set.SetColumn(code, floats, 3), is_float(code));
    EXPECT_EQ(set.SetColumn(code, ints, 3), is_int(code));
    EXPECT_EQ(set.GetColumn(code, floats), is_float(code));
    EXPECT_EQ(set.GetColumn(code, ints), is_int(code));
    EXPECT_EQ(set.SetElement(code, static_cast<float>(code), 1), is_float(code));
    EXPECT_EQ(set.SetElement(code, static_cast<int>(code), 1), is_int(code));
  }
  for (unsigned int code = 0; code < 13; ++code)
    if (is_int(code))
      EXPECT_TRUE(set.GetElement(code, i, 1) && i == static_cast<int>(code)) << code;
    else
      EXPECT_TRUE(set.GetElement(code, f, 1) && f == static_cast<float>(code)) << code;
}

TEST(Reflection, SettersRefuse) {
  VXReflection set = three_reflections();
  const float values[] = {1, 2, 3, 4};
  const float* none = nullptr;
  float out[3];
  EXPECT_FALSE(set.SetColumn(VXReflectionColumn::Fobs, values, 4)) << "wrong count";
  EXPECT_FALSE(set.GetColumn(VXReflectionColumn::Fobs, static_cast<float*>(nullptr)));
  ASSERT_TRUE(set.GetColumn(VXReflectionColumn::Fobs, out)) << "the old column stays";
  EXPECT_THAT(out, ElementsAre(10, 20, 30));
  EXPECT_FALSE(set.SetColumn(VXReflectionColumn::Fobs, none, 3));
  EXPECT_FALSE(set.GetColumn(VXReflectionColumn::Fobs, out)) << "null takes the column away";
  EXPECT_FALSE(set.SetABCD(values, values, nullptr, values, 3));
  EXPECT_FALSE(set.GetABCD(out, out, out, out));
}

TEST(Reflection, SettersTakeColumnsOfTheSetItself) {
  VXReflection set = three_reflections();
  const VXReflectionImpl& r = *set.GetImpl();
  EXPECT_TRUE(set.SetColumn(VXReflectionColumn::Fobs, r.fobs, 3));
  EXPECT_EQ(r.fobs[2], 30);
  EXPECT_TRUE(set.SetHKL(r.l, r.h, r.k, 3)) << "axes in another order";
  EXPECT_EQ(r.h[2] * 100 + r.k[2] * 10 + r.l[2], -490);
}

TEST(Reflection, SortedOrderIsThatOfElementAccessAlone) {
  VXReflection set = three_reflections();
  float value, values[3];
  ASSERT_TRUE(set.GetElement(VXReflectionColumn::Fobs, value, 0));
  EXPECT_EQ(value, 10);
  ASSERT_TRUE(set.Sort());
  const float sorted[] = {30, 20, 10};  // (1,0,-5) (1,0,5) (2,0,0)
  for (unsigned int i = 0; i < 3; ++i) {
    ASSERT_TRUE(set.GetElement(VXReflectionColumn::Fobs, value, i));
    EXPECT_EQ(value, sorted[i]);
  }
  ASSERT_TRUE(set.GetColumn(VXReflectionColumn::Fobs, values));
  EXPECT_THAT(values, ElementsAre(10, 20, 30));
  EXPECT_FALSE(VXReflection().Sort());

  // A smaller set keeps the order, which now leads outside: refused, not read.
  set.SetCount(1);
  EXPECT_FALSE(set.GetElement(VXReflectionColumn::Fobs, value, 0));
  ASSERT_TRUE(set.Sort());
  EXPECT_TRUE(set.GetElement(VXReflectionColumn::Fobs, value, 0));
}

// The index equal to the count passes: it reaches a spare element, also of columns that came with another
// count than the set's.
TEST(Reflection, SpareElement) {
  VXReflection set = three_reflections();
  const int one[] = {7};
  int h, k, l;
  float value = 1;
  EXPECT_TRUE(set.GetElement(VXReflectionColumn::Fobs, value, 3));
  EXPECT_EQ(value, 0);
  EXPECT_TRUE(set.SetElement(VXReflectionColumn::Fobs, 5.0f, 3));
  EXPECT_FALSE(set.SetElement(VXReflectionColumn::Fobs, 5.0f, 4));
  EXPECT_TRUE(set.SetHKL(one, one, one, 1)) << "counts of indices are not compared";
  EXPECT_TRUE(set.GetHKLElement(h, k, l, 3));
  set.Sort();
  EXPECT_TRUE(set.GetHKLElement(h, k, l, 3));
  VXReflection copy(set);
  EXPECT_TRUE(copy.GetHKLElement(h, k, l, 3));
}

TEST(Reflection, CopiesAreTheirOwn) {
  VXReflection set = three_reflections();
  set.SetTitle("lysozyme");
  set.SetRESO(0.001, 0.25);
  VXReflection copy;
  copy = set;
  set.SetElement(VXReflectionColumn::Fobs, 99.0f, 0);
  set.Clear();
  EXPECT_EQ(set.GetCount(), 0u);
  EXPECT_EQ(set.GetTitle(), "");
  EXPECT_FALSE(set.GetSymmetry());
  EXPECT_EQ(set.GetResolution(), 0.0);
  float values[3];
  ASSERT_TRUE(copy.GetColumn(VXReflectionColumn::Fobs, values));
  EXPECT_THAT(values, ElementsAre(10, 20, 30));
  EXPECT_EQ(copy.GetTitle(), "lysozyme");
  EXPECT_EQ(copy.GetSymmetry().GetNumber(), 19u);
  EXPECT_EQ(copy.GetResolution(), 2.0);
  EXPECT_EQ(copy.GetData<double>("reslo"), 0.001);
}

// Amplitude and phase of every map type, from columns whose values tell them apart.
TEST(Reflection, CoefficientsOfTheMapTypes) {
  VXReflectionImpl set;
  set.SetCount(1);
  const auto put = [&set](auto setter, float v) { ASSERT_TRUE((set.*setter)(&v, 1)); };
  using R = VXReflectionImpl;
  put(&R::SetFobs, 100), put(&R::SetFcalc, 30), put(&R::SetFOM, 0.5f), put(&R::SetFwt, 7),
      put(&R::SetFdelwt, 8);
  put(&R::SetPhase, 10), put(&R::SetPhaseCalc, 20), put(&R::SetPhiwt, 30), put(&R::SetPhidelwt, 40);
  const float a = 1, b = 2, c = 3, d = 4;
  ASSERT_TRUE(set.SetABCD(&a, &b, &c, &d, 1));
  const float expected[][2] = {{100, 10}, {30, 20},    {170, 20}, {70, 20}, {240, 20}, {410, 20}, {1, 10},
                               {2, 10},   {10000, 10}, {50, 10},  {7, 30},  {8, 40},   {100, 10}, {100, 10}};
  for (int type = 0; type < 14; ++type) {
    SCOPED_TRACE(type);
    float amp, phase;
    EXPECT_TRUE(set.GetAmpPhase(amp, phase, 0, type));
    EXPECT_EQ(amp, expected[type][0]);
    EXPECT_EQ(phase, expected[type][1]);
    EXPECT_EQ(set.ValidateMaptype(type), type < 12);
  }
  float re = 5, im = 6;
  set.SetFwtElement(std::numeric_limits<float>::quiet_NaN(), 0);
  EXPECT_FALSE(set.GetAB(re, im, 0, 10));
  EXPECT_FALSE(set.GetAB(re, im, 2, 0)) << "beyond the set";
  EXPECT_EQ(re + im, 11) << "unchanged";
}

// Cosine and sine of any phase, near multiples of 90 degrees and far out too.
TEST(Reflection, CoefficientsOfAnyPhase) {
  constexpr unsigned int n = 5000;
  std::vector<float> amp(n, 1),
      phase = {0, 90, -90, 180, 270, 360, 45, 135, 1e-30f, 5e7f, -5.8e7f, 1e9f, 3e38f};
  std::mt19937 random(4);
  std::uniform_real_distribution<float> degrees(-1e5f, 1e5f);
  while (phase.size() < n) phase.push_back(degrees(random));
  VXReflectionImpl set;
  set.SetCount(n);
  set.SetFobs(amp.data(), n);
  set.SetPhase(phase.data(), n);
  for (unsigned int i = 0; i < n; ++i) {
    float a, b;
    ASSERT_TRUE(set.GetAB(a, b, i, VXMTZMapType::Fo));
    const double radians = phase[i] * 0.017453292f;  // a product in float
    ASSERT_FLOAT_EQ(a, static_cast<float>(std::cos(radians))) << phase[i];
    ASSERT_FLOAT_EQ(b, static_cast<float>(std::sin(radians))) << phase[i];
  }
}

TEST(Reflection, ValidateMaptypeSaysWhatFcMisses) {
  VXReflectionImpl set;
  set.SetCount(1);
  const float value = 1;
  const std::tuple<bool, bool, const char*> rows[] = {
      {false, false, "Error: fcalc missing.\nError: phase calc missing.\n"},
      {false, true, "Error: fcalc missing.\n"},
      {true, false, "Error: phase calc missing.\n"},
      {true, true, ""}};
  for (const auto& [fcalc, phase_calc, says] : rows) {
    CapturedLog log;
    set.SetFcalc(fcalc ? &value : nullptr, 1);
    set.SetPhaseCalc(phase_calc ? &value : nullptr, 1);
    EXPECT_EQ(set.ValidateMaptype(1), fcalc && phase_calc);
    EXPECT_FALSE(set.ValidateMaptype(2)) << "silently";
    EXPECT_EQ(log.text(), says);
  }
}

TEST(Reflection, DifferenceMaps) {
  const std::tuple<const char*, float, float, unsigned int, bool> rows[] = {
      {"deep", -0.7f, 1, 0, true},
      {"shallow", -0.6f, 1, 0, false},
      {"all zero: 0 / 0", 0, 0, 0, false},
      {"a density by its type", -9, 1, 3, false},
      {"a difference by its type", 0, 1, 4, true}};
  for (const auto& [what, low, high, type, difference] : rows) {
    VXScalarGrid grid;
    grid.SetDim(2, 3, 4);
    grid.GetValues()[5] = low;
    grid.GetValues()[7] = high;
    grid.SetType(type);
    EXPECT_EQ(VXGridIsDifferenceMap(grid), difference) << what;
    EXPECT_EQ(VXGridIsDifferenceMap(VXSkewGrid(grid)), difference) << what;
  }
  VXScalarGrid empty;
  empty.SetDim(0, 3, 4);
  EXPECT_TRUE(VXGridIsDifferenceMap(empty));
}

}  // namespace
