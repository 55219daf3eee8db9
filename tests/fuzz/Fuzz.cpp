#include "fuzz/Fuzz.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "support/SpanishLocale.h"

namespace qev::test {
namespace {

constexpr char kWideMark = 0x1F;

int writeSeeds(const std::string& folder) {
  int number = 0;
  for (const std::string& seed : seeds()) {
    std::ofstream file(folder + "/seed" + std::to_string(++number), std::ios::binary);
    file.write(seed.data(), static_cast<std::streamsize>(seed.size()));
    if (!file.flush()) return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}

}  // namespace

void require(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", property);
  std::abort();
}

std::uint64_t Input::number(std::size_t size) {
  const std::string taken = bytes(size);
  std::uint64_t value = 0;
  for (std::size_t i = taken.size(); i > 0; --i) value = value << 8 | static_cast<unsigned char>(taken[i - 1]);
  return value;
}

std::string Input::bytes(std::size_t count) {
  const std::string_view taken = rest_.substr(0, count);
  rest_.remove_prefix(taken.size());
  return std::string(taken);
}

std::wstring textOf(std::string_view bytes) {
  const SpanishLocale locale;
  std::wstring text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == kWideMark && i + 2 < bytes.size()) {
      const auto low = static_cast<unsigned char>(bytes[i + 1]);
      const auto high = static_cast<unsigned char>(bytes[i + 2]);
      text += static_cast<wchar_t>(high << 8 | low);
      i += 2;
    } else {
      text += locale.textFromAnsi(bytes.substr(i, 1));
    }
  }
  return text;
}

}  // namespace qev::test

// What libFuzzer calls. With "--seeds FOLDER" the program writes the seeds there and ends.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
  if (*count == 3 && std::string_view((*arguments)[1]) == "--seeds") {
    std::exit(qev::test::writeSeeds((*arguments)[2]));
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qev::test::tryInput({reinterpret_cast<const char*>(data), size});
  return 0;
}
