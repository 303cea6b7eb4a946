#include <vxgrid/grid/grid_format.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/text.h>

namespace VXCore {
namespace {

struct Format {
  const char* name;
  const char* extensions;
  bool is_readable, is_writeable;
};

// By code.
// clang-format off
constexpr Format kFormats[] = {
  {"UNDEFINED",   "",             false, false},
  {"GRASP Grid",  "phi",          true,  true},
  {"Velixa Grid", "grd",          true,  true},
  {"CCP4 Map",    "map,ccp,ccp4", true,  true},
  {"XPLOR Map",   "xplor,xplmap", true,  false},
  {"Ascii Grid",  "agd",          true,  true},
};
// clang-format on

const Format& format_of(unsigned int code) { return kFormats[code < std::size(kFormats) ? code : 0]; }

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool starts_with(const char* text, std::string_view key) {
  for (const char k : key)
    if (lower(*text++) != k) return false;
  return true;
}

unsigned int type_of_name(const std::string& name) {
  return VXGetGridFileType(VXGetFileExtension(("." + name).c_str()).c_str());
}

}  // namespace

unsigned int VXGetGridFileType(const char* ext) {
  if (!ext) return VXGridFormatUndefined;
  for (unsigned int code = 1; code < std::size(kFormats); ++code) {
    std::string_view keys = kFormats[code].extensions;
    while (!keys.empty()) {
      const std::string_view key = keys.substr(0, keys.find(','));
      if (starts_with(ext, key)) return code;
      keys.remove_prefix(std::min(keys.size(), key.size() + 1));
    }
  }
  return VXGridFormatUndefined;
}

bool VXIsReadableGrid(unsigned int code) { return format_of(code).is_readable; }
bool VXIsReadableGrid(const std::string& name) { return VXIsReadableGrid(type_of_name(name)); }
bool VXIsWriteableGrid(unsigned int code) { return format_of(code).is_writeable; }
bool VXIsWriteableGrid(const std::string& name) { return VXIsWriteableGrid(type_of_name(name)); }

const char* VXGetGridFormatExtension(unsigned int code) { return format_of(code).extensions; }
const char* VXGetGridFormatString(unsigned int code) { return format_of(code).name; }

bool VXIsGrid(const VXBase& object) {
  return object.IsDataType(VXGetDataType<VXScalarGrid>()) || object.IsDataType(VXGetDataType<VXSkewGrid>()) ||
         object.IsDataType(VXGetDataType<VXZemoGrid>());
}

}  // namespace VXCore
