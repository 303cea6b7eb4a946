#include <vxgrid/host/pdb_data.h>

#include <algorithm>

#include <vxgrid/host/mol_data.inl>

namespace VXCore {
namespace {

template <class Records>
auto find_tag(Records& records, const std::string& tag) {
  return std::find_if(records.begin(), records.end(),
                      [&tag](const auto& record) { return record.tag == tag; });
}

}  // namespace

const std::vector<VXPDBDataPair>& VXGetPDBDataPairs(const VXMolBase& mol) { return mol.Data().pdb_data; }

std::string VXGetPDBData(const VXMolBase& mol, const std::string& tag) {
  const auto& records = mol.Data().pdb_data;
  const auto at = find_tag(records, tag);
  return at == records.end() ? std::string() : at->value;
}

bool VXHasPDBData(const VXMolBase& mol, const std::string& tag) {
  const auto& records = mol.Data().pdb_data;
  return find_tag(records, tag) != records.end();
}

void VXSetPDBData(VXMolBase& mol, const std::string& tag, const std::string& value) {
  auto& records = mol.Data().pdb_data;
  const auto at = find_tag(records, tag);
  if (at == records.end()) {
    records.push_back({tag, value});
    return;
  }
  at->value = value;
  records.erase(
      std::remove_if(at + 1, records.end(), [tag](const auto& record) { return record.tag == tag; }),
      records.end());
}

void VXAddPDBData(VXMolBase& mol, const std::string& tag, const std::string& value) {
  mol.Data().pdb_data.push_back({tag, value});
}

void VXDeletePDBData(VXMolBase& mol, const std::string& tag) {
  auto& records = mol.Data().pdb_data;
  records.erase(std::remove_if(records.begin(), records.end(),
                               [&tag](const auto& record) { return record.tag == tag; }),
                records.end());
}

}  // namespace VXCore
