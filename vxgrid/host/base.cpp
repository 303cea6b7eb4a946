#include <vxgrid/host/base.h>

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <iterator>
#include <mutex>
#include <typeindex>
#include <unordered_map>
#include <unordered_set>

#include <vxgrid/host/error_handler.h>

namespace VXCore {
namespace {

// Both tables outlive every object with attributes, static ones included: they are never destroyed.
struct TagTable {
  std::mutex mutex;
  std::unordered_map<std::string, unsigned int> tags;
  std::deque<std::string> names;
};

TagTable& tag_table() {
  static TagTable* const table = new TagTable;
  return *table;
}

// Looking through many attributes for a few new ones, again and again, could take any time.
bool is_worth_looking(std::size_t have, std::size_t come) { return have <= 256 + 64 * come; }

}  // namespace

unsigned int VXGetTag(const std::string& name) {
  TagTable& table = tag_table();
  const std::lock_guard<std::mutex> lock(table.mutex);
  const auto [at, is_new] = table.tags.emplace(name, static_cast<unsigned int>(table.names.size() + 1));
  if (is_new) table.names.push_back(name);
  return at->second;
}

unsigned int VXGetTag(const char* name) { return VXGetTag(std::string(name ? name : "")); }

std::string VXGetTag(unsigned int tag) {
  TagTable& table = tag_table();
  const std::lock_guard<std::mutex> lock(table.mutex);
  return tag >= 1 && tag <= table.names.size() ? table.names[tag - 1] : std::string();
}

const void* VXGetDataType(const std::type_info& type) {
  static std::mutex* const mutex = new std::mutex;
  static auto* const ids = new std::unordered_map<std::type_index, char>;
  const std::lock_guard<std::mutex> lock(*mutex);
  return &ids->emplace(type, 0).first->second;
}

VXBaseData::~VXBaseData() = default;

VXBaseImpl::VXBaseImpl(const VXBaseImpl& other) {
  data_.reserve(other.data_.size());
  for (const auto& data : other.data_) data_.emplace_back(data->CreateCopy());
}

VXBaseImpl& VXBaseImpl::operator=(const VXBaseImpl& other) {
  if (this != &other) data_ = VXBaseImpl(other).data_;
  return *this;
}

const VXBaseData* VXBaseImpl::FindData(unsigned int tag) const {
  for (const auto& data : data_)
    if (data->GetTag() == tag) return data.get();
  return nullptr;
}

VXBaseData* VXBaseImpl::FindData(unsigned int tag) {
  return const_cast<VXBaseData*>(static_cast<const VXBaseImpl*>(this)->FindData(tag));
}

void VXBaseImpl::ReplaceData(std::unique_ptr<VXBaseData> data) {
  for (auto& old : data_)
    if (old->GetTag() == data->GetTag()) {
      old = std::move(data);
      return;
    }
  data_.push_back(std::move(data));
}

void VXBaseImpl::DeleteData(unsigned int tag) {
  data_.erase(
      std::remove_if(data_.begin(), data_.end(), [tag](const auto& data) { return data->GetTag() == tag; }),
      data_.end());
}

void VXBaseImpl::Take(VXBaseImpl&& from) {
  const bool look = !data_.empty() && is_worth_looking(data_.size(), from.data_.size());
  std::unordered_set<unsigned int> tags;
  for (const auto& data : from.data_)
    if (look) tags.insert(data->GetTag());
  const auto is_replaced = [&tags](const auto& data) { return tags.count(data->GetTag()) != 0; };
  if (!tags.empty()) data_.erase(std::remove_if(data_.begin(), data_.end(), is_replaced), data_.end());
  std::move(from.data_.begin(), from.data_.end(), std::back_inserter(data_));
  from.data_.clear();
}

bool VXBaseImpl::CheckTypeWarning(const VXBaseData& data, const std::type_info& wanted) {
  const std::unique_ptr<char, decltype(&std::free)> readable(
      abi::__cxa_demangle(wanted.name(), nullptr, nullptr, nullptr), &std::free);
  VXThrow.Warning("Attribute \"%s\" holds another type than the %s asked for; it stays as it is.",
                  VXGetTag(data.GetTag()).c_str(), readable ? readable.get() : wanted.name());
  return false;
}

VXBase::VXBase(const VXBase& other)
    : impl_(other.impl_ ? std::make_unique<VXBaseImpl>(*other.impl_) : nullptr) {}

VXBase& VXBase::operator=(const VXBase& other) {
  if (this != &other) impl_ = other.impl_ ? std::make_unique<VXBaseImpl>(*other.impl_) : nullptr;
  return *this;
}

VXBase::~VXBase() = default;

void VXBase::Clear() { impl_.reset(); }

const void* VXBase::GetDataType() const { return VXGetDataType<VXBase>(); }

bool VXBase::IsDataType(const void* type) const { return type == VXGetDataType<VXBase>(); }

VXBase* VXBase::CreateCopy() const { return new VXBase(*this); }

void VXBase::DeleteData(unsigned int tag) {
  if (impl_) impl_->DeleteData(tag);
}

VXBaseImpl& VXBase::NeedImpl() {
  if (!impl_) impl_ = std::make_unique<VXBaseImpl>();
  return *impl_;
}

void VXCopyBaseData(VXBase& dst, const VXBase& src) {
  if (&dst == &src || !src.impl_) return;
  VXBaseImpl& to = dst.NeedImpl();
  VXBaseImpl copies(*src.impl_);
  if (!is_worth_looking(to.GetAll().size(), copies.GetAll().size()))  // then Take would only append
    for (const auto& data : copies.GetAll()) to.DeleteData(data->GetTag());
  to.Take(std::move(copies));
}

void VXMoveBaseData(VXBase& dst, VXBase&& src) {
  if (&dst == &src || !src.impl_) return;
  dst.NeedImpl().Take(std::move(*src.impl_));
  src.impl_.reset();
}

}  // namespace VXCore
