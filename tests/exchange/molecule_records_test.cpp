#include <vxgrid/exchange/molecule_records.h>

#include <vxgrid/host/pdb_data.h>
#include <vxgrid/host/residue.h>
#include <vxgrid/xtal/xtal_symmetry.h>

#include "support/record_bytes.h"

using namespace VXCore;

namespace {

struct MoleculeRecords : testing::Test {
  MoleculeRecords() { VXInitMoleculeHandlers(handler); }
  VXBinaryIOHandler handler;
};

// An oxygen with residue data and a carbon without, double bond, one PDB record.
RecordBytes content(bool big, unsigned int bond_end = 1) {
  RecordBytes data(big);
  data.orders().byte(1 | 2 | 16).numbers({3u}).tag("title");
  data.numbers({2u}).numbers({8u, 6u}).numbers({-1, 0}).numbers({1.5, 0.0});
  data.numbers({1.0f, 2.0f, 3.0f, -1.0f, -2.0f, -3.0f});
  data.byte(1).byte(0).numbers({-7, 0}).numbers({70000, 0}).numbers({2, 0});
  data.numbers({20.5f, 0.0f}).numbers({0.75f, 0.0f}).byte('A').byte(' ').byte(' ').byte('B');
  data.tag("HOH").tag("chain").tag("").tag("");
  data.tag("a name of some length").tag("");
  data.numbers({1u}).numbers({0u, bond_end, 2u});
  data.numbers({1u}).tag("REMARK").tag(" one");
  return data.numbers({0u}).numbers({0u});
}

std::string record(const RecordBytes& data) { return RecordBytes().record("VXGraphMol", data).str(); }

}  // namespace

TEST_F(MoleculeRecords, BothByteOrders) {
  for (const bool big : {false, true}) {
    VXGraphMol mol;
    mol.AddAtom(1);
    ASSERT_EQ(read_record(record(content(big)), mol, handler), VXBDone);
    ASSERT_EQ(mol.NumAtoms(), 2u);
    EXPECT_STREQ(mol.GetTitle(), "title");
    VXIter<VXAtomBase> atom = mol.GetAtoms();
    const VXResidue& residue = VXAtomGetResidue(&*atom);
    EXPECT_EQ(residue.GetName() + residue.GetChainId() + residue.GetInsertCode(), "HOHchainA");
    EXPECT_EQ(residue.GetNumber(), -7);
    EXPECT_EQ(residue.GetSerialNumber(), 70000);
    EXPECT_EQ(residue.GetImage(), 2);
    EXPECT_EQ(residue.GetBFactor(), 20.5f);
    EXPECT_EQ(residue.GetOccupancy(), 0.75f);
    EXPECT_EQ(atom->GetName(), "a name of some length");
    EXPECT_EQ(atom->GetFormalCharge(), -1);
    EXPECT_EQ(atom->GetRadius(), 1.5);
    ++atom;
    float xyz[3];
    ASSERT_TRUE(mol.GetCoords(&*atom, xyz));
    EXPECT_EQ(xyz[2], -3.0f);
    EXPECT_FALSE(VXHasResidue(&*atom));
    VXIter<VXBondBase> bond = mol.GetBonds();
    ASSERT_TRUE(bond);
    EXPECT_EQ(bond->GetOrder(), 2u);
    EXPECT_EQ(VXGetPDBData(mol, "REMARK"), " one");
    VXGraphMol twin;
    ASSERT_EQ(read_record(record_of(mol, handler), twin, handler), VXBDone);
    EXPECT_EQ(record_of(twin, handler), record_of(mol, handler));
  }
}

TEST_F(MoleculeRecords, GapsCloseAndAttributesStay) {
  VXGraphMol mol;
  VXAtomBase* const gone = mol.AddAtom(1);
  VXAtomBase *const first = mol.AddAtom(6), *const second = mol.AddAtom(7);
  const float xyz[3] = {1, 2, 3};
  mol.SetCoords(second, xyz);
  VXBondBase* const bond = mol.AddBond(second, first, 3);
  mol.DeleteAtom(gone);
  second->SetData("charge", 0.25);
  bond->SetData("kind", std::string("triple"));
  mol.SetData("score", 7);
  VXXtal::VXXtalSymmetry::SetSymmetry(mol, VXXtal::VXSymmetry(19, VXXtal::VXUnitCell(10, 20, 30, 90, 90, 90)),
                                      true);

  VXGraphMol read;
  ASSERT_EQ(read_record(record_of(mol, handler), read, handler), VXBDone);
  EXPECT_EQ(read.GetMaxAtomIdx(), 2u);
  VXIter<VXBondBase> back = read.GetBonds();
  EXPECT_EQ(back->GetBgn()->GetAtomicNum(), 7u);
  EXPECT_EQ(back->GetBgn()->GetData<double>("charge"), 0.25);
  EXPECT_EQ(back->GetData<std::string>("kind"), "triple");
  EXPECT_EQ(read.GetData<int>("score"), 7);
  VXXtal::VXSymmetry symmetry;
  ASSERT_TRUE(VXXtal::VXXtalSymmetry::GetSymmetry(read, symmetry));
  EXPECT_EQ(symmetry.GetNumber(), 19u);
  EXPECT_EQ(symmetry.cell().b, 20.0f);
  float center[3];
  ASSERT_TRUE(VXXtal::VXXtalSymmetry::GetCenterOfMass(read, center));
  EXPECT_NEAR(center[0], 14.007 / (14.007 + 12.011), 1e-5);  // the carbon stands at the origin
  EXPECT_FALSE(VXHasResidues(read));
}

TEST_F(MoleculeRecords, FaultsLeaveTheMoleculeAlone) {
  const RecordBytes whole = content(false);
  VXGraphMol mol;
  mol.AddAtom(1);
  const std::string before = record_of(mol, handler);
  for (std::size_t n = 0; n < whole.str().size(); ++n)
    EXPECT_NE(read_record(record(RecordBytes().raw(whole.str().substr(0, n))), mol, handler), VXBDone) << n;
  EXPECT_NE(read_record(record(content(false, 2)), mol, handler), VXBDone) << "a bond to no atom";
  EXPECT_NE(read_record(record(content(false, 0)), mol, handler), VXBDone) << "a bond from an atom to itself";
  RecordBytes greedy;
  greedy.orders().byte(1).numbers({3u}).tag("").numbers({0x7fffffffu});
  EXPECT_NE(read_record(record(greedy), mol, handler), VXBDone) << "more atoms than bytes";
  EXPECT_EQ(record_of(mol, handler), before);
}
