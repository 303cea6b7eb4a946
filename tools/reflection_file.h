#pragma once

#include <string>

#include <vxgrid/reflection/reflection.h>

#include "file_format.h"
#include "report.h"

struct ReflectionFile {
  VXCore::VXReflection set;
  std::string free_flags;  // label of the free flags of an MTZ file, which are not read
};
/// Reads the reflections of a file of any format, an MTZ file with the usual labels, and leaves what the
/// library had to say about it as notes. Failure without reflections.
ReflectionFile read_reflection_file(const std::string& file, InputFile& input, const Settings& settings);

/// The format in which reflections go into a file: `to` when that is given, else by the extension. Failure
/// when they are not written in it; `further` are extensions that the verb knows beside theirs.
const FileFormat& reflection_output(const std::string& file, const std::string& to = "",
                                    const std::string& further = "");

/// Writes a set, and tells what the format does not hold of it. Text formats take the reflections that have
/// all values of the columns that they hold; phases that are not there are those of the model, or 0. Failure
/// when the format holds none of the columns.
void write_reflections(const std::string& file, const FileFormat& format, ReflectionFile& from,
                       const std::string& source, const Settings& settings);

/// Says what a file of reflections holds.
void report_reflections(const std::string& file, const FileFormat& format, VXCore::VXReflection set,
                        Json* json);
