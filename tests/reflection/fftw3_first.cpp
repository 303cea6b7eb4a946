// A program that has loaded and used FFTW 3 before it makes a map, and uses it again after. Exit status 0
// when all is right, 1 when no map was made, 2 when the map or a transform is wrong.

#include <fftw3.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/xtal/symmetry.h>

#include <cmath>

namespace {

// The forward transform of a constant: all of it in the first coefficient.
bool fftw3_works() {
  double in[] = {1, 1, 1, 1, 1, 1};
  fftw_complex out[4];
  const fftw_plan plan = fftw_plan_dft_r2c_1d(6, in, out, FFTW_ESTIMATE);
  fftw_execute(plan);
  fftw_destroy_plan(plan);
  return out[0][0] == 6 && std::fabs(out[1][0]) < 1e-12;
}

}  // namespace

int main() {
  using namespace VXCore;
  if (!fftw3_works()) return 2;
  VXReflection set;
  const int zero = 0;
  const float amplitude = 100, phase = 0;
  set.SetCount(1);
  set.SetHKL(&zero, &zero, &zero, 1);
  set.SetColumn(VXReflectionColumn::Fobs, &amplitude, 1);
  set.SetColumn(VXReflectionColumn::Phase, &phase, 1);
  set.SetSymmetry(VXXtal::VXSymmetry(1u, VXXtal::VXUnitCell(10, 10, 10, 90, 90, 90)));
  VXSkewGrid grid;
  if (!set.MakeMap(grid, VXMTZMapType::Fo)) return 1;
  for (unsigned int i = 0; i < grid.GetSize(); ++i)
    if (grid.GetValues()[i] != 0.1f) return 2;
  return fftw3_works() && grid.GetSize() == 27 ? 0 : 2;
}
