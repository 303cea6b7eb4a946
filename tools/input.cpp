#include "input.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>

#include <vxgrid/host/residue.h>
#include <vxgrid/host/text.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/reflection/fft_backend.h>
#include <vxgrid/reflection/mtz_labels.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/xtal/xtal_symmetry.h>

using namespace VXCore;
using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

constexpr const char* kMapTypes[] = {"Fwt",     "Fdelwt", "2Fo-Fc", "Fo-Fc",          "3Fo-2Fc",
                                     "5Fo-3Fc", "Fo",     "Fc",     "2Fo-Fc(SigmaA)", "Fo-Fc(SigmaA)"};

/// True when the text header of an MTZ file reaches its END record.
bool has_whole_header(VXHost::vxistream& in, const std::string& head) {
  const std::int32_t pointer = word(head, 1, head[9] == 17);
  if (pointer < 21 || !in.seek(4ull * static_cast<unsigned>(pointer) - 4)) return false;
  std::string record;
  while (in.read(record, 80) == 80)
    if (record.compare(0, 4, "END ") == 0) return true;
  return record.compare(0, 3, "END") == 0;
}

void set_columns(VXMTZColumns& columns, unsigned type, const std::string& amplitude,
                 const std::string& phase) {
  using namespace VXMTZMapType;
  switch (type) {
    case Fwt:
      columns.SetFwt(amplitude), columns.SetPhiwt(phase);
      break;
    case Fdelwt:
      columns.SetFdelwt(amplitude), columns.SetPhidelwt(phase);
      break;
    case Fc:
      columns.SetFc(amplitude), columns.SetPhic(phase);
      break;
    case Fo:
      columns.SetFobs(amplitude), columns.SetPhi(phase);
      break;
    default:
      columns.SetFobs(amplitude), columns.SetPhic(phase);
      break;
  }
}

bool have_all(const VXMTZ& mtz, const std::vector<std::string>& labels, std::string& missing) {
  for (const std::string& label : labels)
    if (!mtz.FindColumn(label)) {
      missing = label;
      return false;
    }
  return true;
}

std::string list_columns(const std::vector<MtzColumn>& columns) {
  std::vector<std::string> words;
  for (const MtzColumn& column : columns) words.push_back(column.label + ":" + column.type);
  return join(words, " ");
}

/// The columns of what has to be an MTZ file.
std::vector<MtzColumn> read_mtz_columns(const std::string& file, InputFile& input) {
  if (input.format().kind != FileKind::Mtz) throw Failure(file, "not an MTZ file");
  return read_columns(file, input.stream());
}

/// Refuses labels given by hand whose types say that they are something else: intensities, or the two
/// swapped.
void check_types(const std::string& file, const std::vector<MtzColumn>& columns, const std::string& amplitude,
                 const std::string& phase) {
  for (const MtzColumn& column : columns) {
    const bool is_phase = column.type == 'P', is_intensity = column.type == 'J' || column.type == 'K';
    if (column.label == amplitude && (is_phase || is_intensity))
      throw Failure(file, text("column %s holds %s, --columns takes AMPLITUDE,PHASE", amplitude.c_str(),
                               is_phase ? "phases" : "intensities"));
    if (column.label == phase && !is_phase)
      throw Failure(file, text("column %s holds no phases (its type is %c), --columns takes AMPLITUDE,PHASE",
                               phase.c_str(), column.type));
  }
}

}  // namespace

void require_model_name(const std::string& file) {
  if (VXGetMoleculeFile(file) == VXMoleculeFile::Unknown)
    throw Failure(file, "holds coordinates; their format goes by the extension: " +
                            extensions_of(FileKind::Model, false));
}

VXGraphMol read_model(const std::string& file, const Settings& settings, VXAlternates alternates) {
  InputFile input(file);
  if (input.format().kind != FileKind::Model) throw Failure(file, "not a model");
  require_model_name(file);
  require_undamaged(file, input.stream());  // behind the first molecule, too
  const LibraryLog log;
  VXGraphMol model;
  if (!VXReadMolecule(file, model, alternates))
    throw Failure(file, log.reason(file, "cannot be read as a model"));
  log.pass_on(settings, file);
  if (!model) throw Failure(file, "there are no atoms in this file");
  return model;
}

VXGraphMol read_crystal_model(const std::string& file, const Settings& settings, VXAlternates alternates) {
  VXGraphMol model = read_model(file, settings, alternates);
  if (!VXHasResidues(model))
    throw Failure(file,
                  "no residue data (B factors, occupancies) in this file; a PDB or mmCIF file has them");
  return model;
}

VXSymmetry model_symmetry(VXGraphMol& model) {
  VXSymmetry symmetry;
  if (VXHasCrystalSymmetryImpl(model) && VXXtal::VXSetXtalSymmetryFromPDBData(model))
    VXXtal::VXGetXtalSymmetry(model, symmetry);
  return symmetry;
}

void write_text(const std::string& file, const std::string& text) {
  write_file(file, [&](VXHost::vxostream& out) { return !(out << text).fail(); });
}

std::vector<std::string> map_types() { return {std::begin(kMapTypes), std::end(kMapTypes)}; }

std::vector<MtzColumn> read_columns(const std::string& file, VXHost::vxistream& in) {
  std::string head;
  in.read(head, 80);
  if (head.compare(0, 4, "MTZ ") != 0)
    throw Failure(file, "not an MTZ file: it does not start with \"MTZ \"");
  const bool is_whole = head.size() == 80 && has_whole_header(in, head);
  require_undamaged(file, in);
  if (!is_whole) throw Failure(file, "the header at the end of the file is cut off");

  in.seek(0);
  std::vector<std::string> labels;
  std::vector<char> types;
  if (!VXGetMTZFileColumnNamesAndTypes(in, labels, types)) throw Failure(file, "its header lists no columns");
  in.seek(0);
  std::vector<MtzColumn> columns;
  for (size_t i = 0; i < labels.size(); ++i) columns.push_back({labels[i], types[i]});
  return columns;
}

std::string free_flags_of(const std::vector<MtzColumn>& columns) {
  for (const MtzColumn& column : columns) {
    std::string lower = column.label;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return std::tolower(c); });
    if (column.type == 'I' && lower.find("free") != lower.npos) return column.label;
  }
  return "";
}

std::vector<MapChoice> possible_maps(const std::string& file, VXHost::vxistream& in) {
  const LibraryLog log;
  const VXMTZ mtz(in, file);
  const VXMTZColumns columns = VXUsualMTZColumns(mtz);
  std::vector<MapChoice> choices;
  std::string missing;
  for (const char* type : kMapTypes) {
    std::vector<std::string> labels = VXMTZMapLabels(VXMTZMapTypeFromString(type), columns);
    if (have_all(mtz, labels, missing)) choices.push_back({type, std::move(labels)});
  }
  return choices;
}

MtzMap make_map(const std::string& file, InputFile& input, const MapOptions& options,
                const Settings& settings) {
  const std::vector<MtzColumn> file_columns = read_mtz_columns(file, input);
  VXSetFFTBackend(options.fft == "fftw2" ? VXFFTBackend::FFTW2 : VXFFTBackend::PocketFFT);

  const LibraryLog log;
  const VXMTZ mtz(input.stream(), file);
  const unsigned type = VXMTZMapTypeFromString(options.type_or_default());
  VXMTZColumns columns = VXUsualMTZColumns(mtz);
  if (const size_t comma = options.columns.find(','); comma != std::string::npos) {
    const std::string amplitude = options.columns.substr(0, comma), phase = options.columns.substr(comma + 1);
    check_types(file, file_columns, amplitude, phase);
    set_columns(columns, type, amplitude, phase);
  }

  MtzMap map;
  map.labels = VXMTZMapLabels(type, columns);
  std::string missing;
  if (!have_all(mtz, map.labels, missing))
    throw Failure(
        file, text("no column %s for a map of type %s; name others with --columns AMPLITUDE,PHASE. "
                   "There are (label:type): %s",
                   missing.c_str(), options.type_or_default().c_str(), list_columns(file_columns).c_str()));
  if (type == VXMTZMapType::Fo) columns.SetPhi(map.labels[1]);
  if (!mtz.MakeMap(map.grid, type, columns, false, false))
    throw Failure(file, log.reason(file, "no map could be made of these reflections"));
  const VXZemoGrid& inner = map.grid.GetImpl().GetImpl();
  if (!std::isfinite(inner.GetData<float>(AMEAN)))
    throw Failure(file, "the map has infinite values, from columns " + join(map.labels, ", "));
  if (inner.GetData<float>(ARMS) == 0)
    throw Failure(file, "the map is flat: no values but 0 in columns " + join(map.labels, ", "));
  log.pass_on(settings, file);
  return map;
}

MtzReflections read_reflections(const std::string& file, const std::string& label, const Settings& settings) {
  InputFile input(file);
  const std::vector<MtzColumn> file_columns = read_mtz_columns(file, input);
  const LibraryLog log;
  MtzReflections found;
  found.label = label.empty() ? VXUsualMTZColumns(VXMTZ(input.stream(), file)).GetFobs() : label;
  found.free_flags = free_flags_of(file_columns);
  const auto column = std::find_if(file_columns.begin(), file_columns.end(),
                                   [&](const MtzColumn& each) { return each.label == found.label; });
  if (column == file_columns.end())
    throw Failure(file, text("no column %s of observed amplitudes; name another with --fobs LABEL. There are "
                             "(label:type): %s",
                             found.label.c_str(), list_columns(file_columns).c_str()));
  if (column->type != 'F' && column->type != 'G')
    throw Failure(file,
                  text("column %s holds no amplitudes (its type is %c)", found.label.c_str(), column->type));

  VXMTZColumnNames names;
  names.SetColumnName(VXMTZColumnNames::Fobs, found.label);
  if (!VXReadReflectionMTZ(input.stream(), found.set, names))
    throw Failure(file, log.reason(file, "its reflections cannot be read"));
  if (!found.set.GetImpl()->fobs) throw Failure(file, "there are no reflections in this file");
  if (!found.set.CalcResolution())
    throw Failure(file, log.reason(file, "no space group, cell or Miller indices in this file"));
  log.pass_on(settings, file);
  return found;
}

std::string cell_text(const VXUnitCell& cell) {
  return text("%.6g %.6g %.6g %.6g %.6g %.6g", cell.a, cell.b, cell.c, cell.alpha, cell.beta, cell.gamma);
}
