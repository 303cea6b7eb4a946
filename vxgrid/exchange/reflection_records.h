#pragma once

#include <vxgrid/host/binary_records.h>
#include <vxgrid/reflection/reflection.h>

namespace VXCore {

// Reflection sets as native records: a record "VXReflection" that holds one of the set's plain attributes and
// one of the set in its native form (VXWriteReflectionVXX).

/// Writes the record "VXVXBReflection". Always true; nothing is written when the native form cannot be made.
class VXGRID_API VXReflectionWriteFxn : public VXWriteFxn<VXReflection> {
 public:
  const char* GetTag() const override;
  VXReflectionWriteFxn* CreateCopy() const override;
  bool operator()(vxostream& out, const VXReflection& set, const VXBinaryIOHandlerBase& handler) override;
};

/// Reads it, with the status of VXReadReflectionVXX; 0, and nothing read, for a length of 0. Attributes of
/// the set stay.
class VXGRID_API VXReflectionReadFxn : public VXReadFxn<VXReflection> {
 public:
  const char* GetTag() const override;
  VXReflectionReadFxn* CreateCopy() const override;
  unsigned int operator()(vxistream& in, VXReflection& set, unsigned long length,
                          const VXBinaryIOHandlerBase& handler) override;
};

/// Writes the plain attributes (VXBWritePOD) as the record "VXBasePOD".
class VXGRID_API VXReflectionPODWriteFxn : public VXWriteFxn<VXReflection> {
 public:
  const char* GetTag() const override;
  VXReflectionPODWriteFxn* CreateCopy() const override;
  bool operator()(vxostream& out, const VXReflection& set, const VXBinaryIOHandlerBase& handler) override;
};

/// Makes sets known to a handler: VXBinaryWrite writes "VXReflection" records, VXBinaryRead takes these and
/// the compressed "VXReflection.gz". Streams do not know them unless this is called.
VXGRID_API bool VXInitReflectionHandlers(VXBinaryIOHandler& handler);

}  // namespace VXCore
