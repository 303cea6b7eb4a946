#pragma once

#include <string>
#include <vector>

#include <vxgrid/host/export.h>

namespace VXHost {
class vxostream;
}

namespace VXCore {

/// Levels of a report, from the least to the most important.
enum class VXErrorLevel { Debug, Verbose, Info, Warning, Error };

/// The one place where the library reports. Messages are printf-style, one line each: "Warning: text",
/// "Error: text", "Verbose: text", "Debug: text"; an Info line is the text alone. Every call returns, an
/// Error too: the caller sees the failure in the result. Safe from any thread.
class VXGRID_API VXErrorHandler {
 public:
  void Debug(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void Verbose(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void Info(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void Warning(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void Error(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void Info(const std::string& text);
  void Warning(const std::string& text);
  void Error(const std::string& text);

  /// Hides what lies below the level; Info at the start.
  void SetLevel(VXErrorLevel level);
  VXErrorLevel GetLevel() const;

  /// Sends the lines to a stream, which must outlive its use here.
  void SetOutput(VXHost::vxostream& out);
  /// Back to VXHost::vxerr.
  void ResetOutput();
};

VXGRID_API extern VXErrorHandler VXThrow;

struct VXMessage {
  VXErrorLevel level;
  std::string text;  ///< without the level in front
};

/// Collects what this thread reports while it lives, in place of the output; what lies below the level of
/// VXThrow stays hidden. Of several on one thread the youngest collects. It dies on the thread that made it.
class VXGRID_API VXMessageCapture {
 public:
  VXMessageCapture();
  ~VXMessageCapture();
  VXMessageCapture(const VXMessageCapture&) = delete;
  VXMessageCapture& operator=(const VXMessageCapture&) = delete;

  const std::vector<VXMessage>& GetMessages() const { return messages_; }
  void Add(VXErrorLevel level, const std::string& text) { messages_.push_back({level, text}); }

 private:
  std::vector<VXMessage> messages_;
  VXMessageCapture* outer_;
};

}  // namespace VXCore
