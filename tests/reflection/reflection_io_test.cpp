#include <vxgrid/reflection/reflection_io.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <support/support.h>
#include <vxgrid/host/binary_records.h>

#include "text_files.h"

namespace {

using namespace VXCore;
namespace Column = VXReflectionColumn;

constexpr float kHuge = 3.4028235e38f;

// Three reflections with every column, group P 21 21 21.
VXReflection full_set() {
  VXReflection set;
  set.SetCount(3);
  const int h[] = {1, -2, 3}, k[] = {0, 12345, 2}, l[] = {7, 0, -2147483647 - 1}, flags[] = {0, 1, -5};
  set.SetHKL(h, k, l, 3);
  for (unsigned int code = Column::Phase; code <= Column::Stolsq; ++code) {
    const float x = static_cast<float>(code);
    const float values[] = {x + 0.0625f, -1.5e-7f * x, code % 2 ? -kHuge : INFINITY};
    if (code == Column::Centric || code == Column::RFree)
      set.SetColumn(code, flags, 3);
    else
      set.SetColumn(code, values, 3);
  }
  const float a[] = {1, 2, 3}, b[] = {-1, 0.5f, kHuge}, c[] = {0, NAN, -NAN}, d[] = {4, 5, 6};
  set.SetABCD(a, b, c, d, 3);
  set.SetTitle("three");
  set.SetSymmetry(VXXtal::VXSymmetry(19, VXXtal::VXUnitCell(30, 40, 50, 90, 90, 90)));
  return set;
}

template <class Write>
std::string written(Write write, VXReflection& set) {
  VXHost::vxosstream out;
  EXPECT_TRUE(write(out, set));
  return out.str();
}

template <class... T>
std::string print(const char* format, T... values) {
  char text[1024];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

// The texts are those of printf, numbers too wide for their fields among them.
TEST(ReflectionWriters, AsPrintf) {
  VXReflection set = full_set();
  const VXReflectionImpl& r = *set.GetImpl();
  std::string phs, phs_short, xplor, bare;
  for (const unsigned int i : {1u, 0u, 2u}) {  // sorted
    const std::string index = print("%5d%5d%5d ", r.h[i], r.k[i], r.l[i]);
    const std::string line = index + print("%10.3f %10.3f %10.3f ", r.fobs[i], r.fom[i], r.phase[i]);
    phs_short += line + "\n";
    phs += line + print(" %11.5f %11.5f %11.5f %11.5f\n", r.hla[i], r.hlb[i], r.hlc[i], r.hld[i]);
    bare += "INDE " + index + "\n";
    xplor +=
        "INDE " + index + print("FOBS= %11.5f %11.5f ", r.fobs[i], r.phase[i]) +
        print("FCALC= %11.5f %11.5f ", r.fcalc[i], r.phase_calc[i]) + print("SIGMa= %8.5f ", r.sigma[i]) +
        print("FOM= %8.5f TEST= %1d ", r.fom[i], r.rfree[i]) +
        print("RESO= %11.5f ", 0.5 / std::sqrt(double{r.stolsq[i]})) +
        print("HLA= %11.5f HLB= %11.5f HLC= %11.5f HLD= %11.5f \n", r.hla[i], r.hlb[i], r.hlc[i], r.hld[i]);
  }
  set.Sort();
  EXPECT_EQ(written(VXWriteReflectionPHS, set), phs);
  EXPECT_EQ(written(VXWriteReflectionXPLOR, set), xplor);
  set.SetABCD(nullptr, nullptr, nullptr, nullptr, 3);
  EXPECT_EQ(written(VXWriteReflectionPHS, set), phs_short);
  const float* const none = nullptr;
  for (const unsigned int code : {Column::Phase, Column::Fcalc, Column::Sigma, Column::FOM, Column::Stolsq})
    set.SetColumn(code, none, 3);
  set.SetColumn(Column::RFree, static_cast<const int*>(nullptr), 3);
  EXPECT_EQ(written(VXWriteReflectionXPLOR, set), bare);
  VXHost::vxosstream out;
  EXPECT_FALSE(VXWriteReflectionPHS(out, set));
}

TEST(ReflectionFiles, FrontDoor) {
  const struct {
    const char* extension;
    bool missing_file, with_figures, without_figures;  // reads a file that is not there; is writable
  } rows[] = {{"hkl", true, false, false}, {"mtz", true, false, false},     {"cif", false, false, false},
              {"phs", false, true, false}, {"fob", false, true, true},      {"CV", false, true, true},
              {"vxx", false, true, true},  {"vxx.gz", false, false, false}, {"", false, false, false}};
  VXReflection figures = full_set(), no_figures = full_set(), empty;
  no_figures.SetColumn(Column::FOM, static_cast<const float*>(nullptr), 3);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.extension);
    const std::string name = scratch_file(std::string("set.") + row.extension);
    VXReflection set;
    EXPECT_EQ(VXReadReflection(name, set), row.missing_file);
    EXPECT_EQ(set.GetTitle(), row.missing_file ? name : "");
    EXPECT_FALSE(VXIsWritableReflection(name, empty));
    EXPECT_EQ(VXIsWritableReflection(name, no_figures), row.without_figures);
    EXPECT_EQ(VXWriteReflection(name, figures), row.with_figures);
    if (row.with_figures) {
      EXPECT_TRUE(VXReadReflection(name, set));
      EXPECT_EQ(set.GetTitle(), row.extension == std::string("vxx") ? "three" : name);
    }
  }
  const std::string full = scratch_file("full.phs");  // a name whose place has no room
  ASSERT_EQ(symlink("/dev/full", full.c_str()), 0);
  EXPECT_FALSE(VXWriteReflection(full, figures));
}

// One block in either byte order.
std::string block(const std::string& tag, const std::string& data) {
  return std::string(1, '\0') + static_cast<char>(tag.size()) + tag + static_cast<char>(data.size()) + data;
}
template <class T>
std::string bytes(std::initializer_list<T> values, bool swap = false) {
  std::string text;
  for (const T value : values) {
    char item[sizeof(T)];
    std::memcpy(item, &value, sizeof item);
    if (swap) std::reverse(item, item + sizeof item);
    text.append(item, sizeof item);
  }
  return text;
}

TEST(VXX, Layout) {
  VXReflection set;
  const std::string orders = {char(VXBFloatEndian()), char(VXBIntEndian()), char(VXBShortEndian())};
  EXPECT_EQ(written(VXWriteReflectionVXX, set), orders);
  const VXReflection full = full_set();
  const int h[] = {1, -2}, k[] = {3, 4}, l[] = {5, 6}, free_flags[] = {1, 0};
  const float phase[] = {10.5f, 20}, wt[] = {-1, 0};
  set.SetCount(2);
  set.SetHKL(h, k, l, 2);
  set.SetColumn(Column::Phidelwt, wt, 2);
  set.SetColumn(Column::RFree, free_flags, 2);
  set.SetColumn(Column::Phase, phase, 2);
  set.SetTitle("two");
  set.SetSymmetry(full.GetSymmetry());
  set.Sort();
  for (const bool swap : {false, true}) {
    const std::string start =
        swap ? std::string{char(!orders[0]), char(!orders[1]), char(!orders[2])} : orders;
    const std::string image =
        start + block("nref", bytes<unsigned>({2}, swap)) + block("title", "two") +
        block("sg", bytes<unsigned>({19}, swap)) +
        block("cell", bytes<float>({30, 40, 50, 90, 90, 90}, swap)) + block("H", bytes<int>({1, -2}, swap)) +
        block("K", bytes<int>({3, 4}, swap)) + block("L", bytes<int>({5, 6}, swap)) +
        block("phase", bytes<float>({10.5f, 20}, swap)) + block("rfree", bytes<int>({1, 0}, swap)) +
        block("phidelwt", bytes<float>({-1, 0}, swap));
    if (!swap) {
      EXPECT_EQ(written(VXWriteReflectionVXX, set), image);
    }
    VXReflection back;
    VXHost::vxisstream in(image);
    EXPECT_EQ(VXReadReflectionVXX(in, back), 0u);
    EXPECT_EQ(column_bytes(back), column_bytes(set));
    EXPECT_EQ(back.GetTitle(), "two");
    EXPECT_EQ(back.GetSymmetry().GetNumber(), 19u);
    EXPECT_TRUE(back.GetSymmetry().cell().equalsCell(full.GetSymmetry().cell(), 0));
  }
}

TEST(VXX, Status) {
  const std::string start(3, '\0'), two = block("nref", bytes<unsigned>({2}));
  const std::string h = block("H", bytes<int>({8, 9}));
  // clang-format off
  const struct {
    const char* what;
    std::string image;
    unsigned int status;
    const char* h;
  } rows[] = {
      {"two header bytes", std::string(2, '\0'), 8, "old"},
      {"nothing more", start, 0, ""},
      {"any order", start + h + two, 0, "h 8 9"},
      {"unknown tags", start + block("new", "x") + two + h + block("newer", ""), 8, "old"},
      {"unknown tags", start + block("new", "x") + two + h + block("newer", "1"), 0, "h 8 9"},
      {"the last counts",
       start + block("nref", bytes<unsigned>({7})) + two + h + block("H", bytes<int>({3, 4})), 0, "h 3 4"},
      {"longer than needed", start + two + block("H", bytes<int>({8, 9, 10})), 0, "h 8 9"},
      {"no columns", start + block("nref", bytes<unsigned>({4000000000})), 0, ""},
      {"a column too short", start + block("nref", bytes<unsigned>({4000000000})) + h, 6, "old"},
      {"a number too short", start + block("nref", "12"), 6, "old"},
      {"a cell too short", start + two + block("cell", std::string(20, 'x')), 6, "old"},
      {"cut in a block", (start + two + h).substr(0, 3 + two.size() + h.size() - 1), 9, "old"},
      {"cut in an unknown block", start + two + block("new", "12345").substr(0, 8), 9, "old"},
      {"cut at a length", start + two + h.substr(0, 3), 8, "old"},
      {"cut in a tag", start + two + h.substr(0, 2), 4, "old"},
      {"padded", start + two + h + std::string(8, '\0'), 4, "old"},
      {"length beyond all", start + two + std::string("\0\1H\xff\xff\xff\xff\x0f", 8), 9, "old"},
  };
  // clang-format on
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    VXReflection set = full_set();
    set.SetData<int>("attribute", 5);
    const auto before = column_bytes(set);
    VXHost::vxisstream in(row.image);
    EXPECT_EQ(VXReadReflectionVXX(in, set), row.status);
    EXPECT_EQ(set.GetData<int>("attribute"), 5);
    if (row.h == std::string("old")) {
      EXPECT_EQ(column_bytes(set), before);
    } else {
      EXPECT_EQ(listed(set), row.h);
    }
  }
}

// A real set out and back: the native file keeps every bit, text what its digits hold.
TEST(ReflectionFiles, RoundTrips) {
  SKIP_WITHOUT_DATA("crystals/4hg7.mtz");
  VXReflection set, back;
  ASSERT_TRUE(VXReadReflection(real_data("crystals/4hg7.mtz"), set));
  const VXReflectionImpl &r = *set.GetImpl(), &b = *back.GetImpl();
  ASSERT_TRUE(r.fobs && r.fom && set.SetColumn(Column::Phase, r.phase_calc, r.nref));
  for (const std::string name : {"trip.phs", "trip.fob", "trip.vxx"}) {
    ASSERT_TRUE(VXWriteReflection(scratch_file(name), set) && VXReadReflection(scratch_file(name), back));
    ASSERT_EQ(b.nref, r.nref);
    const float last_digit = name == "trip.phs" ? 0.00051f : 0.00002f;
    for (unsigned int i = 0; i < r.nref; ++i) {
      ASSERT_TRUE(r.h[i] == b.h[i] && r.k[i] == b.k[i] && r.l[i] == b.l[i]) << name << i;
      ASSERT_TRUE(std::isnan(r.fobs[i]) || std::abs(r.fobs[i] - b.fobs[i]) <= last_digit) << name << i;
      ASSERT_LE(std::abs(r.phase[i] - b.phase[i]), last_digit) << name << i;
    }
  }
  EXPECT_EQ(column_bytes(back), column_bytes(set));
  EXPECT_EQ(back.GetSymmetry().GetNumber(), set.GetSymmetry().GetNumber());
  EXPECT_TRUE(back.GetSymmetry().cell().equalsCell(set.GetSymmetry().cell(), 0));
}

}  // namespace
