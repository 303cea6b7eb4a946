#include <cstdio>
#include <new>

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <vxgrid/host/version.h>

#include "verbs.h"

CLI::App* add_verb(CLI::App& app, Settings& settings, const char* name, const char* does,
                   const char* example) {
  CLI::App* verb = app.add_subcommand(name, does);
  verb->add_flag("--json", settings.json, "print one JSON document");
  verb->add_flag("-q,--quiet", settings.quiet, "no remarks and no progress on standard error");
  verb->footer(std::string("Example: vxgrid ") + example);
  return verb;
}

int main(int argc, char** argv) {
  CLI::App app("Electron-density maps, and how well models fit them.", "vxgrid");
  app.set_version_flag("--version", std::string("vxgrid ") + VXCore::VXGridGetVersion());
  app.require_subcommand(1);

  Settings settings;
  add_info(app, settings);
  add_map(app, settings);
  add_fit(app, settings);
  add_convert(app, settings);
  add_symmetry(app, settings);

  try {
    app.parse(argc, argv);
    finish_output();
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  } catch (const Failure& failure) {
    std::fprintf(stderr, "vxgrid: %s\n", failure.what());
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "vxgrid: there is not enough memory for this work\n");
  }
  return 1;
}
