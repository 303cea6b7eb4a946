#pragma once

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <vxgrid/host/base.h>
#include <vxgrid/host/stream.h>

namespace VXCore {

using VXHost::vxgatherstream;
using VXHost::vxistream;
using VXHost::vxostream;
using VXHost::vxsubstream;

class VXBinaryIOHandlerBase;

/// What reading a record comes to.
enum VXBStatus : unsigned int {
  VXBDone = 0,
  VXBNoMemory = 2,     ///< also: a count that the record cannot pay for, or records nested too deep
  VXBFieldShort = 3,   ///< a field is cut off, or says what cannot be
  VXBRecordShort = 4,  ///< the stream holds less than the record's length
  VXBTagBad = 6,       ///< no tag, as at the end of a stream
  VXBEndOfStream = 8,  ///< the stream ends where a byte or a length should be
  VXBUnknownBad = 9,   ///< a record of length 0, or one that is neither known nor whole
};

// A record is a head, a tag and a length, and as many bytes of data. The head is the same in either byte
// order:
//   1 byte      flag, 0 unless a format gives it a meaning
//   1-5 bytes   length of the tag's text, then the text
//   1-5 bytes   length of the data
// A length is written 7 bits a byte, the lowest first, with the high bit on all bytes but the last.

/// Writes a tag; false when the stream failed.
VXGRID_API bool VXBWriteTag(vxostream& out, const std::string& tag, unsigned int flag = 0);
/// Reads one. False when it is cut off; an empty text is a tag.
VXGRID_API bool VXBReadTag(vxistream& in, std::string& tag, unsigned int& flag);
VXGRID_API bool VXBReadTag(vxistream& in, std::string& tag);

/// Writes a length; false for one above 4294967295, which no record may have, and when the stream failed.
VXGRID_API bool VXBWriteDataLength(vxostream& out, unsigned long long length);
/// Reads one; 0 when it is cut off, longer than need be, or above the limit.
VXGRID_API unsigned long VXBReadDataLength(vxistream& in, unsigned long limit);

/// A whole record: the head, then what was gathered. False, with nothing written, when that is too long.
VXGRID_API bool VXBWriteRecord(vxostream& out, const std::string& tag, const vxgatherstream& data,
                               unsigned int flag = 0);

/// The byte that stands for this machine's order: 0 little-endian, 1 big-endian.
VXGRID_API unsigned char VXBIntEndian();
VXGRID_API unsigned char VXBFloatEndian();
VXGRID_API unsigned char VXBShortEndian();
/// Whether that byte means another order than this machine's.
VXGRID_API bool VXBIntEndian(unsigned char byte);
VXGRID_API bool VXBFloatEndian(unsigned char byte);
VXGRID_API bool VXBShortEndian(unsigned char byte);

/// Reverses the bytes of each of `count` items of `width` bytes in place.
VXGRID_API void ArraySwapBytes(unsigned char* data, unsigned long count, unsigned long width);

/// Reads one number; false, with the value as it was, when its bytes are not all there.
template <class T>
bool VXBReadData(vxistream& in, T& value, bool swap) {
  static_assert(std::is_arithmetic_v<T>);
  unsigned char bytes[sizeof(T)];
  if (in.read(bytes, sizeof(T)) != sizeof(T)) return false;
  if (swap) ArraySwapBytes(bytes, 1, sizeof(T));
  std::memcpy(&value, bytes, sizeof(T));
  return true;
}

/// Writes one number in this machine's order; false when the stream failed.
template <class T>
bool VXBWriteData(vxostream& out, const T& value) {
  static_assert(std::is_arithmetic_v<T>);
  return !out.write(reinterpret_cast<const char*>(&value), sizeof(T)).fail();
}

/// Reads the data of records of one tag into objects of one class. The order of the virtual operations is
/// part of the interface.
class VXGRID_API VXReadFxnBase {
 public:
  virtual ~VXReadFxnBase();
  virtual const char* GetTag() const = 0;
  /// VXGetDataType of the class.
  virtual const void* GetType() const = 0;
  /// On the heap; the caller owns it.
  virtual VXReadFxnBase* CreateCopy() const = 0;

  /// Runs the call operator on an object that IsDataType(GetType()).
  unsigned int ReadInto(vxistream& in, VXBase& object, unsigned long length,
                        const VXBinaryIOHandlerBase& handler) {
    return read_into_(*this, in, object, length, handler);
  }

 protected:
  using Reader = unsigned int (*)(VXReadFxnBase&, vxistream&, VXBase&, unsigned long,
                                  const VXBinaryIOHandlerBase&);
  explicit VXReadFxnBase(Reader reader) : read_into_(reader) {}

 private:
  Reader read_into_;
};

template <class T>
class VXReadFxn : public VXReadFxnBase {
 public:
  VXReadFxn() : VXReadFxnBase(Read) {}
  const void* GetType() const override { return VXGetDataType<T>(); }
  /// Takes `length` bytes from the stream; the result is a VXBStatus.
  virtual unsigned int operator()(vxistream& in, T& object, unsigned long length,
                                  const VXBinaryIOHandlerBase& handler) = 0;

 private:
  static unsigned int Read(VXReadFxnBase& self, vxistream& in, VXBase& object, unsigned long length,
                           const VXBinaryIOHandlerBase& handler) {
    return static_cast<VXReadFxn&>(self)(in, static_cast<T&>(object), length, handler);
  }
};

/// Writes objects of one class as whole records. The order of the virtual operations is part of the
/// interface.
class VXGRID_API VXWriteFxnBase {
 public:
  virtual ~VXWriteFxnBase();
  virtual const char* GetTag() const = 0;
  virtual const void* GetType() const = 0;
  virtual VXWriteFxnBase* CreateCopy() const = 0;

  /// Runs the call operator on an object that IsDataType(GetType()); false on attributes.
  bool WriteFrom(vxostream& out, const VXBase& object, const VXBinaryIOHandlerBase& handler) {
    return write_from_(*this, out, object, handler);
  }

 protected:
  using Writer = bool (*)(VXWriteFxnBase&, vxostream&, const VXBase&, const VXBinaryIOHandlerBase&);
  explicit VXWriteFxnBase(Writer writer) : write_from_(writer) {}

 private:
  Writer write_from_;
};

template <class T>
class VXWriteFxn : public VXWriteFxnBase {
 public:
  VXWriteFxn() : VXWriteFxnBase(Write) {}
  const void* GetType() const override { return VXGetDataType<T>(); }
  /// False when the object, or a part of it, did not get into the stream.
  virtual bool operator()(vxostream& out, const T& object, const VXBinaryIOHandlerBase& handler) = 0;

 private:
  static bool Write([[maybe_unused]] VXWriteFxnBase& self, [[maybe_unused]] vxostream& out,
                    [[maybe_unused]] const VXBase& object,
                    [[maybe_unused]] const VXBinaryIOHandlerBase& handler) {
    if constexpr (std::is_base_of_v<VXBase, T>)
      return static_cast<VXWriteFxn&>(self)(out, static_cast<const T&>(object), handler);
    else
      return false;
  }
};

/// The read and write objects that a stream of records knows, in the order in which they came.
class VXGRID_API VXBinaryIOHandlerBase {
 public:
  VXBinaryIOHandlerBase();
  virtual ~VXBinaryIOHandlerBase();
  VXBinaryIOHandlerBase(const VXBinaryIOHandlerBase&) = delete;
  VXBinaryIOHandlerBase& operator=(const VXBinaryIOHandlerBase&) = delete;

  /// Keeps a copy of the object, in the place of one with the same tag and type if there is one.
  void AddReadFxn(const VXReadFxnBase& fxn);
  void AddWriteFxn(const VXWriteFxnBase& fxn);

  const std::vector<std::unique_ptr<VXReadFxnBase>>& GetReadFxns() const { return read_fxns_; }
  const std::vector<std::unique_ptr<VXWriteFxnBase>>& GetWriteFxns() const { return write_fxns_; }

  /// Serves objects whose class has no write object: it takes the first for a class that theirs derives from,
  /// or else writes their attributes.
  VXWriteFxn<VXBase>& GetDefaultWriteFxn() const { return *default_write_fxn_; }

  /// The first read object of a tag for a class or, failing that, for one that `object` derives from; null
  /// when there is none.
  VXReadFxnBase* FindReadFxn(const std::string& tag, const void* type, const VXBase& object) const;
  /// The first write object for a class; null when there is none.
  VXWriteFxnBase* FindWriteFxn(const void* type) const;

 private:
  std::vector<std::unique_ptr<VXReadFxnBase>> read_fxns_;
  std::vector<std::unique_ptr<VXWriteFxnBase>> write_fxns_;
  std::unique_ptr<VXWriteFxn<VXBase>> default_write_fxn_;
};

/// Knows the records of attributes ("VXBase", "VXBasePOD"); others are added by the VXInit functions.
class VXGRID_API VXBinaryIOHandler : public VXBinaryIOHandlerBase {
 public:
  VXBinaryIOHandler();
};

/// Has its function run on the handler of every molecule stream made from now on.
using VXBInitializer = bool (*)(VXBinaryIOHandlerBase&);
VXGRID_API void VXRegisterVXBInitializer(VXBInitializer initializer);

/// What molecule streams share: the handler of the native records that travel with molecules.
class VXGRID_API vxmolstreambase {
 public:
  /// Runs the registered initializers.
  vxmolstreambase();
  virtual ~vxmolstreambase();
  VXBinaryIOHandlerBase& GetBinaryIOHandler() { return handler_; }

 private:
  VXBinaryIOHandler handler_;
};

/// Counts how deep this thread stands in records within records; false beyond a hundred, which no stack of
/// grids on grids needs.
class VXGRID_API VXBNesting {
 public:
  VXBNesting();
  ~VXBNesting();
  VXBNesting(const VXBNesting&) = delete;
  VXBNesting& operator=(const VXBNesting&) = delete;
  explicit operator bool() const;
  /// A number for the outermost record that this thread is at.
  static unsigned long Outermost();
};

/// A record that nobody here knows, whole, for the next writer.
class VXGRID_API VXUnknownVXBData {
 public:
  VXUnknownVXBData() = default;
  /// Reads the data; IsWhole says whether they were all there. `type` is of the class that was to be read.
  VXUnknownVXBData(vxistream& in, const void* type, unsigned long length, std::string tag, unsigned int flag);

  bool IsWhole() const { return whole_; }
  const void* GetType() const { return type_; }
  const std::string& GetTag() const { return tag_; }
  unsigned int GetFlag() const { return flag_; }
  const std::string& GetBytes() const { return bytes_; }
  /// The record as it was read.
  bool Write(vxostream& out) const;

 private:
  const void* type_ = nullptr;
  std::string tag_, bytes_;
  unsigned int flag_ = 0;
  bool whole_ = false;
};

/// Hangs such a record on an object, as an attribute named "vxb:" and the tag. It goes out again among the
/// object's attributes.
VXGRID_API void VXAttachData(VXBase& object, const VXUnknownVXBData& data);

/// Writes an object by the first write object of its class, or by the default one.
template <class T>
bool VXBinaryWrite(vxostream& out, const T& object, const VXBinaryIOHandlerBase& handler) {
  const VXBNesting nesting;
  if (!nesting) return false;
  if (VXWriteFxnBase* const fxn = handler.FindWriteFxn(VXGetDataType<T>()))
    return static_cast<VXWriteFxn<std::remove_const_t<T>>&>(*fxn)(out, object, handler);
  return handler.GetDefaultWriteFxn()(out, object, handler);
}

/// The head of a record. VXBDone, or why there is none.
VXGRID_API unsigned int VXBReadHead(vxistream& in, std::string& tag, unsigned int& flag,
                                    unsigned long& length);

/// Reads one record into an object, whose other contents stay: by the read object of that tag for its class
/// or, failing that, for one that it derives from. A record without one is attached to the object.
template <class T>
unsigned int VXBinaryRead(vxistream& in, T& object, const VXBinaryIOHandlerBase& handler) {
  const VXBNesting nesting;
  if (!nesting) return VXBNoMemory;
  std::string tag;
  unsigned int flag = 0;
  unsigned long length = 0;
  try {
    const unsigned int status = VXBReadHead(in, tag, flag, length);
    if (status != VXBDone) return status;
    if (VXReadFxnBase* const fxn = handler.FindReadFxn(tag, VXGetDataType<T>(), object))
      return fxn->ReadInto(in, object, length, handler);
    const VXUnknownVXBData unknown(in, VXGetDataType<T>(), length, tag, flag);
    if (!unknown.IsWhole()) return VXBUnknownBad;
    VXAttachData(object, unknown);
  } catch (const std::bad_alloc&) {
    return VXBNoMemory;
  }
  return VXBDone;
}

/// Writes one record of that tag with the attributes of int, unsigned, float, double, bool, string and
/// vectors of those; nothing when there are none.
VXGRID_API bool VXBWritePOD(vxostream& out, const VXBase& object, const char* tag);

/// Reads the data of a "VXBase" record, records of attributes. They take the place of attributes of the same
/// name; when the status is not VXBDone, those before the fault do.
VXGRID_API unsigned int VXBReadVXBase(vxistream& in, VXBase& object, unsigned long length,
                                      const VXBinaryIOHandlerBase& handler);

/// A composite record: records for one object, one after another, perhaps compressed as a whole. The tag is
/// the type's name, and with compression "gz" the name and ".gz".
inline std::string VXBGroupTag(const std::string& type_name, const std::string& compression) {
  return compression.empty() ? type_name : type_name + "." + compression;
}

template <class T>
class VXGroupReadFxn : public VXReadFxn<T> {
 public:
  explicit VXGroupReadFxn(const std::string& type_name, const std::string& compression = std::string())
      : tag_(VXBGroupTag(type_name, compression)), compressed_(!compression.empty()) {}
  const char* GetTag() const override { return tag_.c_str(); }
  VXGroupReadFxn* CreateCopy() const override { return new VXGroupReadFxn(*this); }
  unsigned int operator()(vxistream& in, T& object, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override {
    vxsubstream data(in, length);
    if (!data.is_whole()) return VXBRecordShort;
    if (compressed_ && !data.inflate()) return VXBNoMemory;
    unsigned int status = VXBDone;
    while (status == VXBDone && data) status = VXBinaryRead<T>(data, object, handler);
    return status == VXBDone && data.damaged() ? VXBFieldShort : status;
  }

 private:
  std::string tag_;
  bool compressed_;
};

/// Compresses what was gathered, as "gz"; false for another method.
VXGRID_API bool VXBCompress(vxgatherstream& out, const vxgatherstream& data, const std::string& compression);

template <class T>
class VXCollectWriteFxn : public VXWriteFxn<T> {
 public:
  explicit VXCollectWriteFxn(const std::string& type_name, const std::string& compression = std::string())
      : tag_(VXBGroupTag(type_name, compression)), compression_(compression) {}

  /// Adds a writer, which is copied. They write in the order in which they came.
  void Collect(const VXWriteFxn<T>& writer) {
    writers_.emplace_back(static_cast<VXWriteFxn<T>*>(writer.CreateCopy()));
  }
  const char* GetTag() const override { return tag_.c_str(); }
  VXCollectWriteFxn* CreateCopy() const override { return new VXCollectWriteFxn(*this); }
  bool operator()(vxostream& out, const T& object, const VXBinaryIOHandlerBase& handler) override {
    vxgatherstream data, compressed;
    for (const auto& writer : writers_)
      if (!(*writer)(data, object, handler)) return false;
    if (data.size() == 0) return true;
    if (compression_.empty()) return VXBWriteRecord(out, tag_, data);
    return VXBCompress(compressed, data, compression_) && VXBWriteRecord(out, tag_, compressed);
  }

 private:
  std::string tag_, compression_;
  std::vector<std::shared_ptr<VXWriteFxn<T>>> writers_;
};

/// Reads an attribute of class T, a name and a record, onto any object.
template <class T>
class VXBaseVXBReadFxn : public VXReadFxn<VXBase> {
 public:
  explicit VXBaseVXBReadFxn(const char* tag) : tag_(tag) {}
  const char* GetTag() const override { return tag_.c_str(); }
  VXBaseVXBReadFxn* CreateCopy() const override { return new VXBaseVXBReadFxn(*this); }
  /// The attribute is added whatever its record comes to.
  unsigned int operator()(vxistream& in, VXBase& object, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override {
    if (length == 0) return VXBDone;
    vxsubstream data(in, length);
    if (!data.is_whole()) return VXBRecordShort;
    std::string name;
    if (!VXBReadTag(data, name)) return VXBTagBad;
    T value;
    const unsigned int status = VXBinaryRead<T>(data, value, handler);
    object.AddData<T>(VXGetTag(name), value);
    return status;
  }

 private:
  std::string tag_;
};

/// Writes an attribute of class T; nothing, and true, for one of another type.
template <class T>
class VXBaseVXBWriteFxn : public VXWriteFxn<VXBaseData> {
 public:
  explicit VXBaseVXBWriteFxn(const char* tag) : tag_(tag) {}
  const char* GetTag() const override { return tag_.c_str(); }
  VXBaseVXBWriteFxn* CreateCopy() const override { return new VXBaseVXBWriteFxn(*this); }
  bool operator()(vxostream& out, const VXBaseData& attribute,
                  const VXBinaryIOHandlerBase& handler) override {
    if (attribute.GetDataType() != VXGetDataType<T>()) return true;
    vxgatherstream data;
    return VXBWriteTag(data, VXGetTag(attribute.GetTag())) &&
           VXBinaryWrite<T>(data, static_cast<const VXBaseDataT<T>&>(attribute).value, handler) &&
           VXBWriteRecord(out, tag_, data);
  }

 private:
  std::string tag_;
};

/// Lets attributes of class T travel on any object under that tag.
template <class T>
void VXInstallGenericDataHandler(VXBinaryIOHandlerBase& handler, const char* tag) {
  handler.AddReadFxn(VXBaseVXBReadFxn<T>(tag));
  handler.AddWriteFxn(VXBaseVXBWriteFxn<T>(tag));
}

}  // namespace VXCore
