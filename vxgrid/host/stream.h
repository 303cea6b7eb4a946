#pragma once

#include <memory>
#include <string>

#include <vxgrid/host/export.h>

namespace VXHost {

/// Where an input stream gets its bytes from: a file, a .gz file or memory. Private to stream.cpp.
class InputSource;
class OutputSink;
class GatherSink;

/// Buffered byte input. Failures show in the results; nothing is thrown and nothing is reported.
class VXGRID_API vxistream {
 public:
  vxistream();
  virtual ~vxistream();
  vxistream(const vxistream&) = delete;
  vxistream& operator=(const vxistream&) = delete;

  /// Up to n bytes, as many as there are; the number read is the result. Blocks larger than the buffer go
  /// to their place without passing through it.
  unsigned long read(char* to, unsigned long n);
  unsigned long read(unsigned char* to, unsigned long n);
  /// The same into a string, which gets the length read. Memory grows with what is really there.
  unsigned long read(std::string& to, unsigned long n);

  /// One line without its line end (\n or \r\n). False when no byte was left.
  bool getline(std::string& line);
  /// The same into an array of n bytes: at most n - 1 characters (a \r before the line end counts) and a
  /// terminating 0; the rest of a longer line stays for the next call.
  bool getline(char* line, unsigned long n);

  /// The next byte, or -1 at the end; peekbyte leaves it there.
  int getbyte();
  int peekbyte();

  /// Opens a file, .gz or not: compressed content is recognised by its first bytes. What cannot seek (a pipe,
  /// standard input) is read to its end first. False for a folder and for what cannot be read.
  bool open(const char* name);
  bool open(const std::string& name);
  void close();

  /// True when no byte is left. An empty file is at its end as soon as it is open.
  bool eof() const { return !const_cast<vxistream*>(this)->refill(); }
  /// Open and not at its end.
  explicit operator bool() const { return !eof(); }

  /// Fetches the next part of the input when the buffer is empty; false at the end.
  bool refill();

  /// Goes to a byte counted from the start of the (uncompressed) content; false beyond its end, where the
  /// stream then stands. Going back in a .gz file starts it anew.
  bool seek(unsigned long long position);
  unsigned long long tell() const;

  /// No more bytes than this can follow: exact for memory and plain files, an upper limit for .gz (deflate
  /// cannot expand more than 1032-fold). What readers hold announced sizes against before they allocate.
  unsigned long long max_bytes_left() const;

  /// True when compressed content broke off or did not match its checksum; known once its end is reached.
  bool damaged() const;

 protected:
  void set_source(std::unique_ptr<InputSource> source);
  /// Reads n bytes where they are, which is the whole content of `source` (null: nothing but these bytes).
  void set_window(std::unique_ptr<InputSource> source, const void* bytes, unsigned long n);

 private:
  friend class vxsubstream;
  void empty_buffer(unsigned long long position);

  static constexpr unsigned long kBufferSize = 65536;

  std::unique_ptr<InputSource> source_;
  std::unique_ptr<unsigned char[]> buffer_;
  const unsigned char* next_ = nullptr;   // first byte not yet read
  const unsigned char* begin_ = nullptr;  // what the buffer holds
  const unsigned char* end_ = nullptr;
  unsigned long long end_position_ = 0;  // of end_, in the content
};

/// Input from a file.
class VXGRID_API vxifstream : public vxistream {
 public:
  vxifstream() = default;
  explicit vxifstream(const char* name) { open(name); }
  explicit vxifstream(const std::string& name) { open(name); }
};

/// Input from memory.
class VXGRID_API vxisstream : public vxistream {
 public:
  vxisstream() = default;
  explicit vxisstream(const std::string& bytes) { set(bytes); }

  /// Reads n bytes from `bytes`; with copy false they are used where they are and must stay.
  void set(char* bytes, unsigned long n, bool copy);
  void set(const std::string& bytes);
};

/// The next n bytes of another stream, or as many as there are, as a stream of their own. What stands in
/// memory already is read where it is, a long part of a file straight from the file. The other stream may not
/// be used while this one lives; it stands behind the part afterwards, however much of it was read.
class VXGRID_API vxsubstream : public vxistream {
 public:
  vxsubstream(vxistream& in, unsigned long n);
  ~vxsubstream() override;

  /// True when all n bytes are there.
  bool is_whole() const { return whole_; }
  /// Goes on with what the bytes are the .gz form of; before any was read. False, and nothing done, in a part
  /// of what was inflated like this already: a few bytes could unfold to any length.
  bool inflate();

 private:
  vxistream& in_;
  unsigned long long end_of_part_;
  bool whole_ = true;
  bool inflated_;
  std::string block_;  // the part, when the other stream cannot say what it holds
};

/// Byte output. A write that fails (disc full) raises a flag that stays up until the next open.
class VXGRID_API vxostream {
 public:
  vxostream();
  virtual ~vxostream();
  vxostream(const vxostream&) = delete;
  vxostream& operator=(const vxostream&) = delete;

  vxostream& write(const char* bytes, unsigned long n);
  vxostream& write(const unsigned char* bytes, unsigned long n);
  vxostream& operator<<(const char* text);  ///< nothing for null
  vxostream& operator<<(const std::string& text);
  vxostream& operator<<(vxostream& (*manipulator)(vxostream&)) { return manipulator(*this); }

  /// Creates or truncates a file; a name that ends in .gz is written compressed.
  bool open(const std::string& name);
  /// Both give false when anything written since open did not reach its place.
  bool flush();
  bool close();

  bool fail() const { return failed_; }
  explicit operator bool() const { return !failed_; }

 protected:
  void set_sink(std::unique_ptr<OutputSink> sink);
  OutputSink* sink() const { return sink_.get(); }

 private:
  std::unique_ptr<OutputSink> sink_;
  bool failed_ = false;
};

/// Output to a file.
class VXGRID_API vxofstream : public vxostream {
 public:
  vxofstream() = default;
  explicit vxofstream(const std::string& name) { open(name); }
};

/// Output to memory.
class VXGRID_API vxosstream : public vxostream {
 public:
  vxosstream();
  std::string str() const;
};

/// Output to memory for what must know its length before it goes to its stream.
class VXGRID_API vxgatherstream : public vxostream {
 public:
  vxgatherstream();

  /// Adds bytes that stay where they are: a long block is not copied and must live as long as this stream and
  /// those to which it is written.
  void refer(const void* bytes, unsigned long n);
  unsigned long long size() const;
  /// Everything, in order, to another stream; blocks referred to go to a gather stream as such.
  bool write_to(vxostream& out) const;

 private:
  GatherSink& gathered() const;
};

/// Writes one line end, "\n".
VXGRID_API vxostream& vxendl(vxostream& out);

/// Standard output and standard error, shared with stdio. They serve from the first static initialiser to the
/// last destructor.
VXGRID_API extern vxostream& vxout;
VXGRID_API extern vxostream& vxerr;

/// Opens a file (or .gz file) for reading; null when it does not open. VXCloseIStream closes and deletes.
VXGRID_API vxistream* VXOpenIStream(const char* name);
VXGRID_API void VXCloseIStream(vxistream* stream);
/// Opens a file for writing; null when it does not open. The caller closes and deletes it.
VXGRID_API vxostream* VXOpenOStream(const char* name);

}  // namespace VXHost
