#include <vxgrid/host/stream.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include <vxgrid/host/text.h>

namespace VXHost {

/// Unbuffered bytes that know their place.
class InputSource {
 public:
  virtual ~InputSource() = default;
  /// Up to n bytes; fewer only at the end of the content or where it cannot be read.
  virtual unsigned long read(unsigned char* to, unsigned long n) = 0;
  /// Goes there, or to the end where that comes first; the result is the place reached.
  virtual unsigned long long seek(unsigned long long position) = 0;
  /// No more bytes than this follow.
  virtual unsigned long long max_left() const = 0;
  /// Whether max_left is the very number.
  virtual bool is_exact() const { return true; }
  /// The content came to an end that is not its own.
  virtual bool damaged() const { return false; }
};

/// Bytes on their way out. Each call is false when they do not get there.
class OutputSink {
 public:
  virtual ~OutputSink() = default;
  virtual bool write(const char* bytes, unsigned long n) = 0;
  virtual bool flush() = 0;
  virtual bool close() = 0;
};

/// Bytes of its own, and between them blocks that belong to others.
class GatherSink : public OutputSink {
 public:
  bool write(const char* bytes, unsigned long n) override {
    own_.append(bytes, n);
    size_ += n;
    return true;
  }
  bool flush() override { return true; }
  bool close() override { return true; }

  void refer(const char* bytes, unsigned long n) {
    constexpr unsigned long kWorthReferring = 4096;
    if (n < kWorthReferring) {
      write(bytes, n);
      return;
    }
    blocks_.push_back({own_.size(), bytes, n});
    size_ += n;
  }
  unsigned long long size() const { return size_; }

  /// f(bytes, n, belongs to others) on every piece in order.
  template <class F>
  void each(F f) const {
    std::size_t done = 0;
    for (const Block& block : blocks_) {
      f(own_.data() + done, block.after - done, false);
      f(block.bytes, block.size, true);
      done = block.after;
    }
    f(own_.data() + done, own_.size() - done, false);
  }

 private:
  struct Block {
    std::size_t after;  // so many of the own bytes
    const char* bytes;
    unsigned long size;
  };

  std::string own_;
  std::vector<Block> blocks_;
  unsigned long long size_ = 0;
};

namespace {

class MemorySource : public InputSource {
 public:
  explicit MemorySource(std::string bytes)
      : own_(std::move(bytes)), bytes_(own_.data()), size_(own_.size()) {}
  MemorySource(const char* bytes, unsigned long n) : bytes_(bytes), size_(n) {}

  unsigned long read(unsigned char* to, unsigned long n) override {
    n = static_cast<unsigned long>(std::min<unsigned long long>(n, size_ - at_));
    if (n) std::memcpy(to, bytes_ + at_, n);
    at_ += n;
    return n;
  }
  unsigned long long seek(unsigned long long position) override {
    return at_ = std::min<unsigned long long>(position, size_);
  }
  unsigned long long max_left() const override { return size_ - at_; }
  const std::string& bytes() const { return own_; }

 private:
  std::string own_;
  const char* bytes_;
  unsigned long size_;
  unsigned long long at_ = 0;
};

class FileSource : public InputSource {
 public:
  FileSource(int fd, unsigned long long size) : fd_(fd), size_(size) {}
  ~FileSource() override { ::close(fd_); }

  unsigned long read(unsigned char* to, unsigned long n) override {
    unsigned long done = 0;
    while (done < n) {
      const ssize_t got = ::pread(fd_, to + done, std::min(n - done, 1ul << 30), static_cast<off_t>(at_));
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) break;
      done += static_cast<unsigned long>(got);
      at_ += static_cast<unsigned long long>(got);
    }
    return done;
  }
  unsigned long long seek(unsigned long long position) override { return at_ = std::min(position, size_); }
  unsigned long long max_left() const override { return size_ > at_ ? size_ - at_ : 0; }

 private:
  int fd_;
  unsigned long long size_;
  unsigned long long at_ = 0;
};

/// A part of another stream, from where it stands.
class PartSource : public InputSource {
 public:
  PartSource(vxistream& in, unsigned long long n) : in_(in), start_(in.tell()), size_(n) {}

  unsigned long read(unsigned char* to, unsigned long n) override {
    n = in_.read(to, static_cast<unsigned long>(std::min<unsigned long long>(n, max_left())));
    at_ += n;
    return n;
  }
  unsigned long long seek(unsigned long long position) override {
    at_ = std::min(position, size_);
    in_.seek(start_ + at_);
    return at_;
  }
  unsigned long long max_left() const override { return size_ - at_; }

 private:
  vxistream& in_;
  unsigned long long start_;
  unsigned long long size_;
  unsigned long long at_ = 0;
};

/// One or more gzip members, one after another; what follows the last is not looked at. Content that is cut
/// short or damaged ends there.
class GzSource : public InputSource {
 public:
  explicit GzSource(std::unique_ptr<InputSource> raw) : raw_(std::move(raw)) { start(); }
  ~GzSource() override { inflateEnd(&z_); }

  unsigned long read(unsigned char* to, unsigned long n) override {
    unsigned long done = 0;
    while (done < n && !ended_) {
      const unsigned long part = std::min(n - done, 1ul << 30);
      z_.next_out = to + done;
      z_.avail_out = static_cast<uInt>(part);
      inflate_some();
      done += part - z_.avail_out;
    }
    at_ += done;
    return done;
  }
  unsigned long long seek(unsigned long long position) override {
    if (position < at_) {
      inflateEnd(&z_);
      raw_->seek(0);
      start();
    }
    unsigned char skipped[16384];
    while (at_ < position && !ended_)
      read(skipped, static_cast<unsigned long>(std::min<unsigned long long>(position - at_, sizeof skipped)));
    return at_;
  }
  // Deflate spends at least two bits on a match, which is at most 258 bytes: 1032 bytes for one. A match may
  // be pending inside zlib, with up to a window of output.
  unsigned long long max_left() const override {
    return ended_ ? 0 : (raw_->max_left() + z_.avail_in) * 1032 + 65536;
  }
  bool is_exact() const override { return false; }
  bool damaged() const override { return damaged_; }

 private:
  void start() {
    z_ = {};
    ended_ = inflateInit2(&z_, 15 + 16) != Z_OK;  // 15 bits of window, gzip frame
    member_done_ = damaged_ = false;
    at_ = 0;
  }
  // Fills the output as far as one input block goes.
  void inflate_some() {
    if (z_.avail_in == 0) {
      z_.next_in = in_;
      z_.avail_in = static_cast<uInt>(raw_->read(in_, sizeof in_));
      if (z_.avail_in == 0) {
        ended_ = true;
        damaged_ = !member_done_;
      }
    }
    if (ended_) return;
    if (member_done_) {
      ended_ = z_.next_in[0] != 0x1f || inflateReset(&z_) != Z_OK;
      member_done_ = false;
      if (ended_) return;
    }
    const int status = inflate(&z_, Z_NO_FLUSH);
    if (status == Z_STREAM_END)
      member_done_ = true;
    else if (status != Z_OK && !(status == Z_BUF_ERROR && z_.avail_in == 0))
      ended_ = damaged_ = true;
  }

  std::unique_ptr<InputSource> raw_;
  z_stream z_{};
  bool ended_ = false;
  bool member_done_ = false;
  bool damaged_ = false;
  unsigned long long at_ = 0;
  unsigned char in_[32768];
};

// A gzip member starts with two magic bytes, method 8 (deflate) and flags of which three bits are always 0.
bool is_gzip(InputSource& source) {
  unsigned char head[4];
  const bool found = source.read(head, 4) == 4 && head[0] == 0x1f && head[1] == 0x8b && head[2] == 8 &&
                     (head[3] & 0xe0) == 0;
  source.seek(0);
  return found;
}

// All there is in what cannot seek.
std::unique_ptr<InputSource> slurp(int fd) {
  FILE* const file = fdopen(fd, "rb");
  if (!file) {
    ::close(fd);
    return nullptr;
  }
  std::string all;
  char block[65536];
  while (const std::size_t n = std::fread(block, 1, sizeof block, file)) all.append(block, n);
  std::fclose(file);
  return std::make_unique<MemorySource>(std::move(all));
}

std::unique_ptr<InputSource> open_source(const char* name) {
  const int fd = name ? ::open(name, O_RDONLY | O_CLOEXEC) : -1;
  if (fd < 0) return nullptr;
  struct stat info = {};
  if (fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
    ::close(fd);
    return nullptr;
  }
  std::unique_ptr<InputSource> source;
  if (S_ISREG(info.st_mode))
    source = std::make_unique<FileSource>(fd, static_cast<unsigned long long>(info.st_size));
  else
    source = slurp(fd);
  if (source && is_gzip(*source)) source = std::make_unique<GzSource>(std::move(source));
  return source;
}

class MemorySink : public OutputSink {
 public:
  bool write(const char* bytes, unsigned long n) override {
    // Twice what it takes now: a long block would leave no room, and the few bytes behind it would move it.
    if (n > bytes_.capacity() - bytes_.size()) bytes_.reserve(2 * (bytes_.size() + n));
    bytes_.append(bytes, n);
    return true;
  }
  bool flush() override { return true; }
  bool close() override { return true; }
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

/// A stdio file: its own, which it closes, or one of the standard streams.
class FileSink : public OutputSink {
 public:
  explicit FileSink(FILE* file) : file_(file) {}
  /// With a buffer of so many bytes; stdio by itself takes 4096 whatever size it is asked for.
  FileSink(FILE* file, std::size_t buffer) : file_(file), buffer_(new char[buffer]) {
    std::setvbuf(file, buffer_.get(), _IOFBF, buffer);
  }
  ~FileSink() override { FileSink::close(); }

  // In pieces: from memory that nothing has touched yet, such as a field of zeros, Linux writes in ever
  // smaller pages up to the end of a call. 64 MiB of it took twice as long.
  bool write(const char* bytes, unsigned long n) override {
    constexpr unsigned long kPiece = 1ul << 20;
    if (!file_) return false;
    for (unsigned long part; n > 0; bytes += part, n -= part) {
      part = std::min(n, kPiece);
      if (std::fwrite(bytes, 1, part, file_) != part) return false;
    }
    return true;
  }
  bool flush() override { return file_ && std::fflush(file_) == 0; }
  bool close() override {
    FILE* const file = std::exchange(file_, nullptr);
    if (!file) return true;
    return file == stdout || file == stderr ? std::fflush(file) == 0 : std::fclose(file) == 0;
  }

 private:
  FILE* file_;
  std::unique_ptr<char[]> buffer_;
};

class GzSink : public OutputSink {
 public:
  explicit GzSink(gzFile file) : file_(file) { gzbuffer(file_, 65536); }
  ~GzSink() override { GzSink::close(); }

  bool write(const char* bytes, unsigned long n) override {
    return file_ && gzfwrite(bytes, 1, n, file_) == n;
  }
  bool flush() override { return file_ && gzflush(file_, Z_SYNC_FLUSH) == Z_OK; }
  bool close() override {
    const gzFile file = std::exchange(file_, nullptr);
    return !file || gzclose(file) == Z_OK;
  }

 private:
  gzFile file_;
};

std::unique_ptr<OutputSink> create_file(const std::string& name) {
  if (VXCore::VXHasGzSuffix(name)) {
    const gzFile file = gzopen(name.c_str(), "wbe");
    return file ? std::make_unique<GzSink>(file) : nullptr;
  }
  FILE* const file = std::fopen(name.c_str(), "wbe");
  if (!file) return nullptr;
  return std::make_unique<FileSink>(file, 65536);
}

class StandardStream : public vxostream {
 public:
  explicit StandardStream(FILE* file) { set_sink(std::make_unique<FileSink>(file)); }
};

// Storage for the standard streams that nothing destroys. They are made before every other static object of
// the library, so that whatever reports during its own start or end finds them.
union StandardStreams {
  constexpr StandardStreams() : none() {}
  ~StandardStreams() {}
  char none;
  struct {
    StandardStream out, err;
  } made;
};
StandardStreams standard;

__attribute__((constructor(101))) void make_standard_streams() {
  new (&standard.made.out) StandardStream(stdout);
  new (&standard.made.err) StandardStream(stderr);
}

}  // namespace

vxostream& vxout = standard.made.out;
vxostream& vxerr = standard.made.err;

vxistream::vxistream() = default;
vxistream::~vxistream() = default;

unsigned long vxistream::read(unsigned char* to, unsigned long n) {
  unsigned long done = 0;
  while (done < n) {
    if (next_ == end_ && n - done >= kBufferSize && source_) {
      const unsigned long got = source_->read(to + done, n - done);
      empty_buffer(end_position_ + got);
      return done + got;
    }
    if (!refill()) break;
    const unsigned long part = std::min(n - done, static_cast<unsigned long>(end_ - next_));
    std::memcpy(to + done, next_, part);
    next_ += part;
    done += part;
  }
  return done;
}

unsigned long vxistream::read(char* to, unsigned long n) {
  return read(reinterpret_cast<unsigned char*>(to), n);
}

unsigned long vxistream::read(std::string& to, unsigned long n) {
  n = static_cast<unsigned long>(std::min<unsigned long long>(n, max_bytes_left()));
  to.clear();
  while (to.size() < n) {
    const unsigned long have = to.size();
    const unsigned long part = std::min(n - have, std::max(have, 16 * kBufferSize));
    to.resize(have + part);
    const unsigned long got = read(to.data() + have, part);
    to.resize(have + got);
    if (got < part) break;
  }
  return to.size();
}

bool vxistream::getline(std::string& line) {
  line.clear();
  if (!refill()) return false;
  do {
    const auto* const stop = static_cast<const unsigned char*>(std::memchr(next_, '\n', end_ - next_));
    line.append(reinterpret_cast<const char*>(next_), (stop ? stop : end_) - next_);
    next_ = stop ? stop + 1 : end_;
    if (stop) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      break;
    }
  } while (refill());
  return true;
}

bool vxistream::getline(char* line, unsigned long n) {
  if (n == 0) return false;
  line[0] = '\0';
  if (!refill()) return false;
  unsigned long length = 0;
  while (length + 1 < n && refill()) {
    const unsigned long most = std::min(n - 1 - length, static_cast<unsigned long>(end_ - next_));
    const auto* const stop = static_cast<const unsigned char*>(std::memchr(next_, '\n', most));
    const unsigned long part = stop ? static_cast<unsigned long>(stop - next_) : most;
    std::memcpy(line + length, next_, part);
    length += part;
    next_ += part;
    if (stop) break;
  }
  if (refill() && *next_ == '\n') {
    ++next_;
    if (length && line[length - 1] == '\r') --length;
  }
  line[length] = '\0';
  return true;
}

int vxistream::getbyte() { return refill() ? *next_++ : -1; }

int vxistream::peekbyte() { return refill() ? *next_ : -1; }

bool vxistream::open(const char* name) {
  set_source(open_source(name));
  return source_ != nullptr;
}

bool vxistream::open(const std::string& name) { return open(name.c_str()); }

void vxistream::close() { set_source(nullptr); }

bool vxistream::refill() {
  if (next_ != end_) return true;
  if (!source_) return false;
  if (!buffer_) buffer_.reset(new unsigned char[kBufferSize]);
  const unsigned long got = source_->read(buffer_.get(), kBufferSize);
  begin_ = next_ = buffer_.get();
  end_ = begin_ + got;
  end_position_ += got;
  return got != 0;
}

bool vxistream::seek(unsigned long long position) {
  if (!source_ && begin_ == end_) return false;
  if (position <= end_position_ && end_position_ - position <= static_cast<unsigned long>(end_ - begin_)) {
    next_ = end_ - (end_position_ - position);
    return true;
  }
  if (source_)
    empty_buffer(source_->seek(position));
  else
    next_ = end_;
  return end_position_ == position;
}

unsigned long long vxistream::tell() const {
  return end_position_ - static_cast<unsigned long long>(end_ - next_);
}

bool vxistream::damaged() const { return source_ && source_->damaged(); }

unsigned long long vxistream::max_bytes_left() const {
  return static_cast<unsigned long long>(end_ - next_) + (source_ ? source_->max_left() : 0);
}

void vxistream::set_source(std::unique_ptr<InputSource> source) {
  source_ = std::move(source);
  empty_buffer(0);
}

void vxistream::set_window(std::unique_ptr<InputSource> source, const void* bytes, unsigned long n) {
  source_ = std::move(source);
  if (source_) source_->seek(n);
  begin_ = next_ = static_cast<const unsigned char*>(bytes);
  end_ = begin_ + n;
  end_position_ = n;
}

void vxistream::empty_buffer(unsigned long long position) {
  begin_ = next_ = end_ = buffer_.get();
  end_position_ = position;
}

void vxisstream::set(char* bytes, unsigned long n, bool copy) {
  if (copy)
    set(std::string(bytes, n));
  else
    set_window(std::make_unique<MemorySource>(bytes, n), bytes, n);
}

void vxisstream::set(const std::string& bytes) {
  auto source = std::make_unique<MemorySource>(bytes);
  const std::string& kept = source->bytes();
  set_window(std::move(source), kept.data(), kept.size());
}

vxsubstream::vxsubstream(vxistream& in, unsigned long n) : in_(in) {
  const auto* const outer = dynamic_cast<const vxsubstream*>(&in);
  inflated_ = outer && outer->inflated_;
  const auto ready = static_cast<unsigned long>(in.end_ - in.next_);
  if (n <= ready) {
    set_window(nullptr, in.next_, n);
    in.next_ += n;
  } else if (in.source_ && !in.source_->is_exact()) {
    whole_ = in.read(block_, n) == n;
    set_window(nullptr, block_.data(), block_.size());
  } else {
    const unsigned long long left = in.max_bytes_left();
    whole_ = n <= left;
    end_of_part_ = in.tell() + std::min<unsigned long long>(n, left);
    set_source(std::make_unique<PartSource>(in, end_of_part_ - in.tell()));
    return;
  }
  end_of_part_ = in.tell();
}

vxsubstream::~vxsubstream() { in_.seek(end_of_part_); }

bool vxsubstream::inflate() {
  if (inflated_) return false;
  inflated_ = true;
  std::unique_ptr<InputSource> raw = std::move(source_);
  if (!raw)
    raw = std::make_unique<MemorySource>(reinterpret_cast<const char*>(next_),
                                         static_cast<unsigned long>(end_ - next_));
  set_source(std::make_unique<GzSource>(std::move(raw)));
  return true;
}

vxostream::vxostream() = default;

vxostream::~vxostream() { close(); }

vxostream& vxostream::write(const char* bytes, unsigned long n) {
  if (!sink_ || (n && !sink_->write(bytes, n))) failed_ = true;
  return *this;
}

vxostream& vxostream::write(const unsigned char* bytes, unsigned long n) {
  return write(reinterpret_cast<const char*>(bytes), n);
}

vxostream& vxostream::operator<<(const char* text) { return text ? write(text, std::strlen(text)) : *this; }

vxostream& vxostream::operator<<(const std::string& text) { return write(text.data(), text.size()); }

bool vxostream::open(const std::string& name) {
  close();
  set_sink(create_file(name));
  failed_ = !sink_;
  return !failed_;
}

bool vxostream::flush() {
  if (!sink_ || !sink_->flush()) failed_ = true;
  return !failed_;
}

bool vxostream::close() {
  if (sink_ && !sink_->close()) failed_ = true;
  return !failed_;
}

void vxostream::set_sink(std::unique_ptr<OutputSink> sink) { sink_ = std::move(sink); }

vxosstream::vxosstream() { set_sink(std::make_unique<MemorySink>()); }

std::string vxosstream::str() const {
  const auto* const memory = dynamic_cast<const MemorySink*>(sink());
  return memory ? memory->bytes() : std::string();
}

vxgatherstream::vxgatherstream() { set_sink(std::make_unique<GatherSink>()); }

GatherSink& vxgatherstream::gathered() const { return static_cast<GatherSink&>(*sink()); }

void vxgatherstream::refer(const void* bytes, unsigned long n) {
  gathered().refer(static_cast<const char*>(bytes), n);
}

unsigned long long vxgatherstream::size() const { return gathered().size(); }

bool vxgatherstream::write_to(vxostream& out) const {
  auto* const gather = dynamic_cast<vxgatherstream*>(&out);
  gathered().each([&](const char* bytes, unsigned long n, bool is_reference) {
    if (gather && is_reference)
      gather->refer(bytes, n);
    else
      out.write(bytes, n);
  });
  return !out.fail();
}

vxostream& vxendl(vxostream& out) { return out.write("\n", 1); }

vxistream* VXOpenIStream(const char* name) {
  auto stream = std::make_unique<vxifstream>();
  return stream->open(name) ? stream.release() : nullptr;
}

void VXCloseIStream(vxistream* stream) { delete stream; }

vxostream* VXOpenOStream(const char* name) {
  auto stream = std::make_unique<vxofstream>();
  return name && stream->open(name) ? stream.release() : nullptr;
}

}  // namespace VXHost
