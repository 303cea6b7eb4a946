#include <vxgrid/host/tracer.h>

namespace VXCore {

VXTracerBase::~VXTracerBase() = default;

bool VXTracerBase::Progress(unsigned int, unsigned int) { return true; }

}  // namespace VXCore
