#include <vxgrid/exchange/grid_field.h>

#include <gtest/gtest.h>

#include <climits>

#include <vxgrid/exchange/grid_json.h>

#include "grid/grid_support.h"
#include "support/support.h"

using namespace VXRecordKit;
using VXCore::VXScalarGrid;
using VXCore::VXSkewGrid;

namespace {

template <class T>
T sample_grid(int x = 2) {
  return T(numbered_grid(x, 3, 4));
}

template <class T>
bool same(const T& a, const T& b) {
  return VXCore::VXGridSameGeometry(a, b) && values_of(a) == values_of(b) && a.GetTitle() == b.GetTitle();
}

/// Its part of names: "" or "Skew".
template <class T>
const std::string kind = std::is_same_v<T, VXSkewGrid> ? "Skew" : "";

}  // namespace

template <class T>
class GridField : public testing::Test {};
using Kinds = testing::Types<VXScalarGrid, VXSkewGrid>;
TYPED_TEST_SUITE(GridField, Kinds);

TYPED_TEST(GridField, IsRegisteredAtLoad) {
  auto& registry = VXFieldTypeHandlerRegistry::GetInstance();
  const std::pair<std::string, const void*> rows[] = {
      {"Chem." + kind<TypeParam> + "Grid", VXCore::VXGetDataType<TypeParam>()},
      {"Chem." + kind<TypeParam> + "GridVec", VXCore::VXGetDataType<std::vector<TypeParam>>()}};
  for (const auto& [name, type] : rows) {
    auto* const handler = const_cast<VXFieldTypeHandler*>(registry.FindByName(name));
    ASSERT_TRUE(handler && handler == registry.FindByType(type));
    EXPECT_EQ(call_slot<const char*>(handler, 6), name);
    EXPECT_TRUE(call_slot<bool>(handler, 7) && !call_slot<bool>(handler, 8));
  }
}

TYPED_TEST(GridField, OneGridThereAndBack) {
  using Field = VXFieldType<TypeParam>;
  const Field field;
  TypeParam grid = sample_grid<TypeParam>(), back;
  grid.template SetData<float>("SIGMA", 1.5f);
  const VXBytes bytes = Field::ToBytes(grid);
  ASSERT_TRUE(Field::FromBytes(back, bytes));
  EXPECT_TRUE(same(back, grid) && !back.HasData("SIGMA"));
  EXPECT_TRUE(field.PtrToBytes(&grid) == bytes && *Field::ToBytes(VXOptional<TypeParam>(grid)) == bytes);
  EXPECT_FALSE(Field::ToBytes(VXOptional<TypeParam>()));
  EXPECT_EQ(Field::Format(grid), kind<TypeParam>.empty() ? "<VXScalarGrid>" : "<VXSkewGrid>");

  // Through JSON, which is that of the grid read from the bytes; of no bytes that of a default grid.
  EXPECT_EQ(field.BytesToJSON(bytes), VXCore::VXGridToJSON(back, 17303));
  TypeParam from_json;
  EXPECT_TRUE(Field::FromBytes(from_json, field.JSONToBytes(field.BytesToJSON(bytes))));
  EXPECT_TRUE(values_of(from_json) == values_of(grid) && from_json.GetTitle() == "numbered");
  EXPECT_EQ(field.BytesToJSON(VXBytes()), VXCore::VXGridToJSON(TypeParam(), 17303));
  TypeParam no_grid;
  EXPECT_TRUE(Field::FromBytes(no_grid, Field::ToBytes(TypeParam())) && no_grid.GetSize() == 1);

  const CapturedLog quiet;
  EXPECT_TRUE(field.JSONToBytes("{}").empty() && field.JSONToBytes("").empty());
  EXPECT_FALSE(Field::FromBytes(back, VXBytes()) || Field::FromBytes(back, VXBytes(100, 'x')));
}

TYPED_TEST(GridField, VectorsWithGridsMissing) {
  using Field = VXVectorFieldType<TypeParam>;
  const Field field;
  const typename Field::Grids grids = {sample_grid<TypeParam>(), sample_grid<TypeParam>(5)};
  typename Field::OptionalGrids some(3);
  some[0] = grids[0], some[2] = grids[1];
  const VXBytes bytes = Field::ToBytes(some);
  EXPECT_EQ(field.PtrToBytes(&grids), Field::ToBytes(grids));
  EXPECT_EQ(*Field::ToBytes(VXOptional<typename Field::OptionalGrids>(some)), bytes);
  EXPECT_FALSE(Field::ToBytes(VXOptional<typename Field::Grids>()));

  typename Field::OptionalGrids some_back;
  typename Field::Grids back(7);
  ASSERT_TRUE(Field::FromBytes(some_back, bytes) && Field::FromBytes(back, bytes));
  ASSERT_TRUE(some_back.size() == 3 && back.size() == 3);
  EXPECT_TRUE(some_back[0] && !some_back[1] && same(*some_back[2], grids[1]));
  EXPECT_TRUE(same(back[0], grids[0]) && back[1].GetSize() == 1 && same(back[2], grids[1]));

  const std::string document = VXCore::VXGridToJSON(back[0], 17303);
  EXPECT_EQ(field.BytesToJSON(bytes), "[" + document + ",null," + VXCore::VXGridToJSON(back[2], 17303) + "]");
  const CapturedLog quiet;
  EXPECT_TRUE(field.JSONToBytes("[" + document + "]").empty()) << "a bare array is written but not read";
  EXPECT_TRUE(Field::FromBytes(back, field.JSONToBytes("{\"value\":[" + document + ",7]}")));
  ASSERT_EQ(back.size(), 2u);
  EXPECT_TRUE(values_of(back[0]) == values_of(grids[0]) && back[1].GetSize() == 1);
  EXPECT_TRUE(field.JSONToBytes("{\"value\":7}").empty() && field.JSONToBytes("{").empty());

  EXPECT_EQ(Field::Format(typename Field::Grids()), "[0 grids]");
  EXPECT_EQ(Field::Format(typename Field::OptionalGrids(1)), "[1 grid]");
  EXPECT_EQ(Field::Format(grids), "[2 grids]");
  EXPECT_TRUE(same((*Field::GetCopyForCache(grids))[1], grids[1]));
  EXPECT_FALSE((*Field::GetCopyForCache(some))[1]);
}

TYPED_TEST(GridField, VectorsFromStrangersBytes) {
  using Field = VXVectorFieldType<TypeParam>;
  const VXBytes grid = VXFieldType<TypeParam>::ToBytes(sample_grid<TypeParam>());
  const struct {
    int count, grids;  // announced, and in the bytes, where something that is no grid follows
    bool result;
    std::size_t size;
  } rows[] = {{0, 0, true, 0},  {-1, 1, true, 0}, {1, 1, true, 1},
              {2, 1, false, 2}, {3, 1, false, 2}, {INT_MAX, 2, false, 0}};
  for (const auto& row : rows) {
    const CapturedLog quiet;
    VXWriteBuffer out;
    out.WriteInt(row.count);
    for (int i = 0; i < row.grids; ++i) out.WriteBlob(grid);
    out.WriteBlob(VXBytes(grid.begin(), grid.end() - 3));
    typename Field::Grids back(1);
    typename Field::OptionalGrids some;
    EXPECT_EQ(Field::FromBytes(back, out.GetBytes()), row.result) << row.count;
    EXPECT_EQ(Field::FromBytes(some, out.GetBytes()), row.result);
    ASSERT_TRUE(back.size() == row.size && some.size() == row.size) << row.count;
    EXPECT_TRUE(row.size < 2 || back[1].GetSize() == 1);
    for (std::size_t i = 0; i < some.size(); ++i) EXPECT_EQ(bool(some[i]), i == 0);
    EXPECT_EQ(Field().BytesToJSON(out.GetBytes()).empty(), !row.result);
  }
  EXPECT_EQ(Field().BytesToJSON(VXBytes()), "");
}

TYPED_TEST(GridField, SettingAValueKeepsTheLiveObject) {
  const VXField<TypeParam> field("map");
  VXRecord record;
  record.SetBytes(VXField<int>("map"), VXBytes(4));
  TypeParam grid = sample_grid<TypeParam>(), back;
  ASSERT_TRUE(VXSetGridValue(record, field, grid)) << "a field of another type gives way";
  const std::shared_ptr<TypeParam> live = record.CheckCache(field, 0);
  ASSERT_TRUE(live && same(*live, grid));
  EXPECT_TRUE(live->GetValues() != grid.GetValues() && record.CheckField(field, 0) == VXFieldDirty);
  EXPECT_TRUE(VXFieldType<TypeParam>::FromBytes(back, record.GetBytes(field)) && same(back, grid));

  const TypeParam second = sample_grid<TypeParam>(6);
  ASSERT_TRUE(VXSetGridValue(record, field, second));
  EXPECT_TRUE(record.CheckCache(field, 0) == live && same(*live, second));
  EXPECT_EQ(record.CheckField(field, 0), VXFieldDirty);
  EXPECT_EQ(record.GetBytes(field), VXFieldType<TypeParam>::ToBytes(second));

  record.SetBytes(field, VXFieldType<TypeParam>::ToBytes(grid));
  ASSERT_TRUE(VXSetGridValue(record, field, second)) << "bytes alone give way to a new live object";
  EXPECT_TRUE(record.CheckCache(field, 0) != live && same(*record.CheckCache(field, 0), second));

  using Vector = VXVectorFieldType<TypeParam>;
  const VXField<std::vector<TypeParam>> maps("maps");
  const std::vector<TypeParam> both = {grid, second};
  EXPECT_TRUE(record.AddToCache(maps, Vector::GetCopyForCache(both)));
  EXPECT_EQ(record.GetBytes(maps), Vector::ToBytes(both));
}
