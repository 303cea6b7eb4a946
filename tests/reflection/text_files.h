#pragma once

#include <cmath>
#include <cstdio>
#include <string>

#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/reflection_io.h>

/// f(name, column) for every column that is there.
template <class F>
void each_column(const VXCore::VXReflection& set, F&& f) {
  const VXCore::VXReflectionImpl& r = *set.GetImpl();
  const auto add = [&](const char* name, const auto* column) {
    if (column) f(name, column);
  };
  add("h", r.h), add("k", r.k), add("l", r.l);
  add("fobs", r.fobs), add("sigma", r.sigma), add("phase", r.phase), add("fom", r.fom);
  add("fcalc", r.fcalc), add("phase_calc", r.phase_calc), add("rfree", r.rfree), add("centric", r.centric);
  add("hla", r.hla), add("hlb", r.hlb), add("hlc", r.hlc), add("hld", r.hld), add("stolsq", r.stolsq);
  add("fwt", r.fwt), add("fdelwt", r.fdelwt), add("phiwt", r.phiwt), add("phidelwt", r.phidelwt);
}

/// Names and bytes of all columns.
inline std::string column_bytes(const VXCore::VXReflection& set) {
  std::string all;
  each_column(set, [&](const char* name, const auto* column) {
    all += name + std::string(reinterpret_cast<const char*>(column), 4 * set.GetCount());
  });
  return all;
}

/// "h 1 2, fobs 10 nan": the columns but for k, l and those of `skipped`, without the sign of not-a-number.
inline std::string listed(const VXCore::VXReflection& set, const std::string& skipped = "") {
  std::string text;
  each_column(set, [&](const std::string& name, const auto* column) {
    if (name == "k" || name == "l" || name == skipped) return;
    text += (text.empty() ? "" : ", ") + name;
    for (unsigned int i = 0; i < set.GetCount(); ++i) {
      const double number = column[i];
      char value[64];
      std::snprintf(value, sizeof value, " %g", std::isnan(number) ? std::abs(number) : number);
      text += value;
    }
  });
  return text;
}
