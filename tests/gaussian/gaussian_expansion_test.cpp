#include <vxgrid/gaussian/gaussian_expansion.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <tuple>
#include <utility>

#include <vxgrid/host/molecule.h>
#include <vxgrid/host/radii.h>

#include "gaussian/plain_expansion.h"
#include "gaussian/union_volume.h"
#include "support/support.h"

using namespace VXCore;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// An atom of this place and, unless 0, radius.
void add(VXGraphMol& mol, unsigned element, float x, float y, float z, float radius) {
  VXAtomBase* atom = mol.AddAtom(element);
  const float at[3] = {x, y, z};
  mol.SetCoords(atom, at);
  atom->SetRadius(radius);
}

/// A walk in random steps of 1.5 Å that keeps 2.3 Å from all but its last atom, with a hydrogen 1.1 Å from
/// each second atom; radii after Bondi.
VXGraphMol chain(int heavy, unsigned seed) {
  std::mt19937 random(seed);
  const auto off = [&random](const std::array<float, 3>& from, double length) {
    const double turn = static_cast<double>(random()) * 1e-3,
                 z = static_cast<double>(random()) / 2147483648.0 - 1;
    const double flat = length * std::sqrt(1 - z * z);
    return std::array{static_cast<float>(from[0] + flat * std::cos(turn)),
                      static_cast<float>(from[1] + flat * std::sin(turn)),
                      static_cast<float>(from[2] + length * z)};
  };
  std::vector<std::array<float, 3>> path = {{0, 0, 0}};
  while (static_cast<int>(path.size()) < heavy) {
    const auto next = off(path.back(), 1.5);
    if (std::none_of(path.begin(), path.end() - 1, [&next](const auto& p) {
          return std::hypot(p[0] - next[0], p[1] - next[1], p[2] - next[2]) < 2.3f;
        }))
      path.push_back(next);
  }
  VXGraphMol mol;
  const unsigned elements[] = {6, 6, 7, 6, 8, 6, 16, 6};
  for (std::size_t i = 0; i < path.size(); ++i) {
    add(mol, elements[i % 8], path[i][0], path[i][1], path[i][2], 0);
    const auto h = off(path[i], 1.1);
    if (i % 2) add(mol, 1, h[0], h[1], h[2], 0);
  }
  VXAssignBondiVdWRadii(mol);
  return mol;
}

std::vector<Gsphere> atoms_of(const VXGraphMol& mol, bool hydrogens) {
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
  const std::pair<int, float> rows[] = {{1, 0.02f}, {37, 0.02f}, {37, 1e-4f}, {134, 0.02f}, {400, 0.02f}};
  for (const auto& [heavy, vmin] : rows)
    for (const int no_hydrogens : {0, 1}) {
      const VXGraphMol mol = chain(heavy, 7);
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

TEST(GaussianExpansion, VolumeIsThatOfTheUnionOfSpheres) {
  Gaussian gaussian;
  for (const int heavy : {1, 12, 37, 250}) {
    const VXGraphMol mol = chain(heavy, 7);
    for (const int no_hydrogens : {0, 1}) {
      std::vector<Ball> balls;
      for (const Gsphere& g : atoms_of(mol, !no_hydrogens)) balls.push_back({g.x, g.y, g.z, g.radius});
      float volume = 0;
      EXPECT_EQ(gaussian.vx_calculate_volume_base(mol, &volume, no_hydrogens), 1);
      // The method is within 1.5 % on ligands (bench/gaussian_accuracy.cpp); one atom within a table entry.
      EXPECT_NEAR(volume / union_volume(balls, 0.1), 1, heavy == 1 ? 0.008 : 0.025) << heavy;
    }
  }
}

TEST(GaussianExpansion, FormsDifferInLevelHydrogensAndDefaultRadii) {
  VXGraphMol water;  // without radii: 1.6 and 1.0 Å for atoms and bonds, 1.52 and 1.2 Å in full
  add(water, 8, 0, 0, 0, 0);
  add(water, 1, 0.96f, 0, 0, 0);
  add(water, 1, -0.24f, 0.93f, 0, 0);
  std::vector<VXAtomBase*> atoms;
  for (VXAtomBase& atom : VXIter<VXAtomBase>(water.GetAtoms())) atoms.push_back(&atom);
  water.AddBond(atoms[0], atoms[1]);
  water.AddBond(atoms[0], atoms[2]);
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
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    ASSERT_EQ((gaussian.*row.form)(water, &list, &n), 1);
    EXPECT_EQ(std::count_if(list, list + n, [](const Gsphere& g) { return g.order == 0; }), row.atoms);
    EXPECT_EQ(n, row.atoms + row.overlaps);
    EXPECT_NEAR(list[0].volume / (4.18879 * std::pow(row.oxygen, 3)), 1, 0.008);  // a table entry
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

  const float atom_sum = list[0].volume + list[1].volume + list[2].volume;
  const float bond_sum = atom_sum + list[3].volume + list[4].volume;

  float volumes[3];
  gaussian.vx_calculate_volume(water, &volumes[0]);
  gaussian.vx_calculate_volume_with_hydrogens(water, &volumes[1]);
  gaussian.vx_calculate_volume_no_hydrogens(water, &volumes[2]);
  EXPECT_TRUE(volumes[0] == volumes[1] && volumes[0] > volumes[2]);
  testing::internal::CaptureStdout();
  gaussian.make_test(water);
  char expected[200];
  std::snprintf(expected, sizeof expected,
                "atm vol = %f\nbond vol = %f\nfull vol = %f, num= 7\nfull vol (h) = %f, num= 1\n", atom_sum,
                bond_sum, volumes[0], volumes[2]);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

TEST(GaussianExpansion, TablesStayWithTheRadii) {
  Gaussian gaussian;
  full(gaussian, chain(20, 1), 1);
  const float was = gaussian.vmin;
  gaussian.vmin = 0.5f;
  full(gaussian, chain(30, 2), 1);  // the same elements
  EXPECT_EQ(gaussian.volume_from_log[0], was);
  full(gaussian, chain(30, 2), 0);  // hydrogens are smaller
  EXPECT_EQ(gaussian.volume_from_log[0], 0.5f);
}

TEST(GaussianExpansion, OddMolecules) {
  const struct {
    const char* what;
    float x, radius;
    std::size_t records;  // together with a carbon at the origin
  } rows[] = {
      {"at the same place", 0, 1.7f, 3}, {"too far", 6, 1.7f, 2},    {"no number", kNaN, 1.7f, 2},
      {"at infinity", kInfinity, 1, 2},  {"no radius", 1, kNaN, 1},  {"infinite radius", 1, kInfinity, 2},
      {"far below vmin", 1, 0.001f, 2},  {"much larger", 1, 100, 3}, {"not an atom", 1, 0.00005f, 1},
  };
  for (const auto& row : rows) {
    VXGraphMol mol;
    add(mol, 6, 0, 0, 0, 1.7f);
    add(mol, 6, row.x, 0, 0, row.radius);
    Gaussian gaussian;
    EXPECT_EQ(full(gaussian, mol, 0).size(), row.records) << row.what;
  }

  VXGraphMol no_atoms, no_coords, only_hydrogen, heap, row;
  no_coords.AddAtom(6);
  add(only_hydrogen, 1, 0, 0, 0, 0);
  for (int i = 0; i < 40; ++i) add(heap, 6, 1, 2, 3, 1.7f);
  Gaussian gaussian;
  CapturedLog log;
  for (const VXGraphMol* mol : {&no_atoms, &no_coords, &only_hydrogen, &heap}) {
    float volume = -1;
    EXPECT_TRUE(full(gaussian, *mol, 1).empty());
    EXPECT_EQ(gaussian.vx_calculate_volume_no_hydrogens(*mol, &volume), 1);
    EXPECT_EQ(volume, 0);
  }
  EXPECT_THAT(log.text(), testing::StartsWith("Warning: Gaussian expansion: more than 8388608 overlaps"));
  Gsphere* list = nullptr;
  int n = -1;
  EXPECT_EQ(gaussian.vx_make_atomic_gaussian_representation(no_atoms, &list, &n), 0);
  EXPECT_TRUE(list == nullptr && n == -1);
  EXPECT_EQ(gaussian.vx_make_atomic_gaussian_representation(no_coords, &list, &n), 1);

  for (int i = 0; i < 20000; ++i) add(row, 6, 1.5f * static_cast<float>(i * 7919 % 20000), 0, 0, 1.7f);
  float volume;
  gaussian.vx_calculate_volume(row, &volume);
  const double h = 1.7 - 0.75, lens = 2 * 3.14159265 * h * h * (3 * 1.7 - h) / 3;  // of two neighbours
  EXPECT_NEAR(volume / (20000 * (4.18879 * 1.7 * 1.7 * 1.7 - lens)), 1, 0.03);
}

}  // namespace
