#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

/// Receives the progress of long work. This one ignores it; derive to show it.
class VXGRID_API VXTracerBase {
 public:
  virtual ~VXTracerBase();
  /// `current` of `total` steps are about to be done. False asks to stop; callers that cannot stop ignore it.
  virtual bool Progress(unsigned int current, unsigned int total);
};

}  // namespace VXCore
