#include <vxgrid/exchange/gaussian_records.h>

#include <vxgrid/exchange/grid_records.h>

#include "support/record_bytes.h"

using namespace VXCore;

namespace {

struct Records : testing::Test {
  Records() { VXInitGridHandlers(handler); }
  VXBinaryIOHandler handler;
};
using GaussianRecords = Records;

template <class T>
void scalar(RecordBytes& to, bool big, T value) {
  to.byte(big ? 0x81 : 0x01).numbers<T>({value});
}

// Prefactor 2.7, width 1.5, color 0x01020304, centre (1, -2, x).
RecordBytes gaussian(bool big, float x, const RecordBytes& attributes = RecordBytes()) {
  RecordBytes data(big);
  scalar(data, big, 2.7f);
  scalar(data, big, 1.5f);
  scalar(data, big, 0x01020304u);
  scalar(data, big, 1.0f);
  scalar(data, big, -2.0f);
  scalar(data, big, x);
  return RecordBytes().record("VXGaussian", data.raw(attributes.str()));
}

RecordBytes named(const char* name) {
  VXBase object;
  object.SetData("name", std::string(name));
  return RecordBytes().raw(record_of(object, VXBinaryIOHandler()));
}

}  // namespace

TEST_F(GaussianRecords, BothByteOrdersAndBackToTheSameBytes) {
  for (const bool big : {false, true}) {
    VXGaussian read;
    ASSERT_EQ(read_record(gaussian(big, 3.25f, named("n")).str(), read, handler), VXBDone);
    EXPECT_EQ(read.GetColor(), 0x01020304u);
    EXPECT_EQ(read.GetZ(), 3.25f);
    EXPECT_EQ(record_of(read, handler), gaussian(false, 3.25f, named("n")).str());

    RecordBytes data(big);
    scalar(data, big, 2u);
    data.raw(gaussian(big, 1, named("first")).str()).raw(gaussian(!big, 2).str()).raw(named("both").str());
    VXGaussianContainer set;
    for (const unsigned int total : {2u, 4u}) {  // reading appends
      ASSERT_EQ(read_record(RecordBytes().record("VXGaussianCont", data).str(), set, handler), VXBDone);
      EXPECT_EQ(set.NumGaussians(), total);
    }
    EXPECT_EQ(set.GetData<std::string>("name"), "both");
    std::vector<float> coords(12);
    set.GetCoords(coords.data());
    EXPECT_EQ(coords[8], 1.0f);
    EXPECT_EQ(coords[11], 2.0f);
  }
  VXGaussianContainer empty;
  const std::string bytes = record_of(empty, handler);
  EXPECT_EQ(bytes, RecordBytes().record("VXGaussianCont", RecordBytes().byte(1).numbers({0u})).str());
  EXPECT_EQ(read_record(bytes, empty, handler), VXBDone);
  EXPECT_EQ(empty.NumGaussians(), 0u);
}

TEST_F(GaussianRecords, FaultsAndWhatTheyLeave) {
  const std::string good = gaussian(false, 1, named("n")).str();
  const int head = 13;  // flag, length, "VXGaussian", length of less than 128
  const auto with_length = [&](int n) {
    return RecordBytes().record("VXGaussian", RecordBytes().raw(good.substr(head, n))).str();
  };
  std::string wrong_type = good, longer_type = good;
  wrong_type[head + 25] = 2;
  longer_type[head + 25] = 0x61;  // bits between the kind and the order say nothing
  const std::tuple<std::string, unsigned int> rows[] = {
      {good.substr(0, 40), 4}, {with_length(29), 4}, {with_length(25), 4}, {wrong_type, 2},
      {with_length(33), 6},    {with_length(30), 0}, {longer_type, 0}};
  for (const auto& [bytes, status] : rows) {
    VXGaussian read(9, 8, 7, 6, 5, 4);
    EXPECT_EQ(read_record(bytes, read, handler), status);
    EXPECT_EQ(read.GetPrefactor() == 9, status != 0);
    EXPECT_EQ(read.GetZ() == 5, status != 0);
    // As the second of three in a container: the first stays.
    RecordBytes data;
    scalar(data, false, 4000000000u);
    data.raw(good).raw(bytes);
    VXGaussianContainer set;
    EXPECT_NE(read_record(RecordBytes().record("VXGaussianCont", data).str(), set, handler), VXBDone);
    EXPECT_EQ(set.NumGaussians(), status ? 1u : 2u);
  }
}
