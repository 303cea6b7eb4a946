#include <vxgrid/reflection/reflection.h>

#include <cmath>
#include <utility>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/reflection/reflection_impl.h>

namespace VXCore {

namespace {

struct MapTypeText {
  unsigned int code;
  const char* text;     // what VXMTZMapTypeFromString takes
  const char* printed;  // what VXMTZMapTypeToString gives
};
constexpr MapTypeText kMapTypeTexts[] = {
    {VXMTZMapType::Fo, "Fo", "Fo"},
    {VXMTZMapType::Fc, "Fc", "Fc"},
    {VXMTZMapType::TwoFoFc, "2Fo-Fc", "2Fo-Fc"},
    {VXMTZMapType::FoFc, "Fo-Fc", "Fo-Fc"},
    {VXMTZMapType::ThreeFoTwoFc, "3Fo-2Fc", "3Fo-2Fc"},
    {VXMTZMapType::FiveFoThreeFc, "5Fo-3Fc", "5Fo-3Fc"},
    {VXMTZMapType::TwoFoFcSigmaA, "2Fo-Fc(SigmaA)", "2Fo-Fc(SigmaA)"},
    {VXMTZMapType::FoFcSigmaA, "Fo-Fc(SigmaA)", "Fo-Fc (SigmaA)"},
    {VXMTZMapType::FoFo, "Fo*Fo", "Fo*Fo"},
    {VXMTZMapType::FoFOM, "Fo*FOM", "Fo*FOM"},
    {VXMTZMapType::Fwt, "Fwt", "Fwt"},
    {VXMTZMapType::Fdelwt, "Fdelwt", "Fdelwt"},
};

template <class Grid>
bool is_difference_map(const Grid& grid) {
  if (grid.GetType() == VXGridTypeRegularMap) return false;
  if (grid.GetType() == VXGridTypeDifferenceMap) return true;
  const float* const values = grid.GetValues();
  const unsigned int n = values ? grid.GetSize() : 0;
  if (n == 0) return true;
  float min = 3.4028235e38f, max = -3.4028235e38f;
  for (unsigned int i = 0; i < n; ++i) {
    min = values[i] < min ? values[i] : min;
    max = values[i] > max ? values[i] : max;
  }
  return std::fabs(static_cast<double>(min)) / std::fabs(static_cast<double>(max)) > 0.65f;
}

// The fields behind the column codes.
using FloatField = float* VXReflectionImpl::*;
using IntField = int* VXReflectionImpl::*;

FloatField float_field(unsigned int column) {
  using R = VXReflectionImpl;
  static constexpr FloatField kFields[] = {&R::phase,    &R::phase_calc, &R::fobs,   &R::fcalc, &R::phiwt,
                                           &R::phidelwt, &R::fwt,        &R::fdelwt, &R::sigma, &R::fom,
                                           nullptr,      nullptr,        &R::stolsq};
  return column < std::size(kFields) ? kFields[column] : nullptr;
}

IntField int_field(unsigned int column) {
  if (column == VXReflectionColumn::Centric) return &VXReflectionImpl::centric;
  if (column == VXReflectionColumn::RFree) return &VXReflectionImpl::rfree;
  return nullptr;
}

}  // namespace

VXReflection::VXReflection() : impl_(std::make_unique<VXReflectionImpl>()) {}

VXReflection::VXReflection(const VXReflection& other)
    : VXBase(other), impl_(std::make_unique<VXReflectionImpl>(*other.impl_)) {}

VXReflection& VXReflection::operator=(const VXReflection& other) {
  if (this == &other) return *this;
  VXBase::operator=(other);
  *impl_ = *other.impl_;
  return *this;
}

VXReflection::~VXReflection() = default;

void VXReflection::Clear() {
  VXBase::Clear();
  impl_->Clear();
}

const void* VXReflection::GetDataType() const { return VXGetDataType<VXReflection>(); }

bool VXReflection::IsDataType(const void* type) const {
  return type == VXGetDataType<VXReflection>() || VXBase::IsDataType(type);
}

VXReflection* VXReflection::CreateCopy() const { return new VXReflection(*this); }

unsigned int VXReflection::GetCount() const { return impl_->GetCount(); }
bool VXReflection::SetCount(unsigned int count) { return impl_->SetCount(count); }
bool VXReflection::SetTitle(const char* title) { return impl_->SetTitle(title ? title : ""); }
bool VXReflection::SetTitle(const std::string& title) { return impl_->SetTitle(title); }
const std::string& VXReflection::GetTitle() const { return impl_->GetTitle(); }
const VXXtal::VXSymmetry& VXReflection::GetSymmetry() const { return impl_->GetSymmetry(); }
bool VXReflection::SetSymmetry(const VXXtal::VXSymmetry& symmetry) { return impl_->SetSymmetry(symmetry); }

bool VXReflection::SetHKL(const int* h, const int* k, const int* l, unsigned int count) {
  return impl_->SetHKL(h, k, l, count);
}
bool VXReflection::GetHKL(int* h, int* k, int* l) const { return impl_->GetHKL(h, k, l); }
bool VXReflection::SetHKLElement(int h, int k, int l, unsigned int index) {
  return impl_->SetHKLElement(h, k, l, index);
}
bool VXReflection::GetHKLElement(int& h, int& k, int& l, unsigned int index) const {
  return impl_->GetHKLElement(h, k, l, index);
}
bool VXReflection::SetABCD(const float* a, const float* b, const float* c, const float* d,
                           unsigned int count) {
  return impl_->SetABCD(a, b, c, d, count);
}
bool VXReflection::GetABCD(float* a, float* b, float* c, float* d) const {
  return impl_->GetABCD(a, b, c, d);
}
bool VXReflection::SetABCDElement(float a, float b, float c, float d, unsigned int index) {
  return impl_->SetABCDElement(a, b, c, d, index);
}
bool VXReflection::GetABCDElement(float& a, float& b, float& c, float& d, unsigned int index) const {
  return impl_->GetABCDElement(a, b, c, d, index);
}

bool VXReflection::SetColumn(unsigned int column, const float* values, unsigned int count) {
  const FloatField field = float_field(column);
  return field && impl_->SetValues(impl_.get()->*field, values, count);
}
bool VXReflection::SetColumn(unsigned int column, const int* values, unsigned int count) {
  const IntField field = int_field(column);
  return field && impl_->SetValues(impl_.get()->*field, values, count);
}
bool VXReflection::GetColumn(unsigned int column, float* out) const {
  const FloatField field = float_field(column);
  return field && impl_->GetValues<float>(impl_.get()->*field, out);
}
bool VXReflection::GetColumn(unsigned int column, int* out) const {
  const IntField field = int_field(column);
  return field && impl_->GetValues<int>(impl_.get()->*field, out);
}
bool VXReflection::SetElement(unsigned int column, float value, unsigned int index) {
  const FloatField field = float_field(column);
  return field && impl_->SetValue(impl_.get()->*field, value, index);
}
bool VXReflection::SetElement(unsigned int column, int value, unsigned int index) {
  const IntField field = int_field(column);
  return field && impl_->SetValue(impl_.get()->*field, value, index);
}
bool VXReflection::GetElement(unsigned int column, float& value, unsigned int index) const {
  const FloatField field = float_field(column);
  return field && impl_->GetValue<float>(impl_.get()->*field, value, index);
}
bool VXReflection::GetElement(unsigned int column, int& value, unsigned int index) const {
  const IntField field = int_field(column);
  return field && impl_->GetValue<int>(impl_.get()->*field, value, index);
}

bool VXReflection::Sort() { return impl_->Sort(); }
bool VXReflection::ValidateMaptype(int maptype) const { return impl_->ValidateMaptype(maptype); }
bool VXReflection::GetAB(float& a, float& b, unsigned int index, int maptype) const {
  return impl_->GetAB(a, b, index, maptype);
}
bool VXReflection::GetAmpPhase(float& amp, float& phase, unsigned int index, int maptype) const {
  return impl_->GetAmpPhase(amp, phase, index, maptype);
}
bool VXReflection::CalcResolution() { return impl_->CalcResolution(); }
bool VXReflection::Expand() { return impl_->Expand(); }
bool VXReflection::SFCalc(const VXMolBase& model) { return impl_->SFCalc(model); }

bool VXReflection::MakeMap(VXSkewGrid& grid, unsigned int maptype) const& {
  if (!impl_->MakeMap(grid, maptype)) return false;
  grid.SetData<double>("resolution", GetResolution());
  return true;
}

bool VXReflection::MakeMap(VXSkewGrid& grid, unsigned int maptype) && {
  if (!std::move(*impl_).MakeMap(grid, maptype)) return false;
  grid.SetData<double>("resolution", GetResolution());
  return true;
}

bool VXReflection::SetRESO(double lo, double hi) {
  SetData<double>("reshi", hi);
  SetData<double>("reslo", lo);
  return SetData<double>("reso", 1 / std::sqrt(hi));
}

double VXReflection::GetResolution() const { return GetData<double>("reso"); }

unsigned int VXMTZMapTypeFromString(const std::string& text) {
  for (const MapTypeText& row : kMapTypeTexts)
    if (text == row.text) return row.code;
  return VXMTZMapType::None;
}

std::string VXMTZMapTypeToString(unsigned int maptype) {
  for (const MapTypeText& row : kMapTypeTexts)
    if (maptype == row.code) return row.printed;
  return maptype == VXMTZMapType::None ? "None" : "";
}

bool VXGridIsDifferenceMap(const VXSkewGrid& grid) { return is_difference_map(grid); }
bool VXGridIsDifferenceMap(const VXScalarGrid& grid) { return is_difference_map(grid); }

}  // namespace VXCore
