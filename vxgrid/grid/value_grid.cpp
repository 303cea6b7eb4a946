#include <vxgrid/grid/value_grid.h>

#include <algorithm>
#include <utility>

#include <vxgrid/host/error_handler.h>

namespace VXCore {

template <class T>
VXFixedGrid<T>::VXFixedGrid(const VXGridBase& geometry, T* values) : VXGridBase(geometry), values_(values) {}

template <class T>
void VXFixedGrid<T>::Clear() {
  VXBase::Clear();
  this->SetTitle(std::string());
}

template <class T>
const void* VXFixedGrid<T>::GetDataType() const {
  return VXGetDataType<VXFixedGrid<T>>();
}

template <class T>
bool VXFixedGrid<T>::IsDataType(const void* type) const {
  return type == VXGetDataType<VXFixedGrid<T>>() || VXGridBase::IsDataType(type);
}

template <class T>
VXFixedGrid<T>* VXFixedGrid<T>::CreateCopy() const {
  return new VXFixedGrid(*this, values_);
}

template <class T>
bool VXFixedGrid<T>::SetValues(const T* v, unsigned int n) {
  if (n != this->GetSize()) {
    VXThrow.Warning("Attempting to set grid data with wrong size array");
    return false;
  }
  if (!v) {
    VXThrow.Warning("Attempting to set grid data with zero pointer");
    return false;
  }
  std::copy_n(v, n, values_);
  return true;
}

template <class T>
VXGrid<T>::VXGrid() {
  VXGrid::Realloc();
}

template <class T>
VXGrid<T>::VXGrid(const VXFixedGrid<T>& other)
    : VXFixedGrid<T>(other, nullptr),
      block_(VXMakeValueBlock<T>(other.GetSize(), VXHost::VXLargeArray<T>::Uninitialised)) {
  this->values_ = block_.data();
  std::copy_n(other.GetValues(), other.GetSize(), this->values_);
}

template <class T>
VXGrid<T>::VXGrid(const VXGrid& other) : VXGrid(static_cast<const VXFixedGrid<T>&>(other)) {}

template <class T>
VXGrid<T>::VXGrid(VXGrid&& other) : VXFixedGrid<T>(other, nullptr), block_(other.ReleaseValues()) {
  this->values_ = block_.data();
}

template <class T>
VXGrid<T>& VXGrid<T>::operator=(const VXFixedGrid<T>& rhs) {
  if (this == &rhs) return *this;
  VXBase::operator=(rhs);
  this->SetTitle(rhs.GetTitle());
  VXGridCopyGeometry(*this, rhs);
  if (VXGridSameGeometry(*this, rhs)) std::copy_n(rhs.GetValues(), this->GetSize(), this->values_);
  return *this;
}

template <class T>
VXGrid<T>& VXGrid<T>::operator=(const VXGrid& rhs) {
  return *this = static_cast<const VXFixedGrid<T>&>(rhs);
}

template <class T>
VXGrid<T>& VXGrid<T>::operator=(VXGrid&& rhs) {
  if (this == &rhs) return *this;
  AssignTaking(rhs, rhs.block_);
  rhs.values_ = rhs.block_.data();
  return *this;
}

template <class T>
void VXGrid<T>::AssignTaking(const VXFixedGrid<T>& rhs, VXHost::VXLargeArray<T>& block) {
  VXBase::operator=(rhs);
  this->SetTitle(rhs.GetTitle());
  VXGridCopyGeometry(*this, rhs);
  if (!VXGridSameGeometry(*this, rhs) || this->GetSize() == 0) return;
  std::swap(block_, block);
  this->values_ = block_.data();
}

template <class T>
void VXGrid<T>::Clear() {
  VXGridBase::Clear();
}

template <class T>
const void* VXGrid<T>::GetDataType() const {
  return VXGetDataType<VXGrid<T>>();
}

template <class T>
bool VXGrid<T>::IsDataType(const void* type) const {
  return type == VXGetDataType<VXGrid<T>>() || VXFixedGrid<T>::IsDataType(type);
}

template <class T>
VXGrid<T>* VXGrid<T>::CreateCopy() const {
  return new VXGrid(*this);
}

template <class T>
bool VXGrid<T>::SetSpacing(float spacing) {
  return VXGridBase::SetSpacing(spacing);
}
template <class T>
bool VXGrid<T>::SetMid(float x, float y, float z) {
  return VXGridBase::SetMid(x, y, z);
}
template <class T>
bool VXGrid<T>::SetXMid(float x) {
  return VXGridBase::SetXMid(x);
}
template <class T>
bool VXGrid<T>::SetYMid(float y) {
  return VXGridBase::SetYMid(y);
}
template <class T>
bool VXGrid<T>::SetZMid(float z) {
  return VXGridBase::SetZMid(z);
}
template <class T>
bool VXGrid<T>::SetDim(unsigned int x, unsigned int y, unsigned int z) {
  return VXGridBase::SetDim(x, y, z);
}
template <class T>
bool VXGrid<T>::SetXDim(unsigned int x) {
  return VXGridBase::SetXDim(x);
}
template <class T>
bool VXGrid<T>::SetYDim(unsigned int y) {
  return VXGridBase::SetYDim(y);
}
template <class T>
bool VXGrid<T>::SetZDim(unsigned int z) {
  return VXGridBase::SetZDim(z);
}

template <class T>
void VXGrid<T>::Realloc() {
  // The new pages cost nothing before they are touched, so the old block may stay until they are there.
  block_ = VXMakeValueBlock<T>(this->GetSize(), VXHost::VXLargeArray<T>::Zeroed);
  this->values_ = block_.data();
}

template <class T>
bool VXGrid<T>::AdoptValues(VXHost::VXLargeArray<T>&& block) {
  if (block.size() < std::size_t{this->GetSize()} + 1) return false;
  block_ = std::move(block);
  this->values_ = block_.data();
  return true;
}

template <class T>
VXHost::VXLargeArray<T> VXGrid<T>::ReleaseValues() {
  this->SetEmpty();
  this->values_ = nullptr;
  return std::move(block_);
}

template <class T>
bool VXZeroGridBoundary(VXFixedGrid<T>& grid) {
  const std::size_t x_dim = grid.GetXDim(), y_dim = grid.GetYDim(), z_dim = grid.GetZDim();
  if (grid.GetSize() == 0) return true;
  T* row = grid.GetValues();
  for (std::size_t z = 0; z < z_dim; ++z)
    for (std::size_t y = 0; y < y_dim; ++y, row += x_dim) {
      const bool on_face = z == 0 || z == z_dim - 1 || y == 0 || y == y_dim - 1;
      if (on_face)
        std::fill_n(row, x_dim, T());
      else
        row[0] = row[x_dim - 1] = T();
    }
  return true;
}

template class VXFixedGrid<float>;
template class VXFixedGrid<int>;
template class VXFixedGrid<bool>;
template class VXFixedRefGrid<float>;
template class VXFixedRefGrid<int>;
template class VXGrid<float>;
template class VXGrid<bool>;
template VXGRID_API bool VXZeroGridBoundary(VXFixedGrid<float>&);
template VXGRID_API bool VXZeroGridBoundary(VXFixedGrid<int>&);
template VXGRID_API bool VXZeroGridBoundary(VXFixedGrid<bool>&);

}  // namespace VXCore
