#include <vxgrid/reflection/structure_factors.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/tracer.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/xtal/scatter_table.h>
#include <vxgrid/host/wide.inl>
#include <vxgrid/reflection/scatterers.inl>

namespace VXCore {

namespace {

using Doubles = double __attribute__((vector_size(32)));
using Longs = long long __attribute__((vector_size(32)));

// The kernel takes this many vectors of four reflections in step, so that their chains of operations overlap.
constexpr int kVectors = 4;
constexpr int kLanes = 4 * kVectors;
#define VXGRID_EACH_VECTOR _Pragma("GCC unroll 4") for (int v = 0; v < kVectors; ++v)

/// One number for each reflection of a block.
union Lanes {
  Doubles vector[kVectors];
  double lane[kLanes];
};

/// From Cartesian Å to fractions of the cell edges, in double; upper triangular. Its rows are the reciprocal
/// axes.
struct ReciprocalAxes {
  double ax = 0, ay = 0, az = 0, by = 0, bz = 0, cz = 0;

  /// International Tables B, section 3.3.1.
  explicit ReciprocalAxes(const VXXtal::VXUnitCell& cell) {
    const auto cosine = [](double degrees) { return degrees == 90 ? 0.0 : std::cos(degrees * (M_PI / 180)); };
    const double ca = cosine(cell.alpha), cb = cosine(cell.beta), cg = cosine(cell.gamma);
    const double sg = std::sin(cell.gamma * (M_PI / 180));
    const double v = std::sqrt(1 - ca * ca - cb * cb - cg * cg + 2 * ca * cb * cg);  // of a cell of edges 1
    ax = 1 / double{cell.a};
    ay = -cg / (cell.a * sg);
    az = (ca * cg - cb) / (cell.a * v * sg);
    by = 1 / (cell.b * sg);
    bz = (cb * cg - ca) / (cell.b * v * sg);
    cz = sg / (cell.c * v);
  }

  bool isFinite() const { return std::isfinite(ax + ay + az + by + bz + cz); }

  /// (sin theta / lambda)^2 = |h a* + k b* + l c*|^2 / 4, in Å^-2.
  double Stolsq(double h, double k, double l) const {
    const double x = h * ax, y = h * ay + k * by, z = h * az + k * bz + l * cz;
    return (x * x + y * y + z * z) / 4;
  }
};

/// An atom as the kernel reads it.
struct Atom {
  double x, y, z;  // fractions, brought into [-1/2, 1/2]: whole cells do not change a phase
  double occupancy, b_iso;
  std::size_t row;  // in the list of form factors in use
};

/// The atoms that scatter, and the rows of `scatter_data` that they use.
struct Model {
  std::vector<Atom> atoms;
  std::vector<const VXScatterData*> rows;

  Model(const VXMolBase& mol, const ReciprocalAxes& axes) {
    const std::vector<Scatterer> found = find_scatterers(mol);
    atoms.reserve(found.size());
    std::array<std::size_t, kScatterRows> place;
    place.fill(kScatterRows);
    for (const Scatterer& s : found) {
      const unsigned int type = VXGetScatterType(static_cast<int>(s.atomic_number), s.formal_charge);
      const double x = s.xyz[0], y = s.xyz[1], z = s.xyz[2];
      Atom atom = {x * axes.ax + y * axes.ay + z * axes.az,
                   y * axes.by + z * axes.bz,
                   z * axes.cz,
                   s.occupancy,
                   s.b_iso,
                   0};
      if (type >= kScatterRows || !std::isfinite(atom.x + atom.y + atom.z + atom.occupancy + atom.b_iso))
        continue;
      for (double* fraction : {&atom.x, &atom.y, &atom.z}) *fraction -= std::nearbyint(*fraction);
      if (place[type] == kScatterRows) {
        place[type] = rows.size();
        rows.push_back(&scatter_data[type]);
      }
      atom.row = place[type];
      atoms.push_back(atom);
    }
  }
};

/// The operators whose rotation is R or -R. As (hR).x changes its sign alone from one to the other, and their
/// translations add a factor of the reflection, one sine and one cosine serve them all.
struct Rotation {
  struct Member {
    bool inverse;  // has -R
    int shift[3];  // its translation in 24ths of the cell edges
  };

  int r[9];  // row-major
  std::vector<Member> members;

  /// The indices of a reflection times R.
  void Turn(const double* hkl, double* turned) const {
    for (int i = 0; i < 3; ++i) turned[i] = hkl[0] * r[i] + hkl[1] * r[3 + i] + hkl[2] * r[6 + i];
  }
};

std::vector<Rotation> group_operators(const VXXtal::VXSymmetry& symmetry) {
  std::vector<Rotation> rotations;
  for (unsigned int op = 0; op < symmetry.GetOpCount(); ++op) {
    const float* m = symmetry.GetMatrices() + 16 * op;
    std::array<int, 9> r, minus_r;
    Rotation::Member member = {};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) r[3 * i + j] = static_cast<int>(std::lround(m[i + 4 * j]));
      member.shift[i] = static_cast<int>(std::lround(24 * m[12 + i]));
    }
    std::transform(r.begin(), r.end(), minus_r.begin(), std::negate<>());
    auto same = rotations.begin();
    for (; same != rotations.end(); ++same) {
      member.inverse = std::equal(minus_r.begin(), minus_r.end(), same->r);
      if (member.inverse || std::equal(r.begin(), r.end(), same->r)) break;
    }
    if (same == rotations.end()) {
      same = rotations.insert(same, Rotation());
      std::copy(r.begin(), r.end(), same->r);
    }
    same->members.push_back(member);
  }
  return rotations;
}

/// cos and sin of whole 24ths of a turn; those of quarter turns are exact.
struct Turns24 {
  double cosine[24], sine[24];
  Turns24() {
    for (int n = 0; n < 24; ++n) {
      cosine[n] = n % 12 == 6 ? 0.0 : std::cos(n * (M_PI / 12));
      sine[n] = n % 12 == 0 ? 0.0 : std::sin(n * (M_PI / 12));
    }
  }
};

/// kLanes reflections, with all that does not depend on the atom.
struct Block {
  /// Of a rotation, with t = 2 (hR).x in half turns: the sum over its members is
  ///   (p_re cos - m_im sin) + i (p_im cos + m_re sin)   of pi t.
  struct Phase {
    Lanes h2, k2, l2;  // 2 hR
    Lanes p_re, p_im;  // sum of exp(2 pi i h.t) over all members
    Lanes m_re, m_im;  // the same, less those with -R
  };

  Lanes stolsq;
  std::vector<Phase> phases;  // by rotation
  std::vector<Lanes> f;       // by row of the model
  Lanes a, b;                 // the sums

  void Fill(const VXReflectionImpl& set, std::size_t first, const ReciprocalAxes& axes,
            const std::vector<Rotation>& rotations, const Model& model) {
    static const Turns24 turns;
    phases.resize(rotations.size());
    f.resize(model.rows.size());
    for (int lane = 0; lane < kLanes; ++lane) {
      const std::size_t i = std::min<std::size_t>(first + lane, set.nref - 1);  // the last one fills up
      const double hkl[3] = {double(set.h[i]), double(set.k[i]), double(set.l[i])};
      const double s2 = axes.Stolsq(hkl[0], hkl[1], hkl[2]);
      stolsq.lane[lane] = s2;
      for (std::size_t row = 0; row < f.size(); ++row) {
        const VXScatterData& t = *model.rows[row];
        f[row].lane[lane] = t.a1 * std::exp(-t.b1 * s2) + t.a2 * std::exp(-t.b2 * s2) +
                            t.a3 * std::exp(-t.b3 * s2) + t.a4 * std::exp(-t.b4 * s2) + t.c;
      }
      for (std::size_t n = 0; n < rotations.size(); ++n) {
        double turned[3], re[2] = {0, 0}, im[2] = {0, 0};
        rotations[n].Turn(hkl, turned);
        for (const Rotation::Member& member : rotations[n].members) {
          const auto times = [](int index, int shift) { return static_cast<long long>(index) * shift; };
          const long long sum = times(set.h[i], member.shift[0]) + times(set.k[i], member.shift[1]) +
                                times(set.l[i], member.shift[2]);
          const auto at = static_cast<std::size_t>((sum % 24 + 24) % 24);
          re[member.inverse] += turns.cosine[at];
          im[member.inverse] += turns.sine[at];
        }
        Phase& phase = phases[n];
        phase.h2.lane[lane] = 2 * turned[0];
        phase.k2.lane[lane] = 2 * turned[1];
        phase.l2.lane[lane] = 2 * turned[2];
        phase.p_re.lane[lane] = re[0] + re[1];
        phase.p_im.lane[lane] = im[0] + im[1];
        phase.m_re.lane[lane] = re[0] - re[1];
        phase.m_im.lane[lane] = im[0] - im[1];
      }
    }
  }
};

// Adding 1.5 * 2^52 rounds to a whole number, which then stands in the low bits of the sum.
constexpr double kRound = 0x1.8p52;

/// sin and cos of pi t. The whole half turns are taken off exactly; on the rest, [-1/2, 1/2], stand the
/// polynomials in t^2 through the values of sin(pi t) / t and cos(pi t) at 8 and 9 Chebyshev points. They err
/// by 2.4e-16 and 1.0e-16, with the rounding of their steps by 4.7e-16 and 2.9e-16.
VXGRID_PART_OF_CLONE inline void sin_cos(Doubles t, Doubles& sine, Doubles& cosine) {
  const Doubles whole = t + kRound;
  const Doubles r = t - (whole - kRound), u = r * r;
  Doubles s = -2.113362735205297e-05 * u + 0.0004659870158043378;
  s = s * u - 0.0073703643265304155;
  s = s * u + 0.08214587881631043;
  s = s * u - 0.599264528825224;
  s = s * u + 2.5501640398618677;
  s = s * u - 5.1677127800497855;
  s = (s * u + 3.1415926535897927) * r;
  Doubles c = 4.149564353942586e-06 * u - 0.00010456655338748738;
  c = c * u + 0.0019295562724817132;
  c = c * u - 0.025806888737002202;
  c = c * u + 0.23533063012953284;
  c = c * u - 1.335262768843447;
  c = c * u + 4.058712126416497;
  c = c * u - 4.934802200544676;
  c = c * u + 1.0;
  const Longs sign = (Longs)whole << 63;  // an odd number of half turns
  sine = (Doubles)((Longs)s ^ sign);
  cosine = (Doubles)((Longs)c ^ sign);
}

/// e^y with an error of 1e-16 (2 + |y|). Arguments are held within +-500, which keeps all sums finite.
///
/// 2^r on [-1/2, 1/2] is the polynomial through its values at 12 Chebyshev points, which errs by 2e-17.
VXGRID_PART_OF_CLONE inline Doubles exponential(Doubles y) {
  y = y < -500.0 ? Doubles{} - 500.0 : y;
  y = y > 500.0 ? Doubles{} + 500.0 : y;
  const Doubles t = y * 1.4426950408889634;  // log2(e)
  const Doubles whole = t + kRound, r = t - (whole - kRound);
  Doubles p = 4.4558179083360645e-10 * r + 7.074194297288521e-09;
  p = p * r + 1.0178057087733941e-07;
  p = p * r + 1.3215432535912375e-06;
  p = p * r + 1.5252733841556773e-05;
  p = p * r + 0.00015403530463724353;
  p = p * r + 0.001333355814640647;
  p = p * r + 0.009618129107587256;
  p = p * r + 0.055504108664821625;
  p = p * r + 0.24022650695910158;
  p = p * r + 0.6931471805599453;
  p = p * r + 1.0;
  return (Doubles)((Longs)p + ((Longs)whole << 52));
}

/// Sums the atoms, one after the other in every lane.
VXGRID_WIDE void sum_atoms(Block& block, const Atom* atoms, std::size_t count) {
  const Block::Phase* const phases = block.phases.data();
  const std::size_t rotations = block.phases.size();
  Lanes a = {}, b = {};
  for (const Atom* atom = atoms; atom != atoms + count; ++atom) {
    Lanes re = {}, im = {};
    for (const Block::Phase* phase = phases; phase != phases + rotations; ++phase) VXGRID_EACH_VECTOR {
        const Doubles t =
            phase->h2.vector[v] * atom->x + phase->k2.vector[v] * atom->y + phase->l2.vector[v] * atom->z;
        Doubles sine, cosine;
        sin_cos(t, sine, cosine);
        re.vector[v] += phase->p_re.vector[v] * cosine - phase->m_im.vector[v] * sine;
        im.vector[v] += phase->p_im.vector[v] * cosine + phase->m_re.vector[v] * sine;
      }
    const Lanes& f = block.f[atom->row];
    VXGRID_EACH_VECTOR {
      const Doubles weight =
          atom->occupancy * f.vector[v] * exponential(-atom->b_iso * block.stolsq.vector[v]);
      a.vector[v] += weight * re.vector[v];
      b.vector[v] += weight * im.vector[v];
    }
  }
  block.a = a;
  block.b = b;
}

/// Degrees in [0, 360).
float phase_of(double a, double b) {
  const double degrees = std::atan2(b, a) * (180 / M_PI);
  const auto rounded = static_cast<float>(degrees < 0 ? degrees + 360 : degrees);
  return rounded >= 360 ? 0.0f : rounded;
}

/// What a set lacks for structure factors, or null.
const char* fault_of(const VXReflectionImpl& set) {
  if (set.nref == 0) return "the set has no reflections";
  if (!set.h || !set.k || !set.l) return "the set has no Miller indices";
  if (!set.symmetry) return "the set has no space group";
  if (!set.symmetry.cell().isValid() || !ReciprocalAxes(set.symmetry.cell()).isFinite())
    return "the set has no cell with a volume";
  return nullptr;
}

}  // namespace

bool VXStructureFactors(VXReflection& set, const VXMolBase& model, unsigned int& skipped) {
  VXTracerBase silent;
  return VXStructureFactors(set, model, skipped, silent);
}

bool VXStructureFactors(VXReflection& set, const VXMolBase& model, unsigned int& skipped,
                        VXTracerBase& tracer) {
  skipped = 0;
  VXReflectionImpl& impl = *set.GetImpl();
  const char* fault = fault_of(impl);
  if (!fault && !VXHasResidues(model)) fault = "the model has no residue data (occupancies, B factors)";
  if (fault) {
    VXThrow.Warning("VXStructureFactors: %s", fault);
    return false;
  }

  const ReciprocalAxes axes(impl.symmetry.cell());
  const std::vector<Rotation> rotations = group_operators(impl.symmetry);
  const Model scatterers(model, axes);
  std::vector<float> amplitudes(impl.nref), phases(impl.nref);
  Block block;
  const std::size_t step = impl.nref / 100 / kLanes * kLanes + kLanes;  // between reports
  for (std::size_t first = 0; first < impl.nref; first += kLanes) {
    if (first % step == 0 && !tracer.Progress(static_cast<unsigned int>(first), impl.nref)) return false;
    block.Fill(impl, first, axes, rotations, scatterers);
    sum_atoms(block, scatterers.atoms.data(), scatterers.atoms.size());
    const std::size_t count = std::min<std::size_t>(kLanes, impl.nref - first);
    for (std::size_t lane = 0; lane < count; ++lane) {
      const double a = block.a.lane[lane], b = block.b.lane[lane];
      amplitudes[first + lane] = static_cast<float>(std::hypot(a, b));
      phases[first + lane] = phase_of(a, b);
    }
  }
  skipped = model.NumAtoms() - static_cast<unsigned int>(scatterers.atoms.size());
  return impl.SetFcalc(amplitudes.data(), impl.nref) && impl.SetPhaseCalc(phases.data(), impl.nref) &&
         impl.SetPhase(phases.data(), impl.nref);
}

}  // namespace VXCore
