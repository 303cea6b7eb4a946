#include <vxgrid/formats/xplor.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <vxgrid/formats/grasp.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/text.h>
#include <vxgrid/formats/map_frame.inl>

namespace VXCore {
namespace {

using VXHost::vxistream;

// Axes from that of the sections to the fastest one.
constexpr const char* kModes[] = {"XYZ", "XZY", "YXZ", "YZX", "ZXY", "ZYX"};

struct Head {
  int period[3] = {}, start[3] = {};
  int end[3] = {};  // inclusive until check_dims
  float cell[6] = {};
  std::string mode;

  // NA, AMIN, AMAX, NB, BMIN, BMAX, NC, CMIN, CMAX.
  void set_box(const int numbers[9]) {
    for (int axis = 0; axis < 3; ++axis) {
      period[axis] = numbers[3 * axis];
      start[axis] = numbers[3 * axis + 1];
      end[axis] = numbers[3 * axis + 2];
    }
  }
};

// Fields such as " 1.23450E+01" and "-0.12345E+02", to the float that VXStringToNumber gives. The digits and
// the power of ten are exact doubles, so `value` is the double nearest to the number; the float nearest to
// that is nearest to the number too, unless it stands half-way between two floats, where its own rounding may
// have put it.
bool plain_number(std::string_view field, float& number) {
  static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                       1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  constexpr int kMostPower = 22;  // 5^22 is the last that a double holds
  if (field.size() != 12) return false;
  const char* const c = field.data();
  const auto digit = [c](int i) { return static_cast<unsigned int>(c[i]) - '0'; };
  bool is_plain = (c[0] == ' ' || c[0] == '-') && c[2] == '.' && c[8] == 'E' && (c[9] == '+' || c[9] == '-');
  unsigned int digits = 0;
  for (const int i : {1, 3, 4, 5, 6, 7}) {
    is_plain &= digit(i) <= 9;
    digits = 10 * digits + digit(i);
  }
  const unsigned int exponent = 10 * digit(10) + digit(11);
  const int power = (c[9] == '-' ? -static_cast<int>(exponent) : static_cast<int>(exponent)) - 5;
  if (!is_plain || digit(10) > 9 || digit(11) > 9 || power < -kMostPower || power > kMostPower) return false;
  const double value = power < 0 ? digits / kPowers[-power] : digits * kPowers[power];
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  if ((bits & 0x1fffffff) == 0x10000000) return false;
  number = static_cast<float>(c[0] == '-' ? -value : value);
  return true;
}

/// The text form, read by lines.
class TextForm {
 public:
  explicit TextForm(vxistream& in) : in_(in) {}

  bool read_head(Head& head) {
    int titles;
    do {
      if (!next_line()) {
        VXThrow.Warning("Failed to retrieve number of title lines");
        return false;
      }
    } while (whole_numbers(&titles, 1) < 1);
    for (; titles > 0 && next_line(); --titles) {
    }
    return read_box(head) && read_cell(head) && find_mode(head);
  }

  // Whether the file may hold so many samples: each takes a character at least and, as the last of its line,
  // the line's end.
  bool can_hold(std::size_t samples) const { return samples <= (in_.max_bytes_left() + 1) / 2; }

  /// Goes behind the line with a section's number, which carries no position. What is left of the line before
  /// is dropped.
  void begin_section() {
    next_line();
    rest_ = {};
  }

  bool read_row(float* to, std::size_t n, std::size_t stride) {
    for (; n > 0; --n, to += stride) {
      while (rest_.empty() && next_line()) {
      }
      const std::string_view field = rest_.substr(0, kFieldWidth);
      rest_.remove_prefix(field.size());
      if (plain_number(field, *to)) continue;
      const std::string text(field);
      if (VXStringToNumber(text, *to)) continue;
      VXThrow.Warning("Unable to convert string to number while reading XPLOR file: %s", text.c_str());
      return false;
    }
    return true;
  }

 private:
  static constexpr std::size_t kFieldWidth = 12;

  bool next_line() {
    const bool found = in_.getline(line_, sizeof line_);
    rest_ = line_;
    return found;
  }

  // Reads whole numbers from the start of the line, n at most; how many there are is the result.
  int whole_numbers(int* numbers, int n) const {
    const char* at = line_;
    for (int found = 0; found < n; ++found) {
      char* stop;
      const long number = std::strtol(at, &stop, 10);
      if (stop == at || number < INT_MIN || number > INT_MAX) return found;
      numbers[found] = static_cast<int>(number);
      at = stop;
    }
    return n;
  }

  bool read_box(Head& head) {
    int numbers[9];
    next_line();
    if (whole_numbers(numbers, 9) < 9) {
      VXThrow.Warning("XPLOR map: nine whole numbers expected, here is \"%s\"", line_);
      return false;
    }
    head.set_box(numbers);
    return true;
  }

  // Numbers that blanks divide, or fields that touch each other.
  bool read_cell(Head& head) {
    next_line();
    std::vector<std::string> parts;
    VXStringTokenize(parts, line_, " \t");
    if (parts.size() >= 6 && convert(parts, head.cell)) return true;
    parts.clear();
    for (; parts.size() < 6; rest_.remove_prefix(std::min(kFieldWidth, rest_.size())))
      parts.emplace_back(rest_.substr(0, kFieldWidth));
    if (convert(parts, head.cell)) return true;
    VXThrow.Warning("XPLOR map: six numbers of a cell expected, here is \"%s\"", line_);
    return false;
  }

  static bool convert(const std::vector<std::string>& parts, float cell[6]) {
    return std::all_of(parts.begin(), parts.begin() + 6,
                       [&cell](const std::string& part) { return VXStringToNumber(part, *cell++); });
  }

  bool find_mode(Head& head) {
    while (next_line())
      for (const char* const mode : kModes)
        if (std::strstr(line_, mode)) {
          head.mode = mode;
          return true;
        }
    VXThrow.Warning("Could not find the ordering specification");
    return false;
  }

  vxistream& in_;
  char line_[1024] = {};
  std::string_view rest_;  // of the line
};

/// The unformatted form: records of Fortran in the machine's byte order, whose lengths are not looked at.
/// Numbers that a short header does not have are 0.
class UnformattedForm {
 public:
  UnformattedForm(vxistream& in, int titles) : in_(in), titles_(titles) {}

  bool read_head(Head& head) {
    constexpr unsigned long kTitleBytes = 80;
    skip(kTitleBytes * static_cast<unsigned long>(titles_) + 2 * kMarkBytes);
    int box[9] = {};
    double cell[6] = {};
    char mode[4] = {};
    in_.read(reinterpret_cast<char*>(box), sizeof box);
    in_.read(reinterpret_cast<char*>(cell), sizeof cell);
    in_.read(mode, 3);
    head.set_box(box);
    std::copy_n(cell, 6, head.cell);
    head.mode = mode;
    return true;
  }

  bool can_hold(std::size_t samples) const { return samples <= in_.max_bytes_left() / sizeof(double); }

  /// Goes from the end of what the record before holds over the record with the section's number, which
  /// carries no position, to the first sample.
  void begin_section() { skip(kMarkBytes + (kMarkBytes + 4 + kMarkBytes) + kMarkBytes); }

  bool read_row(float* to, std::size_t n, std::size_t stride) {
    while (n > 0) {
      const std::size_t part = std::min(n, kBlock);
      const std::size_t got =
          in_.read(reinterpret_cast<char*>(block_), part * sizeof(double)) / sizeof(double);
      for (std::size_t i = 0; i < got; ++i) to[i * stride] = static_cast<float>(block_[i]);
      if (got < part) {
        VXThrow.Warning("XPLOR map: the file ends before its last sample");
        return false;
      }
      to += part * stride;
      n -= part;
    }
    return true;
  }

 private:
  static constexpr unsigned long kMarkBytes = 4;
  static constexpr std::size_t kBlock = 1024;

  void skip(unsigned long bytes) { in_.seek(in_.tell() + bytes); }

  vxistream& in_;
  int titles_;
  double block_[kBlock];
};

/// Where the samples of a file go: counts and strides of the outer, the middle and the inner axis.
struct Places {
  std::size_t count[3], stride[3];
};

template <class Form>
bool read_samples(Form& form, const Places& places, float* values) {
  for (std::size_t o = 0; o < places.count[0]; ++o) {
    form.begin_section();
    for (std::size_t m = 0; m < places.count[1]; ++m)
      if (!form.read_row(values + o * places.stride[0] + m * places.stride[1], places.count[2],
                         places.stride[2]))
        return false;
  }
  return true;
}

template <class Form>
bool read_map(Form& form, VXZemoGrid& grid) {
  Head head;
  if (!form.read_head(head)) return false;
  int flags_any, flags_wrap;
  if (!check_dims(head.period[0], head.period[1], head.period[2], head.end, head.start, flags_any,
                  flags_wrap))
    return false;
  if (std::find(std::begin(kModes), std::end(kModes), head.mode) == std::end(kModes)) {
    VXThrow.Error("XPLOR: Axes mode %s is not recognized.", head.mode.c_str());
    return false;
  }
  unsigned long count[3];
  for (int axis = 0; axis < 3; ++axis)
    count[axis] = static_cast<unsigned long>(static_cast<long long>(head.end[axis]) - head.start[axis]);
  const int samples = VXGridSizeMultiply(count[0], count[1], count[2]);
  if (samples == 0) return false;

  Places places{};
  for (int i = 0; i < 3; ++i) places.count[i] = count[head.mode[i] - 'X'];
  if (!form.can_hold(static_cast<std::size_t>(samples))) {
    // There is a fault or an end ahead: all samples go to one place up to there.
    float nowhere;
    read_samples(form, places, &nowhere);
    return false;
  }
  VXZemoGrid read;
  if (!size_map_grid(read, head.end, head.start, flags_wrap)) return false;
  const unsigned int dims[3] = {read.GetXDim(), read.GetYDim(), read.GetZDim()};
  const std::size_t step[3] = {1, dims[0], std::size_t{dims[0]} * dims[1]};
  for (int i = 0; i < 3; ++i) places.stride[i] = step[head.mode[i] - 'X'];
  float* const values = read.GetFloats().GetValues();
  if (!read_samples(form, places, values)) return false;
  close_planes(values, dims, flags_wrap);
  place_in_cell(read, head.cell, head.period[0], head.period[1], head.period[2], head.end, head.start);
  read.SetTitle("xplor");
  grid = std::move(read);
  return true;
}

}  // namespace

bool VXReadXPLORMap(vxistream& in, VXZemoGrid& grid) {
  constexpr int kMostTitles = 100;
  const unsigned long long from = in.tell();
  VXGraspIO::BeginGraspBlock(in);
  const int titles = VXGraspIO::ReadGraspInt(in, false);
  if (titles >= 1 && titles <= kMostTitles) {
    UnformattedForm form(in, titles);
    return read_map(form, grid);
  }
  in.seek(from);
  TextForm form(in);
  return read_map(form, grid);
}

}  // namespace VXCore
