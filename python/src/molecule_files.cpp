#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include <pybind11/stl/filesystem.h>

#include <molio/molecule_reader.h>
#include <molio/read_molecule.h>

#include "bindings.h"
#include "call.h"
#include "molecules.h"

using namespace VXCore;

namespace {

MoleculePtr read_molecule(const std::filesystem::path& path, const std::string& alternates) {
  if (alternates != "best" && alternates != "all")
    throw py::value_error("alternates: \"best\" or \"all\" was wanted, \"" + alternates + "\" came");
  auto mol = std::make_shared<VXGraphMol>();
  run("the file cannot be read", [&] {
    return VXReadMolecule(path.string(), *mol, alternates == "best" ? VXAlternates::Best : VXAlternates::All);
  });
  return mol;
}

/// The molecules of a file, which threads may share.
class Reader {
 public:
  Reader(const std::filesystem::path& path, bool skip_faults) : skips_faults_(skip_faults) {
    run("the file cannot be read", [&] {
      reader_ = std::make_unique<VXMoleculeReader>(path.string());
      return static_cast<bool>(*reader_);
    });
  }

  /// Null behind the last record.
  MoleculePtr next() {
    for (;;) {
      auto mol = std::make_shared<VXGraphMol>();
      bool at_end = false, is_read = false;
      run("the molecule cannot be read", [&] {
        const std::lock_guard<std::mutex> lock(mutex_);
        at_end = !reader_->Next();
        is_read = !at_end && reader_->Read(*mol);
        return at_end || is_read || skips_faults_;
      });
      if (at_end) return nullptr;
      if (is_read) return mol;
    }
  }
  unsigned long number() {
    const py::gil_scoped_release release;
    const std::lock_guard<std::mutex> lock(mutex_);
    return reader_->GetNumber();
  }
  double share_read() {
    const py::gil_scoped_release release;
    const std::lock_guard<std::mutex> lock(mutex_);
    return reader_->GetShareRead();
  }

 private:
  std::mutex mutex_;  // never taken with the GIL held
  std::unique_ptr<VXMoleculeReader> reader_;
  bool skips_faults_;
};

}  // namespace

void bind_molecule_files(py::module_& module) {
  module.def(
      "read_molecule", &read_molecule, py::arg("path"), py::kw_only(), py::arg("alternates") = "best",
      "Reads the first molecule of a coordinate file: PDB (.pdb, .ent), mmCIF (.cif, .mmcif), SDF (.sdf, "
      ".sd, .mol) or MOL2\n(.mol2), each also as .gz.\n\nOf alternate conformations in PDB and mmCIF files, "
      "\"best\" keeps the one with the highest occupancy, \"all\" every\natom. CRYST1 and REMARK records "
      "become `pdb_records`. Raises Error with the line and the fault.");

  py::class_<Reader>(module, "MoleculeReader",
                     "An iterator over the molecules of a file; read_molecules gives one.")
      .def("__iter__", [](const py::object& self) { return self; })
      .def("__next__",
           [](Reader& reader) {
             MoleculePtr mol = reader.next();
             if (!mol) throw py::stop_iteration();
             return mol;
           })
      .def_property_readonly("number", &Reader::number,
                             "The number of the record that was read last, from 1; 0 before the first.")
      .def_property_readonly("share_read", &Reader::share_read,
                             "How much of the file has been read, from 0 to 1.");
  module.def(
      "read_molecules",
      [](const std::filesystem::path& path, bool skip_faults) {
        return std::make_unique<Reader>(path, skip_faults);
      },
      py::arg("path"), py::kw_only(), py::arg("skip_faults") = false,
      "The molecules of an SDF or MOL2 file one after another, in the memory of one.\n\nA record that cannot "
      "be read raises Error with its number and the fault; next() then goes on behind it. With\nskip_faults "
      "such records are told to the logger and passed over. A PDB or mmCIF file is one record.");
}
