#include <vxgrid/exchange/gaussian_records.h>

#include <cstring>

namespace VXCore {
namespace {

constexpr char kGaussianTag[] = "VXGaussian";
constexpr char kContainerTag[] = "VXGaussianCont";

constexpr unsigned char kFourBytes = 0x01;
constexpr unsigned char kKindBits = 0x1f;
constexpr unsigned char kBigEndian = 0x80;
constexpr unsigned char kOwnOrder = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? kBigEndian : 0;

template <class T>
bool write_scalar(vxostream& out, T value) {
  unsigned char bytes[5] = {kFourBytes | kOwnOrder};
  std::memcpy(bytes + 1, &value, 4);
  return !out.write(bytes, sizeof bytes).fail();
}

template <class T>
unsigned int read_scalar(vxistream& in, T& value) {
  const int type = in.getbyte();
  if (type < 0) return VXBRecordShort;
  if ((type & kKindBits) != kFourBytes) return VXBNoMemory;
  return VXBReadData(in, value, (type & kBigEndian) != kOwnOrder) ? VXBDone : VXBRecordShort;
}

}  // namespace

const char* VXGaussianWriteFxn::GetTag() const { return kGaussianTag; }
VXGaussianWriteFxn* VXGaussianWriteFxn::CreateCopy() const { return new VXGaussianWriteFxn; }

bool VXGaussianWriteFxn::operator()(vxostream& out, const VXGaussianBase& gaussian,
                                    const VXBinaryIOHandlerBase& handler) {
  vxgatherstream data;
  return write_scalar(data, gaussian.GetPrefactor()) && write_scalar(data, gaussian.GetWidth()) &&
         write_scalar(data, gaussian.GetColor()) && write_scalar(data, gaussian.GetX()) &&
         write_scalar(data, gaussian.GetY()) && write_scalar(data, gaussian.GetZ()) &&
         VXBinaryWrite<VXBase>(data, gaussian, handler) && VXBWriteRecord(out, GetTag(), data);
}

const char* VXGaussianReadFxn::GetTag() const { return kGaussianTag; }
VXGaussianReadFxn* VXGaussianReadFxn::CreateCopy() const { return new VXGaussianReadFxn; }

unsigned int VXGaussianReadFxn::operator()(vxistream& in, VXGaussianBase& gaussian, unsigned long length,
                                           const VXBinaryIOHandlerBase& handler) {
  vxsubstream data(in, length);
  if (!data.is_whole()) return VXBRecordShort;
  float prefactor, width, center[3];
  unsigned int color;
  unsigned int status = read_scalar(data, prefactor);
  if (status == VXBDone) status = read_scalar(data, width);
  if (status == VXBDone) status = read_scalar(data, color);
  for (float& coordinate : center)
    if (status == VXBDone) status = read_scalar(data, coordinate);
  if (status == VXBDone && data) status = VXBinaryRead<VXBase>(data, gaussian, handler);
  if (status != VXBDone) return status;
  gaussian.SetPrefactor(prefactor);
  gaussian.SetWidth(width);
  gaussian.SetColor(color);
  gaussian.SetX(center[0]);
  gaussian.SetY(center[1]);
  gaussian.SetZ(center[2]);
  return VXBDone;
}

const char* VXGaussianContainerWriteFxn::GetTag() const { return kContainerTag; }
VXGaussianContainerWriteFxn* VXGaussianContainerWriteFxn::CreateCopy() const {
  return new VXGaussianContainerWriteFxn;
}

bool VXGaussianContainerWriteFxn::operator()(vxostream& out, const VXGaussianContainerBase& gaussians,
                                             const VXBinaryIOHandlerBase& handler) {
  vxgatherstream data;
  if (!write_scalar(data, gaussians.NumGaussians())) return false;
  for (const VXGaussianBase& gaussian : VXIter<const VXGaussianBase>(gaussians.GetGaussians()))
    if (!VXBinaryWrite<VXGaussianBase>(data, gaussian, handler)) return false;
  return VXBinaryWrite<VXBase>(data, gaussians, handler) && VXBWriteRecord(out, GetTag(), data);
}

const char* VXGaussianContainerReadFxn::GetTag() const { return kContainerTag; }
VXGaussianContainerReadFxn* VXGaussianContainerReadFxn::CreateCopy() const {
  return new VXGaussianContainerReadFxn;
}

unsigned int VXGaussianContainerReadFxn::operator()(vxistream& in, VXGaussianContainerBase& gaussians,
                                                    unsigned long length,
                                                    const VXBinaryIOHandlerBase& handler) {
  vxsubstream data(in, length);
  if (!data.is_whole()) return VXBRecordShort;
  unsigned int count;
  unsigned int status = read_scalar(data, count);
  for (unsigned int i = 0; status == VXBDone && i < count; ++i) {
    VXGaussian gaussian;
    status = VXBinaryRead<VXGaussianBase>(data, gaussian, handler);
    if (status == VXBDone) gaussians.AddGaussian(gaussian);
  }
  if (status == VXBDone && data) status = VXBinaryRead<VXBase>(data, gaussians, handler);
  return status;
}

}  // namespace VXCore
