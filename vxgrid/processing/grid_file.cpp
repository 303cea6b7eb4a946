#include <vxgrid/processing/grid_file.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <vxgrid/host/zemomol.h>
#include <vxgrid/processing/lattice.inl>

namespace VXCore {
namespace {

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

File open_file(const char* path, const char* mode) { return File(vi_fopen(path, mode), vi_fclose); }

// True when everything written to the file has reached it.
bool close_written(File file) {
  const bool clean = !std::ferror(file.get());
  return vi_fclose(file.release()) == 0 && clean;
}

struct Header {
  float mid[3], spacing, inverse_spacing;
  int dim[3], content;
};
static_assert(sizeof(Header) == 36);

enum Content { kFloats = 1, kIntegers = 2, kBoth = 3 };

std::size_t bytes_left(FILE* file) {
  const long here = std::ftell(file);
  if (here < 0 || std::fseek(file, 0, SEEK_END) != 0) return 0;
  const long end = std::ftell(file);
  return std::fseek(file, here, SEEK_SET) == 0 && end > here ? static_cast<std::size_t>(end - here) : 0;
}

// Missing values read as 0, as long as they take no more than this beyond what the file holds.
constexpr std::size_t kMostMissing = std::size_t{64} << 20;

// An array of n zeros, filled as far as the file goes.
template <class T>
T* read_array(FILE* file, std::size_t n) {
  T* const values = static_cast<T*>(std::calloc(n ? n : 1, sizeof(T)));
  if (values && std::fread(values, sizeof(T), n, file) < n) std::clearerr(file);
  return values;
}

int write_binary(const GridStruct& grid, const char* path, int count) {
  std::printf("writing BINARY grid file");
  File file = open_file(path, "wb");
  if (!file) {
    std::printf("Cannot open file %s\n", path ? path : "");
    return 0;
  }
  const Header head = {{grid.xmid, grid.ymid, grid.zmid},
                       grid.spacing,
                       grid.inverse_spacing,
                       {grid.xdim, grid.ydim, grid.zdim},
                       count};
  const std::size_t n = static_cast<std::size_t>(lattice::element_count(grid));
  std::fwrite(&head, sizeof head, 1, file.get());
  if (count == kIntegers || count == kBoth) std::fwrite(grid.integers, sizeof(int), n, file.get());
  if (count == kFloats || count == kBoth) std::fwrite(grid.floats, sizeof(float), n, file.get());
  return close_written(std::move(file));
}

// Lines go out when the next one begins, so a blank one comes before the first.
void write_lines(FILE* file, const float* values, std::size_t n, std::size_t per_line) {
  std::string line(13 * per_line + 2, ' ');
  line += '\n';
  for (std::size_t first = 0; first < n; first += per_line) {
    std::fwrite(line.data(), 1, line.size(), file);
    line.clear();
    for (std::size_t i = first; i < std::min(n, first + per_line); ++i) {
      char column[32];
      line.append(column, std::snprintf(column, sizeof column, "%12.5e ", static_cast<double>(values[i])));
    }
    line += '\n';
  }
  if (n > 0) std::fwrite(line.data(), 1, line.size(), file);
}

int write_text(const GridStruct& grid, const char* path, int count) {
  if (count < 1) {
    vi_warning_print("Cannot write %d values to a line\n", count);
    return 0;
  }
  File file = open_file(path, "w");
  if (!file) {
    vi_warning_print("Cannot open file %s\n", path ? path : "");
    return 0;
  }
  std::fprintf(file.get(), "Ascii Grid file\n\n");
  std::fprintf(file.get(), "Grid spacing = %10.5f\n", grid.spacing);
  std::fprintf(file.get(), "Grid center  = %10.5f %10.5f %10.5f\n", grid.xmid, grid.ymid, grid.zmid);
  std::fprintf(file.get(), "Grid size    = %d %d %d\n", grid.xdim, grid.ydim, grid.zdim);
  std::fprintf(file.get(), "\nGrid values in batches of %d\n", count);
  write_lines(file.get(), grid.floats, static_cast<std::size_t>(lattice::element_count(grid)),
              static_cast<std::size_t>(count));
  return close_written(std::move(file));
}

}  // namespace

int vi_read_grid(int, GridStruct* out, const char* path) {
  const File file = open_file(path, "rb");
  if (!file) {
    vi_warning_print("Cannot open file %s", path ? path : "");
    return 0;
  }
  Header head{};
  if (std::fread(&head, 1, sizeof head, file.get()) < sizeof head) std::clearerr(file.get());
  out->floats = nullptr;
  out->integers = nullptr;
  out->xmid = head.mid[0];
  out->ymid = head.mid[1];
  out->zmid = head.mid[2];
  out->spacing = head.spacing;
  out->inverse_spacing = head.inverse_spacing;
  out->xdim = head.dim[0];
  out->ydim = head.dim[1];
  out->zdim = head.dim[2];

  const bool impossible =
      std::any_of(head.dim, head.dim + 3, [](int dim) { return dim < 0; }) || vx_grid_struct_overflow(*out);
  const std::size_t n = static_cast<std::size_t>(lattice::element_count(*out));
  const std::size_t arrays = head.content == kBoth ? 2 : head.content == kFloats || head.content == kIntegers;
  const std::size_t left = bytes_left(file.get());
  if (impossible || 4 * arrays * n > left + kMostMissing) {
    vi_warning_print("Grid file %s: a lattice of %d x %d x %d is announced, %zu bytes of values follow", path,
                     head.dim[0], head.dim[1], head.dim[2], left);
    return 0;
  }
  if (head.content == kFloats || head.content == kBoth) out->floats = read_array<float>(file.get(), n);
  if (head.content == kIntegers || head.content == kBoth) out->integers = read_array<int>(file.get(), n);
  return 1;
}

int vi_write_grid(int, GridStruct grid, int format, const char* path, int count) {
  if (format == 1) return write_binary(grid, path, count);
  if (format == 2) return write_text(grid, path, count);
  return 1;
}

}  // namespace VXCore
