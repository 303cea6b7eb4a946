#include <vxgrid/host/binary_records.h>

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <mutex>

#include <vxgrid/host/platform.h>

namespace VXCore {
namespace {

constexpr unsigned long kMaxLength = 0xffffffffu;
constexpr int kMaxNesting = 100;

thread_local int nesting = 0;
thread_local unsigned long outermost = 0;

constexpr unsigned char kOwnOrder = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? 1 : 0;

bool write_length(vxostream& out, unsigned long length) {
  unsigned char bytes[5];
  int n = 0;
  for (; length > 127; length >>= 7) bytes[n++] = static_cast<unsigned char>(length | 128);
  bytes[n++] = static_cast<unsigned char>(length);
  return !out.write(bytes, static_cast<unsigned long>(n)).fail();
}

// A length has one form only, so that what is read and kept is the same bytes when written again.
bool read_length(vxistream& in, unsigned long& length) {
  length = 0;
  for (int shift = 0; shift < 35; shift += 7) {
    const int byte = in.getbyte();
    if (byte < 0) return false;
    length |= static_cast<unsigned long>(byte & 127) << shift;
    if (byte < 128) return length <= kMaxLength && (byte != 0 || shift == 0);
  }
  return false;
}

template <class Item>
void swap_items(unsigned char* data, unsigned long count, Item (*swapped)(Item)) {
  for (unsigned long i = 0; i < count; ++i, data += sizeof(Item)) {
    Item item;
    std::memcpy(&item, data, sizeof item);
    item = swapped(item);
    std::memcpy(data, &item, sizeof item);
  }
}

// Four at a time: the bytes of each half, then the halves.
void swap_words(unsigned char* data, unsigned long count) {
  for (; count >= 4; count -= 4, data += 16) {
    __m128i* const at = reinterpret_cast<__m128i*>(data);
    __m128i v = _mm_loadu_si128(at);
    v = _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));
    v = _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, 0xb1), 0xb1);
    _mm_storeu_si128(at, v);
  }
  swap_items<std::uint32_t>(data, count, [](std::uint32_t v) { return __builtin_bswap32(v); });
}

// The values of attributes: numbers as they stand in memory, bool as a byte, strings in vectors each with its
// length. The length of the whole stands before it.
template <class T>
void put_value(vxostream& out, const T& value) {
  VXBWriteData(out, value);
}
void put_value(vxostream& out, const std::string& value) { out << value; }
template <class T>
void put_value(vxostream& out, const std::vector<T>& values) {
  out.write(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
}
void put_value(vxostream& out, const std::vector<bool>& values) {
  for (const bool value : values) VXBWriteData(out, value);
}
void put_value(vxostream& out, const std::vector<std::string>& values) {
  for (const std::string& value : values) {
    write_length(out, value.size());
    out << value;
  }
}

bool get_value(vxistream& in, bool& value, bool) {
  const int byte = in.getbyte();
  value = byte > 0;
  return byte >= 0;
}
template <class T>
bool get_value(vxistream& in, T& value, bool swap) {
  return VXBReadData(in, value, swap);
}
bool get_value(vxistream& in, std::string& value, bool) {
  in.read(value, in.max_bytes_left());
  return true;
}
bool get_value(vxistream& in, std::vector<bool>& values, bool) {
  while (in) values.push_back(in.getbyte() > 0);
  return true;
}
bool get_value(vxistream& in, std::vector<std::string>& values, bool) {
  while (in) {
    unsigned long length;
    if (!read_length(in, length) || in.read(values.emplace_back(), length) != length) return false;
  }
  return true;
}
template <class T>
bool get_value(vxistream& in, std::vector<T>& values, bool swap) {
  std::string bytes;
  in.read(bytes, in.max_bytes_left());
  if (bytes.size() % sizeof(T) != 0) return false;
  values.resize(bytes.size() / sizeof(T));
  if (values.empty()) return true;
  std::memcpy(values.data(), bytes.data(), bytes.size());
  if (swap) ArraySwapBytes(reinterpret_cast<unsigned char*>(values.data()), values.size(), sizeof(T));
  return true;
}

template <class T>
void write_pod(vxostream& out, const VXBaseData& attribute) {
  put_value(out, static_cast<const VXBaseDataT<T>&>(attribute).value);
}

template <class T>
bool read_pod(vxistream& in, bool swap, VXBase& object, unsigned int tag) {
  T value{};
  if (!get_value(in, value, swap) || in) return false;
  return object.AddData<T>(tag, value);
}

// A type of attribute and the flag of its name in a record. The flags are part of the format.
struct PodType {
  unsigned int flag;
  bool is_real;  // goes by the byte order of floats
  const void* type;
  void (*write)(vxostream&, const VXBaseData&);
  bool (*read)(vxistream&, bool swap, VXBase&, unsigned int tag);
};

template <class T>
PodType pod(unsigned int flag, bool is_real = false) {
  return {flag, is_real, VXGetDataType<T>(), write_pod<T>, read_pod<T>};
}

const std::vector<PodType>& pod_types() {
  static const auto* const types = new std::vector<PodType>{
      pod<int>(1),
      pod<unsigned int>(2),
      pod<float>(3, true),
      pod<double>(4, true),
      pod<bool>(5),
      pod<std::string>(6),
      pod<std::vector<int>>(17),
      pod<std::vector<unsigned int>>(18),
      pod<std::vector<float>>(19, true),
      pod<std::vector<double>>(20, true),
      pod<std::vector<bool>>(21),
      pod<std::vector<std::string>>(22),
  };
  return *types;
}

const PodType* pod_of(const VXBaseData& attribute) {
  for (const PodType& pod : pod_types())
    if (pod.type == attribute.GetDataType()) return &pod;
  return nullptr;
}

// One record of attributes: the two byte orders; then for each a tag (flag: its type), a length, the value.
class PodRecord {
 public:
  void Add(const PodType& pod, const VXBaseData& attribute) {
    if (data_.size() == 0) data_.write(kOrders, sizeof kOrders);
    vxgatherstream value;
    pod.write(value, attribute);
    VXBWriteTag(data_, VXGetTag(attribute.GetTag()), pod.flag);
    whole_ = VXBWriteDataLength(data_, value.size()) && value.write_to(data_) && whole_;
  }
  bool Write(vxostream& out, const std::string& tag) const {
    return whole_ && (data_.size() == 0 || VXBWriteRecord(out, tag, data_));
  }

 private:
  static constexpr unsigned char kOrders[2] = {kOwnOrder, kOwnOrder};
  vxgatherstream data_;
  bool whole_ = true;
};

unsigned int read_pod_attribute(vxistream& in, bool swap_ints, bool swap_reals, VXBase& object) {
  std::string name;
  unsigned int flag;
  unsigned long length;
  if (!VXBReadTag(in, name, flag)) return VXBTagBad;
  if (!read_length(in, length)) return VXBEndOfStream;
  vxsubstream value(in, length);
  if (!value.is_whole()) return VXBFieldShort;
  for (const PodType& pod : pod_types())
    if (pod.flag == flag)
      return pod.read(value, pod.is_real ? swap_reals : swap_ints, object, VXGetTag(name)) ? VXBDone
                                                                                           : VXBFieldShort;
  return VXBUnknownBad;
}

constexpr char kBaseTag[] = "VXBase";
constexpr char kPodTag[] = "VXBasePOD";

class BasePodReadFxn : public VXReadFxn<VXBase> {
 public:
  const char* GetTag() const override { return kPodTag; }
  BasePodReadFxn* CreateCopy() const override { return new BasePodReadFxn; }
  unsigned int operator()(vxistream& in, VXBase& object, unsigned long length,
                          const VXBinaryIOHandlerBase&) override {
    vxsubstream data(in, length);
    if (!data.is_whole()) return VXBRecordShort;
    const int ints = data.getbyte(), reals = data.getbyte();
    if (reals < 0) return VXBEndOfStream;
    unsigned int status = VXBDone;
    while (status == VXBDone && data)
      status = read_pod_attribute(data, VXBIntEndian(static_cast<unsigned char>(ints)),
                                  VXBFloatEndian(static_cast<unsigned char>(reals)), object);
    return status;
  }
};

class BaseReadFxn : public VXReadFxn<VXBase> {
 public:
  const char* GetTag() const override { return kBaseTag; }
  BaseReadFxn* CreateCopy() const override { return new BaseReadFxn; }
  unsigned int operator()(vxistream& in, VXBase& object, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override {
    return VXBReadVXBase(in, object, length, handler);
  }
};

// Attributes in their order. Those of plain types that follow each other share a record. One that no write
// object takes stays behind.
bool gather_attributes(vxgatherstream& out, const VXBaseImpl& attributes,
                       const VXBinaryIOHandlerBase& handler) {
  auto pods = std::make_unique<PodRecord>();
  for (const auto& attribute : attributes.GetAll()) {
    if (const PodType* const pod = pod_of(*attribute)) {
      pods->Add(*pod, *attribute);
      continue;
    }
    if (!pods->Write(out, kPodTag)) return false;
    pods = std::make_unique<PodRecord>();
    if (attribute->GetDataType() == VXGetDataType<VXUnknownVXBData>()) {
      if (!static_cast<const VXBaseDataT<VXUnknownVXBData>&>(*attribute).value.Write(out)) return false;
      continue;
    }
    for (const auto& fxn : handler.GetWriteFxns())
      if (fxn->GetType() == VXGetDataType<VXBaseData>() &&
          !static_cast<VXWriteFxn<VXBaseData>&>(*fxn)(out, *attribute, handler))
        return false;
  }
  return pods->Write(out, kPodTag);
}

class BaseWriteFxn : public VXWriteFxn<VXBase> {
 public:
  const char* GetTag() const override { return kBaseTag; }
  BaseWriteFxn* CreateCopy() const override { return new BaseWriteFxn; }
  bool operator()(vxostream& out, const VXBase& object, const VXBinaryIOHandlerBase& handler) override {
    if (!object.GetBaseImpl()) return true;
    vxgatherstream data;
    if (!gather_attributes(data, *object.GetBaseImpl(), handler)) return false;
    return data.size() == 0 || VXBWriteRecord(out, kBaseTag, data);
  }
};

class DefaultWriteFxn : public VXWriteFxn<VXBase> {
 public:
  const char* GetTag() const override { return kBaseTag; }
  DefaultWriteFxn* CreateCopy() const override { return new DefaultWriteFxn; }
  bool operator()(vxostream& out, const VXBase& object, const VXBinaryIOHandlerBase& handler) override {
    for (const auto& fxn : handler.GetWriteFxns())
      if (fxn->GetType() != VXGetDataType<VXBase>() && object.IsDataType(fxn->GetType()))
        return fxn->WriteFrom(out, object, handler);
    return BaseWriteFxn()(out, object, handler);
  }
};

struct Initializers {
  std::mutex mutex;
  std::vector<VXBInitializer> all;
};

Initializers& initializers() {
  static Initializers* const made = new Initializers;
  return *made;
}

template <class Fxn>
void add_or_replace(std::vector<std::unique_ptr<Fxn>>& fxns, const Fxn& fxn) {
  std::unique_ptr<Fxn> copy(fxn.CreateCopy());
  for (auto& old : fxns)
    if (old->GetType() == copy->GetType() && std::strcmp(old->GetTag(), copy->GetTag()) == 0) {
      old = std::move(copy);
      return;
    }
  fxns.push_back(std::move(copy));
}

}  // namespace

bool VXBWriteTag(vxostream& out, const std::string& tag, unsigned int flag) {
  const auto byte = static_cast<unsigned char>(flag);
  if (flag > 255 || tag.size() > kMaxLength || out.write(&byte, 1).fail()) return false;
  return write_length(out, tag.size()) && !(out << tag).fail();
}

bool VXBReadTag(vxistream& in, std::string& tag, unsigned int& flag) {
  const int byte = in.getbyte();
  unsigned long length;
  if (byte < 0 || !read_length(in, length) || length > in.max_bytes_left()) return false;
  flag = static_cast<unsigned int>(byte);
  return in.read(tag, length) == length;
}

bool VXBReadTag(vxistream& in, std::string& tag) {
  unsigned int flag;
  return VXBReadTag(in, tag, flag);
}

bool VXBWriteDataLength(vxostream& out, unsigned long long length) {
  return length <= kMaxLength && write_length(out, static_cast<unsigned long>(length));
}

unsigned long VXBReadDataLength(vxistream& in, unsigned long limit) {
  unsigned long length;
  return read_length(in, length) && length <= limit ? length : 0;
}

bool VXBWriteRecord(vxostream& out, const std::string& tag, const vxgatherstream& data, unsigned int flag) {
  if (data.fail() || data.size() > kMaxLength) return false;
  return VXBWriteTag(out, tag, flag) && VXBWriteDataLength(out, data.size()) && data.write_to(out);
}

unsigned char VXBIntEndian() { return kOwnOrder; }
unsigned char VXBFloatEndian() { return kOwnOrder; }
unsigned char VXBShortEndian() { return kOwnOrder; }
bool VXBIntEndian(unsigned char byte) { return byte != kOwnOrder; }
bool VXBFloatEndian(unsigned char byte) { return byte != kOwnOrder; }
bool VXBShortEndian(unsigned char byte) { return byte != kOwnOrder; }

void ArraySwapBytes(unsigned char* data, unsigned long count, unsigned long width) {
  if (width == 2)
    swap_items<std::uint16_t>(data, count, [](std::uint16_t v) { return __builtin_bswap16(v); });
  else if (width == 4)
    swap_words(data, count);
  else if (width == 8)
    swap_items<std::uint64_t>(data, count, [](std::uint64_t v) { return __builtin_bswap64(v); });
  else
    for (unsigned long i = 0; i < count; ++i) std::reverse(data + i * width, data + (i + 1) * width);
}

VXReadFxnBase::~VXReadFxnBase() = default;
VXWriteFxnBase::~VXWriteFxnBase() = default;

VXBinaryIOHandlerBase::VXBinaryIOHandlerBase() : default_write_fxn_(new DefaultWriteFxn) {}
VXBinaryIOHandlerBase::~VXBinaryIOHandlerBase() = default;

void VXBinaryIOHandlerBase::AddReadFxn(const VXReadFxnBase& fxn) { add_or_replace(read_fxns_, fxn); }
void VXBinaryIOHandlerBase::AddWriteFxn(const VXWriteFxnBase& fxn) { add_or_replace(write_fxns_, fxn); }

VXReadFxnBase* VXBinaryIOHandlerBase::FindReadFxn(const std::string& tag, const void* type,
                                                  const VXBase& object) const {
  VXReadFxnBase* of_base = nullptr;
  for (const auto& fxn : read_fxns_) {
    if (tag != fxn->GetTag()) continue;
    if (fxn->GetType() == type) return fxn.get();
    if (!of_base && object.IsDataType(fxn->GetType())) of_base = fxn.get();
  }
  return of_base;
}

VXWriteFxnBase* VXBinaryIOHandlerBase::FindWriteFxn(const void* type) const {
  for (const auto& fxn : write_fxns_)
    if (fxn->GetType() == type) return fxn.get();
  return nullptr;
}

VXBinaryIOHandler::VXBinaryIOHandler() {
  AddReadFxn(BaseReadFxn());
  AddReadFxn(BasePodReadFxn());
  AddWriteFxn(BaseWriteFxn());
}

void VXRegisterVXBInitializer(VXBInitializer initializer) {
  Initializers& registered = initializers();
  const std::lock_guard<std::mutex> lock(registered.mutex);
  if (initializer) registered.all.push_back(initializer);
}

vxmolstreambase::vxmolstreambase() {
  std::vector<VXBInitializer> all;
  {
    Initializers& registered = initializers();
    const std::lock_guard<std::mutex> lock(registered.mutex);
    all = registered.all;
  }
  for (const VXBInitializer initializer : all) initializer(handler_);  // which may make streams itself
}

vxmolstreambase::~vxmolstreambase() = default;

VXBNesting::VXBNesting() {
  if (nesting++ == 0) ++outermost;
}
VXBNesting::~VXBNesting() { --nesting; }
VXBNesting::operator bool() const { return nesting <= kMaxNesting; }
unsigned long VXBNesting::Outermost() { return outermost; }

VXUnknownVXBData::VXUnknownVXBData(vxistream& in, const void* type, unsigned long length, std::string tag,
                                   unsigned int flag)
    : type_(type), tag_(std::move(tag)), flag_(flag) {
  whole_ = in.read(bytes_, length) == length;
}

bool VXUnknownVXBData::Write(vxostream& out) const {
  vxgatherstream data;
  data.refer(bytes_.data(), bytes_.size());
  return VXBWriteRecord(out, tag_, data, flag_);
}

void VXAttachData(VXBase& object, const VXUnknownVXBData& data) {
  object.AddData<VXUnknownVXBData>("vxb:" + data.GetTag(), data);
}

unsigned int VXBReadHead(vxistream& in, std::string& tag, unsigned int& flag, unsigned long& length) {
  if (!VXBReadTag(in, tag, flag) || (tag.empty() && flag == 0)) return VXBTagBad;
  if (in.eof()) return VXBEndOfStream;
  length = VXBReadDataLength(in, kMaxLength);
  if (length == 0) return in.eof() ? VXBEndOfStream : VXBUnknownBad;
  return VXBDone;
}

bool VXBWritePOD(vxostream& out, const VXBase& object, const char* tag) {
  PodRecord record;
  if (object.GetBaseImpl())
    for (const auto& attribute : object.GetBaseImpl()->GetAll())
      if (const PodType* const pod = pod_of(*attribute)) record.Add(*pod, *attribute);
  return record.Write(out, tag);
}

unsigned int VXBReadVXBase(vxistream& in, VXBase& object, unsigned long length,
                           const VXBinaryIOHandlerBase& handler) {
  vxsubstream data(in, length);
  if (!data.is_whole()) return VXBRecordShort;
  VXBase attributes;
  unsigned int status = VXBDone;
  while (status == VXBDone && data) status = VXBinaryRead<VXBase>(data, attributes, handler);
  VXMoveBaseData(object, std::move(attributes));
  return status;
}

bool VXBCompress(vxgatherstream& out, const vxgatherstream& data, const std::string& compression) {
  if (compression != "gz") return false;
  VXHost::vxosstream flat;
  std::string compressed;
  const std::string bytes = data.write_to(flat) ? flat.str() : std::string();
  if (!VXHost::VXCompress(compressed, bytes.data(), bytes.size(), "gzip")) return false;
  return !(out << compressed).fail();
}

}  // namespace VXCore
