#pragma once

#include <string_view>

#include <vxgrid/host/molecule.h>

namespace VXCore {

/// The symbol of an element, "X" for 0 and for numbers above 118.
VXGRID_API const char* VXGetAtomicSymbol(unsigned int atomic_number);
/// The element of a symbol in any letter case, 1 for "D" too; 0 for a text that is no symbol.
VXGRID_API unsigned int VXGetAtomicNum(std::string_view symbol);
/// Standard atomic weight in unified atomic mass units, or the mass number of a long-lived isotope where
/// there is none; 0 for what is no element.
VXGRID_API double VXGetAtomicWeight(unsigned int atomic_number);
/// Van der Waals radius in Å after Bondi; 2 where none was published, 0 for what is no element.
VXGRID_API double VXGetBondiVdWRadius(unsigned int atomic_number);

/// Gives every atom the van der Waals radius of its element.
VXGRID_API void VXAssignBondiVdWRadii(VXMolBase& mol);

/// Gives every atom a radius for Gaussian volumes. The set differs from van der Waals radii on purpose (1.0
/// for hydrogen, say); 0 for what is no element, 1.9 from atomic number 36 on.
VXGRID_API void AssignZemoMolRadii(VXMolBase& mol);

/// True when any atom has a radius above 0.
VXGRID_API bool HasRadii(const VXMolBase& mol);

}  // namespace VXCore
