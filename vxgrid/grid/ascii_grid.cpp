#include <vxgrid/grid/ascii_grid.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <vector>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/text.h>

namespace VXCore {
namespace {

// Samples that a file may announce whatever its length.
constexpr double kAlwaysGranted = 1 << 20;

constexpr unsigned long kWriteBlock = 65536;

// Reads the header line `key` into its tokens; false, with the warning, when their number or the first of
// them is not as it should be.
bool read_header_line(VXHost::vxistream& in, const char* key, std::size_t least, std::size_t most,
                      std::vector<std::string>& tokens) {
  std::string line;
  in.getline(line);
  VXStringTokenize(tokens, line, " \t\n");
  if (tokens.size() >= least && tokens.size() <= most && tokens[0] == key) return true;
  VXThrow.Warning("Problem reading %s line in Ascii grid", key);
  return false;
}

bool read_title(VXHost::vxistream& in, VXGrid<float>& grid) {
  std::vector<std::string> tokens;
  if (!read_header_line(in, "Title:", 1, std::string::npos, tokens)) return false;
  if (tokens.size() < 2) return true;
  std::string title = tokens[1];
  for (std::size_t i = 2; i < tokens.size(); ++i) title += " " + tokens[i];
  grid.SetTitle(title);
  return true;
}

bool read_mid(VXHost::vxistream& in, VXGrid<float>& grid) {
  std::vector<std::string> tokens;
  if (!read_header_line(in, "Mid:", 4, 4, tokens)) return false;
  float mid[3] = {};
  for (int i = 0; i < 3; ++i) VXStringToNumber(tokens[i + 1], mid[i]);
  grid.SetMid(mid[0], mid[1], mid[2]);
  return true;
}

// Sets the dimensions and tells how many samples they make. Each sample takes a byte of the file at least, so
// a lattice with more samples than bytes follow cannot be filled: beyond some size it gets no memory,
// has_room is false, and the grid stays as it is.
bool read_dim(VXHost::vxistream& in, VXGrid<float>& grid, double& samples, bool& has_room) {
  std::vector<std::string> tokens;
  if (!read_header_line(in, "Dim:", 4, 4, tokens)) return false;
  unsigned int dim[3] = {};
  for (int i = 0; i < 3; ++i) VXStringToNumber(tokens[i + 1], dim[i], 10);
  samples = static_cast<double>(dim[0]) * dim[1] * dim[2];
  has_room = samples <= std::max(kAlwaysGranted, static_cast<double>(in.max_bytes_left())) &&
             grid.SetDim(dim[0], dim[1], dim[2]);
  return true;
}

bool read_spacing(VXHost::vxistream& in, VXGrid<float>& grid) {
  std::vector<std::string> tokens;
  if (!read_header_line(in, "Spacing:", 2, 2, tokens)) return false;
  float spacing = 0.0f;
  VXStringToNumber(tokens[1], spacing);
  grid.SetSpacing(spacing);
  return true;
}

// One value a line. Without room the lines are only counted and checked.
bool read_values(VXHost::vxistream& in, VXGrid<float>& grid, double samples, bool has_room) {
  std::vector<std::string> tokens;
  if (!read_header_line(in, "Values:", 1, 1, tokens)) return false;
  std::string line;
  for (unsigned int found = 0; found < samples; ++found) {
    if (!in.getline(line)) {
      VXThrow.Warning("Reached early end-of-file.");
      VXThrow.Warning("Expected grid size: %.0f, found: %u", samples, found);
      return false;
    }
    float ignored;
    if (!VXStringToNumber(line, has_room ? grid[found] : ignored))
      VXThrow.Warning("Could not read floating point value from the text '%s'", line.c_str());
  }
  return has_room;
}

// Text collected into blocks, so that the stream is called once a block. Numbers as printf writes them in the
// C locale, filled up with blanks to a width.
class BlockWriter {
 public:
  explicit BlockWriter(VXHost::vxostream& out) : out_(out) {}
  ~BlockWriter() { out_.write(text_, used_); }

  void Text(const std::string& text) {
    if (used_ + text.size() > kWriteBlock) Flush();
    if (text.size() > kWriteBlock) {
      out_ << text;
      return;
    }
    std::memcpy(text_ + used_, text.data(), text.size());
    used_ += text.size();
  }
  // "%12.6f" after a blank.
  void Fixed(float number) {
    char digits[64];
    Right(digits, std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, 6).ptr, 12);
  }
  // "%6d" after a blank.
  void Whole(unsigned int number) {
    char digits[16];
    Right(digits, std::to_chars(digits, digits + sizeof digits, number).ptr, 6);
  }
  // "%-12.6e" and the line end.
  void ScientificLine(float number) {
    if (used_ + 32 > kWriteBlock) Flush();
    char* const begin = text_ + used_;
    char* end = std::to_chars(begin, begin + 31, number, std::chars_format::scientific, 6).ptr;
    while (end < begin + 12) *end++ = ' ';
    *end++ = '\n';
    used_ = end - text_;
  }

 private:
  void Right(const char* begin, const char* end, long width) {
    Text(std::string(1 + std::max(0l, width - (end - begin)), ' ').append(begin, end));
  }
  void Flush() {
    out_.write(text_, used_);
    used_ = 0;
  }

  VXHost::vxostream& out_;
  unsigned long used_ = 0;
  char text_[kWriteBlock];
};

}  // namespace

bool VXReadAsciiGrid(VXHost::vxistream& in, VXGrid<float>& grid) {
  double samples = 0.0;
  bool has_room = false;
  return read_title(in, grid) && read_mid(in, grid) && read_dim(in, grid, samples, has_room) &&
         read_spacing(in, grid) && read_values(in, grid, samples, has_room);
}

bool VXReadAsciiGrid(VXHost::vxistream& in, VXZemoGrid& grid) {
  VXGrid<float> read;
  const bool done = VXReadAsciiGrid(in, read);
  VXGridCopyGeometry(grid, read);
  VXMultiGrid<float>& floats = grid.GetFloats();
  if (VXGridSameGeometry(*floats.GetGrid(0), read)) {
    if (floats.GetNumGrids() == 1)
      floats.AdoptValues(read.ReleaseValues());
    else
      floats.SetValues(0, read.GetValues(), read.GetSize());
  }
  return done;
}

bool VXWriteAsciiGrid(VXHost::vxostream& out, const VXFixedGrid<float>& grid) {
  BlockWriter text(out);
  text.Text("Title: " + grid.GetTitle() + "\nMid:");
  for (const float mid : {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()}) text.Fixed(mid);
  text.Text("\nDim:");
  for (const unsigned int dim : {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()}) text.Whole(dim);
  text.Text("\nSpacing:");
  text.Fixed(grid.GetSpacing());
  text.Text("\nValues:\n");
  const float* const values = grid.GetValues();
  for (unsigned int i = 0; i < grid.GetSize(); ++i) text.ScientificLine(values[i]);
  return true;
}

bool VXWriteAsciiGrid(VXHost::vxostream& out, const VXZemoGrid& grid) {
  return VXWriteAsciiGrid(out, *grid.GetFloats().GetGrid(0));
}

}  // namespace VXCore
