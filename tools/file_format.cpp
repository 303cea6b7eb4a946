#include "file_format.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <limits>

#include <molio/read_molecule.h>
#include <vxgrid/exchange/grid_files.h>
#include <vxgrid/grid/grid_format.h>
#include <vxgrid/host/binary_records.h>
#include <vxgrid/host/replace_file.h>
#include <vxgrid/host/text.h>

#include "report.h"

using namespace VXCore;
namespace fs = std::filesystem;

namespace {

// Behind those of maps, which the library knows.
// clang-format off
constexpr FileFormat kOtherFormats[] = {
  {Format::MTZ,         FileKind::Mtz,         "mtz",   "MTZ",                "mtz",    false, 0},
  {Format::CIF,         FileKind::Reflections, "cif",   "CIF Reflections",    "cif",    false, 0},
  {Format::PHS,         FileKind::Reflections, "phs",   "PHS Reflections",    "phs",    true,  0},
  {Format::FOB,         FileKind::Reflections, "fob",   "XPLOR Reflections",  "fob,cv", true,  0},
  {Format::HKL,         FileKind::Reflections, "hkl",   "HKL Reflections",    "hkl",    false, 0},
  {Format::VXX,         FileKind::Reflections, "vxx",   "Native Reflections", "vxx",    true,  0},
  {Format::Coordinates, FileKind::Model,       "model", "Coordinates",        "pdb,ent,cif,mmcif,sdf,sd,mol,mol2", false, 0},
};
// clang-format on

/// All formats, in the order of their ids.
const std::vector<FileFormat>& formats() {
  static const auto* const all = [] {
    auto* const rows = new std::vector<FileFormat>;
    for (const VXGridFileFormat& map : VXGetGridFileFormats())
      rows->push_back({static_cast<Format>(rows->size()), FileKind::Map, map.name, map.title, map.extensions,
                       map.is_writeable, map.code});
    rows->insert(rows->end(), std::begin(kOtherFormats), std::end(kOtherFormats));
    return rows;
  }();
  return *all;
}

const FileFormat* format_of(Format id) { return &formats()[static_cast<size_t>(id)]; }

/// The first format for which `is_it` holds; null when there is none.
template <class Predicate>
const FileFormat* find_format(Predicate is_it) {
  const auto found = std::find_if(formats().begin(), formats().end(), is_it);
  return found == formats().end() ? nullptr : &*found;
}

std::vector<std::string> words_of(const char* list) {
  std::vector<std::string> words;
  VXStringTokenize(words, list, ",");
  return words;
}

// --- recognition by content ---

constexpr unsigned long kHead = 65536;  // bytes that are looked at

bool begins(std::string_view head, std::string_view with) { return head.substr(0, with.size()) == with; }

bool is_ccp4(std::string_view head) {
  if (head.size() < 1024) return false;
  if (head.substr(208, 4) == "MAP ") return true;
  for (const bool swap : {false, true}) {
    std::int32_t axes[] = {word(head, 16, swap), word(head, 17, swap), word(head, 18, swap)};
    std::sort(axes, axes + 3);
    const std::int32_t mode = word(head, 3, swap);
    if (axes[0] == 1 && axes[1] == 2 && axes[2] == 3 && (mode == 0 || mode == 2)) return true;
  }
  return false;
}

/// The title and the seven numbers in front of the values of a GRD file, each behind a word that says whether
/// it is there.
bool is_grd(std::string_view head) {
  size_t at = 0;
  for (int item = 0; item < 8; ++item) {
    if (at + 8 > head.size()) return false;
    const std::int32_t state = word(head.substr(at), 0);
    const bool is_there = state != 0;
    if (state < 0 || state > 2) return false;
    if (!is_there && item > 4) return false;
    at += 4 + (is_there ? item == 0 ? 80 : 4 : 0);
  }
  return true;
}

bool has_tag(std::string_view head, std::initializer_list<const char*> tags) {
  VXHost::vxisstream in{std::string(head.substr(0, 256))};
  std::string tag;
  return VXBReadTag(in, tag) && std::find(tags.begin(), tags.end(), tag) != tags.end();
}

bool is_vxx(std::string_view head) {
  return head.size() > 3 && head[0] >= 0 && head[0] <= 1 && head[1] >= 0 && head[1] <= 1 &&
         has_tag(head.substr(3), {"nref"});
}

const FileFormat* format_of_binary(std::string_view head) {
  if (begins(head, "MTZ ")) return format_of(Format::MTZ);
  if (is_ccp4(head)) return format_of(Format::CCP4);
  if (begins(head.substr(std::min<size_t>(4, head.size())), "now starting phimap"))
    return format_of(Format::Grasp);
  if (const std::int32_t titles = word(head, 1);
      titles >= 1 && titles <= 100 && word(head, 0) == 4 + 80 * titles)
    return format_of(Format::XPLOR);
  if (has_tag(head, {"VXSkewGrid", "VXScalarGrid", "VXZemoGrid"})) return format_of(Format::Native);
  if (is_vxx(head)) return format_of(Format::VXX);
  return is_grd(head) ? format_of(Format::GRD) : nullptr;
}

bool is_number(const std::string& word) {
  double number;
  return VXStringToNumber(word, number);
}

/// What one line of a text tells; null when it could stand in several formats.
const FileFormat* format_of_line(const std::string& line) {
  std::vector<std::string> words;
  VXStringTokenize(words, line, " \t\r");
  if (words.empty()) return nullptr;
  const std::string& first = words[0];
  if (first == "Title:") return format_of(Format::Ascii);
  if (first[0] == '{' && words.size() < 3 && first.find('"') == 1) return format_of(Format::JSON);
  if (begins(first, "_refln.")) return format_of(Format::CIF);
  if (begins(first, "_atom_site.") || begins(first, "@<TRIPOS>") || begins(line, "ATOM  ") ||
      begins(line, "HETATM") || begins(line, "CRYST1") ||
      (words.size() > 3 && (words.back() == "V2000" || words.back() == "V3000")))
    return format_of(Format::Coordinates);
  std::string sorted = first;
  std::sort(sorted.begin(), sorted.end());
  if (words.size() == 1 && sorted == "XYZ") return format_of(Format::XPLOR);
  if (words.size() > 4 && first == "HKL" && is_number(words[1]) && is_number(words[4]))
    return format_of(Format::HKL);
  std::string upper = first.substr(0, 4);
  std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) { return std::toupper(c); });
  if (words.size() > 3 && upper == "INDE" && is_number(words[1])) return format_of(Format::FOB);
  return nullptr;
}

const FileFormat* format_of_text(std::string_view head) {
  const size_t begin = head.find_first_not_of(" \t\r\n");
  if (begin != head.npos && head[begin] == '{' &&
      begins(head.substr(std::min(head.find_first_not_of(" \t\r\n", begin + 1), head.size())), "\""))
    return format_of(Format::JSON);
  bool is_first = true;  // of the lines beside comments
  const FileFormat* of_numbers = nullptr;
  VXHost::vxisstream in{std::string(head)};
  for (std::string line; in.getline(line);) {
    if (const FileFormat* const format = format_of_line(line)) return format;
    if (line.empty() || begins(line, "REM") || begins(line, "#")) continue;
    std::vector<std::string> words;
    VXStringTokenize(words, line, " \t\r");
    if (is_first && (words.size() == 6 || words.size() == 7 || words.size() >= 10) &&
        std::all_of(words.begin(), words.begin() + 6, is_number))
      of_numbers = format_of(Format::PHS);
    is_first = false;
  }
  return of_numbers;
}

const FileFormat* format_by_content(VXHost::vxistream& in) {
  std::string head;
  in.read(head, kHead);
  in.seek(0);
  if (const FileFormat* const format = format_of_binary(head)) return format;
  return head.find('\0') == head.npos ? format_of_text(head) : nullptr;
}

void require_readable(const std::string& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) throw Failure(file, "there is no such file");
  if (fs::is_directory(status)) throw Failure(file, "this is a directory");
  if (access(file.c_str(), R_OK) != 0) throw Failure(file, std::strerror(errno));
  if (fs::is_regular_file(status) && fs::file_size(file, error) == 0)
    throw Failure(file, "the file is empty");
}

}  // namespace

std::int32_t word(std::string_view bytes, size_t index, bool swap) {
  std::uint32_t value = 0;
  if (bytes.size() >= 4 * index + 4) std::memcpy(&value, bytes.data() + 4 * index, 4);
  return static_cast<std::int32_t>(swap ? __builtin_bswap32(value) : value);
}

std::vector<std::string> format_names(FileKind kind, bool written) {
  std::vector<std::string> names;
  for (const FileFormat& format : formats())
    if (format.kind == kind && (format.is_written || !written)) names.emplace_back(format.name);
  return names;
}

std::string extensions_of(FileKind kind, bool written) {
  std::vector<std::string> extensions;
  for (const FileFormat& format : formats())
    if (format.kind == kind && (format.is_written || !written))
      for (const std::string& extension : words_of(format.extensions)) extensions.push_back("." + extension);
  return join(extensions, " ");
}

const FileFormat* format_named(const std::string& name) {
  return find_format([&](const FileFormat& format) { return name == format.name; });
}

const FileFormat* format_by_extension(const std::string& file) {
  // These may hold coordinates as well as reflections.
  for (const char* shared : {"cif", "ent", "mmcif"})
    if (VXFileExtension(file, shared)) return nullptr;
  for (const FileFormat& format : formats())
    for (const std::string& extension : words_of(format.extensions))
      if (VXFileExtension(file, extension)) return &format;
  // Of those of the library's own formats the beginning is enough.
  const unsigned code = VXGetGridFileType(VXGetFileExtension(file.c_str()).c_str());
  return code ? find_format([code](const FileFormat& format) { return format.code == code; }) : nullptr;
}

InputFile::InputFile(const std::string& file, const std::string& from) {
  const bool is_stdin = file == "-";
  if (!is_stdin) require_readable(file);
  if (!in_.open(is_stdin ? "/dev/stdin" : file)) throw Failure(file, "cannot be opened");
  if (in_.eof()) {
    require_undamaged(file, in_);
    throw Failure(file, "the file is empty");
  }
  format_ = from.empty() ? format_by_extension(file) : format_named(from);
  if (format_) return;
  format_ = format_by_content(in_);
  // A file of coordinates without atoms, say, has nothing that tells it from others.
  if (!format_ && VXGetMoleculeFile(file) != VXMoleculeFile::Unknown)
    format_ = format_of(Format::Coordinates);
  if (!format_) {
    require_undamaged(file, in_);
    throw Failure(file, "not a kind of file that is known by its extension or its content: there are " +
                            extensions_of(FileKind::Map, false) + " for maps, " +
                            extensions_of(FileKind::Mtz, false) + " " +
                            extensions_of(FileKind::Reflections, false) + " for reflections, " +
                            extensions_of(FileKind::Model, false) + " for models, each also with .gz");
  }
}

void require_undamaged(const std::string& file, VXHost::vxistream& in) {
  in.seek(std::numeric_limits<unsigned long long>::max());
  if (in.damaged()) throw Failure(file, "the compressed content is cut short or damaged");
}

FileKind kind_of(const std::string& file) { return InputFile(file).format().kind; }

void write_file(const std::string& file, const std::function<bool(VXHost::vxostream&)>& write) {
  const LibraryLog log;
  if (file == "-") {
    errno = 0;
    if (!write(VXHost::vxout) || !VXHost::vxout.flush())
      throw Failure("standard output",
                    errno ? std::strerror(errno) : log.reason(file, "could not be written"));
    return;
  }
  if (!VXReplaceFile(file, write)) throw Failure(file, log.reason(file, "could not be written whole"));
}
