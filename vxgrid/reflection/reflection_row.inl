#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <string_view>

#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/reflection_impl.h>

namespace VXCore {

/// One line of a text file in the making, with the texts of printf in the C locale. It has room for sixteen
/// numbers of any size: a float with five decimals takes 46 characters at most.
class ReflectionRow {
 public:
  /// "%<width>d"
  ReflectionRow& Int(int value, int width) {
    return Padded(std::to_chars(end_, text_ + sizeof text_, value).ptr, width);
  }
  /// "%<width>.<decimals>f"
  ReflectionRow& Real(double value, int width, int decimals) {
    return Padded(std::to_chars(end_, text_ + sizeof text_, value, std::chars_format::fixed, decimals).ptr,
                  width);
  }
  ReflectionRow& Text(std::string_view text) {
    end_ = std::copy(text.begin(), text.end(), end_);
    return *this;
  }
  std::string_view Get() const { return {text_, static_cast<std::size_t>(end_ - text_)}; }

 private:
  ReflectionRow& Padded(char* end, int width) {
    const std::ptrdiff_t blanks = std::max<std::ptrdiff_t>(width - (end - end_), 0);
    std::memmove(end_ + blanks, end_, static_cast<std::size_t>(end - end_));
    std::memset(end_, ' ', static_cast<std::size_t>(blanks));
    end_ = end + blanks;
    return *this;
  }

  char text_[1024];
  char* end_ = text_;
};

/// Writes a line for each reflection, in the order of element access: fill(row, place in the columns).
template <class Fill>
bool write_rows(VXHost::vxostream& out, const VXReflectionImpl& set, Fill&& fill) {
  for (unsigned int i = 0; i < set.nref && !out.fail(); ++i) {
    const unsigned int place = set.sort_index ? set.sort_index[i] : i;
    if (place >= set.nref) continue;  // sorted before the set shrank
    ReflectionRow row;
    fill(row, place);
    const std::string_view line = row.Text("\n").Get();
    out.write(line.data(), line.size());
  }
  return !out.fail();
}

}  // namespace VXCore
