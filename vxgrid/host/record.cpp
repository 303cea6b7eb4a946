#include <vxgrid/host/record.h>

#include <algorithm>
#include <cstdint>
#include <mutex>

namespace VXRecordKit {
namespace {

constexpr std::uint64_t kNoneBlob = UINT64_MAX;

template <class Number>
void put_number(VXBytes& bytes, Number number) {
  for (std::size_t i = 0; i < sizeof number; ++i)
    bytes.push_back(static_cast<unsigned char>(number >> 8 * i));
}

template <class Number>
Number number_at(const unsigned char* bytes) {
  Number number = 0;
  for (std::size_t i = 0; i < sizeof number; ++i) number |= static_cast<Number>(bytes[i]) << 8 * i;
  return number;
}

}  // namespace

VXFieldTypeHandler::~VXFieldTypeHandler() = default;
bool VXFieldTypeHandler::IsCacheable() const { return false; }
bool VXFieldTypeHandler::IsPOD() const { return false; }

struct VXFieldTypeHandlerRegistry::Handlers {
  struct Entry {
    std::unique_ptr<VXFieldTypeHandler> handler;
    int priority;
  };
  std::mutex mutex;
  std::vector<Entry> entries;  // the highest priority first, equals in the order in which they came

  // Handlers are never taken away.
  template <class Predicate>
  const VXFieldTypeHandler* Find(Predicate is_it) {
    const std::lock_guard<std::mutex> lock(mutex);
    for (const Entry& entry : entries)
      if (is_it(*entry.handler)) return entry.handler.get();
    return nullptr;
  }
};

VXFieldTypeHandlerRegistry::VXFieldTypeHandlerRegistry() : handlers_(new Handlers) {}
VXFieldTypeHandlerRegistry::~VXFieldTypeHandlerRegistry() = default;

VXFieldTypeHandlerRegistry& VXFieldTypeHandlerRegistry::GetInstance() {
  static VXFieldTypeHandlerRegistry registry;
  return registry;
}

bool VXFieldTypeHandlerRegistry::RegisterHandler(VXFieldTypeHandler* handler, int priority) {
  if (!handler) return false;
  std::unique_ptr<VXFieldTypeHandler> owned(handler);
  const std::lock_guard<std::mutex> lock(handlers_->mutex);
  auto& entries = handlers_->entries;
  const auto lower = std::find_if(entries.begin(), entries.end(),
                                  [&](const Handlers::Entry& entry) { return entry.priority < priority; });
  entries.insert(lower, Handlers::Entry{std::move(owned), priority});
  return true;
}

const VXFieldTypeHandler* VXFieldTypeHandlerRegistry::FindByType(const void* type) const {
  return handlers_->Find([&](const VXFieldTypeHandler& handler) { return handler.GetType() == type; });
}

const VXFieldTypeHandler* VXFieldTypeHandlerRegistry::FindByName(const std::string& name) const {
  return handlers_->Find([&](const VXFieldTypeHandler& handler) { return handler.GetName() == name; });
}

const VXRecord::Value* VXRecord::Find(const VXFieldBase& field, unsigned int index) const {
  const auto found = index == 0 ? values_.find(field.GetName()) : values_.end();
  return found == values_.end() ? nullptr : &found->second;
}

VXFieldState VXRecord::CheckField(const VXFieldBase& field, unsigned int index) const {
  const Value* const value = Find(field, index);
  if (!value) return VXFieldAbsent;
  if (value->type != field.GetType()) return VXFieldOtherType;
  if (!value->live) return VXFieldBytes;
  return value->is_dirty ? VXFieldDirty : VXFieldCached;
}

bool VXRecord::DeleteField(const VXFieldBase& field) { return values_.erase(field.GetName()) != 0; }

std::shared_ptr<void> VXRecord::FindLive(const VXFieldBase& field, unsigned int index) const {
  const Value* const value = Find(field, index);
  return value && value->type == field.GetType() ? value->live : nullptr;
}

bool VXRecord::SetLive(const VXFieldBase& field, std::shared_ptr<void> value) {
  const VXFieldTypeHandler* const handler =
      VXFieldTypeHandlerRegistry::GetInstance().FindByType(field.GetType());
  if (!value || !handler || !handler->IsCacheable() || CheckField(field, 0) == VXFieldOtherType) return false;
  values_[field.GetName()] = Value{field.GetType(), VXBytes(), std::move(value), true};
  return true;
}

bool VXRecord::MarkCacheDirty(const VXFieldBase& field) {
  if (!FindLive(field, 0)) return false;
  values_.find(field.GetName())->second.is_dirty = true;
  return true;
}

const VXBytes& VXRecord::GetBytes(const VXFieldBase& field) {
  static const VXBytes none;
  const VXFieldState state = CheckField(field, 0);
  if (state == VXFieldAbsent || state == VXFieldOtherType) return none;
  Value& value = values_.find(field.GetName())->second;
  if (value.is_dirty) {
    value.bytes =
        VXFieldTypeHandlerRegistry::GetInstance().FindByType(value.type)->PtrToBytes(value.live.get());
    value.is_dirty = false;
  }
  return value.bytes;
}

void VXRecord::SetBytes(const VXFieldBase& field, VXBytes bytes) {
  values_[field.GetName()] = Value{field.GetType(), std::move(bytes), nullptr, false};
}

void VXWriteBuffer::WriteInt(int value) { put_number(bytes_, static_cast<std::uint32_t>(value)); }

void VXWriteBuffer::WriteBlob(const VXBytes& bytes) {
  put_number(bytes_, std::uint64_t{bytes.size()});
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void VXWriteBuffer::WriteNoneBlob() { put_number(bytes_, kNoneBlob); }

bool VXReadBuffer::ReadInt(int& value) {
  if (left_ < sizeof(std::uint32_t)) return false;
  value = static_cast<int>(number_at<std::uint32_t>(next_));
  next_ += sizeof(std::uint32_t);
  left_ -= sizeof(std::uint32_t);
  return true;
}

bool VXReadBuffer::ReadBlob(VXBlob& blob) {
  if (left_ < kBlobHead) return false;
  const std::uint64_t length = number_at<std::uint64_t>(next_);
  const bool is_none = length == kNoneBlob;
  if (!is_none && length > left_ - kBlobHead) return false;
  blob = is_none ? VXBlob() : VXBlob{next_ + kBlobHead, static_cast<std::size_t>(length)};
  next_ += kBlobHead + blob.size;
  left_ -= kBlobHead + blob.size;
  return true;
}

}  // namespace VXRecordKit
