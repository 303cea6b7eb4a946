#include <vxgrid/grid/multi_grid.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include <vxgrid/host/error_handler.h>

namespace VXCore {
namespace {

// The integer part of most grids is never touched. A copy that leaves alone what is zero on both sides keeps
// such a part without memory behind it; other data show themselves in the first word of a piece.
template <class T>
void copy_values(const T* from, std::size_t n, T* to) {
  constexpr std::size_t kPiece = 4096 / sizeof(T);
  static const T zeros[kPiece] = {};
  for (std::size_t at = 0; at < n; at += kPiece) {
    const std::size_t bytes = std::min(kPiece, n - at) * sizeof(T);
    const bool nothing_to_do =
        std::memcmp(from + at, zeros, bytes) == 0 && std::memcmp(to + at, zeros, bytes) == 0;
    if (!nothing_to_do) std::memmove(to + at, from + at, bytes);
  }
}

bool is_countable(unsigned int size, unsigned int num_grids) {
  return num_grids == 0 || size <= 0xffffffffu / num_grids;
}

template <class T>
VXHost::VXLargeArray<T> zero_block(unsigned int size, unsigned int num_grids) {
  return VXMakeValueBlock<T>(std::size_t{size} * num_grids, VXHost::VXLargeArray<T>::Zeroed);
}

template <class T>
VXHost::VXLargeArray<T> copied_block(unsigned int size, const T* values) {
  using Block = VXHost::VXLargeArray<T>;
  Block block = VXMakeValueBlock<T>(size, values ? Block::Uninitialised : Block::Zeroed);
  if (values) std::copy_n(values, size, block.data());
  return block;
}

}  // namespace

template <class T>
VXFixedMultiGrid<T>::VXFixedMultiGrid() {
  VXFixedMultiGrid::Realloc();
}

template <class T>
VXFixedMultiGrid<T>::VXFixedMultiGrid(const VXFixedMultiGrid& other)
    : VXGridBase(other), num_grids_(other.num_grids_) {
  VXFixedMultiGrid::Realloc();
  copy_values(other.values_, std::size_t{num_grids_} * this->GetSize(), values_);
}

template <class T>
VXFixedMultiGrid<T>::VXFixedMultiGrid(const VXGridBase& geometry, VXHost::VXLargeArray<T>&& block,
                                      T* borrowed)
    : VXGridBase(geometry), block_(std::move(block)), values_(block_.size() ? block_.data() : borrowed) {
  VXBase::Clear();
  if (!values_) SetBlock(zero_block<T>(this->GetSize(), 1), 1);
  ResetGrids();
}

template <class T>
void VXFixedMultiGrid<T>::Clear() {
  VXBase::Clear();
  this->SetTitle(std::string());
}

template <class T>
const void* VXFixedMultiGrid<T>::GetDataType() const {
  return VXGetDataType<VXFixedMultiGrid<T>>();
}

template <class T>
bool VXFixedMultiGrid<T>::IsDataType(const void* type) const {
  return type == VXGetDataType<VXFixedMultiGrid<T>>() || VXGridBase::IsDataType(type);
}

template <class T>
VXFixedMultiGrid<T>* VXFixedMultiGrid<T>::CreateCopy() const {
  return new VXFixedMultiGrid(*this);
}

template <class T>
void VXFixedMultiGrid<T>::Realloc() {
  if (!is_countable(this->GetSize(), num_grids_)) throw std::bad_alloc();
  SetBlock(zero_block<T>(this->GetSize(), num_grids_), num_grids_);
}

template <class T>
void VXFixedMultiGrid<T>::ResetGrids() {
  grids_ = MakeViews(values_, num_grids_);
}

template <class T>
typename VXFixedMultiGrid<T>::Views VXFixedMultiGrid<T>::MakeViews(T* values, unsigned int num_grids) const {
  Views views(num_grids);
  for (auto& view : views) {
    view = std::make_unique<VXFixedRefGrid<T>>(*this, values);
    values += this->GetSize();
  }
  return views;
}

template <class T>
void VXFixedMultiGrid<T>::SetBlock(VXHost::VXLargeArray<T>&& block, unsigned int num_grids) {
  grids_ = MakeViews(block.data(), num_grids);
  num_grids_ = num_grids;
  block_ = std::move(block);
  values_ = block_.data();
}

template <class T>
bool VXFixedMultiGrid<T>::SetNumGrids(unsigned int n) {
  if (n == 0) return false;
  if (n == num_grids_) return true;
  const unsigned int size = this->GetSize();
  if (size == 0 || !is_countable(size, num_grids_) || !is_countable(size, n)) return false;
  auto block = zero_block<T>(size, n);
  std::copy_n(values_, std::size_t{std::min(n, num_grids_)} * size, block.data());
  SetBlock(std::move(block), n);
  return true;
}

template <class T>
VXFixedGrid<T>* VXFixedMultiGrid<T>::GetGrid(unsigned int field) {
  return field < num_grids_ ? grids_[field].get() : nullptr;
}

template <class T>
const VXFixedGrid<T>* VXFixedMultiGrid<T>::GetGrid(unsigned int field) const {
  return field < num_grids_ ? grids_[field].get() : nullptr;
}

template <class T>
void VXFixedMultiGrid<T>::Swap(VXFixedMultiGrid& other) noexcept {
  this->SwapGeometry(other);
  std::swap(num_grids_, other.num_grids_);
  std::swap(block_, other.block_);
  std::swap(values_, other.values_);
  grids_.swap(other.grids_);
}

template <class T>
VXMultiGrid<T>::VXMultiGrid() = default;

template <class T>
VXMultiGrid<T>::VXMultiGrid(const VXMultiGrid& other) = default;

template <class T>
VXMultiGrid<T>::VXMultiGrid(const VXFixedMultiGrid<T>& other) : VXFixedMultiGrid<T>(other) {}

template <class T>
VXMultiGrid<T>::VXMultiGrid(const VXGridBase& geometry, const T* values)
    : VXFixedMultiGrid<T>(geometry, copied_block(geometry.GetSize(), values), nullptr) {}

template <class T>
VXMultiGrid<T>::VXMultiGrid(VXMultiGrid&& other) {
  this->Swap(other);
}

template <class T>
VXMultiGrid<T>& VXMultiGrid<T>::operator=(const VXMultiGrid& rhs) {
  AssignFields(rhs, "VXMultiGrid");
  return *this;
}

template <class T>
VXMultiGrid<T>& VXMultiGrid<T>::operator=(const VXFixedMultiGrid<T>& rhs) {
  AssignFields(rhs, "VXFixedMultiGrid");
  return *this;
}

template <class T>
VXMultiGrid<T>& VXMultiGrid<T>::operator=(VXMultiGrid&& rhs) {
  this->Swap(rhs);
  return *this;
}

template <class T>
void VXMultiGrid<T>::AssignFields(const VXFixedMultiGrid<T>& rhs, const char* source) {
  if (this == &rhs) return;
  this->SetTitle(rhs.GetTitle());
  if (!VXGridCopyGeometry(*this, rhs)) {
    VXThrow.Error("VXMultiGrid<GridType>::operator=(const %s<GridType> &rhs), can't copy geometry", source);
    return;
  }
  this->SetNumGrids(rhs.GetNumGrids());
  for (unsigned int field = 0; field < rhs.GetNumGrids(); ++field) {
    VXFixedGrid<T>* const to = this->GetGrid(field);
    const VXFixedGrid<T>& from = *rhs.GetGrid(field);
    if (to) to->SetTitle(from.GetTitle());
    if (!to || !VXGridSameGeometry(*to, from)) {
      // The missing parenthesis belongs to the text.
      VXThrow.Error("VXMultiGrid<GridType>::operator=const %s<GridType> &rhs), can't copy contents", source);
      return;
    }
    copy_values(from.GetValues(), from.GetSize(), to->GetValues());
  }
}

template <class T>
void VXMultiGrid<T>::Clear() {
  this->num_grids_ = 1;
  VXGridBase::Clear();
}

template <class T>
const void* VXMultiGrid<T>::GetDataType() const {
  return VXGetDataType<VXMultiGrid<T>>();
}

template <class T>
bool VXMultiGrid<T>::IsDataType(const void* type) const {
  return type == VXGetDataType<VXMultiGrid<T>>() || VXFixedMultiGrid<T>::IsDataType(type);
}

template <class T>
VXMultiGrid<T>* VXMultiGrid<T>::CreateCopy() const {
  return new VXMultiGrid(*this);
}

// The views carry the geometry too, so each accepted change makes them anew: here, or in Realloc for the
// dimensions.
template <class T>
bool VXMultiGrid<T>::SetSpacing(float spacing) {
  if (!VXGridBase::SetSpacing(spacing)) return false;
  this->ResetGrids();
  return true;
}
template <class T>
bool VXMultiGrid<T>::SetMid(float x, float y, float z) {
  return VXGridBase::SetMid(x, y, z);
}
template <class T>
bool VXMultiGrid<T>::SetXMid(float x) {
  if (!VXGridBase::SetXMid(x)) return false;
  this->ResetGrids();
  return true;
}
template <class T>
bool VXMultiGrid<T>::SetYMid(float y) {
  if (!VXGridBase::SetYMid(y)) return false;
  this->ResetGrids();
  return true;
}
template <class T>
bool VXMultiGrid<T>::SetZMid(float z) {
  if (!VXGridBase::SetZMid(z)) return false;
  this->ResetGrids();
  return true;
}
template <class T>
bool VXMultiGrid<T>::SetDim(unsigned int x, unsigned int y, unsigned int z) {
  return VXGridBase::SetDim(x, y, z);
}
template <class T>
bool VXMultiGrid<T>::SetXDim(unsigned int x) {
  return VXGridBase::SetXDim(x);
}
template <class T>
bool VXMultiGrid<T>::SetYDim(unsigned int y) {
  return VXGridBase::SetYDim(y);
}
template <class T>
bool VXMultiGrid<T>::SetZDim(unsigned int z) {
  return VXGridBase::SetZDim(z);
}

template <class T>
bool VXMultiGrid<T>::SetValues(unsigned int field, const T* values, unsigned int n) {
  if (n == this->GetSize() && values && field >= this->GetNumGrids()) {
    VXThrow.Warning("Attempting to set grid data of non-existent grid");
    return false;
  }
  return this->GetGrid(field < this->GetNumGrids() ? field : 0)->SetValues(values, n);
}

template <class T>
bool VXMultiGrid<T>::AdoptValues(VXHost::VXLargeArray<T>&& block) {
  const unsigned int num_grids = this->GetNumGrids();
  if (block.size() < std::size_t{num_grids} * this->GetSize() + 1) return false;
  this->SetBlock(std::move(block), num_grids);
  return true;
}

template class VXFixedMultiGrid<float>;
template class VXFixedMultiGrid<int>;
template class VXMultiGrid<float>;
template class VXMultiGrid<int>;

}  // namespace VXCore
