#include <vxgrid/grid/scalargrid.h>

#include <cmath>
#include <utility>

namespace VXCore {
namespace {

// The number of samples on an axis of a box, or -1 where there is none.
template <class Real>
long samples(Real min, Real max, Real inverse_spacing) {
  const Real steps = std::trunc((max - min) * inverse_spacing);
  return std::fabs(steps) < Real(2147483648.0) ? static_cast<long>(steps) + 1 : -1;
}

float middle(float min, float max) { return (min + max) * 0.5f; }
float middle(double min, double max) { return static_cast<float>(min + max) * 0.5f; }

}  // namespace

VXScalarGrid::VXScalarGrid() = default;

VXScalarGrid::VXScalarGrid(const float* extents, float spacing, const char* title) {
  const float inverse = 1.0f / spacing;
  const float* const e = extents;
  const float mid[3] = {middle(e[0], e[3]), middle(e[1], e[4]), middle(e[2], e[5])};
  InitGeometry(samples(e[0], e[3], inverse), samples(e[1], e[4], inverse), samples(e[2], e[5], inverse), mid,
               spacing);
  if (title) SetTitle(title);
  Realloc();
}

VXScalarGrid::VXScalarGrid(const double* extents, double spacing, const char* title) {
  const double inverse = 1.0 / spacing;
  const double* const e = extents;
  const float mid[3] = {middle(e[0], e[3]), middle(e[1], e[4]), middle(e[2], e[5])};
  InitGeometry(samples(e[0], e[3], inverse), samples(e[1], e[4], inverse), samples(e[2], e[5], inverse), mid,
               static_cast<float>(spacing));
  if (title) SetTitle(title);
  Realloc();
}

VXScalarGrid::VXScalarGrid(int x_dim, int y_dim, int z_dim, float x_mid, float y_mid, float z_mid,
                           float spacing, std::string title, const float* values) {
  const float mid[3] = {x_mid, y_mid, z_mid};
  const bool can_be = InitGeometry(x_dim, y_dim, z_dim, mid, spacing);
  SetTitle(title);
  Realloc();
  if (values && can_be) SetValues(values, GetSize());
}

VXScalarGrid::VXScalarGrid(const VXScalarGrid& other) : VXGrid<float>(other), type_(other.type_) {}

VXScalarGrid::VXScalarGrid(const VXFixedGrid<float>& other) : VXGrid<float>(other) {}

VXScalarGrid::VXScalarGrid(VXScalarGrid&& other) : VXGrid<float>(std::move(other)), type_(other.type_) {}

VXScalarGrid& VXScalarGrid::operator=(const VXFixedGrid<float>& rhs) {
  if (this == &rhs) return *this;
  VXGrid<float>::operator=(rhs);
  type_ = VXGridTypeGeneric;
  return *this;
}

VXScalarGrid& VXScalarGrid::operator=(const VXScalarGrid& rhs) {
  VXGrid<float>::operator=(rhs);
  type_ = rhs.type_;
  return *this;
}

VXScalarGrid& VXScalarGrid::operator=(VXScalarGrid&& rhs) {
  type_ = rhs.type_;
  VXGrid<float>::operator=(std::move(rhs));
  return *this;
}

void VXScalarGrid::Clear() {
  VXGrid<float>::Clear();
  type_ = VXGridTypeGeneric;
}

const void* VXScalarGrid::GetDataType() const { return VXGetDataType<VXScalarGrid>(); }

bool VXScalarGrid::IsDataType(const void* type) const {
  return type == VXGetDataType<VXScalarGrid>() || VXGrid<float>::IsDataType(type);
}

VXScalarGrid* VXScalarGrid::CreateCopy() const { return new VXScalarGrid(*this); }

}  // namespace VXCore
