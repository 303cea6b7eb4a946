#include <vxgrid/reflection/mtz.h>

#include <algorithm>
#include <bitset>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/large_array.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/host/text.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/column_block.inl>

namespace VXCore {

using VXHost::vxistream;
using VXHost::vxostream;

namespace {

using Names = VXMTZColumnNames;
using Labels = std::vector<std::string>;
using Roles = std::bitset<Names::RoleCount>;

constexpr std::size_t kRecord = 80;  // bytes of the first record and of each text record
constexpr std::size_t kRecordWords = kRecord / 4;
constexpr std::size_t kLabelSize = 24;    // what is kept of a column label
constexpr unsigned char kBigEndian = 17;  // in the format bytes

struct FirstRecord {
  bool big_reals = false, big_integers = false;
  std::uint64_t header_offset = 0;  // of the text records
};

// False on a wrong magic. `bytes` holds kRecord bytes.
bool parse_first_record(const char* bytes, FirstRecord& first) {
  if (std::memcmp(bytes, "MTZ ", 4) != 0) return false;
  first.big_reals = static_cast<unsigned char>(bytes[8]) == kBigEndian;
  first.big_integers = static_cast<unsigned char>(bytes[9]) == kBigEndian;
  std::uint32_t pointer;
  std::memcpy(&pointer, bytes + 4, 4);
  if (first.big_integers) pointer = __builtin_bswap32(pointer);
  first.header_offset = std::uint64_t{pointer} * 4 - 4;  // pointer 0 wraps to beyond every end
  return true;
}

// One text record, read from the left.
class Record {
 public:
  bool Read(vxistream& in) {
    rest_ = std::string_view(bytes_, in.read(bytes_, kRecord));
    return rest_.size() == kRecord;
  }
  bool StartsWith(std::string_view text) {
    if (rest_.substr(0, text.size()) != text) return false;
    rest_.remove_prefix(text.size());
    return true;
  }
  // Goes behind the first place of a text.
  bool Find(std::string_view text) {
    const std::size_t at = rest_.find(text);
    if (at == std::string_view::npos) return false;
    rest_.remove_prefix(at + text.size());
    return true;
  }
  // The next characters between blanks; empty at the end. A zero byte ends the record.
  std::string Word() {
    const auto blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    std::size_t begin = 0;
    while (begin < rest_.size() && blank(rest_[begin])) ++begin;
    std::size_t end = begin;
    while (end < rest_.size() && !blank(rest_[end]) && rest_[end] != '\0') ++end;
    const std::string word(rest_.substr(begin, end - begin));
    rest_.remove_prefix(end);
    return word;
  }
  template <class... T>
  bool Numbers(T&... numbers) {
    return (VXStringToNumber(Word(), numbers) && ...);
  }
  // The label and the type of a COLUMN record.
  bool Column(std::string& label, char& type) {
    label = Word().substr(0, kLabelSize);
    const std::string word = Word();
    if (word.empty()) return false;
    type = word[0];
    return true;
  }

 private:
  char bytes_[kRecord];
  std::string_view rest_;
};

// What the text records say; where the columns of each role stand in a row, -1 for those that the file does
// not have. Amplitudes may be given as intensities, in a column of their own.
struct Header {
  unsigned int columns = 0, reflections = 0;
  VXXtal::VXUnitCell cell;
  unsigned int space_group = 0;
  bool has_resolution = false;
  float resolution_low = 0, resolution_high = 0;  // 1/d^2, Å^-2
  std::vector<long> place = std::vector<long>(Names::RoleCount, -1);
  long fobs_intensity = -1, fcalc_intensity = -1;
};

void place_column(Header& header, const Labels& names, const std::string& label, char type, long position) {
  const bool intensity = type == 'J' || type == 'K';
  for (unsigned int role = 0; role < Names::RoleCount; ++role) {
    if (names[role] != label) continue;
    if (intensity && role == Names::Fobs)
      header.fobs_intensity = position;
    else if (intensity && role == Names::Fcalc)
      header.fcalc_intensity = position;
    else
      header.place[role] = position;
  }
}

// Reads text records up to the end of the file, or to the first that cannot be scanned.
Header read_header(vxistream& in, const Labels& names) {
  Header header;
  Record record;
  long position = 0;
  for (bool good = true; good && record.Read(in);) {
    if (record.StartsWith("NCOL")) {
      unsigned int batches;
      good = record.Numbers(header.columns, header.reflections, batches);
    } else if (record.StartsWith("CELL")) {
      float a, b, c, alpha, beta, gamma;
      good = record.Numbers(a, b, c, alpha, beta, gamma);
      if (good) header.cell = VXXtal::VXUnitCell(a, b, c, alpha, beta, gamma);
    } else if (record.StartsWith("SYMINF")) {
      float operators, primitive;
      good = record.Numbers(operators, primitive) && !record.Word().empty() &&
             record.Numbers(header.space_group);
    } else if (record.StartsWith("RESO")) {
      good = record.Numbers(header.resolution_low, header.resolution_high);
      header.has_resolution = good;
    } else if (record.StartsWith("COLUMN")) {
      std::string label;
      char type;
      good = record.Column(label, type);
      if (good) place_column(header, names, label, type, position++);
    }
  }
  return header;
}

// The words of a file from its first record on, and how they lie in rows.
struct Rows {
  const std::uint32_t* words;  // of the file; the first row starts at kRecordWords
  std::size_t width, count;
};

// One column of the rows [begin, end), from the word at `position` of each row; -1 is the word before the
// row.
template <class T, class Convert>
void read_column(const Rows& rows, long position, bool swap, T* out, std::size_t begin, std::size_t end,
                 Convert&& convert) {
  const std::uint32_t* word = rows.words + kRecordWords + begin * rows.width + position;
  for (std::size_t i = begin; i < end; ++i, word += rows.width) {
    const std::uint32_t bits = swap ? __builtin_bswap32(*word) : *word;
    float value;
    std::memcpy(&value, &bits, 4);
    out[i] = convert(value);
  }
}

// Truncation; what 32 bits cannot hold, not-a-number too, becomes INT_MIN.
int to_int(float value) {
  return value >= -2147483648.0f && value < 2147483648.0f ? static_cast<int>(value) : INT_MIN;
}

// One float column to fill: where it goes and where it stands.
struct FloatColumn {
  float* out;
  long position;
  bool is_intensity;
};

// Makes the columns of the set that the file has and that are wanted. An intensity for fobs is taken from the
// place of the amplitude, for fcalc from its own.
std::vector<FloatColumn> make_columns(VXReflectionImpl& set, const Header& header, const Roles& wanted) {
  std::vector<FloatColumn> columns;
  const auto add = [&](unsigned int role, float*& column, long position, bool present, bool is_intensity) {
    if (!present || !wanted[role]) return;
    resize_column(column, set.nref);
    if (!column) throw std::bad_alloc();
    columns.push_back({column, position, is_intensity});
  };
  const auto add_plain = [&](unsigned int role, float*& column) {
    add(role, column, header.place[role], header.place[role] >= 0, false);
  };
  const long fobs = header.place[Names::Fobs], fcalc = header.place[Names::Fcalc];
  const bool fobs_squared = header.fobs_intensity >= 0, fcalc_squared = header.fcalc_intensity >= 0;
  add(Names::Fobs, set.fobs, fobs, fobs >= 0 || fobs_squared, fobs_squared);
  add(Names::Fcalc, set.fcalc, fcalc_squared ? header.fcalc_intensity : fcalc, fcalc >= 0 || fcalc_squared,
      fcalc_squared);
  add_plain(Names::Sigma, set.sigma);
  const auto has = [&](unsigned int role) { return header.place[role] >= 0; };
  if (has(Names::HLA) && has(Names::HLB) && has(Names::HLC) && has(Names::HLD)) {
    add_plain(Names::HLA, set.hla);
    add_plain(Names::HLB, set.hlb);
    add_plain(Names::HLC, set.hlc);
    add_plain(Names::HLD, set.hld);
  }
  add_plain(Names::Phase, set.phase);
  add_plain(Names::PhaseCalc, set.phase_calc);
  add_plain(Names::FOM, set.fom);
  add_plain(Names::Fwt, set.fwt);
  add_plain(Names::Fdelwt, set.fdelwt);
  add_plain(Names::Phiwt, set.phiwt);
  add_plain(Names::Phidelwt, set.phidelwt);
  return columns;
}

// Fills the set from the rows, some rows at a time, which stay in cache for all columns. Free flags are left
// out: they have no part in maps. False without columns for the indices.
bool fill_set(VXReflectionImpl& set, const Rows& rows, const Header& header, const FirstRecord& first,
              const Roles& wanted) {
  const long h = header.place[Names::H], k = header.place[Names::K], l = header.place[Names::L];
  if (h < 0 || k < 0 || l < 0) return false;
  set.SetCount(header.reflections);
  for (int** index : {&set.h, &set.k, &set.l}) resize_column(*index, set.nref);
  if (!set.h || !set.k || !set.l) return false;
  const std::vector<FloatColumn> columns = make_columns(set, header, wanted);

  constexpr std::size_t kBlock = 1024;
  for (std::size_t begin = 0; begin < rows.count; begin += kBlock) {
    const std::size_t end = std::min(begin + kBlock, rows.count);
    read_column(rows, h, first.big_integers, set.h, begin, end, to_int);
    read_column(rows, k, first.big_integers, set.k, begin, end, to_int);
    read_column(rows, l, first.big_integers, set.l, begin, end, to_int);
    for (const FloatColumn& column : columns) {
      if (column.is_intensity)
        read_column(rows, column.position, first.big_reals, column.out, begin, end,
                    [](float intensity) { return std::sqrt(intensity); });
      else
        read_column(rows, column.position, first.big_reals, column.out, begin, end,
                    [](float v) { return v; });
    }
  }
  return true;
}

// VXReadReflectionMTZ for the wanted roles; the indices always are.
bool read_reflections(vxistream& in, VXReflection& set, const Labels& names, const Roles& wanted) try {
  char start[kRecord];
  if (in.read(start, kRecord) < kRecord) {
    set.Clear();
    return true;
  }
  FirstRecord first;
  if (!parse_first_record(start, first)) return false;
  set.Clear();
  if (first.header_offset < kRecord) return false;

  // The words of the file, from its first one on: the word before the first row is there to be read.
  const std::uint64_t announced = std::min<std::uint64_t>(first.header_offset - kRecord, in.max_bytes_left());
  VXHost::VXLargeArray<std::uint32_t> words(kRecordWords + (announced + 3) / 4,
                                            VXHost::VXLargeArray<std::uint32_t>::Uninitialised);
  std::memcpy(words.data(), start, kRecord);
  const std::uint64_t data_words =
      in.read(reinterpret_cast<char*>(words.data() + kRecordWords), announced) / 4;

  const Header header = read_header(in, names);
  if (header.has_resolution) set.SetRESO(header.resolution_low, header.resolution_high);
  if (header.reflections == 0 || header.columns == 0) return true;

  long last = std::max(header.fobs_intensity, header.fcalc_intensity);
  for (const long position : header.place) last = std::max(last, position);
  const std::uint64_t row = std::max<std::uint64_t>(header.columns, static_cast<std::uint64_t>(last + 1));
  const Rows rows = {words.data(), header.columns, header.reflections};
  if (std::uint64_t{header.reflections - 1} * header.columns + row > data_words ||
      !fill_set(*set.GetImpl(), rows, header, first, wanted)) {
    set.Clear();
    return false;
  }
  if (header.space_group != 0 && header.cell.gamma != 0)
    set.SetSymmetry(VXXtal::VXSymmetry(header.space_group, header.cell));
  return true;
} catch (const std::bad_alloc&) {
  set.Clear();
  return false;
}

std::string join(const Labels& labels) {
  std::string text;
  for (const std::string& label : labels) text += (text.empty() ? "" : "|") + label;
  return text;
}

// The float statistics of a map before it is normalised; the sum runs in element order.
struct Statistics {
  float min = 3.4028235e38f, max = -3.4028235e38f, mean = 0;
};

Statistics statistics(const VXSkewGrid& grid) {
  constexpr std::size_t kLanes = 8;  // of the extremes, whose order is free
  float low[kLanes], high[kLanes], sum = 0;
  Statistics s;
  std::fill_n(low, kLanes, s.min);
  std::fill_n(high, kLanes, s.max);
  const float* const values = grid.GetValues();
  const std::size_t n = grid.GetSize();
  for (std::size_t i = 0; i < n; i += kLanes) {
    const std::size_t lanes = std::min(kLanes, n - i);
    for (std::size_t j = 0; j < lanes; ++j) {
      low[j] = values[i + j] < low[j] ? values[i + j] : low[j];
      high[j] = values[i + j] > high[j] ? values[i + j] : high[j];
    }
    for (std::size_t j = 0; j < lanes; ++j) sum += values[i + j];
  }
  for (std::size_t j = 0; j < kLanes; ++j) {
    s.min = std::min(s.min, low[j]);
    s.max = std::max(s.max, high[j]);
  }
  s.mean = sum / static_cast<float>(n);
  return s;
}

}  // namespace

VXMTZColumnNames::VXMTZColumnNames()
    : names_{"H",   "K",   "L",   "FP",  "FC",         "PHI", "PHIC",   "SIGFP", "FOM",
             "HLA", "HLB", "HLC", "HLD", "FreeR_flag", "FWT", "DELFWT", "PHWT",  "PHDELWT"} {}

bool VXMTZColumnNames::SetColumnName(unsigned int index, const std::string& label) {
  if (index >= names_.size()) return false;
  names_[index] = label;
  return true;
}

const std::string& VXMTZColumnNames::GetColumnName(unsigned int index) const {
  static const std::string none;
  return index < names_.size() ? names_[index] : none;
}

struct VXMTZColumnsPrivate {
  std::string fdelwt = "DELFWT", phidelwt = "PHDELWT", fwt = "FWT", phiwt = "PHWT", fobs = "FP", phi,
              fc = "FC", phic = "PHIC", sigmaa = "SIGF";
};

VXMTZColumns::VXMTZColumns() : impl_(std::make_unique<VXMTZColumnsPrivate>()) {}
VXMTZColumns::VXMTZColumns(const VXMTZColumns& other)
    : impl_(std::make_unique<VXMTZColumnsPrivate>(*other.impl_)) {}
VXMTZColumns& VXMTZColumns::operator=(const VXMTZColumns& other) {
  *impl_ = *other.impl_;
  return *this;
}
VXMTZColumns::~VXMTZColumns() = default;

#define VX_LABEL(X, field)                                                 \
  const std::string& VXMTZColumns::Get##X() const { return impl_->field; } \
  void VXMTZColumns::Set##X(const std::string& label) { impl_->field = label; }
VX_LABEL(Fdelwt, fdelwt)
VX_LABEL(Phidelwt, phidelwt)
VX_LABEL(Fwt, fwt)
VX_LABEL(Phiwt, phiwt)
VX_LABEL(Fobs, fobs)
VX_LABEL(Phi, phi)
VX_LABEL(Fc, fc)
VX_LABEL(Phic, phic)
VX_LABEL(SigmaA, sigmaa)
#undef VX_LABEL

struct VXMTZPrivate {
  explicit VXMTZPrivate(const std::string& name) : filename(name) {}
  void List();

  std::string filename;
  VXHost::vxifstream file;
  vxistream* in = &file;
  Labels labels;
  std::vector<char> types;
  Labels amplitudes, phases, sigmas, flags;
  bool valid = false;
};

// Lists the columns of the stream and classifies them.
void VXMTZPrivate::List() {
  valid = VXGetMTZFileColumnNamesAndTypes(*in, labels, types);
  in->seek(0);
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const auto is_one_of = [type = types[i]](const char* some) { return type && std::strchr(some, type); };
    Labels* const list = is_one_of("FGJK")  ? &amplitudes
                         : is_one_of("P")   ? &phases
                         : is_one_of("LMQ") ? &sigmas
                         : is_one_of("I")   ? &flags
                                            : nullptr;
    if (list) list->push_back(labels[i]);
  }
}

VXMTZ::VXMTZ(const std::string& filename) : impl_(std::make_unique<VXMTZPrivate>(filename)) {
  std::string extension = VXGetFileExtension(filename.c_str());
  if (extension.size() > 2 && extension.compare(extension.size() - 2, 2, "gz") == 0)
    extension.resize(extension.size() - 2);
  if (extension != "mtz") return;
  if (impl_->file.open(filename))
    impl_->List();
  else
    VXThrow.Error("Unable to open file %s", filename.c_str());
}

VXMTZ::VXMTZ(vxistream& in, const std::string& filename) : impl_(std::make_unique<VXMTZPrivate>(filename)) {
  impl_->in = &in;
  impl_->List();
}

VXMTZ::~VXMTZ() = default;

bool VXMTZ::IsValid() const { return impl_->valid; }
const Labels& VXMTZ::GetAmplitudes() const { return impl_->amplitudes; }
const Labels& VXMTZ::GetPhases() const { return impl_->phases; }
const Labels& VXMTZ::GetSigmaA() const { return impl_->sigmas; }
const Labels& VXMTZ::GetFreeR() const { return impl_->flags; }

bool VXMTZ::FindColumn(const std::string& label) const {
  return std::find(impl_->labels.begin(), impl_->labels.end(), label) != impl_->labels.end();
}

bool VXMTZ::FindColumns(const Labels& labels) const {
  for (const std::string& label : labels) {
    if (FindColumn(label)) continue;
    PrintColumns();
    VXThrow.Error("Requested column '%s' not found.", label.c_str());
    return false;
  }
  return true;
}

void VXMTZ::PrintColumns() const { PrintColumns(VXHost::vxerr); }

void VXMTZ::PrintColumns(vxostream& out) const {
  out << "Available Columns:\n";
  VXThrow.Warning("Available columns:");
  for (const std::string& label : impl_->labels) out << "\t" << label << VXHost::vxendl;
}

bool VXMTZ::AutoGetColumns(VXMTZColumns& columns) const {
  using Setter = void (VXMTZColumns::*)(const std::string&);
  const auto choose = [&](const Labels& tried, Setter set) {
    const auto found = std::find_if(tried.begin(), tried.end(), [&](const auto& t) { return FindColumn(t); });
    if (found == tried.end()) return false;
    (columns.*set)(*found);
    return true;
  };
  choose({"FC", "F-model"}, &VXMTZColumns::SetFc);
  choose({"PHIC", "PHIF-model"}, &VXMTZColumns::SetPhic);
  // "F-obs" takes the place of the calculated amplitude, on purpose: files with that label have been read so.
  if (!choose({"F", "FP"}, &VXMTZColumns::SetFobs)) choose({"F-obs"}, &VXMTZColumns::SetFc);
  choose({"SIGF", "SIGFP", "SIGF-Obs"}, &VXMTZColumns::SetSigmaA);

  static const Labels kGroups[] = {{"DELFWT", "PHDELWT", "FWT", "PHWT"},
                                   {"FOFCWT", "PHFOFCWT", "2FOFCWT", "PH2FOFCWT"}};
  for (const Labels& group : kGroups) {
    if (!std::all_of(group.begin(), group.end(), [&](const auto& label) { return FindColumn(label); }))
      continue;
    columns.SetFdelwt(group[0]);
    columns.SetPhidelwt(group[1]);
    columns.SetFwt(group[2]);
    columns.SetPhiwt(group[3]);
    return true;
  }
  return false;
}

namespace {

// AutoGetColumns with its reports.
bool choose_columns(const VXMTZ& mtz, unsigned int maptype, VXMTZColumns& columns) {
  switch (maptype) {
    case VXMTZMapType::Fo:
    case VXMTZMapType::Fc:
    case VXMTZMapType::TwoFoFc:
    case VXMTZMapType::TwoFoFcSigmaA:
    case VXMTZMapType::Fwt:
    case VXMTZMapType::Fdelwt:
      break;
    default:
      VXThrow.Error(
          "Maptype must be one of Fdelwt, Fwt, 2Fo-Fc, 2Fo-FcSigmaA or Fc for automatically opening an mtz "
          "file.");
      return false;
  }
  if (!mtz.AutoGetColumns(columns)) {
    VXThrow.Warning("Could not find appropriate columns for auto opening.");
    return false;
  }
  VXThrow.Verbose("Automatically chosen MTZ Columns");
  VXThrow.Verbose("MTZ Column\tFWT\t%s", columns.GetFwt().c_str());
  VXThrow.Verbose("MTZ Column\tPHIFWT\t%s", columns.GetPhiwt().c_str());
  VXThrow.Verbose("MTZ Column\tFDELWT\t%s", columns.GetFdelwt().c_str());
  VXThrow.Verbose("MTZ Column\tPHIDELWT\t%s", columns.GetPhidelwt().c_str());
  VXThrow.Verbose("MTZ Column\tFC\t%s", columns.GetFc().c_str());
  VXThrow.Verbose("MTZ Column\tPHIC\t%s", columns.GetPhic().c_str());
  VXThrow.Verbose("MTZ Column\tF\t%s", columns.GetFobs().c_str());
  VXThrow.Verbose("MTZ Column\tPHI\t%s", columns.GetPhi().c_str());
  VXThrow.Verbose("MTZ Column\tSIGF\t%s", columns.GetSigmaA().c_str());
  return true;
}

// A column that a map type takes from the user's choice: its role, label, and how a report begins.
struct Choice {
  unsigned int role;
  std::string label;
  const char* report;
};

// Empty for map types that have no such columns.
std::vector<Choice> choices(unsigned int maptype, VXMTZColumns& columns) {
  switch (maptype) {
    case VXMTZMapType::Fdelwt:
      return {{Names::Fdelwt, columns.GetFdelwt(), " Fdelwt:   "},
              {Names::Phidelwt, columns.GetPhidelwt(), " Phidelwt: "}};
    case VXMTZMapType::Fwt:
      return {{Names::Fwt, columns.GetFwt(), " Fwt:   "}, {Names::Phiwt, columns.GetPhiwt(), " Phiwt: "}};
    case VXMTZMapType::TwoFoFc:
    case VXMTZMapType::FoFc:
    case VXMTZMapType::ThreeFoTwoFc:
    case VXMTZMapType::FiveFoThreeFc:
      return {{Names::Fobs, columns.GetFobs(), " FObs: "},
              {Names::Fcalc, columns.GetFc(), " Fc:   "},
              {Names::PhaseCalc, columns.GetPhic(), " Phic: "}};
    case VXMTZMapType::TwoFoFcSigmaA:
    case VXMTZMapType::FoFcSigmaA:
      return {{Names::Fobs, columns.GetFobs(), " FObs: "},
              {Names::Fcalc, columns.GetFc(), " Fc:   "},
              {Names::PhaseCalc, columns.GetPhic(), " Phic: "},
              {Names::Sigma, columns.GetSigmaA(), " SigmaA: "}};
    case VXMTZMapType::Fc:
      return {{Names::Fcalc, columns.GetFc(), " Fc:   "}, {Names::PhaseCalc, columns.GetPhic(), " Phic: "}};
    case VXMTZMapType::Fo:
      if (columns.GetPhi().empty()) {
        VXThrow.Warning("Using PHIC in place of PHI for observed map.");
        columns.SetPhi(columns.GetPhic());
      }
      return {{Names::Fobs, columns.GetFobs(), " FObs:   "}, {Names::Phase, columns.GetPhi(), " Phi:    "}};
    default:
      return {};
  }
}

// The roles that a map is made from. What a file has beyond them stays unread: it would be expanded in vain.
Roles roles_of(const std::vector<Choice>& chosen, unsigned int maptype) {
  Roles roles;
  for (const Choice& choice : chosen) roles.set(choice.role);
  if (maptype == VXMTZMapType::TwoFoFcSigmaA || maptype == VXMTZMapType::FoFcSigmaA)
    for (const auto role : {Names::HLA, Names::HLB, Names::HLC, Names::HLD, Names::Phase}) roles.set(role);
  return roles;
}

// Statistics, normalisation, type and attributes of a map fresh from the transform.
void finish_map(VXSkewGrid& grid, bool difference, const VXMTZPrivate& mtz) {
  const Statistics s = statistics(grid);
  const float sigma = VXSigmaNormalizeGrid(grid);
  grid.SetType(difference ? VXGridTypeDifferenceMap : VXGridTypeRegularMap);
  VXZemoGrid& inner = grid.GetImpl().GetImpl();
  inner.SetData<float>(AMIN, s.min);
  inner.SetData<float>(AMAX, s.max);
  inner.SetData<float>(ARMS, sigma);
  inner.SetData<float>(AMEAN, s.mean);
  grid.SetData<std::string>("mtz_filename", mtz.filename);
  for (const char* stale : {"FObs", "Sigma", "RFree"}) grid.DeleteData(stale);
  grid.SetData<std::string>("fobs", join(mtz.amplitudes));
  grid.SetData<std::string>("sigma", join(mtz.sigmas));
  grid.SetData<std::string>("rfree", join(mtz.flags));
}

}  // namespace

bool VXMTZ::MakeMap(VXSkewGrid& grid, unsigned int maptype, VXMTZColumns& columns, bool autoopen,
                    bool checkonly) const {
  if (!IsValid()) return false;
  if (autoopen && !choose_columns(*this, maptype, columns)) return false;
  const bool difference = maptype == VXMTZMapType::FoFc || maptype == VXMTZMapType::Fdelwt ||
                          maptype == VXMTZMapType::FcDifference;
  if (maptype == VXMTZMapType::FcDifference) maptype = VXMTZMapType::Fc;

  const std::vector<Choice> chosen = choices(maptype, columns);
  if (chosen.empty()) {
    VXThrow.Error("Unknown map type");
    return false;
  }
  const auto report = [&chosen] {
    for (const Choice& c : chosen) VXThrow.Verbose("%sUsing column %s", c.report, c.label.c_str());
  };
  Labels labels;
  for (const Choice& choice : chosen) labels.push_back(choice.label);
  if (maptype != VXMTZMapType::Fo) report();
  if (!FindColumns(labels)) {
    VXThrow.Warning("Unable to find desired columns in file %s", impl_->filename.c_str());
    PrintColumns();
    return false;
  }
  if (maptype == VXMTZMapType::Fo) report();
  VXMTZColumnNames names;
  for (const Choice& choice : chosen) names.SetColumnName(choice.role, choice.label);
  if (checkonly) {
    VXThrow.Info("MTZ File should be okay for reading.");
    return true;
  }

  VXReflection set;
  impl_->in->seek(0);
  if (!read_reflections(*impl_->in, set, names.GetColumnNames(), roles_of(chosen, maptype))) return false;
  if (!set.Expand() || !std::move(set).MakeMap(grid, maptype)) {
    VXThrow.Warning("Could not expand input map to desired maptype.");
    return false;
  }
  finish_map(grid, difference, *impl_);
  return true;
}

bool VXMTZ::MakeMap(VXSkewGrid& grid, unsigned int maptype) const {
  VXMTZColumns columns;
  return MakeMap(grid, maptype, columns, true, false);
}

bool VXGetMTZFileColumnNamesAndTypes(vxistream& in, Labels& names, std::vector<char>& types) {
  char start[kRecord];
  FirstRecord first;
  if (in.read(start, kRecord) < kRecord || !parse_first_record(start, first) || !in.seek(first.header_offset))
    return false;
  bool found = false;
  for (Record record; record.Read(in);) {
    std::string label;
    char type;
    if (!record.Find("COLUMN") || !record.Column(label, type)) continue;
    names.push_back(label);
    types.push_back(type);
    found = true;
  }
  return found;
}

bool VXReadReflectionMTZ(vxistream& in, VXReflection& set, const VXMTZColumnNames& names) {
  return read_reflections(in, set, names.GetColumnNames(), Roles().set());
}

bool VXReadMTZ(const std::string& filename, VXSkewGrid& grid, unsigned int maptype) {
  return VXMTZ(filename).MakeMap(grid, maptype);
}

}  // namespace VXCore
