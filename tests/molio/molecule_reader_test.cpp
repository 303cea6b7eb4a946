#include <molio/molecule_reader.h>
#include <molio/read_molecule.h>

#include <filesystem>
#include <fstream>
#include <tuple>

#include "support/support.h"

using namespace VXCore;
using testing::HasSubstr;

namespace {

/// A V2000 record of carbon atoms on one place, up to and with "M  END".
std::string sdf_molecule(const std::string& title, int atoms) {
  std::string text = title + "\n\n\n  " + std::to_string(atoms) + "  0  0  0  0  0  0  0  0  0999 V2000\n";
  for (int i = 0; i < atoms; ++i) text += "    1.5000    0.0000    0.0000 C   0  0\n";
  return text + "M  END\n";
}

std::string mol2_molecule(const std::string& title, int atoms) {
  std::string text = "@<TRIPOS>MOLECULE\n" + title + "\n" + std::to_string(atoms) + " 0\n@<TRIPOS>ATOM\n";
  for (int i = 1; i <= atoms; ++i) text += std::to_string(i) + " C 0.0 0.0 0.0 C.3\n";
  return text;
}

std::string in_dos_lines(std::string text) {
  for (std::size_t at = 0; (at = text.find('\n', at)) != text.npos; at += 2) text.insert(at, "\r");
  return text;
}

/// Number, title and atoms of each molecule that can be read; what is said about the rest goes to `log`.
std::string read_all(const std::string& name, const std::string& bytes, std::string& log) {
  write_bytes(scratch_file(name), bytes);
  const CapturedLog captured;
  VXMoleculeReader reader(scratch_file(name));
  std::string found;
  VXGraphMol mol;
  while (reader.Next())
    if (reader.Read(mol))
      found += std::to_string(reader.GetNumber()) + mol.GetTitle() + std::to_string(mol.NumAtoms()) + " ";
  EXPECT_FALSE(reader.Next());
  log = captured.text();
  return found;
}

}  // namespace

TEST(MoleculeReader, ReadsOneMoleculeAfterTheOther) {
  const std::string sdf = sdf_molecule("one", 1) + "> <id>\n$$$\n\n$$$$\n" + sdf_molecule("two", 2) +
                          "$$$$\n" + sdf_molecule("three", 3);
  const std::string mol2 = "# made by hand\n\n" + mol2_molecule("one", 1) + "# between\n" +
                           mol2_molecule("two", 2) + "@<TRIPOS>BOND\n" + mol2_molecule("three", 3);
  const std::string model = "MODEL\nATOM      1  N   LYS A   1       1.000   2.000   3.000\nENDMDL\n";
  std::string log;
  for (const auto& [name, text] : {std::pair("a.sdf", sdf),
                                   {"end.sdf", sdf + "$$$$"},
                                   {"blank.sdf", sdf + "$$$$\n\n \n\n"},
                                   {"dos.sdf", in_dos_lines(sdf)},
                                   {"a.mol2", mol2},
                                   {"dos.mol2", in_dos_lines(mol2)}})
    for (const bool zipped : {false, true}) {
      const std::string file = std::string(name) + (zipped ? ".gz" : "");
      EXPECT_EQ(read_all(file, zipped ? gz(text) : text, log), "1one1 2two2 3three3 ") << file;
      EXPECT_EQ(log, "") << file;
    }
  EXPECT_EQ(read_all("models.pdb", model + model, log), "11 ");
}

TEST(MoleculeReader, GoesOnBehindABadRecord) {
  const std::string one = sdf_molecule("one", 1) + "$$$$\n", two = sdf_molecule("two", 2);  // 7 lines each
  const std::string cut = two.substr(0, two.find("M  END"));
  const std::string m1 = mol2_molecule("one", 1), m2 = mol2_molecule("two", 2);
  const std::string zipped = gz(one + two), bomb = gz(one + std::string(50 << 20, ' '));
  const char *const both = "1one1 3one1 ", *const first = "1one1 ";
  // The good molecules of a file, and what is said of the one bad.
  const std::tuple<const char*, std::string, const char*, const char*> rows[] = {
      {"f.sdf", one + "$$$$\n" + one, both, "f.sdf, molecule 2, line 8: the record is empty"},
      {"f.sdf", one + sdf_molecule("", 0) + "$$$$\n" + one, both, ", molecule 2, line 8: there are no atoms"},
      {"f.sdf", one + cut + "$$$$\n" + one, both, ", molecule 2, line 13: the molecule is cut short"},
      {"f.sdf", one + "two\n$$$$\n" + one, both, ", molecule 2, line 8: the molecule is cut"},
      {"f.sdf", one + cut, first, ", molecule 2, line 13: the molecule is cut short"},
      {"f.mol2", m1 + m2.substr(0, m2.find("2 C ")) + m1, both,
       ", molecule 2, line 10: 2 atoms and 0 bonds announced, 1 and 0 found"},
      {"f.mol2", m1 + "@<TRIPOS>MOLECULE\n" + m1, both, ", molecule 2: there is no @<TRIPOS>MOLECULE"},
      {"f.sdf.gz", zipped.substr(0, zipped.size() - 9), first, "2: the compressed content is cut short"},
      {"f.sdf.gz", bomb, first, ", molecule 2: the compressed content is more than 250 times"},
      {"f.sdf", "\n\n", "", ""},
      {"f.xyz", one, "", "f.xyz: the extension names no coordinate format"}};
  for (const auto& [name, bytes, good, says] : rows) {
    std::string log;
    EXPECT_EQ(read_all(name, bytes, log), good) << says;
    EXPECT_THAT(log, HasSubstr(says));
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), *says ? 1 : 0) << log;
  }
}

// Records lie across every border of the reader's blocks, and memory stays that of one molecule.
TEST(MoleculeReader, ManyMoleculesTakeTheMemoryOfOne) {
  const auto resident = [] {  // bytes of this process
    std::size_t pages = 0, resident_pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident_pages;
    return resident_pages * 4096;
  };
  const std::string file = scratch_file("many.sdf");
  std::ofstream out(file);
  for (int i = 0; i < 60000; ++i) out << sdf_molecule(std::to_string(i), 1 + i % 7) << "$$$$\n";
  out.close();
  [[maybe_unused]] const std::size_t before = resident();
  VXMoleculeReader reader(file);
  VXGraphMol mol;
  unsigned long number = 0;
  for (double share = 0; reader.Next(); share = reader.GetShareRead(), ++number) {
    ASSERT_TRUE(reader.Read(mol));
    ASSERT_EQ(mol.GetTitle(), std::to_string(number));
    ASSERT_EQ(mol.NumAtoms(), 1 + number % 7);
    ASSERT_GE(reader.GetShareRead(), share);
#ifndef VXGRID_SANITIZED  // AddressSanitizer holds on to what is freed
    if (number % 10000 == 0) {
      ASSERT_LT(resident(), before + std::filesystem::file_size(file) / 4);
    }
#endif
  }
  EXPECT_EQ(number, 60000u);
  EXPECT_EQ(reader.GetShareRead(), 1.0);
}

// As many as lines "$$$$" in the files; atoms of the first, and of all, by counting their lines.
TEST(MoleculeReader, RealFiles) {
  SKIP_WITHOUT_DATA("ligands/cdk2_16.sdf");
  const std::tuple<const char*, unsigned, unsigned> rows[] = {
      {"ligands/cdk2_16.sdf", 16, 696}, {"ligands/ligs3d_10.sdf", 10, 337}, {"ligands/4umt_47w.sdf", 1, 29}};
  for (const auto& [name, molecules, atoms] : rows) {
    const CapturedLog log;
    VXMoleculeReader reader(real_data(name));
    VXGraphMol mol;
    unsigned sum = 0;
    while (reader.Next()) sum += reader.Read(mol) ? mol.NumAtoms() : 0;
    EXPECT_EQ(reader.GetNumber(), molecules) << name;
    EXPECT_EQ(sum, atoms) << name;
    EXPECT_EQ(log.text(), "");
  }
}
