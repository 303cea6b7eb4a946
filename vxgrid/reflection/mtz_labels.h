#pragma once

#include <string>
#include <vector>

#include <vxgrid/host/export.h>
#include <vxgrid/reflection/mtz.h>

namespace VXCore {

/// The labels for the maps of a file: what AutoGetColumns finds, but that F-obs is an observed amplitude.
VXGRID_API VXMTZColumns VXUsualMTZColumns(const VXMTZ& mtz);

/// The labels that a map type takes, amplitudes first, then the phase. Type Fo takes the calculated phase
/// where no other is named.
VXGRID_API std::vector<std::string> VXMTZMapLabels(unsigned int maptype, const VXMTZColumns& columns);

/// The labels for the columns of a reflection set: of each role the first that refinement programs use and
/// that is among `labels`.
VXGRID_API VXMTZColumnNames VXUsualMTZColumnNames(const std::vector<std::string>& labels);

}  // namespace VXCore
