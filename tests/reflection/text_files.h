#pragma once

#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/reflection_io.h>

using TextReader = bool (*)(VXHost::vxistream&, VXCore::VXReflection&);

inline bool read_text(TextReader read, const std::string& text, VXCore::VXReflection& set) {
  VXHost::vxisstream in(text);
  return read(in, set);
}

/// The bytes of every column by the member's name, with those that are not there left out.
inline std::vector<std::pair<std::string, std::string>> column_bytes(const VXCore::VXReflection& set) {
  const VXCore::VXReflectionImpl& r = *set.GetImpl();
  std::vector<std::pair<std::string, std::string>> columns;
  const auto add = [&](const char* name, const void* column) {
    if (column) columns.emplace_back(name, std::string(static_cast<const char*>(column), 4 * r.nref));
  };
  add("h", r.h), add("k", r.k), add("l", r.l);
  add("phase", r.phase), add("phase_calc", r.phase_calc), add("fobs", r.fobs), add("fcalc", r.fcalc);
  add("sigma", r.sigma), add("fom", r.fom), add("centric", r.centric), add("rfree", r.rfree);
  add("hla", r.hla), add("hlb", r.hlb), add("hlc", r.hlc), add("hld", r.hld), add("stolsq", r.stolsq);
  add("fwt", r.fwt), add("fdelwt", r.fdelwt), add("phiwt", r.phiwt), add("phidelwt", r.phidelwt);
  return columns;
}

/// A column as text, its values parted by blanks, without the sign of not-a-number; "-" when it is not there.
template <class T>
std::string listed(const T* column, unsigned int n) {
  if (!column) return "-";
  std::string text;
  for (unsigned int i = 0; i < n; ++i) {
    const double number = column[i];
    char value[64];
    std::snprintf(value, sizeof value, "%s%g", i ? " " : "", std::isnan(number) ? std::abs(number) : number);
    text += value;
  }
  return text;
}
