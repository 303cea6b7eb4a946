#include <vxgrid/reflection/reflection_io.h>

#include <algorithm>
#include <cmath>

#include <vxgrid/reflection/reflection_text.inl>

namespace VXCore {
namespace {

constexpr std::size_t kLineLimit = 128;
constexpr int kMaxFields = 25;
constexpr std::size_t kFieldLimit = 80;

enum Role { H, K, L, Amplitude, Intensity, Fcalc, Phase, PhaseCalc, FOM, Sigma, RoleCount };

// Parts of column names. Each is looked for on its own, so that a sigma column counts as an amplitude, too.
constexpr struct {
  Role role;
  const char* part;
} kParts[] = {
    {H, ".index_h"},
    {K, ".index_k"},
    {L, ".index_l"},
    {Amplitude, ".f_meas"},
    {Amplitude, ".F_meas"},
    {Intensity, ".f_squared_meas"},
    {Intensity, ".F_squared_meas"},
    {Fcalc, ".f_calc"},
    {Fcalc, ".F_calc"},
    {Phase, ".phase_meas"},
    {PhaseCalc, ".phase_calc"},
    {FOM, ".fom"},
    {Sigma, ".f_meas_sigma"},
    {Sigma, ".F_meas_sigma"},
};

// Where the columns of the loop stand, -1 for those that it does not have.
class Loop {
 public:
  Loop() { std::fill_n(place_, RoleCount, -1); }
  void AddColumn(std::string_view name) {
    for (const auto& [role, part] : kParts)
      if (name.find(part) != name.npos) place_[role] = columns_;
    ++columns_;
  }
  bool HasHeader() const { return columns_ != 0; }
  bool Has(Role role) const { return place_[role] >= 0; }
  bool IsReadable() const {
    return Has(H) && Has(K) && Has(L) && Has(Sigma) && (Has(Amplitude) || Has(Intensity));
  }

  /// Divides a line into its fields; false when there are none.
  bool Divide(std::string_view line) {
    TextScanner scan(line);
    for (count_ = 0; count_ < std::min(columns_, kMaxFields); ++count_)
      if (!scan.Word(fields_[count_], kFieldLimit)) break;
    return count_ != 0;
  }
  bool Get(Role role, int& value) const { return Has(role) && TextScanner(Field(role)).Int(value); }
  bool Get(Role role, float& value) const { return Has(role) && TextScanner(Field(role)).Float(value); }

 private:
  std::string_view Field(Role role) const {
    return place_[role] < count_ ? fields_[place_[role]] : std::string_view();
  }

  int columns_ = 0;
  int place_[RoleCount];
  int count_ = 0;
  std::string_view fields_[kMaxFields];
};

// The reflection of the line that was divided, if it is one.
void add_reflection(const Loop& loop, GrowingColumns& columns) {
  int h, k, l;
  float sigma;
  if (!loop.Get(H, h) || !loop.Get(K, k) || !loop.Get(L, l) || !loop.Get(Sigma, sigma)) return;
  columns.AddIndex(h, k, l);
  columns.sigma.push_back(sigma);

  float fobs = kNotGiven;
  if (loop.Get(Intensity, fobs)) fobs = std::sqrt(fobs);
  loop.Get(Amplitude, fobs);
  columns.fobs.push_back(fobs);

  const auto add = [&](Role role, std::vector<float>& column) {
    float value = kNotGiven;
    loop.Get(role, value);
    if (loop.Has(role)) column.push_back(value);
  };
  add(Fcalc, columns.fcalc);
  add(Phase, columns.phase);
  add(PhaseCalc, columns.phase_calc);
  add(FOM, columns.fom);
}

}  // namespace

bool VXReadReflectionCIF(VXHost::vxistream& in, VXReflection& set) {
  GrowingColumns columns;
  Loop loop;
  bool in_data = false;
  TextLines lines(in, kLineLimit);
  for (std::string_view line; lines.Next(line);) {
    if (starts_with(line, "#")) continue;
    if (!in_data && starts_with(line, "_refln.")) {
      loop.AddColumn(line);
      continue;
    }
    if (!loop.HasHeader()) continue;
    if (starts_with(line, "_") || starts_with(line, "loop_")) break;
    if (!loop.Divide(line)) continue;
    if (!in_data && !loop.IsReadable()) return false;
    in_data = true;
    add_reflection(loop, columns);
  }
  return !columns.h.empty() && columns.Fill(set);
}

}  // namespace VXCore
