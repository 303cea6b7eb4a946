#include <vxgrid/gaussian/gaussian_expansion.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/host/wide.inl>

namespace VXCore {
namespace {

/// In Å³. Volumes of ligands come within 0.4 % of the union of hard spheres at the median and 0.8 % at worst
/// (bench/gaussian_accuracy.cpp); at 0.1 it is 0.7 and 1.7 %, and below 0.02 time grows, but accuracy does
/// not.
constexpr float kDefaultVmin = 0.02f;
constexpr int kTreeFrom = 201;  // atoms from which on neighbours come from the tree
constexpr float kSmallestRadius = 0.0001f;
constexpr int kRecordsPerAtom = 20;  // to start with

/// Calls use(atom, radius) for every atom of the molecule. Without any radius there, `assign` gives them to
/// a copy.
template <class Use>
void for_each_radius(const VXMolBase& mol, void (*assign)(VXMolBase&), Use use) {
  const auto walk = [&use](const VXMolBase& with_radii) {
    for (const VXAtomBase& atom : VXIter<VXAtomBase>(with_radii.GetAtoms()))
      use(atom, static_cast<float>(atom.GetRadius()));
  };
  if (HasRadii(mol)) return walk(mol);
  VXGraphMol copy(mol);
  assign(copy);
  walk(copy);
}

bool left_out(const VXAtomBase& atom, int no_hydrogens) { return no_hydrogens && atom.GetAtomicNum() == 1; }

float squared_distance(const float* a, const float* b) {
  const float dx = a[0] - b[0], dy = a[1] - b[1], dz = a[2] - b[2];
  return dx * dx + dy * dy + dz * dz;
}

float log_f(float x) { return static_cast<float>(std::log(double{x})); }

// The expansion tests this many records in one go. Arrays of records have room for them behind the last one.
constexpr int kLanes = 8;
using Floats = float __attribute__((vector_size(4 * kLanes)));
using Ints = std::int32_t __attribute__((vector_size(4 * kLanes)));
constexpr Ints kLaneNumbers = {0, 1, 2, 3, 4, 5, 6, 7};

template <class Lanes = Floats, class T>
VXGRID_PART_OF_CLONE inline Lanes lanes(const T* from) {
  Lanes v;
  std::memcpy(&v, from, sizeof v);
  return v;
}

template <class Lanes, class T>
VXGRID_PART_OF_CLONE inline void store(const Lanes& v, T* to) {
  std::memcpy(to, &v, sizeof v);
}

template <class Lanes = Floats, class T>
VXGRID_PART_OF_CLONE inline Lanes look_up(const T* table, const Ints& at) {
  Lanes v;
  for (int j = 0; j < kLanes; ++j) v[j] = table[static_cast<std::uint32_t>(at[j])];
  return v;
}

/// The entries of a table for positions; beyond either end, and for what is no number, the one at the end.
VXGRID_PART_OF_CLONE inline Ints table_entries(const Floats& position) {
  const Floats zero = {}, last = zero + (Gaussian::kTableSize - 1);
  const Floats below = position < last ? position : last;
  return __builtin_convertvector(below > zero ? below : zero, Ints);
}

/// Lists the places where a mask of 0 and -1, whole lanes of it, is set. Returns how many. There is no branch
/// on the mask, which follows no pattern; so the list takes n.
inline int list_set(const std::int32_t* mask, int n, int* list) {
  int count = 0;
  for (int i = 0; i < n; i += kLanes)
    for (int j = 0; j < kLanes; ++j) {
      list[count] = i + j;
      count -= mask[i + j];
    }
  return count;
}

/// The atoms so far, by their own records.
struct Reaches {
  void resize(std::size_t n) {
    for (auto* field : {&x, &y, &z, &cutoff2}) field->resize(n + kLanes);
    is_near.resize(n + kLanes);
  }

  std::vector<float> x, y, z;
  std::vector<float> cutoff2;
  std::vector<std::int32_t> is_near;  // mask, for the atom in hand
};

/// Masks those of the first n atoms whose cut-off the place does not pass.
VXGRID_WIDE
void find_near(Reaches& atoms, int n, const float* place) {
  const float x = place[0], y = place[1], z = place[2];
  for (int i = 0; i < n; i += kLanes) {
    const Floats dx = x - lanes(&atoms.x[i]), dy = y - lanes(&atoms.y[i]), dz = z - lanes(&atoms.z[i]);
    const Floats d2 = dx * dx + dy * dy + dz * dz;
    store(~(d2 > lanes(&atoms.cutoff2[i])) & (kLaneNumbers < n - i), &atoms.is_near[i]);
  }
}

/// Atoms of most molecules have a handful of widths, and what hangs on nothing else is computed once for
/// each.
struct RecentAtoms {
  struct Atom {
    float width = -1, log_volume = 0, cutoff2 = 0;
  };

  /// The place for a width, which another one may have.
  Atom& find(float width) {
    std::uint32_t bits;
    std::memcpy(&bits, &width, sizeof bits);
    return atoms[bits * 0x9e3779b1u >> 28];
  }

  Atom atoms[16];
};

/// Records of the expansion, one array a field so that loops vectorise.
struct Records {
  /// Keeps the first n, or adds zeros.
  void resize(std::size_t n) {
    size = n;
    for (auto* field : {&width, &x, &y, &z, &log_volume, &cutoff2}) field->resize(n + kLanes);
    order.resize(n + kLanes);
  }

  std::size_t size = 0;
  std::vector<float> width, x, y, z;
  std::vector<float> log_volume;  // log(V / vmin)
  std::vector<float> cutoff2;     // squared distance beyond which no further atom counts, in Å²
  std::vector<std::int32_t> order;
};

/// Records of one block that are tested in one go: the first kLanes of those that are left.
struct Group {
  int begin, left;
};

/// Overlaps of the atom in hand with some groups of records, a lane each.
struct Tested {
  static constexpr int kGroups = 64;

  alignas(32) std::int32_t record[kGroups * kLanes];
  alignas(32) float log_volume[kGroups * kLanes];
  alignas(32) float fraction[kGroups * kLanes];      // of the way from the atom to the record, where it lies
  alignas(32) std::int32_t stays[kGroups * kLanes];  // mask of those larger than vmin
  int kept[kGroups * kLanes + kLanes];               // lanes of these, and then any
};

/// Entries of Gaussian::ratio and Gaussian::logfactor side by side, as they are looked up.
struct Factor {
  float ratio, log;
};

/// An atom that records are overlapped with, and the tables by which they are.
struct Partner {
  float x, y, z, width;
  float ratio_scale;   // from the width of a record to its place in factors
  float cutoff_scale;  // from the width of an overlap to its place in logfactor and cutoffs
  const Factor* factors;
  const float *logfactor, *cutoffs;
};

/// Overlaps the atom with n groups of records.
///
/// One test of the squared distance does for one after each coordinate: the partial sums never fall. Each
/// lane does what the plain loop does (GaussianExpansion.SameBitsAsPlainLoop).
VXGRID_WIDE
void test_overlaps(const Records& records, const Group* groups, int n, const Partner& atom, Tested& tested) {
  const Partner a = atom;
  const float *x = records.x.data(), *y = records.y.data(), *z = records.z.data();
  const float *width = records.width.data(), *cutoff2 = records.cutoff2.data();
  const float* log_volumes = records.log_volume.data();
  for (int g = 0; g < n; ++g) {
    const int i = groups[g].begin;
    const Floats dx = a.x - lanes(x + i), dy = a.y - lanes(y + i), dz = a.z - lanes(z + i);
    const Floats d2 = dx * dx + dy * dy + dz * dz;
    const Ints at = table_entries(a.ratio_scale * lanes(width + i));
    Floats ratio, logfactor;
    for (int j = 0; j < kLanes; ++j) {
      const Factor& factor = a.factors[static_cast<std::uint32_t>(at[j])];
      ratio[j] = factor.ratio;
      logfactor[j] = factor.log;
    }
    const Floats log_volume = logfactor + lanes(log_volumes + i) - ratio * a.width * d2;
    store(i + kLaneNumbers, tested.record + g * kLanes);
    store(log_volume, tested.log_volume + g * kLanes);
    store(ratio, tested.fraction + g * kLanes);
    store((log_volume > 0) & ~(d2 > lanes(cutoff2 + i)) & (kLaneNumbers < groups[g].left),
          tested.stays + g * kLanes);
  }
}

/// Writes the n overlaps that are kept as records, from `to` on.
///
/// The width of the overlap is looked up by another scale than the tables are laid out by. Meant: number and
/// volumes of the terms hang on it.
VXGRID_WIDE
void write_overlaps(Records& records, const Tested& tested, int n, const Partner& atom, int to) {
  const Partner a = atom;
  float *width = records.width.data(), *x = records.x.data(), *y = records.y.data(), *z = records.z.data();
  float *log_volume = records.log_volume.data(), *cutoff2 = records.cutoff2.data();
  std::int32_t* order = records.order.data();
  for (int k = 0; k < n; k += kLanes, to += kLanes) {
    const Ints from = lanes<Ints>(tested.kept + k), i = look_up<Ints>(tested.record, from);
    const Floats lv = look_up(tested.log_volume, from), f = look_up(tested.fraction, from);
    const Floats w = look_up(width, i) + a.width;
    const Ints at = table_entries(w * a.cutoff_scale);
    store(w, width + to);
    store(a.x + (look_up(x, i) - a.x) * f, x + to);
    store(a.y + (look_up(y, i) - a.y) * f, y + to);
    store(a.z + (look_up(z, i) - a.z) * f, z + to);
    store(lv, log_volume + to);
    store((lv + look_up(a.logfactor, at)) * look_up(a.cutoffs, at), cutoff2 + to);
    store(look_up<Ints>(order, i) + 1, order + to);
  }
}

/// Volumes of the first n records from their logarithms, negative for odd orders.
VXGRID_WIDE
void write_volumes(const Records& records, const float* volume_from_log, float volume_scale, int n,
                   float* volumes) {
  const float* log_volume = records.log_volume.data();
  const std::int32_t* order = records.order.data();
  for (int i = 0; i < n; i += kLanes) {
    const Ints at = table_entries(lanes(log_volume + i) * volume_scale);
    const Floats volume = look_up(volume_from_log, at);
    store((lanes<Ints>(order + i) & 1) != 0 ? -volume : volume, volumes + i);
  }
}

/// Prefactors from volumes.
void write_spheres(const Records& records, const float* volumes, Gsphere* out, int n) {
  const float* width = records.width.data();
  for (int i = 0; i < n; ++i) {
    const float t = width[i] * Gaussian::ipi;
    out[i].width = width[i];
    out[i].x = records.x[i];
    out[i].y = records.y[i];
    out[i].z = records.z[i];
    out[i].prefactor = std::sqrt(t) * t * std::fabs(volumes[i]);
    out[i].order = records.order[i];
    out[i].volume = volumes[i];
    out[i].radius = records.cutoff2[i];
  }
}

}  // namespace

struct Gaussian::Working {
  /// Room for n more records; false beyond max_records.
  bool make_room(int n);
  void add_atom(int a, float log_volume, float cutoff);
  /// The candidates of an atom, from all before it or from a tree of these.
  int find_candidates(int a);
  int find_candidates(int a, TdTree& tree);
  /// Adds the overlaps of an atom with the blocks of the first so many candidates. False beyond max_records
  /// or the steps that go with them.
  bool add_overlaps(const Partner& atom, int candidates_of_atom);

  // By atom; xyz and radii of the two lower levels by atom index.
  std::vector<float> xyz;  // three each
  std::vector<float> widths, prefactors, radii;
  Reaches reaches;
  std::vector<int> block_start;  // first record of an atom; one more for the end
  std::vector<int> candidates;   // earlier atoms within reach of the atom in hand

  Records records;
  int count = 0;  // records in use
  int max_records = 0;
  std::int64_t steps = 0;     // of kMaxSteps
  std::vector<Group> groups;  // of the candidates' blocks
  Tested tested;
  std::vector<float> volumes;  // of the records

  Factor factors[kTableSize];
  float ratio_scale = 0, cutoff_scale = 0;  // of Partner, the first times the atom's width
};

bool Gaussian::Working::make_room(int n) {
  if (n > max_records - count) {
    VXThrow.Warning("Gaussian expansion: more than %d overlaps; atoms coincide, or vmin is too small",
                    max_records);
    return false;
  }
  const std::size_t needed = static_cast<std::size_t>(count) + n;
  if (needed > records.size)
    records.resize(std::min<std::size_t>(std::max(needed, 2 * records.size), max_records));
  return true;
}

void Gaussian::Working::add_atom(int a, float log_volume, float cutoff) {
  const int at = count++;
  records.width[at] = widths[a];
  records.x[at] = reaches.x[a] = xyz[3 * a];
  records.y[at] = reaches.y[a] = xyz[3 * a + 1];
  records.z[at] = reaches.z[a] = xyz[3 * a + 2];
  records.log_volume[at] = log_volume;
  records.cutoff2[at] = reaches.cutoff2[a] = cutoff;
  records.order[at] = 0;
}

int Gaussian::Working::find_candidates(int a) {
  find_near(reaches, a, &xyz[3 * a]);
  return list_set(reaches.is_near.data(), a, candidates.data());
}

int Gaussian::Working::find_candidates(int a, TdTree& tree) {
  const float* place = &xyz[3 * a];
  const int hits = ndt_hits_p(place, std::sqrt(reaches.cutoff2[a]), &tree, a, &steps);
  steps += hits;
  int kept = 0;
  for (int i = 0; i < hits; ++i) {
    const int b = tree.hits[i];
    candidates[kept] = b;
    kept += !(squared_distance(place, &xyz[3 * b]) > reaches.cutoff2[b]);
  }
  return kept;
}

bool Gaussian::Working::add_overlaps(const Partner& atom, int candidates_of_atom) {
  groups.clear();
  for (int k = 0; k < candidates_of_atom; ++k) {
    const int begin = block_start[candidates[k]], end = block_start[candidates[k] + 1];
    for (int i = begin; i < end; i += kLanes) groups.push_back({i, end - i});
    steps += end - begin + kLanes;
  }
  const std::int64_t max_steps = std::int64_t{kMaxSteps} * max_records;
  if (steps > max_steps) {
    VXThrow.Warning("Gaussian expansion: more than %lld steps; atoms coincide, or vmin is too small",
                    static_cast<long long>(max_steps));
    return false;
  }
  const int n = static_cast<int>(groups.size());
  for (int from = 0; from < n; from += Tested::kGroups) {
    const int tests = std::min(n - from, Tested::kGroups);
    test_overlaps(records, &groups[from], tests, atom, tested);
    const int kept = list_set(tested.stays, tests * kLanes, tested.kept);
    std::fill_n(tested.kept + kept, kLanes, 0);
    if (!make_room(kept)) return false;
    write_overlaps(records, tested, kept, atom, count);
    count += kept;
  }
  return true;
}

Gaussian::Gaussian() : vmin(kDefaultVmin), work_(std::make_unique<Working>()) {}

Gaussian::~Gaussian() { vi_delete_gauss_rep(); }

int Gaussian::vx_make_atomic_gaussian_representation(const VXMolBase& mol, Gsphere** out, int* n) {
  return make_atomic_gaussian_rep_base(mol, 0, 0, out, n);
}
int Gaussian::vx_make_atomic_gaussian_representation_with_hydrogens(const VXMolBase& mol, Gsphere** out,
                                                                    int* n) {
  return make_atomic_gaussian_rep_base(mol, 0, 0, out, n);
}
int Gaussian::vx_make_atomic_gaussian_representation_no_hydrogens(const VXMolBase& mol, Gsphere** out,
                                                                  int* n) {
  return make_atomic_gaussian_rep_base(mol, 0, 1, out, n);
}
int Gaussian::vx_make_bond_gaussian_representation(const VXMolBase& mol, Gsphere** out, int* n) {
  return make_atomic_gaussian_rep_base(mol, 1, 0, out, n);
}
int Gaussian::vx_make_bond_gaussian_representation_with_hydrogens(const VXMolBase& mol, Gsphere** out,
                                                                  int* n) {
  return make_atomic_gaussian_rep_base(mol, 1, 0, out, n);
}
int Gaussian::vx_make_bond_gaussian_representation_no_hydrogens(const VXMolBase& mol, Gsphere** out, int* n) {
  return make_atomic_gaussian_rep_base(mol, 1, 1, out, n);
}
int Gaussian::vx_make_gaussian_representation(const VXMolBase& mol, Gsphere** out, int* n) {
  return make_full_gaussian_rep_base(mol, 1, out, n);
}
int Gaussian::vx_make_gaussian_representation_with_hydrogens(const VXMolBase& mol, Gsphere** out, int* n) {
  return make_full_gaussian_rep_base(mol, 0, out, n);
}
int Gaussian::vx_make_gaussian_representation_no_hydrogens(const VXMolBase& mol, Gsphere** out, int* n) {
  return make_full_gaussian_rep_base(mol, 1, out, n);
}
int Gaussian::vx_calculate_volume(const VXMolBase& mol, float* volume) {
  return vx_calculate_volume_base(mol, volume, 0);
}
int Gaussian::vx_calculate_volume_with_hydrogens(const VXMolBase& mol, float* volume) {
  return vx_calculate_volume_base(mol, volume, 0);
}
int Gaussian::vx_calculate_volume_no_hydrogens(const VXMolBase& mol, float* volume) {
  return vx_calculate_volume_base(mol, volume, 1);
}

int Gaussian::make_atomic_gaussian_rep_base(const VXMolBase& mol, int bonds, int no_hydrogens, Gsphere** out,
                                            int* n) {
  const std::size_t indices = mol.GetMaxAtomIdx();
  if (indices == 0) return 0;
  std::vector<float>&xyz = work_->xyz, &radii = work_->radii;
  xyz.assign(3 * indices, 0);
  radii.assign(indices, 0);
  mol.GetCoords(xyz.data());
  for_each_radius(mol, AssignZemoMolRadii,
                  [&radii](const VXAtomBase& atom, float radius) { radii[atom.GetIdx()] = radius; });

  const float log_kappa = static_cast<float>(std::log(double{prefactor * 1.3293405f}) * 0.66666669f);
  const float kappa = static_cast<float>(std::exp(double{log_kappa}));
  const auto width = [kappa](float r) { return kappa / (r * r); };

  Gsphere* to = room_for(mol.NumAtoms() + (bonds ? mol.NumBonds() : 0));
  *out = to;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    const float r = radii[atom.GetIdx()], *at = &xyz[3 * atom.GetIdx()];
    if (r == 0 || left_out(atom, no_hydrogens)) continue;
    *to++ = {width(r), at[0], at[1], at[2], prefactor, 0, r * r * 4.1887903f * r, r};
  }
  if (bonds)
    for (const VXBondBase& bond : VXIter<VXBondBase>(mol.GetBonds())) {
      const VXAtomBase &begin = *bond.GetBgn(), &end = *bond.GetEnd();
      const float rb = radii[begin.GetIdx()], re = radii[end.GetIdx()];
      if (rb == 0 || re == 0 || left_out(begin, no_hydrogens) || left_out(end, no_hydrogens)) continue;
      const float *b = &xyz[3 * begin.GetIdx()], *e = &xyz[3 * end.GetIdx()];
      const float wb = width(rb), we = width(re), s = wb + we;
      const float exponent = -squared_distance(b, e) * wb * we / s;
      const float p = static_cast<float>(-prefactor * prefactor * std::exp(double{exponent}));
      const float volume = -p * pi32 / (std::sqrt(s) * s);
      const float radius = static_cast<float>(std::pow(volume * 0.2387324079945085, 0.33333));
      *to++ = {s,
               (e[0] * we + b[0] * wb) / s,
               (e[1] * we + b[1] * wb) / s,
               (e[2] * we + b[2] * wb) / s,
               p,
               1,
               volume,
               radius};
    }
  *n = static_cast<int>(to - *out);
  return 1;
}

int Gaussian::make_full_gaussian_rep_base(const VXMolBase& mol, int no_hydrogens, Gsphere** out, int* n) {
  *n = 0;
  if (!expand(mol, no_hydrogens)) return 0;
  const int count = work_->count;
  *out = room_for(count);
  *n = count;
  write_spheres(work_->records, work_->volumes.data(), *out, count);
  return 1;
}

int Gaussian::vx_calculate_volume_base(const VXMolBase& mol, float* volume, int no_hydrogens) {
  float sum = 0;
  if (expand(mol, no_hydrogens))
    for (int i = 0; i < work_->count; ++i) sum += work_->volumes[i];
  *volume = sum;
  return 1;
}

void Gaussian::make_test(const VXMolBase& mol) {
  Gsphere* list = nullptr;
  int n = 0;
  const auto total = [&list, &n](int made) {
    float sum = 0;
    for (int i = 0; made && i < n; ++i) sum += list[i].volume;
    return sum;
  };
  std::printf("atm vol = %f\n", total(make_atomic_gaussian_rep_base(mol, 0, 0, &list, &n)));
  std::printf("bond vol = %f\n", total(make_atomic_gaussian_rep_base(mol, 1, 0, &list, &n)));
  const float with = total(make_full_gaussian_rep_base(mol, 0, &list, &n));
  std::printf("full vol = %f, num= %d\n", with, n);
  const float without = total(make_full_gaussian_rep_base(mol, 1, &list, &n));
  std::printf("full vol (h) = %f, num= %d\n", without, n);
}

void Gaussian::vi_init_gauss_rep(int n) {
  capacity = std::max(capacity, n);
  const std::int64_t records = std::min<std::int64_t>(std::int64_t{kRecordsPerAtom} * n, max_records);
  if (static_cast<std::int64_t>(work_->records.size) < records) vi_init_gs(static_cast<int>(records));
  log_vmin = log_f(vmin);
  if (capacity < kTreeFrom) return;
  if (tree_) {
    realloc_tree(tree_.get(), n);
  } else {
    tree_ = std::make_unique<TdTree>();
    init_tree(tree_.get(), capacity, 3);
  }
}

void Gaussian::vi_init_gs(int n) { work_->records.resize(n); }

void Gaussian::vi_delete_gauss_rep() {
  capacity = 0;
  if (tree_) Free_tree(tree_.get());
}

void Gaussian::make_table(float w, float r, float c) {
  const float d = 1 / c;
  for (int i = 0; i < kTableSize; ++i) {
    const float x = (static_cast<float>(i) + 0.5f) * d;
    ratio[i] = x / (1 + x);
    logfactor[i] = log_f(2.7f * (ratio[i] * std::sqrt(ratio[i])));
    cutoff_scale[i] = (1 + x) / (w * x);
    work_->factors[i] = {ratio[i], logfactor[i]};
  }
  const float span = static_cast<float>(std::log(r * r * r * 4.188786666666666) - log_vmin);
  for (int j = 0; j < kTableSize; ++j)
    volume_from_log[j] = static_cast<float>(vmin * std::exp(static_cast<double>(j) * span * 0.001));
  volume_scale = 1000 / span;
}

/// Coordinates and radii of the atoms that take part, in the molecule's order. False when there are none.
bool Gaussian::read_atoms(const VXMolBase& mol, int no_hydrogens) {
  const std::size_t indices = mol.GetMaxAtomIdx();
  if (indices == 0) return false;
  vi_init_gauss_rep(static_cast<int>(indices));
  std::vector<float>&xyz = work_->xyz, &radii = work_->radii;
  xyz.resize(3 * indices);
  if (!mol.GetCoords(xyz.data())) return false;
  radii.clear();
  for_each_radius(mol, VXAssignBondiVdWRadii, [&](const VXAtomBase& atom, float radius) {
    if (!(radius >= kSmallestRadius) || left_out(atom, no_hydrogens)) return;
    std::copy_n(&xyz[3 * std::size_t{atom.GetIdx()}], 3, &xyz[3 * radii.size()]);
    radii.push_back(radius);
  });
  return !radii.empty();
}

/// Widths of the atoms, and the tables when the smallest or the largest radius is another than last time.
void Gaussian::fit_tables() {
  Working& work = *work_;
  const std::vector<float>&radii = work.radii, &widths = work.widths;
  work.prefactors.assign(radii.size(), prefactor);
  work.widths.resize(radii.size());
  vi_assign_gwid_from_rad_pre(work.prefactors.data(), radii.data(), work.widths.data(),
                              static_cast<int>(radii.size()));
  const auto [smallest, largest] = std::minmax_element(radii.begin(), radii.end());
  const float wbig = widths[smallest - radii.begin()], wsmall = widths[largest - radii.begin()];
  const float q = 6 * wbig / wsmall;
  work.ratio_scale = 1000 / q;
  work.cutoff_scale = q / wsmall;
  if (rmin == *smallest && rmax == *largest) return;
  rmin = *smallest;
  rmax = *largest;
  make_table(wsmall, rmax, work.ratio_scale);
}

/// The record of every atom, each followed by its overlaps with the records of earlier atoms. False beyond
/// max_records or the steps that go with them.
bool Gaussian::add_records() {
  Working& work = *work_;
  const int m = static_cast<int>(work.widths.size());
  const bool by_tree = m >= kTreeFrom;
  if (by_tree) clean_tree(tree_.get());
  work.count = 0;
  work.max_records = max_records;
  work.steps = 0;
  work.reaches.resize(m);
  work.block_start.resize(m + 1);
  work.candidates.resize(m + kLanes);
  const float wmin = *std::min_element(work.widths.begin(), work.widths.end());
  RecentAtoms recent;
  for (int a = 0; a < m; ++a) {
    const float *centre = &work.xyz[3 * a], wa = work.widths[a];
    RecentAtoms::Atom& own = recent.find(wa);
    if (own.width != wa) {
      const float t = (wmin + wa) / wa;
      const float log_volume = log_f(std::sqrt(1 / (wa * wa * wa)) * (prefactor * pi32)) - log_vmin;
      own = {wa, log_volume, t * (1 / wmin) * (log_volume - log_f(std::sqrt(t) * t / prefactor))};
    }
    if (!work.make_room(1)) return false;
    work.add_atom(a, own.log_volume, own.cutoff2);

    const int candidates = by_tree ? work.find_candidates(a, *tree_) : work.find_candidates(a);
    const Partner atom = {centre[0],         centre[1],    centre[2], wa,          work.ratio_scale / wa,
                          work.cutoff_scale, work.factors, logfactor, cutoff_scale};
    if (by_tree) add_to_tree(work.xyz.data(), a, a + 1, tree_.get(), &work.steps);
    if (!work.add_overlaps(atom, candidates)) return false;
    work.block_start[a + 1] = work.count;
  }
  return true;
}

/// Records and volumes of the full expansion. False where there is none.
bool Gaussian::expand(const VXMolBase& mol, int no_hydrogens) {
  if (!read_atoms(mol, no_hydrogens)) return false;
  fit_tables();
  if (!add_records()) return false;
  Working& work = *work_;
  if (work.volumes.size() < work.records.width.size()) work.volumes.resize(work.records.width.size());
  write_volumes(work.records, volume_from_log, volume_scale, work.count, work.volumes.data());
  return true;
}

/// Room for so many spheres in the list, which never shrinks.
Gsphere* Gaussian::room_for(std::size_t n) {
  if (out_.size() < n) out_.resize(n);
  return out_.data();
}

}  // namespace VXCore
