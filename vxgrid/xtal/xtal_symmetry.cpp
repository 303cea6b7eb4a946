#include <vxgrid/xtal/xtal_symmetry.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/pdb_data.h>
#include <vxgrid/host/text.h>

namespace VXCore {
namespace VXXtal {
namespace {

using Six = std::array<float, 6>;
using Point = std::array<float, 3>;

// Columns of a CRYST1 record, counted behind its six-letter name.
constexpr std::size_t kNameColumn = 49, kNameRead = 10, kNameWritten = 11;
constexpr std::size_t kZColumn = 60, kZWidth = 4;

const char* skip_blanks(const char* text, const char* end) {
  while (text != end && std::strchr(" \t\r\n\v\f", *text)) ++text;
  return text;
}

std::string right_aligned(const std::string& text, std::size_t width) {
  return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

std::string fixed(float value, int decimals, std::size_t width) {
  std::string text;
  VXNumberToString(static_cast<double>(value), text, 'f', decimals);
  return right_aligned(text, width);
}

}  // namespace

unsigned int VXSymmCellTag() {
  static const unsigned int tag = VXGetTag("VX_unit_cell");
  return tag;
}

unsigned int VXSymmSGTag() {
  static const unsigned int tag = VXGetTag("VX_spacegroup");
  return tag;
}

unsigned int VXSymmSGNameTag() {
  static const unsigned int tag = VXGetTag("VX_spacegroup_name");
  return tag;
}

unsigned int VXSymmEnabledTag() {
  static const unsigned int tag = VXGetTag("VX_symm_enabled");
  return tag;
}

unsigned int VXSymmComTag() {
  static const unsigned int tag = VXGetTag("VX_symm_com");
  return tag;
}

bool VXHasXtalSymmetry(const VXBase& object) {
  return object.HasData(VXSymmCellTag()) && object.HasData(VXSymmEnabledTag()) &&
         (object.HasData(VXSymmSGTag()) || object.HasData(VXSymmSGNameTag()));
}

bool VXGetXtalSymmetry(const VXBase& object, VXSymmetry& symmetry) {
  if (!VXHasXtalSymmetry(object)) return false;
  const VXUnitCell cell(object.GetData<Six>(VXSymmCellTag()).data());
  if (object.HasData(VXSymmSGNameTag()))
    symmetry = VXSymmetry(object.GetData<std::string>(VXSymmSGNameTag()), cell);
  else
    symmetry = VXSymmetry(object.GetData<unsigned int>(VXSymmSGTag()), cell);
  symmetry.SetEnabled(object.GetData<std::vector<bool>>(VXSymmEnabledTag()));
  return true;
}

bool VXSetXtalSymmetry(VXBase& object, const VXSymmetry& symmetry) {
  const VXUnitCell& cell = symmetry.cell();
  std::vector<bool> enabled;
  symmetry.GetEnabled(enabled);
  bool stored =
      object.SetData(VXSymmCellTag(), Six{cell.a, cell.b, cell.c, cell.alpha, cell.beta, cell.gamma});
  stored &= object.SetData(VXSymmSGTag(), symmetry.GetNumber());
  stored &= object.SetData(VXSymmSGNameTag(), symmetry.GetName());
  stored &= object.SetData(VXSymmEnabledTag(), enabled);
  return stored;
}

bool VXExtractCRYST1(const VXMolBase& mol, float* six, std::string& name, unsigned int& z) {
  z = 0;
  name.clear();
  std::fill(six, six + 6, 0.0f);
  const std::string text = VXGetPDBData(mol, "CRYST1");
  const char* at = text.data();
  const char* const end = at + text.size();
  for (int i = 0; i < 6; ++i) {  // numbers with or without blanks before them, not columns
    at = skip_blanks(at, end);
    if (at != end && *at == '+') ++at;
    const auto [rest, error] = std::from_chars(at, end, six[i]);
    if (error != std::errc()) return false;
    at = rest;
  }
  if (text.size() > kNameColumn - 1) name = text.substr(std::min(kNameColumn, text.size()), kNameRead);
  if (text.size() > kZColumn) {
    const char* digits = skip_blanks(text.data() + kZColumn, end);
    std::from_chars(digits, std::min(digits + kZWidth, end), z);
  }
  return true;
}

bool VXSetXtalSymmetryFromPDBData(VXMolBase& mol) {
  float six[6];
  std::string name;
  unsigned int z;
  if (!VXExtractCRYST1(mol, six, name, z)) return false;
  return VXXtalSymmetry::SetSymmetry(mol, VXSymmetry(name, VXUnitCell(six)), false);
}

bool VXSetPDBDataFromXtalSymmetry(VXMolBase& mol) {
  VXSymmetry symmetry;
  if (!VXGetXtalSymmetry(mol, symmetry)) return false;
  float six[6];
  std::string name, z_text;
  unsigned int z;
  VXExtractCRYST1(mol, six, name, z);  // for its Z alone
  VXNumberToString(static_cast<long>(z), z_text);

  const VXUnitCell& cell = symmetry.cell();
  std::string text = fixed(cell.a, 3, 9) + fixed(cell.b, 3, 9) + fixed(cell.c, 3, 9);
  text += fixed(cell.alpha, 2, 7) + fixed(cell.beta, 2, 7) + fixed(cell.gamma, 2, 7) + " ";
  name = symmetry.GetName();
  name.resize(kNameWritten, ' ');
  VXSetPDBData(mol, "CRYST1", text + name + right_aligned(z_text, kZWidth));
  return true;
}

bool VXXtalSymmetry::GetSymmetry(const VXMolBase& mol, VXSymmetry& symmetry) {
  return VXGetXtalSymmetry(mol, symmetry);
}

bool VXXtalSymmetry::SetSymmetry(VXMolBase& mol, const VXSymmetry& symmetry, bool store_center) {
  if (!symmetry) return false;
  if (!VXSetXtalSymmetry(mol, symmetry)) return false;
  Point center;
  if (store_center && GetCenterOfMass(mol, center.data())) mol.SetData(VXSymmComTag(), center);
  return true;
}

unsigned int VXXtalSymmetry::NumOps(const VXMolBase& mol) {
  VXSymmetry symmetry;
  return VXGetXtalSymmetry(mol, symmetry) ? symmetry.GetOpCount() : 0;
}

bool VXXtalSymmetry::GetOpEnabled(const VXMolBase& mol, unsigned int op) {
  VXSymmetry symmetry;
  std::vector<bool> enabled;
  if (VXGetXtalSymmetry(mol, symmetry)) symmetry.GetEnabled(enabled);
  return op < enabled.size() && enabled[op];
}

bool VXXtalSymmetry::SetOpEnabled(VXMolBase& mol, unsigned int op, bool enable) {
  VXSymmetry symmetry;
  if (!VXGetXtalSymmetry(mol, symmetry) || op >= symmetry.GetOpCount()) return false;
  std::vector<bool> enabled;
  symmetry.GetEnabled(enabled);
  enabled[op] = enable;
  symmetry.SetEnabled(enabled);
  return VXSetXtalSymmetry(mol, symmetry);
}

bool VXXtalSymmetry::GetCenterOfMass(const VXMolBase& mol, float* out) {
  if (mol.HasData(VXSymmComTag())) {
    const Point& stored = mol.GetData<Point>(VXSymmComTag());
    std::copy(stored.begin(), stored.end(), out);
    return true;
  }
  return mol && VXGetCenterOfMass(mol, out);
}

unsigned int VXXtalSymmetry::CenterOfMassTag() { return VXSymmComTag(); }

}  // namespace VXXtal

bool VXHasCrystalSymmetryImpl(const VXMolBase& mol) {
  if (VXXtal::VXHasXtalSymmetry(mol)) return true;
  float six[6];
  std::string name;
  unsigned int z;
  if (!VXXtal::VXExtractCRYST1(mol, six, name, z)) return false;
  constexpr float kDummyCell[6] = {1, 1, 1, 90, 90, 90};  // of PDB entries that are no crystals
  return !std::equal(six, six + 6, kDummyCell);
}

bool VXFindCrystalImages(VXMolBase& mol, float radius, float* center, VXXtal::VXXtalSymmetry& images) {
  if (!VXHasCrystalSymmetryImpl(mol) || !VXXtal::VXSetXtalSymmetryFromPDBData(mol)) return false;
  float middle[3] = {}, extents[3];
  if (!center) {
    VXGetCenterAndExtents(mol, middle, extents);
    center = middle;
  }
  images = VXXtal::VXXtalSymmetry(mol, center, radius);
  return images.NumOps() > 0;
}

bool VXExpandCrystalSymmetryImpl(VXMolBase& mol, float radius, float* center) {
  VXXtal::VXXtalSymmetry images;
  return VXFindCrystalImages(mol, radius, center, images) && images.Realize(mol, false, ~0u) != nullptr;
}

}  // namespace VXCore
