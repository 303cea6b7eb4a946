#include <vxgrid/host/base.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <vxgrid/host/bit_vector.h>
#include <vxgrid/host/half_float.h>
#include <vxgrid/host/large_array.h>
#include <vxgrid/host/platform.h>

#include "support/support.h"

using namespace VXCore;
using testing::HasSubstr;

TEST(Base, AttributesByTagAndName) {
  VXBase a;
  EXPECT_EQ(VXGetTag(VXGetTag("base test")), "base test");
  EXPECT_EQ(a.GetData<float>("n"), 0.0f);
  EXPECT_EQ(a.GetBaseImpl(), nullptr);

  EXPECT_TRUE(a.SetData<bool>("n", true));
  CapturedLog log;
  EXPECT_FALSE(a.SetData<float>("n", 2.0f));
  EXPECT_THAT(log.text(), HasSubstr("Attribute \"n\" holds another type than the float asked for"));
  EXPECT_TRUE(a.GetData<bool>("n"));

  a.AddData<bool>("n", false);
  a.SetData<std::string>("title", "kept");
  VXBase b(a), c;
  c.SetData<int>("own", 7);
  c.SetData<std::string>("title", "replaced");
  VXCopyBaseData(c, a);
  EXPECT_EQ(c.GetData<int>("own"), 7);
  EXPECT_EQ(c.GetData<std::string>("title"), "kept");
  c = a;
  EXPECT_FALSE(c.HasData("own"));
  a.DeleteData("n");
  EXPECT_FALSE(a.HasData("n"));
  EXPECT_EQ(b.GetBaseImpl()->GetAll().size(), 3u);
  b.Clear();
  EXPECT_FALSE(b.HasData("title"));
}

TEST(LargeArray, ZeroedAlignedAndBounded) {
  using VXHost::VXLargeArray;
  for (const std::size_t n : {0ul, 3ul, 1ul << 20, (5ul << 20) + 1}) {
    VXLargeArray<float> a(n, VXLargeArray<float>::Zeroed);
    EXPECT_EQ(a.size(), n);
    for (const float value : a) ASSERT_EQ(value, 0.0f);
    if (n) a[n - 1] = 1;
    VXLargeArray<float> b(std::move(a));
    EXPECT_EQ(a.size(), 0u);
    EXPECT_TRUE(n == 0 || b[n - 1] == 1.0f);
  }
#ifndef VXGRID_SANITIZED
  const VXLargeArray<float> large(1 << 20, VXLargeArray<float>::Zeroed);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(large.data()) % (2u << 20), 0u);
  EXPECT_THROW(VXLargeArray<double>(~std::size_t{0} / 4, VXLargeArray<double>::Zeroed), std::bad_alloc);
#endif
}

TEST(HalfFloat, EveryValueAndTheRoundingBetween) {
  using VXHost::VXHalfFloat;
  const auto value = [](int bits) { return float(VXHalfFloat::FromBits(static_cast<std::uint16_t>(bits))); };
  // After the largest number, 65504, would come 65536, which has the bits of infinity.
  const auto expected = [](int bits) {
    const int fraction = bits & 1023, exponent = bits >> 10;
    return std::ldexp(static_cast<float>(exponent ? 1024 + fraction : fraction), std::max(exponent, 1) - 25);
  };
  for (int bits = 0; bits < 0x7c00; ++bits) {
    ASSERT_EQ(value(bits), expected(bits));
    ASSERT_EQ(value(bits | 0x8000), -expected(bits));
    ASSERT_EQ(VXHalfFloat(expected(bits)).GetBits(), bits);
    ASSERT_EQ(VXHalfFloat(-expected(bits)).GetBits(), bits | 0x8000);
    // The middle to the next value goes to the even one, a little more or less to the nearer one.
    const float middle = (expected(bits) + expected(bits + 1)) / 2;
    ASSERT_EQ(VXHalfFloat(middle).GetBits(), bits + (bits & 1));
    ASSERT_EQ(VXHalfFloat(std::nextafter(middle, 0.0f)).GetBits(), bits);
    ASSERT_EQ(VXHalfFloat(std::nextafter(middle, 1e9f)).GetBits(), bits + 1);
  }
  for (int bits = 0x7c01; bits < 0x8000; ++bits)
    ASSERT_TRUE(std::isnan(value(bits)) && std::isnan(float(VXHalfFloat(value(bits)))));
  EXPECT_EQ(value(0xfc00), -HUGE_VALF);
  for (const float infinite : {3e38f, HUGE_VALF}) EXPECT_EQ(VXHalfFloat(-infinite).GetBits(), 0xfc00);
}

TEST(BitVector, GrowsOnDemand) {
  VXBitVector bits;
  EXPECT_FALSE(bits[1000]);
  for (const unsigned int i : {3u, 63u, 64u, 200u, 1000u}) bits.SetBitOn(i);
  EXPECT_EQ(bits.GetSize(), 1001u);
  EXPECT_EQ(bits.CountBits(), 5u);
  std::vector<int> found;
  for (int i = bits.NextBit(0); i >= 0; i = bits.NextBit(i + 1)) found.push_back(i);
  EXPECT_THAT(found, testing::ElementsAre(3, 63, 64, 200, 1000));
  bits.Resize(63);
  bits.Resize(66);
  VXBitVector same(10000);
  same.SetBitOn(3);
  EXPECT_EQ(bits, same);
  bits.SetBitOff(3);
  EXPECT_NE(bits, same);
  CapturedLog log;
  bits.SetBitOn(2147483647u);
  EXPECT_EQ(bits.GetSize(), 66u);
  EXPECT_EQ(log.text(), "Error: Max size for an VXBitVector is INT_MAX\n");
}

TEST(Platform, NaNByItsBits) {
  EXPECT_TRUE(VXHost::VXIsNaN(std::nanf("1")) && VXHost::VXIsNaN(-std::nan("1")));
  for (const float value : {0.0f, -1.0f, HUGE_VALF, std::numeric_limits<float>::denorm_min()})
    EXPECT_FALSE(VXHost::VXIsNaN(value) || VXHost::VXIsNaN(double(value)));
}
