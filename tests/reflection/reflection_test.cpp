#include <vxgrid/reflection/reflection.h>

#include <cmath>
#include <limits>
#include <random>
#include <tuple>

#include <support/support.h>
#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>

#include "reflection_files.h"
#include "support.h"

using namespace VXCore;
using testing::ElementsAre;

namespace {

// h falls, so that sorted order is the reverse of storage order.
VXReflection three_reflections() {
  return make_set({{2, 0, 0, 10, 0}, {1, 0, 5, 20, 0}, {1, 0, -5, 30, 0}}, 19);
}

TEST(Reflection, MapTypeTexts) {
  const char* const printed[] = {
      "Fo",    "Fc",     "2Fo-Fc", "Fo-Fc", "3Fo-2Fc", "5Fo-3Fc", "2Fo-Fc(SigmaA)", "Fo-Fc (SigmaA)",
      "Fo*Fo", "Fo*FOM", "Fwt",    "Fdelwt"};
  for (unsigned int code = 0; code < 12; ++code) {
    EXPECT_EQ(VXMTZMapTypeToString(code), printed[code]);
    EXPECT_EQ(VXMTZMapTypeFromString(printed[code]), code == 7 ? 13 : code) << "7 does not go back in";
  }
  EXPECT_EQ(VXMTZMapTypeFromString("Fo-Fc(SigmaA)"), 7u);
  EXPECT_EQ(VXMTZMapTypeFromString("fwt"), 13u);
  EXPECT_EQ(VXMTZMapTypeToString(12) + VXMTZMapTypeToString(13) + VXMTZMapTypeToString(99), "None");
}

// Each code has a column of its own, of its own type.
TEST(Reflection, ColumnsByCode) {
  VXReflection set = three_reflections();
  float f, floats[3] = {1, 2, 3};
  int i, ints[3] = {4, 5, 6};
  for (unsigned int code = 0; code <= 13; ++code) {
    SCOPED_TRACE(code);
    const bool is_int = code == VXReflectionColumn::Centric || code == VXReflectionColumn::RFree,
               is_float = !is_int && code < 13;
    EXPECT_EQ(set.SetColumn(code, floats, 3), is_float);
    EXPECT_EQ(set.SetColumn(code, ints, 3), is_int);
    EXPECT_EQ(set.GetColumn(code, floats), is_float);
    EXPECT_EQ(set.GetColumn(code, ints), is_int);
    EXPECT_EQ(set.SetElement(code, static_cast<float>(code), 1), is_float);
    EXPECT_EQ(set.SetElement(code, static_cast<int>(code), 1), is_int);
  }
  for (unsigned int code = 0; code < 13; ++code)
    EXPECT_TRUE(set.GetElement(code, i, 1) ? i == static_cast<int>(code)
                                           : set.GetElement(code, f, 1) && f == static_cast<float>(code));
}

TEST(Reflection, Setters) {
  VXReflection set = three_reflections();
  const VXReflectionImpl& r = *set.GetImpl();
  const float values[] = {1, 2, 3, 4};
  const float* none = nullptr;
  float out[3];
  EXPECT_FALSE(set.SetColumn(VXReflectionColumn::Fobs, values, 4)) << "wrong count";
  EXPECT_FALSE(set.GetColumn(VXReflectionColumn::Fobs, static_cast<float*>(nullptr)));
  ASSERT_TRUE(set.GetColumn(VXReflectionColumn::Fobs, out)) << "the old column stays";
  EXPECT_THAT(out, ElementsAre(10, 20, 30));
  // They take columns of the set itself.
  EXPECT_TRUE(set.SetColumn(VXReflectionColumn::Fobs, r.fobs, 3));
  EXPECT_EQ(r.fobs[2], 30);
  EXPECT_TRUE(set.SetHKL(r.l, r.h, r.k, 3)) << "axes in another order";
  EXPECT_EQ(r.h[2] * 100 + r.k[2] * 10 + r.l[2], -490);

  EXPECT_FALSE(set.SetColumn(VXReflectionColumn::Fobs, none, 3));
  EXPECT_FALSE(set.GetColumn(VXReflectionColumn::Fobs, out)) << "null takes the column away";
  EXPECT_FALSE(set.SetABCD(values, values, nullptr, values, 3));
  EXPECT_FALSE(set.GetABCD(out, out, out, out));
}

TEST(Reflection, SortedOrderIsThatOfElementAccessAlone) {
  VXReflection set = three_reflections();
  float value, values[3];
  EXPECT_TRUE(set.GetElement(VXReflectionColumn::Fobs, value, 0) && value == 10);
  ASSERT_TRUE(set.Sort());
  const float sorted[] = {30, 20, 10};  // (1,0,-5) (1,0,5) (2,0,0)
  for (unsigned int i = 0; i < 3; ++i)
    EXPECT_TRUE(set.GetElement(VXReflectionColumn::Fobs, value, i) && value == sorted[i]) << value;
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
  VXReflection set = full_set(), copy;
  set.SetRESO(0.001, 0.25);
  copy = set;
  set.SetElement(VXReflectionColumn::Fobs, 99.0f, 0);
  set.Clear();
  EXPECT_TRUE(set.GetCount() == 0 && set.GetTitle().empty() && !set.GetSymmetry() && !set.GetResolution());
  EXPECT_EQ(native_form(copy), native_form(full_set()));
  EXPECT_EQ(copy.GetResolution(), 2.0);
}

// Amplitude and phase of every map type, from columns whose values tell them apart.
TEST(Reflection, CoefficientsOfTheMapTypes) {
  using R = VXReflectionImpl;
  R set;
  set.SetCount(1);
  const std::pair<float * R::*, float> columns[] = {
      {&R::fobs, 100}, {&R::fcalc, 30},      {&R::fom, 0.5f}, {&R::fwt, 7},       {&R::fdelwt, 8},
      {&R::phase, 10}, {&R::phase_calc, 20}, {&R::phiwt, 30}, {&R::phidelwt, 40}, {&R::hla, 1},
      {&R::hlb, 2},    {&R::hlc, 3},         {&R::hld, 4}};
  for (const auto& [column, value] : columns) ASSERT_TRUE(set.SetValues(set.*column, &value, 1));
  const float expected[][2] = {{100, 10}, {30, 20},    {170, 20}, {70, 20}, {240, 20}, {410, 20}, {1, 10},
                               {2, 10},   {10000, 10}, {50, 10},  {7, 30},  {8, 40},   {100, 10}, {100, 10}};
  for (int type = 0; type < 14; ++type) {
    float amp, phase;
    EXPECT_TRUE(set.GetAmpPhase(amp, phase, 0, type));
    EXPECT_TRUE(amp == expected[type][0] && phase == expected[type][1]) << type << " " << amp << " " << phase;
    EXPECT_EQ(set.ValidateMaptype(type), type < 12) << type;
  }
  float re = 5, im = 6;
  set.SetFwtElement(std::numeric_limits<float>::quiet_NaN(), 0);
  EXPECT_FALSE(set.GetAB(re, im, 0, 10) || set.GetAB(re, im, 2, 0)) << "not a number, beyond the set";
  EXPECT_EQ(re + im, 11) << "unchanged";
}

// Cosine and sine of any phase, near multiples of 90 degrees and far out too.
TEST(Reflection, CoefficientsOfAnyPhase) {
  std::vector<Coefficient> list;
  for (float phase : {0.f, 90.f, -90.f, 180.f, 270.f, 360.f, 45.f, 135.f, 1e-30f, 5e7f, -5.8e7f, 1e9f, 3e38f})
    list.push_back({0, 0, 0, 1, phase});
  std::mt19937 random(4);
  std::uniform_real_distribution<float> degrees(-1e5f, 1e5f);
  while (list.size() < 5000) list.push_back({0, 0, 0, 1, degrees(random)});
  const VXReflection set = make_set(list);
  for (unsigned int i = 0; i < set.GetCount(); ++i) {
    float a, b;
    ASSERT_TRUE(set.GetAB(a, b, i, VXMTZMapType::Fo));
    const double radians = list[i].phase * 0.017453292f;  // a product in float
    ASSERT_FLOAT_EQ(a, static_cast<float>(std::cos(radians))) << list[i].phase;
    ASSERT_FLOAT_EQ(b, static_cast<float>(std::sin(radians))) << list[i].phase;
  }
}

TEST(Reflection, ValidateMaptypeSaysWhatFcMisses) {
  const float value = 1;
  for (const float* fcalc : {&value, static_cast<const float*>(nullptr)})
    for (const float* phase_calc : {&value, static_cast<const float*>(nullptr)}) {
      VXReflectionImpl set;
      CapturedLog log;
      set.SetCount(1);
      set.SetFcalc(fcalc, 1);
      set.SetPhaseCalc(phase_calc, 1);
      EXPECT_EQ(set.ValidateMaptype(1), fcalc && phase_calc);
      EXPECT_FALSE(set.ValidateMaptype(2)) << "silently";
      EXPECT_EQ(log.text(), std::string(fcalc ? "" : "Error: fcalc missing.\n") +
                                (phase_calc ? "" : "Error: phase calc missing.\n"));
    }
}

TEST(Reflection, DifferenceMaps) {
  const std::tuple<const char*, float, float, unsigned int, bool> rows[] = {
      {"deep", -0.66f, 1, 0, true},
      {"shallow", -0.64f, 1, 0, false},
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
