#pragma once

// Runs the built command the way a user does: arguments in, exit status, standard output and error out.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "support/support.h"

struct Result {
  int status;
  std::string out, err;
};

inline const std::string kModel = source_file("examples/data/4hg7.pdb");
inline const std::string kMtz = source_file("examples/data/4hg7.mtz");
inline const std::string kLigands = source_file("examples/data/ligands.sdf");

/// `arguments` go through the shell, where $MODEL and $MTZ name the sample crystal and $LIGANDS the sample
/// ligands; `before` stands in front of the command.
inline Result vxgrid(const std::string& arguments, const std::string& before = "") {
  const std::string out = scratch_file("out"), err = scratch_file("err");
  const std::string line = "MODEL=" + kModel + "; MTZ=" + kMtz + "; LIGANDS=" + kLigands + "; " + before +
                           VXGRID_COMMAND " " + arguments + " >" + out + " 2>" + err;
  const int status = std::system(line.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_bytes(out), read_bytes(err)};
}

inline rapidjson::Document json_of(const Result& run) {
  EXPECT_EQ(run.status, 0) << run.err;
  rapidjson::Document document;
  EXPECT_FALSE(document.Parse(run.out.c_str()).HasParseError()) << run.out;
  return document;
}

inline rapidjson::Document json_of(const std::string& arguments) { return json_of(vxgrid(arguments)); }

/// A number that `info` tells of a map.
inline double info_of(const std::string& map, const char* field) {
  return json_of("info --json " + map)[0][field].GetDouble();
}

inline std::string written(const std::string& name, const std::string& bytes) {
  write_bytes(scratch_file(name), bytes);
  return scratch_file(name);
}

/// The 2Fo-Fc map of the sample crystal as a CCP4 file, made once.
inline const std::string& map_file() {
  static const std::string file = scratch_file("4hg7.map");
  static const Result made = vxgrid("map $MTZ -o " + file);
  EXPECT_EQ(made.status, 0) << made.err;
  return file;
}

/// Where the ATOM records of the sample model stand; all its lines are of 81 bytes.
inline std::vector<size_t> atoms_of(const std::string& model) {
  std::vector<size_t> found;
  for (size_t at = 0; at < model.size(); at += 81)
    if (model.compare(at, 6, "ATOM  ") == 0) found.push_back(at);
  return found;
}

template <class T>
void set_word(std::string& bytes, size_t index, T value) {
  std::memcpy(&bytes[4 * index], &value, 4);
}

/// A CCP4 map of 8 x 8 x 8 points, 1 Å apart from the origin on, in a cell of 100 Å.
inline std::string small_map(int space_group) {
  std::string bytes(1024 + 4 * 512, '\0');
  for (size_t axis = 0; axis < 3; ++axis) {
    set_word(bytes, axis, 8);
    set_word(bytes, 7 + axis, 100);
    set_word(bytes, 10 + axis, 100.0f);
    set_word(bytes, 13 + axis, 90.0f);
    set_word(bytes, 16 + axis, static_cast<int>(axis) + 1);
  }
  set_word(bytes, 3, 2);
  set_word(bytes, 22, space_group);
  for (size_t i = 0; i < 512; ++i) set_word(bytes, 256 + i, static_cast<float>(i % 17) - 8);
  return bytes;
}

/// An SDF record of atoms of one element on the x axis.
inline std::string in_a_row(const char* element, const std::vector<double>& places) {
  char line[64];
  std::snprintf(line, sizeof line, "%3zu  0  0  0  0  0  0  0  0  0999 V2000\n", places.size());
  std::string sdf = std::string("a row\n\n\n") + line;
  for (const double x : places) {
    std::snprintf(line, sizeof line, "%10.1f    0.0000    0.0000 %s   0  0\n", x, element);
    sdf += line;
  }
  return sdf + "M  END\n$$$$\n";
}

/// Arguments, with @ for a file that is made for the case; the file that is named; its bytes; the reason.
using FailureRow = std::tuple<std::string, std::string, std::string, const char*>;

/// Every row fails with 1, prints nothing, and tells on one line which file and why.
template <size_t N>
void expect_failures(const FailureRow (&rows)[N]) {
  for (auto [arguments, file, bytes, says] : rows) {
    if (const size_t at = arguments.find('@'); at != std::string::npos)
      arguments.replace(at, 1, file = written(file, bytes));
    SCOPED_TRACE(arguments);
    const Result run = vxgrid(arguments + " --quiet");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err,
                testing::AllOf(testing::StartsWith("vxgrid: " + file + ": "), testing::HasSubstr(says)));
    EXPECT_EQ(run.err.find('\n') + 1, run.err.size()) << run.err;
  }
}

inline std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}
