#pragma once

#include <string>

#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/stream.h>

namespace VXCore {

/// GRASP and DelPhi maps have this many samples along each axis, always.
constexpr unsigned int kGraspDim = 65;

/// The records of GRASP and DelPhi maps, which those of Fortran are: a 4-byte length, the bytes, the length
/// again. With `swap` the bytes of a number stand in the other order than the machine's.
class VXGRID_API VXGraspIO {
 public:
  /// The `swap` of GRASP files: true, as their numbers are big-endian.
  static bool DetermineGraspByteOrder() { return true; }

  /// One number. Bytes that the stream does not have count as 0.
  static int ReadGraspInt(VXHost::vxistream& in, bool swap);
  static float ReadGraspFloat(VXHost::vxistream& in, bool swap);
  static double ReadGraspDouble(VXHost::vxistream& in, bool swap);
  static void WriteGraspInt(int number, VXHost::vxostream& out, bool swap);
  static void WriteGraspFloat(float number, VXHost::vxostream& out, bool swap);

  /// Pass over the length before and after the bytes of a record, which is not looked at.
  static void BeginGraspBlock(VXHost::vxistream& in);
  static void EndGraspBlock(VXHost::vxistream& in);
  /// Write that length, in the machine's order on every file.
  static void WBeginGraspBlock(int length, VXHost::vxostream& out);
  static void WBeginGraspBlock(unsigned int length, VXHost::vxostream& out);
  static void WEndGraspBlock(int length, VXHost::vxostream& out);

  /// The bytes of a text record. Its length is the first of the four length bytes that is not 0, so that up
  /// to 255 bytes read alike in either order; four bytes of 0 begin an empty record, which has its closing
  /// length too. Where the stream ends before a length, the text is empty, with a Warning.
  static std::string ReadGraspLine(VXHost::vxistream& in);
  /// Writes `length` bytes as a text record.
  static void WriteGraspLine(VXHost::vxostream& out, const char* text, int length, bool swap);
};

/// Reads the records of a map, whatever their texts and lengths say:
///
/// values  65 x 65 x 65 floats, x fastest
/// scale   1 / spacing (1/Å)
/// mid     x, y, z of the midpoint (Å)
///
/// False when the stream ends before the last number; what did not come stays as it was.
VXGRID_API bool VXReadDelphiMap(VXHost::vxistream& in, float* values, float* scale, float* mid);

/// Writes a map: texts, their lengths and all floats are big-endian, the lengths of the records of floats are
/// in the machine's order. That mix is meant; readers pass over these lengths. False when the stream fails.
VXGRID_API bool VXWriteDelphiMap(VXHost::vxostream& out, const float* values, float scale, const float* mid);

/// Reads a map into a grid, which becomes 65 x 65 x 65 without cell and orientation. A file that ends early
/// is taken for what it has: samples that did not come are 0, and so is the midpoint; without a scale the
/// spacing is not set.
VXGRID_API bool VXReadGraspGrid(VXHost::vxistream& in, VXZemoGrid& grid);

/// Writes the first float field as a map around the midpoint of the grid, by VXInterpolateBetweenGrids: with
/// the grid's own spacing, or, when its largest dimension n is above 65, spacing * n / 65, so that the map
/// spans about as much. Outside the grid the samples are 0. Axes count as those of x, y, z: an orientation is
/// not applied.
VXGRID_API bool VXWriteGraspGrid(VXHost::vxostream& out, const VXZemoGrid& grid);

}  // namespace VXCore
