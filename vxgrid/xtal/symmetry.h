#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <vxgrid/host/export.h>
#include <vxgrid/xtal/unit_cell.h>

namespace VXCore {
namespace VXXtal {

/// The state of a VXSymmetry: a cell, one row of `sglib` and a flag per operator.
///
/// Empty: number 0, no error. Failed: number 0, error "Unknown spacegroup number". Valid: number not 0; the
/// error may then hold a warning about the cell.
class VXGRID_API VXSymmetryImpl {
 public:
  VXSymmetryImpl() = default;
  VXSymmetryImpl(unsigned int number, const VXUnitCell& cell);
  VXSymmetryImpl(const std::string& name, const VXUnitCell& cell);

  /// Binds a row of `sglib` to a cell. A row that is not there gives the failed state and one Error; a cell
  /// that does not fit the group gives one Warning and is taken all the same.
  void init(int row, const VXUnitCell& cell);
  /// Whether the cell fits the crystal system of the row; the error text says why not. Angles are compared
  /// exactly, edges within 0.005 Angstrom.
  bool validate(int row);

  explicit operator bool() const { return number_ != 0; }
  bool HasWarnings() const { return !error_.empty(); }
  std::string GetError() const { return error_; }
  unsigned int GetNumber() const { return number_; }
  std::string GetName() const { return name_; }
  unsigned int GetOpCount() const { return op_count_; }
  const float* GetMatrices() const { return matrices_; }
  VXUnitCell& cell() { return cell_; }
  const VXUnitCell& cell() const { return cell_; }
  bool GetEnabled(std::vector<bool>& flags) const;
  bool SetEnabled(const std::vector<bool>& flags);
  bool CartesianToFractional(float* xyz, unsigned int count, unsigned int op, bool wrap) const;
  bool FractionalToCartesian(float* xyz, unsigned int count, unsigned int op, bool wrap) const;

  /// The Cartesian-to-Cartesian matrix of an image of the crystal, 16 floats in the layout of SGRecord:
  /// operator `op`, then the lattice translation (i, j, k). With a `center` (Cartesian) the operator's
  /// translation is first shifted so that the image of the center lies in the home cell. False for an
  /// operator out of range.
  bool GetMatrix(float* out, unsigned int op, int i, int j, int k, const float* center) const;

 private:
  VXUnitCell cell_;
  std::uint32_t number_ = 0;
  std::string name_;
  std::uint32_t op_count_ = 0;
  const float* matrices_ = nullptr;  // in sglib
  std::vector<bool> enabled_;
  std::string error_;
};

/// A space group bound to a cell: a handle that owns its state and copies it deeply.
class VXGRID_API VXSymmetry {
 public:
  /// No group, and a cell of six zeros.
  VXSymmetry();
  VXSymmetry(unsigned int number, const VXUnitCell& cell);
  VXSymmetry(const std::string& name, const VXUnitCell& cell);
  VXSymmetry(const VXSymmetry& other);
  VXSymmetry& operator=(const VXSymmetry& other);
  ~VXSymmetry();

  /// Whether there is a group.
  explicit operator bool() const;
  bool HasWarnings() const;
  /// The last failure or warning, empty when all is well.
  std::string GetError() const;
  unsigned int GetNumber() const;
  /// The long name of the group when it has at most ten characters, else the short one.
  std::string GetName() const;
  unsigned int GetOpCount() const;
  /// The first operator, 16 floats each in the layout of SGRecord; null without a group.
  const float* GetMatrices() const;
  /// The cell. A change is not validated again, and needs build_matrices() to reach the conversions.
  VXUnitCell& cell();
  const VXUnitCell& cell() const;
  VXSymmetryImpl* GetImpl();
  const VXSymmetryImpl* GetImpl() const;

  /// Copies the flag of each operator; true.
  bool GetEnabled(std::vector<bool>& flags) const;
  /// False, with nothing changed, unless there is one flag per operator.
  bool SetEnabled(const std::vector<bool>& flags);

  /// Replaces `count` Cartesian positions, three floats each, by their fractions of the cell edges, moved by
  /// operator `op`; with `wrap` brought into [0, 1). False for an operator out of range.
  bool CartesianToFractional(float* xyz, unsigned int count, unsigned int op, bool wrap) const;

  /// Replaces `count` fractional positions, with `wrap` first brought into [0, 1), by their Cartesian ones.
  /// The cell's matrix is applied first and operator `op` second, on the Cartesian numbers: only operator 0
  /// gives the position of a symmetry mate. That order is intended. False for an operator out of range.
  bool FractionalToCartesian(float* xyz, unsigned int count, unsigned int op, bool wrap) const;

 private:
  std::unique_ptr<VXSymmetryImpl> impl_;
};

}  // namespace VXXtal
}  // namespace VXCore
