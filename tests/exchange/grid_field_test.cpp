#include <vxgrid/exchange/grid_field.h>

#include <climits>

#include <vxgrid/exchange/grid_json.h>

#include "grid/grid_support.h"
#include "support/support.h"

using namespace VXRecordKit;
using VXCore::VXScalarGrid;
using VXCore::VXSkewGrid;

template <class T>
struct GridField : testing::Test {
  using Grid = VXFieldType<T>;
  using Vector = VXVectorFieldType<T>;

  static bool same(const T& a, const T& b) {
    return VXCore::VXGridSameGeometry(a, b) && values_of(a) == values_of(b) && a.GetTitle() == b.GetTitle();
  }
  static std::string document(const T& grid) { return VXCore::VXGridToJSON(grid, 17303); }

  const std::string kind = std::is_same_v<T, VXSkewGrid> ? "Skew" : "";  // its part of names
  const Grid field;
  const Vector vec;
  T one{numbered_grid(2, 3, 4)}, two{numbered_grid(5, 3, 4)};
  const CapturedLog quiet;
};
using Kinds = testing::Types<VXScalarGrid, VXSkewGrid>;
TYPED_TEST_SUITE(GridField, Kinds);

TYPED_TEST(GridField, IsRegisteredAtLoad) {
  auto& registry = VXFieldTypeHandlerRegistry::GetInstance();
  const std::pair<std::string, const void*> rows[] = {
      {"Chem." + this->kind + "Grid", VXCore::VXGetDataType<TypeParam>()},
      {"Chem." + this->kind + "GridVec", VXCore::VXGetDataType<std::vector<TypeParam>>()}};
  for (const auto& [name, type] : rows) {
    auto* const handler = const_cast<VXFieldTypeHandler*>(registry.FindByName(name));
    ASSERT_TRUE(handler && handler == registry.FindByType(type));
    EXPECT_EQ(call_slot<const char*>(handler, 6), name);
    EXPECT_TRUE(call_slot<bool>(handler, 7) && !call_slot<bool>(handler, 8));
  }
}

TYPED_TEST(GridField, OneGridThereAndBack) {
  using Field = typename TestFixture::Grid;
  TypeParam back, from_json;
  this->one.template SetData<float>("SIGMA", 1.5f);
  const VXBytes bytes = Field::ToBytes(this->one);
  ASSERT_TRUE(Field::FromBytes(back, bytes));
  EXPECT_TRUE(this->same(back, this->one) && !back.HasData("SIGMA"));
  EXPECT_EQ(this->field.PtrToBytes(&this->one), bytes);
  EXPECT_EQ(*Field::ToBytes(VXOptional<TypeParam>(this->one)), bytes);
  EXPECT_FALSE(Field::ToBytes(VXOptional<TypeParam>()));
  EXPECT_EQ(Field::Format(back), this->kind.empty() ? "<VXScalarGrid>" : "<VXSkewGrid>");

  // Through JSON, which is that of the grid read from the bytes; of no bytes that of a default grid.
  EXPECT_EQ(this->field.BytesToJSON(bytes), this->document(back));
  EXPECT_TRUE(Field::FromBytes(from_json, this->field.JSONToBytes(this->document(back))));
  EXPECT_TRUE(values_of(from_json) == values_of(back) && from_json.GetTitle() == "numbered");
  EXPECT_EQ(this->field.BytesToJSON(VXBytes()), this->document(TypeParam()));
  EXPECT_TRUE(this->field.JSONToBytes("{}").empty());
  EXPECT_FALSE(Field::FromBytes(back, VXBytes()) || Field::FromBytes(back, VXBytes(100, 'x')));
}

TYPED_TEST(GridField, VectorsWithGridsMissing) {
  using Field = typename TestFixture::Vector;
  const typename Field::Grids grids = {this->one, this->two};
  typename Field::OptionalGrids some(3), some_back;
  some[0] = this->one, some[2] = this->two;
  const VXBytes bytes = Field::ToBytes(some);
  EXPECT_EQ(this->vec.PtrToBytes(&grids), Field::ToBytes(grids));
  EXPECT_EQ(*Field::ToBytes(VXOptional<typename Field::OptionalGrids>(some)), bytes);
  EXPECT_FALSE(Field::ToBytes(VXOptional<typename Field::Grids>()));

  typename Field::Grids back(7);
  ASSERT_TRUE(Field::FromBytes(some_back, bytes) && Field::FromBytes(back, bytes));
  ASSERT_TRUE(some_back.size() == 3 && back.size() == 3);
  EXPECT_TRUE(some_back[0] && !some_back[1] && this->same(*some_back[2], this->two));
  EXPECT_TRUE(this->same(back[0], this->one) && back[1].GetSize() == 1 && this->same(back[2], this->two));

  const std::string document = this->document(back[0]);
  EXPECT_EQ(this->vec.BytesToJSON(bytes), "[" + document + ",null," + this->document(back[2]) + "]");
  EXPECT_TRUE(Field::FromBytes(back, this->vec.JSONToBytes("{\"value\":[" + document + ",7]}")));
  ASSERT_EQ(back.size(), 2u);
  EXPECT_TRUE(values_of(back[0]) == values_of(this->one) && back[1].GetSize() == 1);
  // A bare array, which is written, is not read.
  for (const std::string& json : {"[" + document + "]", std::string("{\"value\":7}"), std::string("{")})
    EXPECT_TRUE(this->vec.JSONToBytes(json).empty()) << json;

  EXPECT_EQ(Field::Format(typename Field::Grids()), "[0 grids]");
  EXPECT_EQ(Field::Format(typename Field::OptionalGrids(1)), "[1 grid]");
  EXPECT_FALSE((*Field::GetCopyForCache(some))[1]);
}

TYPED_TEST(GridField, VectorsFromStrangersBytes) {
  using Field = typename TestFixture::Vector;
  const VXBytes grid = TestFixture::Grid::ToBytes(this->one);
  // Grids announced, and in the bytes, where something that is no grid follows; the result and its size.
  const std::tuple<int, int, bool, std::size_t> rows[] = {
      {-1, 1, true, 0}, {1, 1, true, 1}, {2, 1, false, 2}, {3, 1, false, 2}, {INT_MAX, 2, false, 0}};
  for (const auto& [count, grids, result, size] : rows) {
    SCOPED_TRACE(count);
    VXWriteBuffer out;
    out.WriteInt(count);
    for (int i = 0; i < grids; ++i) out.WriteBlob(grid);
    out.WriteBlob(VXBytes(grid.begin(), grid.end() - 3));
    typename Field::Grids back(1);
    typename Field::OptionalGrids some;
    EXPECT_EQ(Field::FromBytes(back, out.GetBytes()), result);
    EXPECT_EQ(Field::FromBytes(some, out.GetBytes()), result);
    ASSERT_TRUE(back.size() == size && some.size() == size);
    EXPECT_TRUE(size < 2 || (some[0] && !some[1] && back[1].GetSize() == 1));
    EXPECT_EQ(this->vec.BytesToJSON(out.GetBytes()).empty(), !result);
  }
  EXPECT_EQ(this->vec.BytesToJSON(VXBytes()), "");
}

TYPED_TEST(GridField, SettingAValueKeepsTheLiveObject) {
  using Field = typename TestFixture::Grid;
  const VXField<TypeParam> map("map");
  VXRecord record;
  record.SetBytes(VXField<int>("map"), VXBytes(4));
  ASSERT_TRUE(VXSetGridValue(record, map, this->one)) << "a field of another type gives way";
  const std::shared_ptr<TypeParam> live = record.CheckCache(map, 0);
  ASSERT_TRUE(live && live->GetValues() != this->one.GetValues());
  EXPECT_EQ(record.GetBytes(map), Field::ToBytes(this->one));

  ASSERT_TRUE(VXSetGridValue(record, map, this->two));
  EXPECT_TRUE(record.CheckCache(map, 0) == live && record.CheckField(map, 0) == VXFieldDirty);
  EXPECT_EQ(record.GetBytes(map), Field::ToBytes(this->two));

  record.SetBytes(map, Field::ToBytes(this->one));
  ASSERT_TRUE(VXSetGridValue(record, map, this->two)) << "bytes alone give way to a new live object";
  EXPECT_TRUE(record.CheckCache(map, 0) != live && this->same(*record.CheckCache(map, 0), this->two));

  const VXField<std::vector<TypeParam>> maps("maps");
  const std::vector<TypeParam> both = {this->one, this->two};
  EXPECT_TRUE(record.AddToCache(maps, TestFixture::Vector::GetCopyForCache(both)));
  EXPECT_EQ(record.GetBytes(maps), TestFixture::Vector::ToBytes(both));
}
