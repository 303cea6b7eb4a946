#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <vxgrid/host/stream.h>

enum class FileKind { Map, Mtz, Reflections, Model };

enum class Format { CCP4, XPLOR, Grasp, GRD, Ascii, JSON, Native, MTZ, CIF, PHS, FOB, HKL, VXX, Coordinates };

/// A format of files that the command reads or writes.
struct FileFormat {
  Format id;
  FileKind kind;
  const char* name;        // as --from and --to take it
  const char* title;       // in words
  const char* extensions;  // separated by commas
  bool is_written;
  unsigned code;  // of the library's grid formats, or 0
};

/// A 4-byte number of a file, 0 beyond its end; with `swap` in the other byte order.
std::int32_t word(std::string_view bytes, size_t index, bool swap = false);

/// The names that --from and --to may take.
std::vector<std::string> format_names(FileKind kind, bool written);

/// The extensions of the formats of a kind that are read, or written, each with its dot, separated by blanks.
/// Some stand for coordinates and for reflections.
std::string extensions_of(FileKind kind, bool written);

/// The format of a name for --from or --to; null when there is none.
const FileFormat* format_named(const std::string& name);

/// The format that the extension of a file names, .gz left out; null when it names none, or more than one.
const FileFormat* format_by_extension(const std::string& file);

/// A file open for reading, "-" for standard input. Its format is `from` when that is given; else it follows
/// from the extension or, where that does not tell, from the content. Failure when the file is not there, not
/// a file, empty, not readable or of no known format.
class InputFile {
 public:
  explicit InputFile(const std::string& file, const std::string& from = "");

  const FileFormat& format() const { return *format_; }
  VXHost::vxistream& stream() { return in_; }

 private:
  VXHost::vxifstream in_;
  const FileFormat* format_;
};

/// Goes to the end of a stream, where it shows whether what was compressed is whole; Failure when it is cut
/// short or damaged.
void require_undamaged(const std::string& file, VXHost::vxistream& in);

/// What a file holds; Failure as with InputFile.
FileKind kind_of(const std::string& file);

/// Has a file written, compressed for a name in .gz, or standard output for "-". A file that could not be
/// written whole is not there, or as it was before.
void write_file(const std::string& file, const std::function<bool(VXHost::vxostream&)>& write);
