#include <vxgrid/reflection/reflection_io.h>

#include <algorithm>
#include <numeric>

#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/reflection_row.inl>
#include <vxgrid/reflection/reflection_text.inl>

namespace VXCore {
namespace {

using VXHost::vxistream;
using VXHost::vxostream;

constexpr std::size_t kLineLimit = 256;

// What a line says behind h, k, l.
enum Place { Fobs, X, Phase, HLA, HLB, HLC, HLD, PlaceCount };
constexpr int kNeeded = Phase + 1;

// The figure of merit or the calculated amplitude, which its mean tells apart.
void name_x(GrowingColumns& columns, std::vector<float>& x) {
  const double mean = std::accumulate(x.begin(), x.end(), 0.0) / static_cast<double>(x.size());
  (mean <= 1.0 ? columns.fom : columns.fcalc) = std::move(x);
}

// The lines of a file. True when it is an HKL file.
bool read_lines(vxistream& in, GrowingColumns& columns) {
  std::vector<float> x;
  bool is_first = true, has_free = false, has_coefficients = true;
  TextLines lines(in, kLineLimit);
  for (std::string_view line; lines.Next(line);) {
    if (starts_with(line, "REM") || starts_with(line, "#")) continue;
    if (is_first && starts_with(line, "HKL")) return true;
    is_first = is_first && std::all_of(line.begin(), line.end(), is_blank);

    TextScanner scan(line);
    int h, k, l;
    if (!scan.Int(h) || !scan.Int(k) || !scan.Int(l)) continue;
    float values[PlaceCount];
    int count = 0;
    while (count < PlaceCount && scan.Float(values[count])) ++count;
    if (count < kNeeded) continue;
    const bool is_free = values[Phase] < 0;
    columns.AddIndex(h, k, l);
    columns.fobs.push_back(values[Fobs]);
    x.push_back(values[X]);
    columns.phase.push_back(is_free ? values[Phase] + 360.0f : values[Phase]);
    columns.rfree.push_back(is_free ? 0 : 1);
    has_free = has_free || is_free;
    has_coefficients = has_coefficients && count == PlaceCount;
    if (!has_coefficients) continue;
    columns.hla.push_back(values[HLA]);
    columns.hlb.push_back(values[HLB]);
    columns.hlc.push_back(values[HLC]);
    columns.hld.push_back(values[HLD]);
  }
  if (!has_free) columns.rfree.clear();
  if (!has_coefficients)
    for (std::vector<float>* column : {&columns.hla, &columns.hlb, &columns.hlc, &columns.hld})
      column->clear();
  name_x(columns, x);
  return false;
}

}  // namespace

bool VXReadReflectionPHS(vxistream& in, VXReflection& set) {
  const unsigned long long start = in.tell();
  GrowingColumns columns;
  if (read_lines(in, columns)) {
    in.seek(start);
    return VXReadReflectionHKL(in, set);
  }
  return !columns.h.empty() && columns.Fill(set);
}

bool VXWriteReflectionPHS(vxostream& out, VXReflection& set) {
  const VXReflectionImpl& data = *set.GetImpl();
  if (!data.h || !data.k || !data.l || !data.fobs || !data.phase || !data.fom) return false;
  const bool has_coefficients = data.hla && data.hlb && data.hlc && data.hld;
  return write_rows(out, data, [&](ReflectionRow& row, unsigned int i) {
    row.Int(data.h[i], 5).Int(data.k[i], 5).Int(data.l[i], 5).Text(" ");
    for (const float value : {data.fobs[i], data.fom[i], data.phase[i]}) row.Real(value, 10, 3).Text(" ");
    if (!has_coefficients) return;
    for (const float value : {data.hla[i], data.hlb[i], data.hlc[i], data.hld[i]})
      row.Text(" ").Real(value, 11, 5);
  });
}

}  // namespace VXCore
