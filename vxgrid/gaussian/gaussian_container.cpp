#include <vxgrid/gaussian/gaussian_container.h>

#include <algorithm>

namespace VXCore {
namespace {

/// A walk by number, so that the set may grow and shrink meanwhile.
template <class T>
class Walk : public VXIterBase<T> {
 public:
  explicit Walk(const std::vector<std::unique_ptr<VXGaussianBase>>& items) : items_(items) {}
  explicit operator bool() const override { return at_ < items_.size(); }
  T& operator*() const override { return *items_[at_]; }
  Walk& operator++() override {
    ++at_;
    return *this;
  }

 private:
  const std::vector<std::unique_ptr<VXGaussianBase>>& items_;
  std::size_t at_ = 0;
};

/// Runs f on every Gaussian of a container that is not to be changed.
template <class F>
void each(const VXGaussianContainerBase& gaussians, F f) {
  for (const VXGaussianBase& g : VXIter<const VXGaussianBase>(gaussians.GetGaussians())) f(g);
}

void append_plain(VXGaussianContainerBase& to, const VXGaussianContainerBase& from) {
  each(from, [&to](const VXGaussianBase& g) { to.AddGaussian(VXGaussian(g)); });
}

/// Runs moved(c) on the three floats of every centre.
template <class F>
void move_centers(VXGaussianContainerBase& gaussians, F moved) {
  if (gaussians.NumGaussians() == 0) return;
  for (VXGaussianBase& g : VXIter<VXGaussianBase>(gaussians.GetGaussians())) {
    float c[3];
    g.GetCenter(c);
    moved(c);
    g.SetCenter(c);
  }
}

}  // namespace

const void* VXGaussianContainerBase::GetDataType() const { return VXGetDataType<VXGaussianContainerBase>(); }

bool VXGaussianContainerBase::IsDataType(const void* type) const {
  return type == VXGetDataType<VXGaussianContainerBase>() || VXBase::IsDataType(type);
}

VXGaussianContainerImpl::VXGaussianContainerImpl(const VXGaussianContainerImpl& other)
    : VXGaussianContainerImpl(static_cast<const VXGaussianContainerBase&>(other)) {}

VXGaussianContainerImpl::VXGaussianContainerImpl(const VXGaussianContainerBase& other)
    : VXGaussianContainerBase(other) {
  append_plain(*this, other);
}

VXGaussianContainerImpl& VXGaussianContainerImpl::operator=(const VXGaussianContainerImpl& rhs) {
  return *this = static_cast<const VXGaussianContainerBase&>(rhs);
}

VXGaussianContainerImpl& VXGaussianContainerImpl::operator=(const VXGaussianContainerBase& rhs) {
  if (this == &rhs) return *this;
  VXGaussianContainerBase::operator=(rhs);
  DeleteGaussians();
  append_plain(*this, rhs);
  return *this;
}

void VXGaussianContainerImpl::Clear() {
  VXBase::Clear();
  DeleteGaussians();
}

const void* VXGaussianContainerImpl::GetDataType() const { return VXGetDataType<VXGaussianContainerImpl>(); }

bool VXGaussianContainerImpl::IsDataType(const void* type) const {
  return type == VXGetDataType<VXGaussianContainerImpl>() || VXGaussianContainerBase::IsDataType(type);
}

VXGaussianContainerImpl* VXGaussianContainerImpl::CreateCopy() const {
  return new VXGaussianContainerImpl(*this);
}

unsigned int VXGaussianContainerImpl::NumGaussians() const {
  return static_cast<unsigned int>(gaussians_.size());
}

bool VXGaussianContainerImpl::AddGaussian(const VXGaussianBase& gaussian) {
  gaussians_.push_back(std::unique_ptr<VXGaussianBase>(gaussian.CreateCopy()));
  return true;
}

bool VXGaussianContainerImpl::DeleteGaussian(VXGaussianBase* gaussian) {
  const auto at = std::find_if(gaussians_.begin(), gaussians_.end(),
                               [gaussian](const auto& owned) { return owned.get() == gaussian; });
  if (at == gaussians_.end()) return false;
  gaussians_.erase(at);
  return true;
}

VXIterBase<VXGaussianBase>* VXGaussianContainerImpl::GetGaussians() {
  return new Walk<VXGaussianBase>(gaussians_);
}

VXIterBase<const VXGaussianBase>* VXGaussianContainerImpl::GetGaussians() const {
  return new Walk<const VXGaussianBase>(gaussians_);
}

void VXGaussianContainerImpl::DeleteGaussians() { gaussians_.clear(); }

bool VXGaussianContainerImpl::GetCoords(float* coords) const {
  each(*this, [&coords](const VXGaussianBase& g) {
    g.GetCenter(coords);
    coords += 3;
  });
  return true;
}

bool VXGaussianContainerImpl::GetCoords(double* coords) const {
  each(*this, [&coords](const VXGaussianBase& g) {
    float c[3];
    g.GetCenter(c);
    coords = std::copy_n(c, 3, coords);
  });
  return true;
}

bool VXGaussianContainerImpl::GetPrefactors(float* prefactors) const {
  each(*this, [&prefactors](const VXGaussianBase& g) { *prefactors++ = g.GetPrefactor(); });
  return true;
}

bool VXGaussianContainerImpl::GetPrefactors(double* prefactors) const {
  each(*this,
       [&prefactors](const VXGaussianBase& g) { *prefactors++ = static_cast<double>(g.GetPrefactor()); });
  return true;
}

bool VXGaussianContainerImpl::GetWidths(float* widths) const {
  each(*this, [&widths](const VXGaussianBase& g) { *widths++ = g.GetWidth(); });
  return true;
}

bool VXGaussianContainerImpl::GetWidths(double* widths) const {
  each(*this, [&widths](const VXGaussianBase& g) { *widths++ = static_cast<double>(g.GetWidth()); });
  return true;
}

bool VXGaussianContainerImpl::GetColors(unsigned int* colors) const {
  each(*this, [&colors](const VXGaussianBase& g) { *colors++ = g.GetColor(); });
  return true;
}

VXGaussianContainer::VXGaussianContainer() : impl_(std::make_unique<VXGaussianContainerImpl>()) {}

VXGaussianContainer::VXGaussianContainer(const VXGaussianContainer& other)
    : VXGaussianContainer(static_cast<const VXGaussianContainerBase&>(other)) {}

VXGaussianContainer::VXGaussianContainer(const VXGaussianContainerBase& other)
    : VXGaussianContainerBase(other), impl_(std::make_unique<VXGaussianContainerImpl>()) {
  append_plain(*impl_, other);
}

VXGaussianContainer& VXGaussianContainer::operator=(const VXGaussianContainer& rhs) {
  return *this = static_cast<const VXGaussianContainerBase&>(rhs);
}

VXGaussianContainer& VXGaussianContainer::operator=(const VXGaussianContainerBase& rhs) {
  if (this == &rhs) return *this;
  VXGaussianContainerBase::operator=(rhs);
  DeleteGaussians();
  append_plain(*impl_, rhs);
  return *this;
}

void VXGaussianContainer::Clear() {
  VXBase::Clear();
  impl_->Clear();
}

const void* VXGaussianContainer::GetDataType() const { return VXGetDataType<VXGaussianContainer>(); }

bool VXGaussianContainer::IsDataType(const void* type) const {
  return type == VXGetDataType<VXGaussianContainer>() || VXGaussianContainerBase::IsDataType(type);
}

VXGaussianContainer* VXGaussianContainer::CreateCopy() const { return new VXGaussianContainer(*this); }

unsigned int VXGaussianContainer::NumGaussians() const { return impl_->NumGaussians(); }
bool VXGaussianContainer::AddGaussian(const VXGaussianBase& gaussian) { return impl_->AddGaussian(gaussian); }
bool VXGaussianContainer::DeleteGaussian(VXGaussianBase* gaussian) { return impl_->DeleteGaussian(gaussian); }
VXIterBase<VXGaussianBase>* VXGaussianContainer::GetGaussians() { return impl_->GetGaussians(); }

VXIterBase<const VXGaussianBase>* VXGaussianContainer::GetGaussians() const {
  return static_cast<const VXGaussianContainerImpl&>(*impl_).GetGaussians();
}

void VXGaussianContainer::DeleteGaussians() { impl_->DeleteGaussians(); }
bool VXGaussianContainer::GetCoords(float* coords) const { return impl_->GetCoords(coords); }
bool VXGaussianContainer::GetCoords(double* coords) const { return impl_->GetCoords(coords); }
bool VXGaussianContainer::GetPrefactors(float* prefactors) const { return impl_->GetPrefactors(prefactors); }
bool VXGaussianContainer::GetPrefactors(double* prefactors) const { return impl_->GetPrefactors(prefactors); }
bool VXGaussianContainer::GetWidths(float* widths) const { return impl_->GetWidths(widths); }
bool VXGaussianContainer::GetWidths(double* widths) const { return impl_->GetWidths(widths); }
bool VXGaussianContainer::GetColors(unsigned int* colors) const { return impl_->GetColors(colors); }

bool VXMakeGaussians(VXGaussianContainerBase& gaussians, const VXMolBase& mol, double prefactor) {
  const double kappa = VXGetKappa(prefactor);
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    float center[3];
    mol.GetCoords(&atom, center);
    const auto width = static_cast<float>(VXGetWidth(kappa, atom.GetRadius()));
    gaussians.AddGaussian(VXGaussian(static_cast<float>(prefactor), width, center, 0));
  }
  return gaussians.NumGaussians() > 0;
}

void VXRotate(VXGaussianContainerBase& gaussians, const float* m) {
  move_centers(gaussians, [m](float* c) {
    const float x = c[0], y = c[1], z = c[2];
    for (int i = 0; i < 3; ++i) c[i] = m[3 * i] * x + m[3 * i + 1] * y + m[3 * i + 2] * z;
  });
}

void VXTranslate(VXGaussianContainerBase& gaussians, const float* v) {
  move_centers(gaussians, [v](float* c) {
    for (int i = 0; i < 3; ++i) c[i] += v[i];
  });
}

}  // namespace VXCore
