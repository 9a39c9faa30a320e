// Stands in for libFuzzer where the compiler has none, and in the tests: tries every file of a
// corpus, and as many changed ones as it is told, always the same. Usage: PROGRAM CORPUS CHANGED

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> read_corpus(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) files.push_back(entry);
  std::sort(files.begin(), files.end());
  std::vector<Bytes> corpus;
  for (const auto& file : files) {
    std::ifstream stream(file, std::ios::binary);
    stream.exceptions(std::ios::failbit | std::ios::badbit);
    corpus.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  }
  return corpus;
}

using Random = std::mt19937;

std::size_t below(Random& random, std::size_t bound) { return random() % bound; }

Bytes changed(Bytes bytes, const std::vector<Bytes>& corpus, Random& random) {
  for (std::size_t change = 1 + below(random, 4); change > 0; --change) {
    const auto place = bytes.begin() + static_cast<std::ptrdiff_t>(below(random, bytes.size() + 1));
    const auto end =
        place + std::min<std::ptrdiff_t>(bytes.end() - place,
                                         static_cast<std::ptrdiff_t>(1 + below(random, 8)));
    switch (below(random, 4)) {
      case 0:
        std::generate(place, end, [&] { return static_cast<std::uint8_t>(random()); });
        break;
      case 1:
        bytes.erase(place, end);
        break;
      case 2:
        bytes.insert(place, 1 + below(random, 8), static_cast<std::uint8_t>(random()));
        break;
      default: {
        const Bytes& other = corpus[below(random, corpus.size())];
        bytes.insert(place, other.begin(), other.end());
      }
    }
  }
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int count, char** arguments) try {
  if (count != 3) {
    std::fputs("usage: PROGRAM CORPUS CHANGED\n", stderr);
    return 2;
  }
  const std::vector<Bytes> corpus = read_corpus(arguments[1]);
  if (corpus.empty()) {
    std::fputs("the corpus is empty\n", stderr);
    return 2;
  }
  for (const Bytes& bytes : corpus) LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  // The same tries on every machine: a failure can be repeated.
  Random random(std::mt19937::default_seed);
  const unsigned long tries = std::strtoul(arguments[2], nullptr, 10);
  for (unsigned long tried = 0; tried < tries; ++tried) {
    const Bytes bytes = changed(corpus[below(random, corpus.size())], corpus, random);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  }
  std::printf("%zu kept, %lu changed\n", corpus.size(), tries);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
