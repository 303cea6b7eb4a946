#include <vxgrid/processing/thinning.h>

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/wide.inl>

namespace VXCore {
namespace {

// A neighbour of a point has the number 13 + i + 3 j + 9 k, with i, j, k in -1, 0, 1 along x, y, z; 13 is the
// point itself. So 1, 3 and 9 stand for a step along x, y and z.
constexpr int kNeighbours = 27, kCentre = 13;

// A sub-pass looks at the points with background on one of two faces. The templates are written for one
// direction: for another the neighbourhood is turned (or mirrored) so that a step along x, y, z in the
// templates is the step given here.
struct Direction {
  int faces[2];
  int x, y, z;
};

// The last direction has no turn: its points all go, or all stay, by what became of the last candidate before
// them. That is intended; skeletons are made with it.
constexpr int kDirections = 12, kUnturned = 11;

// clang-format off
constexpr Direction kDirection[kDirections] = {
  // faces     x   y   z
  {{+9, -3},  +1, +3, +9},
  {{+3, +1},  +3, -9, -1},
  {{-9, -1},  -1, +9, -3},
  {{-3, +1},  +9, +3, -1},
  {{+9, -1},  +1, +9, -3},
  {{-9, +3},  -1, -3, +9},
  {{-3, -1},  -9, +3, +1},
  {{+9, +3},  +1, -3, +9},
  {{-9, +1},  -1, -9, +3},
  {{+3, -1},  +3, +9, +1},
  {{+9, +1},  +1, -9, +3},
  {{-9, -3},   0,  0,  0},
};
// clang-format on

// Points are bits: x runs along the bits of a word, a row takes whole words, and four words make a block,
// whose 256 points are looked at together.
using Words = std::uint64_t __attribute__((vector_size(32)));
constexpr std::size_t kWordBits = 64, kBlock = 4;

VXGRID_PART_OF_CLONE inline Words load(const std::uint64_t* at) {
  Words words;
  std::memcpy(&words, at, sizeof words);
  return words;
}

VXGRID_PART_OF_CLONE inline bool any(const Words& words) {
  return (words[0] | words[1] | words[2] | words[3]) != 0;
}

// The blocks of points one step along x before and behind.
VXGRID_PART_OF_CLONE inline Words before(const std::uint64_t* at) {
  return load(at) << 1 | load(at - 1) >> 63;
}
VXGRID_PART_OF_CLONE inline Words behind(const std::uint64_t* at) {
  return load(at) >> 1 | load(at + 1) << 63;
}

// The fourteen templates, on the neighbours by their numbers, put together: those that ask for a free face (1
// at +x, 2 at -y), for both free but for a corner (3, 11 to 14), and for a free edge between the two (4 to
// 10). The templates one by one, in this order, stand in tests/processing/plain_thinning.h. `low` and `high`
// are the ends of a face or of the edge in z.
template <class At>
VXGRID_PART_OF_CLONE inline Words matches(At at) {
  const auto any_of = [&](auto... n) VXGRID_PART_OF_CLONE { return (at(n) | ...); };
  const Words x_low = any_of(5, 8), x_high = any_of(23, 26), y_low = any_of(0, 1), y_high = any_of(18, 19);
  const Words edge = any_of(2, 11, 20), x_middle = any_of(14, 17), y_middle = any_of(9, 10);
  const Words others = any_of(3, 4, 6, 7, 21, 22, 24, 25);

  const Words free_x =
      at(12) & ~(edge | x_low | x_middle | x_high) & (others | y_low | y_middle | y_high | any_of(15, 16));
  const Words free_y =
      at(16) & ~(edge | y_low | y_middle | y_high) & (others | x_low | x_middle | x_high | any_of(12, 15));
  const Words free_both = at(15) & ~(edge | x_middle | y_middle) &
                          ((others & ~(x_low | x_high | y_low | y_high)) |  // 3
                           (at(21) & ~(x_low | x_high | y_low)) |           // 11
                           (at(3) & ~(x_low | x_high | y_high)) |           // 12
                           (at(25) & ~(x_low | y_low | y_high)) |           // 13
                           (at(7) & ~(x_high | y_low | y_high)));           // 14

  // An end of the edge is free, with at most one of its neighbours on the two faces set; or it is set, with
  // one.
  const Words low_free = ~at(2) & ~(at(1) & at(5)), low_set = at(2) & (at(1) ^ at(5));
  const Words high_free = ~at(20) & ~(at(19) & at(23)), high_set = at(20) & (at(19) ^ at(23));
  const Words free_edge = at(12) & at(16) & ~any_of(10, 11, 14) &
                          ((low_free & (high_free | high_set)) | (low_set & high_free) |  // 4, 5, 6
                           (at(22) & (low_free | low_set)) |                              // 7, 9
                           (at(4) & (high_free | high_set)));                             // 8, 10
  return free_x | free_y | free_both | free_edge;
}

// The object of one grid. All points of a sub-pass are judged before the first of them goes.
//
// What a block does in a sub-pass depends on it and its neighbours alone, so it is due only for the
// directions that have not seen it since something changed there: after the first round few blocks are. With
// 256 points at a time a hundred times as fast as sweeps over points (bench/thinning_bench), and the same
// points (Thinning.AsTheSweeps).
class Thinner {
 public:
  /// Dimensions of at least 3.
  explicit Thinner(const VXFixedGrid<float>& grid);

  /// Deletes what goes in a direction; false if nothing does.
  bool SubPass(int direction);

  /// Gives the object without its outermost layer, as 0 and 1.
  void Write(float* values) const;

 private:
  using Plane = VXHost::VXLargeArray<std::uint64_t>;
  struct Deletion {
    std::size_t block;
    std::uint64_t points[kBlock];
  };

  void ReadRow(const float* values, std::uint64_t* words) const;
  Words Candidates(std::size_t block, const Direction& direction) const;
  Words Matches(std::size_t block, const Direction& direction) const;
  void JudgeLastCandidate(const Direction& direction);
  void JudgeBlocks(int direction);
  void Delete();

  // The first word of row y of plane z. A block lies before the first row and behind the last one, where the
  // neighbours of the first and the last block are looked up.
  std::size_t Row(std::size_t y, std::size_t z) const { return kBlock + z * plane_ + y * row_; }
  const std::uint64_t* Neighbour(std::size_t block, int y, int z) const {
    return &object_[block * kBlock] + y * static_cast<std::ptrdiff_t>(row_) +
           z * static_cast<std::ptrdiff_t>(plane_);
  }

  const std::size_t dim_[3];
  const std::size_t row_, plane_;  // in words
  Plane object_;
  Plane interior_;                  // the points inside the outermost layer, which alone can go
  std::vector<std::uint16_t> due_;  // per block, one bit a direction
  std::size_t first_, last_;        // the blocks that can have points inside
  std::vector<Deletion> deletions_;
  bool last_match_ =
      false;  // what became of the last candidate of the latest sub-pass with a turn that had one
};

Thinner::Thinner(const VXFixedGrid<float>& grid)
    : dim_{grid.GetXDim(), grid.GetYDim(), grid.GetZDim()},
      row_((dim_[0] + kWordBits - 1) / kWordBits),
      plane_(row_ * dim_[1]),
      object_((kBlock + plane_ * dim_[2] + 2 * kBlock - 1) / kBlock * kBlock, Plane::Zeroed),
      interior_(object_.size(), Plane::Zeroed),
      due_(object_.size() / kBlock),
      first_(Row(1, 1) / kBlock),
      last_((Row(dim_[1] - 1, dim_[2] - 2) - 1) / kBlock) {
  const float* values = grid.GetValues();
  for (std::size_t z = 0; z < dim_[2]; ++z)
    for (std::size_t y = 0; y < dim_[1]; ++y, values += dim_[0]) ReadRow(values, &object_[Row(y, z)]);

  for (std::size_t z = 1; z < dim_[2] - 1; ++z)
    for (std::size_t y = 1; y < dim_[1] - 1; ++y) {
      std::uint64_t* const words = &interior_[Row(y, z)];
      std::fill_n(words, row_, ~std::uint64_t{0});
      words[0] &= ~std::uint64_t{1};
      const std::size_t end = dim_[0] - 1;  // the first point that is not inside
      words[row_ - 1] &= end % kWordBits ? ~(~std::uint64_t{0} << end % kWordBits) : 0;
    }
  for (std::size_t b = first_; b <= last_; ++b)
    if (any(load(&object_[b * kBlock]) & load(&interior_[b * kBlock]))) due_[b] = (1 << kDirections) - 1;
}

void Thinner::ReadRow(const float* values, std::uint64_t* words) const {
  std::size_t x = 0;
  for (; x + 4 <= dim_[0]; x += 4) {
    const __m128 set = _mm_cmpneq_ps(_mm_loadu_ps(values + x), _mm_setzero_ps());
    words[x / kWordBits] |= static_cast<std::uint64_t>(_mm_movemask_ps(set)) << x % kWordBits;
  }
  for (; x < dim_[0]; ++x)
    words[x / kWordBits] |= static_cast<std::uint64_t>(values[x] != 0.0f) << x % kWordBits;
}

void Thinner::Write(float* values) const {
  std::fill_n(values, dim_[0] * dim_[1] * dim_[2], 0.0f);
  for (std::size_t z = 1; z < dim_[2] - 1; ++z)
    for (std::size_t y = 1; y < dim_[1] - 1; ++y)
      for (std::size_t w = 0; w < row_; ++w) {
        float* const at = values + (z * dim_[1] + y) * dim_[0] + w * kWordBits;
        std::uint64_t points = object_[Row(y, z) + w] & interior_[Row(y, z) + w];
        for (; points; points &= points - 1) at[__builtin_ctzll(points)] = 1.0f;
      }
}

VXGRID_PART_OF_CLONE inline Words Thinner::Candidates(std::size_t block, const Direction& direction) const {
  const auto neighbour = [&](int step) VXGRID_PART_OF_CLONE {
    const std::uint64_t* const here = Neighbour(block, 0, 0);
    switch (step) {
      case -1:
        return before(here);
      case +1:
        return behind(here);
      default:
        return load(Neighbour(block, step % 9 / 3, step / 9));
    }
  };
  return load(&object_[block * kBlock]) & load(&interior_[block * kBlock]) &
         ~(neighbour(direction.faces[0]) & neighbour(direction.faces[1]));
}

VXGRID_PART_OF_CLONE inline Words Thinner::Matches(std::size_t block, const Direction& direction) const {
  Words around[kNeighbours];
  Words* next = around;
  for (int z = -1; z <= 1; ++z)
    for (int y = -1; y <= 1; ++y) {
      const std::uint64_t* const at = Neighbour(block, y, z);
      *next++ = before(at);
      *next++ = load(at);
      *next++ = behind(at);
    }
  const Words* const centre = around + kCentre;
  return matches([&](int n) VXGRID_PART_OF_CLONE {
    return centre[(n % 3 - 1) * direction.x + (n / 3 % 3 - 1) * direction.y + (n / 9 - 1) * direction.z];
  });
}

VXGRID_WIDE void Thinner::JudgeLastCandidate(const Direction& direction) {
  while (last_ > first_ && !any(load(&object_[last_ * kBlock]) & load(&interior_[last_ * kBlock]))) --last_;
  for (std::size_t b = last_; b >= first_; --b) {
    const Words candidates = Candidates(b, direction);
    if (!any(candidates)) continue;
    int word = kBlock - 1;
    while (!candidates[word]) --word;
    const Words matching = Matches(b, direction);
    last_match_ = matching[word] >> (63 - __builtin_clzll(candidates[word])) & 1;
    return;
  }
}

VXGRID_WIDE void Thinner::JudgeBlocks(int number) {
  const Direction& direction = kDirection[number];
  const std::uint16_t bit = static_cast<std::uint16_t>(1u << number);
  for (std::size_t b = first_; b <= last_; ++b) {
    if (!(due_[b] & bit)) continue;
    due_[b] ^= bit;
    Words points = Candidates(b, direction);
    if (!any(points)) continue;
    if (number != kUnturned) points &= Matches(b, direction);
    if (any(points)) deletions_.push_back({b, {points[0], points[1], points[2], points[3]}});
  }
}

void Thinner::Delete() {
  for (const Deletion& deletion : deletions_) {
    for (std::size_t word = 0; word < kBlock; ++word)
      object_[deletion.block * kBlock + word] &= ~deletion.points[word];
    for (int z = -1; z <= 1; ++z)
      for (int y = -1; y <= 1; ++y) {
        const std::size_t at = static_cast<std::size_t>(Neighbour(deletion.block, y, z) - object_.data());
        for (std::size_t b = (at - 1) / kBlock; b <= (at + kBlock) / kBlock; ++b)
          due_[b] = (1 << kDirections) - 1;
      }
  }
}

bool Thinner::SubPass(int direction) {
  if (direction != kUnturned)
    JudgeLastCandidate(kDirection[direction]);
  else if (!last_match_)
    return false;
  deletions_.clear();
  JudgeBlocks(direction);
  Delete();
  return !deletions_.empty();
}

int thin(VXFixedGrid<float>& grid) {
  if (std::min({grid.GetXDim(), grid.GetYDim(), grid.GetZDim()}) < 3) {
    std::fill_n(grid.GetValues(), grid.GetSize(), 0.0f);
    return 1;
  }
  Thinner thinner(grid);
  int rounds = 0;
  for (bool changed = true; changed; ++rounds) {
    changed = false;
    for (int direction = 0; direction < kDirections; ++direction) changed |= thinner.SubPass(direction);
  }
  thinner.Write(grid.GetValues());
  return rounds;
}

}  // namespace

int VXThinGrid(VXScalarGrid& grid) { return thin(grid); }
int VXThinGrid(VXSkewGrid& grid) { return thin(grid.AsRegularGrid()); }

}  // namespace VXCore
