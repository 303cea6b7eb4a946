#include "call.h"

#include <algorithm>
#include <vector>

#include "arrays.h"

using namespace VXCore;

namespace {

// Levels of Python's logging; Verbose stands between DEBUG and INFO.
constexpr int kLoggingLevel[] = {10, 15, 20, 30, 40};

}  // namespace

std::string reason(const VXMessageCapture& messages, const char* otherwise) {
  std::string all;
  std::vector<const std::string*> told;
  for (const VXMessage& message : messages.GetMessages()) {
    if (std::any_of(told.begin(), told.end(), [&](const std::string* s) { return *s == message.text; }))
      continue;
    told.push_back(&message.text);
    if (!all.empty()) all += "; ";
    all += message.text;
  }
  return all.empty() ? otherwise : all;
}

void log_messages(const VXMessageCapture& messages) {
  const py::object log = py::module_::import("logging").attr("getLogger")("vxgrid").attr("log");
  for (const VXMessage& message : messages.GetMessages())
    log(kLoggingLevel[static_cast<int>(message.level)], "%s", text_of(message.text));
}

PythonProgress::PythonProgress(py::object callable) : callable_(std::move(callable)) {
  if (!callable_.is_none() && !PyCallable_Check(callable_.ptr()))
    throw py::type_error(std::string("progress: a callable that takes (done, total), or None, was wanted, ") +
                         Py_TYPE(callable_.ptr())->tp_name + " came");
}

bool PythonProgress::Progress(unsigned int current, unsigned int total) {
  const py::gil_scoped_acquire acquire;
  if (raised_) return false;
  done_ = current;
  total_ = total;
  try {
    if (!callable_.is_none()) callable_(current, total);
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();  // Ctrl-C
  } catch (...) {
    raised_ = std::current_exception();
  }
  return !raised_;
}

void PythonProgress::rethrow() {
  if (raised_) std::rethrow_exception(raised_);
}

void PythonProgress::finish() {
  rethrow();
  if (done_ < total_) Progress(total_, total_);
  rethrow();
}
