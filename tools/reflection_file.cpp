#include "reflection_file.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include <vxgrid/reflection/mtz.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/reflection_io.h>

#include "file_report.h"
#include "input.h"

using namespace VXCore;

namespace {

using Set = VXReflectionImpl;

/// The columns of a set beside its indices, and which text formats hold them.
struct Column {
  const char* name;
  float* Set::*reals;  // null for a column of ints
  int* Set::*ints;
  bool in_phs, in_fob;

  bool is_in(const Set& set) const { return reals ? set.*reals != nullptr : set.*ints != nullptr; }
  bool is_held(Format format) const {
    return format == Format::VXX || (format == Format::PHS ? in_phs : in_fob);
  }
};
// clang-format off
constexpr Column kColumns[] = {
  {"fobs",       &Set::fobs,       nullptr,       true,  true},
  {"sigma",      &Set::sigma,      nullptr,       false, true},
  {"phase",      &Set::phase,      nullptr,       true,  true},
  {"fom",        &Set::fom,        nullptr,       true,  true},
  {"fcalc",      &Set::fcalc,      nullptr,       false, true},
  {"phase_calc", &Set::phase_calc, nullptr,       false, true},
  {"hla",        &Set::hla,        nullptr,       true,  true},
  {"hlb",        &Set::hlb,        nullptr,       true,  true},
  {"hlc",        &Set::hlc,        nullptr,       true,  true},
  {"hld",        &Set::hld,        nullptr,       true,  true},
  {"rfree",      nullptr,          &Set::rfree,   false, true},
  {"centric",    nullptr,          &Set::centric, false, false},
  {"fwt",        &Set::fwt,        nullptr,       false, false},
  {"phiwt",      &Set::phiwt,      nullptr,       false, false},
  {"fdelwt",     &Set::fdelwt,     nullptr,       false, false},
  {"phidelwt",   &Set::phidelwt,   nullptr,       false, false},
};

/// Labels of MTZ files by their role, the first that is there counts.
struct Labels { VXMTZColumnNames::Role role; std::initializer_list<const char*> labels; };
const Labels kLabels[] = {
  {VXMTZColumnNames::Fobs,      {"FP", "F", "F-obs", "FOBS"}},
  {VXMTZColumnNames::Fcalc,     {"FC", "F-model", "FCALC"}},
  {VXMTZColumnNames::Phase,     {"PHI", "PHIB"}},
  {VXMTZColumnNames::PhaseCalc, {"PHIC", "PHIF-model", "PHIFCALC"}},
  {VXMTZColumnNames::Sigma,     {"SIGFP", "SIGF", "SIGF-obs", "SIGFOBS"}},
  {VXMTZColumnNames::FreeFlag,  {"FreeR_flag", "FREE", "R-free-flags"}},
  {VXMTZColumnNames::Fwt,       {"FWT", "2FOFCWT"}},
  {VXMTZColumnNames::Phiwt,     {"PHWT", "PH2FOFCWT"}},
  {VXMTZColumnNames::Fdelwt,    {"DELFWT", "FOFCWT"}},
  {VXMTZColumnNames::Phidelwt,  {"PHDELWT", "PHFOFCWT"}},
};
// clang-format on

bool read_mtz(const std::string& file, VXHost::vxistream& in, VXReflection& set) {
  const std::vector<MtzColumn> columns = read_columns(file, in);
  const auto is_there = [&](const char* label) {
    return std::any_of(columns.begin(), columns.end(),
                       [label](const MtzColumn& column) { return column.label == label; });
  };
  VXMTZColumnNames names;
  for (const Labels& each : kLabels)
    if (const auto* label = std::find_if(each.labels.begin(), each.labels.end(), is_there);
        label != each.labels.end())
      names.SetColumnName(each.role, *label);
  return VXReadReflectionMTZ(in, set, names);
}

bool read(const std::string& file, InputFile& input, VXReflection& set) {
  VXHost::vxistream& in = input.stream();
  switch (input.format().id) {
    case Format::MTZ:
      return read_mtz(file, in, set);
    case Format::CIF:
      return VXReadReflectionCIF(in, set);
    case Format::PHS:
      return VXReadReflectionPHS(in, set);
    case Format::FOB:
      return VXReadReflectionXPLOR(in, set);
    case Format::HKL:
      return VXReadReflectionHKL(in, set);
    case Format::VXX:
      return VXReadReflectionVXX(in, set) == 0;
    default:
      throw Failure(file, "not a reflection file");
  }
}

/// The names of the columns that are there, with "hl" for the four coefficients, which go together.
std::vector<std::string> columns_of(const Set& set, const std::function<bool(const Column&)>& wanted) {
  std::vector<std::string> names;
  for (const Column& column : kColumns) {
    if (!column.is_in(set) || !wanted(column)) continue;
    const std::string name = column.name;
    if (name.substr(0, 2) != "hl")
      names.push_back(name);
    else if (name == "hla")
      names.emplace_back("hl");
  }
  return names;
}

std::string losses(const Set& set, Format format) {
  std::vector<std::string> lost;
  if (format == Format::VXX) return "";
  if (set.symmetry.cell().isValid()) lost.emplace_back("the cell");
  if (set.symmetry) lost.emplace_back("the space group");
  const std::vector<std::string> columns =
      columns_of(set, [format](const Column& column) { return !column.is_held(format); });
  if (!columns.empty()) lost.push_back("columns " + join(columns, " "));
  return join(lost, ", ");
}

/// Text formats pair an amplitude with a phase.
void need_phases(Set& set, const std::string& source, const Settings& settings) {
  if (set.phase || !set.fobs) return;
  const std::vector<float> zeros(set.nref, 0.0f);
  note(settings, source + ": there are no phases beside the observed amplitudes; " +
                     (set.phase_calc ? "those of the model are written" : "0 is written"));
  set.SetPhase(set.phase_calc ? set.phase_calc : zeros.data(), set.nref);
}

/// Takes the reflections away that lack a value in a column that is written; how many those were.
unsigned keep_complete(Set& set, Format format) {
  unsigned kept = 0;
  for (unsigned i = 0; i < set.nref; ++i) {
    const bool is_complete = std::all_of(std::begin(kColumns), std::end(kColumns), [&](const Column& column) {
      return !column.reals || !(set.*column.reals) || !column.is_held(format) ||
             std::isfinite((set.*column.reals)[i]);
    });
    if (is_complete) set.copy_element(kept++, i);
  }
  const unsigned dropped = set.nref - kept;
  if (dropped) set.SetCount(kept);
  return dropped;
}

}  // namespace

VXReflection read_reflection_file(const std::string& file, InputFile& input, const Settings& settings) {
  VXReflection set;
  const LibraryLog log;
  if (!read(file, input, set))
    throw Failure(file,
                  log.reason(file, input.format().id == Format::CIF
                                       ? "there are no reflections with indices, F_meas_sigma and F_meas "
                                         "or F_squared_meas"
                                       : "its reflections cannot be read"));
  if (set.GetCount() == 0) throw Failure(file, log.reason(file, "there are no reflections in this file"));
  log.pass_on(settings, file);
  const Set& data = *set.GetImpl();
  if (input.format().id == Format::CIF && data.fobs && data.sigma &&
      std::equal(data.fobs, data.fobs + data.nref, data.sigma))
    note(settings,
         file +
             ": the amplitudes read are the sigmas: the last column whose name holds F_meas counts, "
             "and in this file it is F_meas_sigma");
  return set;
}

const FileFormat& reflection_output(const std::string& file, const std::string& to) {
  const FileFormat* const format = to.empty() ? format_by_extension(file) : format_named(to);
  if (!format || format->kind != FileKind::Reflections || !format->is_written)
    throw Failure(file, "no list of reflections is written under this extension; there are " +
                            extensions_of(FileKind::Reflections, true));
  return *format;
}

void write_reflections(const std::string& file, const FileFormat& format, VXReflection& set,
                       const std::string& source, const Settings& settings) {
  Set& data = *set.GetImpl();
  if (const std::string lost = losses(data, format.id); !lost.empty())
    note(settings, text("%s: not kept in the %s format: %s", source.c_str(), format.title, lost.c_str()));
  if (format.id != Format::VXX) {
    need_phases(data, source, settings);
    if (format.id == Format::PHS && (!data.fobs || !data.fom))
      throw Failure(source, std::string("there are no ") + (data.fobs ? "figures of merit" : "amplitudes") +
                                ", which a PHS file has to have");
    if (const unsigned dropped = keep_complete(data, format.id))
      note(settings, text("%s: %u reflections left out that lack a value", source.c_str(), dropped));
    if (data.nref == 0) throw Failure(source, "there is no reflection with all values");
  }
  write_file(file, [&](VXHost::vxostream& out) {
    return format.id == Format::PHS   ? VXWriteReflectionPHS(out, set)
           : format.id == Format::FOB ? VXWriteReflectionXPLOR(out, set)
                                      : VXWriteReflectionVXX(out, set);
  });
}

void report_reflections(const std::string& file, const FileFormat& format, VXReflection set, Json* json) {
  const Set& data = *set.GetImpl();
  Report report(file, "reflections", json);
  report.field("format", format.title);
  report.field("reflections", set.GetCount());
  report.list("columns", columns_of(data, [](const Column&) { return true; }));
  if (data.h && data.k && data.l) {
    std::vector<int> ranges;
    for (const int* index : {data.h, data.k, data.l}) {
      const auto [low, high] = std::minmax_element(index, index + data.nref);
      ranges.insert(ranges.end(), {*low, *high});
    }
    if (json)
      report.list("indices", ranges);
    else
      report.line("indices", text("h %d to %d, k %d to %d, l %d to %d", ranges[0], ranges[1], ranges[2],
                                  ranges[3], ranges[4], ranges[5]));
  }
  report.cell(data.symmetry.cell());
  if (!data.symmetry) return;
  report.group(static_cast<int>(data.symmetry.GetNumber()), data.symmetry.GetName());
  const LibraryLog log;
  if (!set.CalcResolution()) return;
  const auto [low, high] = std::minmax_element(data.stolsq, data.stolsq + data.nref);
  const double d_low = 0.5 / std::sqrt(double{*low}), d_high = 0.5 / std::sqrt(double{*high});
  if (json) {
    json->open_object("resolution");
    json->field("low", d_low);
    json->field("high", d_high);
    json->close_object();
  } else {
    report.line("resolution", text("%.2f - %.2f Å", d_low, d_high));
  }
}
