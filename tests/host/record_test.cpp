#include <vxgrid/host/record.h>

#include <climits>

using namespace VXRecordKit;

namespace {

struct Note {
  std::string text;
};
struct Stone {};

int conversions = 0;

class NoteHandler : public VXFieldTypeHandler {
 public:
  NoteHandler(const char* name, const void* type, bool cacheable)
      : VXFieldTypeHandler(type), name_(name), cacheable_(cacheable) {}
  std::string BytesToJSON(const VXBytes&) const override { return std::string(); }
  VXBytes JSONToBytes(const std::string&) const override { return VXBytes(); }
  VXBytes PtrToBytes(const void* note) const override {
    ++conversions;
    const std::string& text = static_cast<const Note*>(note)->text;
    return VXBytes(text.begin(), text.end());
  }
  const char* GetName() const override { return name_; }
  bool IsCacheable() const override { return cacheable_; }

 private:
  const char* name_;
  bool cacheable_;
};

VXBytes bytes_of(const std::string& text) { return VXBytes(text.begin(), text.end()); }

}  // namespace

TEST(Record, LiveObjectsBecomeBytesWhenAskedFor) {
  auto& registry = VXFieldTypeHandlerRegistry::GetInstance();
  const void* const type = VXCore::VXGetDataType<Note>();
  EXPECT_FALSE(registry.RegisterHandler(nullptr, 0));
  for (const auto& [name, priority] : {std::pair("Note", 0), std::pair("First", 1), std::pair("Later", 1)})
    EXPECT_TRUE(registry.RegisterHandler(new NoteHandler(name, type, true), priority));
  registry.RegisterHandler(new NoteHandler("Stone", VXCore::VXGetDataType<Stone>(), false), 0);
  EXPECT_STREQ(registry.FindByType(type)->GetName(), "First");
  EXPECT_TRUE(registry.FindByName("Later") && !registry.FindByName("later"));

  const VXField<Note> field("a");
  const VXField<int> other("a");
  VXRecord record;
  EXPECT_TRUE(record.CheckField(field, 0) == VXFieldAbsent && record.GetBytes(field).empty());
  EXPECT_FALSE(record.MarkCacheDirty(field) || record.DeleteField(field));

  const auto note = std::make_shared<Note>(Note{"one"});
  EXPECT_FALSE(record.AddToCache(field, std::shared_ptr<Note>()));
  EXPECT_FALSE(record.AddToCache(other, std::make_shared<int>(1))) << "no handler";
  EXPECT_FALSE(record.AddToCache(VXField<Stone>("b"), std::make_shared<Stone>())) << "is not cached";
  EXPECT_TRUE(record.AddToCache(field, note) && record.CheckField(field, 0) == VXFieldDirty);
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
  const VXBytes all = out.GetBytes();
  EXPECT_EQ(all, bytes_of(std::string("\0\0\0\x80\4\0\0\0\0\0\0\0blob\0\0\0\0\0\0\0\0", 24) +
                          std::string(8, '\xff')));
  VXReadBuffer in(all);
  int number = 0;
  VXBlob blob, empty, none;
  ASSERT_TRUE(in.ReadInt(number) && in.ReadBlob(blob) && in.ReadBlob(empty) && in.ReadBlob(none));
  EXPECT_EQ(VXBytes(blob.bytes, blob.bytes + blob.size), bytes_of("blob"));
  EXPECT_TRUE(number == INT_MIN && empty && empty.size == 0 && !none);
  EXPECT_FALSE(in.GetBytesLeft() || in.ReadInt(number) || in.ReadBlob(blob));
  // Lengths beyond what is there, one below the mark of a none blob among them; half a length, half an int.
  const std::string rows[] = {'\xfe' + std::string(7, '\xff'), std::string("\2\0\0\0\0\0\0\0x", 9),
                              std::string(7, '\1'), "\1\2\3"};
  for (const std::string& row : rows) {
    const VXBytes bytes = bytes_of(row);
    VXReadBuffer short_in(bytes);
    EXPECT_FALSE(short_in.ReadBlob(blob) || (bytes.size() < 4 && short_in.ReadInt(number)));
  }
}
