#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>

using Index = std::array<int, 3>;

struct Coefficient {
  int h, k, l;
  float amp = 0, phase = 0;  ///< phase in degrees
};

/// A set of type Fo.
inline VXCore::VXReflection make_set(const std::vector<Coefficient>& list, unsigned int group = 1,
                                     const VXCore::VXXtal::VXUnitCell& cell = {10, 10, 10, 90, 90, 90}) {
  VXCore::VXReflection set;
  std::vector<int> h, k, l;
  std::vector<float> amp, phase;
  for (const Coefficient& c : list) {
    h.push_back(c.h), k.push_back(c.k), l.push_back(c.l);
    amp.push_back(c.amp), phase.push_back(c.phase);
  }
  const auto n = static_cast<unsigned int>(list.size());
  set.SetCount(n);
  set.SetHKL(h.data(), k.data(), l.data(), n);
  set.SetColumn(VXCore::VXReflectionColumn::Fobs, amp.data(), n);
  set.SetColumn(VXCore::VXReflectionColumn::Phase, phase.data(), n);
  set.SetSymmetry(VXCore::VXXtal::VXSymmetry(group, cell));
  return set;
}

/// The density of a set term by term. Repeats and Friedel mates are one term, of which the last counts.
class DirectSum {
 public:
  DirectSum(const VXCore::VXReflection& set, unsigned int map_type)
      : volume_(set.GetSymmetry().cell().GetVolume()) {
    const VXCore::VXReflectionImpl& r = *set.GetImpl();
    std::map<Index, Term> last;
    for (unsigned int i = 0; i < r.nref; ++i) {
      const Index index = {r.h[i], r.k[i], r.l[i]}, mate = {-r.h[i], -r.k[i], -r.l[i]};
      float a, b;
      if (!r.GetAB(a, b, i, map_type)) continue;
      const Index& kept = std::max(index, mate);
      last[kept] = {kept, index == mate ? 1.0 : 2.0, a, index < mate ? -b : b};
    }
    for (const auto& [index, term] : last) terms_.push_back(term);
  }
  /// At a position in cell fractions.
  double operator()(double x, double y, double z) const {
    double sum = 0;
    for (const Term& t : terms_) {
      const double angle = 2 * M_PI * (t.index[0] * x + t.index[1] * y + t.index[2] * z);
      sum += t.mates * (t.a * std::cos(angle) + t.b * std::sin(angle));
    }
    return sum / volume_;
  }

 private:
  struct Term {
    Index index;
    double mates;
    float a, b;
  };
  std::vector<Term> terms_;
  double volume_;
};
