#pragma once

#include <functional>
#include <string>

#include <vxgrid/host/export.h>

namespace VXHost {
class vxostream;
}

namespace VXCore {

/// Has `write` write a file, compressed for a name in ".gz". The bytes go beside the file, under a hidden
/// name, and are moved to its place when all of them are there: what stood there is lost only to a whole
/// file. A link stays a link; owner and permissions stay. What is no plain file (a pipe, a device) is
/// written where it stands, as is a file whose owner or folder does not allow another beside it.
///
/// False when `write` gives false, which may have said why, or, with a Warning, when the file cannot be
/// written or not all of it reached its place. A file that was not there before is not there then.
VXGRID_API bool VXReplaceFile(const std::string& file, const std::function<bool(VXHost::vxostream&)>& write);

}  // namespace VXCore
