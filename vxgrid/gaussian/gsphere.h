#pragma once

#include <cstdint>

#include <vxgrid/host/export.h>

namespace VXCore {

/// One Gaussian sphere, the function p * exp(-a * |r - c|^2).
struct Gsphere {
  float width;      ///< a in Å⁻²
  float x, y, z;    ///< the centre c in Å
  float prefactor;  ///< p
  /// 0 for an atom; the number of pairings that made an overlap.
  std::int32_t order;
  /// The integral in Å³. A full expansion gives overlaps of odd order a negative one.
  float volume;
  /// Of the sphere that the Gaussian stands for, in Å. Grids take one other than 0 as the cut-off radius.
  float radius;
};

/// The product of two Gaussians, which is a Gaussian: width, centre, prefactor and order (the sum of the two
/// and 1) in single precision. Volume and radius of `out` stay. Returns 1.
VXGRID_API int vi_make_overlap_gaussian(const Gsphere* a, const Gsphere* b, Gsphere* out);

/// The integral of the product of two Gaussians in Å³, from widths, centres and prefactors; 0 where the
/// exponent passes 23.026 (a factor of 1e-10). Returns 1.
VXGRID_API int vi_vol_sg_intersect(double* vol, const Gsphere* a, const Gsphere* b);

/// The same with its gradient (3 values) with respect to the centre of `a`. Returns 1, or 0 with zeros where
/// the exponent passes 23.026 or is not a number.
VXGRID_API int vi_vol_deriv_sg_intersect(double* vol, double* grad, const Gsphere* a, const Gsphere* b);

/// Volume, gradient and second derivatives (xx, xy, xz, yy, yz, zz) with respect to the centre of `a`, for
/// Gaussians whose amplitudes are their `volume` fields: unlike the two above, on purpose. No exponent is
/// too large. Returns 1.
VXGRID_API int vi_vol_deriv_sec_deriv_sg_intersect(double* vol, double* grad, double* hess, const Gsphere* a,
                                                   const Gsphere* b);

/// The volume of the sphere of the radius; with a radius of 0 that of prefactor and width. With a width of 0
/// too it stays.
VXGRID_API void vi_set_gaussian_volume(Gsphere* g);
/// The prefactor for which the Gaussian of this width has the volume; stays for a volume of 0.
VXGRID_API void vi_set_gaussian_prefactor(Gsphere* g);
/// The radius of the sphere of the same volume, from prefactor and width; stays for a width of 0 and for
/// prefactors that are not above 0.
VXGRID_API void vi_set_gaussian_radius(Gsphere* g);

}  // namespace VXCore
