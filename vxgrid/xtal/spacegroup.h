#pragma once

#include <cstdint>
#include <string>

#include <vxgrid/host/export.h>

namespace VXCore {

/// Rows of the space-group table, and the room for operators in each of them.
constexpr unsigned int kSpaceGroupRows = 268;

/// One space group in one setting, with its symmetry operators.
///
/// An operator is 16 floats, a matrix for positions as rows (x, y, z, 1) multiplied from the left:
///   x' = m[0] x + m[4] y + m[8]  z + m[12]
///   y' = m[1] x + m[5] y + m[9]  z + m[13]
///   z' = m[2] x + m[6] y + m[10] z + m[14]
/// Elements 3, 7 and 11 are 0, element 15 is 1. Positions are fractions of the cell edges, the translation
/// lies in [0, 1). Operator 0 is the identity; those from `op_count` on are all zero.
struct SGRecord {
  /// Number in International Tables; 1000, 2000 or 3000 more for an alternative setting.
  std::uint32_t number;
  const char* short_name;  ///< "P21/c"
  const char* long_name;   ///< "P 1 21/c 1"
  /// 1 triclinic, 2 monoclinic, 3 orthorhombic, 4 tetragonal, 5 trigonal, 6 hexagonal, 7 cubic.
  std::uint32_t crystal_system;
  std::uint32_t op_count;
  float ops[kSpaceGroupRows][16];
};

/// All space groups: 1 to 230 with the rhombohedral-axes rows behind their hexagonal ones, then the
/// alternative settings. Constant data, valid for the life of the process. (A reference, so that a program
/// that names the table is not given a copy of its 4.6 MB at load.)
VXGRID_API extern const SGRecord (&sglib)[kSpaceGroupRows];

/// The first row of a number, else the first row of the number modulo 1000, else -1.
VXGRID_API int FindSpaceGroup(unsigned int number);

/// The first row of a name, long or short: as printed without regard to letter case, else without regard to
/// blanks, else -1 after one Info message with the name.
VXGRID_API int FindSpaceGroup(const std::string& name);

/// Compares without regard to letter case and blanks (code 32 alone), wherever those stand. 0 when equal,
/// otherwise -1 or 1.
VXGRID_API int strspcmp(const char* a, const char* b);

/// Compares without regard to letter case. 0 when equal, otherwise -1 or 1. Two texts that are both longer
/// than `bound` are unequal even when they agree up to it: the bound makes no prefix match.
VXGRID_API int vx_strcasecmp(const char* a, const char* b, unsigned int bound);

}  // namespace VXCore
