#include "verbs.h"

using namespace VXCore;

void convert(const ConvertOptions& options, const Settings& settings) {
  if (options.output == "-") {
    if (options.to.empty()) throw WrongUsage("standard output takes a format, --to FORMAT");
    if (settings.json) throw WrongUsage("--json goes to standard output, and so does the map");
  }
  const FileFormat& format = output_format(options.output, options.to);
  VXSkewGrid grid = read_map(options.input, settings, options.from);
  const std::string lost = losses(grid, format);
  fit_to_format(options.output, options.input, grid, settings, options.to);
  write_map(options.output, grid, format);
  if (!lost.empty())
    note(settings,
         text("%s: not kept in the %s format: %s", options.input.c_str(), format.title, lost.c_str()));
  report_map(options.output, grid, settings, options.to);
}
