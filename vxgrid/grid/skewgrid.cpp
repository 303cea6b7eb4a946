#include <vxgrid/grid/skewgrid.h>

#include <utility>

namespace VXCore {

VXSkewGridImpl::VXSkewGridImpl() : grid_(std::make_unique<VXZemoGrid>()) {}
VXSkewGridImpl::VXSkewGridImpl(const VXZemoGrid& grid) : grid_(std::make_unique<VXZemoGrid>(grid)) {}
VXSkewGridImpl::VXSkewGridImpl(VXZemoGrid&& grid) : grid_(std::make_unique<VXZemoGrid>(std::move(grid))) {}
VXSkewGridImpl::VXSkewGridImpl(const VXSkewGridImpl& other) : VXSkewGridImpl(*other.grid_) {}
VXSkewGridImpl::VXSkewGridImpl(VXSkewGridImpl&& other) : VXSkewGridImpl(std::move(*other.grid_)) {}

VXSkewGridImpl& VXSkewGridImpl::operator=(const VXSkewGridImpl& rhs) {
  *grid_ = *rhs.grid_;
  return *this;
}
VXSkewGridImpl& VXSkewGridImpl::operator=(VXSkewGridImpl&& rhs) {
  *grid_ = std::move(*rhs.grid_);
  return *this;
}
VXSkewGridImpl& VXSkewGridImpl::operator=(const VXScalarGrid& rhs) {
  *grid_ = rhs;
  return *this;
}
VXSkewGridImpl& VXSkewGridImpl::operator=(const VXFixedGrid<float>& rhs) {
  *grid_ = rhs;
  return *this;
}

VXSkewGrid::VXSkewGrid() : impl_(std::make_unique<VXSkewGridImpl>()) {}

VXSkewGrid::VXSkewGrid(const VXScalarGrid& source)
    : impl_(std::make_unique<VXSkewGridImpl>(VXZemoGrid(source))) {
  VXBase::operator=(source);
}
VXSkewGrid::VXSkewGrid(const VXFixedGrid<float>& source)
    : impl_(std::make_unique<VXSkewGridImpl>(VXZemoGrid(source))) {
  VXBase::operator=(source);
}
VXSkewGrid::VXSkewGrid(const VXSkewGridImpl& impl) : impl_(std::make_unique<VXSkewGridImpl>(impl)) {}
VXSkewGrid::VXSkewGrid(VXSkewGridImpl&& impl) : impl_(std::make_unique<VXSkewGridImpl>(std::move(impl))) {}

VXSkewGrid::VXSkewGrid(const VXSkewGrid& other)
    : VXGridAbstractBase(other), impl_(std::make_unique<VXSkewGridImpl>(*other.impl_)) {}

VXSkewGrid::VXSkewGrid(VXSkewGrid&& other) : VXSkewGrid() { *this = std::move(other); }

VXSkewGrid& VXSkewGrid::operator=(const VXSkewGrid& rhs) {
  if (this == &rhs) return *this;
  VXBase::operator=(rhs);
  *impl_ = *rhs.impl_;
  return *this;
}
VXSkewGrid& VXSkewGrid::operator=(VXSkewGrid&& rhs) {
  std::swap(static_cast<VXBase&>(*this), static_cast<VXBase&>(rhs));
  std::swap(impl_, rhs.impl_);
  return *this;
}
VXSkewGrid& VXSkewGrid::operator=(const VXScalarGrid& rhs) {
  *impl_ = rhs;
  return *this;
}
VXSkewGrid& VXSkewGrid::operator=(const VXFixedGrid<float>& rhs) {
  *impl_ = rhs;
  return *this;
}
VXSkewGrid& VXSkewGrid::operator=(const VXSkewGridImpl& rhs) {
  *impl_ = rhs;
  return *this;
}

void VXSkewGrid::Clear() {
  VXBase::Clear();
  impl_->Clear();
}

const void* VXSkewGrid::GetDataType() const { return VXGetDataType<VXSkewGrid>(); }

bool VXSkewGrid::IsDataType(const void* type) const {
  return type == VXGetDataType<VXSkewGrid>() || VXGridAbstractBase::IsDataType(type);
}

VXSkewGrid* VXSkewGrid::CreateCopy() const { return new VXSkewGrid(*this); }

std::string VXSkewGrid::GetTitle() const { return impl_->GetTitle(); }
bool VXSkewGrid::SetTitle(const std::string& title) { return impl_->SetTitle(title); }
float VXSkewGrid::GetSpacing() const { return impl_->GetSpacing(); }
bool VXSkewGrid::IsSpacingSet() const { return impl_->IsSpacingSet(); }
unsigned int VXSkewGrid::GetSize() const { return impl_->GetSize(); }
bool VXSkewGrid::GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const {
  return impl_->GetDim(x, y, z);
}
unsigned int VXSkewGrid::GetXDim() const { return impl_->GetXDim(); }
unsigned int VXSkewGrid::GetYDim() const { return impl_->GetYDim(); }
unsigned int VXSkewGrid::GetZDim() const { return impl_->GetZDim(); }
bool VXSkewGrid::GetMid(float& x, float& y, float& z) const { return impl_->GetMid(x, y, z); }
float VXSkewGrid::GetXMid() const { return impl_->GetXMid(); }
float VXSkewGrid::GetYMid() const { return impl_->GetYMid(); }
float VXSkewGrid::GetZMid() const { return impl_->GetZMid(); }

bool VXSkewGrid::IsRegular() const {
  float m[9];
  if (!impl_->GetOrientation(m)) return true;
  return m[0] == 1.0f && m[4] == 1.0f && m[8] == 1.0f;
}

VXFixedGrid<float>& VXSkewGrid::AsRegularGrid() { return *impl_->GetImpl().GetFloats().GetGrid(0); }
const VXFixedGrid<float>& VXSkewGrid::AsRegularGrid() const {
  return *static_cast<const VXSkewGridImpl&>(*impl_).GetImpl().GetFloats().GetGrid(0);
}

}  // namespace VXCore
