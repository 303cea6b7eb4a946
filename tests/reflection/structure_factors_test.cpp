#include <vxgrid/reflection/structure_factors.h>

#include <complex>
#include <limits>
#include <random>

#include <support/support.h>
#include <vxgrid/host/residue.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/mtz.h>
#include <vxgrid/xtal/scatter_table.h>

#include "gemmi_model.h"
#include "support.h"

using namespace VXCore;
using testing::HasSubstr;

namespace {

struct Atom {
  unsigned int element;
  float x, y, z, occupancy, b_iso;
};

VXGraphMol make_model(const std::vector<Atom>& atoms, bool residues = true) {
  VXGraphMol mol;
  for (const Atom& a : atoms) {
    VXAtomBase* const atom = mol.AddAtom(a.element);
    const float xyz[] = {a.x, a.y, a.z};
    mol.SetCoords(atom, xyz);
    VXResidue residue;
    residue.SetOccupancy(a.occupancy);
    residue.SetBFactor(a.b_iso);
    if (residues) VXAtomSetResidue(atom, residue);
  }
  return mol;
}

using Real = long double;
constexpr Real kTurn = 6.283185307179586476925286766559L;

Real form_factor(unsigned int element, Real s2) {
  const VXScatterData& t = scatter_data[VXGetScatterType(static_cast<int>(element), 0)];
  return t.a1 * std::exp(-t.b1 * s2) + t.a2 * std::exp(-t.b2 * s2) + t.a3 * std::exp(-t.b3 * s2) +
         t.a4 * std::exp(-t.b4 * s2) + t.c;
}

// The sum as the formula has it. Bases of the cell and of its reciprocal come from vector products.
class PlainSum {
 public:
  explicit PlainSum(const VXXtal::VXSymmetry& symmetry) : symmetry_(symmetry) {
    const VXXtal::VXUnitCell& cell = symmetry.cell();
    const Real ca = cosine(cell.alpha), cb = cosine(cell.beta), cg = cosine(cell.gamma);
    const Real sg = std::sqrt(1 - cg * cg), cy = (ca - cb * cg) / sg;
    const Real axes[3][3] = {{cell.a, 0, 0},
                             {cell.b * cg, cell.b * sg, 0},
                             {cell.c * cb, cell.c * cy, cell.c * std::sqrt(1 - cb * cb - cy * cy)}};
    const Real volume = axes[0][0] * axes[1][1] * axes[2][2];
    for (int i = 0; i < 3; ++i)
      for (int x = 0; x < 3; ++x) {
        const Real *u = axes[(i + 1) % 3], *w = axes[(i + 2) % 3];
        star_[i][x] = (u[(x + 1) % 3] * w[(x + 2) % 3] - u[(x + 2) % 3] * w[(x + 1) % 3]) / volume;
      }
  }

  std::complex<Real> operator()(const std::vector<Atom>& atoms, const Coefficient& at, Real& scale) const {
    Real s2 = 0;
    for (int x = 0; x < 3; ++x) {
      const Real d = at.h * star_[0][x] + at.k * star_[1][x] + at.l * star_[2][x];
      s2 += d * d / 4;
    }
    std::complex<Real> sum = 0;
    scale = 0;
    for (const Atom& a : atoms) {
      const Real weight = a.occupancy * form_factor(a.element, s2) * std::exp(-a.b_iso * s2);
      Real frac[3];
      for (int i = 0; i < 3; ++i) frac[i] = a.x * star_[i][0] + a.y * star_[i][1] + a.z * star_[i][2];
      for (unsigned int op = 0; op < symmetry_.GetOpCount(); ++op) {
        const float* m = symmetry_.GetMatrices() + 16 * op;
        Real turns = 0;
        const int hkl[] = {at.h, at.k, at.l};
        for (int i = 0; i < 3; ++i)
          turns += hkl[i] * (m[i] * frac[0] + m[4 + i] * frac[1] + m[8 + i] * frac[2] +
                             std::round(24 * m[12 + i]) / Real{24});
        sum += std::polar(weight, kTurn * (turns - std::floor(turns)));
        scale += std::fabs(weight);
      }
    }
    return sum;
  }

 private:
  static Real cosine(Real degrees) { return degrees == 90 ? 0 : std::cos(kTurn * degrees / 360); }

  VXXtal::VXSymmetry symmetry_;
  Real star_[3][3];
};

constexpr struct Crystal {
  unsigned int group;
  float cell[6];
} kCrystals[] = {{1, {9, 11, 13, 80, 97, 110}},    {2, {12, 9, 14, 70, 85, 100}},
                 {5, {20, 9, 14, 90, 112, 90}},    {19, {13, 17, 21, 90, 90, 90}},
                 {96, {19, 19, 11, 90, 90, 90}},   {146, {16, 16, 23, 90, 90, 120}},
                 {179, {18, 18, 25, 90, 90, 120}}, {230, {15, 15, 15, 90, 90, 90}}};

TEST(StructureFactors, SameAsThePlainSum) {
  std::mt19937 random(7);
  const auto between = [&](float low, float high) {
    return std::uniform_real_distribution<float>(low, high)(random);
  };
  for (const Crystal& crystal : kCrystals) {
    SCOPED_TRACE(crystal.group);
    std::vector<Atom> atoms;
    for (const unsigned int element : {1, 6, 6, 7, 8, 8, 15, 16, 26, 92})
      atoms.push_back({element, between(-30, 30), between(-30, 30), between(-30, 30), between(-0.2f, 1),
                       between(-3, 60)});
    std::vector<Coefficient> list;
    for (int i = 0; i < 101; ++i)  // a last block that is not full
      list.push_back({static_cast<int>(between(-12, 12)), static_cast<int>(between(-12, 12)),
                      static_cast<int>(between(-12, 12))});
    VXReflection set = make_set(list, crystal.group, VXXtal::VXUnitCell(crystal.cell));
    unsigned int skipped = 9;
    ASSERT_TRUE(VXStructureFactors(set, make_model(atoms), skipped));
    EXPECT_EQ(skipped, 0u);

    const PlainSum plain(set.GetSymmetry());
    const VXReflectionImpl& r = *set.GetImpl();
    for (std::size_t i = 0; i < list.size(); ++i) {
      Real scale = 0;
      const std::complex<Real> f = plain(atoms, list[i], scale);
      SCOPED_TRACE(testing::Message() << list[i].h << " " << list[i].k << " " << list[i].l);
      // Half a unit in the last place of a float, beside 1e-12 of the sum of all terms.
      EXPECT_LE(std::fabs(r.fcalc[i] - std::abs(f)), 0x1p-24L * std::abs(f) + 1e-12L * scale);
      if (std::abs(f) > 1e-5L * scale) {
        const Real off = std::remainder(r.phase_calc[i] - std::arg(f) * 360 / kTurn, Real{360});
        EXPECT_LE(std::fabs(off), 2e-5L) << "a float below 360 is good to 1.5e-5";
      }
      EXPECT_EQ(r.phase[i], r.phase_calc[i]);
      EXPECT_TRUE(r.phase[i] >= 0 && r.phase[i] < 360) << r.phase[i];
    }
  }
}

// Hydrogens as hydrogens, occupancies and B factors as stored, the elements of proteins and metals. What is
// left is the rounding of coordinates and cells to
// float, some 2e-6 Å.
TEST(StructureFactors, RealCrystalsAsGemmiSumsThem) {
  for (const std::string name : {"4hg7", "hewl", "1dur", "7n2l"}) {
    SCOPED_TRACE(name);
    SKIP_WITHOUT_DATA("crystals/" + name + ".mtz");
    const gemmi::Structure structure = read_isotropic(real_data("crystals/" + name + ".pdb"));
    VXReflection whole;
    VXHost::vxifstream in(real_data("crystals/" + name + ".mtz"));
    ASSERT_TRUE(VXReadReflectionMTZ(in, whole, VXMTZColumnNames()));
    const VXReflectionImpl& all = *whole.GetImpl();
    std::vector<Coefficient> some;
    for (unsigned int i = 0; i < all.nref; i += all.nref / 100)
      some.push_back({all.h[i], all.k[i], all.l[i]});
    VXReflection set = make_set(some, all.symmetry.GetNumber(), all.symmetry.cell());
    unsigned int skipped = 9;
    ASSERT_TRUE(VXStructureFactors(set, molecule_of(structure), skipped));
    EXPECT_EQ(skipped, 0u);

    const gemmi::UnitCell cell = cell_of(set);  // that of the MTZ file has more digits
    gemmi::StructureFactorCalculator<gemmi::IT92<double>> calculator(cell);
    const VXReflectionImpl& r = *set.GetImpl();
    double differences = 0, sum = 0;
    for (unsigned int i = 0; i < r.nref; ++i) {
      const auto f = calculator.calculate_sf_from_model(structure.models[0], {r.h[i], r.k[i], r.l[i]});
      differences += std::abs(std::polar<double>(r.fcalc[i], r.phase_calc[i] * M_PI / 180) - f);
      sum += std::abs(f);
    }
    EXPECT_LT(differences / sum, 1e-5);
  }
}

TEST(StructureFactors, ClosedForms) {
  const float inf = std::numeric_limits<float>::infinity();
  const float f6 = static_cast<float>(form_factor(6, 0)), f1 = static_cast<float>(form_factor(1, 0));
  const auto at_s = [](unsigned int element, Real s2, Real b) {
    return static_cast<float>(form_factor(element, s2) * std::exp(-b * s2));
  };
  const struct {
    const char* what;
    unsigned int group;
    std::vector<Atom> atoms;
    Coefficient expected;  // in a cubic cell of 10 Å
    unsigned int skipped;
  } rows[] = {
      {"F(000) is the sum of all form factors",
       1,
       {{6, 1, 2, 3, 0.5f, 20}, {1, 4, 5, 6, 1, 9}},
       {0, 0, 0, 0.5f * f6 + f1, 0},
       0},
      {"at the origin the phase is 0", 1, {{6, 0, 0, 0, 1, 20}}, {3, 4, 0, at_s(6, 0.0625L, 20), 0}, 0},
      {"a quarter along the cell", 1, {{8, 2.5f, 0, 0, 1, 20}}, {1, 0, 0, at_s(8, 0.0025L, 20), 90}, 0},
      {"on a special position as it stands", 2, {{6, 0, 0, 0, 0.5f, 0}}, {0, 0, 0, f6, 0}, 0},
      {"absent by a screw axis", 4, {{6, 1, 2, 3, 1, 20}}, {0, 3, 0, 0, 0}, 0},
      {"absent by centring", 5, {{6, 1, 2, 3, 1, 20}}, {2, 1, 3, 0, 0}, 0},
      {"unknown element",
       1,
       {{0, 0, 0, 0, 1, 20}, {6, 0, 0, 0, 1, 0}, {120, 0, 0, 0, 1, 20}},
       {0, 0, 0, f6, 0},
       2},
      {"not finite",
       1,
       {{6, 0, NAN, 0, 1, 20}, {6, 0, 0, 0, 1, 0}, {6, 0, 0, 0, -inf, 20}, {6, 0, 0, 0, 1, NAN}},
       {0, 0, 0, f6, 0},
       3},
      {"an enormous B factor", 1, {{6, 0, 0, 0, 1, 3e38f}}, {1, 0, 0, 0, 0}, 0},
      {"its negative exceeds a float", 1, {{6, 0, 0, 0, 1, -3e38f}}, {1, 0, 0, inf, 0}, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    VXReflection set = make_set({row.expected}, row.group);
    unsigned int skipped = 9;
    ASSERT_TRUE(VXStructureFactors(set, make_model(row.atoms), skipped));
    EXPECT_EQ(skipped, row.skipped);
    EXPECT_FLOAT_EQ(set.GetImpl()->fcalc[0], row.expected.amp);
    EXPECT_FLOAT_EQ(set.GetImpl()->phase_calc[0], row.expected.phase);
  }
}

TEST(StructureFactors, RefusesAndSaysWhy) {
  const std::vector<Atom> carbon = {{6, 1, 2, 3, 1, 20}};
  const VXXtal::VXUnitCell flat(10, 10, 10, 30, 30, 170), zero(0, 10, 10, 90, 90, 90),
      nan(NAN, 9, 9, 90, 90, 90);
  const VXReflection good = make_set({{1, 2, 3, 5, 7}});
  VXReflection no_indices = good, no_group = good;
  no_indices.SetHKL(nullptr, nullptr, nullptr, 1);
  no_group.SetSymmetry(VXXtal::VXSymmetry());
  const std::tuple<VXReflection, VXGraphMol, const char*> rows[] = {
      {VXReflection(), make_model(carbon), "no reflections"},
      {no_indices, make_model(carbon), "no Miller indices"},
      {no_group, make_model(carbon), "no space group"},
      {make_set({{1, 2, 3, 5, 7}}, 1, zero), make_model(carbon), "no cell with a volume"},
      {make_set({{1, 2, 3, 5, 7}}, 1, flat), make_model(carbon), "no cell with a volume"},
      {make_set({{1, 2, 3, 5, 7}}, 1, nan), make_model(carbon), "no cell with a volume"},
      {good, make_model(carbon, false), "no residue data"},
  };
  for (const auto& [reflections, model, says] : rows) {
    SCOPED_TRACE(says);
    VXReflection set = reflections;
    const CapturedLog log;
    unsigned int skipped = 9;
    EXPECT_FALSE(VXStructureFactors(set, model, skipped));
    EXPECT_THAT(log.text(), HasSubstr(std::string("Warning: VXStructureFactors: ")));
    EXPECT_THAT(log.text(), HasSubstr(says));
    EXPECT_FALSE(set.GetImpl()->fcalc) << "columns changed";
    EXPECT_TRUE(set.GetCount() == 0 || set.GetImpl()->phase[0] == 7);
  }
}

}  // namespace
