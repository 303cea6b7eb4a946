#pragma once

#include <string>

#include <vxgrid/host/export.h>

namespace VXHost {
class vxistream;
class vxostream;
}  // namespace VXHost

namespace VXCore {

class VXReflection;

// Reflection files. The format follows from the extension of the file name, letter case aside; a final ".gz"
// is an extension of its own here, and an unknown one.
//
// extension   read   write
// mtz         yes    -       with the default column names of VXMTZColumnNames
// cif         yes    -
// phs         yes    yes
// fob, cv     yes    yes     reflection files of XPLOR and CNS
// hkl         yes    -
// vxx         yes    yes     native, binary: everything a set holds, but for its attributes

/// Reads a file. A file that does not open counts as an empty one: as "hkl" and "mtz" it gives true and an
/// empty set, as anything else false. On success a set without a title gets the file name as its title. False
/// for an unknown extension.
VXGRID_API bool VXReadReflection(const std::string& filename, VXReflection& set);
/// The same from a stream, compressed or not; the extension is that of the name.
VXGRID_API bool VXReadReflection(VXHost::vxistream& in, const std::string& filename, VXReflection& set);

/// Writes a file by VXReplaceFile. False, with no file made, when VXIsWritableReflection is; false, with a
/// Warning, when the file does not open or the disc is full.
VXGRID_API bool VXWriteReflection(const std::string& filename, VXReflection& set);

/// Whether the set can be written under that name: it has reflections with indices and, for "phs", fobs,
/// phase and fom.
VXGRID_API bool VXIsWritableReflection(const std::string& filename, VXReflection& set);

// Readers of text. They skip in silence what they cannot scan. Numbers are scanned as scanf does in the C
// locale: "%d" takes 12 of "12.5", an integer beyond 32 bits wraps. A line longer than the limit of its
// format goes on as a line of its own; a zero byte ends its line. What is read replaces the set, without
// group and cell; when nothing is read, the result is false and the set stays as it was.

/// Lines "HKL h k l fobs sigma phase fom" of at most 128 characters, all others skipped. A phase of 1000
/// means that there is none: fom becomes 0, and the phase stays 1000. A file without such lines gives true
/// and an empty set.
VXGRID_API bool VXReadReflectionHKL(VXHost::vxistream& in, VXReflection& set);

/// Lines "h k l fobs X phase" of at most 256 characters, perhaps with the four Hendrickson-Lattman
/// coefficients behind them, which are kept when every reflection has them. X is the figure of merit when its
/// mean is at most 1, else the calculated amplitude. A negative phase marks a free reflection: it gets 360
/// added, and as soon as there is one, the set gets free flags, 0 for those with a negative phase and 1 for
/// the others. "REM" and "#" start comments. A first line with "HKL" makes it an HKL file.
VXGRID_API bool VXReadReflectionPHS(VXHost::vxistream& in, VXReflection& set);

/// The `_refln.` loop of a structure-factor CIF, one reflection a line of at most 128 characters. Columns are
/// recognised by parts of their names, of which the last one that fits counts: ".F_meas" for the amplitude,
/// ".F_squared_meas" for an intensity, ".F_calc", ".phase_meas", ".phase_calc", ".fom", ".F_meas_sigma", also
/// with a small f.
///
/// The name of a sigma column holds that of an amplitude column and counts for it, too: where sigma stands
/// behind the amplitude, as it does in most files, fobs is read from the sigma column. The square root of an
/// intensity is fobs where the amplitude is not given ("?").
///
/// False without h, k, l and sigma. Reflections without one of them are left out; other values that are not
/// given become not-a-number.
VXGRID_API bool VXReadReflectionCIF(VXHost::vxistream& in, VXReflection& set);

/// Reflections of XPLOR and CNS, "INDEx 1 2 3 FOBS= 379.8 180.0 SIGMA= 6.4 TEST= 0", each over any number of
/// lines of at most 128 characters. The first one is the template: its words tell where the values stand in
/// all the others. Lines before it and comments in braces are no matter as long as they do not hold "inde".
/// Keywords (in any letter case, by their first letters): FOBS and FCAL with amplitude and phase, PHAS, FOM,
/// SIGM, HLA to HLD, TEST. A value that the template does not have makes no column; a value that another
/// reflection does not have is not-a-number, or 0 for TEST.
VXGRID_API bool VXReadReflectionXPLOR(VXHost::vxistream& in, VXReflection& set);

// Writers of text, one line a reflection, in the order of element access (sorted after a Sort). False without
// indices, or when the stream failed.

/// h, k, l, fobs, fom and phase, and the four coefficients when they are there. False without these columns.
VXGRID_API bool VXWriteReflectionPHS(VXHost::vxostream& out, VXReflection& set);

/// Each item when its columns are there: INDE; FOBS= with phase; FCALC= with phase_calc; SIGMa=; FOM=; TEST=;
/// RESO=, 0.5 / sqrt(stolsq) in Å; HLA= to HLD=.
VXGRID_API bool VXWriteReflectionXPLOR(VXHost::vxostream& out, VXReflection& set);

/// The native form, blocks of a tag (VXBWriteTag), a length and data behind three bytes for the byte order of
/// floats, ints and shorts. Columns stand in storage order. An empty set is the three bytes alone.
VXGRID_API bool VXWriteReflectionVXX(VXHost::vxostream& out, const VXReflection& set);

/// Reads it to the end of the stream: blocks in any order, of which the last of a tag counts, with unknown
/// ones skipped. Attributes of the set stay; everything else is replaced, but only when the result is 0 or 2:
///
///  0  done
///  2  no memory for a column; the set is empty
///  4  a tag is empty or cut off
///  6  a block is shorter than its number or its column
///  8  no room for the three bytes; a length is 0 or cut off
///  9  a block is cut off
VXGRID_API unsigned int VXReadReflectionVXX(VXHost::vxistream& in, VXReflection& set);

}  // namespace VXCore
