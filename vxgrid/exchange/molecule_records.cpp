#include <vxgrid/exchange/molecule_records.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <vxgrid/host/pdb_data.h>
#include <vxgrid/host/residue.h>
#include <vxgrid/xtal/xtal_symmetry.h>

namespace VXCore {
namespace {

constexpr char kTag[] = "VXGraphMol";

// What a record holds beside atoms and bonds, as bits of its flags.
constexpr unsigned char kCoords = 1, kResidues = 2, kCell = 4, kReferencePoint = 8, kNames = 16;

// Bytes that an atom and a bond take at least: what a record must pay for the numbers that it claims.
constexpr unsigned long long kAtomBytes = 16, kBondBytes = 12;

/// A block of numbers, one for each item.
template <class T, class Items, class Get>
void write_block(vxostream& out, const Items& items, const Get& get) {
  std::vector<T> block;
  block.reserve(items.size());
  for (const auto* const item : items) block.push_back(static_cast<T>(get(*item)));
  out.write(reinterpret_cast<const char*>(block.data()), block.size() * sizeof(T));
}

template <class Values>
void write_numbers(vxostream& out, const Values& values) {
  for (const auto& value : values) VXBWriteData(out, value);
}

/// An attribute of that type, or null.
template <class T>
const T* find(const VXBase& object, unsigned int tag) {
  const VXBaseData* const data = object.GetBaseImpl() ? object.GetBaseImpl()->FindData(tag) : nullptr;
  return data && data->GetDataType() == VXGetDataType<T>() ? &static_cast<const VXBaseDataT<T>*>(data)->value
                                                           : nullptr;
}

/// The attributes of those items that have some: their number; for each its position and a record.
template <class Item>
bool write_attributes(vxostream& out, const std::vector<const Item*>& items,
                      const VXBinaryIOHandlerBase& handler) {
  std::uint32_t count = 0;
  vxgatherstream all;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (!items[i]->GetBaseImpl()) continue;
    vxgatherstream one;
    if (!VXBinaryWrite<VXBase>(one, *items[i], handler)) return false;
    if (one.size() == 0) continue;
    VXBWriteData(all, static_cast<std::uint32_t>(i));
    if (!one.write_to(all)) return false;
    ++count;
  }
  return VXBWriteData(out, count) && all.write_to(out);
}

void write_residues(vxostream& out, const std::vector<const VXAtomBase*>& atoms) {
  const auto block = [&](auto zero, const auto& get) {
    write_block<decltype(zero)>(out, atoms, [&](const VXAtomBase& a) { return get(VXAtomGetResidue(&a)); });
  };
  write_block<unsigned char>(out, atoms, [](const VXAtomBase& a) { return VXHasResidue(&a); });
  block(std::int32_t(), [](const VXResidue& r) { return r.GetNumber(); });
  block(std::int32_t(), [](const VXResidue& r) { return r.GetSerialNumber(); });
  block(std::int32_t(), [](const VXResidue& r) { return r.GetImage(); });
  block(float(), [](const VXResidue& r) { return r.GetBFactor(); });
  block(float(), [](const VXResidue& r) { return r.GetOccupancy(); });
  block(char(), [](const VXResidue& r) { return r.GetInsertCode(); });
  block(char(), [](const VXResidue& r) { return r.GetAlternateLocation(); });
  for (const VXAtomBase* const atom : atoms) {
    VXBWriteTag(out, VXAtomGetResidue(atom).GetName());
    VXBWriteTag(out, VXAtomGetResidue(atom).GetChainId());
  }
}

/// What is read, in the order of this machine; a read that fails leaves `status` at VXBFieldShort for good.
class Input {
 public:
  explicit Input(vxistream& in) : in_(in) {
    const int ints = in.getbyte(), floats = in.getbyte();
    if (floats < 0) {
      status = VXBEndOfStream;
      return;
    }
    swap_ints_ = VXBIntEndian(static_cast<unsigned char>(ints));
    swap_floats_ = VXBFloatEndian(static_cast<unsigned char>(floats));
  }

  template <class T>
  T number() {
    T value{};
    check(VXBReadData(in_, value, swaps<T>()));
    return value;
  }
  template <class T>
  std::vector<T> block(std::size_t n) {
    if (!check(in_.max_bytes_left() / sizeof(T) >= n)) return std::vector<T>(n);
    std::vector<T> values(n);
    auto* const bytes = reinterpret_cast<unsigned char*>(values.data());
    check(in_.read(bytes, n * sizeof(T)) == n * sizeof(T));
    if (swaps<T>()) ArraySwapBytes(bytes, n, sizeof(T));
    return values;
  }
  std::string text() {
    std::string text;
    check(VXBReadTag(in_, text));
    return text;
  }
  void attributes(VXBase& object, const VXBinaryIOHandlerBase& handler) {
    if (status == VXBDone) status = VXBinaryRead<VXBase>(in_, object, handler);
  }
  /// A number of items of that many bytes each, which must be there.
  std::uint32_t count(unsigned long long bytes_each) {
    const auto n = number<std::uint32_t>();
    return check(n <= in_.max_bytes_left() / bytes_each) ? n : 0;
  }
  bool check(bool holds) {
    if (!holds && status == VXBDone) status = VXBFieldShort;
    return status == VXBDone;
  }

  unsigned int status = VXBDone;

 private:
  template <class T>
  bool swaps() const {
    return sizeof(T) > 1 && (std::is_floating_point_v<T> ? swap_floats_ : swap_ints_);
  }

  vxistream& in_;
  bool swap_ints_ = false, swap_floats_ = false;
};

void read_residues(Input& in, const std::vector<VXAtomBase*>& atoms) {
  const std::size_t n = atoms.size();
  const auto has = in.block<unsigned char>(n);
  const auto numbers = in.block<std::int32_t>(n), serials = in.block<std::int32_t>(n),
             images = in.block<std::int32_t>(n);
  const auto b_factors = in.block<float>(n), occupancies = in.block<float>(n);
  const auto insert_codes = in.block<char>(n), locations = in.block<char>(n);
  for (std::size_t i = 0; i < n && in.status == VXBDone; ++i) {
    const std::string name = in.text(), chain = in.text();
    if (!has[i]) continue;
    VXResidue residue;
    residue.SetName(name);
    residue.SetChainId(chain);
    residue.SetNumber(numbers[i]);
    residue.SetSerialNumber(serials[i]);
    residue.SetImage(images[i]);
    residue.SetBFactor(b_factors[i]);
    residue.SetOccupancy(occupancies[i]);
    residue.SetInsertCode(insert_codes[i]);
    residue.SetAlternateLocation(locations[i]);
    VXAtomSetResidue(atoms[i], residue);
  }
}

std::vector<VXAtomBase*> read_atoms(Input& in, std::uint32_t n, int flags, VXGraphMol& mol) {
  const auto elements = in.block<std::uint32_t>(n);
  const auto charges = in.block<std::int32_t>(n);
  const auto radii = in.block<double>(n);
  std::vector<VXAtomBase*> atoms;
  for (std::size_t i = 0; i < n && in.status == VXBDone; ++i) {
    atoms.push_back(mol.AddAtom(elements[i]));
    atoms[i]->SetFormalCharge(charges[i]);
    atoms[i]->SetRadius(radii[i]);
  }
  if (in.status == VXBDone && flags & kCoords) {
    const auto coords = in.block<float>(std::size_t{3} * n);
    if (in.status == VXBDone) mol.SetCoords(coords.data());
  }
  if (in.status == VXBDone && flags & kResidues) read_residues(in, atoms);
  if (flags & kNames)
    for (std::size_t i = 0; i < n && in.status == VXBDone; ++i) atoms[i]->SetName(in.text());
  return atoms;
}

std::vector<VXBondBase*> read_bonds(Input& in, const std::vector<VXAtomBase*>& atoms, VXGraphMol& mol) {
  const std::uint32_t n = in.count(kBondBytes);
  const auto rows = in.block<std::uint32_t>(std::size_t{3} * n);
  std::vector<VXBondBase*> bonds;
  for (std::size_t i = 0; i < n && in.status == VXBDone; ++i) {
    const std::uint32_t begin = rows[3 * i], end = rows[3 * i + 1];
    if (in.check(begin < atoms.size() && end < atoms.size() && begin != end))
      bonds.push_back(mol.AddBond(atoms[begin], atoms[end], rows[3 * i + 2]));
  }
  return bonds;
}

template <class Item>
void read_attributes(Input& in, const std::vector<Item*>& items, const VXBinaryIOHandlerBase& handler) {
  const auto n = in.number<std::uint32_t>();
  for (std::uint32_t i = 0; i < n && in.status == VXBDone; ++i) {
    const auto at = in.number<std::uint32_t>();
    if (in.check(at < items.size())) in.attributes(*items[at], handler);
  }
}

template <std::size_t n>
void read_numbers(Input& in, bool there, unsigned int tag, VXBase& object) {
  if (!there) return;
  std::array<float, n> values;
  for (float& value : values) value = in.number<float>();
  object.SetData(tag, values);
}

}  // namespace

const char* VXMoleculeWriteFxn::GetTag() const { return kTag; }
VXMoleculeWriteFxn* VXMoleculeWriteFxn::CreateCopy() const { return new VXMoleculeWriteFxn; }

bool VXMoleculeWriteFxn::operator()(vxostream& out, const VXGraphMol& mol,
                                    const VXBinaryIOHandlerBase& handler) {
  std::vector<const VXAtomBase*> atoms;
  std::vector<std::uint32_t> position(mol.GetMaxAtomIdx());
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    position[atom.GetIdx()] = static_cast<std::uint32_t>(atoms.size());
    atoms.push_back(&atom);
  }
  std::vector<const VXBondBase*> bonds;
  for (const VXBondBase& bond : VXIter<VXBondBase>(mol.GetBonds())) bonds.push_back(&bond);
  std::vector<std::array<float, 3>> coords(mol.GetMaxAtomIdx());
  const bool has_coords = !coords.empty() && mol.GetCoords(coords[0].data());
  const bool has_residues = VXHasResidues(mol);
  const bool has_names = std::any_of(atoms.begin(), atoms.end(),
                                     [](const VXAtomBase* atom) { return !atom->GetName().empty(); });
  const auto* const cell = find<std::array<float, 6>>(mol, VXXtal::VXSymmCellTag());
  const auto* const point = find<std::array<float, 3>>(mol, VXXtal::VXSymmComTag());

  vxgatherstream data;
  VXBWriteData(data, VXBIntEndian());
  VXBWriteData(data, VXBFloatEndian());
  VXBWriteData(data, static_cast<unsigned char>((has_coords ? kCoords : 0) | (has_residues ? kResidues : 0) |
                                                (cell ? kCell : 0) | (point ? kReferencePoint : 0) |
                                                (has_names ? kNames : 0)));
  VXBWriteData(data, static_cast<std::uint32_t>(mol.GetDimension()));
  VXBWriteTag(data, mol.GetTitle());
  if (cell) write_numbers(data, *cell);
  if (point) write_numbers(data, *point);

  VXBWriteData(data, static_cast<std::uint32_t>(atoms.size()));
  write_block<std::uint32_t>(data, atoms, [](const VXAtomBase& atom) { return atom.GetAtomicNum(); });
  write_block<std::int32_t>(data, atoms, [](const VXAtomBase& atom) { return atom.GetFormalCharge(); });
  write_block<double>(data, atoms, [](const VXAtomBase& atom) { return atom.GetRadius(); });
  if (has_coords)
    for (const VXAtomBase* const atom : atoms) write_numbers(data, coords[atom->GetIdx()]);
  if (has_residues) write_residues(data, atoms);
  if (has_names)
    for (const VXAtomBase* const atom : atoms) VXBWriteTag(data, atom->GetName());

  VXBWriteData(data, static_cast<std::uint32_t>(bonds.size()));
  for (const VXBondBase* const bond : bonds) {
    VXBWriteData(data, position[bond->GetBgn()->GetIdx()]);
    VXBWriteData(data, position[bond->GetEnd()->GetIdx()]);
    VXBWriteData(data, static_cast<std::uint32_t>(bond->GetOrder()));
  }

  const std::vector<VXPDBDataPair>& records = VXGetPDBDataPairs(mol);
  VXBWriteData(data, static_cast<std::uint32_t>(records.size()));
  for (const VXPDBDataPair& record : records) {
    VXBWriteTag(data, record.tag);
    VXBWriteTag(data, record.value);
  }
  return write_attributes(data, atoms, handler) && write_attributes(data, bonds, handler) &&
         VXBinaryWrite<VXBase>(data, mol, handler) && VXBWriteRecord(out, GetTag(), data);
}

const char* VXMoleculeReadFxn::GetTag() const { return kTag; }
VXMoleculeReadFxn* VXMoleculeReadFxn::CreateCopy() const { return new VXMoleculeReadFxn; }

unsigned int VXMoleculeReadFxn::operator()(vxistream& from, VXGraphMol& mol, unsigned long length,
                                           const VXBinaryIOHandlerBase& handler) {
  vxsubstream data(from, length);
  if (!data.is_whole()) return VXBRecordShort;
  Input in(data);
  VXGraphMol read;
  const int flags = in.number<unsigned char>();
  read.SetDimension(in.number<std::uint32_t>());
  read.SetTitle(in.text());
  read_numbers<6>(in, flags & kCell, VXXtal::VXSymmCellTag(), read);
  read_numbers<3>(in, flags & kReferencePoint, VXXtal::VXSymmComTag(), read);
  const auto atoms = read_atoms(in, in.count(kAtomBytes), flags, read);
  const auto bonds = read_bonds(in, atoms, read);
  const auto records = in.number<std::uint32_t>();
  for (std::uint32_t i = 0; i < records && in.status == VXBDone; ++i) {
    const std::string tag = in.text();
    VXAddPDBData(read, tag, in.text());
  }
  read_attributes(in, atoms, handler);
  read_attributes(in, bonds, handler);
  while (in.status == VXBDone && data) in.attributes(read, handler);
  if (in.status == VXBDone) mol = read;
  return in.status;
}

bool VXInitMoleculeHandlers(VXBinaryIOHandlerBase& handler) {
  handler.AddWriteFxn(VXMoleculeWriteFxn());
  handler.AddReadFxn(VXMoleculeReadFxn());
  return true;
}

}  // namespace VXCore
