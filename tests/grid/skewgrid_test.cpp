#include <memory>

#include <vxgrid/grid/grid_format.h>
#include <vxgrid/grid/refgrid.h>
#include <vxgrid/grid/skewgrid.h>

#include "grid/grid_support.h"
#include "support/support.h"

using namespace VXCore;

namespace {

TEST(SkewGrid, AttributesStandTwice) {
  VXScalarGrid source = numbered_grid(2, 3, 4);
  source.SetType(4);
  source.SetData("note", 1);
  VXSkewGrid grid(source);
  const VXZemoGrid& inner = grid.GetImpl().GetImpl();
  EXPECT_EQ(grid.GetType(), 4u);
  EXPECT_TRUE(grid.HasData("note") && inner.HasData("note"));
  EXPECT_EQ(VXSkewGrid(static_cast<const VXFixedGrid<float>&>(source)).GetType(), 0u);
  EXPECT_FALSE(VXSkewGrid(grid.GetImpl()).HasData("note")) << "the outer ones stay outside";

  grid.SetData("outer", 2);
  const VXScalarGrid plain = numbered_grid(3, 3, 3);
  grid = plain;
  EXPECT_TRUE(grid.HasData("outer") && grid.HasData("note") && !inner.HasData("note"));
  VXSkewGrid other;
  other.SetData("other", 3);
  other = grid;
  EXPECT_TRUE(other.HasData("outer") && !other.HasData("other"));
  EXPECT_EQ(values_of(other), values_of(plain));
  const float* const block = other.GetValues();
  const VXSkewGrid moved = std::move(other);
  EXPECT_EQ(moved.GetValues(), block);
  EXPECT_FALSE(other) << "a default grid is left";
  const std::unique_ptr<VXSkewGrid> copy(moved.CreateCopy());
  EXPECT_TRUE(copy->HasData("outer") && copy->GetValues() != block);
  grid.Clear();
  EXPECT_TRUE(!grid && !grid.HasData("outer") && grid.IsDataType(VXGetDataType<VXGridAbstractBase>()));
}

TEST(SkewGrid, RegularGoesByTheDiagonalAlone) {
  VXSkewGrid grid;
  EXPECT_TRUE(grid.IsRegular());
  const float sheared[] = {1, 0.5f, 0, 0, 1, 0, 0, 0, 1}, stretched[] = {1, 0, 0, 0, 1, 0, 0, 0, 1.1f};
  grid.GetImpl().SetOrientation(sheared);
  EXPECT_TRUE(grid.IsRegular());
  grid.GetImpl().SetOrientation(stretched);
  EXPECT_FALSE(grid.IsRegular());
  grid.GetImpl().SetOrientationSet(false);
  EXPECT_TRUE(grid.IsRegular());

  grid = numbered_grid(2, 2, 2);
  grid.SetTitle("later");
  EXPECT_EQ(grid.AsRegularGrid().GetTitle(), "numbered") << "the title of the last change of geometry";
  grid.SetMid(0, 0, 0);
  EXPECT_EQ(grid.AsRegularGrid().GetTitle(), "later");
  EXPECT_EQ(values_of(grid.AsRegularGrid()), values_of(numbered_grid(2, 2, 2)));
}

TEST(RefGridPtr, WhatEachKindOfHandleReaches) {
  VXScalarGrid scalar = numbered_grid(2, 3, 4);
  VXSkewGrid skew(scalar);
  const VXScalarGrid& const_scalar = scalar;
  const VXSkewGrid& const_skew = skew;
  VXBase* const scalar_base = &scalar;
  VXBase* const skew_base = &skew;
  VXBase neither;
  const struct {
    const char* what;
    VXRefGridPtr handle;
    bool valid, is_skew, gives_scalar, gives_skew, gives_const, writes;
  } rows[] = {
      {"empty", VXRefGridPtr(), false, false, false, false, false, false},
      {"scalar", &scalar, true, false, true, false, true, true},
      {"const scalar", &const_scalar, true, false, false, false, true, false},
      {"skew", &skew, true, true, false, true, true, true},
      {"const skew", &const_skew, true, true, false, false, true, false},
      {"base of scalar", scalar_base, false, false, true, false, false, true},
      {"base of skew", skew_base, false, false, false, true, false, true},
      {"const base of skew", const_cast<const VXBase*>(skew_base), true, true, false, false, true, false},
      {"neither", &neither, false, false, false, false, false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    VXRefGridPtr handle = row.handle;
    EXPECT_EQ(handle.IsValid(), row.valid);
    EXPECT_EQ(handle.IsSkew(), row.is_skew);
    EXPECT_EQ(handle.GetXDim(), row.valid ? 2u : 0u);
    EXPECT_EQ(handle.GetTitle(), row.valid ? "numbered" : "");
    EXPECT_EQ(std::as_const(handle).GetValues() != nullptr, row.valid);
    EXPECT_EQ(handle.GetValues() != nullptr, row.writes);
    EXPECT_EQ(static_cast<VXScalarGrid*>(handle) == &scalar, row.gives_scalar);
    EXPECT_EQ(static_cast<VXSkewGrid*>(handle) == &skew, row.gives_skew);
    const VXBase* const base = handle;
    EXPECT_EQ(base != nullptr, row.gives_const);
    EXPECT_EQ(handle.SetTitle("numbered"), row.writes);
    EXPECT_FALSE(handle.SetType(6));
    EXPECT_EQ(handle.SetType(5), row.writes);
    EXPECT_EQ(handle.IsDataType(VXGetDataType<VXGridAbstractBase>()), row.valid);
  }
  EXPECT_EQ(skew.GetType() + scalar.GetType(), 10u);

  VXRefGridPtr handle(&scalar);
  EXPECT_EQ(call_slot<float>(&handle, 10), 1.0f);
  EXPECT_EQ(call_slot<float*>(&handle, 13), scalar.GetValues());
  EXPECT_EQ(call_slot<unsigned int>(&handle, 18), 24u);
  EXPECT_TRUE(call_slot<bool>(&handle, 21));
  EXPECT_TRUE(call_slot<bool>(&handle, 24));
  handle.Clear();
  EXPECT_TRUE(handle.IsValid() && scalar.GetSize() == 1);
}

TEST(GridFormat, Extensions) {
  const struct {
    const char* ext;
    unsigned int code;
  } rows[] = {{"CCP4", 3}, {"Phi", 1}, {"grdx", 2}, {"xpl", 0}, {"xplmap", 4}, {"XPLOR", 4},
              {"map", 3},  {"ccp", 3}, {"agd", 5},  {"", 0},    {"ph", 0},     {nullptr, 0}};
  for (const auto& row : rows)
    EXPECT_EQ(VXGetGridFileType(row.ext), row.code) << (row.ext ? row.ext : "null");
  EXPECT_TRUE(VXIsReadableGrid("xplor") && !VXIsWriteableGrid("xplor"));
  EXPECT_TRUE(VXIsReadableGrid("dir.x/a.map.gz") && VXIsWriteableGrid("a.b.CCP4") &&
              !VXIsReadableGrid("map.txt"));
  EXPECT_FALSE(VXIsReadableGrid(0u) || VXIsReadableGrid(6u) || VXIsWriteableGrid(4u));
  EXPECT_STREQ(VXGetGridFormatString(77), "UNDEFINED");
  EXPECT_STREQ(VXGetGridFormatExtension(3), "map,ccp,ccp4");
  EXPECT_TRUE(VXIsGrid(VXScalarGrid()) && VXIsGrid(VXSkewGrid()) && VXIsGrid(VXZemoGrid()) &&
              !VXIsGrid(VXGrid<float>()));
}

}  // namespace
