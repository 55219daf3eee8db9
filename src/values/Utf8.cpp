#include "values/Utf8.h"

#include <cstdint>

namespace qev {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

void addCodePoint(std::string& bytes, std::uint32_t point) {
  const auto byte = [&](std::uint32_t value) { bytes += static_cast<char>(static_cast<unsigned char>(value)); };
  if (point < 0x80) return byte(point);
  if (point < 0x800) return byte(0xC0 | point >> 6), byte(0x80 | (point & 0x3F));
  if (point < 0x10000) {
    return byte(0xE0 | point >> 12), byte(0x80 | (point >> 6 & 0x3F)), byte(0x80 | (point & 0x3F));
  }
  byte(0xF0 | point >> 18), byte(0x80 | (point >> 12 & 0x3F)), byte(0x80 | (point >> 6 & 0x3F));
  byte(0x80 | (point & 0x3F));
}

void addCodePoint(std::wstring& text, std::uint32_t point) {
  if constexpr (sizeof(wchar_t) == 2) {
    if (point >= 0x10000) {
      text += static_cast<wchar_t>(0xD800 + ((point - 0x10000) >> 10));
      text += static_cast<wchar_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
      return;
    }
  }
  text += static_cast<wchar_t>(point);
}

// The code point that the bytes begin with, and its length; the replacement, of length 1, where they begin with none.
struct CodePoint {
  std::uint32_t value = kReplacement;
  std::size_t length = 1;
};

CodePoint codePointAt(std::string_view bytes) {
  constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto first = static_cast<unsigned char>(bytes[0]);
  if (first < 0x80) return {first, 1};
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || bytes.size() < length) return {};
  std::uint32_t value = first & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(bytes[i]);
    if ((next & 0xC0) != 0x80) return {};
    value = value << 6 | (next & 0x3Fu);
  }
  if (value < smallest[length] || value > 0x10FFFF || (value >= 0xD800 && value < 0xE000)) return {};
  return {value, length};
}

}  // namespace

std::string utf8(std::wstring_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto point = static_cast<std::uint32_t>(text[i]);
    const std::uint32_t next = i + 1 < text.size() ? static_cast<std::uint32_t>(text[i + 1]) : 0;
    if (point >= 0xD800 && point < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
      point = 0x10000 + ((point - 0xD800) << 10) + (next - 0xDC00);
      ++i;
    } else if ((point >= 0xD800 && point < 0xE000) || point > 0x10FFFF) {
      point = kReplacement;
    }
    addCodePoint(bytes, point);
  }
  return bytes;
}

std::wstring textFromUtf8(std::string_view bytes) {
  std::wstring text;
  while (!bytes.empty()) {
    const CodePoint point = codePointAt(bytes);
    addCodePoint(text, point.value);
    bytes.remove_prefix(point.length);
  }
  return text;
}

}  // namespace qev
