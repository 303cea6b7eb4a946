#include <vxgrid/gaussian/gaussian.h>

#include <cmath>
#include <memory>

#include <vxgrid/gaussian/gaussian_container.h>

#include "grid/grid_support.h"
#include "realspace/model.h"

using namespace VXCore;
using testing::ElementsAre;

namespace {

constexpr double kPi = 3.141592653589793;

/// Of a class of its own: x reads as 100.
struct FarGaussian : VXGaussian {
  using VXGaussian::VXGaussian;
  float GetX() const override { return 100.0f; }
  FarGaussian* CreateCopy() const override { return new FarGaussian(*this); }
};

void fill(VXGaussianContainerBase& set) {
  set.AddGaussian(VXGaussian(2.7f, 0.5f, 1, 2, 3, 11));
  set.AddGaussian(FarGaussian(1.5f, 0.25f, 4, 5, 6, 22));
  set.AddGaussian(VXGaussian(-1.0f, 4.0f, 7, 8, 9, 33));
  set.SetData<int>("charge", 3);
}

std::vector<float> coords_of(const VXGaussianContainerBase& set) {
  std::vector<float> coords(3 * set.NumGaussians());
  EXPECT_TRUE(set.GetCoords(coords.data()));
  return coords;
}

}  // namespace

// The integral p (pi / a)^(3/2) is the volume of the sphere, whatever the prefactor.
TEST(Gaussian, HoldsTheVolumeOfItsSphere) {
  for (const double p : {0.1, 2.7, 40.0})
    for (const double r : {0.5, 3.2}) {
      const double kappa = VXGetKappa(p), width = VXGetWidth(kappa, r);
      EXPECT_NEAR(p * std::pow(kPi / width, 1.5) / (4 * kPi / 3 * r * r * r), 1, 1e-14);
      EXPECT_NEAR(VXGetPrefactor(kappa) / p, 1, 1e-14);
      EXPECT_NEAR(VXGetRadius(p, width) / r, 1, 1e-14);
    }
  const VXGaussian carbon(2.7f, static_cast<float>(2.344229 / (1.7 * 1.7)), nullptr, 0);
  EXPECT_NEAR(VXGetKappa(carbon), 2.344229, 1e-6);
  EXPECT_NEAR(VXGetRadius(carbon), 1.7, 1e-6);
  EXPECT_TRUE(std::isnan(VXGetRadius(VXGaussian())));
}

TEST(Gaussian, CopiesWhatTheGettersAnswer) {
  float center[3] = {1, 2, 3};
  VXGaussian g(2.7f, 0.5f, center, 7);
  g.SetData<int>("charge", 3);
  g.SetCenter(nullptr);
  g = static_cast<const VXGaussianBase&>(g);
  VXGaussian copy(g);
  EXPECT_TRUE(copy.GetX() == 1 && copy.GetZ() == 3 && copy.GetWidth() == 0.5f && copy.HasData("charge"));
  copy = static_cast<const VXGaussianBase&>(FarGaussian(1, 2, center, 3));
  EXPECT_TRUE(copy.GetX() == 100 && copy.GetY() == 2 && copy.GetColor() == 3 && !copy.HasData("charge"));
  g.Clear();
  EXPECT_TRUE(!g.HasData("charge") && g.GetZ() == 3) << "Clear drops attributes alone";
}

TEST(Gaussian, OrderOfVirtualOperations) {
  VXGaussian g(1, 2, 3, 4, 5, 6);
  call_slot<void>(&g, 12, 30.0f);
  call_slot<void>(&g, 14, 50.0f);
  call_slot<void>(&g, 19, 60u);
  EXPECT_TRUE(call_slot<float>(&g, 8) == 1 && call_slot<float>(&g, 10) == 2);
  EXPECT_TRUE(call_slot<float>(&g, 16) == 30 && call_slot<float>(&g, 18) == 50);
  EXPECT_EQ(call_slot<unsigned int>(&g, 20), 60u);

  VXGaussianContainer set;
  fill(set);
  double values[9];
  unsigned int colors[3];
  EXPECT_EQ(call_slot<unsigned int>(&set, 7), 3u);
  EXPECT_TRUE(call_slot<bool>(&set, 14, values) && values[8] == 9);
  EXPECT_TRUE(call_slot<bool>(&set, 16, values) && values[1] == 1.5);
  EXPECT_TRUE(call_slot<bool>(&set, 18, values) && values[2] == 4);
  EXPECT_TRUE(call_slot<bool>(&set, 19, colors) && colors[0] == 11);
  const VXIter<VXGaussianBase> walk(call_slot<VXIterBase<VXGaussianBase>*>(&set, 10));
  EXPECT_TRUE(call_slot<bool>(&set, 9, &*walk) && set.NumGaussians() == 2);
}

TEST(GaussianContainer, KeepsOrderAndOwns) {
  VXGaussianContainer set;
  VXGaussian outside;
  fill(set);
  EXPECT_FALSE(set.DeleteGaussian(&outside) || set.DeleteGaussian(nullptr));
  VXIter<VXGaussianBase> walk(set.GetGaussians());
  walk->SetX(8);
  ++walk;
  EXPECT_TRUE(dynamic_cast<FarGaussian*>(&*walk)) << "a class of its own stays what it is";
  EXPECT_TRUE(set.DeleteGaussian(&*walk));
  EXPECT_THAT(coords_of(set), ElementsAre(8, 2, 3, 7, 8, 9));
  float prefactors[2];
  EXPECT_TRUE(set.GetPrefactors(prefactors) && prefactors[1] == -1);
  set.Clear();
  EXPECT_TRUE(set.NumGaussians() == 0 && !set.HasData("charge"));
}

TEST(GaussianContainer, CopiesAreDeepAndPlain) {
  VXGaussianContainer set, assigned;
  fill(set);
  fill(assigned);
  assigned = static_cast<const VXGaussianContainerBase&>(VXGaussianContainerImpl(set));
  assigned = static_cast<const VXGaussianContainerBase&>(assigned);
  const std::unique_ptr<VXGaussianContainer> copy(assigned.CreateCopy());
  set.Clear();
  assigned.Clear();
  EXPECT_TRUE(copy->HasData("charge"));
  EXPECT_THAT(coords_of(*copy), ElementsAre(1, 2, 3, 100, 5, 6, 7, 8, 9)) << "what the getters answered";
  for (const VXGaussianBase& g : VXIter<VXGaussianBase>(copy->GetGaussians()))
    EXPECT_FALSE(dynamic_cast<const FarGaussian*>(&g));
}

TEST(VXMakeGaussians, AppendsOneAnAtomAndMovesCenters) {
  VXGraphMol none, mol;
  add_atom(mol, 8, 1, 2, 3)->SetRadius(1.6);
  add_atom(mol, 1, -1, 0, 2)->SetRadius(1.0);
  add_atom(mol, 6, 0, 1, 0);
  VXGaussianContainer set;
  EXPECT_FALSE(VXMakeGaussians(set, none));
  EXPECT_TRUE(VXMakeGaussians(set, mol) && VXMakeGaussians(set, mol, 1.0));
  EXPECT_TRUE(VXMakeGaussians(set, none)) << "what is there counts";
  double prefactors[6], widths[6];
  const float turn[9] = {0, -1, 0, 0, 0, 2, 1, 0, 0.5f}, shift[3] = {10, 20, 30};  // not even a rotation
  VXRotate(set, turn);
  VXTranslate(set, shift);
  EXPECT_TRUE(set.GetPrefactors(prefactors) && set.GetWidths(widths));
  const std::vector<float> all = coords_of(set);
  EXPECT_THAT(std::vector(all.begin(), all.begin() + 9), ElementsAre(8, 26, 32.5f, 10, 24, 30, 9, 20, 30));
  EXPECT_THAT(std::vector(prefactors + 2, prefactors + 6), ElementsAre(2.7f, 1, 1, 1)) << "hydrogens too";
  EXPECT_NEAR(2.7 * std::pow(kPi / widths[0], 1.5), 4 * kPi / 3 * 1.6 * 1.6 * 1.6, 1e-5);
  EXPECT_NEAR(std::pow(kPi / widths[4], 1.5), 4 * kPi / 3, 1e-5);
  EXPECT_TRUE(std::isinf(widths[2])) << "radius 0";
}
