#include <vxgrid/reflection/reflection_io.h>

#include <algorithm>
#include <array>
#include <cmath>

#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/reflection_row.inl>
#include <vxgrid/reflection/reflection_text.inl>

namespace VXCore {
namespace {

using VXHost::vxistream;
using VXHost::vxostream;

constexpr std::size_t kLineLimit = 128;

// The first words of a record, in small letters. A word ends behind "=", and at 80 characters.
class Words {
 public:
  int Count() const { return count_; }
  std::string_view operator[](int i) const {
    if (i < 0 || i >= count_) return {};
    const std::size_t begin = i ? end_[i - 1] : 0;
    return {text_ + begin, end_[i] - begin};
  }
  void Clear() { count_ = 0, length_ = 0, begin_ = 0; }
  /// A piece of a line; its last word goes on in the next piece unless it is ended.
  void Add(std::string_view piece) {
    for (const char c : piece) {
      if (count_ == kMaxWords) return;
      if (!is_blank(c)) text_[length_++] = c;
      if (is_blank(c) || c == '=' || length_ - begin_ == kWordLimit) EndWord();
    }
  }
  void EndWord() {
    if (count_ == kMaxWords || length_ == begin_) return;
    begin_ = end_[count_++] = length_;
  }

 private:
  static constexpr int kMaxWords = 25;
  static constexpr std::size_t kWordLimit = 80;
  char text_[kMaxWords * kWordLimit];
  std::size_t end_[kMaxWords];
  int count_ = 0;
  std::size_t begin_ = 0, length_ = 0;  // of the word in the making, of the text
};

enum Role { Index, Fobs, Phase, Fcalc, PhaseCalc, FOM, Sigma, HLA, HLB, HLC, HLD, Test, RoleCount };

// Parts of keywords, and what the first and the second value behind each is.
constexpr struct {
  const char* part;
  Role first, second;
} kKeywords[] = {
    {"inde", Index, RoleCount}, {"fobs", Fobs, Phase},     {"fcal", Fcalc, PhaseCalc},
    {"phas", Phase, RoleCount}, {"fom", FOM, RoleCount},   {"sigm", Sigma, RoleCount},
    {"hla", HLA, RoleCount},    {"hlb", HLB, RoleCount},   {"hlc", HLC, RoleCount},
    {"hld", HLD, RoleCount},    {"test", Test, RoleCount},
};

// Where the values of every record stand, -1 for those that the first one does not have.
class Template {
 public:
  Template() { place_.fill(-1); }
  explicit Template(const Words& words) : Template() {
    for (int i = 0; i < words.Count(); ++i)
      for (const auto& [part, first, second] : kKeywords) {
        if (words[i].find(part) == std::string_view::npos || !IsValue(words[i + 1])) continue;
        place_[first] = i + 1;
        if (second != RoleCount && IsValue(words[i + 2])) place_[second] = i + 2;
      }
  }
  int operator[](Role role) const { return place_[role]; }

 private:
  // A number, or something in its place; not the next keyword.
  static bool IsValue(std::string_view word) {
    float number;
    const bool is_letter = !word.empty() && word[0] >= 'a' && word[0] <= 'z';
    return !word.empty() && (!is_letter || TextScanner(word).Float(number));
  }

  std::array<int, RoleCount> place_;
};

void add_reflection(const Template& place, const Words& words, GrowingColumns& columns) {
  const int index = place[Index];
  int h, k, l;
  if (index < 0 || !TextScanner(words[index]).Int(h) || !TextScanner(words[index + 1]).Int(k) ||
      !TextScanner(words[index + 2]).Int(l))
    return;
  columns.AddIndex(h, k, l);
  const auto add = [&](Role role, std::vector<float>& column) {
    if (place[role] < 0) return;
    float value = kNotGiven;
    TextScanner(words[place[role]]).Float(value);
    column.push_back(value);
  };
  add(Fobs, columns.fobs);
  add(Phase, columns.phase);
  add(Fcalc, columns.fcalc);
  add(PhaseCalc, columns.phase_calc);
  add(FOM, columns.fom);
  add(Sigma, columns.sigma);
  add(HLA, columns.hla);
  add(HLB, columns.hlb);
  add(HLC, columns.hlc);
  add(HLD, columns.hld);
  if (place[Test] < 0) return;
  int flag = 0;
  TextScanner(words[place[Test]]).Int(flag);
  columns.rfree.push_back(flag);
}

}  // namespace

bool VXReadReflectionXPLOR(vxistream& in, VXReflection& set) {
  GrowingColumns columns;
  Template place;
  Words words;
  bool has_template = false, in_record = false;
  const auto end_record = [&] {
    if (!in_record) return;
    words.EndWord();
    if (!has_template) place = Template(words);
    has_template = true;
    add_reflection(place, words, columns);
    words.Clear();
  };

  char small[kLineLimit];
  TextLines lines(in, kLineLimit);
  for (std::string_view line; lines.Next(line);) {
    if (starts_with(line, "#")) continue;
    std::transform(line.begin(), line.end(), small,
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    const std::string_view text(small, line.size());
    if (text.find("inde") != text.npos) {
      end_record();
      in_record = true;
    }
    if (!in_record) continue;
    words.Add(text);
    if (lines.IsWhole()) words.EndWord();
  }
  end_record();
  return !columns.h.empty() && columns.Fill(set);
}

bool VXWriteReflectionXPLOR(vxostream& out, VXReflection& set) {
  const VXReflectionImpl& data = *set.GetImpl();
  if (!data.h || !data.k || !data.l) return false;
  const bool has_coefficients = data.hla && data.hlb && data.hlc && data.hld;
  return write_rows(out, data, [&](ReflectionRow& row, unsigned int i) {
    const auto item = [&](const char* name, double value, int width) {
      row.Text(name).Real(value, width, 5).Text(" ");
    };
    const auto pair = [&](const char* name, const float* amplitude, const float* phase) {
      if (!amplitude || !phase) return;
      item(name, amplitude[i], 11);
      item("", phase[i], 11);
    };
    row.Text("INDE ").Int(data.h[i], 5).Int(data.k[i], 5).Int(data.l[i], 5).Text(" ");
    pair("FOBS= ", data.fobs, data.phase);
    pair("FCALC= ", data.fcalc, data.phase_calc);
    if (data.sigma) item("SIGMa= ", data.sigma[i], 8);
    if (data.fom) item("FOM= ", data.fom[i], 8);
    if (data.rfree) row.Text("TEST= ").Int(data.rfree[i], 1).Text(" ");
    if (data.stolsq) item("RESO= ", 0.5 / std::sqrt(static_cast<double>(data.stolsq[i])), 11);
    if (!has_coefficients) return;
    item("HLA= ", data.hla[i], 11);
    item("HLB= ", data.hlb[i], 11);
    item("HLC= ", data.hlc[i], 11);
    item("HLD= ", data.hld[i], 11);
  });
}

}  // namespace VXCore
