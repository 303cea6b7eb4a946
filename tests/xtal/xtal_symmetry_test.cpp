#include <vxgrid/xtal/xtal_symmetry.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include <support/support.h>
#include <vxgrid/host/conformers.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/pdb_data.h>
#include <vxgrid/host/residue.h>

using namespace VXCore;
using namespace VXCore::VXXtal;
using testing::HasSubstr;

namespace {

constexpr unsigned int kAll = ~0u;
constexpr char k4hg7[] = "   71.450   71.450  104.204  90.00  90.00 120.00 P 65 2 2     12";

/// Carbons at the given places, three floats each, all in one residue.
VXGraphMol molecule(const std::vector<float>& xyz) {
  VXGraphMol mol;
  mol.SetTitle("small");
  for (std::size_t i = 0; i < xyz.size(); i += 3) {
    VXAtomBase* atom = mol.AddAtom(6);
    mol.SetCoords(atom, &xyz[i]);
    VXAtomSetResidue(atom, VXResidue());
  }
  return mol;
}

std::vector<float> coords(const VXMolBase& mol) {
  std::vector<float> xyz(3 * mol.GetMaxAtomIdx());
  mol.GetCoords(xyz.data());
  return xyz;
}

const std::vector<float> kPlaces = {3, 4, 5, 6.5f, 4, 5, 3, 9, 5.5f, 2, 4, 11};

// The search step by step: many cells, whole matrix products, the image's box by its eight corners.
std::vector<float> plain_search(const VXSymmetry& symmetry, const std::vector<float>& xyz,
                                const float* center, float radius) {
  float low[3] = {1e9f, 1e9f, 1e9f}, high[3] = {-1e9f, -1e9f, -1e9f};
  for (std::size_t i = 0; i < xyz.size(); ++i) {
    low[i % 3] = std::min(low[i % 3], xyz[i]);
    high[i % 3] = std::max(high[i % 3], xyz[i]);
  }
  float middle[3], first[3] = {center[0], center[1], center[2]};
  for (int axis = 0; axis < 3; ++axis) middle[axis] = (low[axis] + high[axis]) * 0.5f;
  symmetry.CartesianToFractional(middle, 1, 0, false);
  symmetry.CartesianToFractional(first, 1, 0, false);
  std::vector<bool> enabled;
  symmetry.GetEnabled(enabled);
  std::vector<float> found;
  for (int t = 0; t < 13 * 13 * 13; ++t)
    for (unsigned int op = 0; op < symmetry.GetOpCount(); ++op) {
      if (!enabled[op]) continue;
      const float at[3] = {float(t / 169 - 6), float(t / 13 % 13 - 6), float(t % 13 - 6)};
      float image[16], m[16], p[3] = {middle[0], middle[1], middle[2]};
      std::copy_n(symmetry.GetMatrices() + 16 * op, 16, image);
      vecmul(p, image);
      for (int axis = 0; axis < 3; ++axis)
        image[12 + axis] = image[12 + axis] + (std::floor(first[axis]) + at[axis]) - std::floor(p[axis]);
      matmul(m, image, symmetry.cell().Cart2Frac());
      matmul(m, symmetry.cell().Frac2Cart(), m);
      float box_low[3] = {1e9f, 1e9f, 1e9f}, box_high[3] = {-1e9f, -1e9f, -1e9f}, d2 = 0;
      for (int corner = 0; corner < 8; ++corner) {
        float q[3];
        for (int axis = 0; axis < 3; ++axis) q[axis] = (corner >> axis & 1 ? high : low)[axis];
        vecmul(q, m);
        for (int axis = 0; axis < 3; ++axis) {
          box_low[axis] = std::min(box_low[axis], q[axis]);
          box_high[axis] = std::max(box_high[axis], q[axis]);
        }
      }
      for (int axis = 0; axis < 3; ++axis) {
        const float d = std::max({box_low[axis] - center[axis], center[axis] - box_high[axis], 0.0f});
        d2 += d * d;
      }
      if (d2 <= radius * radius) found.insert(found.end(), m, m + 16);
    }
  return found;
}

TEST(XtalImages, SearchFindsWhatAPlainSearchFinds) {
  const std::pair<unsigned int, VXUnitCell> crystals[] = {
      {1, {14, 15, 17, 75, 98, 112}},   {5, {33, 21, 28, 90, 119, 90}},   {19, {30, 22, 26, 90, 90, 90}},
      {179, {40, 40, 60, 90, 90, 120}}, {146, {45, 45, 40, 90, 90, 120}}, {209, {60, 60, 60, 90, 90, 90}}};
  for (const auto& [number, cell] : crystals)
    for (const float radius : {0.0f, 4.0f, 16.0f}) {
      SCOPED_TRACE(testing::Message() << number << " within " << radius);
      VXGraphMol mol = molecule(kPlaces);
      VXSymmetry symmetry(number, cell);
      ASSERT_TRUE(VXXtalSymmetry::SetSymmetry(mol, symmetry, false));
      if (radius == 4.0f && symmetry.GetOpCount() > 1) {
        ASSERT_TRUE(VXXtalSymmetry::SetOpEnabled(mol, 1, false));
        VXXtalSymmetry::GetSymmetry(mol, symmetry);
      }
      float center[3] = {4, 5, -2};  // outside the home cell
      const VXXtalSymmetry images(mol, center, radius);
      const std::vector<float> expected = plain_search(symmetry, kPlaces, center, radius);
      ASSERT_EQ(16 * images.NumOps(), expected.size());
      for (unsigned int i = 0; i < images.NumOps(); ++i) {
        EXPECT_TRUE(std::equal(images.Matrix(i), images.Matrix(i) + 16, &expected[16 * i])) << "other bits";
        // The point (1, 1, 1) decides alone, so that the three-fold axis through it counts too.
        float ones[3] = {1, 1, 1};
        transform_coord(images.Matrix(i), ones);
        EXPECT_EQ(images.IsIdentity(i),
                  std::fabs(ones[0] - 1) + std::fabs(ones[1] - 1) + std::fabs(ones[2] - 1) < 1e-3);
      }
      EXPECT_EQ(images.Matrix(images.NumOps()), nullptr);
    }
}

TEST(XtalImages, ByLatticeTranslation) {
  VXGraphMol mol = molecule(kPlaces);
  const VXSymmetry symmetry(179u, VXUnitCell(40, 40, 60, 90, 90, 120));
  VXXtalSymmetry::SetSymmetry(mol, symmetry, true);
  ASSERT_TRUE(VXXtalSymmetry::SetOpEnabled(mol, 3, false));
  EXPECT_FALSE(VXXtalSymmetry::SetOpEnabled(mol, 12, false) || VXXtalSymmetry::GetOpEnabled(mol, 3));
  EXPECT_EQ(VXXtalSymmetry::NumOps(mol), 12u);

  float com[3], moved[3], away[3] = {400, -90, 33};
  VXXtalSymmetry::GetCenterOfMass(mol, com);
  VXTranslate(mol, away);
  VXXtalSymmetry::GetCenterOfMass(mol, moved);
  EXPECT_THAT(moved, testing::ElementsAreArray(com)) << "the stored point stays where it was";

  const VXXtalSymmetry home(mol, false, false), shifted(mol, 1, 0, -2);
  ASSERT_TRUE(home.NumOps() == 11 && shifted.NumOps() == 11);
  for (unsigned int i = 0; i < 11; ++i) {
    EXPECT_EQ(home.GetOpNumber(i), i < 3 ? i : i + 1);
    EXPECT_TRUE(home.IsIdentity(i) == (i == 0) && !shifted.IsIdentity(i));
    float p[3] = {com[0], com[1], com[2]}, q[3] = {com[0], com[1], com[2]};
    transform_coord(home.Matrix(i), p);
    transform_coord(shifted.Matrix(i), q);
    EXPECT_NEAR(std::hypot(q[0] - p[0] - 40, q[1] - p[1], q[2] - p[2] + 120), 0, 1e-3);
    symmetry.CartesianToFractional(p, 1, 0, false);
    for (const float x : p) EXPECT_TRUE(x >= 0 && x < 1) << x;
  }
}

TEST(XtalImages, Realize) {
  VXGraphMol mol = molecule(kPlaces);
  VXXtalSymmetry::SetSymmetry(mol, VXSymmetry(19u, VXUnitCell(30, 22, 26, 90, 90, 90)), false);
  const VXXtalSymmetry images(mol, true, true);
  ASSERT_EQ(images.NumOps(), 4u);
  const std::size_t one = kPlaces.size();

  VXMCMol conformers;
  ASSERT_TRUE(images.Realize(mol, conformers) && conformers.NumConfs() == 4);

  const std::unique_ptr<VXMolBase> all(images.Realize(mol, true, kAll)), second(images.Realize(mol, true, 2));
  EXPECT_STREQ(all->GetTitle(), "Symmetry:small");
  ASSERT_TRUE(mol.NumAtoms() == 4 && images.Realize(mol, false, kAll) == &mol);
  EXPECT_STREQ(mol.GetTitle(), "small");
  const std::vector<float> from_all = coords(*all), from_second = coords(*second);
  EXPECT_EQ(coords(mol), from_all);
  ASSERT_EQ(from_all.size(), 5 * one) << "the identity image is a further copy";
  ASSERT_EQ(from_second.size(), 5 * one) << "every image adds atoms";
  for (unsigned int i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    std::vector<float> expected = kPlaces, conformer(one);
    for (std::size_t at = 0; at < one; at += 3) transform_coord(images.Matrix(i), &expected[at]);
    const auto block = from_all.begin() + (i + 1) * one, other = from_second.begin() + (i + 1) * one;
    EXPECT_EQ(std::vector<float>(block, block + one), expected);
    EXPECT_TRUE(conformers.GetConfCoords(i, conformer.data()));
    EXPECT_EQ(conformer, expected);
    // With an index the others stay where the last image worked out was.
    EXPECT_EQ(i < 2, std::equal(kPlaces.begin(), kPlaces.end(), other));
    EXPECT_EQ(i >= 2, std::equal(from_all.begin() + 3 * one, from_all.begin() + 4 * one, other));
  }
  int idx = 0;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms()))
    EXPECT_EQ(VXAtomGetResidue(&atom).GetImage(), idx++ / 4);

  VXGraphMol empty;
  EXPECT_FALSE(images.Realize(empty, false, kAll) || VXXtalSymmetry().Realize(mol, false, kAll) ||
               images.Realize(empty, conformers));
}

TEST(XtalImages, RefusesSearchesWithoutEnd) {
  const float inf = INFINITY, nan = NAN;
  // Edge of the cell, coordinate of the centre, radius, whether it is refused.
  const std::tuple<const char*, float, float, float, bool> rows[] = {
      {"tiny cell", 0.5f, 4, 100, true},  {"wide radius", 30, 4, 1e30f, true},
      {"far away", 30, 1e12f, 5, true},   {"infinite centre", 30, inf, 5, true},
      {"no number", 30, nan, 5, true},    {"no number in the cell", nan, 4, 5, true},
      {"infinite cell", inf, 4, 5, true}, {"small cell", 3, 4, 20, false},
      {"no cell", 0, 4, 20, false}};
  for (const auto& [what, edge, at, radius, refused] : rows) {
    SCOPED_TRACE(what);
    CapturedLog log;
    VXGraphMol mol = molecule(kPlaces);
    VXXtalSymmetry::SetSymmetry(mol, VXSymmetry(19u, VXUnitCell(edge, edge, edge, 90, 90, 90)), false);
    float center[3] = {at, at, at};
    const VXXtalSymmetry images(mol, center, radius);
    EXPECT_EQ(log.text().find("images to try within") != std::string::npos, refused);
    EXPECT_EQ(images.NumOps() == 0, refused || edge <= 0);
  }
  CapturedLog log;
  VXGraphMol wild = molecule({3, 4, 5, nan, 4, 5, 3, -inf, 2}), none = molecule({nan, nan, nan});
  const VXSymmetry symmetry(19u, VXUnitCell(30, 22, 26, 90, 90, 90));
  float center[3] = {3, 4, 5};
  VXXtalSymmetry::SetSymmetry(wild, symmetry, false);
  VXXtalSymmetry::SetSymmetry(none, symmetry, false);
  EXPECT_EQ(VXXtalSymmetry(wild, center, 1).NumOps(), 1u) << "atoms without a place do not count";
  EXPECT_EQ(VXXtalSymmetry(none, center, 1).NumOps(), 0u);
}

TEST(Cryst1, Reads) {
  const std::string numbers = "   71.450   71.450  104.204  90.00  90.00 120.00";
  // What, the record, whether it is one, the name and the Z that come of it.
  const std::tuple<const char*, std::string, bool, const char*, unsigned int> rows[] = {
      {"a whole record", k4hg7, true, "P 65 2 2  ", 12},
      {"ten characters of a name", numbers + " P 21/n 21/m", true, "P 21/n 21/", 0},
      {"numbers alone", numbers, true, "", 0},
      {"numbers and a blank", numbers + " ", true, "", 0},
      {"no number for Z", numbers + " P 65 2 2      x", true, "P 65 2 2  ", 0},
      {"four digits of Z", numbers + " P 65 2 2   12345", true, "P 65 2 2  ", 1234},
      {"no columns", "71.45 +71.45\t104.204 90 90 +120", true, "", 0},
      {"five numbers", "71.450 71.450 104.204 90.00 90.00 P 65", false, "", 0},
      {"nothing", "", false, "", 0}};
  for (const auto& [what, text, ok, name, z] : rows) {
    SCOPED_TRACE(what);
    VXGraphMol mol;
    if (!text.empty()) VXSetPDBData(mol, "CRYST1", text);
    float six[6];
    std::string found_name = "old";
    unsigned int found_z = 99;
    EXPECT_EQ(VXExtractCRYST1(mol, six, found_name, found_z), ok);
    EXPECT_TRUE(found_name == name && found_z == z) << found_name << " " << found_z;
    EXPECT_TRUE(!ok || VXUnitCell(six).equalsCell(VXUnitCell(71.45f, 71.45f, 104.204f, 90, 90, 120), 0));
  }
}

TEST(Cryst1, ToAttributesAndBack) {
  for (const bool conformers : {false, true}) {
    std::unique_ptr<VXMolBase> mol(conformers ? static_cast<VXMolBase*>(new VXMCMol) : new VXGraphMol);
    EXPECT_FALSE(VXSetXtalSymmetryFromPDBData(*mol) || VXSetPDBDataFromXtalSymmetry(*mol));
    VXSetPDBData(*mol, "CRYST1", k4hg7);
    EXPECT_TRUE(!VXHasXtalSymmetry(*mol) && VXHasCrystalSymmetryImpl(*mol));
    ASSERT_TRUE(VXSetXtalSymmetryFromPDBData(*mol) && VXHasXtalSymmetry(*mol));
    EXPECT_EQ(mol->GetData<unsigned int>("VX_spacegroup"), 179u);
    ASSERT_TRUE(VXSetPDBDataFromXtalSymmetry(*mol));
    EXPECT_EQ(VXGetPDBData(*mol, "CRYST1"), k4hg7) << "Z included";

    mol->SetData("VX_spacegroup", 19u);
    EXPECT_EQ(VXXtalSymmetry::NumOps(*mol), 12u) << "the name wins";
    mol->DeleteData("VX_spacegroup_name");
    CapturedLog log;
    EXPECT_EQ(VXXtalSymmetry::NumOps(*mol), 4u);
  }
  CapturedLog log;
  VXGraphMol unknown;
  VXSetPDBData(unknown, "CRYST1", "10 10 10 90 90 90");
  EXPECT_FALSE(VXSetXtalSymmetryFromPDBData(unknown));
  EXPECT_EQ(log.text(), "sgname ||\nError: Unknown spacegroup number\n");
}

TEST(Cryst1, ExpandsInPlace) {
  VXGraphMol mol = molecule(kPlaces), dummy = mol;
  VXSetPDBData(dummy, "CRYST1", "    1.000    1.000    1.000  90.00  90.00  90.00 P 1           1");
  EXPECT_FALSE(VXHasCrystalSymmetryImpl(dummy) || VXExpandCrystalSymmetryImpl(dummy, 10, nullptr));
  EXPECT_EQ(dummy.NumAtoms(), 4u);

  VXSetPDBData(mol, "CRYST1", "   30.000   22.000   26.000  90.00  90.00  90.00 P 21 21 21    4");
  float center[3], extents[3];
  VXGetCenterAndExtents(mol, center, extents);
  VXGraphMol given = mol;
  ASSERT_TRUE(VXExpandCrystalSymmetryImpl(given, 12, center) &&
              VXExpandCrystalSymmetryImpl(mol, 12, nullptr));
  EXPECT_GT(mol.NumAtoms(), 8u);
  EXPECT_EQ(coords(mol), coords(given));
}

}  // namespace
