// Replays inputs through a fuzz target without libFuzzer, so the targets build with any compiler
// and ctest can run the committed corpus and every past crasher on each build.
// Usage: <target> FILE_OR_DIRECTORY...

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int replay_file(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::cerr << "cannot open " << path << '\n';
    return 1;
  }
  const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  int failures = 0;
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path root(argv[i]);
    if (std::filesystem::is_directory(root)) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) {
          failures += replay_file(entry.path());
          ++count;
        }
      }
    } else if (std::filesystem::exists(root)) {
      failures += replay_file(root);
      ++count;
    }
  }
  std::cout << "replayed " << count << " inputs\n";
  return failures == 0 ? 0 : 1;
}
