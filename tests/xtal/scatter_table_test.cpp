#include <vxgrid/xtal/scatter_table.h>

#include <cmath>
#include <map>

#include <vxgrid/host/molecule.h>

#include "support/support.h"

using namespace VXCore;

// Sums in millionths, plain and by row from 1, of the columns of three transcriptions of the published table
// that agree (libccp4 8.0.0, cctbx, gemmi): a mistyped digit changes the first, a swap of rows the second.
TEST(ScatterTable, ColumnSumsAreThoseOfThePublishedTable) {
  constexpr double VXScatterData::*columns[9] = {&VXScatterData::a1, &VXScatterData::b1, &VXScatterData::a2,
                                                 &VXScatterData::b2, &VXScatterData::a3, &VXScatterData::b3,
                                                 &VXScatterData::a4, &VXScatterData::b4, &VXScatterData::c};
  const long long want[9][2] = {
      {4163462143, 552674618014}, {649299888, 38630080559},     {2871838798, 378335328184},
      {960246334, 83792153023},   {1749669236, 243463936621},   {3168317461, 258523760144},
      {447563535, 71264934095},   {10599712621, 1158519179293}, {922277493, 148854644152}};
  for (int k = 0; k < 9; ++k) {
    long long sum = 0, by_row = 0;
    for (unsigned int i = 0; i < kScatterRows; ++i) {
      const long long value = std::llround(scatter_data[i].*columns[k] * 1e6);
      sum += value;
      by_row += value * (i + 1);
    }
    EXPECT_EQ(sum, want[k][0]) << "column " << k;
    EXPECT_EQ(by_row, want[k][1]) << "column " << k;
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
  // Number, charge, charge of the row found.
  const int rows[][3] = {{6, 2, 0}, {26, 1, 0}, {26, 2, 2},  {26, 3, 3},
                         {4, 1, 0}, {4, 2, 2},  {1, -1, -1}, {1, 1, 0}};
  VXGraphMol mol;
  for (const auto& [number, charge, found] : rows) {
    VXAtomBase* atom = mol.AddAtom(static_cast<unsigned int>(number));
    atom->SetFormalCharge(charge);
    const unsigned int row = VXGetScatterType(atom);
    ASSERT_LT(row, kScatterRows);
    EXPECT_EQ(scatter_data[row].atomic_number, number);
    EXPECT_EQ(scatter_data[row].formal_charge, found) << number << " charge " << charge;
  }
  for (unsigned int number : {0u, 99u, ~0u}) EXPECT_EQ(VXGetScatterType(mol.AddAtom(number)), ~0u) << number;
}
