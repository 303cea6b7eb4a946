#include <vxgrid/exchange/reflection_records.h>

#include <support/support.h>
#include <vxgrid/reflection/reflection_io.h>

namespace {

using namespace VXCore;

VXReflection small_set() {
  VXReflection set;
  set.SetCount(2);
  const int h[] = {1, 2}, k[] = {3, 4}, l[] = {5, 6};
  const float fobs[] = {0.1f, 7e30f};
  set.SetHKL(h, k, l, 2);
  set.SetColumn(VXReflectionColumn::Fobs, fobs, 2);
  set.SetTitle("two");
  set.SetRESO(0.001, 0.25);
  return set;
}

std::string image_of(const VXReflection& set) {
  VXHost::vxosstream out;
  VXWriteReflectionVXX(out, set);
  return out.str();
}

// Alone, behind another record, compressed: the same set with its attributes.
TEST(ReflectionRecords, OutAndBack) {
  VXBinaryIOHandler handler;
  ASSERT_TRUE(VXInitReflectionHandlers(handler));
  const VXReflection set = small_set();
  VXHost::vxosstream out;
  ASSERT_TRUE(VXBinaryWrite<VXReflection>(out, set, handler));
  EXPECT_EQ(out.str().substr(0, 14), std::string("\0\014VXReflection", 14));
  int written = 1;
  for (const auto& fxn : handler.GetWriteFxns())
    if (fxn->GetTag() == std::string("VXReflection.gz")) written += fxn->WriteFrom(out, set, handler);
  ASSERT_EQ(written, 2);
  VXHost::vxisstream in(out.str());
  for (int i = 0; i < 2; ++i) {
    VXReflection back;
    ASSERT_EQ(VXBinaryRead<VXReflection>(in, back, handler), unsigned{VXBDone});
    EXPECT_EQ(image_of(back), image_of(set));
    EXPECT_EQ(back.GetResolution(), 2.0);
  }
  EXPECT_TRUE(in.eof());
}

TEST(ReflectionRecords, Status) {
  VXReflection set = small_set();
  const std::string image = image_of(set);
  const unsigned long n = image.size();
  const std::pair<unsigned long, unsigned int> rows[] = {
      {0, VXBDone}, {n, VXBDone}, {n + 1, VXBRecordShort}, {2, VXBEndOfStream}, {n - 1, VXBUnknownBad}};
  for (const auto& [length, status] : rows) {
    VXHost::vxisstream in(image);
    EXPECT_EQ(VXReflectionReadFxn()(in, set, length, VXBinaryIOHandler()), status);
    EXPECT_EQ(image_of(set), image);
  }
}

}  // namespace
