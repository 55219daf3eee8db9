#include "settings/SettingsStore.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>

namespace qev {
namespace {

// Texts of one word that say no, in small letters.
constexpr std::array<std::wstring_view, 4> kNo = {L"no", L"n", L"false", L"falso"};

bool saysNo(const Value& value) {
  const auto* text = std::get_if<std::wstring>(&value);
  if (!text) return false;
  std::wstring word = trimmed(*text);
  for (wchar_t& c : word) {
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
  }
  return std::find(kNo.begin(), kNo.end(), word) != kNo.end();
}

}  // namespace

Value SettingsStore::read(const std::wstring& name) const {
  return registry_.read(keyPath_, name, kLocalMachine);
}

Value SettingsStore::readPlain(const std::wstring& name, const Value& fallback) const {
  return NzValue(read(name), fallback);
}

Value SettingsStore::readStrict(const std::wstring& name, const Value& fallback) const {
  return NonBlankValue(read(name), fallback);
}

bool SettingsStore::safeMode() const {
  try {
    const Value asked = readStrict(L"Verificar", Empty{});
    return !isMissing(asked) && !saysNo(asked);
  } catch (const std::exception&) {
    return true;
  }
}

void SettingsStore::write(const std::wstring& name, const Value& value) {
  registry_.write(keyPath_, name, kLocalMachine, value);
}

}  // namespace qev
