#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXAtomBase;

/// One row of the scattering table: the nine-parameter X-ray form factor of an atom or ion,
///   f(s) = sum of a_i exp(-b_i s^2) + c,   s = sin(theta) / lambda in 1/Å,
/// with a and c in electrons and b in Å².
struct VXScatterData {
  int atomic_number;
  int formal_charge;
  /// atomic_number - formal_charge in all rows but U6+.
  int electrons;
  double a1, b1, a2, b2, a3, b3, a4, b4, c;
};

constexpr unsigned int kScatterRows = 208;

/// The form factors by rising atomic number, 1 to 98. Within an element the first row that matches counts.
extern VXGRID_API const VXScatterData scatter_data[kScatterRows];

/// The row of `scatter_data` for an element and a charge: the first row with both; else the first neutral
/// one of the element; else the first of the element. -1 as unsigned without one, such as for element 0.
VXGRID_API unsigned int VXGetScatterType(int atomic_number, int formal_charge);
VXGRID_API unsigned int VXGetScatterType(const VXAtomBase* atom);

}  // namespace VXCore
