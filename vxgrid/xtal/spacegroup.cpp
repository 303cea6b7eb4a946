#include <vxgrid/xtal/spacegroup.h>

#include <climits>

#include <vxgrid/host/error_handler.h>

namespace VXCore {
namespace {

// Letter case of ASCII, whatever the locale.
int upper(char c) {
  const int code = static_cast<unsigned char>(c);
  return code >= 'a' && code <= 'z' ? code - 'a' + 'A' : code;
}

// The first row one of whose names equals; the long name is tried first, row by row.
template <class Equals>
int find_row(Equals equals) {
  for (unsigned int row = 0; row < kSpaceGroupRows; ++row)
    if (equals(sglib[row].long_name) || equals(sglib[row].short_name)) return static_cast<int>(row);
  return -1;
}

int find_number(unsigned int number) {
  for (unsigned int row = 0; row < kSpaceGroupRows; ++row)
    if (sglib[row].number == number) return static_cast<int>(row);
  return -1;
}

}  // namespace

int FindSpaceGroup(unsigned int number) {
  const int row = find_number(number);
  return row >= 0 ? row : find_number(number % 1000);
}

int FindSpaceGroup(const std::string& name) {
  const char* wanted = name.c_str();
  int row = find_row([=](const char* known) { return vx_strcasecmp(known, wanted, INT_MAX) == 0; });
  if (row < 0) row = find_row([=](const char* known) { return strspcmp(known, wanted) == 0; });
  if (row < 0) {
    VXThrow.Info("sgname |%s|", wanted);
    // The bound is no prefix match, so this pass finds nothing new: the Info line is what there is to see.
    row = find_row([=](const char* known) { return vx_strcasecmp(known, wanted, 10) == 0; });
  }
  return row;
}

int strspcmp(const char* a, const char* b) {
  for (;; ++a, ++b) {
    while (*a == ' ') ++a;
    while (*b == ' ') ++b;
    if (upper(*a) != upper(*b)) return upper(*a) < upper(*b) ? -1 : 1;
    if (!*a) return 0;
  }
}

int vx_strcasecmp(const char* a, const char* b, unsigned int bound) {
  for (unsigned int i = 0;; ++i, ++a, ++b) {
    if (!*a) return *b ? 1 : 0;
    if (!*b) return -1;
    if (i == bound) return 1;
    if (upper(*a) != upper(*b)) return upper(*a) < upper(*b) ? -1 : 1;
  }
}

}  // namespace VXCore
