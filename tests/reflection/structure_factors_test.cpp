#include <vxgrid/reflection/structure_factors.h>

#include <complex>
#include <limits>
#include <random>

#include <gemmi/it92.hpp>
#include <gemmi/pdb.hpp>
#include <gemmi/sfcalc.hpp>

#include <support/support.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/reflection/mtz.h>
#include <vxgrid/xtal/scatter_table.h>

#include "realspace/model.h"
#include "support.h"

using namespace VXCore;
using testing::HasSubstr;

namespace {

struct Atom {
  unsigned int element;
  float x, y, z, occupancy, b_iso;
};

VXGraphMol make_model(const std::vector<Atom>& atoms) {
  VXGraphMol mol;
  for (const Atom& a : atoms) add_atom(mol, a.element, a.x, a.y, a.z, a.b_iso, a.occupancy);
  return mol;
}

/// The cell of a set with all images of its group.
gemmi::UnitCell cell_of(const VXReflection& set) {
  const VXXtal::VXUnitCell& c = set.GetSymmetry().cell();
  gemmi::UnitCell cell(c.a, c.b, c.c, c.alpha, c.beta, c.gamma);
  const int group = static_cast<int>(set.GetSymmetry().GetNumber());
  cell.set_cell_images_from_spacegroup(gemmi::find_spacegroup_by_number(group));
  return cell;
}

double form_factor(unsigned int element, double s2) {
  const VXScatterData& t = scatter_data[VXGetScatterType(static_cast<int>(element), 0)];
  return t.a1 * std::exp(-t.b1 * s2) + t.a2 * std::exp(-t.b2 * s2) + t.a3 * std::exp(-t.b3 * s2) +
         t.a4 * std::exp(-t.b4 * s2) + t.c;
}

// The sum as the formula has it, over cell fractions and resolutions of gemmi; `scale` is that of the sizes.
std::complex<double> plain_sum(const VXXtal::VXSymmetry& symmetry, const gemmi::UnitCell& cell,
                               const std::vector<Atom>& atoms, const Coefficient& at, double& scale) {
  const int hkl[] = {at.h, at.k, at.l};
  const double s2 = cell.calculate_stol_sq({at.h, at.k, at.l});
  std::complex<double> sum = scale = 0;
  for (const Atom& a : atoms) {
    const double weight = a.occupancy * form_factor(a.element, s2) * std::exp(-a.b_iso * s2);
    const gemmi::Fractional frac = cell.fractionalize(gemmi::Position(a.x, a.y, a.z));
    for (unsigned int op = 0; op < symmetry.GetOpCount(); ++op) {
      const float* m = symmetry.GetMatrices() + 16 * op;
      double turns = 0;
      for (int i = 0; i < 3; ++i)
        turns += hkl[i] *
                 (m[i] * frac.x + m[4 + i] * frac.y + m[8 + i] * frac.z + std::round(24 * m[12 + i]) / 24.0);
      sum += weight * std::polar(1.0, 2 * M_PI * (turns - std::floor(turns)));
      scale += std::fabs(weight);
    }
  }
  return sum;
}

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
    const auto index = [&] { return static_cast<int>(between(-12, 12)); };
    for (int i = 0; i < 101; ++i) list.push_back({index(), index(), index()});  // a last block not full
    VXReflection set = make_set(list, crystal.group, VXXtal::VXUnitCell(crystal.cell));
    unsigned int skipped = 9;
    ASSERT_TRUE(VXStructureFactors(set, make_model(atoms), skipped));
    EXPECT_EQ(skipped, 0u);

    const gemmi::UnitCell cell = cell_of(set);
    const VXReflectionImpl& r = *set.GetImpl();
    for (std::size_t i = 0; i < list.size(); ++i) {
      double scale;
      const std::complex<double> f = plain_sum(set.GetSymmetry(), cell, atoms, list[i], scale);
      SCOPED_TRACE(testing::Message() << list[i].h << " " << list[i].k << " " << list[i].l);
      // Half a unit in the last place of a float, beside 1e-12 of the sum of all terms.
      EXPECT_LE(std::fabs(r.fcalc[i] - std::abs(f)), 0x1p-24 * std::abs(f) + 1e-12 * scale);
      const double off = std::remainder(r.phase_calc[i] - std::arg(f) * 180 / M_PI, 360.0);
      EXPECT_TRUE(std::fabs(off) <= 2e-5 || std::abs(f) <= 1e-5 * scale)
          << off << ", a float below 360 is good to 1.5e-5";
      EXPECT_EQ(r.phase[i], r.phase_calc[i]);
      EXPECT_TRUE(r.phase[i] >= 0 && r.phase[i] < 360) << r.phase[i];
    }
  }
}

// Hydrogens as hydrogens, alternate conformations too, occupancies and B factors as stored, the elements of
// proteins and metals. What is left is the rounding of coordinates and cells to float, some 2e-6 Å.
TEST(StructureFactors, RealCrystalsAsGemmiSumsThem) {
  for (const std::string name : {"4hg7", "hewl", "1dur", "7n2l"}) {
    SCOPED_TRACE(name);
    SKIP_WITHOUT_DATA("crystals/" + name + ".mtz");
    gemmi::Structure structure = gemmi::read_pdb_file(real_data("crystals/" + name + ".pdb"));
    std::vector<Atom> atoms;
    for (gemmi::CRA cra : structure.models[0].all()) {
      gemmi::Atom& a = *cra.atom;
      a.aniso = {0, 0, 0, 0, 0, 0};
      const auto x = static_cast<float>(a.pos.x), y = static_cast<float>(a.pos.y);
      atoms.push_back({static_cast<unsigned>(a.element.atomic_number()), x, y, static_cast<float>(a.pos.z),
                       a.occ, a.b_iso});
    }
    VXReflection whole;
    VXHost::vxifstream in(real_data("crystals/" + name + ".mtz"));
    ASSERT_TRUE(VXReadReflectionMTZ(in, whole, VXMTZColumnNames()));
    const VXReflectionImpl& all = *whole.GetImpl();
    std::vector<Coefficient> some;
    for (unsigned int i = 0; i < all.nref; i += all.nref / 100)
      some.push_back({all.h[i], all.k[i], all.l[i]});
    VXReflection set = make_set(some, all.symmetry.GetNumber(), all.symmetry.cell());
    unsigned int skipped = 9;
    ASSERT_TRUE(VXStructureFactors(set, make_model(atoms), skipped));
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
  const float inf = std::numeric_limits<float>::infinity(), f6 = static_cast<float>(form_factor(6, 0));
  const auto o = static_cast<float>(form_factor(8, 0.0025) * std::exp(-20 * 0.0025));
  const struct {
    const char* what;
    unsigned int group;
    std::vector<Atom> atoms;
    Coefficient expected;  // in a cubic cell of 10 Å
    unsigned int skipped = 0;
  } rows[] = {
      {"a quarter along the cell", 1, {{8, 2.5f, 0, 0, 1, 20}}, {1, 0, 0, o, 90}},
      {"on a special position as it stands", 2, {{6, 0, 0, 0, 0.5f, 0}}, {0, 0, 0, f6}},
      {"absent by a screw axis", 4, {{6, 1, 2, 3, 1, 20}}, {0, 3, 0}},
      {"absent by centring", 5, {{6, 1, 2, 3, 1, 20}}, {2, 1, 3}},
      {"no element", 1, {{0, 0, 0, 0, 1, 0}, {6, 0, 0, 0, 1, 0}, {120, 0, 0, 0, 1, 0}}, {0, 0, 0, f6}, 2},
      {"no place", 1, {{6, 0, NAN, 0, 1, 20}, {6, 0, 0, 0, 1, 0}}, {0, 0, 0, f6}, 1},
      {"no occupancy", 1, {{6, 0, 0, 0, -inf, 20}, {6, 0, 0, 0, 1, 0}}, {0, 0, 0, f6}, 1},
      {"no B factor", 1, {{6, 0, 0, 0, 1, 0}, {6, 0, 0, 0, 1, NAN}}, {0, 0, 0, f6}, 1},
      {"an enormous B factor", 1, {{6, 0, 0, 0, 1, 3e38f}}, {1, 0, 0}},
      {"its negative exceeds a float", 1, {{6, 0, 0, 0, 1, -3e38f}}, {1, 0, 0, inf}},
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
  const VXGraphMol carbon = make_model({{6, 1, 2, 3, 1, 20}});
  const VXReflection good = make_set({{1, 2, 3, 5, 7}});
  VXGraphMol no_residues;
  no_residues.AddAtom(6);
  VXReflection no_indices = good, no_group = good, flat = good, nan = good;
  no_indices.SetHKL(nullptr, nullptr, nullptr, 1);
  no_group.SetSymmetry(VXXtal::VXSymmetry());
  flat.SetSymmetry(VXXtal::VXSymmetry(1, VXXtal::VXUnitCell(10, 10, 10, 30, 30, 170)));
  nan.SetSymmetry(VXXtal::VXSymmetry(1, VXXtal::VXUnitCell(NAN, 9, 9, 90, 90, 90)));
  const std::tuple<VXReflection, const VXGraphMol&, const char*> rows[] = {
      {VXReflection(), carbon, "no reflections"}, {no_indices, carbon, "no Miller indices"},
      {no_group, carbon, "no space group"},       {flat, carbon, "no cell with a volume"},
      {nan, carbon, "no cell with a volume"},     {good, no_residues, "no residue data"},
  };
  for (const auto& [reflections, model, says] : rows) {
    SCOPED_TRACE(says);
    VXReflection set = reflections;
    const CapturedLog log;
    unsigned int skipped = 9;
    EXPECT_FALSE(VXStructureFactors(set, model, skipped));
    EXPECT_THAT(log.text(), AllOf(HasSubstr("Warning: VXStructureFactors: "), HasSubstr(says)));
    EXPECT_FALSE(set.GetImpl()->fcalc) << "columns changed";
    EXPECT_TRUE(set.GetCount() == 0 || set.GetImpl()->phase[0] == 7);
  }
}

}  // namespace
