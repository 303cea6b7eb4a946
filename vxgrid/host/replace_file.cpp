#include <vxgrid/host/replace_file.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/host/text.h>

namespace VXCore {
namespace {

namespace fs = std::filesystem;

/// The place where a file is written; what was not kept is taken away.
class NewFile {
 public:
  explicit NewFile(const std::string& file) : file_(file) {
    std::error_code error;
    const fs::path target = fs::canonical(file_, error);
    is_new_ = !fs::exists(fs::symlink_status(file_, error));
    if (!target.empty()) file_ = target;  // a link stays one
    // /dev/stdout is a link to what others hold open.
    const bool is_plain =
        file.rfind("/dev/", 0) != 0 && fs::is_regular_file(file_, error) && access(file_.c_str(), W_OK) == 0;
    if ((is_new_ || is_plain) && open_beside(VXHasGzSuffix(file))) return;
    if (fs::is_fifo(file_, error) || can_be_opened(file)) name_ = file;
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile() {
    std::error_code error;
    if (!kept_ && (is_new_ || is_beside_)) fs::remove(name_, error);
  }

  /// Empty, with errno set, where nothing can be written.
  const std::string& name() const { return name_; }
  bool keep() { return kept_ = !is_beside_ || std::rename(name_.c_str(), file_.c_str()) == 0; }

 private:
  /// Makes an empty file with the owner and the permissions of the old one.
  bool open_beside(bool compressed) {
    static std::atomic<unsigned> count{0};  // threads write side by side
    const fs::path beside = file_.parent_path() / (".vxgrid-" + std::to_string(getpid()) + "-" +
                                                   std::to_string(count++) + (compressed ? ".gz" : ""));
    const int descriptor = open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) return false;
    struct stat old;
    is_beside_ =
        is_new_ || (stat(file_.c_str(), &old) == 0 && fchown(descriptor, old.st_uid, old.st_gid) == 0 &&
                    fchmod(descriptor, old.st_mode & 07777) == 0);
    close(descriptor);
    if (is_beside_)
      name_ = beside;
    else
      unlink(beside.c_str());
    return is_beside_;
  }

  /// Not for a pipe, whose reader would take it for the end.
  static bool can_be_opened(const std::string& file) {
    std::FILE* const out = std::fopen(file.c_str(), "abe");
    return out && std::fclose(out) == 0;
  }

  fs::path file_;
  std::string name_;
  bool is_new_ = false, is_beside_ = false, kept_ = false;
};

/// Says what errno says; false.
bool failed(const char* what) {
  VXThrow.Warning("%s: %s", what, errno ? std::strerror(errno) : "the disc may be full");
  return false;
}

}  // namespace

bool VXReplaceFile(const std::string& file, const std::function<bool(VXHost::vxostream&)>& write) {
  errno = 0;
  NewFile place(file);
  if (place.name().empty()) return failed("cannot be written");
  errno = 0;
  VXHost::vxofstream out;
  if (!out.open(place.name())) return failed("cannot be written");
  const bool written = write(out), stands = !out.fail();
  if (!written && stands) return false;
  return (out.close() && written && place.keep()) || failed("could not be written whole");
}

}  // namespace VXCore
