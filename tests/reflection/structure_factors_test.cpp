#include <vxgrid/reflection/structure_factors.h>

#include <random>

#include <support/support.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/host/tracer.h>
#include <vxgrid/reflection/mtz.h>

#include "gemmi_model.h"
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

float form_factor(gemmi::El element, double s2, double b_iso) {
  return static_cast<float>(gemmi::IT92<double>::get(element).calculate_sf(s2) * std::exp(-b_iso * s2));
}

// The sums are those of gemmi over the same atoms, in double, at places that floats hold.
void expect_sums_of_gemmi(VXReflection set, gemmi::Structure structure) {
  const VXGraphMol mol = molecule_of(structure);
  VXIter<VXAtomBase> atom(mol.GetAtoms());
  double scale = 0;
  for (gemmi::CRA cra : structure.models[0].all()) {
    float xyz[3];
    mol.GetCoords(&*atom, xyz), ++atom;
    cra.atom->pos = {xyz[0], xyz[1], xyz[2]};
    scale +=
        std::fabs(double{cra.atom->occ}) * cra.atom->element.atomic_number() * set.GetSymmetry().GetOpCount();
  }
  unsigned int skipped = 9;
  ASSERT_TRUE(VXStructureFactors(set, mol, skipped));
  EXPECT_EQ(skipped, 0u);
  const gemmi::UnitCell cell = cell_of(set);
  gemmi::StructureFactorCalculator<gemmi::IT92<double>> calculator(cell);
  const VXReflectionImpl& r = *set.GetImpl();
  for (unsigned int i = 0; i < r.nref; ++i) {
    SCOPED_TRACE(testing::Message() << r.h[i] << " " << r.k[i] << " " << r.l[i]);
    const auto f = calculator.calculate_sf_from_model(structure.models[0], {r.h[i], r.k[i], r.l[i]});
    // Half a unit in the last place of a float, beside 1e-12 of the sum of all terms.
    EXPECT_LE(std::fabs(r.fcalc[i] - std::abs(f)), 0x1p-24 * std::abs(f) + 1e-12 * scale);
    const double off = std::remainder(r.phase_calc[i] - std::arg(f) * 180 / M_PI, 360.0);
    EXPECT_TRUE(std::fabs(off) <= 2e-5 || std::abs(f) <= 1e-5 * scale)
        << off << ", a float below 360 is good to 1.5e-5";
    EXPECT_EQ(r.phase[i], r.phase_calc[i]);
    EXPECT_TRUE(r.phase[i] >= 0 && r.phase[i] < 360) << r.phase[i];
  }
}

constexpr struct Crystal {
  unsigned int group;
  float cell[6];
} kCrystals[] = {{1, {9, 11, 13, 80, 97, 110}},    {2, {12, 9, 14, 70, 85, 100}},
                 {5, {20, 9, 14, 90, 112, 90}},    {19, {13, 17, 21, 90, 90, 90}},
                 {96, {19, 19, 11, 90, 90, 90}},   {146, {16, 16, 23, 90, 90, 120}},
                 {179, {18, 18, 25, 90, 90, 120}}, {230, {15, 15, 15, 90, 90, 90}}};

TEST(StructureFactors, AsGemmiSumsThem) {
  std::mt19937 random(7);
  const auto between = [&](float low, float high) {
    return std::uniform_real_distribution<float>(low, high)(random);
  };
  for (const Crystal& crystal : kCrystals) {
    SCOPED_TRACE(crystal.group);
    gemmi::Structure structure;
    structure.models.emplace_back("1");
    structure.models[0].chains.emplace_back("A");
    auto& residues = structure.models[0].chains[0].residues;
    for (const unsigned int element : {1, 6, 6, 7, 8, 8, 15, 16, 26, 92}) {
      gemmi::Atom atom;
      atom.element = gemmi::Element(static_cast<int>(element));
      atom.pos = {between(-30, 30), between(-30, 30), between(-30, 30)};
      atom.occ = between(-0.2f, 1), atom.b_iso = between(-3, 60);
      residues.emplace_back().atoms.push_back(atom);
    }
    std::vector<Coefficient> list;
    const auto index = [&] { return static_cast<int>(between(-12, 12)); };
    for (int i = 0; i < 101; ++i) list.push_back({index(), index(), index()});  // a last block not full
    expect_sums_of_gemmi(make_set(list, crystal.group, VXXtal::VXUnitCell(crystal.cell)), structure);
  }
}

// Hydrogens as hydrogens, alternate conformations too, occupancies and B factors as stored, the elements of
// proteins and metals.
TEST(StructureFactors, OfRealCrystals) {
  for (const std::string name : {"4hg7", "hewl", "1dur", "7n2l"}) {
    SCOPED_TRACE(name);
    SKIP_WITHOUT_DATA("crystals/" + name + ".mtz");
    VXReflection whole;
    VXHost::vxifstream in(real_data("crystals/" + name + ".mtz"));
    ASSERT_TRUE(VXReadReflectionMTZ(in, whole, VXMTZColumnNames()));
    const VXReflectionImpl& all = *whole.GetImpl();
    std::vector<Coefficient> some;
    for (unsigned int i = 0; i < all.nref; i += all.nref / 100)
      some.push_back({all.h[i], all.k[i], all.l[i]});
    expect_sums_of_gemmi(make_set(some, all.symmetry.GetNumber(), all.symmetry.cell()),
                         read_isotropic(real_data("crystals/" + name + ".pdb")));
  }
}

TEST(StructureFactors, ClosedForms) {
  const float f6 = form_factor(gemmi::El::C, 0, 0), o = form_factor(gemmi::El::O, 0.0025, 20);
  const struct {
    const char* what;
    unsigned int group;
    std::vector<Atom> atoms;
    Coefficient expected;  // in a cubic cell of 10 Å
    unsigned int skipped = 0;
  } rows[] = {
      {"a quarter along the cell", 1, {{8, 2.5f, 0, 0, 1, 20}}, {1, 0, 0, o, 90}},
      {"on a special position as it stands", 2, {{6, 0, 0, 0, 0.5f, 0}}, {0, 0, 0, f6}},
      {"absent by centring", 5, {{6, 1, 2, 3, 1, 20}}, {2, 1, 3}},
      {"no element", 1, {{0, 0, 0, 0, 1, 0}, {6, 0, 0, 0, 1, 0}, {120, 0, 0, 0, 1, 0}}, {0, 0, 0, f6}, 2},
      {"no place", 1, {{6, 0, NAN, 0, 1, 20}, {6, 0, 0, 0, 1, 0}}, {0, 0, 0, f6}, 1},
      {"no occupancy", 1, {{6, 0, 0, 0, -INFINITY, 20}, {6, 0, 0, 0, 1, 0}}, {0, 0, 0, f6}, 1},
      {"no B factor", 1, {{6, 0, 0, 0, 1, 0}, {6, 0, 0, 0, 1, NAN}}, {0, 0, 0, f6}, 1},
      {"an enormous B factor", 1, {{6, 0, 0, 0, 1, 3e38f}}, {1, 0, 0}},
      {"its negative exceeds a float", 1, {{6, 0, 0, 0, 1, -3e38f}}, {1, 0, 0, INFINITY}},
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

TEST(StructureFactors, StopsWhenAsked) {
  struct Stops : VXTracerBase {
    bool Progress(unsigned int current, unsigned int total) override {
      EXPECT_EQ(total, 3u);
      return current > 0;
    }
  } stops;
  VXReflection set = make_set({{1, 0, 0, 5, 7}, {0, 1, 0, 5, 7}, {0, 0, 1, 5, 7}});
  unsigned int skipped = 0;
  EXPECT_FALSE(VXStructureFactors(set, make_model({{6, 0, 0, 0, 1, 20}}), skipped, stops));
  EXPECT_FALSE(set.GetImpl()->fcalc);
}

}  // namespace
