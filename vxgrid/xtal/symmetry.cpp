#include <vxgrid/xtal/symmetry.h>

#include <algorithm>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/xtal/spacegroup.h>

namespace VXCore {
namespace VXXtal {
namespace {

enum CrystalSystem { kMonoclinic = 2, kOrthorhombic, kTetragonal, kTrigonal, kHexagonal, kCubic };

bool edges_agree(float p, float q) { return static_cast<double>(std::fabs(p - q)) <= 0.005; }

bool has_angles(const VXUnitCell& cell, float alpha, float beta, float gamma) {
  return cell.alpha == alpha && cell.beta == beta && cell.gamma == gamma;
}

bool fits(const VXUnitCell& cell, unsigned int crystal_system) {
  switch (crystal_system) {
    case kOrthorhombic:
      return has_angles(cell, 90, 90, 90);
    case kTetragonal:
      return has_angles(cell, 90, 90, 90) && edges_agree(cell.a, cell.b);
    case kTrigonal:
    case kHexagonal:
      return has_angles(cell, 90, 90, 120) && edges_agree(cell.a, cell.b);
    case kCubic:
      return has_angles(cell, 90, 90, 90) && edges_agree(cell.a, cell.b) && edges_agree(cell.c, cell.b) &&
             edges_agree(cell.a, cell.c);
    default:
      return true;
  }
}

}  // namespace

VXSymmetryImpl::VXSymmetryImpl(unsigned int number, const VXUnitCell& cell) {
  init(FindSpaceGroup(number), cell);
}
VXSymmetryImpl::VXSymmetryImpl(const std::string& name, const VXUnitCell& cell) {
  init(FindSpaceGroup(name), cell);
}

void VXSymmetryImpl::init(int row, const VXUnitCell& cell) {
  number_ = 0;
  name_.clear();
  op_count_ = 0;
  matrices_ = nullptr;
  enabled_.clear();
  if (row < 0 || row >= static_cast<int>(kSpaceGroupRows)) {
    error_ = "Unknown spacegroup number";
    VXThrow.Error(error_);
    return;
  }
  cell_ = cell;
  if (!validate(row)) VXThrow.Warning(error_);

  const SGRecord& record = sglib[row];
  number_ = record.number;
  // Ten characters fit the field of a CRYST1 record with a margin.
  name_ = record.long_name;
  if (name_.size() > 10) name_ = record.short_name;
  op_count_ = record.op_count;
  matrices_ = record.ops[0];
  enabled_.assign(op_count_, true);
}

bool VXSymmetryImpl::validate(int row) {
  error_.clear();
  const bool is_row = row >= 0 && row < static_cast<int>(kSpaceGroupRows);
  const unsigned int system = is_row ? sglib[row].crystal_system : 0;
  if (system == kMonoclinic) {
    if (cell_.alpha == 90 && cell_.gamma == 90) return true;
    // Another unique axis is a matter for GetError alone, and a cell that is not monoclinic at all has no
    // text: both are meant.
    if (cell_.alpha == 90 && cell_.beta == 90)
      error_ = "Monoclinic cell in nonstandard C-unique setting";
    else if (cell_.beta == 90 && cell_.gamma == 90)
      error_ = "Monoclinic cell in nonstandard A-unique setting";
    return !error_.empty();
  }
  if (fits(cell_, system)) return true;
  error_ = "The specified cell does not meet the constraints for the given spacegroup";
  return false;
}

bool VXSymmetryImpl::GetEnabled(std::vector<bool>& flags) const {
  flags = enabled_;
  return true;
}

bool VXSymmetryImpl::SetEnabled(const std::vector<bool>& flags) {
  if (flags.size() != op_count_) return false;
  enabled_ = flags;
  return true;
}

bool VXSymmetryImpl::CartesianToFractional(float* xyz, unsigned int count, unsigned int op, bool wrap) const {
  if (number_ == 0 || op >= op_count_) return false;
  float m[16];
  matmul(m, matrices_ + 16 * op, cell_.cart2frac);
  for (const float* end = xyz + 3 * static_cast<std::size_t>(count); xyz != end; xyz += 3) {
    vecmul(xyz, m);
    if (wrap) std::transform(xyz, xyz + 3, xyz, wrap_fraction);
  }
  return true;
}

bool VXSymmetryImpl::FractionalToCartesian(float* xyz, unsigned int count, unsigned int op, bool wrap) const {
  if (number_ == 0 || op >= op_count_) return false;
  float m[16];
  matmul(m, matrices_ + 16 * op, cell_.frac2cart);
  for (const float* end = xyz + 3 * static_cast<std::size_t>(count); xyz != end; xyz += 3) {
    if (wrap) std::transform(xyz, xyz + 3, xyz, wrap_fraction);
    vecmul(xyz, m);
  }
  return true;
}

bool VXSymmetryImpl::GetMatrix(float* out, unsigned int op, int i, int j, int k, const float* center) const {
  if (op >= op_count_ || number_ == 0) return false;
  float image[16], m[16];
  std::copy_n(matrices_ + 16 * op, 16, image);
  float* t = image + 12;
  if (center) {
    float frac[3] = {center[0], center[1], center[2]};
    matmul(m, image, cell_.cart2frac);
    vecmul(frac, m);
    for (int axis = 0; axis < 3; ++axis) t[axis] -= floor_fraction(frac[axis]);
  }
  t[0] += static_cast<float>(i);
  t[1] += static_cast<float>(j);
  t[2] += static_cast<float>(k);
  matmul(m, image, cell_.cart2frac);
  matmul(out, cell_.frac2cart, m);
  return true;
}

VXSymmetry::VXSymmetry() : impl_(std::make_unique<VXSymmetryImpl>()) {}
VXSymmetry::VXSymmetry(unsigned int number, const VXUnitCell& cell)
    : impl_(std::make_unique<VXSymmetryImpl>(number, cell)) {}
VXSymmetry::VXSymmetry(const std::string& name, const VXUnitCell& cell)
    : impl_(std::make_unique<VXSymmetryImpl>(name, cell)) {}
VXSymmetry::VXSymmetry(const VXSymmetry& other) : impl_(std::make_unique<VXSymmetryImpl>(*other.impl_)) {}
VXSymmetry& VXSymmetry::operator=(const VXSymmetry& other) {
  *impl_ = *other.impl_;
  return *this;
}
VXSymmetry::~VXSymmetry() = default;

VXSymmetry::operator bool() const { return static_cast<bool>(*impl_); }
bool VXSymmetry::HasWarnings() const { return impl_->HasWarnings(); }
std::string VXSymmetry::GetError() const { return impl_->GetError(); }
unsigned int VXSymmetry::GetNumber() const { return impl_->GetNumber(); }
std::string VXSymmetry::GetName() const { return impl_->GetName(); }
unsigned int VXSymmetry::GetOpCount() const { return impl_->GetOpCount(); }
const float* VXSymmetry::GetMatrices() const { return impl_->GetMatrices(); }
VXUnitCell& VXSymmetry::cell() { return impl_->cell(); }
const VXUnitCell& VXSymmetry::cell() const { return static_cast<const VXSymmetryImpl&>(*impl_).cell(); }
VXSymmetryImpl* VXSymmetry::GetImpl() { return impl_.get(); }
const VXSymmetryImpl* VXSymmetry::GetImpl() const { return impl_.get(); }
bool VXSymmetry::GetEnabled(std::vector<bool>& flags) const { return impl_->GetEnabled(flags); }
bool VXSymmetry::SetEnabled(const std::vector<bool>& flags) { return impl_->SetEnabled(flags); }
bool VXSymmetry::CartesianToFractional(float* xyz, unsigned int count, unsigned int op, bool wrap) const {
  return impl_->CartesianToFractional(xyz, count, op, wrap);
}
bool VXSymmetry::FractionalToCartesian(float* xyz, unsigned int count, unsigned int op, bool wrap) const {
  return impl_->FractionalToCartesian(xyz, count, op, wrap);
}

}  // namespace VXXtal
}  // namespace VXCore
