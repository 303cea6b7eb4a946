#include <vxgrid/reflection/reflection_io.h>

#include <algorithm>

#include <vxgrid/host/replace_file.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/mtz.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>

namespace VXCore {
namespace {

using VXHost::vxistream;
using VXHost::vxostream;

bool read_mtz(vxistream& in, VXReflection& set) { return VXReadReflectionMTZ(in, set, VXMTZColumnNames()); }
bool read_vxx(vxistream& in, VXReflection& set) { return VXReadReflectionVXX(in, set) == 0; }
bool write_vxx(vxostream& out, VXReflection& set) { return VXWriteReflectionVXX(out, set); }

bool has_indices(const VXReflectionImpl& set) { return set.h && set.k && set.l; }
bool has_phs_columns(const VXReflectionImpl& set) { return set.fobs && set.phase && set.fom; }

struct Format {
  const char* extension;
  bool (*read)(vxistream&, VXReflection&);
  bool (*write)(vxostream&, VXReflection&);      // null when it cannot be written
  bool (*is_writable)(const VXReflectionImpl&);  // null when indices are enough
};
constexpr Format kFormats[] = {
    {"mtz", read_mtz, nullptr, nullptr},
    {"cif", VXReadReflectionCIF, nullptr, nullptr},
    {"phs", VXReadReflectionPHS, VXWriteReflectionPHS, has_phs_columns},
    {"fob", VXReadReflectionXPLOR, VXWriteReflectionXPLOR, nullptr},
    {"cv", VXReadReflectionXPLOR, VXWriteReflectionXPLOR, nullptr},
    {"hkl", VXReadReflectionHKL, nullptr, nullptr},
    {"vxx", read_vxx, write_vxx, nullptr},
};

// By the text behind the last dot: a compressed file does not count as what it holds.
const Format* format_of(const std::string& filename) {
  const std::size_t dot = filename.find_last_of("./");
  if (dot == filename.npos || filename[dot] != '.') return nullptr;
  std::string extension = filename.substr(dot + 1);
  for (char& c : extension)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  const auto* const format = std::find_if(std::begin(kFormats), std::end(kFormats),
                                          [&](const Format& f) { return extension == f.extension; });
  return format == std::end(kFormats) ? nullptr : format;
}

}  // namespace

bool VXReadReflection(const std::string& filename, VXReflection& set) {
  if (!format_of(filename)) return false;
  VXHost::vxifstream in(filename);
  return VXReadReflection(in, filename, set);
}

bool VXReadReflection(VXHost::vxistream& in, const std::string& filename, VXReflection& set) {
  const Format* const format = format_of(filename);
  if (!format || !format->read(in, set)) return false;
  if (set.GetTitle().empty()) set.SetTitle(filename);
  return true;
}

bool VXIsWritableReflection(const std::string& filename, VXReflection& set) {
  const Format* const format = format_of(filename);
  const VXReflectionImpl& data = *set.GetImpl();
  return format && format->write && data.nref != 0 && has_indices(data) &&
         (!format->is_writable || format->is_writable(data));
}

bool VXWriteReflection(const std::string& filename, VXReflection& set) {
  if (!VXIsWritableReflection(filename, set)) return false;
  return VXReplaceFile(filename,
                       [&](VXHost::vxostream& out) { return format_of(filename)->write(out, set); });
}

}  // namespace VXCore
