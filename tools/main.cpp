#include <cmath>
#include <cstdio>
#include <functional>
#include <new>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <vxgrid/host/version.h>

#include "verbs.h"

namespace {

/// A verb with what all of them take (--json, --quiet, -h) and an example below its help.
CLI::App* add_verb(CLI::App& app, Settings& settings, const char* name, const char* does, const char* example,
                   const char* json = "print one JSON document") {
  CLI::App* verb = app.add_subcommand(name, does);
  verb->add_flag("--json", settings.json, json);
  verb->add_flag("-q,--quiet", settings.quiet, "no remarks and no progress on standard error");
  verb->footer(std::string("Example: vxgrid ") + example);
  return verb;
}

/// CLI::Range would take what is no number.
template <class T>
CLI::Validator in_range(T low, T high) {
  const auto digits = [](T number) { return shortest(static_cast<double>(number)); };
  const std::string range = "from " + digits(low) + " to " + digits(high);
  const auto fault = [=](std::string& given) {
    T value{};
    const bool inside = CLI::detail::lexical_cast(given, value) && value >= low && value <= high;
    return inside ? std::string() : given + " is no number " + range;
  };
  return CLI::Validator(fault, range);
}

std::string check_columns(const std::string& given) {
  const size_t comma = given.find(',');
  const bool two = comma != std::string::npos && comma > 0 && comma + 1 < given.size();
  return two ? "" : "takes two labels, AMPLITUDE,PHASE";
}

/// "X,Y,Z" as three numbers; none when it is something else.
std::vector<double> place_of(const std::string& given) {
  std::vector<double> place;
  for (const std::string& part : CLI::detail::split(given, ',')) {
    double number = 0;
    if (!CLI::detail::lexical_cast(part, number) || !(std::fabs(number) <= 1e6)) return {};
    place.push_back(number);
  }
  return place.size() == 3 ? place : std::vector<double>();
}

std::string check_place(const std::string& given) {
  return place_of(given).empty() ? "takes three numbers, X,Y,Z, in Å" : "";
}

/// An option for what standard input or output cannot stand for: `cure` tells what to do.
template <class T>
CLI::Option* add_named_file(CLI::App* verb, const char* option, T& to, const std::string& what,
                            const char* cure) {
  const auto fault = [verb, cure](const std::string& given) {
    return given == "-" ? "vxgrid " + verb->get_name() + " takes no - here; " + cure : "";
  };
  return verb->add_option(option, to, what)->check(fault);
}

template <class T>
CLI::Option* add_model(CLI::App* verb, const char* option, T& to, const std::string& what) {
  return add_named_file(verb, option, to, what,
                        "coordinates come from a file, whose extension tells their format");
}

CLI::Option* add_map_output(CLI::App* verb, std::string& to, const std::string& what) {
  return add_named_file(verb, "-o,--output", to, what,
                        "write to a file, and vxgrid convert FILE - --to FORMAT prints it");
}

void add_map_options(CLI::App* verb, MapOptions& options) {
  verb->add_option("--type", options.type, "map type")
      ->check(CLI::IsMember(map_types()))
      ->type_name("TYPE")
      ->default_str(options.type_or_default());
  verb->add_option("--columns", options.columns, "labels in the MTZ file, for others than the usual ones")
      ->check(check_columns)
      ->type_name("AMPLITUDE,PHASE");
  verb->add_option("--fft", options.fft,
                   "library of the Fourier transform: fftw2, pocketfft (faster, and the default)")
      ->check(CLI::IsMember({"fftw2", "pocketfft"}))
      ->type_name("NAME");
}

void add_format_options(CLI::App* verb, FileKind kind, std::string& from, std::string& to) {
  std::vector<std::string> names = format_names(kind, false);
  if (kind == FileKind::Reflections)
    for (const std::string& name : format_names(FileKind::Mtz, false)) names.push_back(name);
  verb->add_option("--from", from, "format of IN; by default by its extension or its content")
      ->check(CLI::IsMember(names))
      ->type_name("FORMAT");
  verb->add_option("--to", to, "format of what is written; by default by its extension")
      ->check(CLI::IsMember(format_names(kind, true)))
      ->type_name("FORMAT");
}

void add_level_option(CLI::App* verb, LevelOption& level, const std::string& what) {
  verb->add_option("--level", level.number, what)->check(in_range(-1e30, 1e30))->type_name("L");
  verb->add_flag("--sigma", level.in_sigma, "the level is in r.m.s. of the map, above its mean");
}

void add_grid_options(CLI::App* verb, std::string& output, float& spacing, bool& no_hydrogens) {
  add_map_output(verb, output, "map to write; its extension gives the format")->required();
  verb->add_option("--spacing", spacing, "between grid points, in Å")
      ->check(in_range(0.001, 1e9))
      ->type_name("S")
      ->capture_default_str();
  verb->add_flag("--no-hydrogens", no_hydrogens, "leave hydrogens out");
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Electron-density maps and how well models fit them; the shapes of molecules.", "vxgrid");
  app.set_version_flag("--version", std::string("vxgrid ") + VXCore::VXGridGetVersion());
  app.require_subcommand(1);
  Settings settings;
  std::function<void()> work;  // of the verb that is given

  InfoOptions of_info;
  CLI::App* verb = add_verb(app, settings, "info", "say what map, reflection and coordinate files hold",
                            "info data.mtz model.pdb density.map");
  verb->add_option("FILE", of_info.files, "any number of files, - for a map or reflections on standard input")
      ->required();
  verb->callback([&] { work = [&] { info(of_info, settings); }; });

  MapVerbOptions of_map;
  verb = add_verb(app, settings, "map", "make a map from reflections",
                  "map data.mtz -o difference.map --type Fdelwt");
  verb->add_option("DATA", of_map.data, "reflections: .mtz, also .mtz.gz")->required();
  add_map_output(verb, of_map.output, "map to write; its extension gives the format")->required();
  add_map_options(verb, of_map.map);
  verb->callback([&] { work = [&] { map(of_map, settings); }; });

  FitOptions of_fit;
  verb = add_verb(app, settings, "fit", "score a model against a map: RSCC and RSR, whole and per residue",
                  "fit model.pdb data.mtz --sort");
  add_model(verb, "MODEL", of_fit.model, "coordinates: .pdb, .ent, .cif, .mmcif, also .gz")->required();
  verb->add_option("DATA", of_fit.data, "reflections (.mtz) or a map")->required();
  verb->add_option("--radius", of_fit.radius,
                   "mask radius about the atoms in Å; by default from the resolution")
      ->check(in_range(0.01, 10.0))
      ->type_name("R");
  verb->add_flag("--sort", of_fit.sort, "worst residues first");
  add_map_options(verb, of_fit.map);
  verb->callback([&] { work = [&] { fit(of_fit, settings); }; });

  SfOptions of_sf;
  verb = add_verb(app, settings, "sf", "structure factors of a model, against the observed amplitudes",
                  "sf model.pdb data.mtz -o model.tsv");
  add_model(verb, "MODEL", of_sf.model, "coordinates: .pdb, .ent, .cif, .mmcif, also .gz")->required();
  verb->add_option("DATA", of_sf.data, "reflections: .mtz, also .mtz.gz")->required();
  add_named_file(
      verb, "-o,--output", of_sf.output,
      "list of reflections to write: .tsv " + extensions_of(FileKind::Reflections, true) + ", also .gz",
      "write to a file; --tsv prints the list");
  verb->add_option("--fobs", of_sf.fobs, "column of observed amplitudes, for another than the usual ones")
      ->type_name("LABEL");
  verb->add_flag("--table", of_sf.table, "sum by tables in whole degrees: coarser, and faster");
  verb->add_flag("--tsv", of_sf.tsv, "the list of reflections in place of the figures")->excludes("--json");
  verb->callback([&] { work = [&] { sf(of_sf, settings); }; });

  ConvertOptions of_convert;
  verb = add_verb(app, settings, "convert", "turn one map format into another",
                  "convert density.ccp4 density.vxb");
  verb->add_option("IN", of_convert.input,
                   "map to read: " + extensions_of(FileKind::Map, false) + ", also .gz, - for standard input")
      ->required();
  verb->add_option(
          "OUT", of_convert.output,
          "map to write: " + extensions_of(FileKind::Map, true) + ", also .gz, - for standard output")
      ->required();
  add_format_options(verb, FileKind::Map, of_convert.from, of_convert.to);
  verb->callback([&] { work = [&] { convert(of_convert, settings); }; });

  ReflectionsOptions of_reflections;
  verb = add_verb(app, settings, "reflections", "say what a reflection file holds, or convert it",
                  "reflections data.mtz -o data.fob");
  verb->add_option("IN", of_reflections.input,
                   "reflections: " + extensions_of(FileKind::Mtz, false) + " " +
                       extensions_of(FileKind::Reflections, false) + ", also .gz, - for standard input")
      ->required();
  verb->add_option(
      "-o,--output", of_reflections.output,
      "file to write: " + extensions_of(FileKind::Reflections, true) + ", also .gz, - for standard output");
  add_format_options(verb, FileKind::Reflections, of_reflections.from, of_reflections.to);
  verb->callback([&] { work = [&] { reflections(of_reflections, settings); }; });

  SymmetryOptions of_symmetry;
  verb = add_verb(app, settings, "symmetry", "operators of a space group, or all groups",
                  "symmetry \"P 65 2 2\"");
  CLI::Option* group = verb->add_option("GROUP", of_symmetry.group, "number (179) or name (P6522)");
  verb->add_flag("--tsv", of_symmetry.tsv, "the whole table, tab-separated")->excludes(group);
  verb->callback([&, group] {
    of_symmetry.one = !group->empty();
    work = [&] { symmetry(of_symmetry, settings); };
  });

  GaussOptions of_gauss;
  verb = add_verb(app, settings, "gauss", "make a map of a molecule's Gaussians",
                  "gauss ligand.sdf -o ligand.map --spacing 0.25");
  add_model(verb, "MODEL", of_gauss.model, "coordinates; of several molecules the first")->required();
  add_grid_options(verb, of_gauss.output, of_gauss.spacing, of_gauss.no_hydrogens);
  verb->add_flag("--product", of_gauss.product, "a soft union of the atoms in place of the sum");
  verb->callback([&] { work = [&] { gauss(of_gauss, settings); }; });

  ShapeOptions of_shape;
  verb = add_verb(app, settings, "shape", "volumes and shape moments, a row a molecule",
                  "shape ligands.sdf --tsv", "print one JSON document a molecule, each on a line");
  add_model(verb, "FILE", of_shape.files, "coordinates: .sdf, .mol, .mol2, .pdb, .cif, also .gz")->required();
  verb->add_flag("--tsv", of_shape.tsv, "tab-separated columns, all digits")->excludes("--json");
  verb->callback([&] { work = [&] { shape(of_shape, settings); }; });

  GfitOptions of_gfit;
  verb = add_verb(app, settings, "gfit", "express a map by a few Gaussians",
                  "gfit ligand.map -o gaussians.json --max 50");
  verb->add_option("GRID", of_gfit.grid, "map of any format that convert reads")->required();
  verb->add_option("-o,--output", of_gfit.output, "JSON document to write, - for standard output")
      ->required();
  verb->add_option("--tolerance", of_gfit.tolerance,
                   "end before a Gaussian that takes away less than this share of the map's energy")
      ->check(in_range(1e-12, 1.0))
      ->capture_default_str();
  verb->add_option("--levels", of_gfit.levels, "widths to choose from: radii 3.2, 2.2, 1.2, 0.2 Å")
      ->check(in_range(1, 4))
      ->capture_default_str();
  verb->add_option("--max", of_gfit.max_count, "most Gaussians; 0 for no limit")
      ->check(in_range(0, 1000000000))
      ->capture_default_str();
  verb->callback([&] { work = [&] { gfit(of_gfit, settings); }; });

  ContactOptions of_contact;
  verb = add_verb(app, settings, "contact", "make a map of where molecules touch, or one touches itself",
                  "contact protein.pdb ligand.sdf -o contact.map");
  add_model(verb, "MODEL", of_contact.model, "coordinates")->required();
  add_model(verb, "MODEL2", of_contact.other, "coordinates of what touches it; without, the model itself");
  add_grid_options(verb, of_contact.output, of_contact.spacing, of_contact.no_hydrogens);
  verb->add_option("--method", of_contact.method,
                   "of two models: densities (by default), or spheres, soft ones in the box of MODEL")
      ->check(CLI::IsMember({"densities", "spheres"}))
      ->type_name("NAME");
  verb->callback([&] { work = [&] { contact(of_contact, settings); }; });

  MaskOptions of_mask;
  verb = add_verb(app, settings, "mask", "cut a molecule out of a map, or all but the molecule",
                  "mask density.map ligand.sdf -o ligand.map --mode gaussian-");
  verb->add_option("GRID", of_mask.grid, "map of any format that convert reads")->required();
  add_model(verb, "MODEL", of_mask.model, "coordinates; of several molecules the first")->required();
  add_map_output(verb, of_mask.output, "map to write; its extension gives the format")->required();
  verb->add_option("--mode", of_mask.mode,
                   "gaussian empties the inside, gaussian- the outside, gaussian_smooth and gaussian_smooth- "
                   "do so softly")
      ->check(CLI::IsMember(mask_modes()))
      ->type_name("MODE")
      ->capture_default_str();
  verb->add_option("--level", of_mask.level,
                   "density of the molecule at its border; how steep the soft modes are")
      ->check(in_range(0.0, 1e9))
      ->capture_default_str();
  verb->callback([&] { work = [&] { mask(of_mask, settings); }; });

  ContoursOptions of_contours;
  verb = add_verb(app, settings, "contours", "choose contour levels by the distribution of a map's values",
                  "contours difference.map -n 5 --descending");
  verb->add_option("MAP", of_contours.map, "map of any format that convert reads")->required();
  verb->add_option("-n,--levels", of_contours.levels, "how many; below 3 the two at the ends")
      ->check(in_range(1, 10000))
      ->capture_default_str();
  verb->add_flag("--descending", of_contours.descending, "many levels near the high end, not the low one");
  verb->add_option("--limit", of_contours.limit, "end the list at the last value before this one")
      ->check(in_range(-1e30, 1e30))
      ->type_name("VALUE");
  verb->add_option("--stride", of_contours.stride, "look at every so manieth point along each axis alone")
      ->check(in_range(1, 1000000))
      ->capture_default_str();
  verb->add_flag("--tsv", of_contours.tsv, "tab-separated columns")->excludes("--json");
  CLI::Option* attach =
      verb->add_flag("--attach", of_contours.attach, "write a copy of the map that carries the contours");
  attach->needs(add_map_output(verb, of_contours.output, "where to write that copy")->needs(attach));
  verb->callback([&] { work = [&] { contours(of_contours, settings); }; });

  SkeletonOptions of_skeleton;
  verb = add_verb(app, settings, "skeleton", "thin the high parts of a map to lines",
                  "skeleton density.map -o lines.map --level 1.5 --sigma");
  verb->add_option("MAP", of_skeleton.map, "map of any format that convert reads")->required();
  add_map_output(verb, of_skeleton.output, "map to write; its extension gives the format")->required();
  add_level_option(verb, of_skeleton.level, "what is below counts as empty, in the units of the map");
  verb->get_option("--level")->required();
  verb->add_option("--spacing", of_skeleton.spacing,
                   "bring the map onto a regular grid of this spacing first, in Å")
      ->check(in_range(0.001, 1e9))
      ->type_name("S");
  verb->callback([&] { work = [&] { skeleton(of_skeleton, settings); }; });

  BlobOptions of_blob;
  verb = add_verb(app, settings, "blob", "list the largest blobs of a map, or cut one out",
                  "blob difference.map --level 3 --sigma");
  verb->add_option("MAP", of_blob.map, "map of any format that convert reads")->required();
  add_map_output(verb, of_blob.output, "map of the blob at a place; its extension gives the format");
  std::string place;
  verb->add_option("--at", place, "a place in the blob, in Å; without, the ten largest are listed")
      ->check(check_place)
      ->type_name("X,Y,Z");
  add_level_option(verb, of_blob.level,
                   "a blob holds what is not below, in the units of the map; 3 sigma by default");
  verb->add_flag("--tsv", of_blob.tsv, "tab-separated columns, all digits")->excludes("--json");
  verb->callback([&, verb] {
    if (verb->get_option("--level")->empty()) of_blob.level = {3, true};
    if (!place.empty()) of_blob.at = place_of(place);
    work = [&] { blob(of_blob, settings); };
  });

  try {
    app.parse(argc, argv);
    work();
    finish_output();
    return 0;
  } catch (const CLI::ParseError& error) {
    if (argc > 1 && argv[1][0] != '-' && app.get_subcommands().empty()) {
      std::fprintf(stderr, "vxgrid: there is no verb '%s'; vxgrid -h lists them\n", argv[1]);
      return 2;
    }
    return app.exit(error) == 0 ? 0 : 2;
  } catch (const WrongUsage& usage) {
    std::fprintf(stderr, "vxgrid: %s\n", usage.what());
    return 2;
  } catch (const Failure& failure) {
    std::fprintf(stderr, "vxgrid: %s\n", failure.what());
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "vxgrid: there is not enough memory for this work\n");
  }
  return 1;
}
