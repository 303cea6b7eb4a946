#include <vxgrid/grid/grid_base.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include <vxgrid/host/error_handler.h>

namespace VXCore {
namespace {

constexpr unsigned long kMaxSamples = 2147483647;

bool is_lattice(unsigned long x, unsigned long y, unsigned long z) {
  if (x && y && z) return VXGridSizeMultiply(x, y, z) != 0;
  return std::max({x, y, z}) <= kMaxSamples;
}

}  // namespace

const void* VXGridAbstractBase::GetDataType() const { return VXGetDataType<VXGridAbstractBase>(); }

bool VXGridAbstractBase::IsDataType(const void* type) const {
  return type == VXGetDataType<VXGridAbstractBase>() || VXBase::IsDataType(type);
}

const void* VXGridBase::GetDataType() const { return VXGetDataType<VXGridBase>(); }

bool VXGridBase::IsDataType(const void* type) const {
  return type == VXGetDataType<VXGridBase>() || VXGridAbstractBase::IsDataType(type);
}

std::string VXGridBase::GetTitle() const { return title_; }

bool VXGridBase::SetTitle(const std::string& title) {
  title_ = title;
  return true;
}

float VXGridBase::GetSpacing() const { return lattice_.spacing; }
bool VXGridBase::IsSpacingSet() const { return lattice_.spacing_set; }
unsigned int VXGridBase::GetSize() const { return lattice_.size; }

bool VXGridBase::GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const {
  x = lattice_.x_dim;
  y = lattice_.y_dim;
  z = lattice_.z_dim;
  return lattice_.size != 0;
}

unsigned int VXGridBase::GetXDim() const { return lattice_.x_dim; }
unsigned int VXGridBase::GetYDim() const { return lattice_.y_dim; }
unsigned int VXGridBase::GetZDim() const { return lattice_.z_dim; }

bool VXGridBase::GetMid(float& x, float& y, float& z) const {
  x = lattice_.x_mid;
  y = lattice_.y_mid;
  z = lattice_.z_mid;
  return true;
}

float VXGridBase::GetXMid() const { return lattice_.x_mid; }
float VXGridBase::GetYMid() const { return lattice_.y_mid; }
float VXGridBase::GetZMid() const { return lattice_.z_mid; }

bool VXGridBase::IsTitleSet() const { return !title_.empty(); }
bool VXGridBase::IsXMidSet() const { return lattice_.x_mid_set; }
bool VXGridBase::IsYMidSet() const { return lattice_.y_mid_set; }
bool VXGridBase::IsZMidSet() const { return lattice_.z_mid_set; }

bool VXGridBase::SetSpacing(float spacing) {
  if (!(spacing > 0.0f) || !std::isfinite(spacing)) return false;
  lattice_.spacing = spacing;
  lattice_.spacing_set = true;
  lattice_.Update();
  return true;
}

bool VXGridBase::SetMid(float x, float y, float z) { return SetXMid(x) && SetYMid(y) && SetZMid(z); }

bool VXGridBase::SetXMid(float x) {
  lattice_.x_mid = x;
  lattice_.x_mid_set = true;
  lattice_.Update();
  return true;
}

bool VXGridBase::SetYMid(float y) {
  lattice_.y_mid = y;
  lattice_.y_mid_set = true;
  lattice_.Update();
  return true;
}

bool VXGridBase::SetZMid(float z) {
  lattice_.z_mid = z;
  lattice_.z_mid_set = true;
  lattice_.Update();
  return true;
}

bool VXGridBase::SetDim(unsigned int x, unsigned int y, unsigned int z) {
  if (!is_lattice(x, y, z)) return false;
  const Lattice old = lattice_;
  lattice_.x_dim = x;
  lattice_.y_dim = y;
  lattice_.z_dim = z;
  lattice_.Update();
  try {
    Realloc();
  } catch (...) {
    lattice_ = old;
    throw;
  }
  return true;
}

bool VXGridBase::SetXDim(unsigned int x) { return VXGridBase::SetDim(x, lattice_.y_dim, lattice_.z_dim); }
bool VXGridBase::SetYDim(unsigned int y) { return VXGridBase::SetDim(lattice_.x_dim, y, lattice_.z_dim); }
bool VXGridBase::SetZDim(unsigned int z) { return VXGridBase::SetDim(lattice_.x_dim, lattice_.y_dim, z); }

void VXGridBase::Realloc() {}

void VXGridBase::Clear() {
  VXBase::Clear();
  title_.clear();
  lattice_ = Lattice();
  Realloc();
}

bool VXGridBase::InitGeometry(long x, long y, long z, const float* mid, float spacing) {
  const bool can_be = x >= 0 && y >= 0 && z >= 0 && is_lattice(x, y, z);
  if (!can_be) VXThrow.Warning("A grid cannot have %ld x %ld x %ld samples, it gets one", x, y, z);
  lattice_.x_dim = can_be ? static_cast<unsigned int>(x) : 1;
  lattice_.y_dim = can_be ? static_cast<unsigned int>(y) : 1;
  lattice_.z_dim = can_be ? static_cast<unsigned int>(z) : 1;
  lattice_.x_mid = mid[0];
  lattice_.y_mid = mid[1];
  lattice_.z_mid = mid[2];
  lattice_.spacing = spacing;
  lattice_.x_mid_set = lattice_.y_mid_set = lattice_.z_mid_set = lattice_.spacing_set = true;
  lattice_.Update();
  return can_be;
}

void VXGridBase::SetEmpty() {
  lattice_.x_dim = lattice_.y_dim = lattice_.z_dim = 0;
  lattice_.Update();
}

void VXGridBase::SwapGeometry(VXGridBase& other) noexcept {
  std::swap(static_cast<VXBase&>(*this), static_cast<VXBase&>(other));
  title_.swap(other.title_);
  std::swap(lattice_, other.lattice_);
}

void VXGridBase::Lattice::Update() {
  const auto first = [this](unsigned int dim, float mid) {
    return (0.0f - (static_cast<float>(dim) - 1.0f) * 0.5f) * spacing + mid;
  };
  size = x_dim * y_dim * z_dim;
  inverse_spacing = 1.0f / spacing;
  x_min = first(x_dim, x_mid);
  y_min = first(y_dim, y_mid);
  z_min = first(z_dim, z_mid);
}

int VXGridSizeMultiply(unsigned long x, unsigned long y, unsigned long z) {
  if (x == 0 || y == 0) return 0;
  unsigned long product = x;
  for (const unsigned long factor : {y, z}) {
    if (factor != 0 && product > kMaxSamples / factor) {
      VXThrow.Warning("Grid dimensions too large for memory size: %lu x %lu", product, factor);
      return 0;
    }
    product *= factor;
  }
  return static_cast<int>(product);
}

}  // namespace VXCore
