#include <vxgrid/host/binary_records.h>

#include <limits>

#include <vxgrid/host/molecule.h>

#include "support/record_bytes.h"
#include "support/support.h"

using namespace VXCore;
using VXHost::vxisstream;
using VXHost::vxosstream;

namespace {

const VXBinaryIOHandler& handler() {
  static const VXBinaryIOHandler known;
  return known;
}

// The attributes of every plain type in one "VXBase" record.
RecordBytes every_type(bool big) {
  RecordBytes pods(big);
  pods.orders();
  pods.tag("int", 1).length(4).numbers<int>({-7});
  pods.tag("unsigned", 2).length(4).numbers<unsigned>({0xfffffff0u});
  pods.tag("float", 3).length(4).numbers<float>({-0.0f});
  pods.tag("double", 4).length(8).numbers<double>({std::numeric_limits<double>::denorm_min()});
  pods.tag("bool", 5).length(1).byte(1);
  pods.tag("string", 6).length(3).raw(std::string("a\0b", 3));
  pods.tag("ints", 17).length(8).numbers<int>({1, -1});
  pods.tag("unsigneds", 18).length(0);
  pods.tag("floats", 19).length(8).numbers<float>({1.5f, std::numeric_limits<float>::infinity()});
  pods.tag("doubles", 20).length(8).numbers<double>({0.1});
  pods.tag("bools", 21).length(3).byte(1).byte(0).byte(1);
  pods.tag("strings", 22).length(4).byte(0).byte(2).raw("xy");
  pods.tag("int", 3).length(4).numbers<float>({2.0f});  // a name twice, with another type
  return RecordBytes(big).record("VXBase", RecordBytes(big).record("VXBasePOD", pods));
}

}  // namespace

TEST(BinaryRecords, AttributesOfEveryPlainTypeInBothByteOrders) {
  for (const bool big : {false, true}) {
    VXBase read;
    ASSERT_EQ(read_record(every_type(big).str(), read, handler()), VXBDone);
    EXPECT_EQ(record_of(read, handler()), every_type(false).str()) << "order " << big;
    EXPECT_EQ(read.GetData<unsigned int>("unsigned"), 0xfffffff0u);
    EXPECT_EQ(read.GetData<std::vector<float>>("floats")[0], 1.5f);
    EXPECT_EQ(read.GetData<std::vector<std::string>>("strings"), (std::vector<std::string>{"", "xy"}));
    // Once more on the same object: what is there is replaced, and what is not in the record stays.
    read.SetData<int>("ours", 1);
    read.SetData<int>("int", 12);
    ASSERT_EQ(read_record(every_type(big).str(), read, handler()), VXBDone);
    EXPECT_EQ(read.GetData<int>("int"), -7);
    EXPECT_EQ(read.GetBaseImpl()->GetAll().size(), 14u);
  }
  struct Private {};
  VXBase other;
  EXPECT_EQ(record_of(other, handler()), "");
  other.SetData("nobody writes this", Private());
  EXPECT_EQ(record_of(other, handler()), "");
}

TEST(BinaryRecords, HeadsAndNumbers) {
  for (const unsigned long length : {1ul, 127ul, 128ul, 16384ul, 4294967295ul}) {
    vxosstream out;
    ASSERT_TRUE(VXBWriteTag(out, std::string(length % 1000, 't'), 200) && VXBWriteDataLength(out, length));
    vxisstream in(out.str());
    std::string tag;
    unsigned int flag;
    EXPECT_TRUE(VXBReadTag(in, tag, flag));
    EXPECT_EQ(tag.size(), length % 1000);
    EXPECT_EQ(flag, 200u);
    EXPECT_EQ(VXBReadDataLength(in, 4294967295ul), length);
    EXPECT_TRUE(in.eof());
  }
  vxosstream out;
  EXPECT_FALSE(VXBWriteDataLength(out, 4294967296ull));
  for (const char* const bad :
       {"\x80", "\x81\x80", "\xff\xff\xff\xff\x10", "\xff\xff\xff\xff\xff\x01", "\x05"}) {
    vxisstream in{
        std::string(bad, bad[0] == '\x81' ? 3 : std::strlen(bad))};  // also 1 written in three bytes
    EXPECT_EQ(VXBReadDataLength(in, 4), 0u);
  }
  vxisstream in(std::string("\1\2\3\4\5\6\7\x08\x09", 9));
  std::uint64_t wide = 0;
  std::uint32_t value = 7;
  EXPECT_TRUE(VXBReadData(in, wide, true));
  EXPECT_EQ(wide, 0x0102030405060708u);
  EXPECT_FALSE(VXBReadData(in, value, false));
  EXPECT_EQ(value, 7u);
  unsigned char six[] = {1, 2, 3, 4, 5, 6};
  ArraySwapBytes(six, 2, 3);
  EXPECT_THAT(six, testing::ElementsAre(3, 2, 1, 6, 5, 4));
  EXPECT_FALSE(VXBIntEndian(VXBIntEndian()) || VXBFloatEndian(VXBFloatEndian()) ||
               VXBShortEndian(VXBShortEndian()));
}

TEST(BinaryRecords, StatusOfWhatIsNoRecord) {
  const auto head = [](const char* text) { return RecordBytes().tag(text); };
  const std::tuple<const char*, std::string, unsigned int> rows[] = {
      {"nothing", "", VXBTagBad},
      {"a cut tag", head("VXBase").str().substr(0, 5), VXBTagBad},
      {"no tag and no flag", RecordBytes().record("", RecordBytes().byte(0)).str(), VXBTagBad},
      {"a tag alone", head("VXBase").str(), VXBEndOfStream},
      {"length 0 at the end", head("VXBase").byte(0).str(), VXBEndOfStream},
      {"length 0", head("VXBase").byte(0).byte(0).str(), VXBUnknownBad},
      {"a known record, cut", head("VXBase").byte(9).raw("12345678").str(), VXBRecordShort},
      {"an unknown one, cut", head("Foo").byte(9).raw("12345678").str(), VXBUnknownBad},
      {"a flag without a tag", RecordBytes().record("", RecordBytes().byte(0), 9).str(), VXBDone},
  };
  for (const auto& [what, bytes, status] : rows) {
    VXBase object;
    EXPECT_EQ(read_record(bytes, object, handler()), status) << what;
  }
}

TEST(BinaryRecords, UnknownOnesComeOutAgain) {
  RecordBytes inner, base;
  inner.raw(std::string(5000, '\xaa'));
  base.record("Later", inner, 77).record("", RecordBytes().byte(1), 5);
  const std::string bytes = RecordBytes().record("VXBase", base).str();
  VXGraphMol molecule;  // any object takes attributes
  ASSERT_EQ(read_record<VXBase>(bytes, molecule, handler()), VXBDone);
  const VXGraphMol copy(molecule);
  EXPECT_EQ(record_of<VXBase>(copy, handler()), bytes);
  EXPECT_EQ(copy.GetData<VXUnknownVXBData>("vxb:Later").GetType(), VXGetDataType<VXBase>());
}

TEST(BinaryRecords, NestedTooDeepIsRefused) {
  for (const auto& [depth, status] : {std::pair{90, VXBDone}, std::pair{5000, VXBNoMemory}}) {
    RecordBytes nested;
    nested.record("Leaf", RecordBytes().byte(1));
    for (int i = 0; i < depth && nested.str().size() < 16000; ++i)
      nested = RecordBytes().record("VXBase", nested);
    VXBase object;
    EXPECT_EQ(read_record(nested.str(), object, handler()), status) << depth;
  }
}

TEST(BinaryRecords, GroupsAndTheirCompressedForm) {
  class PodWriter : public VXWriteFxn<VXBase> {
   public:
    const char* GetTag() const override { return "VXBasePOD"; }
    PodWriter* CreateCopy() const override { return new PodWriter; }
    bool operator()(vxostream& out, const VXBase& object, const VXBinaryIOHandlerBase&) override {
      return VXBWritePOD(out, object, GetTag());
    }
  };
  VXBase object;
  object.SetData("text", std::string(100000, 'x'));
  object.SetData("more", 4.0);
  for (const std::string method : {"", "gz"}) {
    VXBinaryIOHandler group;
    VXCollectWriteFxn<VXBase> writer("Group", method);
    writer.Collect(PodWriter());
    group.AddReadFxn(VXGroupReadFxn<VXBase>("Group", method));
    vxosstream out;
    ASSERT_TRUE(writer(out, object, group));
    EXPECT_EQ(out.str().size() < 1000, method == "gz");
    VXBase read;
    ASSERT_EQ(read_record(out.str(), read, group), VXBDone);
    EXPECT_EQ(record_of(read, group), record_of(object, group));
    std::string cut = out.str();
    cut[cut.size() - 6] = static_cast<char>(cut[cut.size() - 6] ^ 1);  // a value, or the checksum
    EXPECT_EQ(read_record(cut, read, group), method == "gz" ? VXBFieldShort : VXBDone);
  }
  // What unfolds may not unfold again.
  VXBinaryIOHandler group;
  group.AddReadFxn(VXGroupReadFxn<VXBase>("G", "gz"));
  std::string bytes = RecordBytes().record("Foo", RecordBytes().byte(1)).str();
  for (const unsigned int status : {VXBDone, VXBNoMemory}) {
    bytes = RecordBytes().record("G.gz", RecordBytes().raw(gz(bytes))).str();
    EXPECT_EQ(read_record(bytes, object, group), status);
  }
}
