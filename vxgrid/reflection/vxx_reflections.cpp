#include <vxgrid/reflection/reflection_io.h>

#include <cstring>
#include <map>
#include <string>

#include <vxgrid/host/binary_records.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/column_block.inl>

namespace VXCore {
namespace {

// The columns in the order of their blocks.
struct Column {
  const char* tag;
  float* VXReflectionImpl::*reals;  // null for a column of ints
  int* VXReflectionImpl::*ints;
};
using Set = VXReflectionImpl;
// clang-format off
constexpr Column kColumns[] = {
    {"H", nullptr, &Set::h},
    {"K", nullptr, &Set::k},
    {"L", nullptr, &Set::l},
    {"phase", &Set::phase, nullptr},
    {"phase_calc", &Set::phase_calc, nullptr},
    {"fobs", &Set::fobs, nullptr},
    {"fcalc", &Set::fcalc, nullptr},
    {"sigma", &Set::sigma, nullptr},
    {"fom", &Set::fom, nullptr},
    {"centric", nullptr, &Set::centric},
    {"rfree", nullptr, &Set::rfree},
    {"stolsq", &Set::stolsq, nullptr},
    {"HLA", &Set::hla, nullptr},
    {"HLB", &Set::hlb, nullptr},
    {"HLC", &Set::hlc, nullptr},
    {"HLD", &Set::hld, nullptr},
    {"fwt", &Set::fwt, nullptr},
    {"fdelwt", &Set::fdelwt, nullptr},
    {"phiwt", &Set::phiwt, nullptr},
    {"phidelwt", &Set::phidelwt, nullptr},
};
// clang-format on
constexpr std::size_t kWidth = 4;  // bytes of an element of any column

bool WriteStateBlock(const char* tag, const void* data, std::size_t length, vxostream& out) {
  return VXBWriteTag(out, tag) && VXBWriteDataLength(out, length) &&
         !out.write(static_cast<const char*>(data), length).fail();
}

// The numbers that blocks other than columns hold, with the number of bytes that they take at least.
constexpr struct {
  const char* tag;
  std::size_t least;
} kFacts[] = {{"nref", 4}, {"title", 0}, {"sg", 4}, {"cell", 24}};

// Blocks by tag. What a file claims takes no memory before its bytes are there.
using Blocks = std::map<std::string, std::string>;

bool is_known(const std::string& tag) {
  for (const auto& fact : kFacts)
    if (tag == fact.tag) return true;
  for (const Column& column : kColumns)
    if (tag == column.tag) return true;
  return false;
}

unsigned int read_blocks(vxistream& in, Blocks& blocks) {
  std::string tag;
  while (in) {
    if (!VXBReadTag(in, tag) || tag.empty()) return VXBRecordShort;
    const unsigned long length = VXBReadDataLength(in, 0xffffffff);
    if (length == 0) return VXBEndOfStream;
    if (is_known(tag)) {
      if (in.read(blocks[tag], length) != length) return VXBUnknownBad;
    } else if (const vxsubstream skipped(in, length); !skipped.is_whole()) {
      return VXBUnknownBad;
    }
  }
  return VXBDone;
}

// The first n numbers of a block; zeros without one.
template <class T>
void get_numbers(const Blocks& blocks, const char* tag, T* out, std::size_t n, bool swap) {
  std::fill_n(out, n, T{});
  const auto block = blocks.find(tag);
  if (block == blocks.end()) return;
  std::memcpy(out, block->second.data(), n * sizeof(T));
  if (swap) ArraySwapBytes(reinterpret_cast<unsigned char*>(out), n, sizeof(T));
}

bool are_long_enough(const Blocks& blocks, std::size_t count) {
  const auto is_long_enough = [&](const char* tag, std::size_t least) {
    const auto block = blocks.find(tag);
    return block == blocks.end() || block->second.size() >= least;
  };
  for (const auto& fact : kFacts)
    if (!is_long_enough(fact.tag, fact.least)) return false;
  for (const Column& column : kColumns)
    if (!is_long_enough(column.tag, kWidth * count)) return false;
  return true;
}

// A group or a cell may stand alone.
VXXtal::VXSymmetry make_symmetry(unsigned int number, const float* cell) {
  VXXtal::VXSymmetry symmetry;
  if (number != 0) symmetry = VXXtal::VXSymmetry(number, VXXtal::VXUnitCell(cell));
  if (!symmetry) symmetry.cell() = VXXtal::VXUnitCell(cell);
  return symmetry;
}

template <class T>
bool fill_column(T*& column, const Blocks& blocks, const char* tag, std::size_t count, bool swap) {
  if (blocks.find(tag) == blocks.end()) return true;
  resize_column(column, count);
  if (column) get_numbers(blocks, tag, column, count, swap);
  return column != nullptr;
}

}  // namespace

bool VXWriteReflectionVXX(vxostream& out, const VXReflection& set) {
  const VXReflectionImpl& data = *set.GetImpl();
  const unsigned char orders[3] = {VXBFloatEndian(), VXBIntEndian(), VXBShortEndian()};
  if (out.write(orders, sizeof orders).fail()) return false;
  if (data.nref == 0) return true;

  const VXXtal::VXUnitCell& cell = data.symmetry.cell();
  const float six[6] = {cell.a, cell.b, cell.c, cell.alpha, cell.beta, cell.gamma};
  const std::uint32_t group = data.symmetry.GetNumber();
  bool done = WriteStateBlock("nref", &data.nref, sizeof data.nref, out);
  if (!data.title.empty()) done = done && WriteStateBlock("title", data.title.data(), data.title.size(), out);
  done = done && WriteStateBlock("sg", &group, sizeof group, out);
  if (cell.isValid()) done = done && WriteStateBlock("cell", six, sizeof six, out);
  for (const Column& column : kColumns) {
    const void* const values =
        column.reals ? static_cast<const void*>(data.*column.reals) : data.*column.ints;
    if (values) done = done && WriteStateBlock(column.tag, values, kWidth * data.nref, out);
  }
  return done;
}

unsigned int VXReadReflectionVXX(vxistream& in, VXReflection& set) {
  unsigned char orders[3];  // of floats, ints and shorts, of which there are none
  if (in.read(orders, sizeof orders) != sizeof orders) return VXBEndOfStream;
  const bool swap_reals = VXBFloatEndian(orders[0]), swap_ints = VXBIntEndian(orders[1]);
  Blocks blocks;
  const unsigned int status = read_blocks(in, blocks);
  if (status != VXBDone) return status;

  if (!are_long_enough(blocks, 0)) return VXBTagBad;
  std::uint32_t count, group;
  float cell[6];
  get_numbers(blocks, "nref", &count, 1, swap_ints);
  get_numbers(blocks, "sg", &group, 1, swap_ints);
  get_numbers(blocks, "cell", cell, 6, swap_reals);
  if (!are_long_enough(blocks, count)) return VXBTagBad;

  VXReflectionImpl& data = *set.GetImpl();
  data.Clear();
  data.SetTitle(blocks["title"]);
  data.SetSymmetry(make_symmetry(group, cell));
  data.SetCount(count);
  if (count == 0) return VXBDone;
  for (const Column& column : kColumns) {
    const bool filled = column.reals ? fill_column(data.*column.reals, blocks, column.tag, count, swap_reals)
                                     : fill_column(data.*column.ints, blocks, column.tag, count, swap_ints);
    if (filled) continue;
    data.Clear();
    return VXBNoMemory;
  }
  return VXBDone;
}

}  // namespace VXCore
