#include <memory>

#include <vxgrid/grid/grid_format.h>
#include <vxgrid/grid/refgrid.h>
#include <vxgrid/grid/skewgrid.h>

#include "grid/grid_support.h"
#include "support/support.h"

using namespace VXCore;

TEST(SkewGrid, AttributesStandTwice) {
  VXScalarGrid source = numbered_grid(2, 3, 4);
  source.SetType(4);
  source.SetData("note", 1);
  VXSkewGrid grid(source);
  const VXZemoGrid& inner = grid.GetImpl().GetImpl();
  EXPECT_TRUE(grid.GetType() == 4 && grid.HasData("note") && inner.HasData("note"));
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
  EXPECT_TRUE(moved.GetValues() == block && !other) << "a default grid is left";
  const std::unique_ptr<VXSkewGrid> copy(moved.CreateCopy());
  EXPECT_TRUE(copy->HasData("outer") && copy->GetValues() != block);
  grid.Clear();
  EXPECT_TRUE(!grid && !grid.HasData("outer") && grid.IsDataType(VXGetDataType<VXGridAbstractBase>()));
}

TEST(SkewGrid, RegularGoesByTheDiagonalAlone) {
  VXSkewGrid grid;
  EXPECT_TRUE(grid.IsRegular());
  const float sheared[] = {1, 0.5f, 0, 0, 1, 0, 0, 0, 1}, stretched[] = {1, 0, 0, 0, 1, 0, 0, 0, 1.1f};
  EXPECT_TRUE(grid.GetImpl().SetOrientation(sheared) && grid.IsRegular());
  EXPECT_TRUE(grid.GetImpl().SetOrientation(stretched) && !grid.IsRegular());
  EXPECT_TRUE(grid.GetImpl().SetOrientationSet(false) && grid.IsRegular());

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
  VXBase neither;
  // Whether it is valid, is skew, gives a scalar grid, a skew one, a constant base, and writes.
  const std::tuple<const char*, VXRefGridPtr, bool, bool, bool, bool, bool, bool> rows[] = {
      {"empty", VXRefGridPtr(), false, false, false, false, false, false},
      {"scalar", &scalar, true, false, true, false, true, true},
      {"const scalar", &std::as_const(scalar), true, false, false, false, true, false},
      {"skew", &skew, true, true, false, true, true, true},
      {"const skew", &std::as_const(skew), true, true, false, false, true, false},
      {"base of scalar", static_cast<VXBase*>(&scalar), false, false, true, false, false, true},
      {"base of skew", static_cast<VXBase*>(&skew), false, false, false, true, false, true},
      {"const base of skew", static_cast<const VXBase*>(&skew), true, true, false, false, true, false},
      {"neither", &neither, false, false, false, false, false, false},
  };
  for (const auto& [what, pointer, valid, is_skew, gives_scalar, gives_skew, gives_const, writes] : rows) {
    SCOPED_TRACE(what);
    VXRefGridPtr handle = pointer;
    EXPECT_EQ(handle.IsValid(), valid);
    EXPECT_EQ(handle.IsSkew(), is_skew);
    EXPECT_EQ(handle.GetXDim(), valid ? 2u : 0u);
    EXPECT_EQ(handle.GetTitle(), valid ? "numbered" : "");
    EXPECT_EQ(std::as_const(handle).GetValues() != nullptr, valid);
    EXPECT_EQ(handle.GetValues() != nullptr, writes);
    EXPECT_EQ(static_cast<VXScalarGrid*>(handle) == &scalar, gives_scalar);
    EXPECT_EQ(static_cast<VXSkewGrid*>(handle) == &skew, gives_skew);
    const VXBase* const base = handle;
    EXPECT_EQ(base != nullptr, gives_const);
    EXPECT_EQ(handle.SetTitle("numbered"), writes);
    EXPECT_FALSE(handle.SetType(6));
    EXPECT_EQ(handle.SetType(5), writes);
    EXPECT_EQ(handle.IsDataType(VXGetDataType<VXGridAbstractBase>()), valid);
  }
  EXPECT_EQ(skew.GetType() + scalar.GetType(), 10u);

  VXRefGridPtr handle(&scalar);
  EXPECT_TRUE(call_slot<float>(&handle, 10) == 1 && call_slot<float*>(&handle, 13) == scalar.GetValues());
  EXPECT_EQ(call_slot<unsigned int>(&handle, 18), 24u);
  EXPECT_TRUE(call_slot<bool>(&handle, 21) && call_slot<bool>(&handle, 24));
  handle.Clear();
  EXPECT_TRUE(handle.IsValid() && scalar.GetSize() == 1);
}

TEST(GridFormat, Extensions) {
  const std::pair<const char*, unsigned int> rows[] = {
      {"CCP4", 3}, {"Phi", 1}, {"grdx", 2}, {"xpl", 0}, {"xplmap", 4}, {"XPLOR", 4},
      {"map", 3},  {"ccp", 3}, {"agd", 5},  {"", 0},    {"ph", 0},     {nullptr, 0}};
  for (const auto& [ext, code] : rows) EXPECT_EQ(VXGetGridFileType(ext), code) << (ext ? ext : "null");
  EXPECT_TRUE(VXIsReadableGrid("xplor") && !VXIsWriteableGrid("xplor"));
  EXPECT_TRUE(VXIsReadableGrid("dir.x/a.map.gz") && VXIsWriteableGrid("a.b.CCP4") &&
              !VXIsReadableGrid("map.txt"));
  EXPECT_FALSE(VXIsReadableGrid(0u) || VXIsReadableGrid(6u) || VXIsWriteableGrid(4u));
  EXPECT_STREQ(VXGetGridFormatString(77), "UNDEFINED");
  EXPECT_STREQ(VXGetGridFormatExtension(3), "map,ccp,ccp4");
  EXPECT_TRUE(VXIsGrid(VXScalarGrid()) && VXIsGrid(VXSkewGrid()) && VXIsGrid(VXZemoGrid()) &&
              !VXIsGrid(VXGrid<float>()));
}
