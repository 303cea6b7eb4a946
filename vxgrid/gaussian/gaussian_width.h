#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

/// The widths for which Gaussians have the volumes of spheres:
///   width = (p * 3 sqrt(pi) / 4)^(2/3) / r^2,
/// 0 where the prefactor p or the radius r is 0. n of each; Å and Å⁻². The power is taken as
/// exp(2/3 log), in double, each step rounded to float.
VXGRID_API void vi_assign_gwid_from_rad_pre(const float* prefactors, const float* radii, float* widths,
                                            int n);

/// The radius in Å at which |prefactor| * exp(-width * r^2) falls to |cutoff|. 0 where it never does: for a
/// width that is not above 0, a prefactor or cutoff of 0, and a cutoff larger than the prefactor.
VXGRID_API float vi_gauss_rad(float prefactor, float width, float cutoff);

}  // namespace VXCore
