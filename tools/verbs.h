#pragma once

#include <optional>
#include <string>
#include <vector>

#include "input.h"
#include "map_values.h"
#include "report.h"

// The verbs of the command, one source file each, and what main.cpp fills in for them. A verb reads, calls
// the library and prints; what goes wrong leaves it as a Failure or a WrongUsage.

struct InfoOptions {
  std::vector<std::string> files;
};
void info(const InfoOptions& options, const Settings& settings);

struct MapVerbOptions {
  std::string data, output;
  MapOptions map;
};
void map(const MapVerbOptions& options, const Settings& settings);

struct FitOptions {
  std::string model, data;
  double radius = 0;  // Å; 0 for that of the resolution
  bool sort = false;
  MapOptions map;
};
void fit(const FitOptions& options, const Settings& settings);

struct SfOptions {
  std::string model, data;
  std::string output;  // empty for none
  std::string fobs;    // label of the observed amplitudes, or empty for the usual one
  bool table = false;  // the table method in place of the exact sum
  bool tsv = false;
};
void sf(const SfOptions& options, const Settings& settings);

struct ConvertOptions {
  std::string input, output;  // "-" for standard input and output
  std::string from, to;       // names of formats, or empty
};
void convert(const ConvertOptions& options, const Settings& settings);

struct ReflectionsOptions {
  std::string input, output;  // the latter empty for none
  std::string from, to;
};
void reflections(const ReflectionsOptions& options, const Settings& settings);

struct GaussOptions {
  std::string model, output;
  float spacing = 0.5f;  // Å
  bool product = false;  // 1 - prod(1 - g) in place of the sum
  bool no_hydrogens = false;
};
void gauss(const GaussOptions& options, const Settings& settings);

struct ShapeOptions {
  std::vector<std::string> files;
  bool tsv = false;
};
void shape(const ShapeOptions& options, const Settings& settings);

struct GfitOptions {
  std::string grid, output;
  double tolerance = 1e-4;  // a share of the energy of the density
  int levels = 3;           // widths to choose from
  int max_count = 0;        // 0 for no limit
};
void gfit(const GfitOptions& options, const Settings& settings);

struct ContactOptions {
  std::string model, other, output;  // without `other`: of the model with itself
  std::string method;                // "densities", "spheres", or empty for the first
  float spacing = 0.5f;              // Å
  bool no_hydrogens = false;
};
void contact(const ContactOptions& options, const Settings& settings);

struct MaskOptions {
  std::string grid, model, output;
  std::string mode = "gaussian";
  float level = 0.5f;  // threshold or steepness
};
/// The modes that MaskOptions::mode may name.
std::vector<std::string> mask_modes();
void mask(const MaskOptions& options, const Settings& settings);

struct ContoursOptions {
  std::string map, output;
  int levels = 10, stride = 1;
  bool descending = false;
  std::optional<float> limit;
  bool attach = false;  // write a copy that carries them
  bool tsv = false;
};
void contours(const ContoursOptions& options, const Settings& settings);

struct SkeletonOptions {
  std::string map, output;
  LevelOption level;
  float spacing = 0;  // Å; 0 for the lattice of the map
};
void skeleton(const SkeletonOptions& options, const Settings& settings);

struct BlobOptions {
  std::string map, output;
  LevelOption level;
  std::vector<double> at;  // x, y, z in Å; without, the largest blobs are listed
  bool tsv = false;
};
void blob(const BlobOptions& options, const Settings& settings);

struct SymmetryOptions {
  std::string group;  // number or name
  bool one = false;   // the operators of the group; else all groups
  bool tsv = false;
};
void symmetry(const SymmetryOptions& options, const Settings& settings);
