#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include <vxgrid/host/export.h>

namespace VXCore {

/// The tag of an attribute name: the same number for the same name, for as long as the process lives.
/// A name not yet seen gets a new tag. Safe from any thread.
VXGRID_API unsigned int VXGetTag(const char* name);
VXGRID_API unsigned int VXGetTag(const std::string& name);

/// The name of a tag; empty for a number that no name has got.
VXGRID_API std::string VXGetTag(unsigned int tag);

/// One id per C++ type, the same in every library of the process.
VXGRID_API const void* VXGetDataType(const std::type_info& type);

template <class T>
const void* VXGetDataType() {
  static const void* const id = VXGetDataType(typeid(std::decay_t<T>));
  return id;
}

/// One attribute: a tag and, in VXBaseDataT, its value.
class VXGRID_API VXBaseData {
 public:
  explicit VXBaseData(unsigned int tag) : tag_(tag) {}
  virtual ~VXBaseData();

  /// The id of the value's type.
  virtual const void* GetDataType() const = 0;
  /// The size of the value's type in bytes.
  virtual std::size_t GetSize() const = 0;
  /// A copy on the heap, which the caller owns.
  virtual VXBaseData* CreateCopy() const = 0;

  unsigned int GetTag() const { return tag_; }

 private:
  unsigned int tag_;
};

template <class T>
class VXBaseDataT : public VXBaseData {
 public:
  VXBaseDataT(unsigned int tag, T v) : VXBaseData(tag), value(std::move(v)) {}

  const void* GetDataType() const override { return VXGetDataType<T>(); }
  std::size_t GetSize() const override { return sizeof(T); }
  VXBaseData* CreateCopy() const override { return new VXBaseDataT(*this); }

  T value;
};

/// The attributes of one object in the order in which they came; a tag may stand several times.
class VXGRID_API VXBaseImpl {
 public:
  VXBaseImpl() = default;
  VXBaseImpl(const VXBaseImpl& other);
  VXBaseImpl& operator=(const VXBaseImpl& other);
  VXBaseImpl(VXBaseImpl&&) = default;
  VXBaseImpl& operator=(VXBaseImpl&&) = default;

  /// The first attribute of a tag, or null.
  const VXBaseData* FindData(unsigned int tag) const;
  VXBaseData* FindData(unsigned int tag);
  void AddData(std::unique_ptr<VXBaseData> data) { data_.push_back(std::move(data)); }
  /// Puts `data` in the place of the first attribute of its tag, at the end when there is none.
  void ReplaceData(std::unique_ptr<VXBaseData> data);
  void DeleteData(unsigned int tag);
  /// Moves all attributes of `from` here; those of the same tags go, unless there are hundreds here and only
  /// a few that come.
  void Take(VXBaseImpl&& from);
  const std::vector<std::unique_ptr<VXBaseData>>& GetAll() const { return data_; }

  /// Warns that an attribute holds another type than asked for. The result says whether to go on
  /// regardless: false, always.
  static bool CheckTypeWarning(const VXBaseData& data, const std::type_info& wanted);

 private:
  std::vector<std::unique_ptr<VXBaseData>> data_;
};

/// The root of all objects that carry attributes. An object without any costs one null pointer.
class VXGRID_API VXBase {
 public:
  VXBase() = default;
  VXBase(const VXBase& other);
  VXBase& operator=(const VXBase& other);
  VXBase(VXBase&&) noexcept = default;
  VXBase& operator=(VXBase&&) noexcept = default;
  virtual ~VXBase();

  /// Removes all attributes.
  virtual void Clear();
  virtual const void* GetDataType() const;
  /// True for the id of the object's own type and those of its bases.
  virtual bool IsDataType(const void* type) const;
  /// A copy on the heap, which the caller owns.
  virtual VXBase* CreateCopy() const;

  /// Attributes by tag or by name. T is any copyable type; the type stored is part of the attribute.
  bool HasData(unsigned int tag) const { return impl_ && impl_->FindData(tag); }
  bool HasData(const char* name) const { return HasData(VXGetTag(name)); }
  bool HasData(const std::string& name) const { return HasData(VXGetTag(name)); }

  /// The value of the first attribute of that tag. A missing one, or one of another type (with one
  /// Warning), reads as the default value of T.
  template <class T>
  const T& GetData(unsigned int tag) const {
    static const T missing{};
    const VXBaseData* data = impl_ ? impl_->FindData(tag) : nullptr;
    if (!data) return missing;
    if (data->GetDataType() != VXGetDataType<T>()) {
      VXBaseImpl::CheckTypeWarning(*data, typeid(T));
      return missing;
    }
    return static_cast<const VXBaseDataT<T>*>(data)->value;
  }
  template <class T>
  const T& GetData(const char* name) const {
    return GetData<T>(VXGetTag(name));
  }
  template <class T>
  const T& GetData(const std::string& name) const {
    return GetData<T>(VXGetTag(name));
  }

  /// Stores or replaces the attribute. False, with one Warning and nothing changed, when the tag holds
  /// another type.
  template <class T>
  bool SetData(unsigned int tag, const T& value) {
    VXBaseData* data = impl_ ? impl_->FindData(tag) : nullptr;
    if (!data) return AddData<T>(tag, value);
    if (data->GetDataType() != VXGetDataType<T>()) {
      if (!VXBaseImpl::CheckTypeWarning(*data, typeid(T))) return false;
      impl_->ReplaceData(std::make_unique<VXBaseDataT<T>>(tag, value));
      return true;
    }
    static_cast<VXBaseDataT<T>*>(data)->value = value;
    return true;
  }
  template <class T>
  bool SetData(const char* name, const T& value) {
    return SetData<T>(VXGetTag(name), value);
  }
  template <class T>
  bool SetData(const std::string& name, const T& value) {
    return SetData<T>(VXGetTag(name), value);
  }

  /// Appends an attribute, also when the tag is there already.
  template <class T>
  bool AddData(unsigned int tag, const T& value) {
    NeedImpl().AddData(std::make_unique<VXBaseDataT<T>>(tag, value));
    return true;
  }
  template <class T>
  bool AddData(const char* name, const T& value) {
    return AddData<T>(VXGetTag(name), value);
  }
  template <class T>
  bool AddData(const std::string& name, const T& value) {
    return AddData<T>(VXGetTag(name), value);
  }

  /// Removes every attribute of the tag.
  void DeleteData(unsigned int tag);
  void DeleteData(const char* name) { DeleteData(VXGetTag(name)); }
  void DeleteData(const std::string& name) { DeleteData(VXGetTag(name)); }

  /// Null for an object without attributes.
  const VXBaseImpl* GetBaseImpl() const { return impl_.get(); }

 private:
  friend VXGRID_API void VXCopyBaseData(VXBase& dst, const VXBase& src);
  friend VXGRID_API void VXMoveBaseData(VXBase& dst, VXBase&& src);
  VXBaseImpl& NeedImpl();

  std::unique_ptr<VXBaseImpl> impl_;
};

/// Copies the attributes of `src` to `dst`: a tag that `dst` has is replaced, its other attributes stay.
VXGRID_API void VXCopyBaseData(VXBase& dst, const VXBase& src);
/// The same with the attributes moved, which leaves `src` without any (and VXBaseImpl::Take's exception).
VXGRID_API void VXMoveBaseData(VXBase& dst, VXBase&& src);

}  // namespace VXCore
