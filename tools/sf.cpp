#include <algorithm>
#include <cmath>

#include <vxgrid/host/residue.h>
#include <vxgrid/host/text.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/structure_factors.h>

#include "reflection_file.h"
#include "verbs.h"

using namespace VXCore;
using VXXtal::VXSymmetry;

namespace {

// As many shells of equal volume in reciprocal space, but with this many reflections each on average.
constexpr std::size_t kMostShells = 10, kReflectionsOfAShell = 50;

struct Reflection {
  int h, k, l;
  double d;             // Å, infinite for 0 0 0
  float f_obs, f_calc;  // f_obs not-a-number where it was not observed
  float phase;          // degrees
};

/// How well amplitudes agree after one scale.
struct Agreement {
  double d_max = 0, d_min = 0;  // Å, of the reflections compared
  unsigned reflections = 0;
  double mean_obs = 0, mean_calc = 0;  // the latter scaled
  double correlation = 0, r = 0;
};

struct Result {
  std::string label;  // of the observed amplitudes
  ReflectionFile data;
  std::vector<Reflection> list;
  unsigned skipped = 0;  // atoms; of the exact sum alone
  double scale = 0;      // of F calc, by least squares
  Agreement whole;
  std::vector<Agreement> shells;
};

std::string to_tsv(const std::vector<Reflection>& list) {
  std::string tsv = "h\tk\tl\td\tfobs\tfcalc\tphase\n";
  for (const Reflection& each : list)
    tsv += text("%d\t%d\t%d\t%.4f\t", each.h, each.k, each.l, each.d) +
           (std::isfinite(each.f_obs) ? shortest(each.f_obs) : "") + '\t' + shortest(each.f_calc) + '\t' +
           shortest(each.phase) + '\n';
  return tsv;
}

/// The format of the list: that of text, or one of reflection files.
const FileFormat* list_format(const std::string& file) {
  return file.empty() || VXFileExtension(file, "tsv") ? nullptr : &reflection_output(file, "", ".tsv ");
}

/// Amplitudes and phases of the model beside the observed amplitudes. Figures of merit and coefficients of
/// the data speak of other phases; those of a model count fully.
void write_set(ReflectionFile& data, const SfOptions& options, const FileFormat& format,
               const Settings& settings) {
  VXReflection& set = data.set;
  const std::vector<float> ones(set.GetCount(), 1.0f);
  set.SetColumn(VXReflectionColumn::FOM, format.id == Format::PHS ? ones.data() : nullptr, set.GetCount());
  set.SetABCD(nullptr, nullptr, nullptr, nullptr, set.GetCount());
  write_reflections(options.output, format, data, options.data, settings);
}

/// Tells when the model's own symmetry is not that of the data, which counts.
void compare_symmetry(VXGraphMol& model, const VXSymmetry& of_data, const SfOptions& options,
                      const Settings& settings) {
  const LibraryLog log;
  const VXSymmetry of_model = model_symmetry(model);
  const bool same_cell = of_model && of_data.cell().equalsCell(of_model.cell(), 0.02f * of_data.cell().a);
  if (same_cell && of_model.GetNumber() == of_data.GetNumber()) return;
  const std::string why = !of_model ? "no usable CRYST1 record"
                          : !same_cell
                              ? "the cell " + cell_text(of_model.cell()) + " of its CRYST1 record is another"
                              : "the group " + of_model.GetName() + " of its CRYST1 record is another";
  note(settings, text("%s: %s; group %u %s and cell %s of %s are taken", options.model.c_str(), why.c_str(),
                      of_data.GetNumber(), of_data.GetName().c_str(), cell_text(of_data.cell()).c_str(),
                      options.data.c_str()));
}

/// Tells of atoms that count otherwise than one may expect.
void note_atoms(const VXGraphMol& model, const SfOptions& options, const Settings& settings) {
  unsigned no_b = 0, hydrogens = 0;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(model.GetAtoms())) {
    no_b += VXAtomGetResidue(&atom).GetBFactor() <= 0;
    hydrogens += atom.GetAtomicNum() == 1;
  }
  if (no_b)
    note(settings, text("%s: %u atoms have no B factor above 0; it is %s", options.model.c_str(), no_b,
                        options.table ? "taken as 0" : "taken as it stands"));
  if (options.table && hydrogens)
    note(settings, text("%s: the tables take %u hydrogens for carbons; the exact sum does not",
                        options.model.c_str(), hydrogens));
}

std::vector<Reflection> list_of(const VXReflectionImpl& set) {
  std::vector<Reflection> list(set.nref);
  for (std::size_t i = 0; i < list.size(); ++i)
    list[i] = {set.h[i],    set.k[i],     set.l[i],         0.5 / std::sqrt(double{set.stolsq[i]}),
               set.fobs[i], set.fcalc[i], set.phase_calc[i]};
  return list;
}

Agreement agreement_of(const Reflection* const* first, const Reflection* const* last, double scale) {
  Agreement found;
  const double n = static_cast<double>(last - first);
  double difference = 0, oo = 0, cc = 0, oc = 0;
  for (auto each = first; each != last; ++each) {
    found.mean_obs += (*each)->f_obs / n;
    found.mean_calc += scale * (*each)->f_calc / n;
  }
  for (auto each = first; each != last; ++each) {
    const double obs = (*each)->f_obs, calc = scale * (*each)->f_calc;
    difference += std::fabs(obs - calc);
    oo += (obs - found.mean_obs) * (obs - found.mean_obs);
    cc += (calc - found.mean_calc) * (calc - found.mean_calc);
    oc += (obs - found.mean_obs) * (calc - found.mean_calc);
  }
  found.d_max = (*first)->d;
  found.d_min = last[-1]->d;
  found.reflections = static_cast<unsigned>(last - first);
  found.correlation = oc / std::sqrt(oo * cc);
  found.r = difference / (n * found.mean_obs);
  return found;
}

/// Scale and agreement, of all and by shells from low to high resolution.
void compare(Result& result, const SfOptions& options) {
  std::vector<const Reflection*> observed;
  double oc = 0, cc = 0;
  for (const Reflection& each : result.list) {
    if (!std::isfinite(each.f_obs) || !std::isfinite(each.d)) continue;
    observed.push_back(&each);
    oc += double{each.f_obs} * each.f_calc;
    cc += double{each.f_calc} * each.f_calc;
  }
  if (observed.empty()) throw Failure(options.data, "no amplitudes in column " + result.label);
  if (!(cc > 0 && std::isfinite(cc)))
    throw Failure(options.model, cc == 0 ? "all amplitudes are 0: none of its atoms scatters"
                                         : "its amplitudes are not finite; look at the B factors");
  result.scale = oc / cc;

  std::stable_sort(observed.begin(), observed.end(),
                   [](const Reflection* a, const Reflection* b) { return a->d > b->d; });
  const Reflection* const* const all = observed.data();
  const std::size_t n = observed.size();
  result.whole = agreement_of(all, all + n, result.scale);
  const auto volume = [](const Reflection* each) { return std::pow(each->d, -3); };
  const double low = volume(all[0]), high = volume(all[n - 1]);
  const std::size_t shells = std::clamp<std::size_t>(n / kReflectionsOfAShell, 1, kMostShells);
  for (std::size_t shell = 1, first = 0; shell <= shells; ++shell) {
    const double end = low + (high - low) * static_cast<double>(shell) / static_cast<double>(shells);
    std::size_t last = first;
    while (last < n && (shell == shells || volume(all[last]) < end)) ++last;
    if (last > first) result.shells.push_back(agreement_of(all + first, all + last, result.scale));
    first = last;
  }
}

Result compute(const SfOptions& options, const Settings& settings) {
  VXGraphMol model = read_crystal_model(options.model, settings, VXAlternates::All);
  MtzReflections data = read_reflections(options.data, options.fobs, settings);
  compare_symmetry(model, data.set.GetSymmetry(), options, settings);
  note_atoms(model, options, settings);

  Result result;
  result.label = data.label;
  const LibraryLog log;
  const bool done =
      options.table ? data.set.SFCalc(model) : VXStructureFactors(data.set, model, result.skipped);
  if (!done)
    throw Failure(options.model, log.reason(options.model, "no structure factors could be computed"));
  if (result.skipped)
    note(settings, text("%s: %u atoms skipped: of no element of the table, or without finite numbers",
                        options.model.c_str(), result.skipped));
  result.list = list_of(*data.set.GetImpl());
  result.data = {data.set, data.free_flags};
  compare(result, options);
  return result;
}

const char* method_of(const SfOptions& options) { return options.table ? "table" : "exact"; }

void put(Json& json, const Agreement& each) {
  json.field("d_max", each.d_max);
  json.field("d_min", each.d_min);
  json.field("reflections", each.reflections);
  json.field("fobs", each.mean_obs);
  json.field("fcalc", each.mean_calc);
  json.field("correlation", each.correlation);
  json.field("r", each.r);
}

void print_json(const Result& result, const SfOptions& options) {
  Json json;
  json.open_object();
  json.field("method", method_of(options));
  json.field("column", result.label);
  json.field("scale", result.scale);
  json.field("skipped", options.table ? std::nan("") : result.skipped);
  put(json, result.whole);
  json.open_array("shells");
  for (const Agreement& shell : result.shells) {
    json.open_object();
    put(json, shell);
    json.close_object();
  }
  json.close_array();
  json.close_object();
  json.print();
}

void print_table(const Result& result, const SfOptions& options) {
  const auto score = [](double value) { return std::isfinite(value) ? text("%.3f", value) : "-"; };
  std::printf("%s on %s (amplitudes from %s, %s sum)\n", options.model.c_str(), options.data.c_str(),
              result.label.c_str(), method_of(options));
  std::printf("correlation %s  R %s  scale %.4g  reflections %u of %zu\n\n",
              score(result.whole.correlation).c_str(), score(result.whole.r).c_str(), result.scale,
              result.whole.reflections, result.list.size());
  Table table({">d max", ">d min", ">reflections", ">Fobs", ">Fcalc", ">correlation", ">R"});
  for (const Agreement& shell : result.shells)
    table.add({text("%.2f", shell.d_max), text("%.2f", shell.d_min), std::to_string(shell.reflections),
               text("%.4g", shell.mean_obs), text("%.4g", shell.mean_calc), score(shell.correlation),
               score(shell.r)});
  table.print();
}

}  // namespace

void sf(const SfOptions& options, const Settings& settings) {
  const FileFormat* const format = list_format(options.output);
  Result result = compute(options, settings);
  if (format)
    write_set(result.data, options, *format, settings);
  else if (!options.output.empty())
    write_text(options.output, to_tsv(result.list));
  if (settings.json)
    print_json(result, options);
  else if (options.tsv)
    std::fputs(to_tsv(result.list).c_str(), stdout);
  else
    print_table(result, options);
}
