#include <vxgrid/exchange/reflection_records.h>

#include <vxgrid/reflection/reflection_io.h>

namespace VXCore {
namespace {

constexpr char kTypeName[] = "VXReflection";
constexpr char kSetTag[] = "VXVXBReflection";
constexpr char kCompression[] = "gz";

}  // namespace

const char* VXReflectionWriteFxn::GetTag() const { return kSetTag; }
VXReflectionWriteFxn* VXReflectionWriteFxn::CreateCopy() const { return new VXReflectionWriteFxn; }

bool VXReflectionWriteFxn::operator()(vxostream& out, const VXReflection& set, const VXBinaryIOHandlerBase&) {
  vxgatherstream image;
  if (VXWriteReflectionVXX(image, set)) VXBWriteRecord(out, GetTag(), image);
  return true;
}

const char* VXReflectionReadFxn::GetTag() const { return kSetTag; }
VXReflectionReadFxn* VXReflectionReadFxn::CreateCopy() const { return new VXReflectionReadFxn; }

unsigned int VXReflectionReadFxn::operator()(vxistream& in, VXReflection& set, unsigned long length,
                                             const VXBinaryIOHandlerBase&) {
  if (length == 0) return VXBDone;
  vxsubstream data(in, length);
  return data.is_whole() ? VXReadReflectionVXX(data, set) : VXBRecordShort;
}

const char* VXReflectionPODWriteFxn::GetTag() const { return "VXBasePOD"; }
VXReflectionPODWriteFxn* VXReflectionPODWriteFxn::CreateCopy() const { return new VXReflectionPODWriteFxn; }

bool VXReflectionPODWriteFxn::operator()(vxostream& out, const VXReflection& set,
                                         const VXBinaryIOHandlerBase&) {
  return VXBWritePOD(out, set, GetTag());
}

bool VXInitReflectionHandlers(VXBinaryIOHandler& handler) {
  const VXReflectionPODWriteFxn attributes;
  const VXReflectionWriteFxn image;
  VXCollectWriteFxn<VXReflection> plain(kTypeName), compressed(kTypeName, kCompression);
  for (VXCollectWriteFxn<VXReflection>* group : {&plain, &compressed}) {
    group->Collect(attributes);
    group->Collect(image);
  }
  // The first write object of a class is the one that writes it.
  handler.AddReadFxn(VXGroupReadFxn<VXReflection>(kTypeName));
  handler.AddReadFxn(VXGroupReadFxn<VXReflection>(kTypeName, kCompression));
  handler.AddWriteFxn(plain);
  handler.AddWriteFxn(compressed);
  handler.AddWriteFxn(attributes);
  handler.AddWriteFxn(image);
  handler.AddReadFxn(VXReflectionReadFxn());
  return true;
}

}  // namespace VXCore
