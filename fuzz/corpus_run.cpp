// Runs a fuzz target once over each file named: what the tests do with the kept inputs.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int count, char** files) {
  for (int i = 1; i < count; ++i) {
    std::printf("%s\n", files[i]);
    (void)std::fflush(stdout);  // names the input that ends the program
    std::ifstream stream(files[i], std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream.is_open()) return EXIT_FAILURE;
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  return count > 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
