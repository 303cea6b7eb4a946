#include <molio/molecule_reader.h>
#include <molio/read_molecule.h>

#include <filesystem>
#include <fstream>
#include <tuple>

#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// A V2000 record of carbon atoms in a row, up to and with "M  END".
std::string sdf_molecule(const std::string& title, int atoms) {
  char line[80];
  std::snprintf(line, sizeof line, "%3d  0  0  0  0  0  0  0  0  0999 V2000\n", atoms);
  std::string text = title + "\n\n\n" + line;
  for (int i = 0; i < atoms; ++i) {
    std::snprintf(line, sizeof line, "%10.4f    0.0000    0.0000 C   0  0\n", 1.5 * i);
    text += line;
  }
  return text + "M  END\n";
}

std::string mol2_molecule(const std::string& title, int atoms) {
  std::string text = "@<TRIPOS>MOLECULE\n" + title + "\n" + std::to_string(atoms) + " 0\n@<TRIPOS>ATOM\n";
  for (int i = 1; i <= atoms; ++i) text += std::to_string(i) + " C 0.0 0.0 " + std::to_string(i) + " C.3\n";
  return text;
}

std::string in_dos_lines(std::string text) {
  for (std::size_t at = 0; (at = text.find('\n', at)) != text.npos; at += 2) text.insert(at, "\r");
  return text;
}

/// Number, title and atoms of each molecule that can be read; what is said about the rest goes to `log`.
std::vector<std::string> read_all(const std::string& name, const std::string& bytes, std::string& log) {
  write_bytes(scratch_file(name), bytes);
  const CapturedLog captured;
  VXMoleculeReader reader(scratch_file(name));
  std::vector<std::string> found;
  VXGraphMol mol;
  while (reader.Next())
    if (reader.Read(mol))
      found.push_back(std::to_string(reader.GetNumber()) + " " + mol.GetTitle() + " " +
                      std::to_string(mol.NumAtoms()));
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
  const std::string pdb =
      "HEADER    TEST                                    01-JAN-25   9XYZ\nMODEL        1\n"
      "ATOM      1  N   LYS A   1       1.000   2.000   3.000\nENDMDL\nMODEL        2\n"
      "ATOM      1  N   LYS A   1       1.000   2.000   3.000\nENDMDL\n";
  for (const auto& [name, text] : {std::pair("a.sdf", sdf),
                                   {"end.sdf", sdf + "$$$$"},
                                   {"blank.sdf", sdf + "$$$$\n\n \n\n"},
                                   {"dos.sdf", in_dos_lines(sdf)},
                                   {"a.mol2", mol2},
                                   {"dos.mol2", in_dos_lines(mol2)}}) {
    SCOPED_TRACE(name);
    std::string log;
    EXPECT_THAT(read_all(name, text, log), ElementsAre("1 one 1", "2 two 2", "3 three 3"));
    EXPECT_THAT(read_all(std::string(name) + ".gz", gz(text), log),
                ElementsAre("1 one 1", "2 two 2", "3 three 3"));
    EXPECT_THAT(log, IsEmpty());
  }
  std::string log;
  EXPECT_THAT(read_all("models.pdb", pdb, log), ElementsAre("1 9XYZ 1"));
}

TEST(MoleculeReader, GoesOnBehindABadRecord) {
  const std::string one = sdf_molecule("one", 1) + "$$$$\n", two = sdf_molecule("two", 2);  // 7 lines each
  const std::string cut = two.substr(0, two.find("M  END"));
  const std::string m1 = mol2_molecule("one", 1), m2 = mol2_molecule("two", 2);
  // The good molecules of a file, and what is said of the one bad.
  const std::tuple<const char*, const char*, std::string, std::vector<std::string>, const char*> rows[] = {
      {"empty",
       "f.sdf",
       one + "$$$$\n" + one,
       {"1 one 1", "3 one 1"},
       "f.sdf, molecule 2, line 8: the record is empty"},
      {"no atoms",
       "f.sdf",
       one + sdf_molecule("", 0) + "$$$$\n" + one,
       {"1 one 1", "3 one 1"},
       ", molecule 2, line 8: there are no atoms"},
      {"cut",
       "f.sdf",
       one + cut + "$$$$\n" + one,
       {"1 one 1", "3 one 1"},
       ", molecule 2, line 13: the molecule is cut short"},
      {"cut in the head",
       "f.sdf",
       one + "two\n$$$$\n" + one,
       {"1 one 1", "3 one 1"},
       ", molecule 2, line 8: the molecule is cut"},
      {"cut at the end", "f.sdf", one + cut, {"1 one 1"}, ", molecule 2, line 13: the molecule is cut short"},
      {"not a number",
       "f.sdf",
       one + std::string(two).replace(two.find("1.5000"), 6, "   nan") + "$$$$\n" + one,
       {"1 one 1", "3 one 1"},
       ", molecule 2, line 13: coordinate \"nan\""},
      {"cut",
       "f.mol2",
       m1 + m2.substr(0, m2.find("2 C ")) + m1,
       {"1 one 1", "3 one 1"},
       ", molecule 2, line 10: 2 atoms and 0 bonds announced, 1 and 0 found"},
      {"head alone",
       "f.mol2",
       m1 + "@<TRIPOS>MOLECULE\n" + m1,
       {"1 one 1", "3 one 1"},
       ", molecule 2: there is no @<TRIPOS>MOLECULE"},
      {"cut gz",
       "f.sdf.gz",
       gz(one + two).substr(0, gz(one + two).size() - 9),
       {"1 one 1"},
       ", molecule 2: the compressed content is cut short"},
      {"bomb",
       "f.sdf.gz",
       gz(one + std::string(50 << 20, ' ')),
       {"1 one 1"},
       ", molecule 2: the compressed content is more than 250 times"},
      {"blank", "f.sdf", "\n\n", {}, ""},
      {"no file", "f.xyz", one, {}, "f.xyz: the extension names no coordinate format"}};
  for (const auto& [what, name, bytes, good, says] : rows) {
    SCOPED_TRACE(std::string(name) + ": " + what);
    std::string log;
    EXPECT_EQ(read_all(name, bytes, log), good);
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
  for (double share = 0; reader.Next(); ++number) {
    ASSERT_TRUE(reader.Read(mol));
    ASSERT_EQ(mol.GetTitle(), std::to_string(number));
    ASSERT_EQ(mol.NumAtoms(), 1 + number % 7);
    ASSERT_GE(reader.GetShareRead(), share);
    share = reader.GetShareRead();
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
    EXPECT_THAT(log.text(), IsEmpty());
  }
}
