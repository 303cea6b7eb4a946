#pragma once

#include <array>
#include <string>
#include <vector>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/stream.h>

namespace VXCore {

/// A CCP4 map in memory: the header of the file, field by field in its order, and the samples.
///
/// On file all numbers are 4 bytes in one byte order, the header is 1024 bytes, NSYMBT bytes of symmetry
/// records follow, then the samples, columns fastest. In memory `data` has x fastest, then y, then z,
/// whatever the axis numbers say. Files are written in the byte order of the machine.
class VXGRID_API VXCCP4Map {
 public:
  int NC = 0, NR = 0, NS = 0;                 ///< columns (fastest on file), rows, sections
  int MODE = 0;                               ///< 2: floats; 0: bytes, read only
  int NCSTART = 0, NRSTART = 0, NSSTART = 0;  ///< first column, row, section in the cell grid
  int NX = 0, NY = 0, NZ = 0;                 ///< grid intervals along the cell edges
  float a = 0, b = 0, c = 0;                  ///< cell edges (Å)
  float alpha = 0, beta = 0, gamma = 0;       ///< cell angles (degrees)
  int MAPC = 0, MAPR = 0, MAPS = 0;           ///< axis of columns, rows, sections: 1 x, 2 y, 3 z
  float AMIN = 0, AMAX = 0, AMEAN = 0;        ///< smallest, largest, mean sample
  int ISPG = 0;                               ///< space-group number
  int NSYMBT = 0;                             ///< bytes of symmetry records
  int LSKFLG = 0;                             ///< skew flag
  float SKWMAT[9] = {};                       ///< skew matrix
  float SKWTRN[3] = {};                       ///< skew translation
  unsigned char FUTURE[15] = {};              ///< the low byte of each of the words for future use
  char MAP[4] = {};                           ///< "MAP " on files written here; not looked at in reading
  int MACHST = 0;                             ///< machine stamp, 16708 on files written here; the same
  float ARMS = 0;                             ///< r.m.s. deviation
  int NLABL = 0;                              ///< labels in use
  char LABEL[10][80];                         ///< text, filled with blanks
  std::vector<std::array<char, 80>> symmetry;
  std::vector<float> data;

  VXCCP4Map() { Clear(); }

  /// Removes symmetry records, data, labels, skew matrix and translation and the words for future use. The
  /// other numbers stay.
  void Clear();

  /// New samples are 0.
  void SetGridSize(unsigned long n) { data.resize(n); }
  unsigned long GetGridSize() const { return data.size(); }

  /// Reads a file. The other byte order is known by its first number alone: one beyond 131072 in size. False,
  /// with an Error, for a MODE other than 0 and 2 and for axes that are not 1, 2, 3.
  ///
  /// A byte b of MODE 0 stands for (AMAX - AMIN) * (b + 128) * 0.00392 + AMIN, with b from 0 to 255.
  ///
  /// Short input is not detected: what does not come stays as it was, 0 in new samples. Yet a file that
  /// announces over a million (2^20) samples and holds less than one in sixteen of them is refused with a
  /// Warning. Bytes behind the samples give a Warning, and the read succeeds.
  bool Read(VXHost::vxistream& in);

  /// Writes the file in the order that the axis numbers name. False without samples (silently), for a MODE
  /// other than 2 or axes that are not 1, 2, 3 (with an Error), for fewer samples or another number of
  /// symmetry records than announced (with a Warning), and when the stream fails. The last byte of each
  /// symmetry record is 0 in memory afterwards.
  bool Write(VXHost::vxostream& out);

  /// Prints the header as Info lines: in words, and with `verbose` also each field by its name.
  void Dump(bool verbose) const;
};

/// Reads a map file into a grid. The cell and the box of samples give dimensions, spacing, orientation and
/// midpoint; an axis that holds exactly one period gets one more sample, which repeats the first, so that the
/// map closes the cell. All axes become reentrant. The grid gets the title "ccp4 map", the space group, and
/// AMEAN, AMIN, AMAX and ARMS of the header as float attributes. Byte order, MODE 0 and short input as
/// VXCCP4Map::Read has them.
///
/// False with a Warning for dimensions below 1, for more samples than a grid can hold and for a box that lies
/// outside 32 bits; silently for a MODE other than 0 and 2 and for axes that are not 1, 2, 3 in some order.
/// The grid is cleared once the header has proved good, and not before.
VXGRID_API bool VXReadCCP4Map(VXHost::vxistream& in, VXZemoGrid& grid);

/// The same from an image; stores no attributes. Data of another length than the header says leave the values
/// 0 with a Warning.
VXGRID_API bool VXCCP4ToGrid(VXZemoGrid& grid, const VXCCP4Map& map);

/// Makes an image of a plain grid, on a lattice of its own: the centre moved to the nearest lattice point,
/// dimensions made odd by adding 1 to an even one, twice as many cell intervals, angles of 90 degrees, and
/// group 146, which files of plain grids carry throughout. Values are interpolated.
///
/// Statistics: AMEAN, AMIN, AMAX and ARMS are those of the grid's attributes where it has all four; otherwise
/// AMIN and AMAX are searched, and AMEAN is 0 and ARMS 1, so that the map counts as normalised. A grid with
/// the attributes "vx_no_norm" and "SIGMA" has been divided by that sigma: its values are multiplied by it
/// again. False, with a Warning, when that SIGMA is 0.
VXGRID_API bool VXGridToCCP4(VXCCP4Map& map, const VXScalarGrid& grid);

/// The same of a grid with cell, orientation and space group, which keeps its lattice and its samples. One
/// without orientation or group is made regular first and then goes the way of a plain grid; false, with a
/// Warning, where that takes more points than both 2^24 and 64 times its own.
VXGRID_API bool VXGridToCCP4(VXCCP4Map& map, const VXZemoGrid& grid);

/// VXGridToCCP4 and VXCCP4Map::Write, without a copy of the samples.
VXGRID_API bool VXWriteCCP4Grid(VXHost::vxostream& out, const VXScalarGrid& grid);
VXGRID_API bool VXWriteCCP4Grid(VXHost::vxostream& out, const VXZemoGrid& grid);

/// The same into a file. False, with a Warning, when it does not open.
VXGRID_API bool VXWriteCCP4Grid(const std::string& name, const VXScalarGrid& grid);
VXGRID_API bool VXWriteCCP4Grid(const std::string& name, const VXZemoGrid& grid);

}  // namespace VXCore
