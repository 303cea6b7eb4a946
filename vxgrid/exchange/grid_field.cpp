#include <vxgrid/exchange/grid_field.h>

#include <new>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <vxgrid/exchange/grid_json.h>
#include <vxgrid/formats/gridio.h>
#include <vxgrid/grid/grid_format.h>

namespace VXRecordKit {
namespace {

using VXCore::VXScalarGrid;
using VXCore::VXSkewGrid;

constexpr unsigned int kJSONFlags = 17303;
static_assert((kJSONFlags & VXCore::VXJSONFlagBaseData) && !(kJSONFlags & VXCore::VXJSONFlagEscapeTitle));

template <class T>
struct Names;
template <>
struct Names<VXScalarGrid> {
  static constexpr const char *kGrid = "Chem.Grid", *kGrids = "Chem.GridVec", *kFormat = "<VXScalarGrid>";
};
template <>
struct Names<VXSkewGrid> {
  static constexpr const char *kGrid = "Chem.SkewGrid", *kGrids = "Chem.SkewGridVec",
                              *kFormat = "<VXSkewGrid>";
};

template <class T>
bool read_grid(T& grid, const VXBlob& blob) {
  if (blob.size == 0) return false;
  VXHost::vxisstream in;
  in.set(reinterpret_cast<char*>(const_cast<unsigned char*>(blob.bytes)), blob.size, false);
  return VXCore::VXReadGrid(in, grid, VXCore::VXGridFormatGRD);
}

template <class T>
void write_element(VXWriteBuffer& out, const T& grid) {
  const VXBytes bytes = VXFieldType<T>::ToBytes(grid);
  if (bytes.empty())
    out.WriteNoneBlob();
  else
    out.WriteBlob(bytes);
}

template <class T>
void write_element(VXWriteBuffer& out, const VXOptional<T>& grid) {
  if (grid)
    write_element(out, *grid);
  else
    out.WriteNoneBlob();
}

template <class Element>
VXBytes to_bytes(const std::vector<Element>& grids) {
  VXWriteBuffer out;
  out.WriteInt(static_cast<int>(grids.size()));
  for (const Element& grid : grids) write_element(out, grid);
  return out.TakeBytes();
}

// Into a new element: one that holds nothing, or a default grid, when the grid cannot be read.
template <class T>
bool read_element(T& grid, const VXBlob& blob) {
  if (read_grid(grid, blob)) return true;
  grid = T();
  return false;
}
template <class T>
bool read_element(VXOptional<T>& grid, const VXBlob& blob) {
  grid.emplace();
  if (read_grid(*grid, blob)) return true;
  grid = VXOptional<T>();
  return false;
}

template <class Element>
bool from_bytes(std::vector<Element>& grids, const VXBytes& bytes) try {
  grids.clear();
  VXReadBuffer in(bytes);
  int count;
  if (!in.ReadInt(count)) return false;
  if (count < 1) return true;
  if (static_cast<std::size_t>(count) > in.GetBytesLeft() / VXReadBuffer::kBlobHead) return false;
  grids.reserve(static_cast<std::size_t>(count));  // growing would copy the grids
  bool all_read = true;
  VXBlob blob;
  for (int i = 0; i < count; ++i) {
    if (!in.ReadBlob(blob)) return false;
    grids.emplace_back();
    if (blob) all_read = read_element(grids.back(), blob) && all_read;
  }
  return all_read;
} catch (const std::bad_alloc&) {
  return false;
}

std::string format_count(std::size_t n) { return "[" + std::to_string(n) + (n == 1 ? " grid]" : " grids]"); }

template <class T>
bool set_value(VXRecord& record, const VXField<T>& field, const T& grid) {
  if (record.CheckField(field, 0) == VXFieldOtherType) record.DeleteField(field);
  if (const std::shared_ptr<T> cached = record.CheckCache(field, 0)) {
    *cached = grid;
    return record.MarkCacheDirty(field);
  }
  return record.AddToCache(field, std::make_shared<T>(grid));
}

}  // namespace

template <class T>
VXFieldType<T>::VXFieldType() : VXFieldTypeHandler(VXCore::VXGetDataType<T>()) {}

template <class T>
std::string VXFieldType<T>::BytesToJSON(const VXBytes& bytes) const {
  T grid;
  FromBytes(grid, bytes);
  return VXCore::VXGridToJSON(grid, kJSONFlags);
}

template <class T>
VXBytes VXFieldType<T>::JSONToBytes(const std::string& json) const {
  T grid;
  return VXCore::VXJSONToGrid(grid, json) ? ToBytes(grid) : VXBytes();
}

template <class T>
VXBytes VXFieldType<T>::PtrToBytes(const void* grid) const {
  return ToBytes(*static_cast<const T*>(grid));
}

template <class T>
const char* VXFieldType<T>::GetName() const {
  return Names<T>::kGrid;
}

template <class T>
bool VXFieldType<T>::IsCacheable() const {
  return true;
}

template <class T>
VXBytes VXFieldType<T>::ToBytes(const T& grid) {
  VXHost::vxosstream out;
  if (!VXCore::VXWriteGrid(out, grid, VXCore::VXGridFormatGRD)) return VXBytes();
  const std::string text = out.str();
  const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
  return VXBytes(bytes, bytes + text.size());
}

template <class T>
VXOptional<VXBytes> VXFieldType<T>::ToBytes(const VXOptional<T>& grid) {
  if (!grid) return VXOptional<VXBytes>();
  return ToBytes(*grid);
}

template <class T>
bool VXFieldType<T>::FromBytes(T& grid, const VXBytes& bytes) {
  return read_grid(grid, VXBlob{bytes.data(), bytes.size()});
}

template <class T>
std::string VXFieldType<T>::Format(const T&) {
  return Names<T>::kFormat;
}

template <class T>
VXVectorFieldType<T>::VXVectorFieldType() : VXFieldTypeHandler(VXCore::VXGetDataType<Grids>()) {}

template <class T>
std::string VXVectorFieldType<T>::BytesToJSON(const VXBytes& bytes) const {
  OptionalGrids grids;
  if (!FromBytes(grids, bytes)) return std::string();
  rapidjson::StringBuffer text;
  VXCore::VXJSONWriter writer(text);
  writer.StartArray();
  for (const VXOptional<T>& grid : grids) {
    if (!grid) {
      writer.Null();
      continue;
    }
    const std::string document = VXCore::VXGridToJSON(*grid, kJSONFlags);
    writer.RawValue(document.data(), document.size(), rapidjson::kObjectType);
  }
  writer.EndArray();
  return std::string(text.GetString(), text.GetSize());
}

// Each grid becomes bytes before the next is made: the text of a grid may be much shorter than what a default
// grid takes.
template <class T>
VXBytes VXVectorFieldType<T>::JSONToBytes(const std::string& json) const {
  VXCore::VXJSONDocument document;
  if (!VXCore::JSONParseHelper(document, json)) return VXBytes();
  const auto array = VXCore::GetJSONArrayAttr(document, "value", true);
  if (array.error) return VXBytes();
  VXWriteBuffer out;
  out.WriteInt(static_cast<int>(array.value->Size()));
  for (const VXCore::VXJSONValue& element : array.value->GetArray()) {
    rapidjson::StringBuffer text;
    VXCore::VXJSONWriter writer(text);
    element.Accept(writer);
    T grid;
    VXCore::VXJSONToGrid(grid, std::string(text.GetString(), text.GetSize()));
    write_element(out, grid);
  }
  return out.TakeBytes();
}

template <class T>
VXBytes VXVectorFieldType<T>::PtrToBytes(const void* grids) const {
  return ToBytes(*static_cast<const Grids*>(grids));
}

template <class T>
const char* VXVectorFieldType<T>::GetName() const {
  return Names<T>::kGrids;
}

template <class T>
bool VXVectorFieldType<T>::IsCacheable() const {
  return true;
}

template <class T>
VXBytes VXVectorFieldType<T>::ToBytes(const Grids& grids) {
  return to_bytes(grids);
}

template <class T>
VXBytes VXVectorFieldType<T>::ToBytes(const OptionalGrids& grids) {
  return to_bytes(grids);
}

template <class T>
VXOptional<VXBytes> VXVectorFieldType<T>::ToBytes(const VXOptional<Grids>& grids) {
  if (!grids) return VXOptional<VXBytes>();
  return to_bytes(*grids);
}

template <class T>
VXOptional<VXBytes> VXVectorFieldType<T>::ToBytes(const VXOptional<OptionalGrids>& grids) {
  if (!grids) return VXOptional<VXBytes>();
  return to_bytes(*grids);
}

template <class T>
bool VXVectorFieldType<T>::FromBytes(Grids& grids, const VXBytes& bytes) {
  return from_bytes(grids, bytes);
}

template <class T>
bool VXVectorFieldType<T>::FromBytes(OptionalGrids& grids, const VXBytes& bytes) {
  return from_bytes(grids, bytes);
}

template <class T>
std::string VXVectorFieldType<T>::Format(const Grids& grids) {
  return format_count(grids.size());
}

template <class T>
std::string VXVectorFieldType<T>::Format(const OptionalGrids& grids) {
  return format_count(grids.size());
}

template <class T>
std::shared_ptr<std::vector<T>> VXVectorFieldType<T>::GetCopyForCache(const Grids& grids) {
  return std::make_shared<Grids>(grids);
}

template <class T>
std::shared_ptr<std::vector<VXOptional<T>>> VXVectorFieldType<T>::GetCopyForCache(
    const OptionalGrids& grids) {
  return std::make_shared<OptionalGrids>(grids);
}

template class VXFieldType<VXScalarGrid>;
template class VXFieldType<VXSkewGrid>;
template class VXVectorFieldType<VXScalarGrid>;
template class VXVectorFieldType<VXSkewGrid>;

VXFieldTypeHandler* VXInitGridFieldHandler() { return new VXFieldType<VXScalarGrid>; }
VXFieldTypeHandler* VXInitGridVecFieldHandler() { return new VXVectorFieldType<VXScalarGrid>; }
VXFieldTypeHandler* VXInitSkewGridFieldHandler() { return new VXFieldType<VXSkewGrid>; }
VXFieldTypeHandler* VXInitSkewGridVecFieldHandler() { return new VXVectorFieldType<VXSkewGrid>; }

bool VXSetGridValue(VXRecord& record, const VXField<VXScalarGrid>& field, const VXScalarGrid& grid) {
  return set_value(record, field, grid);
}
bool VXSetGridValue(VXRecord& record, const VXField<VXSkewGrid>& field, const VXSkewGrid& grid) {
  return set_value(record, field, grid);
}

}  // namespace VXRecordKit
