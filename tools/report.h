#pragma once

#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <vxgrid/host/stream.h>
#include <vxgrid/host/tracer.h>

/// What every verb takes.
struct Settings {
  bool json = false;
  bool quiet = false;
};

/// Work that failed: "FILE: reason" on one line. The command exits with 1.
class Failure : public std::runtime_error {
 public:
  Failure(const std::string& file, const std::string& reason) : Failure(file + ": " + reason) {}
  explicit Failure(const std::string& line) : std::runtime_error(line) {}
};

/// A command line that makes no sense. The command exits with 2.
class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Does work for each of several files, and goes on behind one for which it fails. All failures.
std::vector<Failure> try_each(const std::vector<std::string>& files,
                              const std::function<void(const std::string&)>& work);
/// Tells failures on standard error, the last of them by throwing it.
void throw_last(const std::vector<Failure>& failures);

/// printf into a string.
std::string text(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string join(const std::vector<std::string>& words, const char* between);
/// The fewest digits that give the same value back.
std::string shortest(float number);
std::string shortest(double number);

/// The text with U+FFFD for each byte that is not UTF-8.
std::string valid_utf8(std::string_view text);

/// Text of a file on one line of UTF-8, without tabs and terminal sequences.
std::string plain_text(std::string text);

/// A remark beside the results, one line on standard error; none with --quiet.
void note(const Settings& settings, const std::string& line);

/// Sees to it that all results reached standard output; Failure when they did not.
void finish_output();

/// Collects what the library reports while it lives, in place of standard error.
class LibraryLog {
 public:
  LibraryLog();
  ~LibraryLog();
  /// All lines so far as one, without their levels and without `file` in front; `otherwise` when there are
  /// none.
  std::string reason(const std::string& file, const char* otherwise) const;
  /// Passes the lines so far on as notes about `file`, each of them once.
  void pass_on(const Settings& settings, const std::string& file) const;

 private:
  std::vector<std::string> lines(const std::string& file) const;

  VXHost::vxosstream out_;
};

/// Rows of text in aligned columns, for standard output.
class Table {
 public:
  /// A head that starts with '>' belongs to a column aligned to the right.
  explicit Table(std::vector<std::string> heads) { rows_.push_back({std::move(heads), ""}); }
  /// `mark` is a terminal colour sequence for the row; it shows on a terminal only, unless NO_COLOR is set.
  void add(std::vector<std::string> cells, const char* mark = "") {
    rows_.push_back({std::move(cells), mark});
  }
  void print() const;

 private:
  struct Row {
    std::vector<std::string> cells;
    const char* mark;
  };
  std::vector<Row> rows_;
};

/// A JSON document under construction. Numbers have the fewest digits that give the same value back; those
/// that are not finite become null, and in text what valid_utf8 makes of it.
template <class Writer>
class JsonText {
 public:
  JsonText() : writer_(buffer_) { set_layout(writer_); }

  void open_object() { writer_.StartObject(); }
  void open_object(const char* key) { writer_.Key(key), writer_.StartObject(); }
  void close_object() { writer_.EndObject(); }
  void open_array() { writer_.StartArray(); }
  void open_array(const char* key) { writer_.Key(key), writer_.StartArray(); }
  void close_array() { writer_.EndArray(); }

  void value(std::string_view s) {
    const std::string valid = valid_utf8(s);
    writer_.String(valid.data(), static_cast<unsigned>(valid.size()));
  }
  void value(const char* s) { value(std::string_view(s)); }
  void value(const std::string& s) { value(std::string_view(s)); }
  void value(float number) { put_number(number); }
  void value(double number) { put_number(number); }
  void value(int number) { writer_.Int(number); }
  void value(unsigned number) { writer_.Uint(number); }

  template <class T>
  void field(const char* key, const T& what) {
    writer_.Key(key);
    value(what);
  }
  template <class T>
  void list(const char* key, const T& values) {
    writer_.Key(key);
    writer_.StartArray();
    for (const auto& each : values) value(each);
    writer_.EndArray();
  }

  std::string str() const { return buffer_.GetString(); }
  void print() const { std::puts(buffer_.GetString()); }

 private:
  static void set_layout(rapidjson::PrettyWriter<rapidjson::StringBuffer>& writer) {
    writer.SetIndent(' ', 1);
  }
  static void set_layout(rapidjson::Writer<rapidjson::StringBuffer>&) {}

  template <class T>
  void put_number(T number) {
    const std::string digits = std::isfinite(number) ? shortest(number) : "null";
    writer_.RawValue(digits.data(), digits.size(), rapidjson::kNumberType);
  }

  rapidjson::StringBuffer buffer_;
  Writer writer_;
};

using Json = JsonText<rapidjson::PrettyWriter<rapidjson::StringBuffer>>;
/// The same on one line.
using JsonLine = JsonText<rapidjson::Writer<rapidjson::StringBuffer>>;

/// Shows on a terminal how far work has come that takes more than a second. One bar covers `parts` calls of
/// equal length, of which this is number `part`.
class ProgressBar : public VXCore::VXTracerBase {
 public:
  explicit ProgressBar(const Settings& settings);
  ~ProgressBar() override;
  bool Progress(unsigned int current, unsigned int total) override;
  /// Clears the line for something else; the next progress shows again.
  void Hide();

 private:
  bool shown_ = false;
  bool wanted_;
  double start_, last_;
};
