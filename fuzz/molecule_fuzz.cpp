// Coordinate files in all four formats, their first molecule and all of them: the first byte says which (P,
// C, S or M; any other by its remainder), the rest is the file. The library reads files by name, so each run
// writes one: TMPDIR on a memory file system makes it several times as fast.

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include <molio/molecule_reader.h>
#include <molio/read_molecule.h>

#include "fuzz.h"

namespace {

/// One scratch file a format, gone when the process ends.
struct ScratchFiles {
  static constexpr const char* kExtensions[] = {".pdb", ".cif", ".sdf", ".mol2"};

  std::string name(int format) const { return stem + kExtensions[format]; }
  ~ScratchFiles() {
    for (int format = 0; format < 4; ++format) std::remove(name(format).c_str());
  }

  std::string stem = std::filesystem::temp_directory_path() / ("molecule_fuzz." + std::to_string(getpid()));
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const ScratchFiles files;
  if (size == 0) return 0;
  const std::size_t letter = std::string("PCSM").find(static_cast<char>(bytes[0]));
  const std::string name = files.name(static_cast<int>(letter < 4 ? letter : bytes[0] % 4));
  FILE* file = std::fopen(name.c_str(), "wb");
  if (!file) return 0;
  std::fwrite(bytes + 1, 1, size - 1, file);
  std::fclose(file);

  const QuietLog quiet;
  VXCore::VXGraphMol first, mol;
  const bool has_first = VXCore::VXReadMolecule(name, first);
  if (has_first != static_cast<bool>(first)) __builtin_trap();
  VXCore::VXMoleculeReader reader(name);
  for (unsigned long number = 1; reader.Next(); ++number) {
    mol.Clear();
    const bool is_read = reader.Read(mol);
    if (is_read != static_cast<bool>(mol) || reader.GetNumber() != number) __builtin_trap();
    if (number == 1 && (is_read != has_first || mol.NumAtoms() != first.NumAtoms())) __builtin_trap();
  }
  return 0;
}
