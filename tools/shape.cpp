#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <molio/molecule_reader.h>

#include "molecule_shape.h"
#include "verbs.h"

using namespace VXCore;

namespace {

constexpr const char* kLevelNames[] = {"atoms", "bonds", "full"};
constexpr const char* kSecondNames[] = {"m1", "m2", "m3"};
constexpr const char* kThirdNames[] = {"xxx", "yyy", "zzz", "xxy", "xxz", "xyy", "yyz", "xzz", "yzz", "xyz"};

/// A molecule measured, and where it stands.
struct Row {
  const std::string& file;
  unsigned long number;
  const char* title;
  const MoleculeShape& shape;
};

void print_text_head() {
  std::printf(" number  atoms");
  for (const char* hydrogens : {"", "+H"})
    for (const char* level : kLevelNames) std::printf("%10s", (std::string(level) + hydrogens).c_str());
  for (const char* name : kSecondNames) std::printf("%9s", name);
  for (const char* name : kThirdNames) std::printf("%9s", name);
  std::printf("  title\n");
}

void print_text(const Row& row) {
  const auto put = [](float moment) {
    std::isfinite(moment) ? std::printf(" %8.3f", moment) : std::printf("%9s", "-");
  };
  std::printf("%7lu %6u", row.number, row.shape.atoms);
  for (const double volume : row.shape.heavy) std::printf(" %9.2f", volume);
  for (const double volume : row.shape.all) std::printf(" %9.2f", volume);
  for (const float moment : row.shape.second) put(moment);
  for (const float moment : row.shape.third) put(moment);
  const std::string title = plain_text(row.title);
  std::printf("%s%s\n", title.empty() ? "" : "  ", title.c_str());
}

void print_tsv_head() {
  std::printf("file\tnumber\ttitle\tatoms");
  for (const char* hydrogens : {"", "_h"})
    for (const char* level : kLevelNames) std::printf("\tvolume_%s%s", level, hydrogens);
  for (const char* name : kSecondNames) std::printf("\t%s", name);
  for (const char* name : kThirdNames) std::printf("\t%s", name);
  std::printf("\n");
}

void print_tsv(const Row& row) {
  std::string line = row.file + '\t' + std::to_string(row.number) + '\t' + plain_text(row.title) + '\t' +
                     std::to_string(row.shape.atoms);
  const auto put = [&line](float number) { line += '\t' + shortest(number); };
  for (const double volume : row.shape.heavy) put(static_cast<float>(volume));
  for (const double volume : row.shape.all) put(static_cast<float>(volume));
  for (const float moment : row.shape.second) put(moment);
  for (const float moment : row.shape.third) put(moment);
  std::puts(line.c_str());
}

void put_volumes(JsonLine& json, const char* key, const double* volumes) {
  json.open_object(key);
  for (int level = 0; level < MoleculeShape::kLevels; ++level)
    json.field(kLevelNames[level], static_cast<float>(volumes[level]));
  json.close_object();
}

void print_json(const Row& row) {
  JsonLine json;
  json.open_object();
  json.field("file", row.file);
  json.field("number", static_cast<unsigned>(row.number));
  json.field("title", row.title);
  json.field("atoms", row.shape.atoms);
  put_volumes(json, "volume", row.shape.heavy);
  put_volumes(json, "volume_h", row.shape.all);
  json.list("second_moments", row.shape.second);
  json.open_object("third_moments");
  for (int i = 0; i < MoleculeShape::kThird; ++i) json.field(kThirdNames[i], row.shape.third[i]);
  json.close_object();
  json.close_object();
  json.print();
}

/// Goes through files and prints a row a molecule. What is wrong with one molecule is told as it comes.
class Survey {
 public:
  Survey(const ShapeOptions& options, const Settings& settings)
      : files_(static_cast<double>(options.files.size())),
        print_(settings.json ? print_json
               : options.tsv ? print_tsv
                             : print_text),
        progress_(settings) {}

  void measure_file(const std::string& file) {
    ++begun_;
    const std::unique_ptr<VXMoleculeReader> opened = open(file);
    VXMoleculeReader& reader = *opened;
    unsigned long failed = 0;
    while (reader.Next()) {
      failed += !measure_molecule(file, reader);
      show_progress(reader.GetShareRead());
    }
    if (reader.GetNumber() == 0) throw Failure(file, "there are no molecules in it");
    if (failed > 0)
      throw Failure(file, text("%lu of %lu molecules could not be measured", failed, reader.GetNumber()));
  }

 private:
  static std::unique_ptr<VXMoleculeReader> open(const std::string& file) {
    if (kind_of(file) != FileKind::Model) throw Failure(file, "not a coordinate file");
    const LibraryLog log;
    auto reader = std::make_unique<VXMoleculeReader>(file);
    if (!*reader) throw Failure(file, log.reason(file, "cannot be read"));
    return reader;
  }

  bool measure_molecule(const std::string& file, VXMoleculeReader& reader) {
    const LibraryLog log;
    std::string fault;
    if (!reader.Read(mol_))
      fault = log.reason(file, "cannot be read");
    else if (!maker_.measure(mol_, shape_))
      fault = text("molecule %lu: ", reader.GetNumber()) + log.reason(file, "none of its atoms has a radius");
    else
      print({file, reader.GetNumber(), mol_.GetTitle(), shape_});
    if (fault.empty()) return true;
    progress_.Hide();
    std::fprintf(stderr, "vxgrid: %s: %s\n", file.c_str(), fault.c_str());
    return false;
  }

  /// Heads come with the first row of all, names of several files with their first row.
  void print(const Row& row) {
    if (file_.empty() && print_ == print_text) print_text_head();
    if (file_.empty() && print_ == print_tsv) print_tsv_head();
    if (file_ != row.file && files_ > 1 && print_ == print_text) std::printf("%s:\n", row.file.c_str());
    file_ = row.file;
    print_(row);
  }

  /// Rows on a terminal show by themselves how far the work has come.
  void show_progress(double share) {
    if (!isatty(STDOUT_FILENO))
      progress_.Progress(static_cast<unsigned>(1e6 * (begun_ - 1 + share) / files_), 1000000);
  }

  double files_, begun_ = 0;
  std::string file_;  // of the last row
  void (*print_)(const Row&);
  ProgressBar progress_;
  ShapeMaker maker_;
  VXGraphMol mol_;
  MoleculeShape shape_;
};

}  // namespace

void shape(const ShapeOptions& options, const Settings& settings) {
  Survey survey(options, settings);
  throw_last(try_each(options.files, [&survey](const std::string& file) { survey.measure_file(file); }));
}
