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

/// The entry of a table for a position; beyond either end, and for what is no number, the one at the end.
inline int table_index(float position) {
  const float last = Gaussian::kTableSize - 1;
  const float below = position < last ? position : last;
  return static_cast<int>(below > 0 ? below : 0);
}

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

VXGRID_PART_OF_CLONE inline Floats lanes(const float* from) {
  Floats v;
  std::memcpy(&v, from, sizeof v);
  return v;
}

/// The atoms so far, by their own records.
struct Reaches {
  void resize(std::size_t n) {
    for (auto* field : {&x, &y, &z, &cutoff2}) field->resize(n + kLanes);
  }

  std::vector<float> x, y, z;
  std::vector<float> cutoff2;
};

/// Finds the first n atoms whose cut-off the place does not pass. Returns how many.
VXGRID_WIDE
int find_near(const Reaches& atoms, int n, const float* place, int* near) {
  const float x = place[0], y = place[1], z = place[2];
  int kept = 0;
  for (int i = 0; i < n; i += kLanes) {
    const Floats dx = x - lanes(&atoms.x[i]), dy = y - lanes(&atoms.y[i]), dz = z - lanes(&atoms.z[i]);
    const Floats d2 = dx * dx + dy * dy + dz * dz;
    const Ints keep = ~(d2 > lanes(&atoms.cutoff2[i])) & (kLaneNumbers < n - i);
    for (int j = 0; j < kLanes; ++j) {
      near[kept] = i + j;
      kept -= keep[j];
    }
  }
  return kept;
}

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

/// Overlaps of the atom in hand with earlier records, not yet records themselves.
struct Found {
  void resize(std::size_t n) {
    record.resize(n + kLanes);
    log_volume.resize(n + kLanes);
    fraction.resize(n + kLanes);
  }

  std::vector<int> record;
  std::vector<float> log_volume;
  std::vector<float> fraction;  // of the way from the atom to the record, where the overlap lies
  std::int64_t tests = 0;       // of records, to find these; idle lanes at the end of a block included
};

/// An atom that records are overlapped with, and the tables by which they are.
struct Partner {
  float x, y, z, width;
  float ratio_scale;   // from the width of a record to its place in ratio and logfactor
  float cutoff_scale;  // from the width of an overlap to its place in logfactor and cutoffs
  const float *ratio, *logfactor, *cutoffs;
};

/// Finds the overlaps of the atom with the blocks of the candidates that are larger than vmin, in order.
/// Returns how many.
///
/// One test of the squared distance does for one after each coordinate: the partial sums never fall. Each
/// lane does what the plain loop does (GaussianExpansion.SameBitsAsPlainLoop).
VXGRID_WIDE
int find_overlaps(const Records& records, const int* block_start, const int* candidates, int n,
                  const Partner& atom, Found& found) {
  const float last_entry = Gaussian::kTableSize - 1;
  const Partner a = atom;
  int kept = 0;
  std::int64_t tests = 0;
  for (int k = 0; k < n; ++k) {
    const int begin = block_start[candidates[k]], end = block_start[candidates[k] + 1];
    tests += end - begin + kLanes;
    for (int i = begin; i < end; i += kLanes) {
      const Floats dx = a.x - lanes(&records.x[i]), dy = a.y - lanes(&records.y[i]),
                   dz = a.z - lanes(&records.z[i]);
      const Floats d2 = dx * dx + dy * dy + dz * dz;
      // table_index of positions that are not negative
      const Floats position = a.ratio_scale * lanes(&records.width[i]);
      const Ints at = __builtin_convertvector(position < last_entry ? position : last_entry, Ints);
      Floats ratio, logfactor;
      for (int j = 0; j < kLanes; ++j) {
        ratio[j] = a.ratio[at[j]];
        logfactor[j] = a.logfactor[at[j]];
      }
      const Floats log_volume = logfactor + lanes(&records.log_volume[i]) - ratio * a.width * d2;
      const Ints keep = (log_volume > 0) & ~(d2 > lanes(&records.cutoff2[i])) & (kLaneNumbers < end - i);
      for (int j = 0; j < kLanes; ++j) {  // what is not kept is overwritten by the next
        found.record[kept] = i + j;
        found.log_volume[kept] = log_volume[j];
        found.fraction[kept] = ratio[j];
        kept -= keep[j];
      }
    }
  }
  found.tests = tests;
  return kept;
}

/// Writes the n overlaps that were found as records, from `to` on.
///
/// The width of the overlap is looked up by another scale than the tables are laid out by. Meant: number and
/// volumes of the terms hang on it.
void write_overlaps(Records& records, const Found& found, int n, const Partner& atom, int to) {
  for (int k = 0; k < n; ++k, ++to) {
    const int i = found.record[k];
    const float lv = found.log_volume[k], f = found.fraction[k], w = records.width[i] + atom.width;
    const int at = table_index(w * atom.cutoff_scale);
    records.width[to] = w;
    records.x[to] = atom.x + (records.x[i] - atom.x) * f;
    records.y[to] = atom.y + (records.y[i] - atom.y) * f;
    records.z[to] = atom.z + (records.z[i] - atom.z) * f;
    records.log_volume[to] = lv;
    records.cutoff2[to] = (lv + atom.logfactor[at]) * atom.cutoffs[at];
    records.order[to] = records.order[i] + 1;
  }
}

/// Volumes from their logarithms, prefactors from volumes.
void write_spheres(const Records& records, const float* volume_from_log, float volume_scale, Gsphere* out,
                   int n) {
  const float *width = records.width.data(), *log_volume = records.log_volume.data();
  for (int i = 0; i < n; ++i) {
    const float volume = volume_from_log[table_index(log_volume[i] * volume_scale)];
    const float t = width[i] * Gaussian::ipi;
    out[i].width = width[i];
    out[i].x = records.x[i];
    out[i].y = records.y[i];
    out[i].z = records.z[i];
    out[i].prefactor = std::sqrt(t) * t * std::fabs(volume);
    out[i].order = records.order[i];
    out[i].volume = records.order[i] % 2 ? -volume : volume;
    out[i].radius = records.cutoff2[i];
  }
}

}  // namespace

struct Gaussian::Working {
  /// Room for n more records; false beyond max_records.
  bool make_room(int n);
  void add_atom(int a, float log_volume, float cutoff);
  /// The candidates of an atom from a tree of all.
  int near_by_tree(int a, TdTree& tree);
  /// Adds the overlaps of an atom with the blocks of the first so many candidates. False beyond max_records
  /// or the steps that go with them.
  bool add_overlaps(const Partner& atom, int candidates_of_atom);
  void resize(std::size_t n);

  // By atom; xyz and radii of the two lower levels by atom index.
  std::vector<float> xyz;  // three each
  std::vector<float> widths, prefactors, radii;
  Reaches reaches;
  std::vector<int> block_start;  // first record of an atom; one more for the end
  std::vector<int> candidates;   // earlier atoms within reach of the atom in hand

  Records records;
  int count = 0;  // records in use
  int max_records = 0;
  std::int64_t steps = 0;  // of kMaxSteps
  Found found;

  float ratio_scale = 0, cutoff_scale = 0;  // of Partner, the first times the atom's width
};

bool Gaussian::Working::make_room(int n) {
  if (n > max_records - count) {
    VXThrow.Warning("Gaussian expansion: more than %d overlaps; atoms coincide, or vmin is too small",
                    max_records);
    return false;
  }
  const std::size_t needed = static_cast<std::size_t>(count) + n;
  if (needed > records.size) resize(std::min<std::size_t>(std::max(needed, 2 * records.size), max_records));
  return true;
}

void Gaussian::Working::resize(std::size_t n) {
  records.resize(n);
  found.resize(n);
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

int Gaussian::Working::near_by_tree(int a, TdTree& tree) {
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
  const int n =
      find_overlaps(records, block_start.data(), candidates.data(), candidates_of_atom, atom, found);
  steps += found.tests;
  const std::int64_t max_steps = std::int64_t{kMaxSteps} * max_records;
  if (steps > max_steps) {
    VXThrow.Warning("Gaussian expansion: more than %lld steps; atoms coincide, or vmin is too small",
                    static_cast<long long>(max_steps));
    return false;
  }
  if (!make_room(n)) return false;
  write_overlaps(records, found, n, atom, count);
  count += n;
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

  out_.clear();
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
    const float r = radii[atom.GetIdx()], *at = &xyz[3 * atom.GetIdx()];
    if (r == 0 || left_out(atom, no_hydrogens)) continue;
    out_.push_back({width(r), at[0], at[1], at[2], prefactor, 0, r * r * 4.1887903f * r, r});
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
      out_.push_back({s, (e[0] * we + b[0] * wb) / s, (e[1] * we + b[1] * wb) / s,
                      (e[2] * we + b[2] * wb) / s, p, 1, volume, radius});
    }
  *out = out_.data();
  *n = static_cast<int>(out_.size());
  return 1;
}

int Gaussian::make_full_gaussian_rep_base(const VXMolBase& mol, int no_hydrogens, Gsphere** out, int* n) {
  *n = 0;
  if (!read_atoms(mol, no_hydrogens)) return 0;
  fit_tables();
  if (!expand()) return 0;
  finish();
  *out = out_.data();
  *n = static_cast<int>(out_.size());
  return 1;
}

int Gaussian::vx_calculate_volume_base(const VXMolBase& mol, float* volume, int no_hydrogens) {
  Gsphere* list = nullptr;
  int n = 0;
  make_full_gaussian_rep_base(mol, no_hydrogens, &list, &n);
  float sum = 0;
  for (int i = 0; i < n; ++i) sum += list[i].volume;
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

void Gaussian::vi_init_gs(int n) { work_->resize(n); }

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
  const int m = static_cast<int>(work.radii.size());
  const auto [smallest, largest] = std::minmax_element(work.radii.begin(), work.radii.end());
  const float extremes[2] = {*smallest, *largest}, prefactors[2] = {prefactor, prefactor};
  float widths[2];
  vi_assign_gwid_from_rad_pre(prefactors, extremes, widths, 2);
  const float q = 6 * widths[0] / widths[1];
  work.ratio_scale = 1000 / q;
  work.cutoff_scale = q / widths[1];
  if (rmin != extremes[0] || rmax != extremes[1]) {
    rmin = extremes[0];
    rmax = extremes[1];
    make_table(widths[1], rmax, work.ratio_scale);
  }
  work.prefactors.assign(m, prefactor);
  work.widths.resize(m);
  vi_assign_gwid_from_rad_pre(work.prefactors.data(), work.radii.data(), work.widths.data(), m);
}

/// The record of every atom, each followed by its overlaps with the records of earlier atoms. False beyond
/// max_records or the steps that go with them.
bool Gaussian::expand() {
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
  for (int a = 0; a < m; ++a) {
    const float *centre = &work.xyz[3 * a], wa = work.widths[a], t = (wmin + wa) / wa;
    const float log_volume = log_f(std::sqrt(1 / (wa * wa * wa)) * (prefactor * pi32)) - log_vmin;
    if (!work.make_room(1)) return false;
    work.add_atom(a, log_volume, t * (1 / wmin) * (log_volume - log_f(std::sqrt(t) * t / prefactor)));

    const int candidates =
        by_tree ? work.near_by_tree(a, *tree_) : find_near(work.reaches, a, centre, work.candidates.data());
    const Partner atom = {centre[0],         centre[1], centre[2], wa,          work.ratio_scale / wa,
                          work.cutoff_scale, ratio,     logfactor, cutoff_scale};
    if (by_tree) add_to_tree(work.xyz.data(), a, a + 1, tree_.get(), &work.steps);
    if (!work.add_overlaps(atom, candidates)) return false;
    work.block_start[a + 1] = work.count;
  }
  return true;
}

/// The records as a list, with volumes and prefactors.
void Gaussian::finish() {
  out_.resize(work_->count);
  write_spheres(work_->records, volume_from_log, volume_scale, out_.data(), work_->count);
}

}  // namespace VXCore
