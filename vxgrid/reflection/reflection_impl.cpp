#include <vxgrid/reflection/reflection_impl.h>

#include <algorithm>
#include <cstring>

#include <vxgrid/reflection/column_block.inl>

namespace VXCore {

namespace {

// What the comparison of Sort sees: qsort hands it nothing but two elements. One set a thread.
thread_local const int* _sort_h = nullptr;
thread_local const int* _sort_k = nullptr;
thread_local const int* _sort_l = nullptr;

int refln_sort(const void* a, const void* b) {
  const std::uint32_t i = *static_cast<const std::uint32_t*>(a);
  const std::uint32_t j = *static_cast<const std::uint32_t*>(b);
  for (const int* index : {_sort_h, _sort_k, _sort_l})
    if (index[i] != index[j]) return index[i] < index[j] ? -1 : 1;
  return 0;
}

// A fresh column of `count` values that serves a set of `nref` reflections as well; null without values.
template <class T>
T* make_column(const T* values, std::size_t count, std::size_t nref) {
  T* column = nullptr;
  if (!values) return column;
  const std::size_t room = std::max(count, nref);
  resize_column(column, room);
  if (!column) return column;
  std::memcpy(column, values, count * sizeof(T));
  std::fill(column + count, column + room, T{});
  return column;
}

template <class T>
void replace_column(T*& column, T* fresh) {
  std::free(column);
  column = fresh;
}

}  // namespace

VXReflectionImpl::VXReflectionImpl(const VXReflectionImpl& other) { *this = other; }

VXReflectionImpl& VXReflectionImpl::operator=(const VXReflectionImpl& other) {
  if (this == &other) return *this;
  Clear();
  title = other.title;
  nref = other.nref;
  symmetry = other.symmetry;
  expanded = other.expanded;
  unexpanded_count = other.unexpanded_count;
  for_each_column(*this, other, [&](auto*& mine, const auto* theirs) {
    if (!theirs) return;
    resize_column(mine, nref);
    if (mine) std::memcpy(mine, theirs, (std::size_t{nref} + 1) * sizeof *mine);
  });
  return *this;
}

VXReflectionImpl::~VXReflectionImpl() {
  for_each_column(*this, *this, [](auto*& column, auto*) { std::free(column); });
}

void VXReflectionImpl::ReleaseColumns() {
  for_each_column(*this, *this, [](auto*& column, auto*) {
    std::free(column);
    column = nullptr;
  });
  nref = 0;
}

void VXReflectionImpl::Clear() {
  ReleaseColumns();
  title.clear();
  symmetry = VXXtal::VXSymmetry();
  expanded = false;
  unexpanded_count = 0;
}

bool VXReflectionImpl::SetCount(unsigned int count) {
  for_each_column(*this, *this, [&](auto*& column, auto*) {
    if (column) resize_column(column, count);
  });
  if (sort_index)  // what comes anew stands in storage order
    for (std::size_t i = nref; i <= count; ++i) sort_index[i] = static_cast<std::uint32_t>(i);
  nref = count;
  return true;
}

bool VXReflectionImpl::SetTitle(const std::string& text) {
  title = text;
  return true;
}

bool VXReflectionImpl::SetSymmetry(const VXXtal::VXSymmetry& value) {
  symmetry = value;
  return true;
}

template <class T>
bool VXReflectionImpl::SetValues(T*& column, const T* values, unsigned int count) {
  if (count != nref) return false;
  replace_column(column, make_column(values, count, nref));  // values may be the column's own
  return column != nullptr;
}

template <class T>
bool VXReflectionImpl::GetValues(const T* column, T* out) const {
  if (!column || !out) return false;
  std::copy_n(column, nref, out);
  return true;
}

// The place of an element in storage order. The index nref is accepted: it reaches the spare elements of the
// columns. After a SetCount the order of an earlier Sort may lead outside the set.
bool VXReflectionImpl::FindElement(unsigned int& index) const {
  if (index > nref) return false;
  if (sort_index) index = sort_index[index];
  return index <= nref;
}

template <class T>
bool VXReflectionImpl::SetValue(T* column, T value, unsigned int index) {
  if (!column || !FindElement(index)) return false;
  column[index] = value;
  return true;
}

template <class T>
bool VXReflectionImpl::GetValue(const T* column, T& value, unsigned int index) const {
  if (!column || !FindElement(index)) return false;
  value = column[index];
  return true;
}

template bool VXReflectionImpl::SetValues(float*&, const float*, unsigned int);
template bool VXReflectionImpl::SetValues(int*&, const int*, unsigned int);
template bool VXReflectionImpl::GetValues(const float*, float*) const;
template bool VXReflectionImpl::GetValues(const int*, int*) const;
template bool VXReflectionImpl::SetValue(float*, float, unsigned int);
template bool VXReflectionImpl::SetValue(int*, int, unsigned int);
template bool VXReflectionImpl::GetValue(const float*, float&, unsigned int) const;
template bool VXReflectionImpl::GetValue(const int*, int&, unsigned int) const;

bool VXReflectionImpl::SetHKL(const int* new_h, const int* new_k, const int* new_l, unsigned int count) {
  int* const fresh[] = {make_column(new_h, count, nref), make_column(new_k, count, nref),
                        make_column(new_l, count, nref)};
  replace_column(h, fresh[0]);
  replace_column(k, fresh[1]);
  replace_column(l, fresh[2]);
  return h && k && l;
}

bool VXReflectionImpl::GetHKL(int* out_h, int* out_k, int* out_l) const {
  if (!h || !k || !l || !out_h || !out_k || !out_l) return false;
  return GetValues(h, out_h) && GetValues(k, out_k) && GetValues(l, out_l);
}

bool VXReflectionImpl::SetHKLElement(int new_h, int new_k, int new_l, unsigned int index) {
  if (!h || !k || !l) return false;
  return SetValue(h, new_h, index) && SetValue(k, new_k, index) && SetValue(l, new_l, index);
}

bool VXReflectionImpl::GetHKLElement(int& out_h, int& out_k, int& out_l, unsigned int index) const {
  if (!h || !k || !l) return false;
  return GetValue(h, out_h, index) && GetValue(k, out_k, index) && GetValue(l, out_l, index);
}

bool VXReflectionImpl::SetABCD(const float* a, const float* b, const float* c, const float* d,
                               unsigned int count) {
  float* const fresh[] = {make_column(a, count, nref), make_column(b, count, nref),
                          make_column(c, count, nref), make_column(d, count, nref)};
  replace_column(hla, fresh[0]);
  replace_column(hlb, fresh[1]);
  replace_column(hlc, fresh[2]);
  replace_column(hld, fresh[3]);
  return hla && hlb && hlc && hld;
}

bool VXReflectionImpl::GetABCD(float* a, float* b, float* c, float* d) const {
  if (!hla || !hlb || !hlc || !hld || !a || !b || !c || !d) return false;
  return GetValues(hla, a) && GetValues(hlb, b) && GetValues(hlc, c) && GetValues(hld, d);
}

bool VXReflectionImpl::SetABCDElement(float a, float b, float c, float d, unsigned int index) {
  if (!hla || !hlb || !hlc || !hld) return false;
  return SetValue(hla, a, index) && SetValue(hlb, b, index) && SetValue(hlc, c, index) &&
         SetValue(hld, d, index);
}

bool VXReflectionImpl::GetABCDElement(float& a, float& b, float& c, float& d, unsigned int index) const {
  if (!hla || !hlb || !hlc || !hld) return false;
  return GetValue(hla, a, index) && GetValue(hlb, b, index) && GetValue(hlc, c, index) &&
         GetValue(hld, d, index);
}

bool VXReflectionImpl::Sort() {
  if (!h || !k || !l) return false;
  if (!sort_index) resize_column(sort_index, nref);
  if (!sort_index) return false;
  for (std::uint32_t i = 0; i < nref; ++i) sort_index[i] = i;
  sort_index[nref] = nref;
  _sort_h = h, _sort_k = k, _sort_l = l;
  std::qsort(sort_index, nref, sizeof *sort_index, refln_sort);
  _sort_h = _sort_k = _sort_l = nullptr;
  return true;
}

void VXReflectionImpl::copy_element(unsigned int dst, unsigned int src) {
  if (dst > nref || src > nref) return;
  std::uint32_t* const order = sort_index;
  for_each_column(*this, *this, [&](auto*& column, auto*) {
    if (column && static_cast<const void*>(column) != order) column[dst] = column[src];
  });
}

}  // namespace VXCore
