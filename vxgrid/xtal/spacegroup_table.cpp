#include <vxgrid/xtal/spacegroup.h>

namespace VXCore {
namespace {

struct Centring {
  char letter;
  int count;
  int shift[3][3];  // in twelfths of the cell edges, so that thirds and quarters are whole
};

// International Tables A, chapter 1.2. H is the obverse rhombohedral lattice on hexagonal axes.
// clang-format off
constexpr Centring kCentrings[] = {
  {'P', 0, {}},
  {'A', 1, {{0, 6, 6}}},
  {'B', 1, {{6, 0, 6}}},
  {'C', 1, {{6, 6, 0}}},
  {'I', 1, {{6, 6, 6}}},
  {'F', 3, {{0, 6, 6}, {6, 0, 6}, {6, 6, 0}}},
  {'H', 2, {{8, 4, 4}, {4, 8, 8}}},
};
// clang-format on

constexpr const Centring& centring(char letter) {
  for (const Centring& each : kCentrings)
    if (each.letter == letter) return each;
  throw "unknown lattice letter";
}

struct Triplet {
  int rotation[3][3] = {};  // the image coordinate by row
  int shift[3] = {};        // twelfths
};

// "-x+1/2,y,z" and so on, up to the blank or the end behind it.
constexpr Triplet parse(const char*& text) {
  Triplet triplet;
  int row = 0, sign = 1;
  for (; *text && *text != ' ' && *text != ';'; ++text) {
    const char c = *text;
    if (c == ',') ++row;
    if (c == ',' || c == '+' || c == '-') {
      sign = c == '-' ? -1 : 1;
    } else if (c >= 'x' && c <= 'z') {
      triplet.rotation[row][c - 'x'] = sign;
    } else {  // n/m
      triplet.shift[row] = sign * (c - '0') * 12 / (text[2] - '0');
      text += 2;
    }
  }
  if (row != 2) throw "a triplet has three coordinates";
  return triplet;
}

constexpr void fill(float* m, const Triplet& triplet, const int* shift) {
  for (int to = 0; to < 3; ++to) {
    for (int from = 0; from < 3; ++from) m[4 * from + to] = static_cast<float>(triplet.rotation[to][from]);
    m[12 + to] = static_cast<float>((triplet.shift[to] + shift[to]) % 12) / 12.0f;
  }
  m[15] = 1;
}

// One row of the table: the operators of `block`, then those again with each centring translation added,
// modulo 1. Worked out by the compiler, which refuses a block that does not make `op_count` operators.
constexpr SGRecord row(unsigned int number, const char* short_name, const char* long_name,
                       unsigned int crystal_system, char lattice, unsigned int op_count, const char* block) {
  constexpr int kNoShift[3] = {};
  const Centring& centre = centring(lattice);
  const unsigned int in_block = op_count / (centre.count + 1);
  SGRecord record{number, short_name, long_name, crystal_system, op_count, {}};
  for (unsigned int op = 0; op < in_block; ++op) {
    const Triplet triplet = parse(block);
    fill(record.ops[op], triplet, kNoShift);
    for (int i = 0; i < centre.count; ++i)
      fill(record.ops[(i + 1) * in_block + op], triplet, centre.shift[i]);
    if ((op + 1 == in_block) != (*block == '\0')) throw "not op_count operators";
    if (*block) block += 2;  // "; "
  }
  return record;
}

// Number, short name, long name, crystal system, lattice letter, operator count, and the primitive block as
// images of (x, y, z): general positions of International Tables A, origin choice 1 where there are two, in
// the order of the CCP4 symmetry library. Names are kept letter for letter, also where they look odd, as "P
// 1-" and "C 2 2 21a)". The order of rows and operators is fixed: lookups take the first match, and molecules
// store operator numbers.
//
// The lattice letter is not that of the name in 5 I2 and 1008 B11m, whose second block is the C-centred one,
// and 1023 I222a is written in full because the last two operators of its centred block stand in swapped
// order. All three are meant.
// clang-format off
constexpr SGRecord kTable[] = {
  row(   1, "P1",       "P 1",             1, 'P',   1, "x,y,z"),
  row(   2, "P-1",      "P -1",            1, 'P',   2, "x,y,z; -x,-y,-z"),
  row(   2, "P-1",      "P 1-",            1, 'P',   2, "x,y,z; -x,-y,-z"),
  row(   3, "P2",       "P 1 2 1",         2, 'P',   2, "x,y,z; -x,y,-z"),
  row(   4, "P21",      "P 1 21 1",        2, 'P',   2, "x,y,z; -x,y+1/2,-z"),
  row(   5, "C2",       "C 1 2 1",         2, 'C',   4, "x,y,z; -x,y,-z"),
  row(   5, "I2",       "I 1 2 1",         2, 'C',   4, "x,y,z; -x,y,-z"),
  row(   6, "Pm",       "P 1 m 1",         2, 'P',   2, "x,y,z; x,-y,z"),
  row(   7, "Pc",       "P 1 c 1",         2, 'P',   2, "x,y,z; x,-y,z+1/2"),
  row(   8, "Cm",       "C 1 m 1",         2, 'C',   4, "x,y,z; x,-y,z"),
  row(   9, "Cc",       "C 1 c 1",         2, 'C',   4, "x,y,z; x,-y,z+1/2"),
  row(  10, "P2/m",     "P 1 2/m 1",       2, 'P',   4, "x,y,z; x,-y,z; -x,y,-z; -x,-y,-z"),
  row(  11, "P21/m",    "P 1 21/m 1",      2, 'P',   4, "x,y,z; -x,y+1/2,-z; -x,-y,-z; x,-y+1/2,z"),
  row(  12, "C2/m",     "C 1 2/m 1",       2, 'C',   8, "x,y,z; x,-y,z; -x,y,-z; -x,-y,-z"),
  row(  13, "P2/c",     "P 1 2/c 1",       2, 'P',   4, "x,y,z; -x,y,-z+1/2; -x,-y,-z; x,-y,z+1/2"),
  row(  14, "P21/c",    "P 1 21/c 1",      2, 'P',   4, "x,y,z; -x,-y,-z; -x,y+1/2,-z+1/2; x,-y+1/2,z+1/2"),
  row(  14, "P21/n",    "P 1 21/n 1",      2, 'P',   4, "x,y,z; -x+1/2,y+1/2,-z+1/2; -x,-y,-z; "
                                                        "x+1/2,-y+1/2,z+1/2"),
  row(  15, "C2/c",     "C 1 2/c 1",       2, 'C',   8, "x,y,z; -x,y,-z+1/2; -x,-y,-z; x,-y,z+1/2"),
  row(  16, "P222",     "P 2 2 2",         3, 'P',   4, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z"),
  row(  17, "P2221",    "P 2 2 21",        3, 'P',   4, "x,y,z; -x,-y,z+1/2; -x,y,-z+1/2; x,-y,-z"),
  row(  18, "P21212",   "P 21 21 2",       3, 'P',   4, "x,y,z; -x,-y,z; -x+1/2,y+1/2,-z; x+1/2,-y+1/2,-z"),
  row(  19, "P212121",  "P 21 21 21",      3, 'P',   4, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z"),
  row(  20, "C2221",    "C 2 2 21",        3, 'C',   8, "x,y,z; -x,-y,z+1/2; -x,y,-z+1/2; x,-y,-z"),
  row(  21, "C222",     "C 2 2 2",         3, 'C',   8, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z"),
  row(  22, "F222",     "F 2 2 2",         3, 'F',  16, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z"),
  row(  23, "I222",     "I 2 2 2",         3, 'I',   8, "x,y,z; -x,-y,z; x,-y,-z; -x,y,-z"),
  row(  24, "I212121",  "I 21 21 21",      3, 'I',   8, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z"),
  row(  25, "Pmm2",     "P m m 2",         3, 'P',   4, "x,y,z; -x,-y,z; x,-y,z; -x,y,z"),
  row(  26, "Pmc21",    "P m c 21",        3, 'P',   4, "x,y,z; -x,-y,z+1/2; x,-y,z+1/2; -x,y,z"),
  row(  27, "Pcc2",     "P c c 2",         3, 'P',   4, "x,y,z; -x,-y,z; x,-y,z+1/2; -x,y,z+1/2"),
  row(  28, "Pma2",     "P m a 2",         3, 'P',   4, "x,y,z; -x,-y,z; x+1/2,-y,z; -x+1/2,y,z"),
  row(  29, "Pca21",    "P c a 21",        3, 'P',   4, "x,y,z; -x,-y,z+1/2; x+1/2,-y,z; -x+1/2,y,z+1/2"),
  row(  30, "Pnc2",     "P n c 2",         3, 'P',   4, "x,y,z; -x,-y,z; x,-y+1/2,z+1/2; -x,y+1/2,z+1/2"),
  row(  31, "Pmn21",    "P m n 21",        3, 'P',   4, "x,y,z; -x+1/2,-y,z+1/2; x+1/2,-y,z+1/2; -x,y,z"),
  row(  32, "Pba2",     "P b a 2",         3, 'P',   4, "x,y,z; -x,-y,z; x+1/2,-y+1/2,z; -x+1/2,y+1/2,z"),
  row(  33, "Pna21",    "P n a 21",        3, 'P',   4, "x,y,z; -x,-y,z+1/2; x+1/2,-y+1/2,z; "
                                                        "-x+1/2,y+1/2,z+1/2"),
  row(  34, "Pnn2",     "P n n 2",         3, 'P',   4, "x,y,z; -x,-y,z; x+1/2,-y+1/2,z+1/2; "
                                                        "-x+1/2,y+1/2,z+1/2"),
  row(  35, "Cmm2",     "C m m 2",         3, 'C',   8, "x,y,z; -x,-y,z; x,-y,z; -x,y,z"),
  row(  36, "Cmc21",    "C m c 21",        3, 'C',   8, "x,y,z; -x,-y,z+1/2; x,-y,z+1/2; -x,y,z"),
  row(  37, "Ccc2",     "C c c 2",         3, 'C',   8, "x,y,z; -x,-y,z; x,-y,z+1/2; -x,y,z+1/2"),
  row(  38, "Amm2",     "A m m 2",         3, 'A',   8, "x,y,z; -x,-y,z; x,-y,z; -x,y,z"),
  row(  39, "Abm2",     "A b m 2",         3, 'A',   8, "x,y,z; -x,-y,z; x,-y+1/2,z; -x,y+1/2,z"),
  row(  40, "Ama2",     "A m a 2",         3, 'A',   8, "x,y,z; -x,-y,z; x+1/2,-y,z; -x+1/2,y,z"),
  row(  41, "Aba2",     "A b a 2",         3, 'A',   8, "x,y,z; -x,-y,z; x+1/2,-y+1/2,z; -x+1/2,y+1/2,z"),
  row(  42, "Fmm2",     "F m m 2",         3, 'F',  16, "x,y,z; -x,-y,z; x,-y,z; -x,y,z"),
  row(  43, "Fdd2",     "F d d 2",         3, 'F',  16, "x,y,z; -x,-y,z; x+1/4,-y+1/4,z+1/4; "
                                                        "-x+1/4,y+1/4,z+1/4"),
  row(  44, "Imm2",     "I m m 2",         3, 'I',   8, "x,y,z; -x,-y,z; x,-y,z; -x,y,z"),
  row(  45, "Iba2",     "I b a 2",         3, 'I',   8, "x,y,z; -x,-y,z; x+1/2,-y+1/2,z; -x+1/2,y+1/2,z"),
  row(  46, "Ima2",     "I m a 2",         3, 'I',   8, "x,y,z; -x,-y,z; x+1/2,-y,z; -x+1/2,y,z"),
  row(  47, "Pmmm",     "P 2/m 2/m 2/m",   3, 'P',   8, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; -x,-y,-z; "
                                                        "x,y,-z; x,-y,z; -x,y,z"),
  row(  48, "Pnnn",     "P 2/n 2/n 2/n",   3, 'P',   8, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; "
                                                        "-x+1/2,-y+1/2,-z+1/2; x+1/2,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,z+1/2; -x+1/2,y+1/2,z+1/2"),
  row(  49, "Pccm",     "P 2/c 2/c 2/m",   3, 'P',   8, "x,y,z; -x,-y,z; -x,y,-z+1/2; x,-y,-z+1/2; "
                                                        "-x,-y,-z; x,y,-z; x,-y,z+1/2; -x,y,z+1/2"),
  row(  50, "Pban",     "P 2/b 2/a 2/n",   3, 'P',   8, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; "
                                                        "-x+1/2,-y+1/2,-z; x+1/2,y+1/2,-z; x+1/2,-y+1/2,z; "
                                                        "-x+1/2,y+1/2,z"),
  row(  51, "Pmma",     "P 21/m 2/m 2/a",  3, 'P',   8, "x,y,z; -x+1/2,-y,z; -x,y,-z; x+1/2,-y,-z; "
                                                        "-x,-y,-z; x+1/2,y,-z; x,-y,z; -x+1/2,y,z"),
  row(  52, "Pnna",     "P 2/n 21/n 2/a",  3, 'P',   8, "x,y,z; -x+1/2,-y,z; -x+1/2,y+1/2,-z+1/2; "
                                                        "x,-y+1/2,-z+1/2; -x,-y,-z; x+1/2,y,-z; "
                                                        "x+1/2,-y+1/2,z+1/2; -x,y+1/2,z+1/2"),
  row(  53, "Pmna",     "P 2/m 2/n 21/a",  3, 'P',   8, "x,y,z; -x+1/2,-y,z+1/2; -x+1/2,y,-z+1/2; x,-y,-z; "
                                                        "-x,-y,-z; x+1/2,y,-z+1/2; x+1/2,-y,z+1/2; -x,y,z"),
  row(  54, "Pcca",     "P 21/c 2/c 2/a",  3, 'P',   8, "x,y,z; -x+1/2,-y,z; -x,y,-z+1/2; x+1/2,-y,-z+1/2; "
                                                        "-x,-y,-z; x+1/2,y,-z; x,-y,z+1/2; -x+1/2,y,z+1/2"),
  row(  55, "Pbam",     "P 21/b 21/a 2/m", 3, 'P',   8, "x,y,z; -x,-y,z; -x+1/2,y+1/2,-z; x+1/2,-y+1/2,-z; "
                                                        "-x,-y,-z; x,y,-z; x+1/2,-y+1/2,z; -x+1/2,y+1/2,z"),
  row(  56, "Pccn",     "P 21/c 21/c 2/n", 3, 'P',   8, "x,y,z; -x+1/2,-y+1/2,z; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y,-z+1/2; -x,-y,-z; x+1/2,y+1/2,-z; "
                                                        "x,-y+1/2,z+1/2; -x+1/2,y,z+1/2"),
  row(  57, "Pbcm",     "P 2/b 21/c 21/m", 3, 'P',   8, "x,y,z; -x,-y,z+1/2; -x,y+1/2,-z+1/2; x,-y+1/2,-z; "
                                                        "-x,-y,-z; x,y,-z+1/2; x,-y+1/2,z+1/2; -x,y+1/2,z"),
  row(  58, "Pnnm",     "P 21/n 21/n 2/m", 3, 'P',   8, "x,y,z; -x,-y,z; -x+1/2,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z+1/2; -x,-y,-z; x,y,-z; "
                                                        "x+1/2,-y+1/2,z+1/2; -x+1/2,y+1/2,z+1/2"),
  row(  59, "Pmmn",     "P 21/m 21/m 2/n", 3, 'P',   8, "x,y,z; -x,-y,z; -x+1/2,y+1/2,-z; x+1/2,-y+1/2,-z; "
                                                        "-x+1/2,-y+1/2,-z; x+1/2,y+1/2,-z; x,-y,z; -x,y,z"),
  row(  60, "Pbcn",     "P 21/b 2/c 21/n", 3, 'P',   8, "x,y,z; -x+1/2,-y+1/2,z+1/2; -x,y,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z; -x,-y,-z; x+1/2,y+1/2,-z+1/2; "
                                                        "x,-y,z+1/2; -x+1/2,y+1/2,z"),
  row(  61, "Pbca",     "P 21/b 21/c 21/a", 3, 'P',   8, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                         "x+1/2,-y+1/2,-z; -x,-y,-z; x+1/2,y,-z+1/2; "
                                                         "x,-y+1/2,z+1/2; -x+1/2,y+1/2,z"),
  row(  62, "Pnma",     "P 21/n 21/m 21/a", 3, 'P',   8, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z; "
                                                         "x+1/2,-y+1/2,-z+1/2; -x,-y,-z; x+1/2,y,-z+1/2; "
                                                         "x,-y+1/2,z; -x+1/2,y+1/2,z+1/2"),
  row(  63, "Cmcm",     "C 2/m 2/c 21/m",  3, 'C',  16, "x,y,z; -x,-y,z+1/2; -x,y,-z+1/2; x,-y,-z; "
                                                        "-x,-y,-z; x,y,-z+1/2; x,-y,z+1/2; -x,y,z"),
  row(  64, "Cmca",     "C 2/m 2/c 21/a",  3, 'C',  16, "x,y,z; -x,-y+1/2,z+1/2; -x,y+1/2,-z+1/2; x,-y,-z; "
                                                        "-x,-y,-z; x,y+1/2,-z+1/2; x,-y+1/2,z+1/2; -x,y,z"),
  row(  65, "Cmmm",     "C 2/m 2/m 2/m",   3, 'C',  16, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; -x,-y,-z; "
                                                        "x,y,-z; x,-y,z; -x,y,z"),
  row(  66, "Cccm",     "C 2/c 2/c 2/m",   3, 'C',  16, "x,y,z; -x,-y,z; -x,y,-z+1/2; x,-y,-z+1/2; "
                                                        "-x,-y,-z; x,y,-z; x,-y,z+1/2; -x,y,z+1/2"),
  row(  67, "Cmma",     "C 2/m 2/m 2/a",   3, 'C',  16, "x,y,z; -x,-y+1/2,z; -x,y+1/2,-z; x,-y,-z; "
                                                        "-x,-y,-z; x,y+1/2,-z; x,-y+1/2,z; -x,y,z"),
  row(  68, "Ccca",     "C 2/c 2/c 2/a",   3, 'C',  16, "x,y,z; -x+1/2,-y+1/2,z; -x,y,-z; x+1/2,-y+1/2,-z; "
                                                        "-x,-y+1/2,-z+1/2; x+1/2,y,-z+1/2; x,-y+1/2,z+1/2; "
                                                        "-x+1/2,y,z+1/2"),
  row(  69, "Fmmm",     "F 2/m 2/m 2/m",   3, 'F',  32, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; -x,-y,-z; "
                                                        "x,y,-z; x,-y,z; -x,y,z"),
  row(  70, "Fddd",     "F 2/d 2/d 2/d",   3, 'F',  32, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; "
                                                        "-x+1/4,-y+1/4,-z+1/4; x+1/4,y+1/4,-z+1/4; "
                                                        "x+1/4,-y+1/4,z+1/4; -x+1/4,y+1/4,z+1/4"),
  row(  71, "Immm",     "I 2/m 2/m 2/m",   3, 'I',  16, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; -x,-y,-z; "
                                                        "x,y,-z; x,-y,z; -x,y,z"),
  row(  72, "Ibam",     "I 2/b 2/a 2/m",   3, 'I',  16, "x,y,z; -x,-y,z; -x+1/2,y+1/2,-z; x+1/2,-y+1/2,-z; "
                                                        "-x,-y,-z; x,y,-z; x+1/2,-y+1/2,z; -x+1/2,y+1/2,z"),
  row(  73, "Ibca",     "I 21/b 21/c 21/a", 3, 'I',  16, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                         "x+1/2,-y+1/2,-z; -x,-y,-z; x+1/2,y,-z+1/2; "
                                                         "x,-y+1/2,z+1/2; -x+1/2,y+1/2,z"),
  row(  74, "Imma",     "I 21/m 21/m 21/a", 3, 'I',  16, "x,y,z; -x,-y+1/2,z; -x,y+1/2,-z; x,-y,-z; "
                                                         "-x,-y,-z; x,y+1/2,-z; x,-y+1/2,z; -x,y,z"),
  row(  75, "P4",       "P 4",             4, 'P',   4, "x,y,z; -x,-y,z; -y,x,z; y,-x,z"),
  row(  76, "P41",      "P 41",            4, 'P',   4, "x,y,z; -x,-y,z+1/2; -y,x,z+1/4; y,-x,z+3/4"),
  row(  77, "P42",      "P 42",            4, 'P',   4, "x,y,z; -x,-y,z; -y,x,z+1/2; y,-x,z+1/2"),
  row(  78, "P43",      "P 43",            4, 'P',   4, "x,y,z; -x,-y,z+1/2; -y,x,z+3/4; y,-x,z+1/4"),
  row(  79, "I4",       "I 4",             4, 'I',   8, "x,y,z; -x,-y,z; -y,x,z; y,-x,z"),
  row(  80, "I41",      "I 41",            4, 'I',   8, "x,y,z; -x+1/2,-y+1/2,z+1/2; -y,x+1/2,z+1/4; "
                                                        "y+1/2,-x,z+3/4"),
  row(  81, "P-4",      "P -4",            4, 'P',   4, "x,y,z; -x,-y,z; y,-x,-z; -y,x,-z"),
  row(  82, "I-4",      "I -4",            4, 'I',   8, "x,y,z; -x,-y,z; y,-x,-z; -y,x,-z"),
  row(  83, "P4/m",     "P 4/m",           4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x,-y,-z; x,y,-z; "
                                                        "y,-x,-z; -y,x,-z"),
  row(  84, "P42/m",    "P 42/m",          4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z+1/2; y,-x,z+1/2; -x,-y,-z; "
                                                        "x,y,-z; y,-x,-z+1/2; -y,x,-z+1/2"),
  row(  85, "P4/n",     "P 4/n",           4, 'P',   8, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z; y+1/2,-x+1/2,z; "
                                                        "-x+1/2,-y+1/2,-z; x+1/2,y+1/2,-z; y,-x,-z; "
                                                        "-y,x,-z"),
  row(  86, "P42/n",    "P 42/n",          4, 'P',   8, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z+1/2; "
                                                        "y+1/2,-x+1/2,z+1/2; -x+1/2,-y+1/2,-z+1/2; "
                                                        "x+1/2,y+1/2,-z+1/2; y,-x,-z; -y,x,-z"),
  row(  87, "I4/m",     "I 4/m",           4, 'I',  16, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x,-y,-z; x,y,-z; "
                                                        "y,-x,-z; -y,x,-z"),
  row(  88, "I41/a",    "I 41/a",          4, 'I',  16, "x,y,z; -x+1/2,-y+1/2,z+1/2; -y,x+1/2,z+1/4; "
                                                        "y+1/2,-x,z+3/4; -x,-y+1/2,-z+1/4; x+1/2,y,-z+3/4; "
                                                        "y,-x,-z; -y+1/2,x+1/2,-z+1/2"),
  row(  89, "P422",     "P 4 2 2",         4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x,y,-z; x,-y,-z; "
                                                        "y,x,-z; -y,-x,-z"),
  row(  90, "P4212",    "P 4 21 2",        4, 'P',   8, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z; y+1/2,-x+1/2,z; "
                                                        "-x+1/2,y+1/2,-z; x+1/2,-y+1/2,-z; y,x,-z; "
                                                        "-y,-x,-z"),
  row(  91, "P4122",    "P 41 2 2",        4, 'P',   8, "x,y,z; -x,-y,z+1/2; -y,x,z+1/4; y,-x,z+3/4; "
                                                        "-x,y,-z; x,-y,-z+1/2; y,x,-z+3/4; -y,-x,-z+1/4"),
  row(  92, "P41212",   "P 41 21 2",       4, 'P',   8, "x,y,z; -x,-y,z+1/2; -y+1/2,x+1/2,z+1/4; "
                                                        "y+1/2,-x+1/2,z+3/4; -x+1/2,y+1/2,-z+1/4; "
                                                        "x+1/2,-y+1/2,-z+3/4; y,x,-z; -y,-x,-z+1/2"),
  row(  93, "P4222",    "P 42 2 2",        4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z+1/2; y,-x,z+1/2; -x,y,-z; "
                                                        "x,-y,-z; y,x,-z+1/2; -y,-x,-z+1/2"),
  row(  94, "P42212",   "P 42 21 2",       4, 'P',   8, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z+1/2; "
                                                        "y+1/2,-x+1/2,z+1/2; -x+1/2,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z+1/2; y,x,-z; -y,-x,-z"),
  row(  95, "P4322",    "P 43 2 2",        4, 'P',   8, "x,y,z; -x,-y,z+1/2; -y,x,z+3/4; y,-x,z+1/4; "
                                                        "-x,y,-z; x,-y,-z+1/2; y,x,-z+1/4; -y,-x,-z+3/4"),
  row(  96, "P43212",   "P 43 21 2",       4, 'P',   8, "x,y,z; -x,-y,z+1/2; -y+1/2,x+1/2,z+3/4; "
                                                        "y+1/2,-x+1/2,z+1/4; -x+1/2,y+1/2,-z+3/4; "
                                                        "x+1/2,-y+1/2,-z+1/4; y,x,-z; -y,-x,-z+1/2"),
  row(  97, "I422",     "I 4 2 2",         4, 'I',  16, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x,y,-z; x,-y,-z; "
                                                        "y,x,-z; -y,-x,-z"),
  row(  98, "I4122",    "I 41 2 2",        4, 'I',  16, "x,y,z; -x+1/2,-y+1/2,z+1/2; -y,x+1/2,z+1/4; "
                                                        "y+1/2,-x,z+3/4; -x+1/2,y,-z+3/4; x,-y+1/2,-z+1/4; "
                                                        "y+1/2,x+1/2,-z+1/2; -y,-x,-z"),
  row(  99, "P4mm",     "P 4 m m",         4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; x,-y,z; -x,y,z; "
                                                        "-y,-x,z; y,x,z"),
  row( 100, "P4bm",     "P 4 b m",         4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; x+1/2,-y+1/2,z; "
                                                        "-x+1/2,y+1/2,z; -y+1/2,-x+1/2,z; y+1/2,x+1/2,z"),
  row( 101, "P42cm",    "P 42 c m",        4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z+1/2; y,-x,z+1/2; "
                                                        "x,-y,z+1/2; -x,y,z+1/2; -y,-x,z; y,x,z"),
  row( 102, "P42nm",    "P 42 n m",        4, 'P',   8, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z+1/2; "
                                                        "y+1/2,-x+1/2,z+1/2; x+1/2,-y+1/2,z+1/2; "
                                                        "-x+1/2,y+1/2,z+1/2; -y,-x,z; y,x,z"),
  row( 103, "P4cc",     "P 4 c c",         4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; x,-y,z+1/2; "
                                                        "-x,y,z+1/2; -y,-x,z+1/2; y,x,z+1/2"),
  row( 104, "P4nc",     "P 4 n c",         4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; "
                                                        "x+1/2,-y+1/2,z+1/2; -x+1/2,y+1/2,z+1/2; "
                                                        "-y+1/2,-x+1/2,z+1/2; y+1/2,x+1/2,z+1/2"),
  row( 105, "P42mc",    "P 42 m c",        4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z+1/2; y,-x,z+1/2; x,-y,z; "
                                                        "-x,y,z; -y,-x,z+1/2; y,x,z+1/2"),
  row( 106, "P42bc",    "P 42 b c",        4, 'P',   8, "x,y,z; -x,-y,z; -y,x,z+1/2; y,-x,z+1/2; "
                                                        "x+1/2,-y+1/2,z; -x+1/2,y+1/2,z; "
                                                        "-y+1/2,-x+1/2,z+1/2; y+1/2,x+1/2,z+1/2"),
  row( 107, "I4mm",     "I 4 m m",         4, 'I',  16, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; x,-y,z; -x,y,z; "
                                                        "-y,-x,z; y,x,z"),
  row( 108, "I4cm",     "I 4 c m",         4, 'I',  16, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; x,-y,z+1/2; "
                                                        "-x,y,z+1/2; -y,-x,z+1/2; y,x,z+1/2"),
  row( 109, "I41md",    "I 41 m d",        4, 'I',  16, "x,y,z; -x+1/2,-y+1/2,z+1/2; -y,x+1/2,z+1/4; "
                                                        "y+1/2,-x,z+3/4; x,-y,z; -x+1/2,y+1/2,z+1/2; "
                                                        "-y,-x+1/2,z+1/4; y+1/2,x,z+3/4"),
  row( 110, "I41cd",    "I 41 c d",        4, 'I',  16, "x,y,z; -x+1/2,-y+1/2,z+1/2; -y,x+1/2,z+1/4; "
                                                        "y+1/2,-x,z+3/4; x,-y,z+1/2; -x+1/2,y+1/2,z; "
                                                        "-y,-x+1/2,z+3/4; y+1/2,x,z+1/4"),
  row( 111, "P-42m",    "P -4 2 m",        4, 'P',   8, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; -x,y,-z; "
                                                        "x,-y,-z; -y,-x,z; y,x,z"),
  row( 112, "P-42c",    "P -4 2 c",        4, 'P',   8, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; -x,y,-z+1/2; "
                                                        "x,-y,-z+1/2; -y,-x,z+1/2; y,x,z+1/2"),
  row( 113, "P-421m",   "P -4 21 m",       4, 'P',   8, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; "
                                                        "-x+1/2,y+1/2,-z; x+1/2,-y+1/2,-z; "
                                                        "-y+1/2,-x+1/2,z; y+1/2,x+1/2,z"),
  row( 114, "P-421c",   "P -4 21 c",       4, 'P',   8, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; "
                                                        "-x+1/2,y+1/2,-z+1/2; x+1/2,-y+1/2,-z+1/2; "
                                                        "-y+1/2,-x+1/2,z+1/2; y+1/2,x+1/2,z+1/2"),
  row( 115, "P-4m2",    "P -4 m 2",        4, 'P',   8, "x,y,z; -x,-y,z; y,-x,-z; -y,x,-z; x,-y,z; -x,y,z; "
                                                        "y,x,-z; -y,-x,-z"),
  row( 116, "P-4c2",    "P -4 c 2",        4, 'P',   8, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; x,-y,z+1/2; "
                                                        "-x,y,z+1/2; y,x,-z+1/2; -y,-x,-z+1/2"),
  row( 117, "P-4b2",    "P -4 b 2",        4, 'P',   8, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; x+1/2,-y+1/2,z; "
                                                        "-x+1/2,y+1/2,z; y+1/2,x+1/2,-z; -y+1/2,-x+1/2,-z"),
  row( 118, "P-4n2",    "P -4 n 2",        4, 'P',   8, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; "
                                                        "x+1/2,-y+1/2,z+1/2; -x+1/2,y+1/2,z+1/2; "
                                                        "y+1/2,x+1/2,-z+1/2; -y+1/2,-x+1/2,-z+1/2"),
  row( 119, "I-4m2",    "I -4 m 2",        4, 'I',  16, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; x,-y,z; -x,y,z; "
                                                        "y,x,-z; -y,-x,-z"),
  row( 120, "I-4c2",    "I -4 c 2",        4, 'I',  16, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; x,-y,z+1/2; "
                                                        "-x,y,z+1/2; y,x,-z+1/2; -y,-x,-z+1/2"),
  row( 121, "I-42m",    "I -4 2 m",        4, 'I',  16, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; -x,y,-z; "
                                                        "x,-y,-z; -y,-x,z; y,x,z"),
  row( 122, "I-42d",    "I -4 2 d",        4, 'I',  16, "x,y,z; -x,-y,z; -y,x,-z; y,-x,-z; "
                                                        "-x+1/2,y,-z+3/4; x+1/2,-y,-z+3/4; "
                                                        "-y+1/2,-x,z+3/4; y+1/2,x,z+3/4"),
  row( 123, "P4/mmm",   "P 4/m 2/m 2/m",   4, 'P',  16, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x,y,-z; x,-y,-z; "
                                                        "y,x,-z; -y,-x,-z; -x,-y,-z; x,y,-z; y,-x,-z; "
                                                        "-y,x,-z; x,-y,z; -x,y,z; -y,-x,z; y,x,z"),
  row( 124, "P4/mcc",   "P 4/m 2/c 2/c",   4, 'P',  16, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x,y,-z+1/2; "
                                                        "x,-y,-z+1/2; y,x,-z+1/2; -y,-x,-z+1/2; -x,-y,-z; "
                                                        "x,y,-z; y,-x,-z; -y,x,-z; x,-y,z+1/2; -x,y,z+1/2; "
                                                        "-y,-x,z+1/2; y,x,z+1/2"),
  row( 125, "P4/nbm",   "P 4/n 2/b 2/m",   4, 'P',  16, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x,y,-z; x,-y,-z; "
                                                        "y,x,-z; -y,-x,-z; -x+1/2,-y+1/2,-z; "
                                                        "x+1/2,y+1/2,-z; y+1/2,-x+1/2,-z; -y+1/2,x+1/2,-z; "
                                                        "x+1/2,-y+1/2,z; -x+1/2,y+1/2,z; -y+1/2,-x+1/2,z; "
                                                        "y+1/2,x+1/2,z"),
  row( 126, "P4/nnc",   "P 4/n 2/n 2/c",   4, 'P',  16, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x,y,-z; x,-y,-z; "
                                                        "y,x,-z; -y,-x,-z; -x+1/2,-y+1/2,-z+1/2; "
                                                        "x+1/2,y+1/2,-z+1/2; y+1/2,-x+1/2,-z+1/2; "
                                                        "-y+1/2,x+1/2,-z+1/2; x+1/2,-y+1/2,z+1/2; "
                                                        "-x+1/2,y+1/2,z+1/2; -y+1/2,-x+1/2,z+1/2; "
                                                        "y+1/2,x+1/2,z+1/2"),
  row( 127, "P4/mbm",   "P 4/m 21/b 2/m",  4, 'P',  16, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x+1/2,y+1/2,-z; "
                                                        "x+1/2,-y+1/2,-z; y+1/2,x+1/2,-z; "
                                                        "-y+1/2,-x+1/2,-z; -x,-y,-z; x,y,-z; y,-x,-z; "
                                                        "-y,x,-z; x+1/2,-y+1/2,z; -x+1/2,y+1/2,z; "
                                                        "-y+1/2,-x+1/2,z; y+1/2,x+1/2,z"),
  row( 128, "P4/mnc",   "P 4/m 21/n 2/c",  4, 'P',  16, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; "
                                                        "-x+1/2,y+1/2,-z+1/2; x+1/2,-y+1/2,-z+1/2; "
                                                        "y+1/2,x+1/2,-z+1/2; -y+1/2,-x+1/2,-z+1/2; "
                                                        "-x,-y,-z; x,y,-z; y,-x,-z; -y,x,-z; "
                                                        "x+1/2,-y+1/2,z+1/2; -x+1/2,y+1/2,z+1/2; "
                                                        "-y+1/2,-x+1/2,z+1/2; y+1/2,x+1/2,z+1/2"),
  row( 129, "P4/nmm",   "P 4/n 21/m 2/m",  4, 'P',  16, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z; y+1/2,-x+1/2,z; "
                                                        "-x+1/2,y+1/2,-z; x+1/2,-y+1/2,-z; y,x,-z; "
                                                        "-y,-x,-z; -x+1/2,-y+1/2,-z; x+1/2,y+1/2,-z; "
                                                        "y,-x,-z; -y,x,-z; x,-y,z; -x,y,z; "
                                                        "-y+1/2,-x+1/2,z; y+1/2,x+1/2,z"),
  row( 130, "P4/ncc",   "P 4/n 2/c 2/c",   4, 'P',  16, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z; y+1/2,-x+1/2,z; "
                                                        "-x+1/2,y+1/2,-z+1/2; x+1/2,-y+1/2,-z+1/2; "
                                                        "y,x,-z+1/2; -y,-x,-z+1/2; -x+1/2,-y+1/2,-z; "
                                                        "x+1/2,y+1/2,-z; y,-x,-z; -y,x,-z; x,-y,z+1/2; "
                                                        "-x,y,z+1/2; -y+1/2,-x+1/2,z+1/2; "
                                                        "y+1/2,x+1/2,z+1/2"),
  row( 131, "P42/mmc",  "P 42/m 2/m 2/c",  4, 'P',  16, "x,y,z; -x,-y,z; -y,x,z+1/2; y,-x,z+1/2; -x,y,-z; "
                                                        "x,-y,-z; y,x,-z+1/2; -y,-x,-z+1/2; -x,-y,-z; "
                                                        "x,y,-z; y,-x,-z+1/2; -y,x,-z+1/2; x,-y,z; -x,y,z; "
                                                        "-y,-x,z+1/2; y,x,z+1/2"),
  row( 132, "P42/mcm",  "P 42/m 2/c 2/m",  4, 'P',  16, "x,y,z; -x,-y,z; -y,x,z+1/2; y,-x,z+1/2; "
                                                        "-x,y,-z+1/2; x,-y,-z+1/2; y,x,-z; -y,-x,-z; "
                                                        "-x,-y,-z; x,y,-z; y,-x,-z+1/2; -y,x,-z+1/2; "
                                                        "x,-y,z+1/2; -x,y,z+1/2; -y,-x,z; y,x,z"),
  row( 133, "P42/nbc",  "P 42/n 2/b 2/c",  4, 'P',  16, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z+1/2; "
                                                        "y+1/2,-x+1/2,z+1/2; -x,y,-z+1/2; x,-y,-z+1/2; "
                                                        "y+1/2,x+1/2,-z; -y+1/2,-x+1/2,-z; "
                                                        "-x+1/2,-y+1/2,-z+1/2; x+1/2,y+1/2,-z+1/2; "
                                                        "y,-x,-z; -y,x,-z; x+1/2,-y+1/2,z; -x+1/2,y+1/2,z; "
                                                        "-y,-x,z+1/2; y,x,z+1/2"),
  row( 134, "P42/nnm",  "P 42/n 2/n 2/m",  4, 'P',  16, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z+1/2; "
                                                        "y+1/2,-x+1/2,z+1/2; -x,y,-z; x,-y,-z; "
                                                        "y+1/2,x+1/2,-z+1/2; -y+1/2,-x+1/2,-z+1/2; "
                                                        "-x+1/2,-y+1/2,-z+1/2; x+1/2,y+1/2,-z+1/2; "
                                                        "y,-x,-z; -y,x,-z; x+1/2,-y+1/2,z+1/2; "
                                                        "-x+1/2,y+1/2,z+1/2; -y,-x,z; y,x,z"),
  row( 135, "P42/mbc",  "P 42/m 21/b 2/c", 4, 'P',  16, "x,y,z; -x,-y,z; -y,x,z+1/2; y,-x,z+1/2; "
                                                        "-x+1/2,y+1/2,-z; x+1/2,-y+1/2,-z; "
                                                        "y+1/2,x+1/2,-z+1/2; -y+1/2,-x+1/2,-z+1/2; "
                                                        "-x,-y,-z; x,y,-z; y,-x,-z+1/2; -y,x,-z+1/2; "
                                                        "x+1/2,-y+1/2,z; -x+1/2,y+1/2,z; "
                                                        "-y+1/2,-x+1/2,z+1/2; y+1/2,x+1/2,z+1/2"),
  row( 136, "P42/mnm",  "P 42/m 21/n 2/m", 4, 'P',  16, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z+1/2; "
                                                        "y+1/2,-x+1/2,z+1/2; -x+1/2,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z+1/2; y,x,-z; -y,-x,-z; -x,-y,-z; "
                                                        "x,y,-z; y+1/2,-x+1/2,-z+1/2; -y+1/2,x+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,z+1/2; -x+1/2,y+1/2,z+1/2; -y,-x,z; "
                                                        "y,x,z"),
  row( 137, "P42/nmc",  "P 42/n 21/m 2/c", 4, 'P',  16, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z+1/2; "
                                                        "y+1/2,-x+1/2,z+1/2; -x+1/2,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z+1/2; y,x,-z; -y,-x,-z; "
                                                        "-x+1/2,-y+1/2,-z+1/2; x+1/2,y+1/2,-z+1/2; "
                                                        "y,-x,-z; -y,x,-z; x,-y,z; -x,y,z; "
                                                        "-y+1/2,-x+1/2,z+1/2; y+1/2,x+1/2,z+1/2"),
  row( 138, "P42/ncm",  "P 42/n 21/c 2/m", 4, 'P',  16, "x,y,z; -x,-y,z; -y+1/2,x+1/2,z+1/2; "
                                                        "y+1/2,-x+1/2,z+1/2; -x+1/2,y+1/2,-z; "
                                                        "x+1/2,-y+1/2,-z; y,x,-z+1/2; -y,-x,-z+1/2; "
                                                        "-x+1/2,-y+1/2,-z+1/2; x+1/2,y+1/2,-z+1/2; "
                                                        "y,-x,-z; -y,x,-z; x,-y,z+1/2; -x,y,z+1/2; "
                                                        "-y+1/2,-x+1/2,z; y+1/2,x+1/2,z"),
  row( 139, "I4/mmm",   "I 4/m 2/m 2/m",   4, 'I',  32, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x,y,-z; x,-y,-z; "
                                                        "y,x,-z; -y,-x,-z; -x,-y,-z; x,y,-z; y,-x,-z; "
                                                        "-y,x,-z; x,-y,z; -x,y,z; -y,-x,z; y,x,z"),
  row( 140, "I4/mcm",   "I 4/m 2/c 2/m",   4, 'I',  32, "x,y,z; -x,-y,z; -y,x,z; y,-x,z; -x,y,-z+1/2; "
                                                        "x,-y,-z+1/2; y,x,-z+1/2; -y,-x,-z+1/2; -x,-y,-z; "
                                                        "x,y,-z; y,-x,-z; -y,x,-z; x,-y,z+1/2; -x,y,z+1/2; "
                                                        "-y,-x,z+1/2; y,x,z+1/2"),
  row( 141, "I41/amd",  "I 41/a 2/m 2/d",  4, 'I',  32, "x,y,z; -x+1/2,-y+1/2,z+1/2; -y,x+1/2,z+1/4; "
                                                        "y+1/2,-x,z+3/4; -x+1/2,y,-z+3/4; x,-y+1/2,-z+1/4; "
                                                        "y+1/2,x+1/2,-z+1/2; -y,-x,-z; -x,-y+1/2,-z+1/4; "
                                                        "x+1/2,y,-z+3/4; y,-x,-z; -y+1/2,x+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,z+1/2; -x,y,z; -y+1/2,-x,z+3/4; "
                                                        "y,x+1/2,z+1/4"),
  row( 142, "I41/acd",  "I 41/a 2/c 2/d",  4, 'I',  32, "x,y,z; -x+1/2,-y+1/2,z+1/2; -y,x+1/2,z+1/4; "
                                                        "y+1/2,-x,z+3/4; -x+1/2,y,-z+1/4; x,-y+1/2,-z+3/4; "
                                                        "y+1/2,x+1/2,-z; -y,-x,-z+1/2; -x,-y+1/2,-z+1/4; "
                                                        "x+1/2,y,-z+3/4; y,-x,-z; -y+1/2,x+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,z; -x,y,z+1/2; -y+1/2,-x,z+1/4; "
                                                        "y,x+1/2,z+3/4"),
  row( 143, "P3",       "P 3",             5, 'P',   3, "x,y,z; -y,x-y,z; -x+y,-x,z"),
  row( 144, "P31",      "P 31",            5, 'P',   3, "x,y,z; -y,x-y,z+1/3; -x+y,-x,z+2/3"),
  row( 145, "P32",      "P 32",            5, 'P',   3, "x,y,z; -y,x-y,z+2/3; -x+y,-x,z+1/3"),
  row( 146, "H3",       "H 3",             5, 'H',   9, "x,y,z; -y,x-y,z; -x+y,-x,z"),
  row(1146, "R3",       "R 3",             5, 'P',   3, "x,y,z; z,x,y; y,z,x"),
  row( 147, "P-3",      "P -3",            5, 'P',   6, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,-z; y,-x+y,-z; "
                                                        "x-y,x,-z"),
  row( 148, "H-3",      "H -3",            5, 'H',  18, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,-z; y,-x+y,-z; "
                                                        "x-y,x,-z"),
  row(1148, "R-3",      "R -3",            5, 'P',   6, "x,y,z; z,x,y; y,z,x; -x,-y,-z; -z,-x,-y; "
                                                        "-y,-z,-x"),
  row( 149, "P312",     "P 3 1 2",         5, 'P',   6, "x,y,z; -y,x-y,z; -x+y,-x,z; -y,-x,-z; -x+y,y,-z; "
                                                        "x,x-y,-z"),
  row( 150, "P321",     "P 3 2 1",         5, 'P',   6, "x,y,z; -y,x-y,z; -x+y,-x,z; y,x,-z; x-y,-y,-z; "
                                                        "-x,-x+y,-z"),
  row( 151, "P3112",    "P 31 1 2",        5, 'P',   6, "x,y,z; -y,x-y,z+1/3; -x+y,-x,z+2/3; -y,-x,-z+2/3; "
                                                        "-x+y,y,-z+1/3; x,x-y,-z"),
  row( 152, "P3121",    "P 31 2 1",        5, 'P',   6, "x,y,z; -y,x-y,z+1/3; -x+y,-x,z+2/3; y,x,-z; "
                                                        "x-y,-y,-z+2/3; -x,-x+y,-z+1/3"),
  row( 153, "P3212",    "P 32 1 2",        5, 'P',   6, "x,y,z; -y,x-y,z+2/3; -x+y,-x,z+1/3; -y,-x,-z+1/3; "
                                                        "-x+y,y,-z+2/3; x,x-y,-z"),
  row( 154, "P3221",    "P 32 2 1",        5, 'P',   6, "x,y,z; -y,x-y,z+2/3; -x+y,-x,z+1/3; y,x,-z; "
                                                        "x-y,-y,-z+1/3; -x,-x+y,-z+2/3"),
  row( 155, "H32",      "H 3 2",           5, 'H',  18, "x,y,z; -y,x-y,z; -x+y,-x,z; y,x,-z; x-y,-y,-z; "
                                                        "-x,-x+y,-z"),
  row(1155, "R32",      "R 3 2",           5, 'P',   6, "x,y,z; z,x,y; y,z,x; -y,-x,-z; -x,-z,-y; "
                                                        "-z,-y,-x"),
  row( 156, "P3m1",     "P 3 m 1",         5, 'P',   6, "x,y,z; -y,x-y,z; -x+y,-x,z; -y,-x,z; -x+y,y,z; "
                                                        "x,x-y,z"),
  row( 157, "P31m",     "P 3 1 m",         5, 'P',   6, "x,y,z; -y,x-y,z; -x+y,-x,z; y,x,z; x-y,-y,z; "
                                                        "-x,-x+y,z"),
  row( 158, "P3c1",     "P 3 c 1",         5, 'P',   6, "x,y,z; -y,x-y,z; -x+y,-x,z; -y,-x,z+1/2; "
                                                        "-x+y,y,z+1/2; x,x-y,z+1/2"),
  row( 159, "P31c",     "P 3 1 c",         5, 'P',   6, "x,y,z; -y,x-y,z; -x+y,-x,z; y,x,z+1/2; "
                                                        "x-y,-y,z+1/2; -x,-x+y,z+1/2"),
  row( 160, "H3m",      "H 3 m",           5, 'H',  18, "x,y,z; -y,x-y,z; -x+y,-x,z; -y,-x,z; -x+y,y,z; "
                                                        "x,x-y,z"),
  row(1160, "R3m",      "R 3 m",           5, 'P',   6, "x,y,z; z,x,y; y,z,x; y,x,z; x,z,y; z,y,x"),
  row( 161, "H3c",      "H 3 c",           5, 'H',  18, "x,y,z; -y,x-y,z; -x+y,-x,z; -y,-x,z+1/2; "
                                                        "-x+y,y,z+1/2; x,x-y,z+1/2"),
  row(1161, "R3c",      "R 3 c",           5, 'P',   6, "x,y,z; z,x,y; y,z,x; y+1/2,x+1/2,z+1/2; "
                                                        "x+1/2,z+1/2,y+1/2; z+1/2,y+1/2,x+1/2"),
  row( 162, "P-31m",    "P -3 1 2/m",      5, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; -y,-x,-z; -x+y,y,-z; "
                                                        "x,x-y,-z; -x,-y,-z; y,-x+y,-z; x-y,x,-z; y,x,z; "
                                                        "x-y,-y,z; -x,-x+y,z"),
  row( 163, "P-31c",    "P -3 1 2/c",      5, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; -y,-x,-z+1/2; "
                                                        "-x+y,y,-z+1/2; x,x-y,-z+1/2; -x,-y,-z; y,-x+y,-z; "
                                                        "x-y,x,-z; y,x,z+1/2; x-y,-y,z+1/2; -x,-x+y,z+1/2"),
  row( 164, "P-3m1",    "P -3 2/m 1",      5, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; y,x,-z; x-y,-y,-z; "
                                                        "-x,-x+y,-z; -x,-y,-z; y,-x+y,-z; x-y,x,-z; "
                                                        "-y,-x,z; -x+y,y,z; x,x-y,z"),
  row( 165, "P-3c1",    "P -3 2/c 1",      5, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; y,x,-z+1/2; "
                                                        "x-y,-y,-z+1/2; -x,-x+y,-z+1/2; -x,-y,-z; "
                                                        "y,-x+y,-z; x-y,x,-z; -y,-x,z+1/2; -x+y,y,z+1/2; "
                                                        "x,x-y,z+1/2"),
  row( 166, "H-3m",     "H -3 2/m",        5, 'H',  36, "x,y,z; -y,x-y,z; -x+y,-x,z; y,x,-z; x-y,-y,-z; "
                                                        "-x,-x+y,-z; -x,-y,-z; y,-x+y,-z; x-y,x,-z; "
                                                        "-y,-x,z; -x+y,y,z; x,x-y,z"),
  row(1166, "R-3m",     "R -3 2/m",        5, 'P',  12, "x,y,z; z,x,y; y,z,x; -y,-x,-z; -x,-z,-y; "
                                                        "-z,-y,-x; -x,-y,-z; -z,-x,-y; -y,-z,-x; y,x,z; "
                                                        "x,z,y; z,y,x"),
  row( 167, "H-3c",     "H -3 2/c",        5, 'H',  36, "x,y,z; -y,x-y,z; -x+y,-x,z; y,x,-z+1/2; "
                                                        "x-y,-y,-z+1/2; -x,-x+y,-z+1/2; -x,-y,-z; "
                                                        "y,-x+y,-z; x-y,x,-z; -y,-x,z+1/2; -x+y,y,z+1/2; "
                                                        "x,x-y,z+1/2"),
  row(1167, "R-3c",     "R -3 2/c",        5, 'P',  12, "x,y,z; z,x,y; y,z,x; -y+1/2,-x+1/2,-z+1/2; "
                                                        "-x+1/2,-z+1/2,-y+1/2; -z+1/2,-y+1/2,-x+1/2; "
                                                        "-x,-y,-z; -z,-x,-y; -y,-z,-x; y+1/2,x+1/2,z+1/2; "
                                                        "x+1/2,z+1/2,y+1/2; z+1/2,y+1/2,x+1/2"),
  row( 168, "P6",       "P 6",             6, 'P',   6, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z; y,-x+y,z; "
                                                        "x-y,x,z"),
  row( 169, "P61",      "P 61",            6, 'P',   6, "x,y,z; -y,x-y,z+1/3; -x+y,-x,z+2/3; -x,-y,z+1/2; "
                                                        "y,-x+y,z+5/6; x-y,x,z+1/6"),
  row( 170, "P65",      "P 65",            6, 'P',   6, "x,y,z; -y,x-y,z+2/3; -x+y,-x,z+1/3; -x,-y,z+1/2; "
                                                        "y,-x+y,z+1/6; x-y,x,z+5/6"),
  row( 171, "P62",      "P 62",            6, 'P',   6, "x,y,z; -y,x-y,z+2/3; -x+y,-x,z+1/3; -x,-y,z; "
                                                        "y,-x+y,z+2/3; x-y,x,z+1/3"),
  row( 172, "P64",      "P 64",            6, 'P',   6, "x,y,z; -y,x-y,z+1/3; -x+y,-x,z+2/3; -x,-y,z; "
                                                        "y,-x+y,z+1/3; x-y,x,z+2/3"),
  row( 173, "P63",      "P 63",            6, 'P',   6, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z+1/2; "
                                                        "y,-x+y,z+1/2; x-y,x,z+1/2"),
  row( 174, "P-6",      "P -6",            6, 'P',   6, "x,y,z; -y,x-y,z; -x+y,-x,z; x,y,-z; -y,x-y,-z; "
                                                        "-x+y,-x,-z"),
  row( 175, "P6/m",     "P 6/m",           6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z; y,-x+y,z; "
                                                        "x-y,x,z; -x,-y,-z; y,-x+y,-z; x-y,x,-z; x,y,-z; "
                                                        "-y,x-y,-z; -x+y,-x,-z"),
  row( 176, "P63/m",    "P 63/m",          6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z+1/2; "
                                                        "y,-x+y,z+1/2; x-y,x,z+1/2; -x,-y,-z; y,-x+y,-z; "
                                                        "x-y,x,-z; x,y,-z+1/2; -y,x-y,-z+1/2; "
                                                        "-x+y,-x,-z+1/2"),
  row( 177, "P622",     "P 6 2 2",         6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z; y,-x+y,z; "
                                                        "x-y,x,z; y,x,-z; x-y,-y,-z; -x,-x+y,-z; -y,-x,-z; "
                                                        "-x+y,y,-z; x,x-y,-z"),
  row( 178, "P6122",    "P 61 2 2",        6, 'P',  12, "x,y,z; -y,x-y,z+1/3; -x+y,-x,z+2/3; -x,-y,z+1/2; "
                                                        "y,-x+y,z+5/6; x-y,x,z+1/6; y,x,-z+1/3; x-y,-y,-z; "
                                                        "-x,-x+y,-z+2/3; -y,-x,-z+5/6; -x+y,y,-z+1/2; "
                                                        "x,x-y,-z+1/6"),
  row( 179, "P6522",    "P 65 2 2",        6, 'P',  12, "x,y,z; -y,x-y,z+2/3; -x+y,-x,z+1/3; -x,-y,z+1/2; "
                                                        "y,-x+y,z+1/6; x-y,x,z+5/6; y,x,-z+2/3; x-y,-y,-z; "
                                                        "-x,-x+y,-z+1/3; -y,-x,-z+1/6; -x+y,y,-z+1/2; "
                                                        "x,x-y,-z+5/6"),
  row( 180, "P6222",    "P 62 2 2",        6, 'P',  12, "x,y,z; -y,x-y,z+2/3; -x+y,-x,z+1/3; -x,-y,z; "
                                                        "y,-x+y,z+2/3; x-y,x,z+1/3; y,x,-z+2/3; x-y,-y,-z; "
                                                        "-x,-x+y,-z+1/3; -y,-x,-z+2/3; -x+y,y,-z; "
                                                        "x,x-y,-z+1/3"),
  row( 181, "P6422",    "P 64 2 2",        6, 'P',  12, "x,y,z; -y,x-y,z+1/3; -x+y,-x,z+2/3; -x,-y,z; "
                                                        "y,-x+y,z+1/3; x-y,x,z+2/3; y,x,-z+1/3; x-y,-y,-z; "
                                                        "-x,-x+y,-z+2/3; -y,-x,-z+1/3; -x+y,y,-z; "
                                                        "x,x-y,-z+2/3"),
  row( 182, "P6322",    "P 63 2 2",        6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z+1/2; "
                                                        "y,-x+y,z+1/2; x-y,x,z+1/2; y,x,-z; x-y,-y,-z; "
                                                        "-x,-x+y,-z; -y,-x,-z+1/2; -x+y,y,-z+1/2; "
                                                        "x,x-y,-z+1/2"),
  row( 183, "P6mm",     "P 6 m m",         6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z; y,-x+y,z; "
                                                        "x-y,x,z; -y,-x,z; -x+y,y,z; x,x-y,z; y,x,z; "
                                                        "x-y,-y,z; -x,-x+y,z"),
  row( 184, "P6cc",     "P 6 c c",         6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z; y,-x+y,z; "
                                                        "x-y,x,z; -y,-x,z+1/2; -x+y,y,z+1/2; x,x-y,z+1/2; "
                                                        "y,x,z+1/2; x-y,-y,z+1/2; -x,-x+y,z+1/2"),
  row( 185, "P63cm",    "P 63 c m",        6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z+1/2; "
                                                        "y,-x+y,z+1/2; x-y,x,z+1/2; -y,-x,z+1/2; "
                                                        "-x+y,y,z+1/2; x,x-y,z+1/2; y,x,z; x-y,-y,z; "
                                                        "-x,-x+y,z"),
  row( 186, "P63mc",    "P 63 m c",        6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z+1/2; "
                                                        "y,-x+y,z+1/2; x-y,x,z+1/2; -y,-x,z; -x+y,y,z; "
                                                        "x,x-y,z; y,x,z+1/2; x-y,-y,z+1/2; -x,-x+y,z+1/2"),
  row( 187, "P-6m2",    "P -6 m 2",        6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; x,y,-z; -y,x-y,-z; "
                                                        "-x+y,-x,-z; -y,-x,z; -x+y,y,z; x,x-y,z; -y,-x,-z; "
                                                        "-x+y,y,-z; x,x-y,-z"),
  row( 188, "P-6c2",    "P -6 c 2",        6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; x,y,-z+1/2; "
                                                        "-y,x-y,-z+1/2; -x+y,-x,-z+1/2; -y,-x,z+1/2; "
                                                        "-x+y,y,z+1/2; x,x-y,z+1/2; -y,-x,-z; -x+y,y,-z; "
                                                        "x,x-y,-z"),
  row( 189, "P-62m",    "P -6 2 m",        6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; x,y,-z; -y,x-y,-z; "
                                                        "-x+y,-x,-z; y,x,-z; x-y,-y,-z; -x,-x+y,-z; y,x,z; "
                                                        "x-y,-y,z; -x,-x+y,z"),
  row( 190, "P-62c",    "P -6 2 c",        6, 'P',  12, "x,y,z; -y,x-y,z; -x+y,-x,z; x,y,-z+1/2; "
                                                        "-y,x-y,-z+1/2; -x+y,-x,-z+1/2; y,x,-z; x-y,-y,-z; "
                                                        "-x,-x+y,-z; y,x,z+1/2; x-y,-y,z+1/2; "
                                                        "-x,-x+y,z+1/2"),
  row( 191, "P6/mmm",   "P 6/m 2/m 2/m",   6, 'P',  24, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z; y,-x+y,z; "
                                                        "x-y,x,z; y,x,-z; x-y,-y,-z; -x,-x+y,-z; -y,-x,-z; "
                                                        "-x+y,y,-z; x,x-y,-z; -x,-y,-z; y,-x+y,-z; "
                                                        "x-y,x,-z; x,y,-z; -x+y,-x,-z; -y,x-y,-z; -y,-x,z; "
                                                        "-x+y,y,z; x,x-y,z; y,x,z; x-y,-y,z; -x,-x+y,z"),
  row( 192, "P6/mcc",   "P 6/m 2/c 2/c",   6, 'P',  24, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z; y,-x+y,z; "
                                                        "x-y,x,z; y,x,-z+1/2; x-y,-y,-z+1/2; "
                                                        "-x,-x+y,-z+1/2; -y,-x,-z+1/2; -x+y,y,-z+1/2; "
                                                        "x,x-y,-z+1/2; -x,-y,-z; y,-x+y,-z; x-y,x,-z; "
                                                        "x,y,-z; -x+y,-x,-z; -y,x-y,-z; -y,-x,z+1/2; "
                                                        "-x+y,y,z+1/2; x,x-y,z+1/2; y,x,z+1/2; "
                                                        "x-y,-y,z+1/2; -x,-x+y,z+1/2"),
  row( 193, "P63/mcm",  "P 63/m 2/c 2/m",  6, 'P',  24, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z+1/2; "
                                                        "y,-x+y,z+1/2; x-y,x,z+1/2; y,x,-z+1/2; "
                                                        "x-y,-y,-z+1/2; -x,-x+y,-z+1/2; -y,-x,-z; "
                                                        "-x+y,y,-z; x,x-y,-z; -x,-y,-z; y,-x+y,-z; "
                                                        "x-y,x,-z; x,y,-z+1/2; -x+y,-x,-z+1/2; "
                                                        "-y,x-y,-z+1/2; -y,-x,z+1/2; -x+y,y,z+1/2; "
                                                        "x,x-y,z+1/2; y,x,z; x-y,-y,z; -x,-x+y,z"),
  row( 194, "P63/mmc",  "P 63/m 2/m 2/c",  6, 'P',  24, "x,y,z; -y,x-y,z; -x+y,-x,z; -x,-y,z+1/2; "
                                                        "y,-x+y,z+1/2; x-y,x,z+1/2; y,x,-z; x-y,-y,-z; "
                                                        "-x,-x+y,-z; -y,-x,-z+1/2; -x+y,y,-z+1/2; "
                                                        "x,x-y,-z+1/2; -x,-y,-z; y,-x+y,-z; x-y,x,-z; "
                                                        "x,y,-z+1/2; -x+y,-x,-z+1/2; -y,x-y,-z+1/2; "
                                                        "-y,-x,z; -x+y,y,z; x,x-y,z; y,x,z+1/2; "
                                                        "x-y,-y,z+1/2; -x,-x+y,z+1/2"),
  row( 195, "P23",      "P 2 3",           7, 'P',  12, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x"),
  row( 196, "F23",      "F 2 3",           7, 'F',  48, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x"),
  row( 197, "I23",      "I 2 3",           7, 'I',  24, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x"),
  row( 198, "P213",     "P 21 3",          7, 'P',  12, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z; z,x,y; z+1/2,-x+1/2,-y; "
                                                        "-z+1/2,-x,y+1/2; -z,x+1/2,-y+1/2; y,z,x; "
                                                        "-y,z+1/2,-x+1/2; y+1/2,-z+1/2,-x; "
                                                        "-y+1/2,-z,x+1/2"),
  row( 199, "I213",     "I 21 3",          7, 'I',  24, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z; z,x,y; z+1/2,-x+1/2,-y; "
                                                        "-z+1/2,-x,y+1/2; -z,x+1/2,-y+1/2; y,z,x; "
                                                        "-y,z+1/2,-x+1/2; y+1/2,-z+1/2,-x; "
                                                        "-y+1/2,-z,x+1/2"),
  row( 200, "Pm-3",     "P 2/m -3",        7, 'P',  24, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; -x,-y,-z; x,y,-z; x,-y,z; -x,y,z; "
                                                        "-z,-x,-y; -z,x,y; z,x,-y; z,-x,y; -y,-z,-x; "
                                                        "y,-z,x; -y,z,x; y,z,-x"),
  row( 201, "Pn-3",     "P 2/n -3",        7, 'P',  24, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; -x+1/2,-y+1/2,-z+1/2; "
                                                        "x+1/2,y+1/2,-z+1/2; x+1/2,-y+1/2,z+1/2; "
                                                        "-x+1/2,y+1/2,z+1/2; -z+1/2,-x+1/2,-y+1/2; "
                                                        "-z+1/2,x+1/2,y+1/2; z+1/2,x+1/2,-y+1/2; "
                                                        "z+1/2,-x+1/2,y+1/2; -y+1/2,-z+1/2,-x+1/2; "
                                                        "y+1/2,-z+1/2,x+1/2; -y+1/2,z+1/2,x+1/2; "
                                                        "y+1/2,z+1/2,-x+1/2"),
  row( 202, "Fm-3",     "F 2/m -3",        7, 'F',  96, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; -x,-y,-z; x,y,-z; x,-y,z; -x,y,z; "
                                                        "-z,-x,-y; -z,x,y; z,x,-y; z,-x,y; -y,-z,-x; "
                                                        "y,-z,x; -y,z,x; y,z,-x"),
  row( 203, "Fd-3",     "F 2/d -3",        7, 'F',  96, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; -x+1/4,-y+1/4,-z+1/4; "
                                                        "x+1/4,y+1/4,-z+1/4; x+1/4,-y+1/4,z+1/4; "
                                                        "-x+1/4,y+1/4,z+1/4; -z+1/4,-x+1/4,-y+1/4; "
                                                        "-z+1/4,x+1/4,y+1/4; z+1/4,x+1/4,-y+1/4; "
                                                        "z+1/4,-x+1/4,y+1/4; -y+1/4,-z+1/4,-x+1/4; "
                                                        "y+1/4,-z+1/4,x+1/4; -y+1/4,z+1/4,x+1/4; "
                                                        "y+1/4,z+1/4,-x+1/4"),
  row( 204, "Im-3",     "I 2/m -3",        7, 'I',  48, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; -x,-y,-z; x,y,-z; x,-y,z; -x,y,z; "
                                                        "-z,-x,-y; -z,x,y; z,x,-y; z,-x,y; -y,-z,-x; "
                                                        "y,-z,x; -y,z,x; y,z,-x"),
  row( 205, "Pa-3",     "P 21/a -3",       7, 'P',  24, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z; z,x,y; z+1/2,-x+1/2,-y; "
                                                        "-z+1/2,-x,y+1/2; -z,x+1/2,-y+1/2; y,z,x; "
                                                        "-y,z+1/2,-x+1/2; y+1/2,-z+1/2,-x; "
                                                        "-y+1/2,-z,x+1/2; -x,-y,-z; x+1/2,y,-z+1/2; "
                                                        "x,-y+1/2,z+1/2; -x+1/2,y+1/2,z; -z,-x,-y; "
                                                        "-z+1/2,x+1/2,y; z+1/2,x,-y+1/2; z,-x+1/2,y+1/2; "
                                                        "-y,-z,-x; y,-z+1/2,x+1/2; -y+1/2,z+1/2,x; "
                                                        "y+1/2,z,-x+1/2"),
  row( 206, "Ia-3",     "I 21/a -3",       7, 'I',  48, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z; z,x,y; z+1/2,-x+1/2,-y; "
                                                        "-z+1/2,-x,y+1/2; -z,x+1/2,-y+1/2; y,z,x; "
                                                        "-y,z+1/2,-x+1/2; y+1/2,-z+1/2,-x; "
                                                        "-y+1/2,-z,x+1/2; -x,-y,-z; x+1/2,y,-z+1/2; "
                                                        "x,-y+1/2,z+1/2; -x+1/2,y+1/2,z; -z,-x,-y; "
                                                        "-z+1/2,x+1/2,y; z+1/2,x,-y+1/2; z,-x+1/2,y+1/2; "
                                                        "-y,-z,-x; y,-z+1/2,x+1/2; -y+1/2,z+1/2,x; "
                                                        "y+1/2,z,-x+1/2"),
  row( 207, "P432",     "P 4 3 2",         7, 'P',  24, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y,x,-z; -y,-x,-z; y,-x,z; -y,x,z; "
                                                        "x,z,-y; -x,z,y; -x,-z,-y; x,-z,y; z,y,-x; z,-y,x; "
                                                        "-z,y,x; -z,-y,-x"),
  row( 208, "P4232",    "P 42 3 2",        7, 'P',  24, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y+1/2,x+1/2,-z+1/2; "
                                                        "-y+1/2,-x+1/2,-z+1/2; y+1/2,-x+1/2,z+1/2; "
                                                        "-y+1/2,x+1/2,z+1/2; x+1/2,z+1/2,-y+1/2; "
                                                        "-x+1/2,z+1/2,y+1/2; -x+1/2,-z+1/2,-y+1/2; "
                                                        "x+1/2,-z+1/2,y+1/2; z+1/2,y+1/2,-x+1/2; "
                                                        "z+1/2,-y+1/2,x+1/2; -z+1/2,y+1/2,x+1/2; "
                                                        "-z+1/2,-y+1/2,-x+1/2"),
  row( 209, "F432",     "F 4 3 2",         7, 'F',  96, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y,x,-z; -y,-x,-z; y,-x,z; -y,x,z; "
                                                        "x,z,-y; -x,z,y; -x,-z,-y; x,-z,y; z,y,-x; z,-y,x; "
                                                        "-z,y,x; -z,-y,-x"),
  row( 210, "F4132",    "F 41 3 2",        7, 'F',  96, "x,y,z; -x,-y+1/2,z+1/2; -x+1/2,y+1/2,-z; "
                                                        "x+1/2,-y,-z+1/2; z,x,y; z+1/2,-x,-y+1/2; "
                                                        "-z,-x+1/2,y+1/2; -z+1/2,x+1/2,-y; y,z,x; "
                                                        "-y+1/2,z+1/2,-x; y+1/2,-z,-x+1/2; "
                                                        "-y,-z+1/2,x+1/2; y+3/4,x+1/4,-z+3/4; "
                                                        "-y+1/4,-x+1/4,-z+1/4; y+1/4,-x+3/4,z+3/4; "
                                                        "-y+3/4,x+3/4,z+1/4; x+3/4,z+1/4,-y+3/4; "
                                                        "-x+3/4,z+3/4,y+1/4; -x+1/4,-z+1/4,-y+1/4; "
                                                        "x+1/4,-z+3/4,y+3/4; z+3/4,y+1/4,-x+3/4; "
                                                        "z+1/4,-y+3/4,x+3/4; -z+3/4,y+3/4,x+1/4; "
                                                        "-z+1/4,-y+1/4,-x+1/4"),
  row( 211, "I432",     "I 4 3 2",         7, 'I',  48, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y,x,-z; -y,-x,-z; y,-x,z; -y,x,z; "
                                                        "x,z,-y; -x,z,y; -x,-z,-y; x,-z,y; z,y,-x; z,-y,x; "
                                                        "-z,y,x; -z,-y,-x"),
  row( 212, "P4332",    "P 43 3 2",        7, 'P',  24, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z; z,x,y; z+1/2,-x+1/2,-y; "
                                                        "-z+1/2,-x,y+1/2; -z,x+1/2,-y+1/2; y,z,x; "
                                                        "-y,z+1/2,-x+1/2; y+1/2,-z+1/2,-x; "
                                                        "-y+1/2,-z,x+1/2; y+1/4,x+3/4,-z+3/4; "
                                                        "-y+1/4,-x+1/4,-z+1/4; y+3/4,-x+3/4,z+1/4; "
                                                        "-y+3/4,x+1/4,z+3/4; x+1/4,z+3/4,-y+3/4; "
                                                        "-x+3/4,z+1/4,y+3/4; -x+1/4,-z+1/4,-y+1/4; "
                                                        "x+3/4,-z+3/4,y+1/4; z+1/4,y+3/4,-x+3/4; "
                                                        "z+3/4,-y+3/4,x+1/4; -z+3/4,y+1/4,x+3/4; "
                                                        "-z+1/4,-y+1/4,-x+1/4"),
  row( 213, "P4132",    "P 41 3 2",        7, 'P',  24, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z; z,x,y; z+1/2,-x+1/2,-y; "
                                                        "-z+1/2,-x,y+1/2; -z,x+1/2,-y+1/2; y,z,x; "
                                                        "-y,z+1/2,-x+1/2; y+1/2,-z+1/2,-x; "
                                                        "-y+1/2,-z,x+1/2; y+3/4,x+1/4,-z+1/4; "
                                                        "-y+3/4,-x+3/4,-z+3/4; y+1/4,-x+1/4,z+3/4; "
                                                        "-y+1/4,x+3/4,z+1/4; x+3/4,z+1/4,-y+1/4; "
                                                        "-x+1/4,z+3/4,y+1/4; -x+3/4,-z+3/4,-y+3/4; "
                                                        "x+1/4,-z+1/4,y+3/4; z+3/4,y+1/4,-x+1/4; "
                                                        "z+1/4,-y+1/4,x+3/4; -z+1/4,y+3/4,x+1/4; "
                                                        "-z+3/4,-y+3/4,-x+3/4"),
  row( 214, "I4132",    "I 41 3 2",        7, 'I',  48, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z; z,x,y; z+1/2,-x+1/2,-y; "
                                                        "-z+1/2,-x,y+1/2; -z,x+1/2,-y+1/2; y,z,x; "
                                                        "-y,z+1/2,-x+1/2; y+1/2,-z+1/2,-x; "
                                                        "-y+1/2,-z,x+1/2; y+3/4,x+1/4,-z+1/4; "
                                                        "-y+3/4,-x+3/4,-z+3/4; y+1/4,-x+1/4,z+3/4; "
                                                        "-y+1/4,x+3/4,z+1/4; x+3/4,z+1/4,-y+1/4; "
                                                        "-x+1/4,z+3/4,y+1/4; -x+3/4,-z+3/4,-y+3/4; "
                                                        "x+1/4,-z+1/4,y+3/4; z+3/4,y+1/4,-x+1/4; "
                                                        "z+1/4,-y+1/4,x+3/4; -z+1/4,y+3/4,x+1/4; "
                                                        "-z+3/4,-y+3/4,-x+3/4"),
  row( 215, "P-43m",    "P -4 3 m",        7, 'P',  24, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y,x,z; -y,-x,z; y,-x,-z; -y,x,-z; x,z,y; "
                                                        "-x,z,-y; -x,-z,y; x,-z,-y; z,y,x; z,-y,-x; "
                                                        "-z,y,-x; -z,-y,x"),
  row( 216, "F-43m",    "F -4 3 m",        7, 'F',  96, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y,x,z; -y,-x,z; y,-x,-z; -y,x,-z; x,z,y; "
                                                        "-x,z,-y; -x,-z,y; x,-z,-y; z,y,x; z,-y,-x; "
                                                        "-z,y,-x; -z,-y,x"),
  row( 217, "I-43m",    "I -4 3 m",        7, 'I',  48, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y,x,z; -y,-x,z; y,-x,-z; -y,x,-z; x,z,y; "
                                                        "-x,z,-y; -x,-z,y; x,-z,-y; z,y,x; z,-y,-x; "
                                                        "-z,y,-x; -z,-y,x"),
  row( 218, "P-43n",    "P -4 3 n",        7, 'P',  24, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y+1/2,x+1/2,z+1/2; -y+1/2,-x+1/2,z+1/2; "
                                                        "y+1/2,-x+1/2,-z+1/2; -y+1/2,x+1/2,-z+1/2; "
                                                        "x+1/2,z+1/2,y+1/2; -x+1/2,z+1/2,-y+1/2; "
                                                        "-x+1/2,-z+1/2,y+1/2; x+1/2,-z+1/2,-y+1/2; "
                                                        "z+1/2,y+1/2,x+1/2; z+1/2,-y+1/2,-x+1/2; "
                                                        "-z+1/2,y+1/2,-x+1/2; -z+1/2,-y+1/2,x+1/2"),
  row( 219, "F-43c",    "F -4 3 c",        7, 'F',  96, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y+1/2,x+1/2,z+1/2; -y+1/2,-x+1/2,z+1/2; "
                                                        "y+1/2,-x+1/2,-z+1/2; -y+1/2,x+1/2,-z+1/2; "
                                                        "x+1/2,z+1/2,y+1/2; -x+1/2,z+1/2,-y+1/2; "
                                                        "-x+1/2,-z+1/2,y+1/2; x+1/2,-z+1/2,-y+1/2; "
                                                        "z+1/2,y+1/2,x+1/2; z+1/2,-y+1/2,-x+1/2; "
                                                        "-z+1/2,y+1/2,-x+1/2; -z+1/2,-y+1/2,x+1/2"),
  row( 220, "I-43d",    "I -4 3 d",        7, 'I',  48, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z; z,x,y; z+1/2,-x+1/2,-y; "
                                                        "-z+1/2,-x,y+1/2; -z,x+1/2,-y+1/2; y,z,x; "
                                                        "-y,z+1/2,-x+1/2; y+1/2,-z+1/2,-x; "
                                                        "-y+1/2,-z,x+1/2; y+1/4,x+1/4,z+1/4; "
                                                        "-y+1/4,-x+3/4,z+3/4; y+3/4,-x+1/4,-z+3/4; "
                                                        "-y+3/4,x+3/4,-z+1/4; x+1/4,z+1/4,y+1/4; "
                                                        "-x+3/4,z+3/4,-y+1/4; -x+1/4,-z+3/4,y+3/4; "
                                                        "x+3/4,-z+1/4,-y+3/4; z+1/4,y+1/4,x+1/4; "
                                                        "z+3/4,-y+1/4,-x+3/4; -z+3/4,y+3/4,-x+1/4; "
                                                        "-z+1/4,-y+3/4,x+3/4"),
  row( 221, "Pm-3m",    "P 4/m -3 2/m",    7, 'P',  48, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y,x,-z; -y,-x,-z; y,-x,z; -y,x,z; "
                                                        "x,z,-y; -x,z,y; -x,-z,-y; x,-z,y; z,y,-x; z,-y,x; "
                                                        "-z,y,x; -z,-y,-x; -x,-y,-z; x,y,-z; x,-y,z; "
                                                        "-x,y,z; -z,-x,-y; -z,x,y; z,x,-y; z,-x,y; "
                                                        "-y,-z,-x; y,-z,x; -y,z,x; y,z,-x; -y,-x,z; y,x,z; "
                                                        "-y,x,-z; y,-x,-z; -x,-z,y; x,-z,-y; x,z,y; "
                                                        "-x,z,-y; -z,-y,x; -z,y,-x; z,-y,-x; z,y,x"),
  row( 222, "Pn-3n",    "P 4/n -3 2/n",    7, 'P',  48, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y,x,-z; -y,-x,-z; y,-x,z; -y,x,z; "
                                                        "x,z,-y; -x,z,y; -x,-z,-y; x,-z,y; z,y,-x; z,-y,x; "
                                                        "-z,y,x; -z,-y,-x; -x+1/2,-y+1/2,-z+1/2; "
                                                        "x+1/2,y+1/2,-z+1/2; x+1/2,-y+1/2,z+1/2; "
                                                        "-x+1/2,y+1/2,z+1/2; -z+1/2,-x+1/2,-y+1/2; "
                                                        "-z+1/2,x+1/2,y+1/2; z+1/2,x+1/2,-y+1/2; "
                                                        "z+1/2,-x+1/2,y+1/2; -y+1/2,-z+1/2,-x+1/2; "
                                                        "y+1/2,-z+1/2,x+1/2; -y+1/2,z+1/2,x+1/2; "
                                                        "y+1/2,z+1/2,-x+1/2; -y+1/2,-x+1/2,z+1/2; "
                                                        "y+1/2,x+1/2,z+1/2; -y+1/2,x+1/2,-z+1/2; "
                                                        "y+1/2,-x+1/2,-z+1/2; -x+1/2,-z+1/2,y+1/2; "
                                                        "x+1/2,-z+1/2,-y+1/2; x+1/2,z+1/2,y+1/2; "
                                                        "-x+1/2,z+1/2,-y+1/2; -z+1/2,-y+1/2,x+1/2; "
                                                        "-z+1/2,y+1/2,-x+1/2; z+1/2,-y+1/2,-x+1/2; "
                                                        "z+1/2,y+1/2,x+1/2"),
  row( 223, "Pm-3n",    "P 42/m -3 2/n",   7, 'P',  48, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y+1/2,x+1/2,-z+1/2; "
                                                        "-y+1/2,-x+1/2,-z+1/2; y+1/2,-x+1/2,z+1/2; "
                                                        "-y+1/2,x+1/2,z+1/2; x+1/2,z+1/2,-y+1/2; "
                                                        "-x+1/2,z+1/2,y+1/2; -x+1/2,-z+1/2,-y+1/2; "
                                                        "x+1/2,-z+1/2,y+1/2; z+1/2,y+1/2,-x+1/2; "
                                                        "z+1/2,-y+1/2,x+1/2; -z+1/2,y+1/2,x+1/2; "
                                                        "-z+1/2,-y+1/2,-x+1/2; -x,-y,-z; x,y,-z; x,-y,z; "
                                                        "-x,y,z; -z,-x,-y; -z,x,y; z,x,-y; z,-x,y; "
                                                        "-y,-z,-x; y,-z,x; -y,z,x; y,z,-x; "
                                                        "-y+1/2,-x+1/2,z+1/2; y+1/2,x+1/2,z+1/2; "
                                                        "-y+1/2,x+1/2,-z+1/2; y+1/2,-x+1/2,-z+1/2; "
                                                        "-x+1/2,-z+1/2,y+1/2; x+1/2,-z+1/2,-y+1/2; "
                                                        "x+1/2,z+1/2,y+1/2; -x+1/2,z+1/2,-y+1/2; "
                                                        "-z+1/2,-y+1/2,x+1/2; -z+1/2,y+1/2,-x+1/2; "
                                                        "z+1/2,-y+1/2,-x+1/2; z+1/2,y+1/2,x+1/2"),
  row( 224, "Pn-3m",    "P 42/n -3 2/m",   7, 'P',  48, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y+1/2,x+1/2,-z+1/2; "
                                                        "-y+1/2,-x+1/2,-z+1/2; y+1/2,-x+1/2,z+1/2; "
                                                        "-y+1/2,x+1/2,z+1/2; x+1/2,z+1/2,-y+1/2; "
                                                        "-x+1/2,z+1/2,y+1/2; -x+1/2,-z+1/2,-y+1/2; "
                                                        "x+1/2,-z+1/2,y+1/2; z+1/2,y+1/2,-x+1/2; "
                                                        "z+1/2,-y+1/2,x+1/2; -z+1/2,y+1/2,x+1/2; "
                                                        "-z+1/2,-y+1/2,-x+1/2; -x+1/2,-y+1/2,-z+1/2; "
                                                        "x+1/2,y+1/2,-z+1/2; x+1/2,-y+1/2,z+1/2; "
                                                        "-x+1/2,y+1/2,z+1/2; -z+1/2,-x+1/2,-y+1/2; "
                                                        "-z+1/2,x+1/2,y+1/2; z+1/2,x+1/2,-y+1/2; "
                                                        "z+1/2,-x+1/2,y+1/2; -y+1/2,-z+1/2,-x+1/2; "
                                                        "y+1/2,-z+1/2,x+1/2; -y+1/2,z+1/2,x+1/2; "
                                                        "y+1/2,z+1/2,-x+1/2; -y,-x,z; y,x,z; -y,x,-z; "
                                                        "y,-x,-z; -x,-z,y; x,-z,-y; x,z,y; -x,z,-y; "
                                                        "-z,-y,x; -z,y,-x; z,-y,-x; z,y,x"),
  row( 225, "Fm-3m",    "F 4/m -3 2/m",    7, 'F', 192, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y,x,-z; -y,-x,-z; y,-x,z; -y,x,z; "
                                                        "x,z,-y; -x,z,y; -x,-z,-y; x,-z,y; z,y,-x; z,-y,x; "
                                                        "-z,y,x; -z,-y,-x; -x,-y,-z; x,y,-z; x,-y,z; "
                                                        "-x,y,z; -z,-x,-y; -z,x,y; z,x,-y; z,-x,y; "
                                                        "-y,-z,-x; y,-z,x; -y,z,x; y,z,-x; -y,-x,z; y,x,z; "
                                                        "-y,x,-z; y,-x,-z; -x,-z,y; x,-z,-y; x,z,y; "
                                                        "-x,z,-y; -z,-y,x; -z,y,-x; z,-y,-x; z,y,x"),
  row( 226, "Fm-3c",    "F 4/m -3 2/c",    7, 'F', 192, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y+1/2,x+1/2,-z+1/2; "
                                                        "-y+1/2,-x+1/2,-z+1/2; y+1/2,-x+1/2,z+1/2; "
                                                        "-y+1/2,x+1/2,z+1/2; x+1/2,z+1/2,-y+1/2; "
                                                        "-x+1/2,z+1/2,y+1/2; -x+1/2,-z+1/2,-y+1/2; "
                                                        "x+1/2,-z+1/2,y+1/2; z+1/2,y+1/2,-x+1/2; "
                                                        "z+1/2,-y+1/2,x+1/2; -z+1/2,y+1/2,x+1/2; "
                                                        "-z+1/2,-y+1/2,-x+1/2; -x,-y,-z; x,y,-z; x,-y,z; "
                                                        "-x,y,z; -z,-x,-y; -z,x,y; z,x,-y; z,-x,y; "
                                                        "-y,-z,-x; y,-z,x; -y,z,x; y,z,-x; "
                                                        "-y+1/2,-x+1/2,z+1/2; y+1/2,x+1/2,z+1/2; "
                                                        "-y+1/2,x+1/2,-z+1/2; y+1/2,-x+1/2,-z+1/2; "
                                                        "-x+1/2,-z+1/2,y+1/2; x+1/2,-z+1/2,-y+1/2; "
                                                        "x+1/2,z+1/2,y+1/2; -x+1/2,z+1/2,-y+1/2; "
                                                        "-z+1/2,-y+1/2,x+1/2; -z+1/2,y+1/2,-x+1/2; "
                                                        "z+1/2,-y+1/2,-x+1/2; z+1/2,y+1/2,x+1/2"),
  row( 227, "Fd-3m",    "F 41/d -3 2/m",   7, 'F', 192, "x,y,z; -x,-y+1/2,z+1/2; -x+1/2,y+1/2,-z; "
                                                        "x+1/2,-y,-z+1/2; z,x,y; z+1/2,-x,-y+1/2; "
                                                        "-z,-x+1/2,y+1/2; -z+1/2,x+1/2,-y; y,z,x; "
                                                        "-y+1/2,z+1/2,-x; y+1/2,-z,-x+1/2; "
                                                        "-y,-z+1/2,x+1/2; y+3/4,x+1/4,-z+3/4; "
                                                        "-y+1/4,-x+1/4,-z+1/4; y+1/4,-x+3/4,z+3/4; "
                                                        "-y+3/4,x+3/4,z+1/4; x+3/4,z+1/4,-y+3/4; "
                                                        "-x+3/4,z+3/4,y+1/4; -x+1/4,-z+1/4,-y+1/4; "
                                                        "x+1/4,-z+3/4,y+3/4; z+3/4,y+1/4,-x+3/4; "
                                                        "z+1/4,-y+3/4,x+3/4; -z+3/4,y+3/4,x+1/4; "
                                                        "-z+1/4,-y+1/4,-x+1/4; -x+1/4,-y+1/4,-z+1/4; "
                                                        "x+1/4,y+3/4,-z+3/4; x+3/4,-y+3/4,z+1/4; "
                                                        "-x+3/4,y+1/4,z+3/4; -z+1/4,-x+1/4,-y+1/4; "
                                                        "-z+3/4,x+1/4,y+3/4; z+1/4,x+3/4,-y+3/4; "
                                                        "z+3/4,-x+3/4,y+1/4; -y+1/4,-z+1/4,-x+1/4; "
                                                        "y+3/4,-z+3/4,x+1/4; -y+3/4,z+1/4,x+3/4; "
                                                        "y+1/4,z+3/4,-x+3/4; -y+1/2,-x,z+1/2; y,x,z; "
                                                        "-y,x+1/2,-z+1/2; y+1/2,-x+1/2,-z; "
                                                        "-x+1/2,-z,y+1/2; x+1/2,-z+1/2,-y; x,z,y; "
                                                        "-x,z+1/2,-y+1/2; -z+1/2,-y,x+1/2; "
                                                        "-z,y+1/2,-x+1/2; z+1/2,-y+1/2,-x; z,y,x"),
  row( 228, "Fd-3c",    "F 41/d -3 2/c",   7, 'F', 192, "x,y,z; -x,-y+1/2,z+1/2; -x+1/2,y+1/2,-z; "
                                                        "x+1/2,-y,-z+1/2; z,x,y; z+1/2,-x,-y+1/2; "
                                                        "-z,-x+1/2,y+1/2; -z+1/2,x+1/2,-y; y,z,x; "
                                                        "-y+1/2,z+1/2,-x; y+1/2,-z,-x+1/2; "
                                                        "-y,-z+1/2,x+1/2; y+3/4,x+1/4,-z+3/4; "
                                                        "-y+1/4,-x+1/4,-z+1/4; y+1/4,-x+3/4,z+3/4; "
                                                        "-y+3/4,x+3/4,z+1/4; x+3/4,z+1/4,-y+3/4; "
                                                        "-x+3/4,z+3/4,y+1/4; -x+1/4,-z+1/4,-y+1/4; "
                                                        "x+1/4,-z+3/4,y+3/4; z+3/4,y+1/4,-x+3/4; "
                                                        "z+1/4,-y+3/4,x+3/4; -z+3/4,y+3/4,x+1/4; "
                                                        "-z+1/4,-y+1/4,-x+1/4; -x+3/4,-y+3/4,-z+3/4; "
                                                        "x+3/4,y+1/4,-z+1/4; x+1/4,-y+1/4,z+3/4; "
                                                        "-x+1/4,y+3/4,z+1/4; -z+3/4,-x+3/4,-y+3/4; "
                                                        "-z+1/4,x+3/4,y+1/4; z+3/4,x+1/4,-y+1/4; "
                                                        "z+1/4,-x+1/4,y+3/4; -y+3/4,-z+3/4,-x+3/4; "
                                                        "y+1/4,-z+1/4,x+3/4; -y+1/4,z+3/4,x+1/4; "
                                                        "y+3/4,z+1/4,-x+1/4; -y,-x+1/2,z; "
                                                        "y+1/2,x+1/2,z+1/2; -y+1/2,x,-z; y,-x,-z+1/2; "
                                                        "-x,-z+1/2,y; x,-z,-y+1/2; x+1/2,z+1/2,y+1/2; "
                                                        "-x+1/2,z,-y; -z,-y+1/2,x; -z+1/2,y,-x; "
                                                        "z,-y,-x+1/2; z+1/2,y+1/2,x+1/2"),
  row( 229, "Im-3m",    "I 4/m -3 2/m",    7, 'I',  96, "x,y,z; -x,-y,z; -x,y,-z; x,-y,-z; z,x,y; z,-x,-y; "
                                                        "-z,-x,y; -z,x,-y; y,z,x; -y,z,-x; y,-z,-x; "
                                                        "-y,-z,x; y,x,-z; -y,-x,-z; y,-x,z; -y,x,z; "
                                                        "x,z,-y; -x,z,y; -x,-z,-y; x,-z,y; z,y,-x; z,-y,x; "
                                                        "-z,y,x; -z,-y,-x; -x,-y,-z; x,y,-z; x,-y,z; "
                                                        "-x,y,z; -z,-x,-y; -z,x,y; z,x,-y; z,-x,y; "
                                                        "-y,-z,-x; y,-z,x; -y,z,x; y,z,-x; -y,-x,z; y,x,z; "
                                                        "-y,x,-z; y,-x,-z; -x,-z,y; x,-z,-y; x,z,y; "
                                                        "-x,z,-y; -z,-y,x; -z,y,-x; z,-y,-x; z,y,x"),
  row( 230, "Ia-3d",    "I 41/a -3 2/d",   7, 'I',  96, "x,y,z; -x+1/2,-y,z+1/2; -x,y+1/2,-z+1/2; "
                                                        "x+1/2,-y+1/2,-z; z,x,y; z+1/2,-x+1/2,-y; "
                                                        "-z+1/2,-x,y+1/2; -z,x+1/2,-y+1/2; y,z,x; "
                                                        "-y,z+1/2,-x+1/2; y+1/2,-z+1/2,-x; "
                                                        "-y+1/2,-z,x+1/2; y+3/4,x+1/4,-z+1/4; "
                                                        "-y+3/4,-x+3/4,-z+3/4; y+1/4,-x+1/4,z+3/4; "
                                                        "-y+1/4,x+3/4,z+1/4; x+3/4,z+1/4,-y+1/4; "
                                                        "-x+1/4,z+3/4,y+1/4; -x+3/4,-z+3/4,-y+3/4; "
                                                        "x+1/4,-z+1/4,y+3/4; z+3/4,y+1/4,-x+1/4; "
                                                        "z+1/4,-y+1/4,x+3/4; -z+1/4,y+3/4,x+1/4; "
                                                        "-z+3/4,-y+3/4,-x+3/4; -x,-y,-z; x+1/2,y,-z+1/2; "
                                                        "x,-y+1/2,z+1/2; -x+1/2,y+1/2,z; -z,-x,-y; "
                                                        "-z+1/2,x+1/2,y; z+1/2,x,-y+1/2; z,-x+1/2,y+1/2; "
                                                        "-y,-z,-x; y,-z+1/2,x+1/2; -y+1/2,z+1/2,x; "
                                                        "y+1/2,z,-x+1/2; -y+1/4,-x+3/4,z+3/4; "
                                                        "y+1/4,x+1/4,z+1/4; -y+3/4,x+3/4,-z+1/4; "
                                                        "y+3/4,-x+1/4,-z+3/4; -x+1/4,-z+3/4,y+3/4; "
                                                        "x+3/4,-z+1/4,-y+3/4; x+1/4,z+1/4,y+1/4; "
                                                        "-x+3/4,z+3/4,-y+1/4; -z+1/4,-y+3/4,x+3/4; "
                                                        "-z+3/4,y+3/4,-x+1/4; z+3/4,-y+1/4,-x+3/4; "
                                                        "z+1/4,y+1/4,x+1/4"),
  row(1003, "P2",       "P 1 1 2",         2, 'P',   2, "x,y,z; -x,-y,z"),
  row(1004, "P1121",    "P 1 1 21",        2, 'P',   2, "x,y,z; -x,-y,z+1/2"),
  row(3004, "I21",      "I 1 21 1",        2, 'I',   4, "x,y,z; -x,y+1/2,-z"),
  row(1005, "B2",       "B 1 1 2",         2, 'B',   4, "x,y,z; -x,-y,z"),
  row(2005, "A2",       "A 2 1 1",         2, 'A',   4, "x,y,z; x,-y,-z"),
  row(3005, "C21",      "C 1 21 1",        2, 'C',   4, "x,y,z; -x,y+1/2,-z"),
  row(1006, "P11m",     "P 1 1 m",         2, 'P',   2, "x,y,z; x,y,-z"),
  row(1007, "P11b",     "P 1 1 b",         2, 'P',   2, "x,y,z; x,y+1/2,-z"),
  row(1008, "B11m",     "B 1 1 m",         2, 'C',   4, "x,y,z; x,-y,z"),
  row(1009, "B11b",     "B 1 1 b",         2, 'B',   4, "x,y,z; x,y+1/2,-z"),
  row(1010, "P112/m",   "P 1 1 2/m",       2, 'P',   4, "x,y,z; x,y,-z; -x,-y,z; -x,-y,-z"),
  row(1011, "P1121/m",  "P 1 1 21/m",      2, 'P',   4, "x,y,z; -x,-y,z+1/2; -x,-y,-z; x,y,-z+1/2"),
  row(1012, "B112/m",   "B 1 1 2/m",       2, 'B',   8, "x,y,z; x,y,-z; -x,-y,z; -x,-y,-z"),
  row(1013, "P112/b",   "P 1 1 2/b",       2, 'P',   4, "x,y,z; -x,-y+1/2,z; -x,-y,-z; x,y+1/2,-z"),
  row(1014, "P1121/b",  "P 1 1 21/b",      2, 'P',   4, "x,y,z; -x,-y,-z; -x,-y+1/2,z+1/2; x,y+1/2,-z+1/2"),
  row(1015, "B112/b",   "B 1 1 2/b",       2, 'B',   8, "x,y,z; -x,-y+1/2,z; -x,-y,-z; x,y+1/2,-z"),
  row(1017, "P2122",    "P 21 2 2",        3, 'P',   4, "x,y,z; -x,y,-z; x+1/2,-y,-z; -x+1/2,-y,z"),
  row(2017, "P2212",    "P 2 21 2",        3, 'P',   4, "x,y,z; x,-y+1/2,-z; -x,y+1/2,-z; -x,-y,z"),
  row(1018, "P21212a",  "P 21 21 2 (a)",   3, 'P',   4, "x,y,z; -x+1/2,-y+1/2,z; x+1/2,-y,-z; -x,y+1/2,-z"),
  row(2018, "P21221",   "P 21 2 21",       3, 'P',   4, "x,y,z; -x,y,-z; x+1/2,-y,-z+1/2; -x+1/2,-y,z+1/2"),
  row(3018, "P22121",   "P 2 21 21",       3, 'P',   4, "x,y,z; x,-y,-z; -x,y+1/2,-z+1/2; -x,-y+1/2,z+1/2"),
  row(1020, "C2221a",   "C 2 2 21a)",      3, 'C',   8, "x,y,z; -x+1/2,-y,z+1/2; x+1/2,-y+1/2,-z; "
                                                        "-x,y+1/2,-z+1/2"),
  row(1021, "C222a",    "C 2 2 2a",        3, 'C',   8, "x,y,z; -x+1/2,-y+1/2,z; x+1/2,-y,-z; -x,y+1/2,-z"),
  row(1022, "F222a",    "F 2 2 2a",        3, 'F',  16, "x,y,z; -x+1/2,-y+1/2,z; x+1/2,-y,-z; -x,y+1/2,-z"),
  row(1023, "I222a",    "I 2 2 2a",        3, 'P',   8, "x,y,z; -x+1/2,-y+1/2,z; x+1/2,-y,-z; -x,y+1/2,-z; "
                                                        "x+1/2,y+1/2,z+1/2; -x,-y,z+1/2; -x+1/2,y,-z+1/2; "
                                                        "x,-y+1/2,-z+1/2"),
  row(1059, "Pmmn2",    "P 21/m 21/m 2/n", 3, 'P',   8, "x,y,z; -x+1/2,-y+1/2,z; -x,y+1/2,-z; x+1/2,-y,-z; "
                                                        "-x,-y,-z; x+1/2,y+1/2,-z; x,-y+1/2,z; -x+1/2,y,z"),
  row(1094, "P42212a",  "P 42 21 2a",      4, 'P',   8, "x,y,z; -x+1/2,-y+1/2,z; -y,x+1/2,z+1/2; "
                                                        "y+1/2,-x,z+1/2; -x,y+1/2,-z; x+1/2,-y,-z; "
                                                        "y,x,-z+1/2; -y+1/2,-x+1/2,-z+1/2"),
  row(1197, "I23a",     "I 2 3a",          7, 'I',  24, "x,y,z; -x+1/2,-y+1/2,z; x+1/2,-y,-z; -x,y+1/2,-z; "
                                                        "y,z,x; -y+1/2,-z+1/2,x; y+1/2,-z,-x; -y,z+1/2,-x; "
                                                        "z,x,y; -z+1/2,-x+1/2,y; z+1/2,-x,-y; -z,x+1/2,-y"),
};
// clang-format on

static_assert(sizeof kTable / sizeof *kTable == kSpaceGroupRows);

}  // namespace

const SGRecord (&sglib)[kSpaceGroupRows] = kTable;

}  // namespace VXCore
