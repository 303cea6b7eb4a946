#include "support/support.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <vxgrid/host/platform.h>

using VXCore::VXThrow;

CapturedLog::CapturedLog(VXCore::VXErrorLevel from) : level_(VXThrow.GetLevel()) {
  VXThrow.SetLevel(from);
  VXThrow.SetOutput(out_);
}

CapturedLog::~CapturedLog() {
  VXThrow.ResetOutput();
  VXThrow.SetLevel(level_);
}

std::string real_data(const std::string& name) {
  const char* folder = std::getenv("VXGRID_TEST_DATA");
  const std::filesystem::path path =
      (folder ? std::filesystem::path(folder)
              : std::filesystem::path(VXGRID_SOURCE_DIR) / ".." / "shared" / "data") /
      name;
  return std::filesystem::exists(path) ? path.string() : std::string();
}

std::string source_file(const std::string& name) { return std::string(VXGRID_SOURCE_DIR) + "/" + name; }

std::string scratch_file(const std::string& name) {
  struct Folder {
    std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("vxgrid-test-" + std::to_string(getpid()));
    Folder() { std::filesystem::create_directories(path); }
    ~Folder() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
  };
  static const Folder folder;
  return (folder.path / name).string();
}

std::string read_bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void write_bytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string gz(const std::string& bytes) {
  std::string out;
  EXPECT_TRUE(VXHost::VXCompress(out, bytes.data(), bytes.size(), "gzip"));
  return out;
}
