#include <vxgrid/reflection/mtz_labels.h>

#include <algorithm>
#include <initializer_list>

#include <vxgrid/reflection/reflection.h>

namespace VXCore {

namespace {

// Labels of MTZ files by their role, the first that is there counts; in the order of VXMTZ::AutoGetColumns.
struct RoleLabels {
  VXMTZColumnNames::Role role;
  std::initializer_list<const char*> labels;
};
// clang-format off
const RoleLabels kLabels[] = {
  {VXMTZColumnNames::Fobs,      {"F", "FP", "F-obs", "FOBS"}},
  {VXMTZColumnNames::Fcalc,     {"FC", "F-model", "FCALC"}},
  {VXMTZColumnNames::Phase,     {"PHI", "PHIB"}},
  {VXMTZColumnNames::PhaseCalc, {"PHIC", "PHIF-model", "PHIFCALC"}},
  {VXMTZColumnNames::Sigma,     {"SIGF", "SIGFP", "SIGF-obs", "SIGFOBS"}},
  {VXMTZColumnNames::Fwt,       {"FWT", "2FOFCWT"}},
  {VXMTZColumnNames::Phiwt,     {"PHWT", "PH2FOFCWT"}},
  {VXMTZColumnNames::Fdelwt,    {"DELFWT", "FOFCWT"}},
  {VXMTZColumnNames::Phidelwt,  {"PHDELWT", "PHFOFCWT"}},
};
// clang-format on

}  // namespace

VXMTZColumns VXUsualMTZColumns(const VXMTZ& mtz) {
  VXMTZColumns columns;
  mtz.AutoGetColumns(columns);
  if (columns.GetFc() == "F-obs") {
    columns.SetFobs("F-obs");
    columns.SetFc(mtz.FindColumn("F-model") ? "F-model" : "FC");
  }
  return columns;
}

std::vector<std::string> VXMTZMapLabels(unsigned int maptype, const VXMTZColumns& columns) {
  using namespace VXMTZMapType;
  switch (maptype) {
    case Fwt:
      return {columns.GetFwt(), columns.GetPhiwt()};
    case Fdelwt:
      return {columns.GetFdelwt(), columns.GetPhidelwt()};
    case Fc:
      return {columns.GetFc(), columns.GetPhic()};
    case Fo:
      return {columns.GetFobs(), columns.GetPhi().empty() ? columns.GetPhic() : columns.GetPhi()};
    case TwoFoFcSigmaA:
    case FoFcSigmaA:
      return {columns.GetFobs(),
              columns.GetFc(),
              columns.GetPhic(),
              columns.GetSigmaA(),
              "HLA",
              "HLB",
              "HLC",
              "HLD"};
    default:
      return {columns.GetFobs(), columns.GetFc(), columns.GetPhic()};
  }
}

VXMTZColumnNames VXUsualMTZColumnNames(const std::vector<std::string>& labels) {
  VXMTZColumnNames names;
  for (const RoleLabels& each : kLabels) {
    const auto label = std::find_if(each.labels.begin(), each.labels.end(), [&](const char* one) {
      return std::find(labels.begin(), labels.end(), one) != labels.end();
    });
    if (label != each.labels.end()) names.SetColumnName(each.role, *label);
  }
  return names;
}

}  // namespace VXCore
