#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <vxgrid/host/export.h>

namespace VXCore {

/// Divides `text` at every character of `separators`; `out` is replaced. With `runs_count_once` no token is
/// empty. Without it n separators give n + 1 tokens, empty ones among them.
VXGRID_API void VXStringTokenize(std::vector<std::string>& out, const std::string& text,
                                 const std::string& separators, bool runs_count_once = true);

/// Converts the whole text, in the notation of C ("1.5", "-2e-3", ".5", "7") whatever the locale. Blanks and
/// tabs around the number and one leading "+" are accepted, and so are "inf", "infinity" and "nan" in any
/// case, as printf writes them; hexadecimal numbers are not. A magnitude below the smallest becomes 0, one
/// beyond the largest is refused. False, with the target unchanged, for anything else.
VXGRID_API bool VXStringToNumber(const std::string& text, float& number);
VXGRID_API bool VXStringToNumber(const std::string& text, double& number);

/// The same for whole numbers in a base of 2 to 36, without a prefix. A sign of "-" and values out of range
/// are refused.
VXGRID_API bool VXStringToNumber(const std::string& text, unsigned int& number, int base = 10);

/// Text of a whole number in a base of 2 to 36, digits beyond 9 in lower case. False for another base.
VXGRID_API bool VXNumberToString(unsigned int number, std::string& text, int base = 10);
VXGRID_API bool VXNumberToString(long number, std::string& text, int base = 10);
VXGRID_API bool VXNumberToString(unsigned long number, std::string& text, int base = 10);

/// Text as printf("%.<digits><format>") gives it in the C locale, for formats e, f, g, E, F and G; negative
/// digits mean 6. False for another format.
VXGRID_API bool VXNumberToString(double number, std::string& text, char format, int digits);

/// The text after the last dot of the file name, where a final ".gz" does not count: "map" for "a/b.map.gz".
/// Empty without a dot (dots of folders do not count) and for null.
VXGRID_API std::string VXGetFileExtension(const char* name);

/// True when VXGetFileExtension(name) is `extension` (with or without its dot), letter case aside.
VXGRID_API bool VXFileExtension(const std::string& name, const std::string& extension);

/// True for a name that ends in ".gz".
VXGRID_API bool VXHasGzSuffix(std::string_view name);

/// Cuts a number off, towards zero, at 1/scale: scale 100000 keeps five decimals. Values too large to have
/// such decimals, infinities and not-a-number pass unchanged; so does everything for a scale below 1.
VXGRID_API double VXTruncate(double number, int scale);

}  // namespace VXCore
