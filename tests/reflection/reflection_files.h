#pragma once

#include <cmath>
#include <cstdio>
#include <string>

#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/reflection_io.h>

/// "h 1 2, fobs 10 nan": the columns but for k and l, without the sign of not-a-number.
inline std::string listed(const VXCore::VXReflection& set) {
  const VXCore::VXReflectionImpl& r = *set.GetImpl();
  std::string text;
  const auto add = [&](const std::string& name, const auto* column) {
    if (column) text += (text.empty() ? "" : ", ") + name;
    for (unsigned int i = 0; column && i < r.nref; ++i) {
      const double number = column[i];
      char value[64];
      std::snprintf(value, sizeof value, " %g", std::isnan(number) ? std::abs(number) : number);
      text += value;
    }
  };
  add("h", r.h), add("fobs", r.fobs), add("sigma", r.sigma), add("phase", r.phase), add("fom", r.fom);
  add("fcalc", r.fcalc), add("phase_calc", r.phase_calc), add("rfree", r.rfree), add("centric", r.centric);
  add("hla", r.hla), add("hlb", r.hlb), add("hlc", r.hlc), add("hld", r.hld), add("stolsq", r.stolsq);
  add("fwt", r.fwt), add("fdelwt", r.fdelwt), add("phiwt", r.phiwt), add("phidelwt", r.phidelwt);
  return text;
}

/// All that a set holds but for its attributes.
inline std::string native_form(const VXCore::VXReflection& set) {
  VXHost::vxosstream out;
  VXCore::VXWriteReflectionVXX(out, set);
  return out.str();
}

/// Three reflections with every column, group P 21 21 21.
inline VXCore::VXReflection full_set() {
  constexpr float kHuge = 3.4028235e38f;
  VXCore::VXReflection set;
  set.SetCount(3);
  const int h[] = {1, -2, 3}, k[] = {0, 12345, 2}, l[] = {7, 0, -2147483647 - 1}, flags[] = {0, 1, -5};
  set.SetHKL(h, k, l, 3);
  for (unsigned int code = 0; code <= VXCore::VXReflectionColumn::Stolsq; ++code) {
    const float x = static_cast<float>(code);
    const float values[] = {x + 0.0625f, -1.5e-7f * x, code % 2 ? -kHuge : INFINITY};
    set.SetColumn(code, values, 3);
    set.SetColumn(code, flags, 3);  // each column takes one of the two
  }
  const float a[] = {1, 2, 3}, b[] = {-1, 0.5f, kHuge}, c[] = {0, NAN, -NAN}, d[] = {4, 5, 6};
  set.SetABCD(a, b, c, d, 3);
  set.SetTitle("three");
  set.SetSymmetry(VXCore::VXXtal::VXSymmetry(19, VXCore::VXXtal::VXUnitCell(30, 40, 50, 90, 90, 90)));
  return set;
}
