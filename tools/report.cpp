#include "report.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <rapidjson/memorystream.h>

#include <vxgrid/host/error_handler.h>

using VXCore::VXThrow;

namespace {

double seconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

/// Characters, where each byte that continues a UTF-8 sequence adds none.
size_t width(const std::string& cell) {
  return static_cast<size_t>(
      std::count_if(cell.begin(), cell.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

bool marks_wanted() {
  const char* no_color = std::getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) && !(no_color && *no_color);
}

template <class T>
std::string digits_of(T number) {
  char digits[40];
  return std::string(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

}  // namespace

std::vector<Failure> try_each(const std::vector<std::string>& files,
                              const std::function<void(const std::string&)>& work) {
  std::vector<Failure> failures;
  for (const std::string& file : files) try {
      work(file);
    } catch (const Failure& failure) {
      failures.push_back(failure);
    }
  return failures;
}

void throw_last(const std::vector<Failure>& failures) {
  for (size_t i = 0; i + 1 < failures.size(); ++i) std::fprintf(stderr, "vxgrid: %s\n", failures[i].what());
  if (!failures.empty()) throw failures.back();
}

std::string text(const char* format, ...) {
  va_list args, again;
  va_start(args, format);
  va_copy(again, args);
  std::string result(static_cast<size_t>(std::max(0, std::vsnprintf(nullptr, 0, format, args))), '\0');
  std::vsnprintf(result.data(), result.size() + 1, format, again);
  va_end(again);
  va_end(args);
  return result;
}

std::string join(const std::vector<std::string>& words, const char* between) {
  std::string all;
  for (const std::string& word : words) all += (all.empty() ? "" : between) + word;
  return all;
}

std::string shortest(float number) { return digits_of(number); }
std::string shortest(double number) { return digits_of(number); }

std::string valid_utf8(std::string_view text) {
  std::string valid;
  while (!text.empty()) {
    rapidjson::MemoryStream in(text.data(), text.size());
    rapidjson::StringBuffer character;
    const bool good = rapidjson::UTF8<>::Validate(in, character) && in.Tell() <= text.size();
    const size_t length = good ? in.Tell() : 1;
    valid += good ? text.substr(0, length) : "\uFFFD";
    text.remove_prefix(length);
  }
  return valid;
}

std::string plain_text(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 32 || c == 127; }, ' ');
  return valid_utf8(text);
}

void note(const Settings& settings, const std::string& line) {
  if (!settings.quiet) std::fprintf(stderr, "vxgrid: %s\n", plain_text(line).c_str());
}

void finish_output() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw Failure("standard output", std::strerror(errno));
}

LibraryLog::LibraryLog() { VXThrow.SetOutput(out_); }
LibraryLog::~LibraryLog() { VXThrow.ResetOutput(); }

std::vector<std::string> LibraryLog::lines(const std::string& file) const {
  std::vector<std::string> found;
  const std::string all = out_.str();
  for (size_t from = 0; from < all.size();) {
    const size_t end = std::min(all.find('\n', from), all.size());
    std::string line = plain_text(all.substr(from, end - from));
    from = end + 1;
    for (const std::string& lead :
         {std::string("Warning: "), std::string("Error: "), std::string("VXReadMolecule: "),
          std::string("VXMoleculeReader: "), file + ": ", file + ", "})
      if (line.compare(0, lead.size(), lead) == 0) line.erase(0, lead.size());
    if (!line.empty() && std::find(found.begin(), found.end(), line) == found.end()) found.push_back(line);
  }
  return found;
}

std::string LibraryLog::reason(const std::string& file, const char* otherwise) const {
  const std::vector<std::string> all = lines(file);
  return all.empty() ? otherwise : join(all, "; ");
}

void LibraryLog::pass_on(const Settings& settings, const std::string& file) const {
  for (const std::string& line : lines(file)) note(settings, file + ": " + line);
}

void Table::print() const {
  std::vector<std::string> heads = rows_.front().cells;
  std::vector<bool> to_right;
  for (std::string& head : heads) {
    to_right.push_back(head[0] == '>');
    if (to_right.back()) head.erase(0, 1);
  }
  std::vector<size_t> widths;
  for (const std::string& head : heads) widths.push_back(width(head));
  for (const Row& row : rows_)
    if (&row != &rows_.front())
      for (size_t i = 0; i < row.cells.size(); ++i) widths[i] = std::max(widths[i], width(row.cells[i]));

  const bool marks = marks_wanted();
  for (const Row& row : rows_) {
    const std::vector<std::string>& cells = &row == &rows_.front() ? heads : row.cells;
    std::string line;
    for (size_t i = 0; i < cells.size(); ++i) {
      const std::string fill(widths[i] - width(cells[i]), ' ');
      if (i > 0) line += "  ";
      line += to_right[i] ? fill + cells[i] : cells[i] + fill;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    if (marks && *row.mark)
      std::printf("%s%s\033[0m\n", row.mark, line.c_str());
    else
      std::printf("%s\n", line.c_str());
  }
}

ProgressBar::ProgressBar(const Settings& settings)
    : wanted_(!settings.quiet && isatty(STDERR_FILENO)), start_(seconds()), last_(start_) {}

ProgressBar::~ProgressBar() { Hide(); }

void ProgressBar::Hide() {
  if (shown_) std::fprintf(stderr, "\r\033[K");
  shown_ = false;
}

bool ProgressBar::Progress(unsigned int current, unsigned int total) {
  constexpr int kCells = 40;
  const double now = seconds();
  if (!wanted_ || total == 0 || now - start_ < 1.0 || now - last_ < 0.1) return true;
  last_ = now;
  shown_ = true;
  const double done = static_cast<double>(current) / total;
  const std::string cells(static_cast<size_t>(kCells * done), '#');
  std::fprintf(stderr, "\r[%-*s] %3.0f %%", kCells, cells.c_str(), 100 * done);
  return true;
}
