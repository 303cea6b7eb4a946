#pragma once

#include <algorithm>
#include <cstdlib>

#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/huge_pages.inl>

namespace VXCore {

/// A column of n elements from malloc or realloc, with the spare element behind them set to 0. The others
/// stay or are unset. When memory is short the column is freed and null.
template <class T>
void resize_column(T*& column, std::size_t n) {
  const std::size_t bytes = (n + 1) * sizeof(T);
  T* const block = static_cast<T*>(std::realloc(column, bytes));
  if (!block) std::free(column);
  column = block;
  if (!block) return;
  advise_huge_pages(block, bytes);
  block[n] = T{};
}

/// f(column, other column) for every column of two sets, sort_index included.
template <class Set, class Other, class F>
void for_each_column(Set& a, Other& b, F&& f) {
  f(a.h, b.h), f(a.k, b.k), f(a.l, b.l);
  f(a.phase, b.phase), f(a.phase_calc, b.phase_calc);
  f(a.fobs, b.fobs), f(a.fcalc, b.fcalc), f(a.sigma, b.sigma), f(a.fom, b.fom);
  f(a.centric, b.centric), f(a.rfree, b.rfree);
  f(a.hla, b.hla), f(a.hlb, b.hlb), f(a.hlc, b.hlc), f(a.hld, b.hld);
  f(a.stolsq, b.stolsq), f(a.sort_index, b.sort_index);
  f(a.fwt, b.fwt), f(a.fdelwt, b.fdelwt), f(a.phiwt, b.phiwt), f(a.phidelwt, b.phidelwt);
}

}  // namespace VXCore
