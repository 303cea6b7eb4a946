#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// An MTZ file to be written as bytes. Change what a case needs.
struct MtzFile {
  struct Column {
    std::string label;
    char type;
  };
  std::vector<Column> columns;
  std::vector<float> values;  ///< row after row
  float cell[6] = {10, 20, 30, 90, 90, 90};
  unsigned int group = 1;
  std::string group_name = "P 1";
  int real_format = 0x44, integer_format = 0x41;  ///< 17 for big-endian
  std::vector<std::string> more_records = {};     ///< after the others

  std::string bytes() const {
    const std::size_t n = columns.empty() ? 0 : values.size() / columns.size();
    std::string out = "MTZ ";
    put_word(out, static_cast<std::uint32_t>(21 + values.size()), integer_format == 17);
    out += static_cast<char>(real_format);
    out += static_cast<char>(integer_format);
    out.resize(80, '\0');
    for (std::size_t i = 0; i < values.size(); ++i) {
      std::uint32_t bits;
      std::memcpy(&bits, &values[i], 4);
      const char type = columns[i % columns.size()].type;
      put_word(out, bits, (type == 'H' || type == 'I' ? integer_format : real_format) == 17);
    }
    put_record(out, "VERS MTZ:V1.1");
    put_record(out, "NCOL " + std::to_string(columns.size()) + " " + std::to_string(n) + " 0");
    std::string cell_record = "CELL";
    for (const float number : cell) cell_record += " " + std::to_string(number);
    put_record(out, cell_record);
    put_record(out, "SYMINF 1 1 P " + std::to_string(group) + " '" + group_name + "' PG1");
    put_record(out, "RESO 0.001 0.25");
    for (const Column& column : columns)
      put_record(out, "COLUMN " + column.label + " " + column.type + " 0 1 1");
    for (const std::string& record : more_records) put_record(out, record);
    put_record(out, "END");
    return out;
  }

  static void put_word(std::string& out, std::uint32_t bits, bool swapped) {
    if (swapped) bits = __builtin_bswap32(bits);
    out.append(reinterpret_cast<const char*>(&bits), 4);
  }
  static void put_record(std::string& out, std::string text) {
    text.resize(80, ' ');
    out += text;
  }
};
