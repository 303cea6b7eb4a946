#pragma once

#include <string>

#include <vxgrid/host/base.h>

namespace VXCore {

/// What every grid answers: title, spacing, dimensions and midpoint of a three-dimensional lattice.
///
/// Samples lie in memory with x fastest, then y, then z: element = (z * y_dim + y) * x_dim + x. On an axis
/// the coordinate of sample i is (i - (dim - 1) * 0.5) * spacing + mid, in Å, so mid is the centre of the
/// lattice. The order of the virtual operations is part of the interface.
class VXGRID_API VXGridAbstractBase : public VXBase {
 public:
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;
  VXGridAbstractBase* CreateCopy() const override = 0;

  virtual std::string GetTitle() const = 0;
  virtual bool SetTitle(const std::string& title) = 0;
  virtual float GetSpacing() const = 0;
  /// True when a caller gave the spacing.
  virtual bool IsSpacingSet() const = 0;
  /// The number of samples (of one field).
  virtual unsigned int GetSize() const = 0;
  /// The dimensions; false for an empty lattice, one with a dimension of 0.
  virtual bool GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const = 0;
  virtual unsigned int GetXDim() const = 0;
  virtual unsigned int GetYDim() const = 0;
  virtual unsigned int GetZDim() const = 0;
  virtual bool GetMid(float& x, float& y, float& z) const = 0;
  virtual float GetXMid() const = 0;
  virtual float GetYMid() const = 0;
  virtual float GetZMid() const = 0;

 protected:
  VXGridAbstractBase() = default;
  VXGridAbstractBase(const VXGridAbstractBase&) = default;
  VXGridAbstractBase& operator=(const VXGridAbstractBase&) = default;
};

/// Holds the geometry of a lattice. A default one has one sample per axis, midpoint 0 and spacing 1, none of
/// which counts as set.
///
/// A setter that gives false leaves the grid as it was:
///   SetSpacing   refuses what is not a finite number above 0
///   SetDim       refuses more than 2147483647 samples (with one Warning) and any dimension above that; a
///                dimension of 0 makes an empty lattice
///   SetMid       takes any number, not-a-number included
/// Every accepted change of dimensions, to the same ones too, reallocates, which zeroes the values. When
/// memory runs out the exception leaves the grid as it was.
class VXGRID_API VXGridBase : public VXGridAbstractBase {
 public:
  const void* GetDataType() const override;
  bool IsDataType(const void* type) const override;

  std::string GetTitle() const override;
  bool SetTitle(const std::string& title) override;
  float GetSpacing() const override;
  bool IsSpacingSet() const override;
  unsigned int GetSize() const override;
  bool GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const override;
  unsigned int GetXDim() const override;
  unsigned int GetYDim() const override;
  unsigned int GetZDim() const override;
  bool GetMid(float& x, float& y, float& z) const override;
  float GetXMid() const override;
  float GetYMid() const override;
  float GetZMid() const override;

  /// True when the title is not empty.
  virtual bool IsTitleSet() const;
  /// True when a caller gave the coordinate.
  virtual bool IsXMidSet() const;
  virtual bool IsYMidSet() const;
  virtual bool IsZMidSet() const;

 protected:
  virtual bool SetSpacing(float spacing);
  virtual bool SetMid(float x, float y, float z);
  virtual bool SetXMid(float x);
  virtual bool SetYMid(float y);
  virtual bool SetZMid(float z);
  virtual bool SetDim(unsigned int x, unsigned int y, unsigned int z);
  virtual bool SetXDim(unsigned int x);
  virtual bool SetYDim(unsigned int y);
  virtual bool SetZDim(unsigned int z);

 public:
  /// Makes room for GetSize() values, all 0. Nothing to do for a grid that owns no values.
  virtual void Realloc();

  /// The nearest sample of a coordinate; half-way between two it is the upper one. Coordinates outside the
  /// lattice, infinite ones too, give the first or the last sample, and not-a-number the first.
  unsigned int GetXIdx(float x) const {
    return NearestIdx(x, lattice_.x_mid, lattice_.x_min, lattice_.x_dim);
  }
  unsigned int GetYIdx(float y) const {
    return NearestIdx(y, lattice_.y_mid, lattice_.y_min, lattice_.y_dim);
  }
  unsigned int GetZIdx(float z) const {
    return NearestIdx(z, lattice_.z_mid, lattice_.z_min, lattice_.z_dim);
  }

 protected:
  VXGridBase() = default;
  VXGridBase(const VXGridBase&) = default;
  VXGridBase& operator=(const VXGridBase&) = default;

  /// Back to a default grid: attributes, title, geometry and flags; then Realloc.
  void Clear() override;
  /// Sets the whole geometry as given, for constructors, and marks midpoint and spacing as set. Does not
  /// reallocate. Dimensions that SetDim would refuse become 1, with a Warning and false.
  bool InitGeometry(long x, long y, long z, const float* mid, float spacing);
  /// Makes the lattice one without samples; the owner of the values sees to them.
  void SetEmpty();
  /// Exchanges attributes, title and geometry.
  void SwapGeometry(VXGridBase& other) noexcept;

 private:
  struct Lattice {
    unsigned int x_dim = 1, y_dim = 1, z_dim = 1;
    float x_mid = 0.0f, y_mid = 0.0f, z_mid = 0.0f;
    float spacing = 1.0f;
    float inverse_spacing = 1.0f;
    bool x_mid_set = false, y_mid_set = false, z_mid_set = false, spacing_set = false;
    float x_min = 0.0f, y_min = 0.0f, z_min = 0.0f;  // the first samples, for NearestIdx
    unsigned int size = 1;

    void Update();
  };

  unsigned int NearestIdx(float c, float mid, float lower, unsigned int dim) const {
    if (!(c > lower)) return 0;
    const float t = (c - mid) * lattice_.inverse_spacing + static_cast<float>(dim) * 0.5f;
    if (!(t > 0.0f) || dim == 0) return 0;
    return t < static_cast<float>(dim) ? static_cast<unsigned int>(t) : dim - 1;
  }

  std::string title_;
  Lattice lattice_;
};

/// The number of samples x * y * z, or 0, with a Warning, when x * y or the whole exceeds 2147483647: that is
/// what index arithmetic in 32 bits can reach. A factor of 0 gives 0 silently. Negative numbers that come in
/// through the unsigned arguments count as too large.
VXGRID_API int VXGridSizeMultiply(unsigned long x, unsigned long y, unsigned long z);

/// True when dimensions, midpoint and spacing are the same, exactly. A float that is not-a-number on either
/// side counts as the same: it is neither less nor greater.
template <class A, class B>
bool VXGridSameGeometry(const A& a, const B& b) {
  const auto same = [](float p, float q) { return !(p < q) && !(p > q); };
  return a.GetXDim() == b.GetXDim() && a.GetYDim() == b.GetYDim() && a.GetZDim() == b.GetZDim() &&
         same(a.GetXMid(), b.GetXMid()) && same(a.GetYMid(), b.GetYMid()) && same(a.GetZMid(), b.GetZMid()) &&
         same(a.GetSpacing(), b.GetSpacing());
}

/// Gives `dst` the spacing, the dimensions and then the midpoint of `src`, and stops at the first setter that
/// fails. Does nothing when the geometry is the same already, so the values then stay. Titles are not copied.
template <class A, class B>
bool VXGridCopyGeometry(A& dst, const B& src) {
  if (VXGridSameGeometry(dst, src)) return true;
  return dst.SetSpacing(src.GetSpacing()) && dst.SetDim(src.GetXDim(), src.GetYDim(), src.GetZDim()) &&
         dst.SetMid(src.GetXMid(), src.GetYMid(), src.GetZMid());
}

}  // namespace VXCore
