#pragma once

#include <string>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/stream.h>

/// Catches what VXThrow reports while it lives, from Debug or another level up, one line each.
class CapturedLog {
 public:
  explicit CapturedLog(VXCore::VXErrorLevel from = VXCore::VXErrorLevel::Info);
  ~CapturedLog();
  std::string text() const { return out_.str(); }

 private:
  VXHost::vxosstream out_;
  VXCore::VXErrorLevel level_;
};

/// A file of the real data, "crystals/1dur.mtz"; empty when the data are not there. VXGRID_TEST_DATA names
/// their folder; without it ../shared/data beside the source tree is tried. Use SKIP_WITHOUT_DATA first.
std::string real_data(const std::string& name);

#define SKIP_WITHOUT_DATA(name)                                                                  \
  do {                                                                                           \
    if (real_data(name).empty())                                                                 \
      GTEST_SKIP() << "skipped: real data file " << (name) << " is not here (VXGRID_TEST_DATA)"; \
  } while (false)

/// A file of the repository, "examples/data/...".
std::string source_file(const std::string& name);

/// A new name in a folder of this process that goes away at its end.
std::string scratch_file(const std::string& name);

std::string read_bytes(const std::string& path);
void write_bytes(const std::string& path, const std::string& bytes);

/// Compressed as a .gz file is.
std::string gz(const std::string& bytes);
