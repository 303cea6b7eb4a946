#include "molecules.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/pdb_data.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/host/residue.h>

#include "arrays.h"
#include "attributes.h"
#include "bindings.h"
#include "call.h"
#include "grids.h"
#include "records.h"

using namespace VXCore;

namespace {

constexpr unsigned int kElements = 118;
constexpr std::size_t kLongestName = 15;  // of residues and chains

py::value_error wanted(const char* name, const std::string& what, const py::handle& came) {
  return py::value_error(std::string(name) + ": " + what + " wanted, " + shown(came) + " came");
}

VXIter<VXAtomBase> atoms_of(const VXGraphMol& mol) { return mol.GetAtoms(); }

// --- arrays of one value an atom ---

template <class T, class Get>
py::array per_atom(const VXGraphMol& mol, const Get& get) {
  return read_only(array_of(compute([&] {
    std::vector<T> values;
    values.reserve(mol.NumAtoms());
    for (const VXAtomBase& atom : atoms_of(mol)) values.push_back(static_cast<T>(get(atom)));
    return values;
  })));
}

template <class Get>
py::array text_per_atom(const VXGraphMol& mol, const Get& get) {
  std::vector<char32_t> letters;  // as NumPy holds them, `width` a text
  std::size_t width = 1;
  const bool is_ascii = compute([&] {
    for (const VXAtomBase& atom : atoms_of(mol)) width = std::max(width, std::string_view(get(atom)).size());
    letters.resize(width * mol.NumAtoms());
    auto to = letters.begin();
    for (const VXAtomBase& atom : atoms_of(mol)) {
      const auto& held = get(atom);
      const std::string_view text = held;
      if (std::any_of(text.begin(), text.end(), [](char c) { return c < 0; })) return false;
      std::copy(text.begin(), text.end(), to);
      to += static_cast<std::ptrdiff_t>(width);
    }
    return true;
  });
  if (is_ascii)
    return read_only(py::array(py::dtype("U" + std::to_string(width)),
                               {static_cast<py::ssize_t>(mol.NumAtoms())}, letters.data()));
  py::list texts;
  for (const VXAtomBase& atom : atoms_of(mol)) texts.append(text_of(get(atom)));
  return read_only(py::module_::import("numpy").attr("array")(texts, "U"));
}

template <class Array>
Array finite_for(const py::handle& object, const char* name, py::ssize_t n, bool negative_too) {
  Array values = numbers_for<Array>(object, name, n);
  for (py::ssize_t i = 0; i < n; ++i)
    if (!std::isfinite(values.at(i)) || (!negative_too && values.at(i) < 0))
      throw py::value_error(std::string(name) + ": finite numbers " + (negative_too ? "" : "of 0 or more ") +
                            "were wanted, " + std::to_string(values.at(i)) + " came for atom " +
                            std::to_string(i));
  return values;
}

std::string short_text(const py::handle& text, const char* name, std::size_t longest) {
  std::string bytes = bytes_of(text, name);
  if (bytes.size() > longest)
    throw wanted(name, longest == 1 ? "one ASCII character or none is" : "at most 15 bytes of text are",
                 text);
  return bytes;
}

/// One text for each of n atoms: a sequence of n, or one for all.
std::vector<std::string> texts_for(const py::object& object, const char* name, py::ssize_t n,
                                   std::size_t longest = std::string::npos) {
  if (py::isinstance<py::array>(object) && py::reinterpret_borrow<py::array>(object).ndim() == 0)
    return texts_for(object.attr("item")(), name, n, longest);
  if (PyUnicode_Check(object.ptr()))
    return std::vector<std::string>(static_cast<std::size_t>(n), short_text(object, name, longest));
  if (!PySequence_Check(object.ptr()))
    throw py::type_error(std::string(name) + ": str or a sequence of str was wanted, " +
                         Py_TYPE(object.ptr())->tp_name + " came");
  std::vector<std::string> texts;
  for (const py::handle& text : object) texts.push_back(short_text(text, name, longest));
  if (texts.size() != static_cast<std::size_t>(n))
    throw py::value_error(std::string(name) + ": one for each of " + std::to_string(n) +
                          " atoms was wanted, " + std::to_string(texts.size()) + " came");
  return texts;
}

/// Atomic numbers out of numbers or symbols.
std::vector<unsigned int> elements_of(const py::object& object, py::ssize_t n) {
  constexpr char kName[] = "elements";
  std::vector<unsigned int> elements;
  const py::array any = py::array::ensure(object);
  if (!any) PyErr_Clear();
  // Tables hold text as objects.
  const auto is_text = [](const py::array& a) {
    return PyUnicode_Check(py::object(a.attr("flat")[py::int_(0)]).ptr());
  };
  if (any && any.size() > 0 && is_text(any)) {
    for (const std::string& symbol : texts_for(object, kName, n)) {
      elements.push_back(VXGetAtomicNum(symbol));
      if (elements.back() == 0 && symbol != VXGetAtomicSymbol(0))
        throw wanted(kName, "symbols of elements, or X for what is none, were", text_of(symbol));
    }
    return elements;
  }
  const Ints numbers_given = numbers_for<Ints>(object, kName, n);
  for (py::ssize_t i = 0; i < n; ++i) {
    const int number = numbers_given.at(i);
    if (number < 0 || number > static_cast<int>(kElements))
      throw py::value_error("elements: atomic numbers from 0 to 118 were wanted, " + std::to_string(number) +
                            " came");
    elements.push_back(static_cast<unsigned int>(number));
  }
  return elements;
}

// --- residue data ---

/// Applies a change to the residue data of each atom. Atoms that had none get them, with occupancy 1.
template <class Change>
void change_residues(VXGraphMol& mol, const Change& change) {
  compute([&] {
    for (VXAtomBase& atom : atoms_of(mol)) {
      VXResidue residue = VXAtomGetResidue(&atom);
      if (!VXHasResidue(&atom)) residue.SetOccupancy(1);
      change(residue, static_cast<py::ssize_t>(atom.GetIdx()));
      VXAtomSetResidue(&atom, residue);
    }
  });
}

std::string char_text(char c) { return c == ' ' ? std::string() : std::string(1, c); }
char char_of(const std::string& text) { return text.empty() ? ' ' : text[0]; }

/// A field of the residue data: how it is called, how it becomes an array, and how it is set.
struct ResidueField {
  const char* name;
  const char* doc;
  py::array (*get)(const VXGraphMol& mol);
  void (*set)(VXGraphMol& mol, const py::object& values, const char* name);
};

template <auto Get, auto Set>
void set_text(VXGraphMol& mol, const py::object& values, const char* name) {
  const auto texts = texts_for(values, name, mol.NumAtoms(), kLongestName);
  change_residues(mol, [&](VXResidue& r, py::ssize_t i) { (r.*Set)(texts[static_cast<std::size_t>(i)]); });
}
template <auto Get, auto Set>
constexpr ResidueField text_field(const char* name, const char* doc) {
  return {name, doc,
          [](const VXGraphMol& mol) {
            return text_per_atom(mol, [](const VXAtomBase& a) { return (VXAtomGetResidue(&a).*Get)(); });
          },
          set_text<Get, Set>};
}

template <auto Get, auto Set>
constexpr ResidueField char_field(const char* name, const char* doc) {
  return {name, doc,
          [](const VXGraphMol& mol) {
            return text_per_atom(
                mol, [](const VXAtomBase& a) { return char_text((VXAtomGetResidue(&a).*Get)()); });
          },
          [](VXGraphMol& mol, const py::object& values, const char* field) {
            const auto texts = texts_for(values, field, mol.NumAtoms(), 1);
            change_residues(mol, [&](VXResidue& r, py::ssize_t i) {
              (r.*Set)(char_of(texts[static_cast<std::size_t>(i)]));
            });
          }};
}

template <auto Get, auto Set>
constexpr ResidueField int_field(const char* name, const char* doc) {
  return {name, doc,
          [](const VXGraphMol& mol) {
            return per_atom<int>(mol, [](const VXAtomBase& a) { return (VXAtomGetResidue(&a).*Get)(); });
          },
          [](VXGraphMol& mol, const py::object& values, const char* field) {
            const Ints given = numbers_for<Ints>(values, field, mol.NumAtoms());
            change_residues(mol, [&](VXResidue& r, py::ssize_t i) { (r.*Set)(given.at(i)); });
          }};
}

template <auto Get, auto Set>
constexpr ResidueField float_field(const char* name, const char* doc) {
  return {name, doc,
          [](const VXGraphMol& mol) {
            return per_atom<float>(mol, [](const VXAtomBase& a) { return (VXAtomGetResidue(&a).*Get)(); });
          },
          [](VXGraphMol& mol, const py::object& values, const char* field) {
            const Floats given = finite_for<Floats>(values, field, mol.NumAtoms(), true);
            change_residues(mol, [&](VXResidue& r, py::ssize_t i) { (r.*Set)(given.at(i)); });
          }};
}

using R = VXResidue;
// Those that the constructor takes come first, in its order.
constexpr ResidueField kResidueFields[] = {
    text_field<&R::GetName, &R::SetName>("residue_names", "Names of the atoms' residues, str of shape (n,)."),
    int_field<&R::GetNumber, &R::SetNumber>("residue_numbers",
                                            "Numbers of the atoms' residues, int32 of shape (n,)."),
    text_field<&R::GetChainId, &R::SetChainId>("chain_ids", "Chains of the atoms, str of shape (n,)."),
    char_field<&R::GetInsertCode, &R::SetInsertCode>(
        "insert_codes", "Insertion codes of the atoms' residues, one character or none: str of shape (n,)."),
    float_field<&R::GetBFactor, &R::SetBFactor>("b_factors",
                                                "Isotropic B factors in Å², float32 of shape (n,)."),
    float_field<&R::GetOccupancy, &R::SetOccupancy>("occupancies", "Occupancies, float32 of shape (n,)."),
    char_field<&R::GetAlternateLocation, &R::SetAlternateLocation>(
        "alternate_locations", "Letters of alternate conformations, or none: str of shape (n,)."),
    int_field<&R::GetSerialNumber, &R::SetSerialNumber>(
        "serial_numbers", "Numbers of the atoms in their file, int32 of shape (n,)."),
    int_field<&R::GetImage, &R::SetImage>(
        "image_numbers",
        "The symmetry image from which each atom came, from 1, int32 of shape (n,); 0 for the molecule's "
        "own atoms."),
};

struct SameResidue {
  bool operator()(const R& a, const R& b) const { return VXSameResidue(a, b); }
};
struct HashResidue {
  std::size_t operator()(const R& r) const { return r.Hash(); }
};

py::list residues(const VXGraphMol& mol) {
  const py::object row = py::module_::import("vxgrid._rows").attr("Residue");
  py::list rows;
  for (const R& r : VXGetResidues(mol))
    rows.append(row(text_of(r.GetChainId()), r.GetNumber(), text_of(char_text(r.GetInsertCode())),
                    text_of(r.GetName())));
  return rows;
}

py::array residue_indices(const VXGraphMol& mol) {
  std::unordered_map<R, int, HashResidue, SameResidue> index;
  return per_atom<int>(mol, [&](const VXAtomBase& atom) {
    if (!VXHasResidue(&atom)) return -1;
    return index.try_emplace(VXAtomGetResidue(&atom), static_cast<int>(index.size())).first->second;
  });
}

// --- bonds ---

py::array bonds(const VXGraphMol& mol) {
  std::vector<int> rows;
  compute([&] {
    rows.reserve(std::size_t{3} * mol.NumBonds());
    for (const VXBondBase& bond : VXIter<VXBondBase>(mol.GetBonds()))
      for (const unsigned int n : {bond.GetBgn()->GetIdx(), bond.GetEnd()->GetIdx(), bond.GetOrder()})
        rows.push_back(static_cast<int>(n));
  });
  return read_only(array_of(std::move(rows), {static_cast<py::ssize_t>(mol.NumBonds()), 3}));
}

void add_bonds(VXGraphMol& mol, const py::object& object) {
  const Ints rows = numbers<Ints>(object, "bonds");
  if (rows.size() == 0) return;
  if (rows.ndim() != 2 || (rows.shape(1) != 2 && rows.shape(1) != 3))
    throw py::value_error("bonds: an array of shape (m, 2), or (m, 3) with orders, was wanted, one of " +
                          std::string(py::str(rows.attr("shape"))) + " came");
  std::vector<VXAtomBase*> atoms;
  for (VXAtomBase& atom : atoms_of(mol)) atoms.push_back(&atom);
  const auto n = static_cast<int>(atoms.size());
  const py::gil_scoped_release release;
  for (py::ssize_t i = 0; i < rows.shape(0); ++i) {
    const int begin = rows.at(i, 0), end = rows.at(i, 1), order = rows.shape(1) == 3 ? rows.at(i, 2) : 1;
    if (begin < 0 || end < 0 || begin >= n || end >= n || begin == end || order < 0)
      throw py::value_error("bonds: row " + std::to_string(i) + " is (" + std::to_string(begin) + ", " +
                            std::to_string(end) + ", " + std::to_string(order) +
                            "); two different atoms from 0 to " + std::to_string(n - 1) +
                            " and an order of 0 or more were wanted");
    mol.AddBond(atoms[static_cast<std::size_t>(begin)], atoms[static_cast<std::size_t>(end)],
                static_cast<unsigned int>(order));
  }
}

// --- the molecule ---

/// change(atom) for all, with the GIL released.
template <class Change>
void change_atoms(VXGraphMol& mol, const Change& change) {
  compute([&] {
    for (VXAtomBase& atom : atoms_of(mol)) change(atom);
  });
}

void set_radii(VXGraphMol& mol, const py::object& values) {
  const Doubles radii = finite_for<Doubles>(values, "radii", mol.NumAtoms(), false);
  change_atoms(mol, [&](VXAtomBase& atom) { atom.SetRadius(radii.at(atom.GetIdx())); });
}

void set_atom_names(VXGraphMol& mol, const py::object& values) {
  const std::vector<std::string> names = texts_for(values, "atom_names", mol.NumAtoms());
  change_atoms(mol, [&](VXAtomBase& atom) { atom.SetName(names[atom.GetIdx()]); });
}

void set_formal_charges(VXGraphMol& mol, const py::object& values) {
  const Ints charges = numbers_for<Ints>(values, "formal_charges", mol.NumAtoms());
  change_atoms(mol, [&](VXAtomBase& atom) { atom.SetFormalCharge(charges.at(atom.GetIdx())); });
}

void set_elements(VXGraphMol& mol, const py::object& values) {
  const std::vector<unsigned int> elements = elements_of(values, mol.NumAtoms());
  change_atoms(mol, [&](VXAtomBase& atom) { atom.SetAtomicNum(elements[atom.GetIdx()]); });
}

py::array_t<float> coordinates(const py::object& self) {
  auto& mol = self.cast<VXGraphMol&>();
  return view_of(mol.GetCoordsBlock(), {static_cast<py::ssize_t>(mol.NumAtoms()), 3}, self);
}

MoleculePtr new_molecule(const py::object& coordinates, const py::object& elements, const py::object& bonds,
                         const py::object& atom_names, const py::object& formal_charges,
                         const py::object& radii, const py::object& residue_names,
                         const py::object& residue_numbers, const py::object& chain_ids,
                         const py::object& insert_codes, const py::object& b_factors,
                         const py::object& occupancies, const py::object& alternate_locations,
                         const py::object& serial_numbers, const py::object& title) {
  const Floats xyz = finite_points(coordinates, "coordinates");
  auto mol = std::make_shared<VXGraphMol>();
  compute([&, all = elements_of(elements, xyz.shape(0)), from = xyz.data()] {
    for (const unsigned int element : all) mol->AddAtom(element);
    mol->SetCoords(from);
  });
  mol->SetTitle(bytes_of(title, "title"));
  if (!bonds.is_none()) add_bonds(*mol, bonds);
  if (!atom_names.is_none()) set_atom_names(*mol, atom_names);
  if (!formal_charges.is_none()) set_formal_charges(*mol, formal_charges);
  if (!radii.is_none()) set_radii(*mol, radii);
  const py::object* const residue_data[] = {&residue_names,       &residue_numbers, &chain_ids,
                                            &insert_codes,        &b_factors,       &occupancies,
                                            &alternate_locations, &serial_numbers};
  for (std::size_t i = 0; i < std::size(residue_data); ++i)
    if (!residue_data[i]->is_none()) kResidueFields[i].set(*mol, *residue_data[i], kResidueFields[i].name);
  return mol;
}

std::string repr(const VXGraphMol& mol) {
  const auto counted = [](std::size_t n, const char* what) {
    return ", " + std::to_string(n) + " " + what + (n == 1 ? "" : "s");
  };
  std::size_t residues = 0;
  compute([&] {
    for (VXIter<VXResidue> residue = VXGetResidues(mol); residue; ++residue) ++residues;
  });
  return "Molecule(" + std::string(py::repr(text_of(mol.GetTitle()))) + counted(mol.NumAtoms(), "atom") +
         counted(mol.NumBonds(), "bond") + (residues ? counted(residues, "residue") : "") + ")";
}

void set_pdb_records(VXGraphMol& mol, const py::iterable& pairs) {
  std::vector<VXPDBDataPair> records;
  for (const py::handle& item : pairs) {
    if (!py::isinstance<py::sequence>(item) || py::len(item) != 2 || py::isinstance<py::str>(item))
      throw wanted("pdb_records", "pairs (tag, value) are", item);
    const auto pair = py::reinterpret_borrow<py::sequence>(item);
    records.push_back(
        {bytes_of(py::object(pair[0]), "pdb_records"), bytes_of(py::object(pair[1]), "pdb_records")});
  }
  while (!VXGetPDBDataPairs(mol).empty()) VXDeletePDBData(mol, VXGetPDBDataPairs(mol)[0].tag);
  for (const VXPDBDataPair& record : records) VXAddPDBData(mol, record.tag, record.value);
}

MoleculePtr copy(const VXGraphMol& mol) {
  return compute([&] { return std::make_shared<VXGraphMol>(mol); });
}

/// One flag for each of n atoms, out of flags or of indices.
std::vector<char> selection(const py::object& atoms, py::ssize_t n) {
  std::vector<char> chosen(static_cast<std::size_t>(n));
  const py::array any = py::array::ensure(atoms);
  if (!any) PyErr_Clear();
  if (any && any.dtype().kind() == 'b') {
    const Ints flags = numbers<Ints>(any, "atoms", {n});
    std::transform(flags.data(), flags.data() + n, chosen.begin(), [](int flag) { return flag != 0; });
    return chosen;
  }
  const Ints indices = numbers<Ints>(atoms, "atoms", {-1});
  for (py::ssize_t i = 0; i < indices.size(); ++i) {
    const py::ssize_t at = indices.at(i) < 0 ? indices.at(i) + n : indices.at(i);
    if (at < 0 || at >= n)
      throw py::index_error("atoms: " + std::to_string(indices.at(i)) + " came for a molecule of " +
                            std::to_string(n) + " atoms");
    chosen[static_cast<std::size_t>(at)] = 1;
  }
  return chosen;
}

MoleculePtr subset(const VXGraphMol& mol, const py::object& atoms) {
  const std::vector<char> chosen = selection(atoms, mol.NumAtoms());
  return compute([&] {
    auto part = std::make_shared<VXGraphMol>();
    VXSubsetMol(*part, mol, [&](const VXAtomBase& atom) { return chosen[atom.GetIdx()] != 0; });
    return part;
  });
}

MoleculePtr without_hydrogens(const VXGraphMol& mol) {
  return compute([&] {
    auto heavy = std::make_shared<VXGraphMol>(mol);
    VXSuppressHydrogens(*heavy);
    heavy->Sweep();
    return heavy;
  });
}

MoleculePtr joined(const VXGraphMol& mol, const VXGraphMol& other) {
  return compute([&] {
    auto both = std::make_shared<VXGraphMol>(mol);
    *both += other;
    return both;
  });
}

void assign_radii(VXGraphMol& mol, const std::string& kind) {
  if (kind != "bondi" && kind != "gaussian")
    throw wanted("kind", "\"bondi\" or \"gaussian\" was", py::str(kind));
  compute([&] {
    if (kind == "bondi")
      VXAssignBondiVdWRadii(mol);
    else
      AssignZemoMolRadii(mol);
  });
}

py::value_error no_places(const char* what) {
  return py::value_error(std::string(what) + ": the molecule has no atoms with coordinates");
}

/// Three numbers (x, y, z) about a molecule.
template <class Get>
py::tuple three(const char* what, const Get& get) {
  float xyz[3];
  if (!compute([&] { return get(xyz); })) throw no_places(what);
  return py::make_tuple(xyz[0], xyz[1], xyz[2]);
}

void rotate(VXGraphMol& mol, const py::object& matrix) {
  const Doubles rows = numbers<Doubles>(matrix, "matrix", {3, 3});
  compute([&, matrix_rows = rows.data()] { VXRotate(mol, matrix_rows); });
}

void translate(VXGraphMol& mol, const py::object& vector) {
  compute([&, xyz = xyz_of(vector, "vector")] { VXTranslate(mol, xyz.data()); });
}

MoleculePtr from_record(const py::bytes& bytes) {
  auto mol = std::make_shared<VXGraphMol>();
  from_bytes(bytes, *mol);
  return mol;
}

unsigned int element(int number) {
  if (number >= 0 && number <= static_cast<int>(kElements)) return static_cast<unsigned int>(number);
  throw py::value_error("number: an atomic number from 0 to 118 was wanted, " + std::to_string(number) +
                        " came");
}

void bind_elements(py::module_& module) {
  module.def(
      "atomic_number",
      [](const std::string& symbol) {
        const unsigned int number = VXGetAtomicNum(symbol);
        if (number == 0)
          throw py::value_error("symbol: that of an element was wanted, " + shown(text_of(symbol)) + " came");
        return number;
      },
      py::arg("symbol"), "The atomic number of an element's symbol in any letter case; 1 for D too.");
  module.def(
      "atomic_symbol", [](int number) { return VXGetAtomicSymbol(element(number)); }, py::arg("number"),
      "The symbol of an element; X for 0, which stands for what is no element.");
  module.def(
      "atomic_weight", [](int number) { return VXGetAtomicWeight(element(number)); }, py::arg("number"),
      "The standard atomic weight in unified atomic mass units; the mass number of a long-lived isotope "
      "where there is none.");
  module.def(
      "bondi_radius", [](int number) { return VXGetBondiVdWRadius(element(number)); }, py::arg("number"),
      "The van der Waals radius in Å after Bondi; 2 where none was published, 0 for what is no element.");
}

}  // namespace

void bind_molecules(py::module_& module) {
  const py::none none;
  py::class_<VXGraphMol, MoleculePtr> type(
      module, "Molecule",
      "Atoms with coordinates, bonds, and what a coordinate file says of them.\n\nArrays of one value an "
      "atom "
      "are in the order of the atoms. `coordinates` looks at the molecule's own memory; the other\narrays "
      "are "
      "copies that cannot be written to: give the molecule a new array, or one value for all atoms, to "
      "change "
      "it.\nThe atoms of a molecule are fixed; what has others is a new molecule.");
  type.def(
          py::init(&new_molecule), py::arg("coordinates"), py::arg("elements"), py::kw_only(),
          py::arg("bonds") = none, py::arg("atom_names") = none, py::arg("formal_charges") = none,
          py::arg("radii") = none, py::arg("residue_names") = none, py::arg("residue_numbers") = none,
          py::arg("chain_ids") = none, py::arg("insert_codes") = none, py::arg("b_factors") = none,
          py::arg("occupancies") = none, py::arg("alternate_locations") = none,
          py::arg("serial_numbers") = none, py::arg("title") = "",
          "A molecule out of arrays.\n\ncoordinates is of shape (n, 3), in Å. elements are atomic numbers (0 "
          "for what is no element) or symbols; bonds an\narray of shape (m, 2) of atom indices, or (m, 3) "
          "with "
          "orders. The rest has a value for each atom, or one for all.\nWith any residue data the "
          "occupancies "
          "that are not given are 1.")
      .def("__len__", &VXGraphMol::NumAtoms)
      .def("__repr__", &repr)
      .def_property(
          "title", [](const VXGraphMol& mol) { return text_of(mol.GetTitle()); },
          [](VXGraphMol& mol, const py::object& title) { mol.SetTitle(bytes_of(title, "title")); },
          "What the file calls the molecule.")
      .def_property(
          "coordinates", &coordinates,
          [](const py::object& self, const py::object& values) {
            const py::array_t<float> all = coordinates(self);
            all[py::ellipsis()] =
                numbers<Floats>(finite_points(values, "coordinates"), "coordinates", {all.shape(0), 3});
          },
          "x, y, z of the atoms in Å, a float32 array of shape (n, 3) that looks at the molecule's own "
          "memory: "
          "to write to\nit is to move atoms.")
      .def_property(
          "atomic_numbers",
          [](const VXGraphMol& mol) {
            return per_atom<int>(mol, [](const VXAtomBase& atom) { return atom.GetAtomicNum(); });
          },
          &set_elements,
          "Atomic numbers, int32 of shape (n,); 0 for what is no element. May be set to symbols.")
      .def_property_readonly(
          "symbols",
          [](const VXGraphMol& mol) {
            return text_per_atom(mol,
                                 [](const VXAtomBase& a) { return VXGetAtomicSymbol(a.GetAtomicNum()); });
          },
          "Symbols of the elements, str of shape (n,); X for what is none.")
      .def_property_readonly(
          "weights",
          [](const VXGraphMol& mol) {
            return per_atom<double>(mol,
                                    [](const VXAtomBase& a) { return VXGetAtomicWeight(a.GetAtomicNum()); });
          },
          "Standard atomic weights in unified atomic mass units, float64 of shape (n,).")
      .def_property(
          "atom_names",
          [](const VXGraphMol& mol) {
            return text_per_atom(mol, [](const VXAtomBase& a) -> const std::string& { return a.GetName(); });
          },
          &set_atom_names,
          "Names of the atoms (\"CA\"), as PDB, mmCIF and MOL2 files give them: str of shape (n,), empty "
          "until set.")
      .def_property(
          "formal_charges",
          [](const VXGraphMol& mol) {
            return per_atom<int>(mol, [](const VXAtomBase& atom) { return atom.GetFormalCharge(); });
          },
          &set_formal_charges, "Formal charges, int32 of shape (n,).")
      .def_property(
          "radii",
          [](const VXGraphMol& mol) {
            return per_atom<double>(mol, [](const VXAtomBase& atom) { return atom.GetRadius(); });
          },
          &set_radii, "Radii in Å, float64 of shape (n,); 0 until set.")
      .def_property_readonly("bonds", &bonds,
                             "Indices of the two atoms and the order of each bond, int32 of shape (m, 3).");
  for (const ResidueField& field : kResidueFields)
    type.def_property(field.name, field.get,
                      py::cpp_function([&field](VXGraphMol& mol, const py::object& values) {
                        field.set(mol, values, field.name);
                      }),
                      field.doc);
  type.def_property_readonly(
          "has_residues", [](const VXGraphMol& mol) { return VXHasResidues(mol); },
          "Whether the atoms have residue data, as those of PDB and mmCIF files do; "
          "setting one kind gives all.")
      .def_property_readonly(
          "residues", &residues,
          "The different residues in the order of their first atoms, a list of rows (chain, "
          "number,\ninsert_code, name).")
      .def_property_readonly(
          "residue_indices", &residue_indices,
          "Where each atom's residue stands in `residues`, int32 of shape (n,); -1 without residue data.")
      .def_property(
          "pdb_records",
          [](const VXGraphMol& mol) {
            py::list records;
            for (const VXPDBDataPair& record : VXGetPDBDataPairs(mol))
              records.append(py::make_tuple(text_of(record.tag), text_of(record.value)));
            return py::tuple(records);
          },
          &set_pdb_records,
          "Records of a PDB file about the molecule as a whole: pairs of a name (\"CRYST1\", \"REMARK\") and "
          "the "
          "line\nbehind its first six characters.")
      .def_property_readonly(
          "attributes",
          [](const py::object& self) {
            return Attributes{&self.cast<VXGraphMol&>(), self};
          },
          "What the molecule carries beside its atoms, as a mapping.")
      .def("copy", &copy, "A molecule of its own with the same content.")
      .def("__copy__", &copy)
      .def("__deepcopy__", [](const VXGraphMol& mol, const py::object&) { return copy(mol); })
      .def("subset", &subset, py::arg("atoms"),
           "A molecule of some of the atoms, in their order, with the bonds between them: atoms is an array "
           "of flags or of\nindices. The title comes along; attributes, symmetry and PDB records do not.")
      .def("without_hydrogens", &without_hydrogens, "A molecule without the hydrogens of this one.")
      .def("__add__", &joined, py::is_operator(),
           "A molecule with the atoms and bonds of both; all else is that of the first.")
      .def("assign_radii", &assign_radii, py::arg("kind") = "bondi",
           "Gives each atom the radius of its element: \"bondi\", van der Waals radii after Bondi, or "
           "\"gaussian\", for Gaussian\nvolumes.")
      .def_property_readonly(
          "center",
          [](const VXGraphMol& mol) {
            float extents[3];
            return three("center", [&](float* xyz) { return VXGetCenterAndExtents(mol, xyz, extents); });
          },
          "The middle of the box around the atoms' places, (x, y, z) in Å.")
      .def_property_readonly(
          "extents",
          [](const VXGraphMol& mol) {
            float center[3], edges[3];
            if (!compute([&] { return VXGetCenterAndExtents(mol, center, edges); }))
              throw no_places("extents");
            const auto corner = [&](double side) {
              return py::make_tuple(center[0] + side * edges[0], center[1] + side * edges[1],
                                    center[2] + side * edges[2]);
            };
            return py::make_tuple(corner(-0.5), corner(0.5));
          },
          "The box around the atoms' places: its lower and its upper corner, ((x, y, z), (x, y, z)) in Å.")
      .def(
          "center_of_mass",
          [](const VXGraphMol& mol, bool weighted) {
            return three("center_of_mass", [&](float* xyz) { return VXGetCenterOfMass(mol, xyz, weighted); });
          },
          py::kw_only(), py::arg("weighted") = true,
          "The mean of the atoms' places, by atomic weights or each atom alike: (x, y, z) in Å.")
      .def("rotate", &rotate, py::arg("matrix"), "Moves the atoms to matrix @ xyz, a matrix of shape (3, 3).")
      .def("translate", &translate, py::arg("vector"), "Moves the atoms by (x, y, z) in Å.")
      .def(
          "to_bytes", [](const VXGraphMol& mol) { return to_bytes(mol); },
          "The molecule with everything it carries as a native binary record, which is what a pickle holds.")
      .def_static("from_bytes", &from_record, py::arg("data"),
                  "The molecule of a native binary record; ValueError for bytes that are cut short or none.")
      .def(py::pickle([](const VXGraphMol& mol) { return to_bytes(mol); }, &from_record));
  bind_elements(module);
}
