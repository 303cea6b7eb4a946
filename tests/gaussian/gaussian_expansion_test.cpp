#include <vxgrid/gaussian/gaussian_expansion.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <tuple>
#include <utility>

#include <vxgrid/host/radii.h>

#include "gaussian/plain_expansion.h"
#include "realspace/model.h"
#include "support/support.h"

using namespace VXCore;

namespace {

/// The atoms of a helix, with radii after Bondi as the expansion gives them.
std::vector<Gsphere> atoms_of(VXGraphMol mol, bool hydrogens) {
  VXAssignBondiVdWRadii(mol);
  std::vector<Gsphere> atoms;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    float at[3];
    mol.GetCoords(&atom, at);
    if (hydrogens || atom.GetAtomicNum() != 1)
      atoms.push_back({0, at[0], at[1], at[2], 0, 0, 0, static_cast<float>(atom.GetRadius())});
  }
  return atoms;
}

std::vector<Gsphere> full(Gaussian& gaussian, const VXGraphMol& mol, int no_hydrogens) {
  Gsphere* list;
  int n = -1;
  if (gaussian.make_full_gaussian_rep_base(mol, no_hydrogens, &list, &n)) return {list, list + n};
  EXPECT_EQ(n, 0);
  return {};
}

/// The overlaps of each atom in an order of their own.
void sort_blocks(std::vector<Gsphere>& records) {
  const auto key = [](const Gsphere& g) { return std::tie(g.x, g.y, g.z, g.width, g.volume, g.order); };
  for (auto from = records.begin(); from != records.end();) {
    const auto to = std::find_if(from + 1, records.end(), [](const Gsphere& g) { return g.order == 0; });
    std::sort(from, to, [&key](const Gsphere& a, const Gsphere& b) { return key(a) < key(b); });
    from = to;
  }
}

TEST(GaussianExpansion, SameBitsAsPlainLoop) {
  const std::pair<int, float> rows[] = {{1, 0.02f}, {37, 0.02f}, {37, 1e-4f}, {133, 0.02f}, {300, 0.02f}};
  for (const auto& [heavy, vmin] : rows)
    for (const int no_hydrogens : {0, 1}) {
      const VXGraphMol mol = helix(heavy);
      Gaussian gaussian;
      gaussian.vmin = vmin;
      const std::vector<Gsphere> atoms = atoms_of(mol, !no_hydrogens);
      std::vector<Gsphere> ours = full(gaussian, mol, no_hydrogens), plain = plain_expansion(atoms, vmin);
      EXPECT_GE(plain.size(), heavy == 1 ? 1 : 4 * atoms.size());
      if (atoms.size() > 200) {
        sort_blocks(ours);
        sort_blocks(plain);
      }
      ASSERT_EQ(ours.size(), plain.size()) << heavy << " " << vmin << " " << no_hydrogens;
      EXPECT_EQ(std::memcmp(ours.data(), plain.data(), ours.size() * sizeof(Gsphere)), 0) << heavy;
    }
}

TEST(GaussianExpansion, FormsDifferInLevelHydrogensAndDefaultRadii) {
  VXGraphMol water;  // without radii: 1.6 and 1.0 Å for atoms and bonds, 1.52 and 1.2 Å in full
  VXAtomBase* const oxygen = add_atom(water, 8, 0, 0, 0);
  water.AddBond(oxygen, add_atom(water, 1, 0.96f, 0, 0));
  water.AddBond(oxygen, add_atom(water, 1, -0.24f, 0.93f, 0));
  const struct {
    int (Gaussian::*form)(const VXMolBase&, Gsphere**, int*);
    int atoms, overlaps;
    double oxygen;
  } rows[] = {
      {&Gaussian::vx_make_atomic_gaussian_representation, 3, 0, 1.6},
      {&Gaussian::vx_make_atomic_gaussian_representation_with_hydrogens, 3, 0, 1.6},
      {&Gaussian::vx_make_atomic_gaussian_representation_no_hydrogens, 1, 0, 1.6},
      {&Gaussian::vx_make_bond_gaussian_representation, 3, 2, 1.6},
      {&Gaussian::vx_make_bond_gaussian_representation_with_hydrogens, 3, 2, 1.6},
      {&Gaussian::vx_make_bond_gaussian_representation_no_hydrogens, 1, 0, 1.6},
      {&Gaussian::vx_make_gaussian_representation, 1, 0, 1.52},
      {&Gaussian::vx_make_gaussian_representation_with_hydrogens, 3, 4, 1.52},
      {&Gaussian::vx_make_gaussian_representation_no_hydrogens, 1, 0, 1.52},
  };
  Gaussian gaussian;
  Gsphere* list;
  int n;
  std::vector<float> sums;
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    ASSERT_EQ((gaussian.*row.form)(water, &list, &n), 1);
    EXPECT_EQ(std::count_if(list, list + n, [](const Gsphere& g) { return g.order == 0; }), row.atoms);
    EXPECT_EQ(n, row.atoms + row.overlaps);
    EXPECT_NEAR(list[0].volume / (4.18879 * std::pow(row.oxygen, 3)), 1, 0.008);  // a table entry
    sums.push_back(0);
    for (int i = 0; i < n; ++i) sums.back() += list[i].volume;
  }
  EXPECT_FALSE(HasRadii(water));

  // A bond is the overlap of its atoms, with the signs of its own.
  gaussian.vx_make_bond_gaussian_representation(water, &list, &n);
  Gsphere overlap = {};
  vi_make_overlap_gaussian(&list[2], &list[0], &overlap);
  vi_set_gaussian_volume(&overlap);
  EXPECT_NEAR(list[4].prefactor, -overlap.prefactor, 1e-6);
  EXPECT_NEAR(list[4].volume, overlap.volume, 1e-5);
  EXPECT_NEAR(4.18879 * std::pow(list[4].radius, 3), overlap.volume, 1e-3);  // the exponent is 0.33333
  EXPECT_NEAR(list[4].y, overlap.y, 1e-6);

  float with, without, by_default;
  gaussian.vx_calculate_volume(water, &by_default);
  gaussian.vx_calculate_volume_with_hydrogens(water, &with);
  gaussian.vx_calculate_volume_no_hydrogens(water, &without);
  EXPECT_TRUE(by_default == sums[7] && with == sums[7] && without == sums[8] && with > without);
  testing::internal::CaptureStdout();
  gaussian.make_test(water);
  char expected[200];
  std::snprintf(expected, sizeof expected,
                "atm vol = %f\nbond vol = %f\nfull vol = %f, num= 7\nfull vol (h) = %f, num= 1\n", sums[0],
                sums[3], with, without);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

TEST(GaussianExpansion, TablesStayWithTheRadii) {
  Gaussian gaussian;
  full(gaussian, helix(20), 1);
  const float was = gaussian.vmin;
  gaussian.vmin = 0.5f;
  full(gaussian, helix(30), 1);  // the same elements
  EXPECT_EQ(gaussian.volume_from_log[0], was);
  full(gaussian, helix(30), 0);  // hydrogens are smaller
  EXPECT_EQ(gaussian.volume_from_log[0], 0.5f);
}

TEST(GaussianExpansion, OddMolecules) {
  // together with a carbon at the origin
  const std::tuple<const char*, float, float, std::size_t> rows[] = {
      {"at the same place", 0, 1.7f, 3}, {"too far", 6, 1.7f, 2},    {"no number", NAN, 1.7f, 2},
      {"at infinity", INFINITY, 1, 2},   {"no radius", 1, NAN, 1},   {"infinite radius", 1, INFINITY, 2},
      {"far below vmin", 1, 0.001f, 2},  {"much larger", 1, 100, 3}, {"not an atom", 1, 0.00005f, 1},
  };
  for (const auto& [what, x, radius, records] : rows) {
    VXGraphMol mol;
    add_atom(mol, 6, 0, 0, 0)->SetRadius(1.7f);
    add_atom(mol, 6, x, 0, 0)->SetRadius(radius);
    Gaussian gaussian;
    EXPECT_EQ(full(gaussian, mol, 0).size(), records) << what;
  }

  VXGraphMol no_atoms, no_coords, only_hydrogen, heap, beside_heap, specks;
  no_coords.AddAtom(6);
  add_atom(only_hydrogen, 1, 0, 0, 0);
  for (int i = 0; i < 40; ++i) add_atom(heap, 6, 1, 2, 3);
  // 1023 records, and 600 atoms that test them and add none; a tree without branches.
  for (int i = 0; i < 610; ++i)
    add_atom(beside_heap, 6, i < 10 ? 0 : 0.5f, 0, 0)->SetRadius(i < 10 ? 1.7f : 0.001f);
  for (int i = 0; i < 1500; ++i) add_atom(specks, 6, 0, 0, 0)->SetRadius(0.001f);
  Gaussian gaussian;
  gaussian.max_records = 2048;
  const std::pair<const VXGraphMol*, const char*> nothing[] = {
      {&no_atoms, ""},
      {&no_coords, ""},
      {&only_hydrogen, ""},
      {&heap, "more than 2048 overlaps"},
      {&beside_heap, "more than 262144 steps"},
      {&specks, "more than 262144 steps"},
  };
  for (const auto& [mol, says] : nothing) {
    CapturedLog log;
    float volume = -1;
    EXPECT_TRUE(full(gaussian, *mol, 1).empty());
    EXPECT_EQ(gaussian.vx_calculate_volume_no_hydrogens(*mol, &volume), 1);
    EXPECT_EQ(volume, 0);
    EXPECT_THAT(log.text(), testing::HasSubstr(says));
    EXPECT_EQ(log.text().empty(), says[0] == '\0');
  }
  gaussian.max_records = Gaussian().max_records;
  EXPECT_EQ(full(gaussian, specks, 1).size(), 1500u);
  EXPECT_EQ(full(gaussian, beside_heap, 1).size(), 1623u);
  Gsphere* list = nullptr;
  int n = -1;
  EXPECT_EQ(gaussian.vx_make_atomic_gaussian_representation(no_atoms, &list, &n), 0);
  EXPECT_TRUE(list == nullptr && n == -1);
  EXPECT_EQ(gaussian.vx_make_atomic_gaussian_representation(no_coords, &list, &n), 1);
}

}  // namespace
