#include <vxgrid/host/record.h>

#include <gtest/gtest.h>

#include <climits>

using namespace VXRecordKit;

namespace {

struct Note {
  std::string text;
};
struct Stone {};

/// Counts what it converts.
template <class T>
class CountingHandler : public VXFieldTypeHandler {
 public:
  CountingHandler(const char* name, bool cacheable)
      : VXFieldTypeHandler(VXCore::VXGetDataType<T>()), name_(name), cacheable_(cacheable) {}
  std::string BytesToJSON(const VXBytes&) const override { return std::string(); }
  VXBytes JSONToBytes(const std::string&) const override { return VXBytes(); }
  VXBytes PtrToBytes(const void* note) const override {
    ++conversions;
    const std::string& text = static_cast<const Note*>(note)->text;
    return VXBytes(text.begin(), text.end());
  }
  const char* GetName() const override { return name_; }
  bool IsCacheable() const override { return cacheable_; }

  static int conversions;

 private:
  const char* name_;
  bool cacheable_;
};
template <class T>
int CountingHandler<T>::conversions = 0;

VXBytes bytes_of(const std::string& text) { return VXBytes(text.begin(), text.end()); }

}  // namespace

TEST(Record, LiveObjectsBecomeBytesWhenAskedFor) {
  auto& registry = VXFieldTypeHandlerRegistry::GetInstance();
  EXPECT_FALSE(registry.RegisterHandler(nullptr, 0));
  for (const auto& [name, priority] : {std::pair("Note", 0), std::pair("Later", 0), std::pair("First", 1)})
    EXPECT_TRUE(registry.RegisterHandler(new CountingHandler<Note>(name, true), priority));
  registry.RegisterHandler(new CountingHandler<Stone>("Stone", false), 0);
  EXPECT_STREQ(registry.FindByType(VXCore::VXGetDataType<Note>())->GetName(), "First");
  EXPECT_TRUE(registry.FindByName("Later") && !registry.FindByName("later"));
  EXPECT_FALSE(registry.FindByName("Note")->IsPOD());

  const VXField<Note> field("a");
  const VXField<int> other("a");
  const int& conversions = CountingHandler<Note>::conversions;
  VXRecord record;
  EXPECT_TRUE(record.CheckField(field, 0) == VXFieldAbsent && record.GetBytes(field).empty());
  EXPECT_FALSE(record.MarkCacheDirty(field) || record.DeleteField(field));

  const auto note = std::make_shared<Note>(Note{"one"});
  EXPECT_FALSE(record.AddToCache(field, std::shared_ptr<Note>()));
  EXPECT_FALSE(record.AddToCache(other, std::make_shared<int>(1))) << "no handler";
  EXPECT_FALSE(record.AddToCache(VXField<Stone>("b"), std::make_shared<Stone>())) << "is not cached";
  EXPECT_TRUE(record.AddToCache(field, note));
  EXPECT_EQ(record.CheckField(field, 0), VXFieldDirty);
  EXPECT_TRUE(record.CheckField(field, 1) == VXFieldAbsent && !record.CheckCache(field, 1));
  note->text = "two";
  EXPECT_EQ(conversions, 0);
  EXPECT_EQ(record.GetBytes(field), bytes_of("two"));
  EXPECT_EQ(record.CheckField(field, 0), VXFieldCached);
  note->text = "three";
  EXPECT_EQ(record.GetBytes(field), bytes_of("two")) << "not told of the change";
  EXPECT_EQ(conversions, 1);
  EXPECT_TRUE(record.MarkCacheDirty(field));
  EXPECT_EQ(record.GetBytes(field), bytes_of("three"));

  EXPECT_EQ(record.CheckField(other, 0), VXFieldOtherType);
  EXPECT_TRUE(record.GetBytes(other).empty() && !record.CheckCache(other, 0));
  record.SetBytes(other, bytes_of("4"));
  EXPECT_EQ(record.CheckField(other, 0), VXFieldBytes);
  EXPECT_FALSE(record.AddToCache(field, note)) << "the name belongs to another type";
  EXPECT_TRUE(record.DeleteField(field) && record.AddToCache(field, note));
}

TEST(Record, BuffersGiveBackWhatIsWhole) {
  VXWriteBuffer out;
  out.WriteInt(INT_MIN);
  out.WriteBlob(bytes_of("blob"));
  out.WriteBlob(VXBytes());
  out.WriteNoneBlob();
  out.WriteInt(0x01020304);
  const VXBytes all = out.GetBytes();
  EXPECT_EQ(all, bytes_of(std::string("\0\0\0\x80"
                                      "\4\0\0\0\0\0\0\0"
                                      "blob"
                                      "\0\0\0\0\0\0\0\0",
                                      24) +
                          std::string(8, '\xff') + "\4\3\2\1"));
  for (std::size_t n = 0; n <= all.size(); ++n) {
    const VXBytes part(all.begin(), all.begin() + static_cast<long>(n));
    VXReadBuffer in(part);
    int first = 0, last = 0;
    VXBlob blob, empty, none;
    EXPECT_EQ(in.ReadInt(first), n >= 4);
    if (n < 4) continue;
    EXPECT_EQ(in.ReadBlob(blob), n >= 16);
    if (n < 16) continue;
    EXPECT_EQ(in.ReadBlob(empty), n >= 24);
    EXPECT_EQ(in.ReadBlob(none), n >= 32);
    EXPECT_EQ(in.ReadInt(last), n >= 36 || (n >= 28 && n < 32) || (n >= 20 && n < 24)) << n;
    EXPECT_EQ(VXBytes(blob.bytes, blob.bytes + blob.size), bytes_of("blob"));
    if (n < 36) continue;
    EXPECT_TRUE(first == INT_MIN && last == 0x01020304 && empty && empty.size == 0 && !none);
    EXPECT_EQ(in.GetBytesLeft(), 0u);
  }
  // Lengths beyond what is there, one below the mark of a none blob among them.
  for (const char last : {'\x7f', '\xfe'}) {
    VXBytes huge(8, 0xff);
    huge[0] = static_cast<unsigned char>(last);
    VXReadBuffer in(huge);
    VXBlob blob;
    EXPECT_FALSE(in.ReadBlob(blob));
  }
}
