#pragma once

#include <CLI/App.hpp>

#include "report.h"

// The verbs of the command, one source file each. A verb declares its options on `app`, and its callback
// reads, calls the library and prints; what goes wrong leaves it as a Failure.
void add_info(CLI::App& app, Settings& settings);
void add_map(CLI::App& app, Settings& settings);
void add_fit(CLI::App& app, Settings& settings);
void add_convert(CLI::App& app, Settings& settings);
void add_symmetry(CLI::App& app, Settings& settings);

/// A verb with what all of them take (--json, --quiet, -h) and an example below its help.
CLI::App* add_verb(CLI::App& app, Settings& settings, const char* name, const char* does,
                   const char* example);
