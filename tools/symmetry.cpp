#include <algorithm>
#include <cctype>

#include <vxgrid/xtal/spacegroup.h>
#include <vxgrid/xtal/symmetry.h>

#include "verbs.h"

using namespace VXCore;

namespace {

constexpr const char* kSystems[] = {"",           "triclinic", "monoclinic", "orthorhombic",
                                    "tetragonal", "trigonal",  "hexagonal",  "cubic"};

/// A translation as a fraction: "1/3"; empty for 0.
std::string fraction(float shift) {
  const long twelfths = std::lround(shift * 12);
  if (twelfths == 0) return "";
  for (long divisor : {2, 3, 4, 6})
    if (twelfths * divisor % 12 == 0)
      return "+" + std::to_string(twelfths * divisor / 12) + "/" + std::to_string(divisor);
  return text("%+g", shift);
}

/// An operator as the image of (x, y, z): "-y,x-y,z+1/3".
std::string triplet(const float* m) {
  std::string all;
  for (int row = 0; row < 3; ++row) {
    std::string term;
    for (int column = 0; column < 3; ++column) {
      const float factor = m[4 * column + row];
      if (factor == 0) continue;
      if (factor < 0) term += '-';
      if (factor > 0 && !term.empty()) term += '+';
      term += "xyz"[column];
    }
    all += (row ? "," : "") + term + fraction(m[12 + row]);
  }
  return all;
}

std::vector<std::string> triplets(const SGRecord& group) {
  std::vector<std::string> all;
  for (unsigned i = 0; i < group.op_count; ++i) all.push_back(triplet(group.ops[i]));
  return all;
}

/// The row that a symmetry object with this number or name takes.
const SGRecord& find_group(const std::string& wanted) {
  const LibraryLog log;
  const VXXtal::VXUnitCell any(1, 1, 1, 90, 90, 90);
  const bool number =
      !wanted.empty() && wanted.size() < 10 &&
      std::all_of(wanted.begin(), wanted.end(), [](unsigned char c) { return std::isdigit(c); });
  const VXXtal::VXSymmetry symmetry = number
                                          ? VXXtal::VXSymmetry(static_cast<unsigned>(std::stoul(wanted)), any)
                                          : VXXtal::VXSymmetry(wanted, any);
  for (const SGRecord& group : sglib)
    if (symmetry && group.ops[0] == symmetry.GetMatrices()) return group;
  throw Failure(wanted, "no space group has this number or name; `vxgrid symmetry` lists all");
}

void put_group(Json& json, const SGRecord& group) {
  json.open_object();
  json.field("number", group.number);
  json.field("short_name", group.short_name);
  json.field("long_name", group.long_name);
  json.field("system", kSystems[group.crystal_system]);
  json.list("operators", triplets(group));
  json.close_object();
}

void print_one(const SGRecord& group, const Settings& settings) {
  if (settings.json) {
    Json json;
    put_group(json, group);
    json.print();
    return;
  }
  std::printf("%u  %s  %s  %s  %u operators\n", group.number, group.short_name, group.long_name,
              kSystems[group.crystal_system], group.op_count);
  for (const std::string& each : triplets(group)) std::printf("%s\n", each.c_str());
}

void print_all(const Settings& settings) {
  if (settings.json) {
    Json json;
    json.open_array();
    for (const SGRecord& group : sglib) put_group(json, group);
    json.close_array();
    json.print();
    return;
  }
  Table table({">number", "short", "long", "system", ">operators"});
  for (const SGRecord& group : sglib)
    table.add({std::to_string(group.number), group.short_name, group.long_name,
               kSystems[group.crystal_system], std::to_string(group.op_count)});
  table.print();
}

void print_tsv() {
  std::printf("row\tnumber\tshort_name\tlong_name\tcrystal_system\top_count\toperators\n");
  unsigned row = 0;
  for (const SGRecord& group : sglib)
    std::printf("%u\t%u\t%s\t%s\t%u\t%u\t%s\n", ++row, group.number, group.short_name, group.long_name,
                group.crystal_system, group.op_count, join(triplets(group), ";").c_str());
}

}  // namespace

void symmetry(const SymmetryOptions& options, const Settings& settings) {
  if (options.tsv)
    print_tsv();
  else if (options.one)
    print_one(find_group(options.group), settings);
  else
    print_all(settings);
}
