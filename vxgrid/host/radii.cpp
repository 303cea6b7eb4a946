#include <vxgrid/host/radii.h>

#include <algorithm>
#include <array>
#include <iterator>

#include <vxgrid/host/mol_data.inl>

namespace VXCore {
namespace {

struct Element {
  const char* symbol;
  double weight;        // unified atomic mass units
  double bondi_radius;  // Å
};

// By atomic number. Weights: IUPAC standard atomic weights 2021 (Prohaska et al., Pure Appl. Chem. 94, 573
// (2022)), the abridged value where IUPAC gives an interval; whole numbers above 208 and of Tc and Pm are
// mass numbers of long-lived isotopes. Radii: A. Bondi, J. Phys. Chem. 68, 441 (1964); main-group elements
// that he left out, on his scale, M. Mantina et al., J. Phys. Chem. A 113, 5806 (2009); 2.00 where neither
// has one.
// clang-format off
constexpr Element kElements[] = {
  // symbol    weight  radius
  {"X",             0, 0.00},  //   0
  {"H",        1.0080, 1.20},  //   1
  {"He",     4.002602, 1.40},  //   2
  {"Li",         6.94, 1.82},  //   3
  {"Be",    9.0121831, 1.53},  //   4
  {"B",         10.81, 1.92},  //   5
  {"C",        12.011, 1.70},  //   6
  {"N",        14.007, 1.55},  //   7
  {"O",        15.999, 1.52},  //   8
  {"F",  18.998403162, 1.47},  //   9
  {"Ne",      20.1797, 1.54},  //  10
  {"Na",  22.98976928, 2.27},  //  11
  {"Mg",       24.305, 1.73},  //  12
  {"Al",   26.9815384, 1.84},  //  13
  {"Si",       28.085, 2.10},  //  14
  {"P",  30.973761998, 1.80},  //  15
  {"S",         32.06, 1.80},  //  16
  {"Cl",        35.45, 1.75},  //  17
  {"Ar",        39.95, 1.88},  //  18
  {"K",       39.0983, 2.75},  //  19
  {"Ca",       40.078, 2.31},  //  20
  {"Sc",    44.955907, 2.00},  //  21
  {"Ti",       47.867, 2.00},  //  22
  {"V",       50.9415, 2.00},  //  23
  {"Cr",      51.9961, 2.00},  //  24
  {"Mn",    54.938043, 2.00},  //  25
  {"Fe",       55.845, 2.00},  //  26
  {"Co",    58.933194, 2.00},  //  27
  {"Ni",      58.6934, 1.63},  //  28
  {"Cu",       63.546, 1.40},  //  29
  {"Zn",        65.38, 1.39},  //  30
  {"Ga",       69.723, 1.87},  //  31
  {"Ge",       72.630, 2.11},  //  32
  {"As",    74.921595, 1.85},  //  33
  {"Se",       78.971, 1.90},  //  34
  {"Br",       79.904, 1.85},  //  35
  {"Kr",       83.798, 2.02},  //  36
  {"Rb",      85.4678, 3.03},  //  37
  {"Sr",        87.62, 2.49},  //  38
  {"Y",     88.905838, 2.00},  //  39
  {"Zr",       91.224, 2.00},  //  40
  {"Nb",     92.90637, 2.00},  //  41
  {"Mo",        95.95, 2.00},  //  42
  {"Tc",           97, 2.00},  //  43
  {"Ru",       101.07, 2.00},  //  44
  {"Rh",    102.90549, 2.00},  //  45
  {"Pd",       106.42, 1.63},  //  46
  {"Ag",     107.8682, 1.72},  //  47
  {"Cd",      112.414, 1.58},  //  48
  {"In",      114.818, 1.93},  //  49
  {"Sn",      118.710, 2.17},  //  50
  {"Sb",      121.760, 2.06},  //  51
  {"Te",       127.60, 2.06},  //  52
  {"I",     126.90447, 1.98},  //  53
  {"Xe",      131.293, 2.16},  //  54
  {"Cs", 132.90545196, 3.43},  //  55
  {"Ba",      137.327, 2.68},  //  56
  {"La",    138.90547, 2.00},  //  57
  {"Ce",      140.116, 2.00},  //  58
  {"Pr",    140.90766, 2.00},  //  59
  {"Nd",      144.242, 2.00},  //  60
  {"Pm",          145, 2.00},  //  61
  {"Sm",       150.36, 2.00},  //  62
  {"Eu",      151.964, 2.00},  //  63
  {"Gd",       157.25, 2.00},  //  64
  {"Tb",   158.925354, 2.00},  //  65
  {"Dy",      162.500, 2.00},  //  66
  {"Ho",   164.930329, 2.00},  //  67
  {"Er",      167.259, 2.00},  //  68
  {"Tm",   168.934219, 2.00},  //  69
  {"Yb",      173.045, 2.00},  //  70
  {"Lu",     174.9668, 2.00},  //  71
  {"Hf",      178.486, 2.00},  //  72
  {"Ta",    180.94788, 2.00},  //  73
  {"W",        183.84, 2.00},  //  74
  {"Re",      186.207, 2.00},  //  75
  {"Os",       190.23, 2.00},  //  76
  {"Ir",      192.217, 2.00},  //  77
  {"Pt",      195.084, 1.75},  //  78
  {"Au",   196.966570, 1.66},  //  79
  {"Hg",      200.592, 1.55},  //  80
  {"Tl",       204.38, 1.96},  //  81
  {"Pb",        207.2, 2.02},  //  82
  {"Bi",    208.98040, 2.07},  //  83
  {"Po",          209, 1.97},  //  84
  {"At",          210, 2.02},  //  85
  {"Rn",          222, 2.20},  //  86
  {"Fr",          223, 3.48},  //  87
  {"Ra",          226, 2.83},  //  88
  {"Ac",          227, 2.00},  //  89
  {"Th",     232.0377, 2.00},  //  90
  {"Pa",    231.03588, 2.00},  //  91
  {"U",     238.02891, 1.86},  //  92
  {"Np",          237, 2.00},  //  93
  {"Pu",          244, 2.00},  //  94
  {"Am",          243, 2.00},  //  95
  {"Cm",          247, 2.00},  //  96
  {"Bk",          247, 2.00},  //  97
  {"Cf",          251, 2.00},  //  98
  {"Es",          252, 2.00},  //  99
  {"Fm",          257, 2.00},  // 100
  {"Md",          258, 2.00},  // 101
  {"No",          259, 2.00},  // 102
  {"Lr",          262, 2.00},  // 103
  {"Rf",          267, 2.00},  // 104
  {"Db",          268, 2.00},  // 105
  {"Sg",          269, 2.00},  // 106
  {"Bh",          270, 2.00},  // 107
  {"Hs",          269, 2.00},  // 108
  {"Mt",          277, 2.00},  // 109
  {"Ds",          281, 2.00},  // 110
  {"Rg",          282, 2.00},  // 111
  {"Cn",          285, 2.00},  // 112
  {"Nh",          286, 2.00},  // 113
  {"Fl",          290, 2.00},  // 114
  {"Mc",          290, 2.00},  // 115
  {"Lv",          293, 2.00},  // 116
  {"Ts",          294, 2.00},  // 117
  {"Og",          294, 2.00},  // 118
};
// clang-format on

// Radii for Gaussian volumes, by atomic number; 36 and above count as 35.
// clang-format off
constexpr float kZemoRadii[] = {
   0.0f,  1.0f,  1.9f,  1.1f,  1.1f,  1.7f,  // 0 to 5
   1.7f, 1.65f,  1.6f,  1.2f,  1.9f,  1.2f,  // 6 to 11
   1.2f,  1.3f,  1.6f,  1.9f,  1.9f,  1.9f,  // 12 to 17
   1.9f,  1.9f,  1.9f,  1.9f,  1.9f,  1.9f,  // 18 to 23
   1.9f,  1.2f,  1.9f,  1.9f,  1.9f, 1.25f,  // 24 to 29
  1.34f,  1.9f,  1.9f,  1.9f,  1.9f,  1.9f,  // 30 to 35
};
// clang-format on

const Element& element(unsigned int atomic_number) {
  return kElements[atomic_number < std::size(kElements) ? atomic_number : 0];
}

/// A number below 27 * 27 for one or two letters, of whatever case; 0 for other texts.
constexpr std::size_t code_of(std::string_view symbol) {
  std::size_t code = 0;
  for (const char c : symbol) {
    const unsigned int letter = (static_cast<unsigned char>(c) | 32u) - 'a';
    if (letter >= 26 || symbol.size() > 2) return 0;
    code = 27 * code + letter + 1;
  }
  return code;
}

/// Atomic numbers by the codes of symbols.
constexpr auto kNumbers = [] {
  std::array<unsigned char, 27 * 27> numbers{};
  for (std::size_t i = 0; i < std::size(kElements); ++i)
    numbers[code_of(kElements[i].symbol)] = static_cast<unsigned char>(i);
  numbers[code_of("D")] = 1;
  return numbers;
}();

}  // namespace

const char* VXGetAtomicSymbol(unsigned int atomic_number) { return element(atomic_number).symbol; }
double VXGetAtomicWeight(unsigned int atomic_number) { return element(atomic_number).weight; }
double VXGetBondiVdWRadius(unsigned int atomic_number) { return element(atomic_number).bondi_radius; }

unsigned int VXGetAtomicNum(std::string_view symbol) { return kNumbers[code_of(symbol)]; }

void VXAssignBondiVdWRadii(VXMolBase& mol) {
  for (VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms()))
    atom.SetRadius(VXGetBondiVdWRadius(atom.GetAtomicNum()));
}

void AssignZemoMolRadii(VXMolBase& mol) {
  for (VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms()))
    atom.SetRadius(kZemoRadii[std::min(atom.GetAtomicNum(), 35u)]);
}

bool HasRadii(const VXMolBase& mol) {
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms()))
    if (atom.GetRadius() > 0) return true;
  return false;
}

}  // namespace VXCore
