#pragma once

#include <string>

#include <vxgrid/host/base.h>
#include <vxgrid/host/export.h>

// The types of RapidJSON that the interface names. They are declared only, so that the headers and the
// package of this library need no RapidJSON: who writes or reads documents with them includes its headers, in
// the version that the library was built with (Debian's rapidjson-dev).
namespace rapidjson {
template <typename CharType>
struct UTF8;
class CrtAllocator;
template <typename BaseAllocator>
class MemoryPoolAllocator;
template <typename Encoding, typename Allocator>
class GenericStringBuffer;
template <typename OutputStream, typename SourceEncoding, typename TargetEncoding, typename StackAllocator,
          unsigned writeFlags>
class Writer;
template <typename Encoding, typename Allocator>
class GenericValue;
template <typename Encoding, typename Allocator, typename StackAllocator>
class GenericDocument;
}  // namespace rapidjson

namespace VXCore {

/// Writes into a string buffer; write flags 2 let not-a-number and the infinities through, as the bare words
/// NaN, Infinity and -Infinity.
using VXJSONWriter =
    rapidjson::Writer<rapidjson::GenericStringBuffer<rapidjson::UTF8<char>, rapidjson::CrtAllocator>,
                      rapidjson::UTF8<char>, rapidjson::UTF8<char>, rapidjson::CrtAllocator, 2>;
using VXJSONValue =
    rapidjson::GenericValue<rapidjson::UTF8<char>, rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>>;
using VXJSONDocument =
    rapidjson::GenericDocument<rapidjson::UTF8<char>, rapidjson::MemoryPoolAllocator<rapidjson::CrtAllocator>,
                               rapidjson::CrtAllocator>;

/// Parses a text whole. Numbers come out as the nearest double; the bare words NaN, Infinity and Inf, with a
/// "-" or without, are numbers. Bytes of strings are not judged. False, with one Warning that gives line,
/// column and fault, for anything that is no JSON document and for one nested deeper than 100; the document
/// is null then.
VXGRID_API bool JSONParseHelper(VXJSONDocument& document, const std::string& text);

/// A member of a JSON object that was asked for by its key. A required member that is not there, a value of
/// another type, or an object that is none sets `error`, with one Error that names the key.
template <class T>
struct VXJSONAttr {
  bool found = false;
  bool error = false;
  T value{};
};

VXGRID_API VXJSONAttr<std::string> GetJSONStringAttr(const VXJSONValue& object, const char* key,
                                                     bool required);
/// The array stays in the object.
VXGRID_API VXJSONAttr<const VXJSONValue*> GetJSONArrayAttr(const VXJSONValue& object, const char* key,
                                                           bool required);
/// Any number, whole ones too.
VXGRID_API VXJSONAttr<double> GetJSONDoubleAttr(const VXJSONValue& object, const char* key, bool required);

/// Whether a document of this version can be read: "0." and digits that make a number up to 0.91, the version
/// that is written. Otherwise false, with one Warning.
VXGRID_API bool compatibleJSONVersion(const std::string& version);

/// The text as it stands between the quotes of a JSON string: quotes, backslashes and control characters
/// escaped.
VXGRID_API std::string VXEscapeJSON(const std::string& text);

/// Reads and writes the attributes of one class as JSON. Grids have such handlers. The order of the virtual
/// operations is part of the interface.
class VXGRID_API VXJSONHandlerBase {
 public:
  virtual ~VXJSONHandlerBase();

  /// Reads a value and attaches it to the object under the tag.
  virtual bool Read(VXBase& object, unsigned int tag, const VXJSONValue& value) = 0;
  /// Reads an array: one attribute for each element (`add`), or one attribute that is their vector.
  virtual bool VRead(VXBase& object, unsigned int tag, const VXJSONValue& value, bool add) = 0;
  /// Writes the value of an attribute of GetDataType(), or of GetVDataType().
  virtual void Write(VXJSONWriter& writer, const VXBaseData& attribute, unsigned int flags) = 0;
  virtual void VWrite(VXJSONWriter& writer, const VXBaseData& attribute, unsigned int flags) = 0;
  /// The text under the key "type" in the objects that this handler reads.
  virtual const char* GetJsonType() const = 0;
  virtual const void* GetDataType() const = 0;
  virtual const void* GetVDataType() const = 0;
  /// The flags to write attributes with.
  virtual unsigned int GetFlavor() const = 0;
};

/// Hands a handler over to the registry, where the first for a type stays the one that serves it. Null is
/// refused. Safe from any thread.
VXGRID_API bool VXRegisterJSONHandler(VXJSONHandlerBase* handler);

/// Writes the attributes of an object as members of the JSON object that the caller has opened, each under
/// the name of its tag, in their order; names on the list are left out. A handler writes with the flags that
/// are also in its flavour.
///
/// Written are bool, int, unsigned int, long, unsigned long, float, double, std::string, the vectors of
/// these, std::array<float, 3> and <float, 6>, and what a handler is registered for, vectors of it too; other
/// attributes are left out with one Warning each. Floats are written as doubles. Attributes that share a tag
/// make one array; those of another type than the first are left out with a Warning. A last member "vxhint"
/// gives the type by name wherever the JSON value alone does not:
/// {"SIGMA":"float","levels":"float[]","seen":"int+","maps":"object+"}, where
/// [] is a vector and + stands for attributes that share the tag.
VXGRID_API void VXGenBaseDataJSON(VXJSONWriter& writer, const VXBase& object, const char* const* list,
                                  unsigned int count, unsigned int flags);

/// Reads the members of a JSON object as attributes; those on the list are left out, and of several with one
/// key the first counts. Without a hint a whole number is an int, an unsigned int, a long or an unsigned
/// long, the first that holds it, another number a double, and an array the vector of what its elements are
/// (double, when they are numbers of several types); an object goes by its "type" to a handler, and an array
/// of such objects is a vector. What has no type here is left out with one Warning. False when a hint and its
/// value do not agree (with an Error), when a handler fails and when a tag is there with another type.
VXGRID_API bool VXParseBaseDataJSON(VXBase& object, const VXJSONValue& value, const char* const* list,
                                    unsigned int count);

}  // namespace VXCore
