#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <random>

#include <vxgrid/host/conformers.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/pdb_data.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/host/residue.h>

using namespace VXCore;
using testing::ElementsAre;

namespace {

VXResidue residue(int number, const char* name = "ALA", const char* chain = "A", char insert = ' ') {
  VXResidue r;
  r.SetName(name);
  r.SetChainId(chain);
  r.SetNumber(number);
  r.SetInsertCode(insert);
  return r;
}

VXAtomBase* add(VXMolBase& mol, unsigned z, std::array<float, 3> xyz) {
  VXAtomBase* atom = mol.AddAtom(z);
  mol.SetCoords(atom, xyz.data());
  return atom;
}

std::vector<unsigned> numbers(VXIter<VXAtomBase> atoms) {
  std::vector<unsigned> z;
  for (const VXAtomBase& atom : atoms) z.push_back(atom.GetAtomicNum());
  return z;
}

/// What a molecule should hold, in the plainest form: an atom is an id, and everything is told from it.
struct Model {
  std::vector<int> ids;                    // by atom index, -1 in a gap
  std::vector<std::pair<int, int>> bonds;  // by position in ids, in the order in which they were made

  void erase(int at) {
    ids[at] = -1;
    const auto is_here = [at](auto bond) { return bond.first == at || bond.second == at; };
    bonds.erase(std::remove_if(bonds.begin(), bonds.end(), is_here), bonds.end());
    while (!ids.empty() && ids.back() < 0) ids.pop_back();
  }
  static bool any(int) { return true; }
  void append(const Model& other, bool (*chosen)(int id) = any) {
    std::map<int, int> place;
    for (std::size_t i = 0; i < other.ids.size(); ++i)
      if (other.ids[i] >= 0 && chosen(other.ids[i])) {
        place[static_cast<int>(i)] = static_cast<int>(ids.size());
        ids.push_back(other.ids[i]);
      }
    for (auto [b, e] : other.bonds)
      if (place.count(b) && place.count(e)) bonds.emplace_back(place[b], place[e]);
  }
};

void add_id(VXMolBase& mol, int id) {
  const auto x = static_cast<float>(id);
  VXAtomBase* atom = add(mol, id % 90, {x, x + 0.25f, -x});
  atom->SetRadius(id * 0.5);
  atom->SetFormalCharge(id % 7 - 3);
  atom->SetData<int>("id", id);
  if (id % 3) VXAtomSetResidue(atom, residue(id));
}

void expect_equal(const VXMolBase& mol, const Model& model) {
  std::vector<int> live, found;
  for (const int id : model.ids)
    if (id >= 0) live.push_back(id);
  ASSERT_EQ(mol.NumAtoms(), live.size());
  ASSERT_EQ(mol.GetMaxAtomIdx(), model.ids.size());
  ASSERT_EQ(mol.NumBonds(), model.bonds.size());
  EXPECT_EQ(static_cast<bool>(mol), !live.empty());
  std::vector<float> coords(3 * model.ids.size() + 1, -1.0f);
  EXPECT_EQ(mol.GetCoords(coords.data()), !live.empty());
  for (VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    const unsigned idx = atom.GetIdx();
    const int id = model.ids[idx];
    found.push_back(atom.GetData<int>("id"));
    EXPECT_EQ(atom.GetAtomicNum(), unsigned(id % 90));
    EXPECT_EQ(atom.GetRadius(), id * 0.5);
    EXPECT_EQ(atom.GetFormalCharge(), id % 7 - 3);
    EXPECT_EQ(VXHasResidue(&atom), id % 3 != 0);
    EXPECT_EQ(VXAtomGetResidue(&atom).GetNumber(), id % 3 ? id : 0);
    EXPECT_EQ(coords[3 * idx + 1], static_cast<float>(id) + 0.25f);
    std::vector<unsigned> bonded, expected;
    for (const VXAtomBase& other : VXIter<VXAtomBase>(atom.GetAtoms())) bonded.push_back(other.GetIdx());
    for (auto [b, e] : model.bonds)
      if (unsigned(b) == idx || unsigned(e) == idx) expected.push_back(unsigned(b) == idx ? e : b);
    EXPECT_EQ(bonded, expected);
  }
  EXPECT_EQ(found, live);
}

}  // namespace

// Thousands of random steps, against a model that is too plain to be wrong.
TEST(Molecule, KeepsItsBooksThroughAnySteps) {
  std::mt19937 random(20250101);
  const auto pick = [&random](std::size_t n) { return static_cast<int>(random() % n); };
  VXGraphMol mol;
  Model model;
  for (int step = 0, id = 0; step < 3000 && !HasFatalFailure(); ++step) {
    const int action = pick(100);
    const int at = model.ids.empty() ? -1 : pick(model.ids.size());
    const auto atom_at = [&mol](int idx) {
      return &*VXIter<VXAtomBase>(
          mol.GetAtoms([idx](const VXAtomBase& a) { return int(a.GetIdx()) == idx; }));
    };
    if (action < 40) {
      add_id(mol, id);
      model.ids.push_back(id++);
    } else if (action < 65 && at >= 0) {
      const int to = pick(model.ids.size());
      if (to == at || model.ids[at] < 0 || model.ids[to] < 0) continue;
      ASSERT_NE(mol.AddBond(atom_at(at), atom_at(to)), nullptr);
      model.bonds.emplace_back(at, to);
    } else if (action < 90 && at >= 0 && model.ids[at] >= 0) {
      EXPECT_TRUE(mol.DeleteAtom(atom_at(at)));
      model.erase(at);
    } else if (action == 91) {
      Model swept;
      swept.append(model);
      model = swept;
      mol.Sweep();
    } else if (action == 92 && model.ids.size() < 60) {
      model.append(Model(model));
      if (step % 2)
        mol += mol;
      else
        mol += VXMCMol(mol);
    } else if (action == 93) {
      VXSubsetMol(mol, mol, [](const VXAtomBase& a) { return a.GetData<int>("id") % 4 != 1; });
      Model subset;
      subset.append(model, [](int i) { return i % 4 != 1; });
      model = subset;
    } else if (action == 94) {
      mol = VXGraphMol(static_cast<const VXMolBase&>(mol));
    }
    expect_equal(mol, model);
    expect_equal(VXGraphMol(mol), model);
  }
}

TEST(Molecule, RefusesAtomsThatAreNotItsOwn) {
  VXGraphMol mol, other;
  VXAtomBase* mine = add(mol, 6, {1, 2, 3});
  VXAtomBase* foreign = add(other, 7, {4, 5, 6});
  float xyz[3] = {9, 9, 9};
  for (VXAtomBase* atom : {foreign, static_cast<VXAtomBase*>(nullptr)}) {
    EXPECT_FALSE(mol.GetCoords(atom, xyz));
    EXPECT_FALSE(mol.SetCoords(atom, xyz));
    EXPECT_FALSE(mol.DeleteAtom(atom));
    EXPECT_EQ(mol.AddBond(mine, atom), nullptr);
  }
  EXPECT_EQ(mol.AddBond(mine, mine), nullptr);
  EXPECT_FALSE(VXHasResidue(nullptr));
  EXPECT_EQ(VXAtomGetResidue(nullptr).GetName(), "");
  VXAtomSetResidue(nullptr, residue(1));
  EXPECT_FALSE(VXGraphMol().GetCoords(xyz));
  EXPECT_EQ(xyz[0], 9);
  EXPECT_EQ(VXGraphMol().GetCoordsBlock(), nullptr);
  EXPECT_FALSE(VXIter<VXAtomBase>(nullptr));
}

TEST(Molecule, HydrogensGoWhileTheWalkRuns) {
  VXGraphMol mol;
  for (unsigned z : {1, 1, 6, 1, 8, 1, 1}) add(mol, z, {float(z), 0, 0});
  mol.AddBond(&*VXIter<VXAtomBase>(mol.GetAtoms()), &*VXIter<VXAtomBase>(mol.GetAtoms(VXIsHeavy())));
  VXSuppressHydrogens(mol, false, false, true);
  EXPECT_THAT(numbers(mol.GetAtoms()), ElementsAre(6, 8));
  EXPECT_EQ(mol.GetMaxAtomIdx(), 5u);
  EXPECT_EQ(mol.NumBonds(), 0u);
  mol.Sweep();
  EXPECT_EQ(mol.GetMaxAtomIdx(), 2u);
}

TEST(Molecule, TitlesAndRecordsStayWithTheMolecule) {
  VXGraphMol mol;
  add(mol, 6, {0, 0, 0});
  mol.SetTitle("one");
  mol.SetData<int>("mark", 5);
  for (const char* tag : {"REMARK", "CRYST1", "REMARK"}) VXAddPDBData(mol, tag, "text");
  const VXGraphMol copy(mol);
  EXPECT_STREQ(copy.GetTitle(), "one");
  EXPECT_EQ(copy.GetData<int>("mark"), 5);
  EXPECT_EQ(VXGetPDBDataPairs(copy).size(), 3u);

  VXSetPDBData(mol, "REMARK", "only");  // one record in the place of two
  ASSERT_EQ(VXGetPDBDataPairs(mol).size(), 2u);
  EXPECT_EQ(VXGetPDBDataPairs(mol)[0].value, "only");
  VXDeletePDBData(mol, "CRYST1");
  EXPECT_EQ(VXGetPDBData(mol, "CRYST1"), "");
  EXPECT_FALSE(VXHasPDBData(mol, "CRYST1"));

  VXGraphMol subset;
  EXPECT_TRUE(VXSubsetMol(subset, copy, VXIsHeavy()));
  EXPECT_STREQ(subset.GetTitle(), "one");
  mol.Clear();
  EXPECT_STREQ(mol.GetTitle(), "");
  for (const VXGraphMol* none : {&subset, &mol})
    EXPECT_FALSE(none->HasData("mark") || !VXGetPDBDataPairs(*none).empty());
  EXPECT_FALSE(VXSubsetMol(subset, copy, VXIsHydrogen()));
  EXPECT_FALSE(subset || mol);
}

TEST(Conformers, GoTheirOwnWay) {
  VXGraphMol graph;
  add(graph, 6, {1, 2, 3});
  add(graph, 7, {4, 5, 6});
  VXMCMol mol(graph);
  const float second[] = {10, 20, 30, 40, 50, 60};
  EXPECT_EQ(mol.NewConf(second), 1u);
  const float shift[] = {1, 1, 1};
  VXTranslate(mol, shift);
  float xyz[12];
  ASSERT_TRUE(mol.GetConfCoords(1, xyz));
  EXPECT_THAT(std::vector<float>(xyz, xyz + 6), ElementsAre(11, 21, 31, 41, 51, 61));
  mol.GetCoordsBlock()[4] = -8;
  ASSERT_TRUE(mol.GetCoords(xyz));
  EXPECT_EQ(xyz[4], -8);
  EXPECT_EQ(xyz[5], 7);
  EXPECT_FALSE(mol.GetConfCoords(2, xyz));

  // The molecule that is added has one conformer: it serves both.
  mol += graph;
  EXPECT_EQ(mol.NumConfs(), 2u);
  mol.GetConfCoords(1, xyz);
  EXPECT_THAT(std::vector<float>(xyz + 3, xyz + 9), ElementsAre(41, 51, 61, 1, 2, 3));

  const VXGraphMol first(mol);
  first.GetCoords(xyz);
  EXPECT_EQ(xyz[0], 2);
  mol = static_cast<const VXMolBase&>(first);
  EXPECT_EQ(mol.NumConfs(), 1u);
  EXPECT_TRUE(mol.IsDataType(VXGetDataType<VXMCMolBase>()));
  EXPECT_FALSE(first.IsDataType(VXGetDataType<VXMCMolBase>()));
}

TEST(Residues, AreFoundByTheirIdentity) {
  VXGraphMol mol;
  VXAtomBase* const bare = add(mol, 8, {0, 0, 0});
  EXPECT_FALSE(VXHasResidues(mol));
  for (const VXResidue& r : {residue(2), residue(1), residue(1), residue(1, "GLY"), residue(1, "ALA", "B"),
                             residue(1, "ALA", "A", 'A'), residue(2)})
    VXAtomSetResidue(add(mol, 6, {0, 0, 0}), r);
  EXPECT_TRUE(VXHasResidues(mol));

  std::vector<std::string> seen;
  for (const VXResidue& r : VXGetResidues(mol))
    seen.push_back(std::to_string(r.GetNumber()) + r.GetName() + r.GetChainId() + r.GetInsertCode());
  EXPECT_THAT(seen, ElementsAre("2ALAA ", "1ALAA ", "1GLYA ", "1ALAB ", "1ALAAA"));

  const std::pair<unsigned, unsigned> masks[] = {{15, 2}, {VXResidueNumber, 5}, {14, 3}, {11, 3}, {7, 3},
                                                 {0, 7}};
  for (const auto& [mask, atoms] : masks)
    EXPECT_EQ(numbers(VXGetResidueAtoms(mol, residue(1), mask)).size(), atoms) << mask;
  VXAtomSetResidue(bare, VXAtomGetResidue(&*VXIter<VXAtomBase>(mol.GetAtoms(VXAtomIsInResidue(residue(2))))));
  EXPECT_TRUE(VXSameResidue(VXAtomGetResidue(bare), residue(2)));
  EXPECT_EQ(residue(1, "MORETHANFIFTEENLETTERS").GetName(), "MORETHANFIFTEEN");
  EXPECT_TRUE(VXSameResidue(residue(1, std::string("AB\0C", 4).c_str()), residue(1, "AB")));
}

TEST(MolGeometry, BoxesAndCentres) {
  VXGraphMol mol;
  float center[3] = {5, 5, 5}, extents[3] = {5, 5, 5};
  EXPECT_FALSE(VXGetCenterAndExtents(mol, center, extents));
  EXPECT_THAT(center, ElementsAre(0, 0, 0));
  EXPECT_FALSE(VXGetCenterOfMass(mol, center));

  add(mol, 8, {1, -2, 3});
  add(mol, 1, {4, 7, 3});
  add(mol, 6, {2, NAN, 100});
  add(mol, 6, {INFINITY, 0, 0});
  EXPECT_TRUE(VXGetCenterAndExtents(mol, center, extents));
  EXPECT_THAT(center, ElementsAre(2.5f, 2.5f, 3));
  EXPECT_THAT(extents, ElementsAre(3, 9, 0));
  EXPECT_TRUE(VXGetCenterOfMass(mol, center));
  EXPECT_FLOAT_EQ(center[0], (15.999f * 1 + 1.008f * 4) / (15.999f + 1.008f));
  EXPECT_TRUE(VXGetCenterOfMass(mol, center, false));
  EXPECT_FLOAT_EQ(center[0], 2.5f);

  VXGraphMol dummies;
  add(dummies, 0, {2, 0, 0});
  EXPECT_TRUE(VXGetCenterOfMass(dummies, center));
  EXPECT_EQ(center[0], 2);
}

TEST(MolGeometry, MovesRowMajorAndLeavesGapsAlone) {
  VXGraphMol mol;
  VXAtomBase* gone = add(mol, 6, {1, 1, 1});
  add(mol, 6, {1, 2, 3});
  mol.DeleteAtom(gone);
  const float turn[] = {0, -1, 0, 1, 0, 0, 0, 0, 1};  // x to y, y to -x
  const double shift[] = {10, 20, 30};
  VXRotate(mol, turn);
  VXTranslate(mol, shift);
  float xyz[6];
  mol.GetCoords(xyz);
  EXPECT_THAT(xyz, ElementsAre(0, 0, 0, 8, 21, 33));
}

TEST(Elements, TablesHaveTheirFacts) {
  // Symbol, number, weight, and the radii of Bondi and of the Gaussian volumes.
  using Row = std::tuple<const char*, unsigned, double, double, float>;
  const Row rows[] = {{"X", 0, 0, 0, 0},
                      {"H", 1, 1.008, 1.2, 1.0f},
                      {"c", 6, 12.011, 1.7, 1.7f},
                      {"N", 7, 14.007, 1.55, 1.65f},
                      {"o", 8, 15.999, 1.52, 1.6f},
                      {"SE", 34, 78.971, 1.9, 1.9f},
                      {"Zn", 30, 65.38, 1.39, 1.34f},
                      {"Cu", 29, 63.546, 1.4, 1.25f},
                      {"Mn", 25, 54.938, 2.0, 1.2f},
                      {"I", 53, 126.904, 1.98, 1.9f},
                      {"Og", 118, 294, 2.0, 1.9f}};
  VXGraphMol mol;
  for (const auto& [symbol, z, weight, bondi, zemo] : rows) {
    SCOPED_TRACE(symbol);
    EXPECT_EQ(VXGetAtomicNum(symbol), z);
    EXPECT_NEAR(VXGetAtomicWeight(z), weight, 0.001);
    VXAtomBase* atom = mol.AddAtom(z);
    VXAssignBondiVdWRadii(mol);
    EXPECT_EQ(atom->GetRadius(), bondi);
    AssignZemoMolRadii(mol);
    EXPECT_EQ(atom->GetRadius(), double{zemo});
  }
  for (unsigned z = 0; z < 119; ++z) EXPECT_EQ(VXGetAtomicNum(VXGetAtomicSymbol(z)), z);
  EXPECT_EQ(VXGetAtomicNum("D"), 1u);
  EXPECT_EQ(VXGetAtomicNum("Qq"), 0u);
  EXPECT_STREQ(VXGetAtomicSymbol(4000000000u), "X");
  EXPECT_TRUE(HasRadii(mol));
  for (VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) atom.SetRadius(-1);
  EXPECT_FALSE(HasRadii(mol));
}
