#pragma once

#include <algorithm>
#include <string>

#include <pybind11/pybind11.h>

#include <vxgrid/host/binary_records.h>

#include "call.h"

namespace py = pybind11;

/// Knows the native records of grids, Gaussians and reflections. One a thread.
const VXCore::VXBinaryIOHandlerBase& record_handler();

/// ValueError unless the bytes begin with a record of that tag.
void check_record(const py::bytes& bytes, const char* tag);
[[noreturn]] void throw_damaged_record(const char* tag);

/// An object as a native binary record: what to_bytes() gives, and what a pickle holds.
template <class T>
py::bytes to_bytes(const T& object) {
  std::string text;
  run("the object cannot be written as bytes", [&] {
    VXHost::vxosstream out;
    const bool done = VXCore::VXBinaryWrite<T>(out, object, record_handler()) && !out.fail();
    if (done) text = out.str();
    return done;
  });
  py::bytes bytes(nullptr, text.size());  // not yet seen by anyone, so it is filled without the GIL
  char* const to = PyBytes_AS_STRING(bytes.ptr());
  const py::gil_scoped_release release;
  std::copy(text.begin(), text.end(), to);
  std::string().swap(text);
  return bytes;
}

/// Reads such a record into an object. ValueError for bytes that are cut short, damaged or of something else.
template <class T>
void from_bytes(const py::bytes& bytes, T& object) {
  const char* const tag = record_handler().FindWriteFxn(VXCore::VXGetDataType<T>())->GetTag();
  check_record(bytes, tag);
  char* content = nullptr;
  py::ssize_t length = 0;
  PyBytes_AsStringAndSize(bytes.ptr(), &content, &length);
  const bool whole = compute([&] {
    VXHost::vxisstream in;
    in.set(content, static_cast<unsigned long>(length), false);
    return VXCore::VXBinaryRead<T>(in, object, record_handler()) == VXCore::VXBDone && in.peekbyte() == -1;
  });
  if (!whole) throw_damaged_record(tag);
}
