#include <vxgrid/reflection/reflection_io.h>

#include <vxgrid/reflection/reflection_text.inl>

namespace VXCore {

bool VXReadReflectionHKL(VXHost::vxistream& in, VXReflection& set) {
  constexpr std::size_t kLineLimit = 128;
  constexpr float kNoPhase = 1000.0f;
  GrowingColumns columns;
  TextLines lines(in, kLineLimit);
  for (std::string_view line; lines.Next(line);) {
    if (!starts_with(line, "HKL")) continue;
    TextScanner scan(line);
    std::string_view skipped;
    int h, k, l;
    float fobs, sigma, phase, fom;
    if (!scan.Word(skipped) || !scan.Int(h) || !scan.Int(k) || !scan.Int(l) || !scan.Float(fobs) ||
        !scan.Float(sigma) || !scan.Float(phase) || !scan.Float(fom))
      continue;
    columns.AddIndex(h, k, l);
    columns.fobs.push_back(fobs);
    columns.sigma.push_back(sigma);
    columns.phase.push_back(phase);
    columns.fom.push_back(phase == kNoPhase ? 0.0f : fom);
  }
  return columns.Fill(set);
}

}  // namespace VXCore
