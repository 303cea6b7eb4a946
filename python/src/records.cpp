#include "records.h"

#include <vxgrid/exchange/grid_records.h>
#include <vxgrid/exchange/molecule_records.h>
#include <vxgrid/exchange/reflection_records.h>

using namespace VXCore;

const VXBinaryIOHandlerBase& record_handler() {
  struct Handler : VXBinaryIOHandler {
    Handler() {
      VXInitGridHandlers(*this);
      VXInitMoleculeHandlers(*this);
      VXInitReflectionHandlers(*this);
    }
  };
  thread_local const Handler handler;
  return handler;
}

void check_record(const py::bytes& bytes, const char* tag) {
  const std::string head(std::string_view(bytes).substr(0, 64));
  VXHost::vxisstream in(head);
  std::string found;
  if (!VXBReadTag(in, found)) found.clear();
  if (found != tag)
    throw py::value_error(std::string("data: a record \"") + tag + "\" was wanted, " +
                          (found.empty() ? "no record" : "\"" + found + "\"") + " came");
}

void throw_damaged_record(const char* tag) {
  throw py::value_error(std::string("data: the record \"") + tag + "\" is cut short or damaged");
}
