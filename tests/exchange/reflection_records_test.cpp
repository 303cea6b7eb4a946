#include <vxgrid/exchange/reflection_records.h>

#include <reflection/reflection_files.h>
#include <support/support.h>

namespace {

using namespace VXCore;

// Alone, behind another record, compressed: the same set with its attributes.
TEST(ReflectionRecords, OutAndBack) {
  VXBinaryIOHandler handler;
  ASSERT_TRUE(VXInitReflectionHandlers(handler));
  VXReflection set = full_set();
  set.SetRESO(0.001, 0.25);
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
    EXPECT_EQ(native_form(back), native_form(set));
    EXPECT_EQ(back.GetResolution(), 2.0);
  }
  EXPECT_TRUE(in.eof());
}

TEST(ReflectionRecords, Status) {
  VXReflection set = full_set();
  const std::string image = native_form(set);
  const unsigned long n = image.size();
  const std::pair<unsigned long, unsigned int> rows[] = {
      {0, VXBDone}, {n, VXBDone}, {n + 1, VXBRecordShort}, {2, VXBEndOfStream}, {n - 1, VXBUnknownBad}};
  for (const auto& [length, status] : rows) {
    VXHost::vxisstream in(image);
    EXPECT_EQ(VXReflectionReadFxn()(in, set, length, VXBinaryIOHandler()), status);
    EXPECT_EQ(native_form(set), image);
  }
}

}  // namespace
