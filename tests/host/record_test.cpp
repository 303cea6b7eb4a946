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
  VXReadBuffer in(all);
  int first = 0, last = 0;
  VXBlob blob, empty, none;
  ASSERT_TRUE(in.ReadInt(first) && in.ReadBlob(blob) && in.ReadBlob(empty) && in.ReadBlob(none) &&
              in.ReadInt(last));
  EXPECT_EQ(VXBytes(blob.bytes, blob.bytes + blob.size), bytes_of("blob"));
  EXPECT_TRUE(first == INT_MIN && last == 0x01020304 && empty && empty.size == 0 && !none);
  EXPECT_FALSE(in.GetBytesLeft() || in.ReadInt(last) || in.ReadBlob(blob));
  // Lengths beyond what is there, one below the mark of a none blob among them; half a length, half an int.
  for (const char* text :
       {"\xfe\xff\xff\xff\xff\xff\xff\xff", "\x7f\1\1\1\1\1\1\1x", "\1\1\1\1\1\1\1", "\1\2\3"}) {
    const VXBytes bytes = bytes_of(text);
    VXReadBuffer short_in(bytes);
    EXPECT_FALSE(short_in.ReadBlob(blob) || (bytes.size() < 4 && short_in.ReadInt(last)));
  }
}
