#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include <vxgrid/reflection/reflection_impl.h>

/// The plain statement of what VXReflectionImpl::Expand gives, bit for bit. For sets with a group of more
/// than one operator and with indices.
inline void plain_expand(VXCore::VXReflectionImpl& r) {
  const unsigned int ops = r.symmetry.GetOpCount(), n = r.nref;
  r.unexpanded_count = n;
  r.SetCount(ops * n);
  unsigned int w = n;
  std::vector<std::array<int, 3>> known;
  for (unsigned int i = 0; i < n; ++i) {
    known = {{r.h[i], r.k[i], r.l[i]}};
    const auto fh = static_cast<float>(r.h[i]), fk = static_cast<float>(r.k[i]),
               fl = static_cast<float>(r.l[i]);
    for (unsigned int op = 1; op < ops; ++op) {
      const float* const m = r.symmetry.GetMatrices() + 16 * op;
      int h = static_cast<int>(m[0] * fh + m[1] * fk + m[2] * fl);
      int k = static_cast<int>(m[4] * fh + m[5] * fk + m[6] * fl);
      int l = static_cast<int>(m[8] * fh + m[9] * fk + m[10] * fl);
      const bool flip = l < 0 || (l == 0 && h < 0) || (l == 0 && h == 0 && k < 0);
      if (flip) h = -h, k = -k, l = -l;
      const std::array<int, 3> mate = {h, k, l};
      if (std::find(known.begin(), known.end(), mate) != known.end()) continue;
      known.push_back(mate);
      const float s = (m[13] * fk + m[12] * fh + m[14] * fl) * 360;
      r.copy_element(w, i);
      r.h[w] = h, r.k[w] = k, r.l[w] = l;
      for (float* column : {r.phase, r.phase_calc, r.phiwt, r.phidelwt}) {
        if (!column) continue;
        const float x = column[i] - s;
        column[w] = static_cast<float>(std::fmod((flip ? -x : x) + 360000.0, 360.0));
      }
      if (r.hla && r.hlb && r.hlc && r.hld) {
        const auto t = static_cast<float>(-s * 0.0174532925199433);
        const float c1 = std::cos(t), s1 = std::sin(t), sg = flip ? -1.0f : 1.0f;
        const auto c2 = static_cast<float>(std::cos(2.0 * t)), s2 = static_cast<float>(std::sin(2.0 * t));
        const float a = r.hla[i], b = r.hlb[i], c = r.hlc[i], d = r.hld[i];
        r.hla[w] = c1 * a - s1 * b;
        r.hlb[w] = (c1 * b + s1 * a) * sg;
        r.hlc[w] = c2 * c - s2 * d;
        r.hld[w] = (c2 * d + s2 * c) * sg;
      }
      ++w;
    }
  }
  if (!r.phase && r.phase_calc) r.SetPhase(r.phase_calc, r.nref);
  r.SetCount(w);
}
