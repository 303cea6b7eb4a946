#include "reflection_file.h"
#include "verbs.h"

using namespace VXCore;

void reflections(const ReflectionsOptions& options, const Settings& settings) {
  const bool is_stdout = options.output == "-";
  if (is_stdout && options.to.empty()) throw WrongUsage("standard output takes a format, --to FORMAT");
  if (is_stdout && settings.json)
    throw WrongUsage("--json goes to standard output, and so do the reflections");
  if (options.output.empty() && !options.to.empty()) throw WrongUsage("--to goes with -o OUT");
  const FileFormat* const format =
      options.output.empty() ? nullptr : &reflection_output(options.output, options.to);

  InputFile input(options.input, options.from);
  ReflectionFile data = read_reflection_file(options.input, input, settings);
  Json json;
  if (!format) {
    report_reflections(options.input, input.format(), data.set, settings.json ? &json : nullptr);
    if (settings.json) json.print();
    return;
  }
  write_reflections(options.output, *format, data, options.input, settings);
  if (is_stdout) return;
  if (!settings.json) {
    std::printf("%s: %s, %u reflections\n", options.output.c_str(), format->title, data.set.GetCount());
    return;
  }
  json.open_object();
  json.field("file", options.output);
  json.field("format", format->title);
  json.field("reflections", data.set.GetCount());
  json.close_object();
  json.print();
}
