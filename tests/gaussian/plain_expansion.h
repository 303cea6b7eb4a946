#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/gaussian/gsphere.h>

/// The full expansion of atoms (x, y, z and radius) as a plain loop over every pair of a record and a later
/// atom: what the library must give bit by bit; above 200 atoms but for the order of the overlaps of an atom.
inline std::vector<VXCore::Gsphere> plain_expansion(const std::vector<VXCore::Gsphere>& atoms, float vmin) {
  using VXCore::Gsphere;
  const auto log = [](float x) { return static_cast<float>(std::log(static_cast<double>(x))); };
  const auto width_of = [](float radius) {
    const float p = 2.7f;
    float width;
    VXCore::vi_assign_gwid_from_rad_pre(&p, &radius, &width, 1);
    return width;
  };
  const auto beyond = [](const Gsphere& a, const Gsphere& g) {
    float d2 = (a.x - g.x) * (a.x - g.x);
    if (d2 > g.radius) return true;
    d2 += (a.y - g.y) * (a.y - g.y);
    if (d2 > g.radius) return true;
    d2 += (a.z - g.z) * (a.z - g.z);
    return d2 > g.radius;
  };

  const auto [least, most] = std::minmax_element(
      atoms.begin(), atoms.end(), [](const Gsphere& a, const Gsphere& b) { return a.radius < b.radius; });
  const float rmax = most->radius, wbig = width_of(least->radius), wsmall = width_of(rmax);
  const float q = 6 * wbig / wsmall, c = 1000 / q, log_vmin = log(vmin);
  // Entries of the tables, computed when they are needed.
  const auto x = [c](int i) { return (static_cast<float>(i) + 0.5f) * (1 / c); };
  const auto ratio = [&](int i) { return x(i) / (1 + x(i)); };
  const auto logfactor = [&](int i) { return log(2.7f * (ratio(i) * std::sqrt(ratio(i)))); };
  const auto entry = [](float position) { return static_cast<int>(std::clamp(position, 0.0f, 1000.0f)); };

  float wmin = wbig;
  for (const Gsphere& atom : atoms) wmin = std::min(wmin, width_of(atom.radius));
  std::vector<Gsphere> records;  // volume: log(V / vmin); radius: squared cut-off
  std::vector<std::size_t> blocks;
  for (const Gsphere& atom : atoms) {
    const float w = width_of(atom.radius), t = (wmin + w) / w;
    const float v = log(std::sqrt(1 / (w * w * w)) * (2.7f * 5.568328f)) - log_vmin;
    blocks.push_back(records.size());
    records.push_back(
        {w, atom.x, atom.y, atom.z, 0, 0, v, t * (1 / wmin) * (v - log(std::sqrt(t) * t / 2.7f))});
    for (std::size_t b = 0; b + 1 < blocks.size(); ++b) {
      if (beyond(atom, records[blocks[b]])) continue;
      // The tree asks for the reach of the new atom too; tables round to either side of exact bounds.
      if (atoms.size() > 200 && beyond(records[blocks[b]], records[blocks.back()])) continue;
      for (std::size_t k = blocks[b]; k < blocks[b + 1]; ++k) {
        const Gsphere g = records[k];
        if (beyond(atom, g)) continue;
        const float dx = atom.x - g.x, dy = atom.y - g.y, dz = atom.z - g.z, d2 = dx * dx + dy * dy + dz * dz;
        const int i = entry(c / w * g.width), i2 = entry((g.width + w) * (q / wsmall));
        const float a = ratio(i), lv = logfactor(i) + g.volume - a * w * d2;
        if (!(lv > 0)) continue;
        const float cutoff = (lv + logfactor(i2)) * ((1 + x(i2)) / (wsmall * x(i2)));
        records.push_back({g.width + w, atom.x + (g.x - atom.x) * a, atom.y + (g.y - atom.y) * a,
                           atom.z + (g.z - atom.z) * a, 0, g.order + 1, lv, cutoff});
      }
    }
  }
  const float span = static_cast<float>(std::log(rmax * rmax * rmax * 4.188786666666666) - log_vmin);
  for (Gsphere& g : records) {
    const double k = entry(g.volume * (1000 / span));
    const float volume = static_cast<float>(vmin * std::exp(k * span * 0.001)), t = g.width * 0.3183099f;
    g.prefactor = std::sqrt(t) * t * volume;
    g.volume = g.order % 2 ? -volume : volume;
  }
  return records;
}
