#include <vxgrid/xtal/scatter_table.h>

#include <cmath>
#include <map>

#include <vxgrid/host/molecule.h>

#include "support/support.h"

using namespace VXCore;

namespace {

const VXScatterData* row_of(int number, int charge) {
  const unsigned int row = VXGetScatterType(number, charge);
  return row < kScatterRows ? &scatter_data[row] : nullptr;
}

}  // namespace

// Sums in millionths, plain and by row from 1, of the columns of three transcriptions of the published table
// that agree (libccp4 8.0.0, cctbx, gemmi): a mistyped digit changes the first, a swap of rows the second.
TEST(ScatterTable, ColumnSumsAreThoseOfThePublishedTable) {
  const struct {
    double VXScatterData::*column;
    long long sum, by_row;
  } columns[] = {
      {&VXScatterData::a1, 4163462143, 552674618014}, {&VXScatterData::b1, 649299888, 38630080559},
      {&VXScatterData::a2, 2871838798, 378335328184}, {&VXScatterData::b2, 960246334, 83792153023},
      {&VXScatterData::a3, 1749669236, 243463936621}, {&VXScatterData::b3, 3168317461, 258523760144},
      {&VXScatterData::a4, 447563535, 71264934095},   {&VXScatterData::b4, 10599712621, 1158519179293},
      {&VXScatterData::c, 922277493, 148854644152},
  };
  for (const auto& column : columns) {
    long long sum = 0, by_row = 0;
    for (unsigned int i = 0; i < kScatterRows; ++i) {
      const long long value = std::llround(scatter_data[i].*column.column * 1e6);
      sum += value;
      by_row += value * (i + 1);
    }
    EXPECT_EQ(sum, column.sum) << &column - columns;
    EXPECT_EQ(by_row, column.by_row) << &column - columns;
  }
}

TEST(ScatterTable, RowsAreInOrderAndGiveTheirElectronsAtZeroAngle) {
  std::map<std::pair<int, int>, int> seen;
  for (unsigned int i = 0; i < kScatterRows; ++i) {
    const VXScatterData& row = scatter_data[i];
    SCOPED_TRACE(i);
    EXPECT_GE(row.atomic_number, scatter_data[i > 0 ? i - 1 : 0].atomic_number);
    EXPECT_EQ(seen[std::make_pair(row.atomic_number, row.formal_charge)]++, 0);
    const bool is_u6 = row.atomic_number == 92 && row.formal_charge == 6;
    EXPECT_EQ(row.electrons, is_u6 ? 84 : row.atomic_number - row.formal_charge);
    // The largest departure of the published fits is 0.058, of Tl.
    EXPECT_NEAR(row.a1 + row.a2 + row.a3 + row.a4 + row.c, row.atomic_number - row.formal_charge, 0.06);
  }
  for (int z = 1; z <= 98; ++z) EXPECT_EQ(seen.count(std::make_pair(z, 0)), 1u) << z;
}

TEST(ScatterTable, LookupTakesTheChargeThenTheNeutralAtom) {
  const struct {
    int number, charge, found_charge;
  } rows[] = {{6, 2, 0}, {26, 1, 0}, {26, 2, 2}, {26, 3, 3}, {4, 1, 0}, {4, 2, 2}, {1, -1, -1}, {1, 1, 0}};
  for (const auto& want : rows) {
    SCOPED_TRACE(testing::Message() << want.number << " charge " << want.charge);
    const VXScatterData* row = row_of(want.number, want.charge);
    ASSERT_TRUE(row);
    EXPECT_EQ(row->atomic_number, want.number);
    EXPECT_EQ(row->formal_charge, want.found_charge);
  }
  for (int number : {0, -1, 99, 200}) EXPECT_EQ(VXGetScatterType(number, 0), ~0u) << number;

  VXGraphMol mol;
  VXAtomBase* atom = mol.AddAtom(26);
  atom->SetFormalCharge(3);
  EXPECT_EQ(VXGetScatterType(atom), VXGetScatterType(26, 3));
}
