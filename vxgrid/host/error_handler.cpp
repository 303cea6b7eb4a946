#include <vxgrid/host/error_handler.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include <vxgrid/host/stream.h>

namespace VXCore {

VXErrorHandler VXThrow;

namespace {

std::atomic<VXErrorLevel> shown_from{VXErrorLevel::Info};
VXHost::vxostream* output = nullptr;  // null: VXHost::vxerr
thread_local VXMessageCapture* capture = nullptr;

std::mutex& output_mutex() {
  static std::mutex* const mutex = new std::mutex;
  return *mutex;
}

void put_line(VXErrorLevel level, const std::string& text) {
  static constexpr const char* kPrefix[] = {"Debug: ", "Verbose: ", "", "Warning: ", "Error: "};
  if (level < shown_from.load()) return;
  if (capture) return capture->Add(level, text);
  const std::string line = kPrefix[static_cast<int>(level)] + text + "\n";
  const std::lock_guard<std::mutex> lock(output_mutex());
  VXHost::vxostream& out = output ? *output : VXHost::vxerr;
  out.write(line.data(), line.size());
  out.flush();
}

void put_line(VXErrorLevel level, const char* format, va_list args) {
  if (level < shown_from.load()) return;
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, args);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  put_line(level, text);
}

}  // namespace

#define VX_REPORT(LEVEL)                                \
  void VXErrorHandler::LEVEL(const char* format, ...) { \
    va_list args;                                       \
    va_start(args, format);                             \
    put_line(VXErrorLevel::LEVEL, format, args);        \
    va_end(args);                                       \
  }
VX_REPORT(Debug)
VX_REPORT(Verbose)
VX_REPORT(Info)
VX_REPORT(Warning)
VX_REPORT(Error)
#undef VX_REPORT

void VXErrorHandler::Info(const std::string& text) { put_line(VXErrorLevel::Info, text); }
void VXErrorHandler::Warning(const std::string& text) { put_line(VXErrorLevel::Warning, text); }
void VXErrorHandler::Error(const std::string& text) { put_line(VXErrorLevel::Error, text); }

void VXErrorHandler::SetLevel(VXErrorLevel level) { shown_from = level; }
VXErrorLevel VXErrorHandler::GetLevel() const { return shown_from; }

void VXErrorHandler::SetOutput(VXHost::vxostream& out) {
  const std::lock_guard<std::mutex> lock(output_mutex());
  output = &out;
}

void VXErrorHandler::ResetOutput() {
  const std::lock_guard<std::mutex> lock(output_mutex());
  output = nullptr;
}

VXMessageCapture::VXMessageCapture() : outer_(capture) { capture = this; }
VXMessageCapture::~VXMessageCapture() { capture = outer_; }

}  // namespace VXCore
