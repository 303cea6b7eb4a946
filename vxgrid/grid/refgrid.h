#pragma once

#include <string>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>

namespace VXCore {

/// A handle on a scalar or a skew grid that belongs to somebody else and must outlive it. On an empty handle
/// the operations answer 0, false, null or an empty text. The order of the virtual operations is part of the
/// interface.
class VXGRID_API VXRefGridPtr {
 public:
  VXRefGridPtr() = default;
  VXRefGridPtr(VXScalarGrid* grid);
  VXRefGridPtr(const VXScalarGrid* grid);
  VXRefGridPtr(VXSkewGrid* grid);
  VXRefGridPtr(const VXSkewGrid* grid);
  /// Sets the non-const pointers alone, when the object is a scalar or a skew grid: IsValid is false, the
  /// const getters are empty, while the conversions and the non-const GetValues, SetTitle, SetType and Clear
  /// reach the grid. That is meant: such a handle is for writing.
  VXRefGridPtr(VXBase* object);
  /// Sets the const pointers alone.
  VXRefGridPtr(const VXBase* object);
  VXRefGridPtr(const VXRefGridPtr&) = default;
  VXRefGridPtr& operator=(const VXRefGridPtr&) = default;
  virtual ~VXRefGridPtr();

  /// Clears the grid; the handle keeps pointing at it.
  virtual void Clear();
  virtual const void* GetDataType() const;
  virtual bool GetDim(unsigned int& x, unsigned int& y, unsigned int& z) const;
  virtual bool GetMid(float& x, float& y, float& z) const;
  virtual float GetXMid() const;
  virtual float GetYMid() const;
  virtual float GetZMid() const;
  virtual float GetSpacing() const;
  virtual std::string GetTitle() const;
  virtual unsigned int GetType() const;
  virtual float* GetValues();
  virtual const float* GetValues() const;
  virtual unsigned int GetXDim() const;
  virtual unsigned int GetYDim() const;
  virtual unsigned int GetZDim() const;
  virtual unsigned int GetSize() const;
  /// True for the handle's own id and for those that the grid accepts.
  virtual bool IsDataType(const void* type) const;
  virtual bool IsSkew() const;
  virtual bool IsValid() const;
  virtual bool SetTitle(const std::string& title);
  /// False for a code above 5 (VXGridType).
  virtual bool SetType(unsigned int type);
  virtual bool IsSpacingSet() const;

  /// Null where the handle was made from something else, or from a const grid in the non-const forms.
  operator VXBase*() const { return base_; }
  operator const VXBase*() const { return const_base_; }
  operator VXGridAbstractBase*() const { return base_; }
  operator const VXGridAbstractBase*() const { return const_base_; }
  operator VXScalarGrid*() const { return scalar_; }
  operator const VXScalarGrid*() const { return const_scalar_; }
  operator VXSkewGrid*() const { return skew_; }
  operator const VXSkewGrid*() const { return const_skew_; }

 private:
  VXGridAbstractBase* base_ = nullptr;
  const VXGridAbstractBase* const_base_ = nullptr;
  VXScalarGrid* scalar_ = nullptr;
  const VXScalarGrid* const_scalar_ = nullptr;
  VXSkewGrid* skew_ = nullptr;
  const VXSkewGrid* const_skew_ = nullptr;
};

}  // namespace VXCore
