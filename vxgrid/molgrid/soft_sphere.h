#pragma once

#include <cmath>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/export.h>
#include <vxgrid/processing/radial_potential.h>

namespace VXCore {

/// The soft sphere of an atom: amplitude * exp(-width d^2) up to d = range, in Å. The whole Gaussian has the
/// volume of the hard sphere.
struct VXGRID_API GaussPot {
  float range = 0.0f;
  float width = 0.0f;
  float amplitude = 3.3374093f;

  /// width = 2.7 / radius^2, range = 2 / sqrt(width). False, with an Error and both left alone, for a
  /// negative radius. Radius 0 gives an infinite width and range 0.
  bool Set(float radius);

  double operator()(double d) const { return AtSquare(d * d); }
  double AtSquare(double d2) const { return amplitude * std::exp(-width * d2); }
};

/// Adds a mapped value to a grid point.
struct AddMappingFunctor {
  template <class T>
  void operator()(T& point, double value) const {
    point = static_cast<T>(point + value);
  }
};

/// Takes a mapped value from a grid point.
struct SubtractMappingFunctor {
  template <class T>
  void operator()(T& point, double value) const {
    point = static_cast<T>(point - value);
  }
};

/// The mapping of soft spheres, many points at a time. The same bits as the general template gives.
template <>
VXGRID_API unsigned int MapRadialPotentialToGrid<float, GaussPot, AddMappingFunctor>(VXFixedGrid<float>& grid,
                                                                                     const GaussPot& pot,
                                                                                     AddMappingFunctor f,
                                                                                     double x, double y,
                                                                                     double z, double range);
template <>
VXGRID_API unsigned int MapRadialPotentialToGrid<float, GaussPot, SubtractMappingFunctor>(
    VXFixedGrid<float>& grid, const GaussPot& pot, SubtractMappingFunctor f, double x, double y, double z,
    double range);

/// Raises the contact grid to the contact of one atom with the target, on the points within `range` of it
/// whose target value T is above 0.0001. With g the atom's potential there the contact is
///
///     2 T min(g / (g + T), T / (g + T))
///
/// in double (2 T in float): T where the two are equal, towards 0 where one outweighs the other. It never
/// lowers a value. Both grids have one lattice; with different sizes nothing is done. Returns the points
/// visited.
VXGRID_API unsigned int MapContactPotential(VXScalarGrid& contact, VXScalarGrid& target, const GaussPot& pot,
                                            double x, double y, double z, double range);

}  // namespace VXCore
