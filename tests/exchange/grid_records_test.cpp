#include <vxgrid/exchange/grid_records.h>

#include <cmath>
#include <limits>

#include <vxgrid/host/molecule.h>

#include "support/record_bytes.h"
#include "support/support.h"

using namespace VXCore;
using VXHost::vxifstream;
using VXHost::vxisstream;
using VXHost::vxofstream;

namespace {

struct GridRecords : testing::Test {
  GridRecords() { VXInitGridHandlers(handler); }
  VXBinaryIOHandler handler;
};

constexpr float kTurned[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
const float kValues[12] = {1, -0.0f, 2.5f, INFINITY, 1e-42f, -7, 0, 3, 4, 5, 6, 7};

VXZemoGrid full_grid() {
  VXZemoGrid grid;
  grid.SetTitle("whole");
  grid.SetDim(3, 1, 2);
  grid.SetMid(1, NAN, -3);
  grid.SetUnitCell(10, 11, 12, 80, 90, 100, 20, 22, 24);
  grid.SetOrientation(kTurned);
  grid.SetFloatsMultiple(2);
  grid.SetXReentrant(true);
  grid.SetZReentrant(true);
  grid.SetSpaceGroup(19);
  grid.SetType(4);
  grid.GetFloats().GetGrid(1)->SetTitle("second");
  std::copy_n(kValues, 12, grid.GetFloats().GetValues());
  grid.GetIntegers().GetValues()[5] = -9;
  grid.SetData<float>("SIGMA", 0.5f);
  return grid;
}

// A lattice record by hand: 3 x 1 x 2 with spacing and midpoint set.
RecordBytes lattice(bool big, unsigned int fields, const char* title = "whole") {
  RecordBytes data(big);
  data.orders().byte(15).numbers<unsigned int>({3, 1, 2, fields});
  return data.numbers<float>({0.5f, 1, NAN, -3}).tag(title);
}
RecordBytes zemo_data(bool big) {
  RecordBytes data(big);
  data.orders().byte(1).numbers<float>({0, -1, 0, 1, 0, 0, 0, 0, 1}).numbers<unsigned int>({2, 1}).byte(5);
  data.numbers<float>({10, 11, 12, 80, 90, 100});
  return data.numbers<unsigned int>({20, 22, 24, 19, 4});
}
RecordBytes float_part(bool big) {
  RecordBytes data = lattice(big, 2).tag("", 1).tag("second");
  for (const float value : kValues) data.numbers({value});
  return RecordBytes(big).byte(big).record("VXMultiGridFloat", data);
}
RecordBytes int_part(bool big) {
  // The title of the whole belongs to the floats.
  RecordBytes data = lattice(big, 1, "").tag("", 1).numbers<int>({0, 0, 0, 0, 0, -9});
  return RecordBytes(big).byte(big).record("VXMultiGridInt", data);
}
RecordBytes sigma(bool big) {
  RecordBytes pods(big);
  pods.orders().tag("SIGMA", 3).length(4).numbers<float>({0.5f});
  return RecordBytes(big).record("VXBasePOD", pods);
}
RecordBytes full_record(bool big) {
  RecordBytes inner(big);
  inner.record("VXBase", sigma(big)).record("VXZemoGridData", zemo_data(big));
  inner.record("VXZemoGridFloatMultiGrid", float_part(big)).record("VXZemoGridIntMultiGrid", int_part(big));
  return RecordBytes(big).record("VXZemoGrid", inner);
}
RecordBytes placeholder(bool big) {
  RecordBytes pods(big);
  pods.orders().tag("vx_deleteme", 1).length(4).numbers<int>({1});
  return RecordBytes(big).record("VXBase", RecordBytes(big).record("VXBasePOD", pods));
}

bool same_bits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace

TEST_F(GridRecords, ZemoGridInBothByteOrdersAndAnyOrderOfParts) {
  const std::string bytes = record_of(full_grid(), handler);
  EXPECT_EQ(bytes, full_record(false).str());
  for (const bool big : {false, true}) {
    VXZemoGrid read;
    ASSERT_EQ(read_record(full_record(big).str(), read, handler), VXBDone);
    EXPECT_EQ(record_of(read, handler), bytes) << "order " << big;
    RecordBytes mixed(big);
    mixed.record("VXZemoGridIntMultiGrid", int_part(!big))
        .record("VXZemoGridFloatMultiGrid", float_part(!big));
    mixed.record("VXZemoGridData", zemo_data(big)).record("VXBase", sigma(big));
    ASSERT_EQ(read_record(RecordBytes().record("VXZemoGrid", mixed).str(), read, handler), VXBDone);
    // The cell sets the spacing of what is there by then, and new views have the title of the whole.
    read.SetSpacing(0.5f);
    read.GetFloats().GetGrid(1)->SetTitle("second");
    EXPECT_EQ(record_of(read, handler), bytes) << "mixed, order " << big;
  }
  VXZemoGrid untouched;
  VXZemoGrid read = full_grid();
  read.DeleteData("SIGMA");
  ASSERT_EQ(read_record(record_of(untouched, handler), read, handler), VXBDone);
  read.SetReentrant(false);  // flags are only ever added
  EXPECT_FALSE(read.GetOrientationSet() || read.IsSpacingSet() || read.HasUnitCell());
  EXPECT_EQ(record_of(read, handler), record_of(untouched, handler));
}

TEST_F(GridRecords, OlderDataBlockEndsAfterTheWrapFlags) {
  for (const bool last : {false, true}) {
    RecordBytes data, record;
    data.orders().byte(0).numbers<unsigned int>({2, 1}).byte(2);
    if (!last) record.record("VXZemoGridData", data);
    record.record("VXZemoGridFloatMultiGrid", float_part(false));
    if (last) record.record("VXZemoGridData", data);
    VXZemoGrid read;
    EXPECT_EQ(read_record(RecordBytes().record("VXZemoGrid", record).str(), read, handler), VXBDone);
    EXPECT_FALSE(read.HasUnitCell() || read.HasSpaceGroup() || read.GetType() || read.GetOrientationSet());
    EXPECT_TRUE(read.GetYReentrant() && !read.GetXReentrant());
    EXPECT_EQ(&read.CurrentFloats(), read.GetFloats().GetGrid(1));
  }
  // The block ends early elsewhere.
  const std::string whole = zemo_data(false).str();
  const std::tuple<std::size_t, unsigned int> rows[] = {{1, 8},  {2, 8},  {38, 3}, {46, 3}, {47, 8},
                                                        {48, 0}, {71, 3}, {83, 3}, {91, 3}, {92, 0}};
  for (const auto& [length, status] : rows) {
    VXZemoGrid read;
    vxisstream in(whole.substr(0, length));
    EXPECT_EQ(VXZemoGridDataReadFxn()(in, read, length, handler), status) << length;
  }
}

TEST_F(GridRecords, SkewGridAndItsPlaceholder) {
  VXSkewGrid grid{VXSkewGridImpl(full_grid())};
  const std::string inner = record_of(full_grid(), handler);
  EXPECT_EQ(record_of(grid, handler),
            RecordBytes().record("VXSkewGrid", placeholder(false).raw(inner)).str());
  for (const bool big : {false, true}) {
    VXSkewGrid read;
    const std::string bytes = full_record(big).str();
    ASSERT_EQ(
        read_record(RecordBytes().record("VXSkewGrid", placeholder(big).raw(bytes)).str(), read, handler),
        VXBDone);
    EXPECT_FALSE(read.HasData("vx_deleteme"));
    EXPECT_EQ(record_of(read, handler), record_of(grid, handler));
    // Older forms: the inner record alone, or inside with nothing before it.
    for (const std::string& old :
         {bytes, RecordBytes().record("VXSkewGrid", RecordBytes().raw(bytes)).str()}) {
      VXSkewGrid older;
      ASSERT_EQ(read_record(old, older, handler), VXBDone);
      EXPECT_EQ(record_of(older, handler), record_of(grid, handler));
    }
  }
  grid.SetData<double>("outer", 2.0);
  EXPECT_EQ(record_of(grid, handler).find("vx_deleteme"), std::string::npos);
  VXSkewGrid read;
  ASSERT_EQ(read_record(record_of(grid, handler), read, handler), VXBDone);
  EXPECT_EQ(read.GetData<double>("outer"), 2.0);
  EXPECT_FALSE(read.HasData("SIGMA"));
  EXPECT_TRUE(read.GetImpl().GetImpl().HasData("SIGMA"));
}

TEST_F(GridRecords, ScalarGridMaySwapOrNot) {
  for (const bool big : {false, true})
    for (const int may_swap : {0, 1}) {
      RecordBytes values = lattice(big, 1).tag("", 1).numbers<float>({1, 2, -0.0f, NAN, 5, 1e30f});
      values.record("VXBase", sigma(big));
      RecordBytes data = placeholder(big);
      data.orders().byte(may_swap).numbers<unsigned int>({5}).record("VXGridFloat", values);
      const std::string bytes = RecordBytes().record("VXScalarGrid", data).str();
      VXScalarGrid read;
      ASSERT_EQ(read_record(bytes, read, handler), VXBDone);
      EXPECT_EQ(read.GetType(), 5u);
      EXPECT_EQ(read.GetData<float>("SIGMA"), 0.5f);
      EXPECT_FALSE(read.HasData("vx_deleteme"));
      if (may_swap || !big)
        EXPECT_TRUE(same_bits(read[5], 1e30f) && same_bits(read[2], -0.0f));
      else
        EXPECT_TRUE(same_bits(read[2], 1.8e-43f)) << "0x00000080";  // 128 times the smallest float
      EXPECT_EQ(record_of(read, handler) == bytes, !big && may_swap);
    }
}

TEST_F(GridRecords, GridsAsAttributesOfAnything) {
  VXGraphMol molecule;
  VXScalarGrid scalar(2, 3, 4, 0, 0, 0, 1, "s", nullptr);
  scalar.SetData("within", VXSkewGrid(VXSkewGridImpl(full_grid())));
  molecule.SetData("before", 1);
  molecule.SetData("scalar", scalar);
  const VXZemoGrid zemo = full_grid();
  molecule.SetData("zemo", zemo);
  molecule.SetData("after", std::string("text"));
  const std::string bytes = record_of<VXBase>(molecule, handler);
  VXGraphMol read;
  vxmolstreambase stream;  // knows them from the library's start
  EXPECT_TRUE(VXInitGridHandlers(stream));
  ASSERT_EQ(read_record<VXBase>(bytes, read, stream.GetBinaryIOHandler()), VXBDone);
  EXPECT_EQ(record_of<VXBase>(read, stream.GetBinaryIOHandler()), bytes);
  const VXSkewGrid& within = read.GetData<VXScalarGrid>("scalar").GetData<VXSkewGrid>("within");
  EXPECT_EQ(record_of(within.GetImpl().GetImpl(), handler),
            record_of(VXZemoGrid(zemo), handler));  // a copy has no titles of fields
  // A handler without the records of grids keeps them whole.
  VXBase plain;
  const VXBinaryIOHandler base_only;
  ASSERT_EQ(read_record(bytes, plain, base_only), VXBDone);
  EXPECT_EQ(record_of(plain, base_only), bytes);
}

TEST_F(GridRecords, UnknownInnerRecordsComeOutAgain) {
  const std::string unknown = RecordBytes().record("VXLater", RecordBytes().raw("0123456789"), 3).str();
  const std::string whole = full_record(false).str();
  RecordBytes inner;
  inner.raw(whole.substr(whole.find("VXBase") - 2)).raw(unknown);
  VXZemoGrid read;
  ASSERT_EQ(read_record(RecordBytes().record("VXZemoGrid", inner).str(), read, handler), VXBDone);
  const std::string again = record_of(VXZemoGrid(read), handler);
  EXPECT_NE(again.find(unknown), std::string::npos);
  ASSERT_EQ(read_record(again, read, handler), VXBDone);
  EXPECT_EQ(record_of(read, handler), again);
  // One in the place of the values stays with the grid and leaves them as they are, whatever their order.
  RecordBytes part;
  part.record("VXZemoGridFloatMultiGrid", RecordBytes().byte(1).raw(unknown));
  VXZemoGrid full = full_grid();
  ASSERT_EQ(read_record(RecordBytes().record("VXZemoGrid", part).str(), full, handler), VXBDone);
  EXPECT_TRUE(full.HasData("vxb:VXLater") && !full.GetFloats().HasData("vxb:VXLater"));
  EXPECT_TRUE(std::equal(kValues, kValues + 12, full.GetFloats().GetValues()));
}

TEST_F(GridRecords, LargeGridsThroughFiles) {
  VXScalarGrid plain(70, 61, 53, 1, 2, 3, 0.25f, "large", nullptr);
  for (unsigned int i = 0; i < plain.GetSize(); ++i) plain[i] = static_cast<float>(i) * 0.5f;
  const VXSkewGrid skew(plain);
  for (const char* const name : {"large.vxb", "large.vxb.gz"}) {
    SCOPED_TRACE(name);
    vxofstream out(scratch_file(name));
    ASSERT_TRUE(VXBinaryWrite<VXSkewGrid>(out, skew, handler) && out.close());
    vxifstream in(scratch_file(name));
    VXSkewGrid read;
    ASSERT_EQ(VXBinaryRead<VXSkewGrid>(in, read, handler), VXBDone);
    EXPECT_TRUE(in.eof() && read.GetImpl().GetImpl().GetIntegersSet());
    EXPECT_EQ(record_of(read, handler), record_of(skew, handler));
  }
  // The integers, which are zeros, take a sixteenth of their number.
  const std::size_t size = read_bytes(scratch_file("large.vxb")).size(), floats = 4 * plain.GetSize();
  EXPECT_LT(size, floats + plain.GetSize() / 16 + 1000);
  vxofstream full("/dev/full");
  EXPECT_FALSE(VXBinaryWrite<VXSkewGrid>(full, skew, handler) && full.close());
}

TEST_F(GridRecords, CutAndDamagedRecords) {
  const VXSkewGrid grid{VXSkewGridImpl(full_grid())};
  const std::string whole = record_of(grid, handler);
  const std::string before = record_of(VXSkewGrid(), handler);
  for (std::size_t n = 0; n < whole.size(); ++n) {
    VXSkewGrid read;
    EXPECT_NE(read_record(whole.substr(0, n), read, handler), VXBDone) << n;
    EXPECT_EQ(record_of(read, handler), before) << n;
    // Cut, with the outer length put right: what is inside is short then.
    if (n > 14) {
      RecordBytes cut;
      cut.record("VXSkewGrid", RecordBytes().raw(whole.substr(14, n - 14)));
      const unsigned int status = read_record(cut.str(), read, handler);
      EXPECT_EQ(status == VXBDone, n - 14 == placeholder(false).str().size()) << n;
    }
    for (const int change : {1, 0x7f, 0x80, 0xff}) {
      std::string changed = whole;
      changed[n] = static_cast<char>(changed[n] ^ change);
      VXSkewGrid other;
      if (read_record(changed, other, handler) == VXBDone) record_of(other, handler);
    }
  }
}

TEST_F(GridRecords, ClaimsThatTheLengthCannotPayFor) {
  const auto head = [](std::initializer_list<unsigned int> dims_and_fields, int flags = 0) {
    return RecordBytes().orders().byte(flags).numbers(dims_and_fields).numbers<float>({1, 0, 0, 0});
  };
  const auto part = [](RecordBytes lattice) {
    return RecordBytes().record("VXZemoGridIntMultiGrid",
                                RecordBytes().byte(0).record("VXMultiGridInt", lattice));
  };
  const auto data = [](unsigned int floats, unsigned int integers) {
    RecordBytes block;
    return RecordBytes().record("VXZemoGridData", block.orders().byte(0).numbers({floats, integers}).byte(0));
  };
  // Fields of a grid whose fields have a grid, and so on: each level multiplies what a copy takes.
  RecordBytes nested;
  for (int level = 0; level < 6; ++level) {
    RecordBytes attribute, fields = head({1, 0, 1, 16}).tag("");
    attribute.tag("a").record("VXZemoGrid", nested.str().empty() ? data(1, 1) : nested);
    for (int field = 0; field < 16; ++field) fields.tag("", 1);
    fields.record("VXBase", RecordBytes().record("VXBaseVXZemoGrid", attribute));
    nested = part(fields);
  }
  // A long part, copied for each new field.
  RecordBytes growing = part(head({1000, 200, 1, 1}, 16).tag("").tag("", 1).raw(std::string(12500, '\0')));
  for (unsigned int fields = 2; fields <= 16; ++fields) growing.raw(data(1, fields).str());
  const std::tuple<const char*, RecordBytes, unsigned int> rows[] = {
      {"values", part(head({1000, 1000, 2000, 1}).tag("").tag("", 1).raw("1234")), 3},
      {"more samples than a grid has", part(head({65536, 65536, 65536, 1}, 16).tag("").tag("", 1)), 3},
      {"zeros", part(head({1000, 1000, 100, 1}, 16).tag("").tag("", 1).raw("0000")), 3},
      {"fields without samples", part(head({0, 5, 5, 100000}).tag("")), 2},
      {"no fields", part(head({1, 1, 1, 0}).tag("")), 3},
      {"float fields to come", data(4000000000u, 1), 2},
      {"integer fields to come", data(1, 100), 2},
      {"a few fields to come", data(3, 2), 0},
      {"fields one by one", growing, 2},
      {"fields within fields", nested, 2},
  };
  for (const auto& [what, inner, status] : rows) {
    VXZemoGrid grid;
    EXPECT_EQ(read_record(RecordBytes().record("VXZemoGrid", inner).str(), grid, handler), status) << what;
    EXPECT_LE(grid.GetFloats().GetNumGrids() + grid.GetSize(), 4u);
  }
}
