#include <vxgrid/exchange/grid_json.h>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/large_array.h>
#include <vxgrid/host/text.h>
#include <vxgrid/exchange/decimal_text.inl>

namespace VXCore {
namespace {

constexpr char kType[] = "grid";
constexpr char kVersion[] = "0.91";
constexpr int kGeometryScale = 100000;
constexpr int kValueScale = 100000000;

// Keys that are no attributes.
constexpr const char* vxgrid_xlist[] = {"center", "dimensions", "gridtype", "vxhint", "resolution",
                                        "title",  "type",       "unitcell", "values", "version"};
constexpr unsigned int kReserved = std::size(vxgrid_xlist);

constexpr const char* kGridTypes[] = {"Generic",    "Electrostatic", "Brek",
                                      "RegularMap", "DifferenceMap", "QK"};

const char* encodeGridType(unsigned int type) {
  if (type < std::size(kGridTypes)) return kGridTypes[type];
  VXThrow.Warning("JSON: encodeGridType: %d is not a valid value, ignored", static_cast<int>(type));
  return kGridTypes[VXGridTypeGeneric];
}

unsigned int decodeGridType(const std::string& text) {
  const auto found = std::find(std::begin(kGridTypes), std::end(kGridTypes), text);
  if (found != std::end(kGridTypes)) return static_cast<unsigned int>(found - kGridTypes);
  VXThrow.Warning("JSON: decodeGridType: %s is not a valid value, ignored", text.c_str());
  return VXGridTypeGeneric;
}

// --- writing ---

const float* values_of(const VXScalarGrid& grid) { return grid.GetValues(); }
const float* values_of(const VXSkewGrid& grid) { return grid.GetImpl().GetImpl().GetFloats().GetValues(); }

void write_string(VXJSONWriter& writer, const std::string& text) {
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void write_numbers(VXJSONWriter& writer, const char* key, const float* numbers, std::size_t n, int scale) {
  writer.Key(key);
  writer.StartArray();
  for (std::size_t i = 0; i < n; ++i) writer.Double(VXTruncate(static_cast<double>(numbers[i]), scale));
  writer.EndArray();
}

// The same text as write_numbers with kValueScale, straight into the buffer of the writer where that is
// known. The writer sets the commas before the values that it writes itself, since the first is one of them.
void write_values(VXJSONWriter& writer, const float* values, std::size_t n, rapidjson::StringBuffer* buffer) {
  if (!buffer) return write_numbers(writer, "values", values, n, kValueScale);
  writer.Key("values");
  writer.StartArray();
  for (std::size_t i = 0; i < n; ++i) {
    char* const text = buffer->Push(1 + kDecimalTextSize);
    *text = ',';
    char* const end = i ? print_eight_decimals(values[i], text + 1) : nullptr;
    buffer->Pop(1 + kDecimalTextSize - (end ? end - text : 0));
    if (!end) writer.Double(VXTruncate(static_cast<double>(values[i]), kValueScale));
  }
  writer.EndArray();
}

void write_unit_cell(VXJSONWriter&, const VXScalarGrid&) {}
void write_unit_cell(VXJSONWriter& writer, const VXSkewGrid& grid) {
  float cell[6];
  grid.GetUnitCell(cell[0], cell[1], cell[2], cell[3], cell[4], cell[5]);
  write_numbers(writer, "unitcell", cell, 6, kGeometryScale);
}

template <class Grid>
void genGridParts(VXJSONWriter& writer, const Grid& grid, unsigned int flags,
                  rapidjson::StringBuffer* buffer = nullptr) {
  writer.Key("version");
  writer.String(kVersion);
  write_unit_cell(writer, grid);
  if (grid.IsTitleSet()) {
    writer.Key("title");
    write_string(writer, flags & VXJSONFlagEscapeTitle ? VXEscapeJSON(grid.GetTitle()) : grid.GetTitle());
  }
  if (grid.GetType() != VXGridTypeGeneric) {
    writer.Key("gridtype");
    writer.String(encodeGridType(grid.GetType()));
  }
  const float mid[] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
  write_numbers(writer, "center", mid, 3, kGeometryScale);
  writer.Key("dimensions");
  writer.StartArray();
  for (const unsigned int dim : {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()}) writer.Uint(dim);
  writer.EndArray();
  writer.Key("resolution");
  writer.Double(VXTruncate(static_cast<double>(grid.GetSpacing()), kGeometryScale));
  write_values(writer, values_of(grid), grid.GetSize(), buffer);
  if (flags & VXJSONFlagBaseData) VXGenBaseDataJSON(writer, grid, vxgrid_xlist, kReserved, flags);
}

template <class Grid>
void write_document(VXJSONWriter& writer, const Grid& grid, unsigned int flags,
                    rapidjson::StringBuffer* buffer = nullptr) {
  writer.StartObject();
  writer.Key("type");
  writer.String(kType);
  genGridParts(writer, grid, flags, buffer);
  writer.EndObject();
}

template <class Grid>
std::string document_text(const Grid& grid, unsigned int flags) {
  rapidjson::StringBuffer buffer;
  VXJSONWriter writer(buffer);
  write_document(writer, grid, flags, &buffer);
  return {buffer.GetString(), buffer.GetSize()};
}

// --- reading ---

const VXJSONValue* array_of_size(const VXJSONValue& value, const char* key, double size) {
  const auto array = GetJSONArrayAttr(value, key, true);
  if (array.error || array.value->Size() == size) return array.value;
  VXThrow.Error("grid.%s must be an array of size %.0f, got %u instead", key, size, array.value->Size());
  return nullptr;
}

bool read_numbers(const VXJSONValue& array, const char* key, float* out) {
  for (unsigned int i = 0; i < array.Size(); ++i) {
    if (!array[i].IsNumber()) {
      VXThrow.Error("grid.%s[%d] must be a number", key, static_cast<int>(i));
      return false;
    }
    out[i] = static_cast<float>(array[i].GetDouble());
  }
  return true;
}

bool ReadDoubleArray(const VXJSONValue& value, const char* key, float* out, unsigned int size) {
  const VXJSONValue* const array = array_of_size(value, key, size);
  return array && read_numbers(*array, key, out);
}

bool ReadUIntArray(const VXJSONValue& value, unsigned int (&out)[3]) {
  constexpr char kKey[] = "dimensions";
  const auto array = GetJSONArrayAttr(value, kKey, true);
  if (array.error) return false;
  if (array.value->Size() != std::size(out)) {
    VXThrow.Error("grid.%s must be an array of size %d", kKey, static_cast<int>(std::size(out)));
    return false;
  }
  for (unsigned int i = 0; i < std::size(out); ++i) {
    const VXJSONValue& element = (*array.value)[i];
    if (!element.IsUint()) {
      VXThrow.Error("grid.%s[%d] must be an unsigned integer", kKey, static_cast<int>(i));
      return false;
    }
    out[i] = element.GetUint();
  }
  return true;
}

// Title and type stay when a later key fails.
template <class Grid>
bool parseGrid(Grid& grid, const VXJSONValue& value, bool base_data) {
  const auto version = GetJSONStringAttr(value, "version", true);
  if (version.error || !compatibleJSONVersion(version.value)) return false;
  const auto title = GetJSONStringAttr(value, "title", false);
  if (title.error) return false;
  if (title.found) grid.SetTitle(title.value);
  const auto type = GetJSONStringAttr(value, "gridtype", false);
  if (type.error) return false;
  if (type.found) grid.SetType(decodeGridType(type.value));
  const auto spacing = GetJSONDoubleAttr(value, "resolution", true);
  if (spacing.error) return false;
  float mid[3];
  unsigned int dim[3];
  if (!ReadDoubleArray(value, "center", mid, 3) || !ReadUIntArray(value, dim)) return false;

  // Memory is taken when as many values are there; so many fit into 32 bits.
  const VXJSONValue* const listed = array_of_size(value, "values", 1.0 * dim[0] * dim[1] * dim[2]);
  if (!listed) return false;
  const unsigned int n = listed->Size();
  VXHost::VXLargeArray<float> values(n + std::size_t{1}, VXHost::VXLargeArray<float>::Uninitialised);
  if (!read_numbers(*listed, "values", values.data())) return false;
  if (!grid.SetMid(mid[0], mid[1], mid[2]) || !grid.SetDim(dim[0], dim[1], dim[2])) return false;
  if (!grid.SetSpacing(static_cast<float>(spacing.value))) {
    VXThrow.Warning("JSON: \"resolution\" %g is no spacing", spacing.value);
    return false;
  }
  if (!grid.SetValues(values.data(), n)) return false;
  return !base_data || VXParseBaseDataJSON(grid, value, vxgrid_xlist, kReserved);
}

// The grid's gamma is given the value of beta; the sixth number goes unused.
bool read_unit_cell(VXScalarGrid&, const VXJSONValue&) { return true; }
bool read_unit_cell(VXSkewGrid& grid, const VXJSONValue& value) {
  float cell[6];
  return ReadDoubleArray(value, "unitcell", cell, 6) &&
         grid.SetUnitCell(cell[0], cell[1], cell[2], cell[3], cell[4], cell[4], grid.GetXDim(),
                          grid.GetYDim(), grid.GetZDim());
}

template <class Grid>
bool parse_whole(Grid& grid, const VXJSONValue& value) {
  return parseGrid(grid, value, true) && read_unit_cell(grid, value);
}

// Whether the document is of the right kind, which the key "unitcell" decides.
bool is_kind_of(const VXScalarGrid&, const VXJSONValue& value) {
  const auto cell = GetJSONArrayAttr(value, "unitcell", false);
  if (cell.found && !cell.error) VXThrow.Warning("JSON: Object not a scalargrid, has a unitcell key");
  return !cell.found;
}
bool is_kind_of(const VXSkewGrid&, const VXJSONValue& value) {
  return !GetJSONArrayAttr(value, "unitcell", true).error;
}

template <class Grid>
bool parse_document(Grid& grid, const std::string& text) {
  VXJSONDocument document;
  if (!JSONParseHelper(document, text)) return false;
  const auto type = GetJSONStringAttr(document, "type", true);
  if (type.error) return false;
  if (type.value != kType) {
    VXThrow.Warning("JSON: Top level document must be \"type\":\"%s\"", kType);
    return false;
  }
  if (!is_kind_of(grid, document)) return false;
  grid.Clear();
  return parse_whole(grid, document);
}

// --- handlers ---

template <class Grid>
class GridJSONHandler : public VXJSONHandlerBase {
 public:
  void Write(VXJSONWriter& writer, const VXBaseData& attribute, unsigned int flags) final {
    write_document(writer, static_cast<const VXBaseDataT<Grid>&>(attribute).value, flags);
  }
  void VWrite(VXJSONWriter& writer, const VXBaseData& attribute, unsigned int flags) final {
    writer.StartArray();
    for (const Grid& grid : static_cast<const VXBaseDataT<std::vector<Grid>>&>(attribute).value)
      write_document(writer, grid, flags);
    writer.EndArray();
  }
  const void* GetDataType() const final { return VXGetDataType<Grid>(); }
  const void* GetVDataType() const final { return VXGetDataType<std::vector<Grid>>(); }
  unsigned int GetFlavor() const final { return 17303; }  // attributes, titles as they are
};

template <class Grid>
bool attach(VXBase& object, unsigned int tag, const VXJSONValue& value) {
  Grid grid;
  return parse_whole(grid, value) && object.SetData<Grid>(tag, grid);
}

template <class Grid>
bool attach_each(VXBase& object, unsigned int tag, const VXJSONValue& array) {
  bool is_first = true;
  for (const VXJSONValue& value : array.GetArray()) {
    Grid grid;
    if (!parse_whole(grid, value)) return false;
    if (!(is_first ? object.SetData<Grid>(tag, grid) : object.AddData<Grid>(tag, grid))) return false;
    is_first = false;
  }
  return true;
}

template <class Grid>
bool attach_vector(VXBase& object, unsigned int tag, const VXJSONValue& array) {
  std::vector<Grid> grids;
  grids.reserve(array.Size());
  for (const VXJSONValue& value : array.GetArray()) {
    grids.emplace_back();
    if (!parse_whole(grids.back(), value)) return false;
  }
  return object.SetData(tag, grids);
}

class VXSkewGridJSONHandler final : public GridJSONHandler<VXSkewGrid> {
 public:
  bool Read(VXBase& object, unsigned int tag, const VXJSONValue& value) override {
    const auto cell = GetJSONArrayAttr(value, "unitcell", false);
    if (cell.error) return false;
    return cell.found ? attach<VXSkewGrid>(object, tag, value) : attach<VXScalarGrid>(object, tag, value);
  }

  // The first element decides the kind of all.
  bool VRead(VXBase& object, unsigned int tag, const VXJSONValue& value, bool add) override {
    if (!value.IsArray()) {
      VXThrow.Error("JSON: an array of grids is expected");
      return false;
    }
    if (value.Empty()) return true;
    const auto cell = GetJSONArrayAttr(value[0], "unitcell", false);
    if (cell.error) return false;
    if (cell.found)
      return add ? attach_each<VXSkewGrid>(object, tag, value)
                 : attach_vector<VXSkewGrid>(object, tag, value);
    return add ? attach_each<VXScalarGrid>(object, tag, value)
               : attach_vector<VXScalarGrid>(object, tag, value);
  }

  const char* GetJsonType() const override { return kType; }
};

// Writes only: what it wrote has type "grid", which the skew handler reads.
class VXScalarGridJSONHandler final : public GridJSONHandler<VXScalarGrid> {
 public:
  bool Read(VXBase&, unsigned int, const VXJSONValue&) override {
    VXThrow.Warning("JSON: Internal error, scalargrid Read handler called");
    return false;
  }
  bool VRead(VXBase&, unsigned int, const VXJSONValue&, bool) override {
    VXThrow.Warning("JSON: Internal error, scalargrid VRead handler called");
    return false;
  }
  const char* GetJsonType() const override { return "unused_grid"; }
};

}  // namespace

std::string VXGridToJSON(const VXScalarGrid& grid, unsigned int flags) { return document_text(grid, flags); }
std::string VXGridToJSON(const VXSkewGrid& grid, unsigned int flags) { return document_text(grid, flags); }

bool VXJSONToGrid(VXScalarGrid& grid, const std::string& text) { return parse_document(grid, text); }
bool VXJSONToGrid(VXSkewGrid& grid, const std::string& text) { return parse_document(grid, text); }

void VXGenGridJSON(VXJSONWriter& writer, const VXScalarGrid& grid, unsigned int flags) {
  genGridParts(writer, grid, flags);
}
void VXGenGridJSON(VXJSONWriter& writer, const VXSkewGrid& grid, unsigned int flags) {
  genGridParts(writer, grid, flags);
}

bool VXParseGridJSON(VXScalarGrid& grid, const VXJSONValue& value, bool base_data) {
  return parseGrid(grid, value, base_data);
}
bool VXParseGridJSON(VXSkewGrid& grid, const VXJSONValue& value, bool base_data) {
  return parseGrid(grid, value, base_data);
}

VXJSONHandlerBase* VXInitSkewGridJSONHandler() { return new VXSkewGridJSONHandler; }
VXJSONHandlerBase* VXInitScalarGridJSONHandler() { return new VXScalarGridJSONHandler; }

}  // namespace VXCore
