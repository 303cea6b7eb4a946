// Runs a fuzz target over the files and folders given, so that a corpus serves as a test in any build.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz.h"

namespace fs = std::filesystem;

static void run(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

int main(int argc, char** argv) {
  int runs = 0;
  for (int i = 1; i < argc; ++i) {
    if (!fs::is_directory(argv[i])) {
      run(argv[i]);
      ++runs;
      continue;
    }
    for (const auto& file : fs::directory_iterator(argv[i])) {
      run(file.path());
      ++runs;
    }
  }
  std::printf("%d inputs\n", runs);
  return runs == 0;
}
