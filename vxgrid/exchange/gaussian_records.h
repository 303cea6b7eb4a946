#pragma once

#include <vxgrid/gaussian/gaussian.h>
#include <vxgrid/gaussian/gaussian_container.h>
#include <vxgrid/host/binary_records.h>

namespace VXCore {

// Gaussians as native records. Each number is a type byte (1, with the high bit set by a big-endian writer)
// and four bytes. Readers give VXBRecordShort where the data end too early and VXBNoMemory for any other
// fault.

/// Prefactor, width, color, x, y, z; then the attributes. A record that fails leaves the six numbers alone.
class VXGRID_API VXGaussianWriteFxn : public VXWriteFxn<VXGaussianBase> {
 public:
  const char* GetTag() const override;
  VXGaussianWriteFxn* CreateCopy() const override;
  bool operator()(vxostream& out, const VXGaussianBase& gaussian,
                  const VXBinaryIOHandlerBase& handler) override;
};
class VXGRID_API VXGaussianReadFxn : public VXReadFxn<VXGaussianBase> {
 public:
  const char* GetTag() const override;
  VXGaussianReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXGaussianBase& gaussian, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};

/// The count, a record for each Gaussian, and the attributes. Reading appends to what the container holds;
/// when a Gaussian fails, those before it stay.
class VXGRID_API VXGaussianContainerWriteFxn : public VXWriteFxn<VXGaussianContainerBase> {
 public:
  const char* GetTag() const override;
  VXGaussianContainerWriteFxn* CreateCopy() const override;
  bool operator()(vxostream& out, const VXGaussianContainerBase& gaussians,
                  const VXBinaryIOHandlerBase& handler) override;
};
class VXGRID_API VXGaussianContainerReadFxn : public VXReadFxn<VXGaussianContainerBase> {
 public:
  const char* GetTag() const override;
  VXGaussianContainerReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXGaussianContainerBase& gaussians, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};

}  // namespace VXCore
