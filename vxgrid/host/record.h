#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <vxgrid/host/base.h>

/// Records: named, typed fields, each as bytes, as a live object, or both.
namespace VXRecordKit {

using VXBytes = std::vector<unsigned char>;

/// What a value of one type is as bytes and as JSON. The order of the virtual operations is part of the
/// interface.
class VXGRID_API VXFieldTypeHandler {
 public:
  virtual ~VXFieldTypeHandler();
  /// Bytes to one JSON text, and back; empty for what cannot be converted.
  virtual std::string BytesToJSON(const VXBytes& bytes) const = 0;
  virtual VXBytes JSONToBytes(const std::string& json) const = 0;
  /// The bytes of a live object of this type.
  virtual VXBytes PtrToBytes(const void* value) const = 0;
  virtual const char* GetName() const = 0;
  /// Whether records may keep live objects; false here.
  virtual bool IsCacheable() const;
  /// Whether the bytes are those of the object in memory; false here.
  virtual bool IsPOD() const;

  /// VXGetDataType of the live objects.
  const void* GetType() const { return type_; }

 protected:
  explicit VXFieldTypeHandler(const void* type) : type_(type) {}

 private:
  const void* type_;
};

/// The handlers of the process. Safe from any thread.
class VXGRID_API VXFieldTypeHandlerRegistry {
 public:
  static VXFieldTypeHandlerRegistry& GetInstance();

  /// Takes a handler over. Of several for one type or name, the one of the highest priority serves, and of
  /// equals the first. Null is refused.
  bool RegisterHandler(VXFieldTypeHandler* handler, int priority);
  /// By the type of the live objects, or by name; null when there is none.
  const VXFieldTypeHandler* FindByType(const void* type) const;
  const VXFieldTypeHandler* FindByName(const std::string& name) const;

  VXFieldTypeHandlerRegistry(const VXFieldTypeHandlerRegistry&) = delete;
  VXFieldTypeHandlerRegistry& operator=(const VXFieldTypeHandlerRegistry&) = delete;

 private:
  VXFieldTypeHandlerRegistry();
  ~VXFieldTypeHandlerRegistry();

  struct Handlers;
  std::unique_ptr<Handlers> handlers_;
};

/// The name of a field and the type of its value.
class VXGRID_API VXFieldBase {
 public:
  VXFieldBase(std::string name, const void* type) : name_(std::move(name)), type_(type) {}
  const std::string& GetName() const { return name_; }
  const void* GetType() const { return type_; }

 private:
  std::string name_;
  const void* type_;
};

template <class T>
class VXField : public VXFieldBase {
 public:
  explicit VXField(std::string name) : VXFieldBase(std::move(name), VXCore::VXGetDataType<T>()) {}
};

/// How a record holds the value of a field.
enum VXFieldState : unsigned int {
  VXFieldAbsent = 0,
  VXFieldBytes = 1,      ///< bytes alone
  VXFieldCached = 2,     ///< a live object, and bytes that agree with it
  VXFieldDirty = 3,      ///< a live object that is not in the bytes yet
  VXFieldOtherType = 4,  ///< the name belongs to a field of another type
};

/// Fields by name, one value each. Live objects are shared with whoever asks for them, so a record is moved
/// but not copied.
class VXGRID_API VXRecord {
 public:
  VXRecord() = default;
  VXRecord(VXRecord&&) = default;
  VXRecord& operator=(VXRecord&&) = default;
  VXRecord(const VXRecord&) = delete;
  VXRecord& operator=(const VXRecord&) = delete;

  /// The index counts the values of a field: beyond 0 there is none.
  VXFieldState CheckField(const VXFieldBase& field, unsigned int index) const;
  /// Removes whatever has the name of the field; false when nothing has.
  bool DeleteField(const VXFieldBase& field);

  /// The live object, or null; bytes are not looked at.
  template <class T>
  std::shared_ptr<T> CheckCache(const VXField<T>& field, unsigned int index) const {
    return std::static_pointer_cast<T>(FindLive(field, index));
  }
  /// Makes an object the value of the field; it becomes bytes when these are asked for. False, and nothing
  /// changed, for null, a name of another type, and a type without a handler or with one that does not cache.
  template <class T>
  bool AddToCache(const VXField<T>& field, std::shared_ptr<T> value) {
    return SetLive(field, std::move(value));
  }
  /// Tells that the live object was changed; false when there is none.
  bool MarkCacheDirty(const VXFieldBase& field);

  /// The bytes of a field, made anew when the live object was added or marked dirty since the last time;
  /// empty for a field without a value and for an object that its handler cannot convert. They stay where
  /// they are until the field is set again or deleted.
  const VXBytes& GetBytes(const VXFieldBase& field);
  /// Makes bytes the value of a field, which may be of another type from now on.
  void SetBytes(const VXFieldBase& field, VXBytes bytes);

 private:
  struct Value {
    const void* type;
    VXBytes bytes;
    std::shared_ptr<void> live;
    bool is_dirty = false;
  };
  const Value* Find(const VXFieldBase& field, unsigned int index) const;
  std::shared_ptr<void> FindLive(const VXFieldBase& field, unsigned int index) const;
  bool SetLive(const VXFieldBase& field, std::shared_ptr<void> value);

  std::map<std::string, Value> values_;
};

// A buffer is a row of items, without tags: an int is its 4 bytes, a blob 8 bytes with its length and then
// its bytes, and a none blob the length 2^64 - 1 alone. Numbers are little-endian.

class VXGRID_API VXWriteBuffer {
 public:
  void WriteInt(int value);
  void WriteBlob(const VXBytes& bytes);
  /// Stands for a value that is not there.
  void WriteNoneBlob();

  const VXBytes& GetBytes() const { return bytes_; }
  VXBytes TakeBytes() { return std::move(bytes_); }

 private:
  VXBytes bytes_;
};

/// A blob where it lies in the bytes of a buffer; null for a none blob.
struct VXBlob {
  const unsigned char* bytes = nullptr;
  std::size_t size = 0;

  explicit operator bool() const { return bytes != nullptr; }
};

/// Reads items from bytes that stay where they are. False, and nothing taken, for an item that is cut off.
class VXGRID_API VXReadBuffer {
 public:
  /// What a blob takes besides its bytes.
  static constexpr std::size_t kBlobHead = 8;

  explicit VXReadBuffer(const VXBytes& bytes) : next_(bytes.data()), left_(bytes.size()) {}
  explicit VXReadBuffer(VXBytes&&) = delete;

  bool ReadInt(int& value);
  bool ReadBlob(VXBlob& blob);
  std::size_t GetBytesLeft() const { return left_; }

 private:
  const unsigned char* next_;
  std::size_t left_;
};

}  // namespace VXRecordKit
