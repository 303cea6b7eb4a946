#pragma once

#include <string>
#include <utility>
#include <vector>

#include <vxgrid/host/export.h>

namespace VXHost {

/// Gives the version of a library as text.
using VXVersionFunction = const char* (*)();

/// Records a library's version function; a name that is there already gets the new one. libvxgrid registers
/// itself as "vxgrid" when it is loaded. Safe from any thread.
VXGRID_API void VXRegisterVersion(const char* library, VXVersionFunction version);

/// Name and version of every library registered, in the order of registration.
VXGRID_API std::vector<std::pair<std::string, std::string>> VXGetRegisteredVersions();

}  // namespace VXHost

namespace VXCore {

/// "0.1.0"
VXGRID_API const char* VXGridGetVersion();
/// The series that the version belongs to, within which programs need not be built anew: "0.1"
VXGRID_API const char* VXGridGetRelease();
/// The processor that the library was built for: "x86_64"
VXGRID_API const char* VXGridGetArch();
/// System, processor and compiler: "Linux-x86_64-GNU-12.2.0"
VXGRID_API const char* VXGridGetPlatform();
/// The settings of the build: "-DCMAKE_BUILD_TYPE=Release ..."
VXGRID_API const char* VXGridGetConfigureArgs();

}  // namespace VXCore
