#include "reflection_file.h"

#include <algorithm>
#include <cmath>

#include <vxgrid/reflection/mtz_labels.h>
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
  float* Set::*partner;  // text pairs amplitudes with phases

  bool is_in(const Set& set) const { return reals ? set.*reals != nullptr : set.*ints != nullptr; }
  bool is_held(const Set& set, Format format) const {
    if (format == Format::VXX) return true;
    return (format == Format::PHS ? in_phs : in_fob) && (!partner || set.*partner);
  }
};
// clang-format off
constexpr Column kColumns[] = {
  {"fobs",       &Set::fobs,       nullptr,       true,  true,  &Set::phase},
  {"sigma",      &Set::sigma,      nullptr,       false, true,  nullptr},
  {"phase",      &Set::phase,      nullptr,       true,  true,  &Set::fobs},
  {"fom",        &Set::fom,        nullptr,       true,  true,  nullptr},
  {"fcalc",      &Set::fcalc,      nullptr,       false, true,  &Set::phase_calc},
  {"phase_calc", &Set::phase_calc, nullptr,       false, true,  &Set::fcalc},
  {"hla",        &Set::hla,        nullptr,       true,  true,  nullptr},
  {"hlb",        &Set::hlb,        nullptr,       true,  true,  nullptr},
  {"hlc",        &Set::hlc,        nullptr,       true,  true,  nullptr},
  {"hld",        &Set::hld,        nullptr,       true,  true,  nullptr},
  {"rfree",      nullptr,          &Set::rfree,   false, true,  nullptr},
  {"centric",    nullptr,          &Set::centric, false, false, nullptr},
  {"fwt",        &Set::fwt,        nullptr,       false, false, nullptr},
  {"phiwt",      &Set::phiwt,      nullptr,       false, false, nullptr},
  {"fdelwt",     &Set::fdelwt,     nullptr,       false, false, nullptr},
  {"phidelwt",   &Set::phidelwt,   nullptr,       false, false, nullptr},
};
// clang-format on

bool read_mtz(const std::string& file, VXHost::vxistream& in, ReflectionFile& data) {
  const std::vector<MtzColumn> columns = read_columns(file, in);
  std::vector<std::string> labels;
  for (const MtzColumn& column : columns) labels.push_back(column.label);
  data.free_flags = free_flags_of(columns);
  return VXReadReflectionMTZ(in, data.set, VXUsualMTZColumnNames(labels));
}

bool read(const std::string& file, InputFile& input, ReflectionFile& data) {
  VXHost::vxistream& in = input.stream();
  VXReflection& set = data.set;
  switch (input.format().id) {
    case Format::MTZ:
      return read_mtz(file, in, data);
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
      columns_of(set, [&](const Column& column) { return !column.is_held(set, format); });
  if (!columns.empty()) lost.push_back("columns " + join(columns, " "));
  return join(lost, ", ");
}

/// Text formats pair an amplitude with a phase: what is put in the place of missing ones, null for nothing.
const char* add_phases(Set& set) {
  if (set.phase || !set.fobs) return nullptr;
  const std::vector<float> zeros(set.nref, 0.0f);
  set.SetPhase(set.phase_calc ? set.phase_calc : zeros.data(), set.nref);
  return set.phase_calc ? "those of the model are" : "0 is";
}

/// Takes the reflections away that lack a value in a column that is written; how many those were.
unsigned keep_complete(Set& set, Format format) {
  unsigned kept = 0;
  for (unsigned i = 0; i < set.nref; ++i) {
    const bool is_complete = std::all_of(std::begin(kColumns), std::end(kColumns), [&](const Column& column) {
      return !column.reals || !(set.*column.reals) || !column.is_held(set, format) ||
             std::isfinite((set.*column.reals)[i]);
    });
    if (is_complete) set.copy_element(kept++, i);
  }
  const unsigned dropped = set.nref - kept;
  if (dropped) set.SetCount(kept);
  return dropped;
}

}  // namespace

ReflectionFile read_reflection_file(const std::string& file, InputFile& input, const Settings& settings) {
  ReflectionFile found;
  const LibraryLog log;
  const bool is_read = read(file, input, found);
  require_undamaged(file, input.stream());
  if (!is_read)
    throw Failure(file,
                  log.reason(file, input.format().id == Format::CIF
                                       ? "there are no reflections with indices, F_meas_sigma and F_meas "
                                         "or F_squared_meas"
                                       : "its reflections cannot be read"));
  if (found.set.GetCount() == 0)
    throw Failure(file, log.reason(file, "there are no reflections in this file"));
  log.pass_on(settings, file);
  const Set& data = *found.set.GetImpl();
  if (input.format().id == Format::CIF && data.fobs && data.sigma &&
      std::equal(data.fobs, data.fobs + data.nref, data.sigma))
    note(settings,
         file +
             ": the amplitudes read are the sigmas: the last column whose name holds F_meas counts, "
             "and in this file it is F_meas_sigma");
  return found;
}

const FileFormat& reflection_output(const std::string& file, const std::string& to,
                                    const std::string& further) {
  const FileFormat* const format = to.empty() ? format_by_extension(file) : format_named(to);
  if (!format || format->kind != FileKind::Reflections || !format->is_written)
    throw Failure(file, "no list of reflections is written under this extension; there are " + further +
                            extensions_of(FileKind::Reflections, true));
  return *format;
}

void write_reflections(const std::string& file, const FileFormat& format, ReflectionFile& from,
                       const std::string& source, const Settings& settings) {
  VXReflection& set = from.set;
  Set& data = *set.GetImpl();
  const bool is_text = format.id != Format::VXX;
  const char* const phases = is_text ? add_phases(data) : nullptr;
  if (format.id == Format::PHS && (!data.fobs || !data.fom))
    throw Failure(source, std::string("there are no ") + (data.fobs ? "figures of merit" : "amplitudes") +
                              ", which a PHS file has to have");
  if (columns_of(data, [&](const Column& column) { return column.is_held(data, format.id); }).empty()) {
    const std::vector<std::string> names = columns_of(data, [](const Column&) { return true; });
    throw Failure(source, names.empty() ? "it has no columns beside its indices"
                                        : text("the %s format holds none of its columns (%s)", format.title,
                                               join(names, " ").c_str()));
  }
  const unsigned dropped = is_text ? keep_complete(data, format.id) : 0;
  if (data.nref == 0) throw Failure(source, "there is no reflection with all values");
  write_file(file, [&](VXHost::vxostream& out) {
    return format.id == Format::PHS   ? VXWriteReflectionPHS(out, set)
           : format.id == Format::FOB ? VXWriteReflectionXPLOR(out, set)
                                      : VXWriteReflectionVXX(out, set);
  });

  const auto tell = [&](const std::string& line) { note(settings, source + ": " + line); };
  if (const std::string lost = losses(data, format.id); !lost.empty())
    tell(text("not kept in the %s format: %s", format.title, lost.c_str()));
  if (!from.free_flags.empty() && format.id != Format::PHS)
    tell("free flags (" + from.free_flags + ") are not read");
  if (phases) tell(std::string("there are no phases beside the observed amplitudes; ") + phases + " written");
  if (dropped) tell(text("%u reflections left out that lack a value", dropped));
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
