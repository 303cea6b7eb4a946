#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/json.h>

namespace VXCore {
namespace {

constexpr char kHintKey[] = "vxhint";
constexpr char kHandledHint[] = "object+";  // values of one handler that share a tag

using Attributes = std::vector<const VXBaseData*>;

struct Registry {
  std::mutex mutex;
  std::vector<std::unique_ptr<VXJSONHandlerBase>> handlers;
};

Registry& registry() {
  static Registry all;
  return all;
}

// The first handler that answers; handlers are never taken away.
template <class Predicate>
VXJSONHandlerBase* find_handler(Predicate is_it) {
  Registry& all = registry();
  const std::lock_guard<std::mutex> lock(all.mutex);
  for (const auto& handler : all.handlers)
    if (is_it(*handler)) return handler.get();
  return nullptr;
}

std::string_view text_of(const VXJSONValue& value) { return {value.GetString(), value.GetStringLength()}; }

VXJSONHandlerBase* handler_of_object(const VXJSONValue& value) {
  if (!value.IsObject()) return nullptr;
  const auto type = value.FindMember("type");
  if (type == value.MemberEnd() || !type->value.IsString()) return nullptr;
  const std::string_view name = text_of(type->value);
  return find_handler([&](const VXJSONHandlerBase& h) { return h.GetJsonType() == name; });
}

// --- values that JSON can hold without a handler ---

void write_value(VXJSONWriter& writer, bool value) { writer.Bool(value); }
void write_value(VXJSONWriter& writer, int value) { writer.Int(value); }
void write_value(VXJSONWriter& writer, unsigned int value) { writer.Uint(value); }
void write_value(VXJSONWriter& writer, long value) { writer.Int64(value); }
void write_value(VXJSONWriter& writer, unsigned long value) { writer.Uint64(value); }
void write_value(VXJSONWriter& writer, double value) { writer.Double(value); }
void write_value(VXJSONWriter& writer, float value) { writer.Double(static_cast<double>(value)); }
void write_value(VXJSONWriter& writer, const std::string& value) {
  writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
}
template <class List>
void write_value(VXJSONWriter& writer, const List& list) {
  writer.StartArray();
  for (const auto& element : list) write_value(writer, element);
  writer.EndArray();
}

template <class T, class Got>
bool take(bool fits, T& to, const VXJSONValue& value, Got (VXJSONValue::*get)() const) {
  if (fits) to = static_cast<T>((value.*get)());
  return fits;
}
bool read_value(const VXJSONValue& v, bool& to) { return take(v.IsBool(), to, v, &VXJSONValue::GetBool); }
bool read_value(const VXJSONValue& v, int& to) { return take(v.IsInt(), to, v, &VXJSONValue::GetInt); }
bool read_value(const VXJSONValue& v, unsigned int& to) {
  return take(v.IsUint(), to, v, &VXJSONValue::GetUint);
}
bool read_value(const VXJSONValue& v, long& to) { return take(v.IsInt64(), to, v, &VXJSONValue::GetInt64); }
bool read_value(const VXJSONValue& v, unsigned long& to) {
  return take(v.IsUint64(), to, v, &VXJSONValue::GetUint64);
}
bool read_value(const VXJSONValue& v, float& to) {
  return take(v.IsNumber(), to, v, &VXJSONValue::GetDouble);
}
bool read_value(const VXJSONValue& v, double& to) {
  return take(v.IsNumber(), to, v, &VXJSONValue::GetDouble);
}
bool read_value(const VXJSONValue& v, std::string& to) {
  if (v.IsString()) to.assign(v.GetString(), v.GetStringLength());
  return v.IsString();
}
template <class T>
bool read_value(const VXJSONValue& v, std::vector<T>& to) {
  if (!v.IsArray()) return false;
  to.reserve(v.Size());
  for (const auto& element : v.GetArray()) {
    T one{};
    if (!read_value(element, one)) return false;
    to.push_back(std::move(one));
  }
  return true;
}
template <class T, std::size_t N>
bool read_value(const VXJSONValue& v, std::array<T, N>& to) {
  if (!v.IsArray() || v.Size() != N) return false;
  return std::equal(v.Begin(), v.End(), to.begin(), [](const auto& e, T& one) { return read_value(e, one); });
}

// --- one row a type ---

struct PlainType {
  const char* hint;
  const void* data_type;
  bool tells_itself;  // read back as this type without a hint
  void (*write)(VXJSONWriter& writer, const VXBaseData& attribute);
  // Replaces a value, or adds a further one; `fits` says whether the JSON value was of this type.
  bool (*read)(VXBase& object, unsigned int tag, const VXJSONValue& value, bool add, bool& fits);
};

template <class T>
void write_plain(VXJSONWriter& writer, const VXBaseData& attribute) {
  write_value(writer, static_cast<const VXBaseDataT<T>&>(attribute).value);
}

template <class T>
bool read_plain(VXBase& object, unsigned int tag, const VXJSONValue& value, bool add, bool& fits) {
  T read{};
  fits = read_value(value, read);
  return fits && (add ? object.AddData<T>(tag, read) : object.SetData<T>(tag, read));
}

template <class T>
PlainType plain(const char* hint, bool tells_itself = false) {
  return {hint, VXGetDataType<T>(), tells_itself, &write_plain<T>, &read_plain<T>};
}

const std::vector<PlainType>& plain_types() {
  static const std::vector<PlainType> types = {
      plain<bool>("bool", true),
      plain<int>("int"),
      plain<unsigned int>("unsigned"),
      plain<long>("long"),
      plain<unsigned long>("unsigned long"),
      plain<float>("float"),
      plain<double>("double", true),
      plain<std::string>("string", true),
      plain<std::vector<bool>>("bool[]"),
      plain<std::vector<int>>("int[]"),
      plain<std::vector<unsigned int>>("unsigned[]"),
      plain<std::vector<long>>("long[]"),
      plain<std::vector<unsigned long>>("unsigned long[]"),
      plain<std::vector<float>>("float[]"),
      plain<std::vector<double>>("double[]"),
      plain<std::vector<std::string>>("string[]"),
      plain<std::array<float, 3>>("float[3]"),
      plain<std::array<float, 6>>("float[6]"),
  };
  return types;
}

template <class Predicate>
const PlainType* find_plain(Predicate is_it) {
  const auto& types = plain_types();
  const auto found = std::find_if(types.begin(), types.end(), is_it);
  return found == types.end() ? nullptr : &*found;
}

const PlainType* plain_named(std::string_view hint) {
  return find_plain([&](const PlainType& type) { return type.hint == hint; });
}

// What a value without a hint is read as: the first row that can hold it, or all elements of it.
const char* guess_scalar(const VXJSONValue& v) {
  if (v.IsBool()) return "bool";
  if (v.IsString()) return "string";
  if (v.IsInt()) return "int";
  if (v.IsUint()) return "unsigned";
  if (v.IsInt64()) return "long";
  if (v.IsUint64()) return "unsigned long";
  return v.IsNumber() ? "double" : "";
}

const PlainType* guess_plain(const VXJSONValue& value) {
  if (!value.IsArray()) return plain_named(guess_scalar(value));
  if (value.Empty()) return nullptr;
  std::string hint = guess_scalar(value[0]);
  for (const auto& element : value.GetArray()) {
    const std::string other = guess_scalar(element);
    if (other == hint) continue;
    // Numbers of several types are doubles all.
    if (!element.IsNumber() || !value[0].IsNumber()) return nullptr;
    hint = "double";
  }
  return plain_named(hint + "[]");
}

bool is_listed(std::string_view name, const char* const* list, unsigned int count) {
  return name == kHintKey || std::find(list, list + count, name) != list + count;
}

// --- writing ---

// The attributes by tag, tags in the order of their first attribute.
std::vector<Attributes> grouped(const VXBase& object) {
  std::vector<Attributes> groups;
  std::unordered_map<unsigned int, std::size_t> place;
  for (const auto& data : object.GetBaseImpl()->GetAll()) {
    const auto [at, is_new] = place.emplace(data->GetTag(), groups.size());
    if (is_new) groups.emplace_back();
    groups[at->second].push_back(data.get());
  }
  return groups;
}

// Writes one value or an array of several.
template <class Write>
void write_group(VXJSONWriter& writer, const std::string& name, const Attributes& group, Write write) {
  writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
  if (group.size() > 1) writer.StartArray();
  for (const VXBaseData* data : group) write(*data);
  if (group.size() > 1) writer.EndArray();
}

// The result is the hint, empty when none is needed.
std::string write_attributes(VXJSONWriter& writer, const std::string& name, const Attributes& group,
                             unsigned int flags) {
  const void* const type = group[0]->GetDataType();
  const bool shares = group.size() > 1;
  if (const PlainType* row = find_plain([&](const PlainType& t) { return t.data_type == type; })) {
    write_group(writer, name, group, [&](const VXBaseData& data) { row->write(writer, data); });
    if (shares) return std::string(row->hint) + "+";
    return row->tells_itself ? "" : row->hint;
  }
  if (auto* handler = find_handler([&](const VXJSONHandlerBase& h) { return h.GetDataType() == type; })) {
    write_group(writer, name, group,
                [&](const VXBaseData& data) { handler->Write(writer, data, flags & handler->GetFlavor()); });
    return shares ? kHandledHint : "";
  }
  if (auto* handler = find_handler([&](const VXJSONHandlerBase& h) { return h.GetVDataType() == type; });
      handler && !shares) {
    write_group(writer, name, group,
                [&](const VXBaseData& data) { handler->VWrite(writer, data, flags & handler->GetFlavor()); });
    return "";
  }
  VXThrow.Warning("JSON: attribute %s has a type that is not written, left out", name.c_str());
  return "";
}

// --- reading ---

using Hints = std::unordered_map<std::string_view, std::string_view>;

bool read_hints(const VXJSONValue& value, Hints& hints) {
  const auto member = value.FindMember(kHintKey);
  if (member == value.MemberEnd()) return true;
  bool good = member->value.IsObject();
  if (good)
    for (const auto& hint : member->value.GetObject()) {
      good = good && hint.value.IsString();
      if (good) hints.emplace(text_of(hint.name), text_of(hint.value));
    }
  if (!good) VXThrow.Error("JSON: \"%s\" must be an object of strings", kHintKey);
  return good;
}

// One JSON value on its way to the attributes of a tag.
struct Reading {
  VXBase& object;
  unsigned int tag;
  const VXJSONValue& value;
  const char* name;

  bool Misfit(std::string_view hint) const {
    VXThrow.Error("JSON: attribute %s is not of type %s", name, std::string(hint).c_str());
    return false;
  }

  bool Plain(const PlainType& type, bool shares) const {
    bool fits = true;
    if (!shares) return type.read(object, tag, value, false, fits) || (!fits && Misfit(type.hint));
    if (!value.IsArray()) return Misfit(std::string(type.hint) + "+");
    bool add = false;
    for (const auto& element : value.GetArray()) {
      if (!type.read(object, tag, element, add, fits)) return !fits && Misfit(type.hint);
      add = true;
    }
    return true;
  }

  bool Hinted(std::string_view hint) const {
    if (hint == kHandledHint) {
      VXJSONHandlerBase* const handler =
          value.IsArray() && !value.Empty() ? handler_of_object(value[0]) : nullptr;
      return handler ? handler->VRead(object, tag, value, true) : Misfit(hint);
    }
    const bool shares = !hint.empty() && hint.back() == '+';
    const PlainType* const type = plain_named(hint.substr(0, hint.size() - shares));
    return type ? Plain(*type, shares) : Misfit(hint);
  }

  bool Unhinted() const {
    if (const PlainType* type = guess_plain(value)) return Plain(*type, false);
    if (VXJSONHandlerBase* handler = handler_of_object(value)) return handler->Read(object, tag, value);
    if (value.IsArray() && !value.Empty())
      if (VXJSONHandlerBase* handler = handler_of_object(value[0]))
        return handler->VRead(object, tag, value, false);
    VXThrow.Warning("JSON: attribute %s has no type known here, left out", name);
    return true;
  }
};

}  // namespace

VXJSONHandlerBase::~VXJSONHandlerBase() = default;

bool VXRegisterJSONHandler(VXJSONHandlerBase* handler) {
  if (!handler) return false;
  Registry& all = registry();
  const std::lock_guard<std::mutex> lock(all.mutex);
  all.handlers.emplace_back(handler);
  return true;
}

void VXGenBaseDataJSON(VXJSONWriter& writer, const VXBase& object, const char* const* list,
                       unsigned int count, unsigned int flags) {
  if (!object.GetBaseImpl()) return;
  std::vector<std::pair<std::string, std::string>> hints;
  for (Attributes& group : grouped(object)) {
    const std::string name = VXGetTag(group[0]->GetTag());
    if (is_listed(name, list, count)) continue;
    const void* const type = group[0]->GetDataType();
    const auto other =
        std::remove_if(group.begin(), group.end(), [&](auto* d) { return d->GetDataType() != type; });
    if (other != group.end())
      VXThrow.Warning("JSON: attributes %s of another type than the first, left out", name.c_str());
    group.erase(other, group.end());
    std::string hint = write_attributes(writer, name, group, flags);
    if (!hint.empty()) hints.emplace_back(name, std::move(hint));
  }
  if (hints.empty()) return;
  writer.Key(kHintKey);
  writer.StartObject();
  for (const auto& [name, hint] : hints) {
    writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
    write_value(writer, hint);
  }
  writer.EndObject();
}

bool VXParseBaseDataJSON(VXBase& object, const VXJSONValue& value, const char* const* list,
                         unsigned int count) {
  Hints hints;
  if (!value.IsObject() || !read_hints(value, hints)) return false;
  std::unordered_set<unsigned int> there;
  if (object.GetBaseImpl())
    for (const auto& data : object.GetBaseImpl()->GetAll()) there.insert(data->GetTag());
  std::unordered_set<std::string_view> seen;
  for (const auto& member : value.GetObject()) {
    const std::string_view name = text_of(member.name);
    if (is_listed(name, list, count) || !seen.insert(name).second) continue;
    const unsigned int tag = VXGetTag(std::string(name));
    // No search among many attributes for one that is not there.
    VXBase added;
    const Reading reading{there.count(tag) ? object : added, tag, member.value, member.name.GetString()};
    const auto hint = hints.find(name);
    const bool good = hint == hints.end() ? reading.Unhinted() : reading.Hinted(hint->second);
    VXMoveBaseData(object, std::move(added));
    if (!good) return false;
  }
  return true;
}

}  // namespace VXCore
