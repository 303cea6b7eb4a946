#include <vxgrid/grid/refgrid.h>

namespace VXCore {
namespace {

template <class Grid, class Object>
Grid* as_grid(Object* object) {
  return object && object->IsDataType(VXGetDataType<Grid>()) ? static_cast<Grid*>(object) : nullptr;
}

}  // namespace

VXRefGridPtr::VXRefGridPtr(VXScalarGrid* grid)
    : base_(grid), const_base_(grid), scalar_(grid), const_scalar_(grid) {}

VXRefGridPtr::VXRefGridPtr(const VXScalarGrid* grid) : const_base_(grid), const_scalar_(grid) {}

VXRefGridPtr::VXRefGridPtr(VXSkewGrid* grid)
    : base_(grid), const_base_(grid), skew_(grid), const_skew_(grid) {}

VXRefGridPtr::VXRefGridPtr(const VXSkewGrid* grid) : const_base_(grid), const_skew_(grid) {}

VXRefGridPtr::VXRefGridPtr(VXBase* object) {
  if ((scalar_ = as_grid<VXScalarGrid>(object)))
    base_ = scalar_;
  else
    base_ = skew_ = as_grid<VXSkewGrid>(object);
}

VXRefGridPtr::VXRefGridPtr(const VXBase* object) {
  if ((const_scalar_ = as_grid<const VXScalarGrid>(object)))
    const_base_ = const_scalar_;
  else
    const_base_ = const_skew_ = as_grid<const VXSkewGrid>(object);
}

VXRefGridPtr::~VXRefGridPtr() = default;

void VXRefGridPtr::Clear() {
  if (base_) base_->Clear();
}

const void* VXRefGridPtr::GetDataType() const { return VXGetDataType<VXRefGridPtr>(); }

bool VXRefGridPtr::GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const {
  return const_base_ && const_base_->GetDim(x, y, z);
}

bool VXRefGridPtr::GetMid(float& x, float& y, float& z) const {
  return const_base_ && const_base_->GetMid(x, y, z);
}

float VXRefGridPtr::GetXMid() const { return const_base_ ? const_base_->GetXMid() : 0.0f; }
float VXRefGridPtr::GetYMid() const { return const_base_ ? const_base_->GetYMid() : 0.0f; }
float VXRefGridPtr::GetZMid() const { return const_base_ ? const_base_->GetZMid() : 0.0f; }
float VXRefGridPtr::GetSpacing() const { return const_base_ ? const_base_->GetSpacing() : 0.0f; }
std::string VXRefGridPtr::GetTitle() const { return const_base_ ? const_base_->GetTitle() : std::string(); }

unsigned int VXRefGridPtr::GetType() const {
  return const_scalar_ ? const_scalar_->GetType() : const_skew_ ? const_skew_->GetType() : 0;
}

float* VXRefGridPtr::GetValues() {
  return scalar_ ? scalar_->GetValues() : skew_ ? skew_->GetValues() : nullptr;
}

const float* VXRefGridPtr::GetValues() const {
  return const_scalar_ ? const_scalar_->GetValues() : const_skew_ ? const_skew_->GetValues() : nullptr;
}

unsigned int VXRefGridPtr::GetXDim() const { return const_base_ ? const_base_->GetXDim() : 0; }
unsigned int VXRefGridPtr::GetYDim() const { return const_base_ ? const_base_->GetYDim() : 0; }
unsigned int VXRefGridPtr::GetZDim() const { return const_base_ ? const_base_->GetZDim() : 0; }
unsigned int VXRefGridPtr::GetSize() const { return const_base_ ? const_base_->GetSize() : 0; }

bool VXRefGridPtr::IsDataType(const void* type) const {
  return type == VXGetDataType<VXRefGridPtr>() || (const_base_ && const_base_->IsDataType(type));
}

bool VXRefGridPtr::IsSkew() const { return const_skew_; }
bool VXRefGridPtr::IsValid() const { return const_base_; }

bool VXRefGridPtr::SetTitle(const std::string& title) {
  return scalar_ ? scalar_->SetTitle(title) : skew_ && skew_->SetTitle(title);
}

bool VXRefGridPtr::SetType(unsigned int type) {
  if (type > VXGridTypeQK) return false;
  return scalar_ ? scalar_->SetType(type) : skew_ && skew_->SetType(type);
}

bool VXRefGridPtr::IsSpacingSet() const { return const_base_ && const_base_->IsSpacingSet(); }

}  // namespace VXCore
