#pragma once

#include <string>
#include <vector>

#include "input.h"
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

struct ConvertOptions {
  std::string input, output;
};
void convert(const ConvertOptions& options, const Settings& settings);

struct SymmetryOptions {
  std::string group;  // number or name
  bool one = false;   // the operators of the group; else all groups
  bool tsv = false;
};
void symmetry(const SymmetryOptions& options, const Settings& settings);
