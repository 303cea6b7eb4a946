#include <array>
#include <sstream>
#include <thread>

#include <vxgrid/formats/ccp4.h>
#include <vxgrid/grid/ascii_grid.h>
#include <vxgrid/grid/refgrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/realspace/density.h>
#include <vxgrid/realspace/fit_statistics.h>
#include <vxgrid/reflection/fft_backend.h>
#include <vxgrid/reflection/mtz.h>
#include <vxgrid/reflection/reflection.h>

#include "grid/grid_support.h"
#include "realspace/model.h"
#include "reflection/support.h"
#include "support/support.h"

// Distinct objects belong to distinct threads: the same work, alone and beside others, gives the same bytes.
// ThreadSanitizer sees what the bytes do not show.

using namespace VXCore;

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 20;

/// Runs job(0), job(1) ... at the same time.
template <class Job>
void run_together(Job job) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(job, i);
  for (auto& thread : threads) thread.join();
}

/// Runs the jobs at the same time, after they were run one by one.
template <class Job>
void expect_same_beside_others(Job job) {
  std::array<std::string, kThreads> alone, beside;
  for (int i = 0; i < kThreads; ++i) alone[i] = job(i);
  run_together([&](int i) { beside[i] = job(i); });
  for (int i = 0; i < kThreads; ++i)
    EXPECT_TRUE(!alone[i].empty() && alone[i] == beside[i]) << "thread " << i;
}

/// Grids of every kind: made, copied, resampled, written and read.
TEST(Threads, Grids) {
  expect_same_beside_others([](int i) {
    VXHost::vxosstream out;
    for (int round = 0; round < kRounds; ++round) {
      VXSkewGrid skew(numbered_grid(6 + i, 7, 8 + round % 3, 0.5f));
      skew.SetUnitCell(9.0f, 10.0f, 11.0f, 80.0f, 95.0f, 100.0f + static_cast<float>(i), 12, 14, 16);
      skew.SetSpaceGroup(1);
      VXScalarGrid regular;
      VXMakeRegularGrid(regular, skew, 0.75f);
      VXSkewGrid copy;
      copy = skew;
      copy = regular;
      VXWriteCCP4Grid(out, skew.GetImpl().GetImpl());
      VXHost::vxosstream text;
      VXWriteAsciiGrid(text, regular);
      VXHost::vxisstream again(text.str());
      VXZemoGrid read;
      VXReadAsciiGrid(again, read);
      VXWriteAsciiGrid(out, read);
    }
    return out.str();
  });
}

/// The whole road from reflections to fit scores, transforms and symmetry included.
TEST(Threads, MapsAndFits) {
  expect_same_beside_others([](int i) {
    VXSkewGrid map;
    if (!VXReadMTZ(source_file("examples/data/4hg7.mtz"), map,
                   i % 2 ? VXMTZMapType::Fwt : VXMTZMapType::Fdelwt))
      return std::string();
    VXGraphMol model;
    for (int n = 0; n < 12; ++n) {
      const float place[3] = {1.5f * static_cast<float>(n), static_cast<float>(i), 4.0f};
      model.SetCoords(model.AddAtom(6 + n % 3), place);
    }
    VXSetScatterDefaults(model, 20.0, 1.0, 0);
    const VXFitStatistics fit = VXGetFitStatistics(map, model, 1.5);
    EXPECT_TRUE(fit.rscc > -1.0 && fit.rsr > -1.0);
    return std::string(reinterpret_cast<const char*>(map.GetValues()), map.GetSize() * sizeof(float)) +
           std::to_string(fit.rscc) + " " + std::to_string(fit.rsr);
  });
}

/// Plans of transforms and the table of form factors are made and kept inside.
TEST(Threads, SmallMaps) {
  for (const VXFFTBackend backend : {VXFFTBackend::PocketFFT, VXFFTBackend::FFTW2}) {
    VXSetFFTBackend(backend);
    expect_same_beside_others([](int) {
      std::string bytes;
      for (int round = 0; round < kRounds; ++round) {
        VXReflection set = make_set({{1, 2, 3, 30, 40}, {7, 1, 4, 25, 77}}, 19, {10, 12, 14, 90, 90, 90});
        VXSkewGrid map;
        EXPECT_TRUE(set.Sort() && set.Expand() && set.MakeMap(map, VXMTZMapType::Fo) && set.SFCalc(helix(9)));
        bytes.append(reinterpret_cast<const char*>(map.GetValues()), map.GetSize() * sizeof(float));
        bytes.append(reinterpret_cast<const char*>(set.GetImpl()->fcalc), set.GetCount() * sizeof(float));
      }
      return bytes;
    });
  }
}

template <int kNumber>
struct Kind {};

/// Tags and type ids that several threads ask for first, beside ones of their own.
TEST(Threads, TagsAndTypes) {
  std::array<unsigned int, kThreads> shared_tag;
  std::array<const void*, kThreads> shared_type;
  run_together([&](int i) {
    shared_tag[i] = VXGetTag("threads: shared");
    shared_type[i] = VXGetDataType<Kind<0>>();
    VXScalarGrid grid;
    for (int n = 0; n < 200; ++n) {
      const std::string name = "threads: " + std::to_string(i * 1000 + n);
      grid.SetData(name, n);
      if (VXGetTag(VXGetTag(name)) != name || grid.GetData<int>(name) != n) shared_tag[i] = 0;
    }
    if (VXGetDataType<Kind<1>>() == VXGetDataType<Kind<2>>()) shared_type[i] = nullptr;
    VXSkewGrid other;
    VXCopyBaseData(other, grid);
  });
  EXPECT_NE(shared_tag[0], 0u);
  EXPECT_THAT(shared_tag, testing::Each(shared_tag[0]));
  EXPECT_THAT(shared_type, testing::Each(shared_type[0]));
}

/// Lines from several threads come out whole, none is lost.
TEST(Threads, Reports) {
  CapturedLog log;
  run_together([](int i) {
    for (int n = 0; n < 100; ++n) VXThrow.Warning("thread %d says %d", i, n);
  });
  std::istringstream lines(log.text());
  std::array<int, kThreads> next{};
  for (std::string line; std::getline(lines, line);) {
    int i = -1, n = -1;
    ASSERT_EQ(std::sscanf(line.c_str(), "Warning: thread %d says %d", &i, &n), 2) << line;
    ASSERT_TRUE(i >= 0 && i < kThreads && n == next[i]++) << line;
  }
  EXPECT_THAT(next, testing::Each(100));
}

}  // namespace
