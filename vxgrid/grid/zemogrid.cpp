#include <vxgrid/grid/zemogrid.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace VXCore {
namespace {

constexpr std::array<float, 9> kIdentity = {1.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 1.0f};
constexpr double kRadiansPerDegree = 0.0174532925199433;

struct Vec3 {
  float x, y, z;
};

// The lattice with its orientation, read once for a run of points.
struct OrientedLattice {
  explicit OrientedLattice(const VXZemoGrid& grid)
      : mid{grid.GetXMid(), grid.GetYMid(), grid.GetZMid()}, spacing(grid.GetSpacing()), m(kIdentity) {
    grid.GetDim(dim[0], dim[1], dim[2]);
    grid.GetOrientation(m.data());
  }

  float Coord(int axis, float idx, float middle) const {
    return (idx - (static_cast<float>(dim[axis]) - 1.0f) * 0.5f) * spacing + middle;
  }
  // p' = M (p - mid) + mid, each row summed from left to right.
  Vec3 Orient(const Vec3& p) const {
    const float dx = p.x - mid.x, dy = p.y - mid.y, dz = p.z - mid.z;
    return {m[0] * dx + m[1] * dy + m[2] * dz + mid.x, m[3] * dx + m[4] * dy + m[5] * dz + mid.y,
            m[6] * dx + m[7] * dy + m[8] * dz + mid.z};
  }
  Vec3 Point(float x, float y, float z) const {
    return Orient({Coord(0, x, mid.x), Coord(1, y, mid.y), Coord(2, z, mid.z)});
  }
  Vec3 FirstSample() const {
    const auto first = [this](unsigned int n, float middle) {
      return middle - (static_cast<float>(n) - 1.0f) * 0.5f * spacing;
    };
    return Orient({first(dim[0], mid.x), first(dim[1], mid.y), first(dim[2], mid.z)});
  }

  unsigned int dim[3];
  Vec3 mid;
  float spacing;
  std::array<float, 9> m;
};

bool has_dimension(const VXGridBase& part) {
  return part.GetXDim() > 1 || part.GetYDim() > 1 || part.GetZDim() > 1;
}

template <class T>
bool select_field(unsigned int n, VXMultiGrid<T>& part, unsigned int& multiple) {
  if (n == 0 || (n > part.GetNumGrids() && !part.SetNumGrids(n))) return false;
  multiple = n;
  return true;
}

// Somebody may have taken fields away since one was selected; the last one left then counts as current.
template <class Part>
auto& current_field(Part& part, unsigned int multiple) {
  return *part.GetGrid(std::min(multiple, part.GetNumGrids()) - 1);
}

}  // namespace

VXZemoGrid::VXZemoGrid() = default;

VXZemoGrid::VXZemoGrid(const VXZemoGrid& other) = default;

VXZemoGrid::VXZemoGrid(VXZemoGrid&& other) { *this = std::move(other); }

VXZemoGrid::VXZemoGrid(const VXFixedGrid<float>& source)
    : floats_(source, source.GetValues()), integers_(source, nullptr) {
  VXBase::operator=(source);
  SetUnitCellFromSpacing(source.GetSpacing());
}

VXZemoGrid::VXZemoGrid(const VXScalarGrid& source)
    : VXZemoGrid(static_cast<const VXFixedGrid<float>&>(source)) {
  SetType(source.GetType());
}

VXZemoGrid::VXZemoGrid(const VXFixedMultiGrid<float>& floats) : floats_(floats), integers_(floats, nullptr) {
  VXBase::operator=(floats);
  SetUnitCellFromSpacing(floats.GetSpacing());
}

VXZemoGrid::VXZemoGrid(const VXFixedMultiGrid<int>& integers)
    : floats_(integers, nullptr), integers_(integers) {
  VXBase::operator=(integers);
  SetUnitCellFromSpacing(integers.GetSpacing());
}

VXZemoGrid::VXZemoGrid(const VXFixedMultiGrid<float>& floats, const VXFixedMultiGrid<int>& integers)
    : floats_(floats), integers_(integers) {
  VXBase::operator=(floats);
  SetUnitCellFromSpacing(floats.GetSpacing());
}

VXZemoGrid::VXZemoGrid(const VXScalarGrid& source, BorrowTag)
    : floats_(source, VXHost::VXLargeArray<float>(), const_cast<float*>(source.GetValues())),
      integers_(source, nullptr) {
  VXBase::operator=(source);
  SetUnitCellFromSpacing(source.GetSpacing());
  SetType(source.GetType());
}

VXZemoGrid VXZemoGrid::Borrow(const VXScalarGrid& source) { return VXZemoGrid(source, BorrowTag()); }

// Borrows first, so that nothing can fail any more when the block changes hands.
VXZemoGrid::VXZemoGrid(VXScalarGrid&& source) : VXZemoGrid(source, BorrowTag()) {
  if (source.GetValues()) floats_.block_ = source.ReleaseValues();
}

VXZemoGrid& VXZemoGrid::operator=(const VXZemoGrid& rhs) {
  if (this == &rhs) return *this;
  VXBase::operator=(rhs);
  floats_ = rhs.floats_;
  integers_ = rhs.integers_;
  scalars_ = rhs.scalars_;
  SetTitle(rhs.GetTitle());
  return *this;
}

VXZemoGrid& VXZemoGrid::operator=(VXZemoGrid&& rhs) {
  std::swap(static_cast<VXBase&>(*this), static_cast<VXBase&>(rhs));
  std::swap(scalars_, rhs.scalars_);
  floats_.Swap(rhs.floats_);
  integers_.Swap(rhs.integers_);
  return *this;
}

// Through a new grid, because the source may be a view of this one.
VXZemoGrid& VXZemoGrid::operator=(const VXScalarGrid& rhs) { return TakeFloatsOf(VXZemoGrid(rhs)); }
VXZemoGrid& VXZemoGrid::operator=(const VXFixedGrid<float>& rhs) { return TakeFloatsOf(VXZemoGrid(rhs)); }
VXZemoGrid& VXZemoGrid::operator=(const VXFixedMultiGrid<float>& rhs) {
  return TakeFloatsOf(VXZemoGrid(rhs));
}

VXZemoGrid& VXZemoGrid::TakeFloatsOf(VXZemoGrid&& fresh) {
  fresh.integers_.Clear();
  return *this = std::move(fresh);
}

void VXZemoGrid::MoveFloats(VXScalarGrid& out) {
  VXFixedGrid<float>& field = *floats_.GetGrid(0);
  if (floats_.GetNumGrids() == 1 && floats_.block_.size()) {
    out.AssignTaking(field, floats_.block_);
    floats_.values_ = floats_.block_.data();
    floats_.ResetGrids();
    out.SetType(VXGridTypeGeneric);
  } else {
    out = field;
  }
}

void VXZemoGrid::Clear() { *this = VXZemoGrid(); }

const void* VXZemoGrid::GetDataType() const { return VXGetDataType<VXZemoGrid>(); }

bool VXZemoGrid::IsDataType(const void* type) const {
  return type == VXGetDataType<VXZemoGrid>() || VXGridAbstractBase::IsDataType(type);
}

VXZemoGrid* VXZemoGrid::CreateCopy() const { return new VXZemoGrid(*this); }

std::string VXZemoGrid::GetTitle() const { return floats_.GetTitle(); }
bool VXZemoGrid::SetTitle(const std::string& title) { return floats_.SetTitle(title); }
float VXZemoGrid::GetSpacing() const { return floats_.GetSpacing(); }
bool VXZemoGrid::IsSpacingSet() const { return floats_.IsSpacingSet(); }
unsigned int VXZemoGrid::GetSize() const { return floats_.GetSize(); }
bool VXZemoGrid::GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const {
  return floats_.GetDim(x, y, z);
}
unsigned int VXZemoGrid::GetXDim() const { return floats_.GetXDim(); }
unsigned int VXZemoGrid::GetYDim() const { return floats_.GetYDim(); }
unsigned int VXZemoGrid::GetZDim() const { return floats_.GetZDim(); }
bool VXZemoGrid::GetMid(float& x, float& y, float& z) const { return floats_.GetMid(x, y, z); }
float VXZemoGrid::GetXMid() const { return floats_.GetXMid(); }
float VXZemoGrid::GetYMid() const { return floats_.GetYMid(); }
float VXZemoGrid::GetZMid() const { return floats_.GetZMid(); }

bool VXZemoGrid::SetSpacing(float spacing) {
  integers_.SetSpacing(spacing);
  return floats_.SetSpacing(spacing);
}

bool VXZemoGrid::SetMid(float x, float y, float z) {
  integers_.SetMid(x, y, z);
  return floats_.SetMid(x, y, z);
}

bool VXZemoGrid::SetDim(unsigned int x, unsigned int y, unsigned int z) {
  return integers_.SetDim(x, y, z) && floats_.SetDim(x, y, z);
}

float* VXZemoGrid::GetValues() { return GetFloatsSet() ? floats_.GetValues() : nullptr; }
const float* VXZemoGrid::GetValues() const { return GetFloatsSet() ? floats_.GetValues() : nullptr; }

bool VXZemoGrid::SetValues(const float* values, unsigned int n) { return floats_.SetValues(0, values, n); }

bool VXZemoGrid::GetFloatsSet() const { return has_dimension(floats_); }
bool VXZemoGrid::GetIntegersSet() const { return has_dimension(integers_); }

bool VXZemoGrid::SetFloatsMultiple(unsigned int n) {
  return select_field(n, floats_, scalars_.floats_multiple);
}
bool VXZemoGrid::SetIntegersMultiple(unsigned int n) {
  return select_field(n, integers_, scalars_.integers_multiple);
}

VXFixedGrid<float>& VXZemoGrid::CurrentFloats() { return current_field(floats_, GetFloatsMultiple()); }
const VXFixedGrid<float>& VXZemoGrid::CurrentFloats() const {
  return current_field(floats_, GetFloatsMultiple());
}
VXFixedGrid<int>& VXZemoGrid::CurrentIntegers() { return current_field(integers_, GetIntegersMultiple()); }
const VXFixedGrid<int>& VXZemoGrid::CurrentIntegers() const {
  return current_field(integers_, GetIntegersMultiple());
}

bool VXZemoGrid::SetOrientation(const float* matrix) {
  if (!matrix) return false;
  std::copy_n(matrix, 9, scalars_.orientation.begin());
  return SetOrientationSet(true);
}

bool VXZemoGrid::GetOrientation(float* matrix) const {
  if (!GetOrientationSet()) return false;
  std::copy_n(scalars_.orientation.begin(), 9, matrix);
  return true;
}

bool VXZemoGrid::SetOrientationSet(bool set) {
  scalars_.orientation_set = set;
  return true;
}

void VXZemoGrid::SetReentrantBit(unsigned int bit, bool wraps) {
  scalars_.reentrant = wraps ? scalars_.reentrant | bit : scalars_.reentrant & ~bit;
}

// Which steps are in float and which in double is part of the result.
bool VXZemoGrid::SetUnitCell(float a, float b, float c, float alpha, float beta, float gamma, unsigned int x,
                             unsigned int y, unsigned int z) {
  scalars_.a = a;
  scalars_.b = b;
  scalars_.c = c;
  scalars_.alpha = alpha;
  scalars_.beta = beta;
  scalars_.gamma = gamma;
  scalars_.unit_x = x;
  scalars_.unit_y = y;
  scalars_.unit_z = z;

  const double cos_a = std::cos(alpha * kRadiansPerDegree);
  const float cos_b = static_cast<float>(std::cos(beta * kRadiansPerDegree));
  const float cos_g = static_cast<float>(std::cos(gamma * kRadiansPerDegree));
  const float sin_g = static_cast<float>(std::sin(gamma * kRadiansPerDegree));
  const float step_a = a / static_cast<float>(x);
  const float step_b = b / static_cast<float>(y);
  const float step_c = c / static_cast<float>(z);
  const float spacing = std::min({step_a, step_b, step_c});
  const float inverse = 1.0f / spacing;
  const float fa = step_a * inverse, fb = step_b * inverse, fc = step_c * inverse;
  const float t = static_cast<float>((cos_a - cos_g * cos_b) / sin_g);
  const float w = static_cast<float>(std::sqrt(1.0 - cos_b * cos_b - t * t));
  const float matrix[9] = {fa, cos_g * fb, cos_b * fc, 0.0f, sin_g * fb, t * fc, 0.0f, 0.0f, w * fc};
  SetOrientation(matrix);
  SetSpacing(spacing);
  return true;
}

bool VXZemoGrid::SetUnitCellFromSpacing(float spacing) {
  SetOrientation(kIdentity.data());
  SetSpacing(spacing);
  unsigned int x, y, z;
  if (!GetDim(x, y, z)) return false;
  scalars_.alpha = scalars_.beta = scalars_.gamma = 90.0f;
  scalars_.unit_x = x;
  scalars_.unit_y = y;
  scalars_.unit_z = z;
  scalars_.a = static_cast<float>(x) * spacing;
  scalars_.b = static_cast<float>(y) * spacing;
  scalars_.c = static_cast<float>(z) * spacing;
  return true;
}

bool VXZemoGrid::GetUnitCell(float& a, float& b, float& c, float& alpha, float& beta, float& gamma) const {
  a = scalars_.a;
  b = scalars_.b;
  c = scalars_.c;
  alpha = scalars_.alpha;
  beta = scalars_.beta;
  gamma = scalars_.gamma;
  return true;
}

bool VXZemoGrid::GetUnitSpacing(unsigned int& x, unsigned int& y, unsigned int& z) const {
  x = scalars_.unit_x;
  y = scalars_.unit_y;
  z = scalars_.unit_z;
  return x || y || z;
}

bool VXZemoGrid::HasUnitCell() const {
  const Scalars& s = scalars_;
  return s.a != 0.0f || s.b != 0.0f || s.c != 0.0f || s.alpha != 0.0f || s.beta != 0.0f || s.gamma != 0.0f;
}

bool VXZemoGrid::ElementToGridIdx(unsigned int element, unsigned int& x, unsigned int& y,
                                  unsigned int& z) const {
  unsigned int x_dim, y_dim, z_dim;
  if (!GetDim(x_dim, y_dim, z_dim)) return false;
  x = element % x_dim;
  y = element / x_dim % y_dim;
  z = element / (x_dim * y_dim);
  return element < GetSize();
}

bool VXZemoGrid::ElementToSpatialCoord(unsigned int element, float& x, float& y, float& z) const {
  unsigned int i = 0, j = 0, k = 0;
  const bool inside = ElementToGridIdx(element, i, j, k);
  const Vec3 p =
      OrientedLattice(*this).Point(static_cast<float>(i), static_cast<float>(j), static_cast<float>(k));
  x = p.x;
  y = p.y;
  z = p.z;
  return inside;
}

// The three products along a row are the same in every row, so they stand in a table; the order of the sums
// is that of Orient.
bool VXZemoGrid::SpatialCoords(std::vector<float>& out) const {
  const OrientedLattice lattice(*this);
  const auto& [x_dim, y_dim, z_dim] = lattice.dim;
  if (GetSize() == 0) return false;
  const auto& m = lattice.m;
  const Vec3 mid = lattice.mid;
  std::vector<float> along_x(std::size_t{3} * x_dim), row(std::size_t{3} * x_dim);
  for (unsigned int x = 0; x < x_dim; ++x) {
    const float dx = lattice.Coord(0, static_cast<float>(x), mid.x) - mid.x;
    for (int axis = 0; axis < 3; ++axis) along_x[3 * x + axis] = m[3 * axis] * dx;
  }
  out.clear();
  out.reserve(std::size_t{3} * GetSize());
  for (unsigned int z = 0; z < z_dim; ++z)
    for (unsigned int y = 0; y < y_dim; ++y) {
      const float dy = lattice.Coord(1, static_cast<float>(y), mid.y) - mid.y;
      const float dz = lattice.Coord(2, static_cast<float>(z), mid.z) - mid.z;
      for (unsigned int i = 0; i < 3 * x_dim; i += 3) {
        row[i] = along_x[i] + m[1] * dy + m[2] * dz + mid.x;
        row[i + 1] = along_x[i + 1] + m[4] * dy + m[5] * dz + mid.y;
        row[i + 2] = along_x[i + 2] + m[7] * dy + m[8] * dz + mid.z;
      }
      out.insert(out.end(), row.begin(), row.end());
    }
  return true;
}

bool VXZemoGrid::PackingTransform(int i, int j, int k, float& dx, float& dy, float& dz) const {
  if (GetSize() == 0 || !IsSpacingSet()) return false;
  const OrientedLattice lattice(*this);
  const auto moved = [&](int axis, int n) {
    return static_cast<float>(n) * static_cast<float>(lattice.dim[axis]);
  };
  const Vec3 p = lattice.Point(moved(0, i), moved(1, j), moved(2, k));
  const Vec3 c = lattice.FirstSample();
  dx = p.x - c.x;
  dy = p.y - c.y;
  dz = p.z - c.z;
  return true;
}

bool VXZemoGrid::SpatialCoordToPacking(float x, float y, float z, int& i, int& j, int& k) const {
  if (GetSize() == 0 || !IsSpacingSet()) return false;
  const OrientedLattice lattice(*this);
  const Vec3 c = lattice.FirstSample();
  const Vec3 delta = {x - c.x, y - c.y, z - c.z};
  int* const idx[3] = {&i, &j, &k};
  for (int axis = 0; axis < 3; ++axis) {
    const float* const r = &lattice.m[3 * axis];
    const float dot = r[0] * delta.x + r[1] * delta.y + r[2] * delta.z;
    const float norm = std::sqrt(r[0] * r[0] + r[1] * r[1] + r[2] * r[2]);
    const double t = dot / (static_cast<double>(norm) * lattice.dim[axis]);
    *idx[axis] = t > 0.0 ? static_cast<int>(std::min(t, 2147483647.0))
                         : static_cast<int>(std::max(std::trunc(t) - 1.0, -2147483648.0));
    if (std::isnan(t)) *idx[axis] = -1;
  }
  return true;
}

}  // namespace VXCore
