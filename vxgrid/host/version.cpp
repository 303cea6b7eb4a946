#include <vxgrid/host/version.h>

#include <mutex>

namespace VXHost {
namespace {

struct Registry {
  std::mutex mutex;
  std::vector<std::pair<std::string, VXVersionFunction>> libraries;
};

Registry& registry() {
  static Registry* const made = new Registry;
  return *made;
}

}  // namespace

void VXRegisterVersion(const char* library, VXVersionFunction version) {
  if (!library || !version) return;
  Registry& all = registry();
  const std::lock_guard<std::mutex> lock(all.mutex);
  for (auto& [name, function] : all.libraries)
    if (name == library) {
      function = version;
      return;
    }
  all.libraries.emplace_back(library, version);
}

std::vector<std::pair<std::string, std::string>> VXGetRegisteredVersions() {
  Registry& all = registry();
  const std::lock_guard<std::mutex> lock(all.mutex);
  std::vector<std::pair<std::string, std::string>> versions;
  for (const auto& [name, function] : all.libraries) versions.emplace_back(name, function());
  return versions;
}

}  // namespace VXHost

namespace VXCore {

const char* VXGridGetVersion() { return VXGRID_BUILD_VERSION; }
const char* VXGridGetRelease() { return VXGRID_BUILD_RELEASE; }
const char* VXGridGetArch() { return VXGRID_BUILD_ARCH; }
const char* VXGridGetPlatform() { return VXGRID_BUILD_PLATFORM; }
const char* VXGridGetConfigureArgs() { return VXGRID_BUILD_ARGS; }

}  // namespace VXCore
