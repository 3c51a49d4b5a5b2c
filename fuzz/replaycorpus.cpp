// Runs a fuzz target's entry over every file of the given folders, for the
// committed corpora to stay regression tests in a build without libFuzzer.
// A finding aborts (or is reported by the sanitizers of the build).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(argv[i], error))
      if (entry.is_regular_file()) inputs.push_back(entry.path());
    if (error) {
      std::fprintf(stderr, "cannot list %s: %s\n", argv[i], error.message().c_str());
      return 2;
    }
  }
  std::sort(inputs.begin(), inputs.end());
  for (const auto& input : inputs) {
    std::ifstream file(input, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("%zu inputs replayed\n", inputs.size());
  return inputs.empty() ? 1 : 0;
}
