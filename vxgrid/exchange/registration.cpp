#include <vxgrid/exchange/grid_field.h>
#include <vxgrid/exchange/grid_json.h>
#include <vxgrid/exchange/grid_records.h>
#include <vxgrid/host/version.h>

namespace VXCore {
namespace {

// What the library makes known when it is loaded, in an order that is part of the interface: field types of
// records, native records, JSON documents, and last its version.
[[maybe_unused]] const bool registered = [] {
  auto& field_types = VXRecordKit::VXFieldTypeHandlerRegistry::GetInstance();
  field_types.RegisterHandler(VXRecordKit::VXInitGridFieldHandler(), 0);
  field_types.RegisterHandler(VXRecordKit::VXInitGridVecFieldHandler(), 0);
  field_types.RegisterHandler(VXRecordKit::VXInitSkewGridFieldHandler(), 0);
  field_types.RegisterHandler(VXRecordKit::VXInitSkewGridVecFieldHandler(), 0);
  VXRegisterVXBInitializer(VXInitGridHandlers);
  VXRegisterJSONHandler(VXInitSkewGridJSONHandler());
  VXRegisterJSONHandler(VXInitScalarGridJSONHandler());
  VXHost::VXRegisterVersion("vxgrid", VXGridGetVersion);
  return true;
}();

}  // namespace
}  // namespace VXCore
