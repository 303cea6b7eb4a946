#pragma once

#include <memory>
#include <string>
#include <utility>

#include <pybind11/pybind11.h>

#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/reflection.h>

#include "call.h"

namespace py = pybind11;

/// vxgrid.Reflections: a set that nobody sees change. Work without the GIL and views of columns hold the set
/// as it is; what changes it then does so on a copy of its own.
class Reflections {
 public:
  /// Takes a set over, and its attributes apart from it.
  explicit Reflections(std::shared_ptr<VXCore::VXReflection> set) : set_(std::move(set)) {
    VXCore::VXCopyBaseData(attributes, *set_);
    set_->VXBase::Clear();
  }

  /// Let it go with the GIL held.
  std::shared_ptr<const VXCore::VXReflection> set() const { return set_; }
  /// The set for a change with the GIL held.
  VXCore::VXReflection& own();

  VXCore::VXReflection attributes;  ///< a set without reflections that has the attributes

 private:
  std::shared_ptr<VXCore::VXReflection> set_;
};

/// run() on a file: what the library says gets the file's name in front.
template <class Work>
void run_on(const std::string& file, const char* otherwise, Work&& work) {
  try {
    run(otherwise, std::forward<Work>(work));
  } catch (const LibraryError& failure) {
    const std::string what = failure.what();
    throw LibraryError(what.find(file) == what.npos ? file + ": " + what : what);
  }
}

/// Goes to the end of a file, where it shows whether what was compressed is whole; says when not.
bool is_undamaged(VXHost::vxistream& in);

/// The code of a map type out of its name; ValueError for a name that is none.
unsigned int map_type_of(const std::string& name);

/// Reflections out of an MTZ file, with the usual labels but for those that `labels` gives to columns; None
/// gives none.
std::shared_ptr<VXCore::VXReflection> read_mtz_reflections(const std::string& file, const py::object& labels);
