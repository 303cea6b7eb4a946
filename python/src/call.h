#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include <pybind11/pybind11.h>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/tracer.h>

namespace py = pybind11;

/// vxgrid.Error in Python: work of the library that failed.
class LibraryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What the library reported, as one line without levels; `otherwise` when it said nothing.
std::string reason(const VXCore::VXMessageCapture& messages, const char* otherwise);

/// Sends messages to logging.getLogger("vxgrid"). Holds the GIL.
void log_messages(const VXCore::VXMessageCapture& messages);

/// Does work of the library that gives a bool, with the GIL released. On success messages go to the logger;
/// on failure they are what LibraryError says. `otherwise` is for failures that the library leaves
/// unexplained.
template <class Work>
void run(const char* otherwise, Work&& work) {
  const VXCore::VXMessageCapture messages;
  bool done;
  {
    const py::gil_scoped_release release;
    done = work();
  }
  if (!done) throw LibraryError(reason(messages, otherwise));
  if (!messages.GetMessages().empty()) log_messages(messages);
}

/// The same for work that cannot fail, with its result where it has one.
template <class Work>
auto compute(Work&& work) {
  const VXCore::VXMessageCapture messages;
  const auto released = [&] {
    const py::gil_scoped_release release;
    return work();
  };
  const auto log = [&] {
    if (!messages.GetMessages().empty()) log_messages(messages);
  };
  if constexpr (std::is_void_v<decltype(work())>) {
    released();
    log();
  } else {
    auto result = released();
    log();
    return result;
  }
}

/// The same for what takes less than some microseconds: the GIL stays.
template <class Work>
void run_short(const char* otherwise, Work&& work) {
  const VXCore::VXMessageCapture messages;
  if (!work()) throw LibraryError(reason(messages, otherwise));
  if (!messages.GetMessages().empty()) log_messages(messages);
}

/// Calls progress(done, total) of Python from work without the GIL. None is no progress. When the call
/// raises, the work is asked to stop, and rethrow() and finish() raise the exception again.
class PythonProgress : public VXCore::VXTracerBase {
 public:
  /// TypeError for what cannot be called.
  explicit PythonProgress(py::object callable);
  bool Progress(unsigned int current, unsigned int total) override;
  /// Call it with the GIL after work that failed: what it was stopped by goes first.
  void rethrow();
  /// Call it with the GIL after work that is done and before its result is looked at: (total, total) is told
  /// last.
  void finish();

 private:
  py::object callable_;
  std::exception_ptr raised_;
  unsigned int done_ = 0, total_ = 0;
};
