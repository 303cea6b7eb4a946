#include <vxgrid/xtal/spacegroup.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <gemmi/symmetry.hpp>
#include <set>

#include <support/support.h>
#include <vxgrid/xtal/symmetry.h>

using namespace VXCore;
using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

gemmi::Op op_of(const float* m) {
  gemmi::Op op;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) op.rot[i][j] = static_cast<int>(m[4 * j + i] * gemmi::Op::DEN);
    op.tran[i] = static_cast<int>(std::lround(m[12 + i] * gemmi::Op::DEN));
  }
  return op;
}

std::set<gemmi::Op> ops_of(const SGRecord& record) {
  std::set<gemmi::Op> ops;
  for (unsigned int i = 0; i < record.op_count; ++i) ops.insert(op_of(record.ops[i]));
  return ops;
}

std::set<gemmi::Op> ops_of(const gemmi::SpaceGroup& group) {
  std::set<gemmi::Op> ops;
  for (gemmi::Op op : group.operations()) ops.insert(op.wrap());
  return ops;
}

// gemmi has the same operators, as a set, under the same number. The four others: P 1 21/n 1 goes by its
// name, gemmi does not number the setting 3004, and 2005 and 1008 keep old lists of their own.
TEST(SpaceGroups, EveryRowIsAGroupAndThatOfGemmi) {
  unsigned int total = 0;
  std::vector<std::string> differ;
  for (const SGRecord& record : sglib) {
    SCOPED_TRACE(record.long_name);
    const std::set<gemmi::Op> ops = ops_of(record);
    ASSERT_EQ(ops.size(), record.op_count) << "an operator stands twice";
    ASSERT_TRUE(op_of(record.ops[0]) == gemmi::Op::identity());
    for (const gemmi::Op& p : ops)
      for (const gemmi::Op& q : ops) ASSERT_TRUE(ops.count(p * q));
    for (unsigned int i = 0; i < kSpaceGroupRows; ++i) {
      const float* m = record.ops[i];
      ASSERT_EQ(m[15], i < record.op_count ? 1.0f : 0.0f);
      ASSERT_TRUE(m[3] == 0 && m[7] == 0 && m[11] == 0);
      ASSERT_TRUE(m[15] == 1 || std::all_of(m, m + 16, [](float v) { return v == 0; }));
      const float allowed[] = {0, 1 / 6.0f, 0.25f, 0.33333334f, 0.5f, 2 / 3.0f, 0.75f, 5 / 6.0f};
      for (int axis = 12; axis < 15; ++axis) ASSERT_THAT(allowed, testing::Contains(m[axis]));
    }
    total += record.op_count;

    const gemmi::SpaceGroup* group = gemmi::find_spacegroup_by_number(static_cast<int>(record.number));
    if (std::string(record.short_name) == "P21/n") group = gemmi::find_spacegroup_by_name("P 1 21/n 1");
    if (!group || ops != ops_of(*group)) differ.push_back(record.long_name);
    EXPECT_TRUE(!group || record.crystal_system == 1 + static_cast<unsigned int>(group->crystal_system()));
  }
  EXPECT_EQ(total, 4650u);
  EXPECT_THAT(differ, testing::ElementsAre("I 1 21 1", "A 2 1 1", "B 1 1 m"));
}

// Molecules store operator numbers, so the order counts: the swapped last two of I222a, block by block
// elsewhere, and centred blocks that are not those of the row's letter.
TEST(SpaceGroups, OrderOfOperators) {
  // Name, operator, image of (0.1, 0.2, 0.3).
  const std::tuple<const char*, int, std::array<float, 3>> rows[] = {
      {"I222a", 6, {0.4f, 0.2f, 0.2f}},    {"I222a", 7, {0.1f, 0.3f, 0.2f}},
      {"I 1 2 1", 3, {0.4f, 0.7f, -0.3f}}, {"B11m", 2, {0.6f, 0.7f, 0.3f}},
      {"P21/c", 1, {-0.1f, -0.2f, -0.3f}}, {"P21/n", 2, {-0.1f, -0.2f, -0.3f}},
      {"R -3", 4, {-0.3f, -0.1f, -0.2f}},  {"H3", 7, {0.13333334f, 0.56666666f, 0.96666664f}}};
  for (const auto& [name, op, image] : rows) {
    SCOPED_TRACE(name);
    CapturedLog log;
    const VXSymmetry symmetry(name, VXUnitCell(10, 10, 10, 90, 90, 90));
    float frac[3] = {0.1f, 0.2f, 0.3f};
    VXXtal::vecmul(frac, symmetry.GetMatrices() + 16 * op);
    for (int axis = 0; axis < 3; ++axis) EXPECT_NEAR(frac[axis], image[axis], 1e-6) << axis;
  }
}

TEST(SpaceGroups, Lookup) {
  const VXUnitCell cell(10, 10, 10, 90, 90, 90);
  const std::pair<unsigned int, const char*> numbers[] = {
      {2, "P -1"},       {5, "C 1 2 1"}, {14, "P 1 21/c 1"},      {1003, "P 1 1 2"}, {2003, "P 1 2 1"},
      {4005, "C 1 2 1"}, {1001, "P 1"},  {1230, "I 41/a -3 2/d"}, {1146, "R 3"},     {0, nullptr},
      {231, nullptr},    {999, nullptr}, {1000, nullptr}};
  const std::pair<const char*, std::vector<std::string>> names[] = {
      {"P 1 2 1", {"P2", "P 1 21"}},
      {"P 1 1 2", {"P 1 1 2"}},
      {"P 21/m 21/m 2/n", {"P 21/m 21/m 2/n", "Pmmn2"}},
      {"R 3", {"r 3"}},
      {"H 3", {"h3"}},
      {"P 21 21 21", {"p 21 21 21", "P212121", "P 2 1 2 1 2 1"}},
      {"P 1-", {"P 1 -"}},
      {"I 1 2 1", {"I2"}},
      {"P 1 21/n 1", {"P21/n  "}},
      {"C 2 2 21a)", {"C 2 2 21a)"}},
      {nullptr, {"P\t1", "", "P 21/n 21/m 21/b"}}};
  // The row is known by its operators: `matrices` points into the table.
  const auto row_of = [](const VXSymmetry& symmetry) -> const char* {
    const SGRecord* row = std::find_if(sglib, sglib + kSpaceGroupRows, [&](const SGRecord& record) {
      return record.ops[0] == symmetry.GetMatrices();
    });
    EXPECT_EQ(symmetry.GetNumber(), row == sglib + kSpaceGroupRows ? 0 : row->number);
    return row == sglib + kSpaceGroupRows ? nullptr : row->long_name;
  };
  for (const auto& [number, long_name] : numbers) {
    CapturedLog log;
    EXPECT_STREQ(row_of(VXSymmetry(number, cell)), long_name) << number;
    EXPECT_EQ(log.text().find("sgname"), std::string::npos);
  }
  for (const auto& [long_name, spellings] : names)
    for (const std::string& name : spellings) {
      CapturedLog log;
      EXPECT_STREQ(row_of(VXSymmetry(name, cell)), long_name) << name;
      const std::string failure = "sgname |" + name + "|\nError: Unknown spacegroup number\n";
      EXPECT_EQ(long_name ? failure : log.text(), failure);
    }
}

TEST(SpaceGroups, NameComparisons) {
  // The shorter first text counts as the larger, and the bound makes no prefix match.
  const std::tuple<const char*, const char*, unsigned int, int> rows[] = {
      {"p-1", "P-1", 10, 0}, {"abc", "abd", 10, -1}, {"abd", "ABC", 10, 1},  {"ab", "abc", 10, 1},
      {"abc", "ab", 10, -1}, {"abcd", "abce", 3, 1}, {"abcd", "abcd", 3, 1}, {"abc", "abc", 3, 0}};
  for (const auto& [a, b, bound, order] : rows)
    EXPECT_EQ(vx_strcasecmp(a, b, bound), order) << a << " " << b << " " << bound;
  EXPECT_TRUE(strspcmp(" P 2 ", "p2") == 0 && strspcmp("   ", "") == 0);
  EXPECT_TRUE(strspcmp("P\t2", "P2") != 0 && strspcmp("P21", "P2") != 0);
}

}  // namespace
