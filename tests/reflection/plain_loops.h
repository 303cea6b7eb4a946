#pragma once

#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include <vxgrid/reflection/map_synthesis.h>
#include <vxgrid/reflection/reflection_impl.h>

/// The plain statement of what VXReflectionImpl::Expand gives, bit for bit. For sets with a group of more
/// than one operator and with indices.
inline void plain_expand(VXCore::VXReflectionImpl& r) {
  const unsigned int ops = r.symmetry.GetOpCount(), n = r.nref;
  const float* const matrices = r.symmetry.GetMatrices();
  r.unexpanded_count = n;
  r.SetCount(ops * n);
  unsigned int w = n;
  std::vector<int> mh(ops), mk(ops), ml(ops);
  for (unsigned int i = 0; i < n; ++i) {
    const int h = r.h[i], k = r.k[i], l = r.l[i];
    mh[0] = h, mk[0] = k, ml[0] = l;
    unsigned int known = 1;
    for (unsigned int op = 1; op < ops; ++op) {
      const float* const m = matrices + 16 * op;
      const auto fh = static_cast<float>(h), fk = static_cast<float>(k), fl = static_cast<float>(l);
      int H = static_cast<int>(m[0] * fh + m[1] * fk + m[2] * fl);
      int K = static_cast<int>(m[4] * fh + m[5] * fk + m[6] * fl);
      int L = static_cast<int>(m[8] * fh + m[9] * fk + m[10] * fl);
      const bool flip = L < 0 || (L == 0 && H < 0) || (L == 0 && H == 0 && K < 0);
      if (flip) H = -H, K = -K, L = -L;
      bool found = false;
      for (unsigned int j = 0; j < known && !found; ++j) found = mh[j] == H && mk[j] == K && ml[j] == L;
      if (found) continue;
      const float s = (m[13] * fk + m[12] * fh + m[14] * fl) * 360;
      r.copy_element(w, i);
      for (float* column : {r.phase, r.phase_calc, r.phiwt, r.phidelwt}) {
        if (!column) continue;
        float x = column[i] - s;
        if (flip) x = -x;
        column[w] = static_cast<float>(std::fmod(x + 360000.0, 360.0));
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
      r.h[w] = mh[known] = H;
      r.k[w] = mk[known] = K;
      r.l[w] = ml[known] = L;
      ++known;
      ++w;
    }
  }
  if (!r.phase && r.phase_calc) r.SetPhase(r.phase_calc, r.nref);
  r.SetCount(w);
}

/// The reals of a transform as floats with x fastest; the caller frees the block.
inline float* plain_reorder(const VXCore::FFTMap& map) {
  float* const out = static_cast<float*>(std::malloc(sizeof(float) * map.nx * map.ny * map.nz));
  for (int z = 0; z < map.nz; ++z)
    for (int y = 0; y < map.ny; ++y)
      for (int x = 0; x < map.nx; ++x)
        out[(static_cast<std::size_t>(z) * map.ny + y) * map.nx + x] =
            static_cast<float>(map.real_data[(static_cast<std::size_t>(x) * map.ry + y) * map.rz + z]);
  return out;
}
