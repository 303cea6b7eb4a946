#include <molio/read_molecule.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <tuple>
#include <utility>

#include <vxgrid/host/pdb_data.h>
#include <vxgrid/host/residue.h>

#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// Two models; hydrogen and deuterium, an ion, an insertion code, alternates, a serial number in hybrid-36, a
// record without element, occupancy and B factor, one of no element.
const char kPdb[] =
    "HEADER    TEST                                    01-JAN-25   9XYZ              \n"
    "REMARK   2                                                                      \n"
    "REMARK   2 RESOLUTION.    1.60 ANGSTROMS.\r\n"
    "CRYST1   10.000   20.000   30.000  90.00  95.50  90.00 P 1 21 1      2          \n"
    "MODEL        1\n"
    "ATOM      1  N   LYS A  -1       1.000   2.000   3.000  1.00 10.00           N  \n"
    "ATOM      2  CA ALYS A  -1       2.000   2.000   3.000  0.40 11.00           C  \n"
    "ATOM      3  CA BLYS A  -1       2.500   2.000   3.000  0.60 12.00           C  \n"
    "ATOM      4  D   LYS A  -1       0.500   2.000   3.000  1.00 13.00           D  \n"
    "ATOM      5 HG11 VAL A   7A      5.000   6.000   7.000\n"
    "HETATM    6 ZN    ZN B 100      -8.250   0.000  -1.000  1.00 14.00          ZN2+\n"
    "HETATMA0000 UNK  UNX B 101       9.000   9.000   9.000  1.00 15.00           X  \n"
    "ENDMDL\n"
    "MODEL        2\n"
    "ATOM      1  N   LYS A  -1       9.000   2.000   3.000  1.00 10.00           N  \n"
    "ENDMDL\n"
    "CONECT    1    3    3    4\n"
    "CONECT    3    1    1\n"
    "CONECT    2    1\n"
    "CONECTA0000    6    6    6    6\n"
    "END\n";

// The same molecule.
const char kMmcif[] = R"(data_9XYZ
_entry.id 9XYZ
_cell.length_a 10 _cell.length_b 20.0 _cell.length_c 30.000(5)
_cell.angle_alpha 90 _cell.angle_beta 95.5 _cell.angle_gamma 90 _cell.Z_PDB 2
_symmetry.space_group_name_H-M 'P 1 21 1'
_refine.ls_d_res_high 1.6
loop_
_atom_site.id _atom_site.type_symbol _atom_site.label_atom_id _atom_site.label_alt_id
_atom_site.label_comp_id _atom_site.label_asym_id _atom_site.auth_asym_id _atom_site.label_seq_id
_atom_site.auth_seq_id _atom_site.pdbx_PDB_ins_code _atom_site.Cartn_x _atom_site.Cartn_y
_atom_site.Cartn_z _atom_site.occupancy _atom_site.B_iso_or_equiv _atom_site.pdbx_formal_charge
_atom_site.pdbx_PDB_model_num
1 N N . LYS Q A 5 -1 ? 1 2 3 1 10 ? 1
2 C CA A LYS Q A 5 -1 ? 2 2 3 0.4 11 ? 1
3 C CA B LYS Q A 5 -1 ? 2.5 2 3 0.6 12 ? 1
4 D D . LYS Q A 5 -1 ? 0.5 2 3 1 13 ? 1
5 H HG11 . VAL Q A 13 7 A 5 6 7 ? ? ? 1
6 ZN ZN . ZN R B . 100 . -8.25 0 -1 1 14 2 1
100000 X UNK . UNX S B . 101 . 9 9 9 1 15 ? 1
1 N N . LYS Q A 5 -1 ? 9 2 3 1 10 ? 2
loop_
_struct_conn.conn_type_id _struct_conn.ptnr1_auth_asym_id _struct_conn.ptnr1_auth_seq_id
_struct_conn.ptnr1_label_atom_id _struct_conn.pdbx_ptnr1_label_alt_id _struct_conn.ptnr2_auth_asym_id
_struct_conn.ptnr2_auth_seq_id _struct_conn.ptnr2_label_atom_id _struct_conn.ptnr1_symmetry
_struct_conn.ptnr2_symmetry
covale A -1 CA B A -1 N 1_555 1_555
covale A -1 D ? A -1 N 1_555 1_555
covale A -1 N ? A -1 D 1_555 1_555
metalc B 100 ZN ? B 101 UNK 1_555 1_555
disulf A -1 N ? B 100 ZN 1_555 2_665
hydrog A -1 N ? B 100 ZN 1_555 1_555
)";

const char kSdf[] =
    "formate\n  made by hand\n\n"
    "  4  3  0  0  0  0  0  0  0  0999 V2000\n"
    "    0.0000    0.0000    0.5000 C   0  0\n"
    "    1.1000    0.0000   -0.5000 O   0  0\n"
    "   -1.1000    0.0000   -0.5000 O   0  0\n"
    "    0.0000    0.0000    1.6000 H   0  0\n"
    "  1  2  2  0\n  1  3  1  0\n  1  4  1  0\n"
    "M  CHG  1   3  -1\nM  SAL   1  1   9\nM  END\n> <name>\nx\n\n$$$$\nsecond\n";

const char kV3000[] =
    "formate\n  made by hand\n\n  0  0  0  0  0  0            999 V3000\n"
    "M  V30 BEGIN CTAB\nM  V30 COUNTS 4 3 1 0 0\nM  V30 BEGIN ATOM\n"
    "M  V30 1 C 0 0 0.5 0\nM  V30 2 O 1.1 0 -0.5 -\nM  V30 0\nM  V30 3 O -1.1 0 -0.5 0 CHG=-1\n"
    "M  V30 4 H 0 0 1.6 0\nM  V30 END ATOM\nM  V30 BEGIN BOND\nM  V30 1 2 1 2\nM  V30 2 1 1 3\n"
    "M  V30 3 1 1 4\nM  V30 END BOND\nM  V30 BEGIN SGROUP\nM  V30 1 DAT 1 ATOMS=(1 77)\n"
    "M  V30 END SGROUP\nM  V30 END CTAB\nM  END\n";

const char kMol2[] =
    "# made by hand\n@<TRIPOS>MOLECULE\nformate\n4 3 1 0 0\nSMALL\nNO_CHARGES\n\n@<TRIPOS>ATOM\n"
    "1 C1 0.0 0.0 0.5 C.2 1 LIG 0.0\n2 O1 1.1 0.0 -0.5 O.2 1 LIG 0.0\n3 O2 -1.1 0.0 -0.5 O.3 1 LIG 0.0\n"
    "4 H1 0.0 0.0 1.6 H 1 LIG 0.0\n@<TRIPOS>BOND\n1 1 2 2\n2 1 3 1\n3 1 4 1\n@<TRIPOS>SUBSTRUCTURE\n"
    "1 LIG 1\n@<TRIPOS>MOLECULE \nsecond\n9 9\n";

/// The molecule in text of one line an atom and one a bond.
std::string shown(const VXMolBase& mol) {
  std::string text;
  char line[160];
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    float xyz[3];
    mol.GetCoords(&atom, xyz);
    const VXResidue& r = VXAtomGetResidue(&atom);
    std::snprintf(line, sizeof line, "%u %+d %g %g %g|%s %s %d%c%c %d %g %g\n", atom.GetAtomicNum(),
                  atom.GetFormalCharge(), xyz[0], xyz[1], xyz[2], r.GetName().c_str(), r.GetChainId().c_str(),
                  r.GetNumber(), r.GetInsertCode(), r.GetAlternateLocation(), r.GetSerialNumber(),
                  r.GetOccupancy(), r.GetBFactor());
    text += line;
  }
  for (const VXBondBase& bond : VXIter<VXBondBase>(mol.GetBonds()))
    text += std::to_string(bond.GetBgn()->GetIdx()) + '-' + std::to_string(bond.GetEnd()->GetIdx()) + ' ' +
            std::to_string(bond.GetOrder()) + '\n';
  return text;
}

std::string read_text(const std::string& name, const std::string& text, VXGraphMol& mol) {
  const std::string file = scratch_file(name);
  write_bytes(file, text);
  CapturedLog log;
  const bool done = VXReadMolecule(file, mol);
  EXPECT_EQ(done, log.text().empty()) << log.text();
  return log.text();
}

std::string with(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

}  // namespace

TEST(ReadMolecule, PdbAndMmcifGiveTheSameMolecule) {
  const std::string atoms =
      "7 +0 1 2 3|LYS A -1   1 1 10\n"
      "6 +0 2.5 2 3|LYS A -1 B 3 0.6 12\n"
      "1 +0 0.5 2 3|LYS A -1   4 1 13\n"
      "1 +0 5 6 7|VAL A 7A  5 1 0\n"
      "30 +2 -8.25 0 -1|ZN B 100   6 1 14\n"
      "0 +0 9 9 9|UNX B 101   100000 1 15\n";
  VXGraphMol pdb, cif;
  read_text("small.ENT", kPdb, pdb);
  read_text("small.cif", kMmcif, cif);
  EXPECT_EQ(shown(pdb), atoms + "0-1 2\n0-2 1\n4-5 4\n");  // CONECT can say more than one bond
  EXPECT_EQ(shown(cif), atoms + "0-1 1\n0-2 1\n4-5 1\n");
  for (const VXGraphMol* mol : {&pdb, &cif}) {
    EXPECT_STREQ(mol->GetTitle(), "9XYZ");
    EXPECT_EQ(VXGetPDBData(*mol, "CRYST1").substr(0, 64),
              "   10.000   20.000   30.000  90.00  95.50  90.00 P 1 21 1      2");
    const auto& records = VXGetPDBDataPairs(*mol);
    EXPECT_EQ(records[records.size() - 2].value, "   2 RESOLUTION.    1.60 ANGSTROMS.");
  }
}

TEST(ReadMolecule, MmcifWithLittleInIt) {
  VXGraphMol mol;
  read_text("bare.MMCIF",
            "data_x\nloop_\n_atom_site.Cartn_x _atom_site.Cartn_y _atom_site.Cartn_z 1 2 3 4 5 6\n", mol);
  EXPECT_EQ(shown(mol), "0 +0 1 2 3|  0   0 1 0\n0 +0 4 5 6|  0   0 1 0\n");
  EXPECT_TRUE(VXGetPDBDataPairs(mol).empty());
  // The group from its number, no cell without all six, no resolution from a question mark.
  read_text("number.cif",
            with(with(kMmcif, "_symmetry.space_group_name_H-M 'P 1 21 1'", "_space_group.IT_number 19"),
                 "res_high 1.6", "res_high ?"),
            mol);
  ASSERT_EQ(VXGetPDBDataPairs(mol).size(), 1u);
  EXPECT_THAT(VXGetPDBData(mol, "CRYST1"), HasSubstr("P 21 21 21    2"));
  read_text("cell.cif", with(kMmcif, "30.000(5)", "."), mol);
  EXPECT_FALSE(VXHasPDBData(mol, "CRYST1"));
}

TEST(ReadMolecule, OneOfTheAlternatesStays) {
  // Name, letter, residue name and occupancy of atoms, and which of them stay.
  const std::tuple<const char*, std::vector<std::string>, const char*> rows[] = {
      {"highest occupancy", {"CA A SER 0.4", "CA B SER 0.6"}, "1"},
      {"first letter on a tie", {"CA B SER 0.5", "CA A SER 0.5"}, "1"},
      {"whole conformer", {"CA A SER 0.6", "CB A SER 0.6", "CA B SER 0.4", "OG B SER 0.4"}, "01"},
      {"letters that do not meet", {"CA A SER 0.3", "CA B SER 0.7", "OG C SER 0.6", "OG D SER 0.4"}, "12"},
      {"one letter alone", {"CA   SER 1.0", "OG B SER 0.2"}, "01"},
      {"two residue names in one place", {"CA A SER 0.3", "CA B THR 0.7", "CG B THR 0.7"}, "12"}};
  for (const auto& [what, atoms, expected] : rows) {
    std::string text, stay;
    for (std::size_t i = 0; i < atoms.size(); ++i) {
      const std::string& a = atoms[i];
      char line[100];
      std::snprintf(line, sizeof line, "ATOM  %5zu  %s %c%s A   1       0.000   0.000   0.000  %s0 10.00\n",
                    i, a.substr(0, 2).c_str(), a[3], a.substr(5, 3).c_str(), a.substr(9).c_str());
      text += line;
    }
    VXGraphMol mol;
    read_text("alternates.pdb", text, mol);
    for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms()))
      stay += std::to_string(VXAtomGetResidue(&atom).GetSerialNumber());
    EXPECT_EQ(stay, expected) << what;
    EXPECT_TRUE(VXReadMolecule(scratch_file("alternates.pdb"), mol, VXAlternates::All));
    EXPECT_EQ(mol.NumAtoms(), atoms.size()) << what;
  }
}

TEST(ReadMolecule, SdfAndMol2) {
  const std::string expected =
      "6 +0 0 0 0.5|  0   0 0 0\n8 +0 1.1 0 -0.5|  0   0 0 0\n8 -1 -1.1 0 -0.5|  0   0 0 0\n"
      "1 +0 0 0 1.6|  0   0 0 0\n0-1 2\n0-2 1\n0-3 1\n";
  for (const auto& [name, text] : {std::pair("a.sdf", kSdf), {"a.mol", kV3000}, {"a.mol2", kMol2}}) {
    SCOPED_TRACE(name);
    VXGraphMol mol;
    read_text(name, text, mol);
    // MOL2 knows atom types, not formal charges.
    EXPECT_EQ(shown(mol), text == kMol2 ? with(expected, "-1 -1.1", "+0 -1.1") : expected);
    EXPECT_STREQ(mol.GetTitle(), "formate");
    EXPECT_EQ(VXIter<VXAtomBase>(mol.GetAtoms())->GetName(), text == kMol2 ? "C1" : "");
    EXPECT_FALSE(VXHasResidues(mol));
    VXGraphMol zipped;
    read_text(std::string(name) + ".gz", gz(text), zipped);
    EXPECT_EQ(shown(zipped), shown(mol));
  }
}

TEST(ReadMolecule, RefusesAndSaysWhy) {
  const std::string pdb = kPdb, cif = kMmcif, sdf = kSdf, mol2 = kMol2, v3000 = kV3000;
  std::string junk;
  for (int i = 0; i < 4000; ++i) junk += static_cast<char>(i * i * 7 + i / 3);
  const std::tuple<const char*, const char*, std::string, const char*> rows[] = {
      {"extension", "f.xyz", pdb, "f.xyz: the extension names no coordinate format; known are pdb, ent"},
      {"empty", "f.pdb", "", "f.pdb: the file is empty"},
      {"junk", "f.pdb", junk, "there are no atoms"},
      {"junk", "f.cif", junk, "f.cif, line 1: expected block header (data_)"},
      {"junk", "f.mol2", junk, "there is no @<TRIPOS>MOLECULE"},
      {"cut gz", "f.pdb.gz", gz(pdb).substr(0, 200),
       "f.pdb.gz: the compressed content is cut short or damaged"},
      {"bomb", "f.pdb.gz", gz(std::string(50 << 20, ' ')), "more than 250 times as long as the file"},
      {"cut line", "f.pdb", with(pdb, "   2.500   2.000   3.000", "   2.500\n"),
       "f.pdb, line 8: the atom record ends"},
      {"no number", "f.pdb", with(pdb, "2.500", "2.5x0"),
       "line 8: coordinate \"2.5x0\" is not a finite number"},
      {"infinite", "f.pdb", with(pdb, "   2.500", "     inf"), "line 8: coordinate \"inf\""},
      {"B factor", "f.pdb", with(pdb, " 12.00 ", " ab.00 "), "line 8: B factor \"ab.00\""},
      {"no table", "f.cif", "data_x\n_cell.length_a 5\n", "no table _atom_site with Cartn_x"},
      {"no rows", "f.cif", "data_x\nloop_ _atom_site.Cartn_x _atom_site.Cartn_y _atom_site.Cartn_z\n",
       "no atoms"},
      {"unknown place", "f.cif", with(cif, "2.5 2 3", "? 2 3"), "coordinate \"?\" in row 3 of _atom_site"},
      {"nan", "f.cif", with(cif, "2.5 2 3", "nan 2 3"), "line 7: coordinate \"nan\" in row 3"},
      {"overflow", "f.cif", with(cif, "2.5 2 3", "1e39 2 3"), "coordinate \"1e39\""},
      {"wide residue number", "f.cif", with(cif, " 5 -1 ? 2.5", " 5 99999999999 ? 2.5"), "residue number"},
      {"loop", "f.cif", with(cif, " 2.5 2 3", " 2 3"), "Wrong number of values in the loop"},
      {"open quote", "f.cif", with(cif, "'P 1 21 1'", "'P 1 21 1"), "line 5: unterminated"},
      {"more atoms than lines", "f.sdf", with(sdf, "  4  3", "400  3"),
       "f.sdf, line 9: coordinate \"1  2  2\""},
      {"more bonds than lines", "f.sdf", with(sdf, "  4  3", "  4 99"), "f.sdf, line 12: atom of a bond"},
      {"negative count", "f.sdf", with(sdf, "  4  3", " -4  3"), "line 4: number of atoms is -4"},
      {"head only", "f.sdf", "a\nb\n", "f.sdf, line 2: the molecule is cut short"},
      {"cut in the atoms", "f.sdf", sdf.substr(0, sdf.find("   -1.1000")),
       "line 6: the molecule is cut short"},
      {"bond", "f.sdf", with(sdf, "  1  2  2", "  1  9  2"), "line 9: a bond between atoms 1 and 9 of 4"},
      {"charge", "f.sdf", with(sdf, "1   3  -1", "1   5  -1"), "line 12: a charge on atom 5 of 4"},
      {"huge count", "f.mol", with(v3000, "COUNTS 4", "COUNTS 4000000000"),
       "line 6: number of atoms \"4000000000\""},
      {"wrong count", "f.mol", with(v3000, "COUNTS 4", "COUN-\nM  V30 TS 40"),
       "40 atoms and 3 bonds announced, 4 and 3 found"},
      {"bond to nothing", "f.mol", with(v3000, "2 1 1 3", "2 1 1 8"),
       "line 16: a bond between atoms 1 and 0 of 4"},
      {"cut", "f.mol", v3000.substr(0, 200), "the molecule is cut short"},
      {"huge count", "f.mol2", with(mol2, "4 3 1", "4000000000 3 1"),
       "line 4: number of atoms \"4000000000\""},
      {"cut", "f.mol2", mol2.substr(0, mol2.find("3 O2")), "4 atoms and 3 bonds announced, 2 and 0 found"},
      {"short line", "f.mol2", with(mol2, "0.0 0.0 0.5 C.2 1 LIG", "0.0"),
       "line 9: the line of an atom is too short"}};
  VXGraphMol mol;
  mol.AddAtom(6)->SetData<int>("mark", 1);
  for (const auto& [what, name, text, says] : rows) {
    SCOPED_TRACE(std::string(name) + ": " + what);
    const std::string log = read_text(name, text, mol);
    EXPECT_THAT(log, testing::StartsWith("Warning: VXReadMolecule: "));
    EXPECT_THAT(log, HasSubstr(says));
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
    ASSERT_EQ(mol.NumAtoms(), 1u) << "target changed";
  }
  CapturedLog log;
  EXPECT_FALSE(VXReadMolecule(scratch_file("nothing.pdb"), mol));
  std::filesystem::create_directory(scratch_file("folder.pdb"));
  EXPECT_FALSE(VXReadMolecule(scratch_file("folder.pdb"), mol));
  EXPECT_THAT(log.text(), HasSubstr("nothing.pdb: there is no such file\n"));
  EXPECT_THAT(log.text(), HasSubstr("folder.pdb: this is a folder\n"));
}

// Atoms in all and bonds by the files themselves; atoms after the choice among alternates by a script on
// gemmi's Python module that goes by the same rule.
TEST(ReadMolecule, RealFiles) {
  SKIP_WITHOUT_DATA("crystals/1dur.pdb");
  const std::tuple<const char*, unsigned, unsigned> rows[] = {
      {"crystals/1dur.pdb", 488, 32},   {"crystals/4hg7.pdb", 744, 0},    {"crystals/5uui.pdb", 1070, 13},
      {"crystals/5wkd.pdb", 50, 0},     {"crystals/7n2l.pdb", 150, 0},    {"crystals/hewl.pdb", 2058, 0},
      {"crystals/lysc2.pdb", 975, 0},   {"crystals/rnase.pdb", 1464, 0},  {"maps/1mru.pdb", 4217, 0},
      {"maps/3pqr.pdb", 2881, 182},     {"maps/origin_100.pdb", 86, 0},   {"maps/thaumatin.pdb", 1948, 0},
      {"ligands/4umt_47w.sdf", 29, 32}, {"ligands/cdk2_16.sdf", 30, 31},  {"ligands/ligs3d_10.sdf", 36, 39},
      {"ligands/4uzh_JVE.pdb", 21, 24}, {"ligands/3m11_AKI.pdb", 40, 45}, {"ligands/3w2c_N15.pdb", 32, 36},
      {"ligands/4i23_1C9.pdb", 22, 24}, {"ligands/1d4i_BEG.pdb", 47, 0}};
  for (const auto& [name, atoms, bonds] : rows) {
    SCOPED_TRACE(name);
    CapturedLog log;
    VXGraphMol mol;
    EXPECT_TRUE(VXReadMolecule(real_data(name), mol)) << log.text();
    EXPECT_EQ(mol.NumAtoms(), atoms);
    EXPECT_EQ(mol.NumBonds(), bonds);
  }
}
