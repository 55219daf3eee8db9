#include "controls/ControlFont.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <string_view>

#include "platform/Value.h"

namespace qev {
namespace {

constexpr double kPointsPerInch = 72;

struct Trait {
  const wchar_t* word;
  bool ControlFont::*holds;
};

constexpr Trait kTraits[] = {{L"bold", &ControlFont::bold},
                             {L"italic", &ControlFont::italic},
                             {L"underline", &ControlFont::underline},
                             {L"strikethrough", &ControlFont::strikethrough}};

// Cuts the piece before the next ";" off `rest`.
std::wstring nextPiece(std::wstring_view& rest) {
  const auto end = rest.find(L';');
  const std::wstring piece = trimmed(rest.substr(0, end));
  rest = end == std::wstring_view::npos ? std::wstring_view() : rest.substr(end + 1);
  return piece;
}

}  // namespace

UniqueFont ControlFont::create(int dotsPerInch) const {
  LOGFONTW font{};
  font.lfHeight = -static_cast<LONG>(std::lround(points * dotsPerInch / kPointsPerInch));
  font.lfWeight = bold ? FW_BOLD : FW_NORMAL;
  font.lfItalic = italic;
  font.lfUnderline = underline;
  font.lfStrikeOut = strikethrough;
  font.lfCharSet = DEFAULT_CHARSET;
  font.lfQuality = CLEARTYPE_QUALITY;
  name.copy(font.lfFaceName, LF_FACESIZE - 1);
  return UniqueFont(CreateFontIndirectW(&font));
}

ControlFont ControlFont::of(HFONT font, int dotsPerInch) {
  LOGFONTW found{};
  GetObjectW(font, sizeof found, &found);
  ControlFont described;
  described.name = found.lfFaceName;
  described.points = std::abs(found.lfHeight) * kPointsPerInch / dotsPerInch;
  described.bold = found.lfWeight >= FW_BOLD;
  described.italic = found.lfItalic != 0;
  described.underline = found.lfUnderline != 0;
  described.strikethrough = found.lfStrikeOut != 0;
  return described;
}

std::wstring ControlFont::toText() const {
  char size[32];  // whatever the decimal separator of the process is
  const auto end = std::to_chars(size, size + sizeof size, points, std::chars_format::general, 6).ptr;
  std::wstring text = name + L"; " + std::wstring(size, end);
  for (const Trait& trait : kTraits) {
    if (this->*trait.holds) text += std::wstring(L"; ") + trait.word;
  }
  return text;
}

std::optional<ControlFont> ControlFont::fromText(const std::wstring& text) {
  std::wstring_view rest = text;
  ControlFont font;
  font.name = nextPiece(rest);
  font.points = numericValue(std::wstring_view(nextPiece(rest)));
  if (font.name.empty() || !(font.points > 0)) return std::nullopt;
  while (!rest.empty()) {
    const std::wstring word = nextPiece(rest);
    for (const Trait& trait : kTraits) {
      if (word == trait.word) font.*trait.holds = true;
    }
  }
  return font;
}

}  // namespace qev
