#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include <vxgrid/host/residue.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/xtal/scatter_table.h>

/// What VXReflection::SFCalc has to equal, float for float: its loop and tables as they are described, for
/// numbers that stay within them. Sums run over the images of each atom with one look-up a table.
class PlainSFCalc {
 public:
  PlainSFCalc(const VXCore::VXReflectionImpl& set, const VXCore::VXMolBase& mol) : set_(set) {
    GatherAtoms(mol);
    MakeTables();
  }

  void Run(std::vector<float>& amplitudes, std::vector<float>& phases) const {
    amplitudes.resize(set_.nref);
    phases.resize(set_.nref);
    for (unsigned int i = 0; i < set_.nref; ++i) {
      float a, b;
      Sum(i, a, b);
      amplitudes[i] = std::sqrt(a * a + b * b);
      const double degrees = std::atan2(double(b), double(a)) * 57.29577951308232 + 3600.0;
      phases[i] = static_cast<float>(fmodl(degrees, 360.0L));
    }
  }

  static unsigned int FindRow(unsigned int z, int charge) {
    if (z > 207) return 8;
    int candidate = -1;
    for (unsigned int row = z; row <= 207; ++row) {
      const VXCore::VXScatterData& f = VXCore::scatter_data[row];
      if (f.atomic_number == int(z)) {
        if (f.formal_charge == charge) return row;
        if (f.formal_charge == 0) candidate = int(row);
      } else if (candidate >= 0) {
        return static_cast<unsigned int>(candidate);
      }
    }
    return candidate >= 0 ? static_cast<unsigned int>(candidate) : 8;
  }

 private:
  void GatherAtoms(const VXCore::VXMolBase& mol) {
    for (unsigned int op = 0; op < set_.symmetry.GetOpCount(); ++op)
      for (const VXCore::VXAtomBase& atom : VXCore::VXIter<VXCore::VXAtomBase>(mol.GetAtoms())) {
        if (!VXCore::VXHasResidue(&atom)) continue;
        float xyz[3];
        mol.GetCoords(&atom, xyz);
        set_.symmetry.CartesianToFractional(xyz, 1, op, true);
        x_.push_back(xyz[0]), y_.push_back(xyz[1]), z_.push_back(xyz[2]);
        occ_.push_back(VXCore::VXAtomGetResidue(&atom).GetOccupancy());
        b_.push_back(VXCore::VXAtomGetResidue(&atom).GetBFactor());
        row_.push_back(FindRow(atom.GetAtomicNum(), atom.GetFormalCharge()));
      }
  }

  void MakeTables() {
    for (const VXCore::VXScatterData& f : VXCore::scatter_data)
      for (int k = 0; k < 200; ++k) {
        const double s2 = float(k) * 0.005f;
        sfactor_.push_back(static_cast<float>(f.a1 * std::exp(-f.b1 * s2) + f.a2 * std::exp(-f.b2 * s2) +
                                              f.a3 * std::exp(-f.b3 * s2) + f.a4 * std::exp(-f.b4 * s2) +
                                              f.c));
      }
    float max_s2 = 0, max_b = 0, max_hkl = 0, max_xyz = 0;
    for (unsigned int i = 0; i < set_.nref; ++i) {
      const float h = float(set_.h[i]), k = float(set_.k[i]), l = float(set_.l[i]);
      max_s2 = std::max(max_s2, set_.stolsq[i]);
      max_hkl = std::max(max_hkl, h * h + k * k + l * l);
    }
    for (std::size_t j = 0; j < x_.size(); ++j) {
      max_b = std::max(max_b, b_[j]);
      max_xyz = std::max(max_xyz, x_[j] * x_[j] + y_[j] * y_[j] + z_[j] * z_[j]);
    }
    const int fsize = int(max_s2 * max_b) + 1;
    exp_look_.assign(std::size_t(fsize) * 2000 + 1, 0.0);
    exp_look_[0] = 0.99975001811981201;
    for (std::size_t j = 1; j + 1 < exp_look_.size(); ++j) exp_look_[j] = exp_look_[j - 1] * 0.99950012;

    const int n = int(std::sqrt(max_hkl * max_xyz) * 360) + 1;
    sin_look_.assign(std::size_t(n) + 1, 0.0f);  // and one that rounding may reach
    cos_look_.assign(std::size_t(n) + 1, 1.0f);
    for (int d = 1; d <= n; ++d) {
      if (d < 360)
        sincosf(float(d) * 0.017453294f, &sin_look_[d], &cos_look_[d]);
      else
        sin_look_[d] = sin_look_[d % 360], cos_look_[d] = cos_look_[d % 360];
    }
  }

  void Sum(unsigned int i, float& a, float& b) const {
    const float s2 = set_.stolsq[i], ke = s2 * 2000;
    const int kf = std::min(int(200 * s2 + 0.5f), 199);
    const float hx = float(set_.h[i]) * 360, ky = float(set_.k[i]) * 360, lz = float(set_.l[i]) * 360;
    a = b = 0;
    for (std::size_t j = 0; j < x_.size(); ++j) {
      const auto f =
          static_cast<float>(occ_[j] * exp_look_[std::size_t(b_[j] * ke)] * sfactor_[row_[j] * 200 + kf]);
      const int d = int(x_[j] * hx + y_[j] * ky + 0.5f + z_[j] * lz);
      if (d > 0) {
        a += f * cos_look_[d];
        b += f * sin_look_[d];
      } else {
        a += f * cos_look_[-d];
        b -= f * sin_look_[-d];
      }
    }
  }

  const VXCore::VXReflectionImpl& set_;
  std::vector<float> x_, y_, z_, occ_, b_;
  std::vector<unsigned int> row_;
  std::vector<float> sfactor_, sin_look_, cos_look_;
  std::vector<double> exp_look_;
};
