#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/gaussian/gsphere.h>

/// The full expansion as a plain loop over every pair of a record and a later atom: what the library must
/// give bit by bit (above 200 atoms but for the order of the overlaps of an atom).
class PlainExpansion {
 public:
  /// Atoms with x, y, z and radius set.
  static std::vector<VXCore::Gsphere> of(const std::vector<VXCore::Gsphere>& atoms, float vmin) {
    return PlainExpansion(atoms, vmin).records_;
  }

 private:
  PlainExpansion(const std::vector<VXCore::Gsphere>& atoms, float vmin) : vmin_(vmin) {
    log_vmin_ = log(vmin);
    set_scales(atoms);
    float wmin = width_of(atoms[0].radius);
    for (const auto& atom : atoms) wmin = std::min(wmin, width_of(atom.radius));
    std::vector<std::size_t> blocks;
    for (const auto& atom : atoms) {
      const float w = width_of(atom.radius), t = (wmin + w) / w;
      const std::size_t block = records_.size();
      const float v = log(std::sqrt(1 / (w * w * w)) * (2.7f * 5.568328f)) - log_vmin_;
      const float cutoff = t * (1 / wmin) * (v - log(std::sqrt(t) * t / 2.7f));
      records_.push_back({w, atom.x, atom.y, atom.z, 0, 0, v, cutoff});
      for (std::size_t b = 0; b < blocks.size(); ++b) {
        if (beyond(atom, records_[blocks[b]])) continue;
        // The tree asks for the reach of the new atom too, as exact numbers would: tables round to either
        // side.
        if (atoms.size() > 200 && beyond(records_[blocks[b]], records_[block])) continue;
        const std::size_t end = b + 1 < blocks.size() ? blocks[b + 1] : block;
        for (std::size_t g = blocks[b]; g < end; ++g) overlap(atom, w, g);
      }
      blocks.push_back(block);
    }
    for (auto& g : records_) finish(g);
  }

  static float log(float x) { return static_cast<float>(std::log(static_cast<double>(x))); }

  static float width_of(float radius) {
    const float p = 2.7f;
    float width;
    VXCore::vi_assign_gwid_from_rad_pre(&p, &radius, &width, 1);
    return width;
  }

  void set_scales(const std::vector<VXCore::Gsphere>& atoms) {
    float rmin = atoms[0].radius;
    for (const auto& atom : atoms) {
      rmin = std::min(rmin, atom.radius);
      rmax_ = std::max(rmax_, atom.radius);
    }
    wsmall_ = width_of(rmax_);
    const float q = 6 * width_of(rmin) / wsmall_;
    c_ = 1000 / q;
    f2_ = q / wsmall_;
  }

  // Table entries, computed when they are needed.
  float x(int i) const { return (static_cast<float>(i) + 0.5f) * (1 / c_); }
  float ratio(int i) const { return x(i) / (1 + x(i)); }
  float logfactor(int i) const { return log(2.7f * (ratio(i) * std::sqrt(ratio(i)))); }
  float cutoff_scale(int i) const { return (1 + x(i)) / (wsmall_ * x(i)); }
  static int entry(float position) { return static_cast<int>(std::min(position, 1000.0f)); }

  static bool beyond(const VXCore::Gsphere& atom, const VXCore::Gsphere& g) {
    float d2 = (atom.x - g.x) * (atom.x - g.x);
    if (d2 > g.radius) return true;
    d2 += (atom.y - g.y) * (atom.y - g.y);
    if (d2 > g.radius) return true;
    d2 += (atom.z - g.z) * (atom.z - g.z);
    return d2 > g.radius;
  }

  void overlap(const VXCore::Gsphere& atom, float w, std::size_t of) {
    const VXCore::Gsphere g = records_[of];
    if (beyond(atom, g)) return;
    const float dx = atom.x - g.x, dy = atom.y - g.y, dz = atom.z - g.z, d2 = dx * dx + dy * dy + dz * dz;
    const int i = entry(c_ / w * g.width);
    const float a = ratio(i), v = logfactor(i) + g.volume - a * w * d2;
    if (!(v > 0)) return;
    const int i2 = entry((g.width + w) * f2_);
    const float cutoff = (v + logfactor(i2)) * cutoff_scale(i2);
    records_.push_back({g.width + w, atom.x + (g.x - atom.x) * a, atom.y + (g.y - atom.y) * a,
                        atom.z + (g.z - atom.z) * a, 0, g.order + 1, v, cutoff});
  }

  void finish(VXCore::Gsphere& g) const {
    const float span = static_cast<float>(std::log(rmax_ * rmax_ * rmax_ * 4.188786666666666) - log_vmin_);
    const int k = std::max(0, entry(g.volume * (1000 / span)));
    const float volume = static_cast<float>(vmin_ * std::exp(static_cast<double>(k) * span * 0.001));
    const float t = g.width * 0.3183099f;
    g.prefactor = std::sqrt(t) * t * volume;
    g.volume = g.order % 2 ? -volume : volume;
  }

  float vmin_, log_vmin_, rmax_ = 0, wsmall_, c_, f2_;
  std::vector<VXCore::Gsphere> records_;
};
